#include "engine/measurements/NaturalOrder.h"

#include <algorithm>
#include <compare>

namespace engine {

namespace {

constexpr std::string_view c_digits = "0123456789";

/// Takes the leading digits of the text, without leading zeros.
std::string_view TakeNumber(std::string_view& text) {
    const std::string_view digits = text.substr(0, text.find_first_not_of(c_digits));
    text.remove_prefix(digits.size());
    return digits.substr(std::min(digits.find_first_not_of('0'), digits.size()));
}

bool StartsWithDigit(std::string_view text) {
    return !text.empty() && c_digits.find(text.front()) != std::string_view::npos;
}

} // namespace

bool NaturallyLess(std::string_view a, std::string_view b) {
    const std::string_view wholeA = a;
    const std::string_view wholeB = b;
    while (!a.empty() && !b.empty()) {
        if (StartsWithDigit(a) && StartsWithDigit(b)) {
            const std::string_view numberA = TakeNumber(a);
            const std::string_view numberB = TakeNumber(b);
            if (numberA.size() != numberB.size())
                return numberA.size() < numberB.size();
            if (numberA != numberB)
                return numberA < numberB;
        } else {
            if (a.front() != b.front())
                return a.front() < b.front();
            a.remove_prefix(1);
            b.remove_prefix(1);
        }
    }
    // Names that differ in leading zeros only have an order, too.
    return a.empty() == b.empty() ? wholeA < wholeB : a.empty();
}

} // namespace engine
