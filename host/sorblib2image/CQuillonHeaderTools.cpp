#include "sorblib2image/CQuillonHeaderTools.h"

#include <sorblib2core/AreTypesEqual.h>
#include <sorblib2core/CValueDouble.h>
#include <sorblib2core/CValueLong.h>
#include <sorblib2core/CValueMap.h>
#include <sorblib2core/CValueString.h>
#include <sorblib2core/CValueVector.h>
#include <sorblib2core/StoreEntry.h>

#include <array>
#include <cmath>
#include <limits>
#include <optional>

namespace ORVEN {

double CQuillonHeaderTools::g_dSpacingDummy = 1.0;
const std::string CQuillonHeaderTools::c_sMetaMinMax = "MinMax";
const std::string CQuillonHeaderTools::c_sTagFeatures = "features";

namespace {

const char* const c_spacing = "spacing";
const char* const c_offset = "offset";
const char* const c_history = "history";
const char* const c_meta = "meta";
const char* const c_maxDistance = "max distance";
const char* const c_numberOfLabels = "number of labels";

std::optional<double> Number(const CValueMap& map, const char* key) {
    const CValue* value = map.Entry(key, true);
    if (value == nullptr ||
        (value->GenericType() != CValue::VAL_DOUBLE && value->GenericType() != CValue::VAL_LONG))
        return std::nullopt;
    return value->Double();
}

/// The numbers stored as "x", "y" and "z" in a map of the attributes, if all three exist.
std::optional<std::array<double, 3>> Triple(const IImage& image, const char* key) {
    const CValue* entry = image.Attributes().Entry(key, true);
    const CValueMap* map = entry != nullptr ? entry->Map() : nullptr;
    if (map == nullptr)
        return std::nullopt;
    const auto x = Number(*map, "x");
    const auto y = Number(*map, "y");
    const auto z = Number(*map, "z");
    if (!x || !y || !z)
        return std::nullopt;
    return std::array{*x, *y, *z};
}

bool IsSameKind(const CValue& a, const CValue& b) {
    return a.GenericType() == b.GenericType() &&
           (a.GenericType() != CValue::VAL_POINTER || AreTypesEqual(a.ElementType(), b.ElementType()));
}

/// The map at the key; created if the key holds something else or nothing.
CValueMap& MapAt(IImage& image, const char* key) {
    CValueMap& attributes = image.Attributes();
    CValue* entry = attributes.Entry(key, true);
    if (entry == nullptr || entry->Map() == nullptr) {
        attributes.SetEntry(key, new CValueMap);
        entry = attributes.Entry(key, true);
    }
    return *entry->Map();
}

/// The number as a count: an integer from 0 to 2^53, up to which doubles are exact.
std::optional<std::size_t> Count(std::optional<double> number) {
    constexpr double exactlyTold = 9007199254740992.0; // 2^53
    if (!number || !(*number >= 0) || *number > exactlyTold || *number != std::floor(*number))
        return std::nullopt;
    return static_cast<std::size_t>(*number);
}

} // namespace

bool CQuillonHeaderTools::GetSpacing(const IImage& image, double& x, double& y, double& z) {
    const auto spacing = Triple(image, c_spacing);
    if (!spacing)
        return false;
    x = (*spacing)[0];
    y = (*spacing)[1];
    z = (*spacing)[2];
    return true;
}

void CQuillonHeaderTools::SetSpacing(IImage& image, double x, double y, double z) {
    auto spacing = std::make_unique<CValueMap>();
    spacing->SetEntry("x", new CValueDouble(x));
    spacing->SetEntry("y", new CValueDouble(y));
    spacing->SetEntry("z", new CValueDouble(z));
    image.Attributes().SetEntry(c_spacing, spacing.release());
}

void CQuillonHeaderTools::AddToHistory(IImage& image, const char* text, unsigned /*level*/) {
    AddToHistory(image, CValueString(text, CString::NPOS));
}

void CQuillonHeaderTools::AddToHistory(IImage& image, const CValueString& text) {
    CValueMap& attributes = image.Attributes();
    CValue* entry = attributes.Entry(c_history, true);
    if (entry == nullptr || entry->Vector() == nullptr) {
        attributes.SetEntry(c_history, new CValueVector);
        entry = attributes.Entry(c_history, true);
    }
    entry->Vector()->PushBack(text.Clone(CValue::TF_NONE));
}

void CQuillonHeaderTools::SetAttributes(IImage& target, const CValueMap& source) {
    target.Attributes().Copy(source, CValue::TF_KEEP, false);
}

bool CQuillonHeaderTools::GetMetaInfo(const IImage& image, const char* key, CValue& out) {
    const CValue* meta = image.Attributes().Entry(c_meta, true);
    const CValue* value = meta != nullptr && meta->Map() != nullptr ? meta->Map()->Entry(key, true) : nullptr;
    if (value == nullptr || !IsSameKind(*value, out))
        return false;
    out.Copy(*value, CValue::TF_KEEP, false);
    return true;
}

void CQuillonHeaderTools::SetMetaInfo(IImage& image, const char* key, const CValue& value) {
    std::unique_ptr<CValue> copy(value.Clone(CValue::TF_NONE)); // first: it may be in what is replaced
    StoreEntry(MapAt(image, c_meta), key, std::move(copy));
}

void CQuillonHeaderTools::SetFeatures(IImage& image, const char* key, const CValue& value) {
    std::unique_ptr<CValue> copy(value.Clone(CValue::TF_NONE)); // as above
    StoreEntry(MapAt(image, c_sTagFeatures.c_str()), key, std::move(copy));
}

bool CQuillonHeaderTools::GetMaxDistance(const IImage& image, double& distance) {
    const auto number = Number(image.Attributes(), c_maxDistance);
    if (number)
        distance = *number;
    return number.has_value();
}

void CQuillonHeaderTools::SetMinMax(IImage& image, double minimum, double maximum) {
    CValueVector range;
    for (const double end : {minimum, maximum})
        range.PushBack(new CValueDouble(end)); // one by one, so that neither is lost if memory runs out
    SetMetaInfo(image, c_sMetaMinMax.c_str(), range);
}

void CQuillonHeaderTools::SetMaxDistance(IImage& image, double distance) {
    image.Attributes().SetEntry(c_maxDistance, new CValueDouble(distance));
}

bool CQuillonHeaderTools::GetNumberOfLabels(const IImage& image, std::size_t& count) {
    const auto number = Count(Number(image.Attributes(), c_numberOfLabels));
    if (number)
        count = *number;
    return number.has_value();
}

void CQuillonHeaderTools::SetNumberOfLabels(IImage& image, std::size_t count) {
    const CValue_Key key(c_numberOfLabels); // first, because it can raise and nobody owns the value below
    // An integer value has 32 bits; a double represents every larger count of labels exactly.
    CValue* value = nullptr;
    if (count <= static_cast<std::size_t>(std::numeric_limits<std::int32_t>::max()))
        value = new CValueLong(static_cast<std::int32_t>(count));
    else
        value = new CValueDouble(static_cast<double>(count));
    image.Attributes().SetEntry(key, value);
}

void CQuillonHeaderTools::RemoveMeaningOfPixels(IImage& image) {
    image.Attributes().RemoveEntry(c_numberOfLabels);
    image.Attributes().RemoveEntry(c_maxDistance);
}

bool CQuillonHeaderTools::GetOffset(const IImage& image, unsigned long& x, unsigned long& y,
                                    unsigned long& z) {
    const auto offset = Triple(image, c_offset);
    if (!offset)
        return false;
    const auto ox = Count((*offset)[0]);
    const auto oy = Count((*offset)[1]);
    const auto oz = Count((*offset)[2]);
    if (!ox || !oy || !oz)
        return false;
    x = *ox;
    y = *oy;
    z = *oz;
    return true;
}

} // namespace ORVEN
