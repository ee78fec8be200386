#pragma once

#include <QDoubleValidator>

namespace ORVEN {

/// Accepts any number from `bottom` to `top`, with a decimal point in every locale, and blocks all other
/// input.
///
/// Unlike its base class it does not block digits beyond `decimals`: such a text can be typed but is not
/// acceptable. It never changes the text typed.
class CNumberValidator : public QDoubleValidator {
public:
    CNumberValidator(double bottom, double top, int decimals, QObject* parent);

    State validate(QString& text, int& position) const override;
    void fixup(QString& text) const override;
};

} // namespace ORVEN
