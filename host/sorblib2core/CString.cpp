#include "sorblib2core/CString.h"

#include <array>
#include <charconv>
#include <ostream>

namespace ORVEN {

namespace {

bool IsDigit(char c) { return c >= '0' && c <= '9'; }

/// A placeholder: '%' followed by one or two digits.
struct StPlaceholder {
    std::size_t position;
    std::size_t length; // 0 if none was found
    int number;
};

StPlaceholder NextPlaceholder(const std::string& text, std::size_t from) {
    for (std::size_t at = text.find('%', from); at != std::string::npos; at = text.find('%', at + 1)) {
        if (at + 1 >= text.size() || !IsDigit(text[at + 1]))
            continue;
        int number = text[at + 1] - '0';
        std::size_t length = 2;
        if (at + 2 < text.size() && IsDigit(text[at + 2])) {
            number = 10 * number + (text[at + 2] - '0');
            length = 3;
        }
        return {at, length, number};
    }
    return {text.size(), 0, 0};
}

std::string Padded(std::string digits, int width) {
    if (width > 0 && digits.size() < static_cast<std::size_t>(width))
        digits.insert(0, static_cast<std::size_t>(width) - digits.size(), ' ');
    return digits;
}

} // namespace

CString::CString(const char* text, EnEncoding /*encoding*/)
    : m_text(text != nullptr ? text : "") {}

CString::CString(std::string text)
    : m_text(std::move(text)) {}

void CString::ReplaceLowestPlaceholder(const std::string& replacement) {
    int lowest = -1;
    for (auto found = NextPlaceholder(m_text, 0); found.length != 0;
         found = NextPlaceholder(m_text, found.position + found.length)) {
        if (lowest < 0 || found.number < lowest)
            lowest = found.number;
    }
    if (lowest < 0)
        return;
    std::string result;
    std::size_t copied = 0;
    for (auto found = NextPlaceholder(m_text, 0); found.length != 0;
         found = NextPlaceholder(m_text, found.position + found.length)) {
        if (found.number != lowest)
            continue;
        result.append(m_text, copied, found.position - copied).append(replacement);
        copied = found.position + found.length;
    }
    m_text = result.append(m_text, copied);
}

CString& CString::Arg(const CString& text) { return Arg(text.m_text); }

CString& CString::Arg(const char* text) { return Arg(std::string(text != nullptr ? text : "")); }

CString& CString::Arg(const std::string& text) {
    ReplaceLowestPlaceholder(text);
    return *this;
}

CString& CString::Arg(char character) { return Arg(std::string(1, character)); }

CString& CString::Arg(short number, int width) { return Arg(static_cast<long long>(number), width); }

CString& CString::Arg(int number, int width) { return Arg(static_cast<long long>(number), width); }

CString& CString::Arg(long long number, int width) { return Arg(Padded(std::to_string(number), width)); }

CString& CString::Arg(double number, int width) {
    std::array<char, 32> digits{};
    const auto end =
        std::to_chars(digits.data(), digits.data() + digits.size(), number, std::chars_format::general, 6)
            .ptr;
    return Arg(Padded(std::string(digits.data(), end), width));
}

std::ostream& operator<<(std::ostream& stream, const CString& text) { return stream << text.Std(); }

} // namespace ORVEN
