#pragma once

#include <string>

class QString;
class QWidget;

namespace engine {

/// Sets an input widget the way a person would, so that its signals fire: line and text edits take text, spin
/// boxes a number, combo boxes an entry's text or index, lists a row's text, buttons and checkable groups a
/// truth value. Returns why it cannot be done, empty if it was.
std::string SetWidget(QWidget& widget, const QString& value);

} // namespace engine
