#pragma once

#include <sorblib2core/CValue.h>

#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace engine {

/// The kinds of value that a plug-in reads as parameters and that a command line can give.
enum EnValueKind { KIND_BOOL, KIND_LONG, KIND_DOUBLE, KIND_STRING, KIND_IMAGE };

/// All words for kinds, in the order of the enumeration, as in "bool, long, double, string, image".
std::string KindWords();
std::string_view WordOfKind(EnValueKind kind);
std::optional<EnValueKind> KindOfWord(std::string_view word);

/// true, yes, on, 1 and false, no, off, 0; nothing for any other word.
std::optional<bool> ParseBool(std::string_view text);
/// The whole text as a decimal number of 32 bits.
std::optional<std::int32_t> ParseLong(std::string_view text);
/// The whole text as a number, whatever the locale; also "nan" and "inf".
std::optional<double> ParseDouble(std::string_view text);

/// The value that the text stands for. An image is a plain null pointer here: its text is a file for others
/// to read. Raises `CCallerError`, with the key in its message, for a text that is none of
/// the kind.
std::unique_ptr<ORVEN::CValue> ParseValue(const std::string& key, EnValueKind kind, const std::string& text);

} // namespace engine
