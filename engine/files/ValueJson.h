#pragma once

#include <sorblib2core/CValue.h>

#include <nlohmann/json_fwd.hpp>

#include <memory>

// Values of a parameter or attribute tree as JSON, and back. A truth value, text, vector and map is what JSON
// calls by that name; a number with a point or an exponent is a double, one without is a 32-bit integer, or a
// double where 32 bits do not hold it. What JSON has no word for is told by an object with a single key that
// no map can have, because "/" separates the steps of a path:
//
//     {"/double": "nan"}    a double that is not finite: "nan", "inf" or "-inf"
//     {"/bytes": "ff00"}    a text that is not valid UTF-8, two hexadecimal digits a byte
//     "/ff00": ...          likewise a key
//
// Every tree without pointers comes back equal. Meta entries of values are not told.

namespace engine {

/// How deep containers may stand inside each other: far above any tree in use, and safe for recursion.
inline constexpr int g_maxJsonDepth = 200;

/// The value as JSON by its kind. Pointers are left out: no entry in a map, null in a vector (so that what
/// follows keeps its place), null at the top. Raises `CFileError` beyond `g_maxJsonDepth`.
nlohmann::json ToJson(const ORVEN::CValue& value);

/// The value that the JSON tells, the other way round; null for what is no value (JSON's null).
///
/// Raises `CFileError` for a key that no map can have ("a/b" would be a path,
/// a zero byte would end the key) and beyond `g_maxJsonDepth`.
std::unique_ptr<ORVEN::CValue> FromJson(const nlohmann::json& json);

} // namespace engine
