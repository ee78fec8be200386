#include "sorbgui/CNumberValidator.h"

namespace ORVEN {

namespace {

/// More decimals than any text has.
constexpr int c_anyDecimals = 1000;

QLocale LocaleOfNumbers() {
    QLocale locale = QLocale::c();
    locale.setNumberOptions(QLocale::RejectGroupSeparator);
    return locale;
}

} // namespace

CNumberValidator::CNumberValidator(double bottom, double top, int decimals, QObject* parent)
    : QDoubleValidator(bottom, top, decimals, parent) {
    setLocale(LocaleOfNumbers());
}

QValidator::State CNumberValidator::validate(QString& text, int& position) const {
    QDoubleValidator precise(bottom(), top(), c_anyDecimals, nullptr);
    precise.setLocale(locale());
    const State state = precise.validate(text, position);
    if (state != Acceptable)
        return state;
    return QDoubleValidator::validate(text, position) == Acceptable ? Acceptable : Intermediate;
}

void CNumberValidator::fixup(QString& /*text*/) const {}

} // namespace ORVEN
