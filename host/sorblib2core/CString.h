#pragma once

#include <cstddef>
#include <iosfwd>
#include <string>

namespace ORVEN {

/// A text with numbered placeholders: `CString("size %1 vs %2", CString::ENC_UTF8).Arg(a).Arg(b)`.
///
/// Use it for messages, labels and texts that travel in a parameter tree; use `std::string` everywhere else.
/// A `CString` is a `std::string` underneath (`Std()`), and converts to a terminated `const char*` that stays
/// valid until the text changes.
class CString {
public:
    /// Encoding of a text handed in. Both are stored as they are; the host shows texts as UTF-8.
    enum EnEncoding { ENC_LOCAL = 0, ENC_UTF8 = 1 };

    /// "Up to the end of the text", where a length is asked for.
    static constexpr std::size_t NPOS = std::string::npos;

    CString() = default;
    /// A null `text` is an empty text.
    CString(const char* text, EnEncoding encoding);
    explicit CString(std::string text);
    CString(const CString&) = default;
    CString(CString&&) = default;
    CString& operator=(const CString&) = default;
    CString& operator=(CString&&) = default;
    ~CString() = default;

    operator const char*() const { return m_text.c_str(); }
    [[nodiscard]] const std::string& Std() const { return m_text; }

    /// Puts the argument in every place of the lowest numbered placeholder (%0 to %99) that is left in the
    /// text, and returns the text itself for chaining. Without a placeholder left nothing changes.
    ///
    /// Numbers are padded on the left with blanks up to `width`; 0 pads nothing. A double is written like
    /// printf's `%g`, with six significant digits, in the C locale.
    CString& Arg(const CString& text);
    CString& Arg(const char* text);
    CString& Arg(std::string text);
    CString& Arg(char character);
    CString& Arg(short number, int width);
    CString& Arg(int number, int width);
    CString& Arg(long long number, int width);
    CString& Arg(double number, int width);

    friend bool operator==(const CString& a, const CString& b) { return a.m_text == b.m_text; }
    /// Null is the empty text.
    friend bool operator==(const CString& a, const char* b) { return a.m_text == (b != nullptr ? b : ""); }

private:
    void ReplaceLowestPlaceholder(const std::string& replacement);

    std::string m_text;
};

std::ostream& operator<<(std::ostream& stream, const CString& text);

} // namespace ORVEN
