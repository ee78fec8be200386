#include "validate/drive/Rubbish.h"

#include <sorblib2core/CString.h>
#include <sorblib2core/CValueBool.h>
#include <sorblib2core/CValueDouble.h>
#include <sorblib2core/CValueLong.h>
#include <sorblib2core/CValueString.h>
#include <sorblib2core/CValueVector.h>
#include <sorblib2image/CImage.h>

#include <cstdint>
#include <limits>

namespace validate {

using namespace ORVEN;

namespace {

const char* const c_focused = "input/documents/focused";

CValue* NewText() { return new CValueString("text", CString::NPOS); }

} // namespace

const std::array<StRubbish, 7> c_everyKind{{
    {"bool", []() -> CValue* { return new CValueBool(true); }},
    {"long", []() -> CValue* { return new CValueLong(7); }},
    {"double", []() -> CValue* { return new CValueDouble(7.5); }},
    {"text", NewText},
    {"null pointer", []() -> CValue* { return new CValuePointer<CImage>(nullptr, 1); }},
    {"map", []() -> CValue* { return new CValueMap; }},
    {"vector", []() -> CValue* { return new CValueVector; }},
}};

const std::array<StRubbish, 6> c_extremeNumbers{{
    {"least", []() -> CValue* { return new CValueLong(std::numeric_limits<std::int32_t>::min()); }},
    {"greatest", []() -> CValue* { return new CValueLong(std::numeric_limits<std::int32_t>::max()); }},
    {"-1e300", []() -> CValue* { return new CValueDouble(-1e300); }},
    {"1e300", []() -> CValue* { return new CValueDouble(1e300); }},
    {"infinity", []() -> CValue* { return new CValueDouble(std::numeric_limits<double>::infinity()); }},
    {"NaN", []() -> CValue* { return new CValueDouble(std::numeric_limits<double>::quiet_NaN()); }},
}};

const std::array<StBadTree, 6> c_incompleteTrees{{
    {"nothing at all", [](CValueMap& tree, CValueMap&) { tree.Clear(); }},
    {"no input", [](CValueMap& tree, CValueMap&) { tree.RemoveEntry("input"); }},
    {"no document in focus", [](CValueMap& tree, CValueMap&) { tree.RemoveEntry(c_focused); }},
    {"a null document",
     [](CValueMap& tree, CValueMap&) { tree.SetEntry(c_focused, new CValuePointer<CValueMap>(nullptr, 1)); }},
    {"a document without content", [](CValueMap&, CValueMap& document) { document.RemoveEntry("content"); }},
    {"a null image",
     [](CValueMap&, CValueMap& document) {
         document.SetEntry("content", new CValuePointer<CImage>(nullptr, 1));
     }},
}};

const std::array<StBadTree, 5> c_mistakenTrees{{
    {"a text for the input", [](CValueMap& tree, CValueMap&) { tree.SetEntry("input", NewText()); }},
    {"a text for the document", [](CValueMap& tree, CValueMap&) { tree.SetEntry(c_focused, NewText()); }},
    {"a map for the document", [](CValueMap& tree, CValueMap&) { tree.SetEntry(c_focused, new CValueMap); }},
    {"a text for the image",
     [](CValueMap&, CValueMap& document) { document.SetEntry("content", NewText()); }},
    {"a map for the image",
     [](CValueMap&, CValueMap& document) { document.SetEntry("content", new CValueMap); }},
}};

} // namespace validate
