#include <sorbgui/CNumberValidator.h>

#include <gtest/gtest.h>

#include <limits>

namespace {

using ORVEN::CNumberValidator;

/// Sets the default locale for the lifetime of the object.
class CDefaultLocale {
public:
    explicit CDefaultLocale(const QLocale& locale) { QLocale::setDefault(locale); }
    CDefaultLocale(const CDefaultLocale&) = delete;
    CDefaultLocale& operator=(const CDefaultLocale&) = delete;
    ~CDefaultLocale() { QLocale::setDefault(m_before); }

private:
    QLocale m_before;
};

QValidator::State StateOf(const CNumberValidator& validator, QString text) {
    int position = 0;
    return validator.validate(text, position);
}

/// The non-negative integers.
CNumberValidator WholeNumbers() { return {0.0, std::numeric_limits<double>::max(), 0, nullptr}; }

TEST(NumberValidator, AcceptsNumbersInItsRange) {
    const CNumberValidator validator(0.0, 10.0, 1, nullptr);
    for (const char* text : {"0", "10", "2.5", "5.", "1e1"})
        EXPECT_EQ(StateOf(validator, text), QValidator::Acceptable) << text;
    EXPECT_EQ(StateOf(validator, "11"), QValidator::Intermediate);
}

TEST(NumberValidator, LetsMoreDecimalsBeTypedThanItAccepts) {
    const auto validator = WholeNumbers();
    EXPECT_EQ(StateOf(validator, "2"), QValidator::Acceptable);
    for (const char* text : {"2.5", "0.001", ".5", "", "1e", "."})
        EXPECT_EQ(StateOf(validator, text), QValidator::Intermediate) << text;
}

TEST(NumberValidator, BlocksTextThatCannotBecomeANumberInItsRange) {
    const auto validator = WholeNumbers();
    for (const char* text : {"-", "-1", "a", "nan", "inf", "1,5", "1,000", "1 2", "1..2"})
        EXPECT_EQ(StateOf(validator, text), QValidator::Invalid) << text;
}

TEST(NumberValidator, RequiresAPointInAnyLocale) {
    const CDefaultLocale german(QLocale(QLocale::German));
    ASSERT_EQ(QLocale().decimalPoint(), ",");
    const CNumberValidator validator(0.0, 10.0, 3, nullptr);
    EXPECT_EQ(StateOf(validator, "2.5"), QValidator::Acceptable);
    EXPECT_EQ(StateOf(validator, "2,5"), QValidator::Invalid);
}

TEST(NumberValidator, DoesNotChangeTheTextTyped) {
    const auto validator = WholeNumbers();
    QString text = "2.75";
    validator.fixup(text);
    EXPECT_EQ(text, "2.75");
}

} // namespace
