#pragma once

#include <cstddef>
#include <iosfwd>
#include <string>

namespace ORVEN {

/// A text with numbered placeholders: `CString("size %1 vs %2", CString::ENC_UTF8).Arg(a).Arg(b)`.
///
/// Use it for messages, labels and texts that are passed in a parameter tree; use `std::string` everywhere
/// else. A `CString` wraps a `std::string` (`Std()`) and converts to a null-terminated `const char*` that
/// stays valid until the text changes.
class CString {
public:
    /// Encoding of a text passed in. Texts are stored unchanged in either case; the host displays them as
    /// UTF-8.
    enum EnEncoding { ENC_LOCAL = 0, ENC_UTF8 = 1 };

    /// Stands for "up to the end of the text" where a length is expected.
    static constexpr std::size_t NPOS = std::string::npos;

    CString() = default;
    /// A null `text` counts as empty.
    CString(const char* text, EnEncoding encoding);
    explicit CString(std::string text);
    CString(const CString&) = default;
    CString(CString&&) = default;
    CString& operator=(const CString&) = default;
    CString& operator=(CString&&) = default;
    ~CString() = default;

    operator const char*() const { return m_text.c_str(); }
    [[nodiscard]] const std::string& Std() const { return m_text; }

    /// Replaces every occurrence of the lowest-numbered placeholder (%0 to %99) still in the text by the
    /// argument, and returns this text for chaining. A text without placeholders stays unchanged.
    ///
    /// Numbers are padded on the left with blanks to `width` characters; 0 means no padding. A double is
    /// written like printf's `%g`, with six significant digits, in the C locale.
    CString& Arg(const CString& text);
    CString& Arg(const char* text);
    CString& Arg(const std::string& text);
    CString& Arg(char character);
    CString& Arg(short number, int width);
    CString& Arg(int number, int width);
    CString& Arg(long long number, int width);
    CString& Arg(double number, int width);

    friend bool operator==(const CString& a, const CString& b) { return a.m_text == b.m_text; }
    /// Null equals the empty text.
    friend bool operator==(const CString& a, const char* b) { return a.m_text == (b != nullptr ? b : ""); }

private:
    void ReplaceLowestPlaceholder(const std::string& replacement);

    std::string m_text;
};

std::ostream& operator<<(std::ostream& stream, const CString& text);

} // namespace ORVEN
