#pragma once

#include <sorblib2core/CValue.h>

#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace engine {

/// The kinds of parameter value that a plug-in reads and that can be given on a command line.
enum EnValueKind { KIND_BOOL, KIND_LONG, KIND_DOUBLE, KIND_STRING, KIND_IMAGE };

/// The names of all kinds in the order of the enumeration: "bool, long, double, string, image".
std::string KindWords();
std::string_view WordOfKind(EnValueKind kind);
std::optional<EnValueKind> KindOfWord(std::string_view word);

/// Parses true, yes, on, 1 and false, no, off, 0; returns nothing for any other word.
std::optional<bool> ParseBool(std::string_view text);
/// Parses the whole text as a 32-bit decimal integer.
std::optional<std::int32_t> ParseLong(std::string_view text);
/// Parses the whole text as a number, independently of the locale; accepts "nan" and "inf".
std::optional<double> ParseDouble(std::string_view text);

/// Parses the text as a value of the given kind. For an image it returns a null pointer value: the text names
/// a file that the caller reads later. Raises `CCallerError`, naming the key, for a text that is not of this
/// kind.
std::unique_ptr<ORVEN::CValue> ParseValue(const std::string& key, EnValueKind kind, const std::string& text);

} // namespace engine
