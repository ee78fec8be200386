#pragma once

#include <sorblib2core/CString.h>
#include <sorblib2core/CValueBool.h>
#include <sorblib2core/CValueDouble.h>
#include <sorblib2core/CValueLong.h>
#include <sorblib2core/CValueMap.h>
#include <sorblib2core/CValuePointer.h>
#include <sorblib2core/CValueString.h>
#include <sorblib2core/CValueVector.h>
#include <sorblib2image/CImage.h>

#include <array>
#include <cstdint>
#include <limits>

/// Values to put where a plug-in expects another one.
namespace test {

struct StSpoiledValue {
    const char* name;
    ORVEN::CValue* (*create)();
};

/// One value of each kind. Of the kind that the plug-in expects, it is one without a meaning.
inline constexpr std::array<StSpoiledValue, 7> c_kinds{{
    {"bool", []() -> ORVEN::CValue* { return new ORVEN::CValueBool(true); }},
    {"long", []() -> ORVEN::CValue* { return new ORVEN::CValueLong(7); }},
    {"double", []() -> ORVEN::CValue* { return new ORVEN::CValueDouble(7.5); }},
    {"string", []() -> ORVEN::CValue* { return new ORVEN::CValueString("text", ORVEN::CString::NPOS); }},
    {"pointer", []() -> ORVEN::CValue* { return new ORVEN::CValuePointer<ORVEN::CImage>(nullptr, 1); }},
    {"map", []() -> ORVEN::CValue* { return new ORVEN::CValueMap; }},
    {"vector", []() -> ORVEN::CValue* { return new ORVEN::CValueVector; }},
}};

/// Numbers that nobody measures or means.
inline constexpr std::array<StSpoiledValue, 5> c_extremes{{
    {"least",
     []() -> ORVEN::CValue* { return new ORVEN::CValueLong(std::numeric_limits<std::int32_t>::min()); }},
    {"greatest",
     []() -> ORVEN::CValue* { return new ORVEN::CValueLong(std::numeric_limits<std::int32_t>::max()); }},
    {"below all", []() -> ORVEN::CValue* { return new ORVEN::CValueDouble(-1e300); }},
    {"infinity",
     []() -> ORVEN::CValue* { return new ORVEN::CValueDouble(std::numeric_limits<double>::infinity()); }},
    {"NaN",
     []() -> ORVEN::CValue* { return new ORVEN::CValueDouble(std::numeric_limits<double>::quiet_NaN()); }},
}};

} // namespace test
