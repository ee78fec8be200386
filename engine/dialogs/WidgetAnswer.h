#pragma once

#include <string>

class QString;
class QWidget;

namespace engine {

/// Sets an input widget as a user would, so that its signals fire. Line and text edits take text, spin boxes
/// a number, combo boxes an entry's text or index, lists a row's text, buttons and checkable groups a
/// Boolean. Returns the reason if the value cannot be set, or an empty string on success.
std::string SetWidget(QWidget& widget, const QString& value);

} // namespace engine
