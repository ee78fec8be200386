#include "engine/catalogue/BlockMargin.h"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <cmath>
#include <stdexcept>
#include <vector>

namespace engine {

namespace {

/// Reads and evaluates in one go: sum = product {(+|-) product}, product = factor {(*|/) factor}.
class CMarginReader {
public:
    CMarginReader(std::string_view text, const MarginVariable& valueOf)
        : m_text(text)
        , m_rest(text)
        , m_valueOf(valueOf) {}

    double Whole() {
        const double value = Sum();
        if (Next() != '\0')
            Fail(std::string("'") + Next() + "' does not belong there");
        return value;
    }

private:
    /// Brackets in brackets in an expression that somebody reads.
    static constexpr int c_greatestDepth = 20;

    [[noreturn]] void Fail(const std::string& why) const {
        throw std::runtime_error("'" + std::string(m_text) + "' is not a margin: " + why);
    }

    /// The next character that is not a blank; 0 at the end.
    char Next() {
        while (!m_rest.empty() && m_rest.front() == ' ')
            m_rest.remove_prefix(1);
        return m_rest.empty() ? '\0' : m_rest.front();
    }

    bool Skip(char wanted) {
        if (Next() != wanted)
            return false;
        m_rest.remove_prefix(1);
        return true;
    }

    void Require(char wanted) {
        if (!Skip(wanted))
            Fail(std::string("'") + wanted + "' is missing");
    }

    double Sum() {
        if (++m_depth > c_greatestDepth)
            Fail("too many brackets");
        double value = Product();
        for (char sign = Next(); sign == '+' || sign == '-'; sign = Next()) {
            Skip(sign);
            value += sign == '+' ? Product() : -Product();
        }
        --m_depth;
        return value;
    }

    double Product() {
        double value = Factor();
        for (char sign = Next(); sign == '*' || sign == '/'; sign = Next()) {
            Skip(sign);
            value = sign == '*' ? value * Factor() : value / Factor();
        }
        return value;
    }

    double Factor() {
        const char next = Next();
        if (Skip('(')) {
            const double value = Sum();
            Require(')');
            return value;
        }
        if (std::isdigit(static_cast<unsigned char>(next)) != 0)
            return Number();
        if (std::isalpha(static_cast<unsigned char>(next)) == 0)
            Fail(next == '\0' ? "it ends too early" : std::string("'") + next + "' does not belong there");
        const std::string word = Word();
        return Next() == '(' ? Function(word) : m_valueOf(word);
    }

    double Number() {
        double value = 0.0;
        const auto [end, error] = std::from_chars(m_rest.data(), m_rest.data() + m_rest.size(), value);
        if (error != std::errc())
            Fail("a number is out of range");
        m_rest.remove_prefix(static_cast<std::size_t>(end - m_rest.data()));
        return value;
    }

    std::string Word() {
        const auto end = std::find_if(m_rest.begin(), m_rest.end(), [](unsigned char letter) {
            return std::isalnum(letter) == 0 && letter != '_';
        });
        std::string word(m_rest.begin(), end);
        m_rest.remove_prefix(word.size());
        return word;
    }

    double Function(const std::string& name) {
        Require('(');
        std::vector<double> values{Sum()};
        while (Skip(','))
            values.push_back(Sum());
        Require(')');
        if (name == "max")
            return *std::max_element(values.begin(), values.end());
        if (name == "min")
            return *std::min_element(values.begin(), values.end());
        if (values.size() == 1 && name == "ceil")
            return std::ceil(values.front());
        if (values.size() == 1 && name == "abs")
            return std::fabs(values.front());
        Fail("there is no function " + name + " of " + std::to_string(values.size()) +
             (values.size() == 1 ? " number" : " numbers"));
    }

    std::string_view m_text;
    std::string_view m_rest;
    const MarginVariable& m_valueOf;
    int m_depth = 0;
};

} // namespace

double EvaluateMargin(std::string_view text, const MarginVariable& valueOf) {
    return CMarginReader(text, valueOf).Whole();
}

} // namespace engine
