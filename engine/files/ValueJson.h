#pragma once

#include "engine/files/CJson.h"

#include <sorblib2core/CValue.h>

#include <memory>

// Converts values of a parameter or attribute tree to JSON and back. Booleans, strings, vectors and maps
// become their JSON counterparts. A number with a decimal point or an exponent is a double; one without is a
// 32-bit integer, or a double if it does not fit into 32 bits. Values that JSON cannot represent become an
// object with a single key that cannot occur in a map, because "/" separates the steps of a path:
//
//     {"/double": "nan"}    a double that is not finite: "nan", "inf" or "-inf"
//     {"/bytes": "ff00"}    a text that is not valid UTF-8, as two hexadecimal digits per byte
//     "/ff00": ...          a key that is not valid UTF-8, likewise
//
// Every tree without pointers can be read back unchanged. Meta entries of values are not written.

namespace engine {

/// Maximum nesting depth of containers: far above any tree in use, and safe for recursion.
inline constexpr int c_maxJsonDepth = 200;

/// Converts a value to JSON. Pointers are left out: they give no entry in a map, null in a vector (so that
/// later elements keep their index), and null at the top level. Raises `CFileError` beyond `c_maxJsonDepth`.
CJson ToJson(const ORVEN::CValue& value);

/// Converts JSON to a value; returns null for JSON's null, which is not a value.
///
/// Raises `CFileError` for a key that cannot occur in a map ("a/b" would be a path, a zero byte would end the
/// key) and beyond `c_maxJsonDepth`.
std::unique_ptr<ORVEN::CValue> FromJson(const CJson& json);

} // namespace engine
