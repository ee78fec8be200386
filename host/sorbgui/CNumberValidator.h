#pragma once

#include <QDoubleValidator>

namespace ORVEN {

/// Lets a person type any number from `bottom` up to `top`, written with a point in any locale, and keeps
/// everything else out.
///
/// Unlike its base it does not keep digits out that go beyond `decimals`: they make a text that is not
/// acceptable, and can be typed all the same. Nor does it change what was typed.
class CNumberValidator : public QDoubleValidator {
public:
    CNumberValidator(double bottom, double top, int decimals, QObject* parent);

    State validate(QString& text, int& position) const override;
    void fixup(QString& text) const override;
};

} // namespace ORVEN
