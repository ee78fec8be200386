#include "QuillonUtils/ObjectBasedFeatures.h"

#include <sorblib2core/CException.h>
#include <sorblib2core/CString.h>
#include <sorblib2core/CValueLong.h>
#include <sorblib2core/CValueString.h>
#include <sorblib2core/CValueVector.h>
#include <sorblib2core/ForEachLeaf.h>
#include <sorblib2image/CQuillonHeaderTools.h>
#include <sorblib2image/ImageView.h>

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <limits>
#include <map>
#include <optional>
#include <set>

namespace ORVEN {

namespace {

const char* const c_convert = "ConvertObjectBasedFeaturesIntoFeatureImage";

using Index = std::int64_t;

std::optional<Index> NumberOf(const CValue* value) {
    if (value == nullptr)
        return std::nullopt;
    if (value->GenericType() == CValue::VAL_LONG && value->Long() >= 0)
        return value->Long();
    if (value->GenericType() != CValue::VAL_STRING)
        return std::nullopt;
    const std::string& text = value->String().Std();
    Index number = 0;
    const auto end = std::from_chars(text.data(), text.data() + text.size(), number);
    const bool isWhole = end.ec == std::errc() && end.ptr == text.data() + text.size() && text[0] != '-';
    return isWhole ? std::optional(number) : std::nullopt;
}

std::optional<Index> IndexOf(const CValueMap& entry, const std::string& kind) {
    if (const auto index = NumberOf(entry.Entry(kind, true)))
        return index;
    const CValue* label = entry.Entry("label", true);
    return label != nullptr && label->GenericType() == CValue::VAL_LONG ? NumberOf(label) : std::nullopt;
}

/// Calls `visit(entry)` for each entry of the kind.
template <class Visit>
void ForEachEntry(const CValueMap& map, const std::string& kind, const Visit& visit) {
    for (auto entry = map.begin(); entry != map.end(); ++entry) {
        if (entry.Value()->Map() != nullptr && std::string(entry.Key().ToString()).starts_with(kind + " "))
            visit(*entry.Value()->Map());
    }
}

/// The entries by index, up to "maximum label".
struct StIndexedEntries {
    StIndexedEntries(const CValueMap& map, const std::string& kind) {
        ForEachEntry(map, kind, [&](const CValueMap& entry) {
            if (const auto index = IndexOf(entry, kind))
                entries[*index] = &entry;
        });
        const CValue* maximum = map.Entry("maximum label", true);
        const bool isGiven =
            maximum != nullptr && maximum->GenericType() == CValue::VAL_LONG && maximum->Long() >= 0;
        if (isGiven)
            greatestIndex = maximum->Long();
        else if (!entries.empty())
            greatestIndex = entries.rbegin()->first;
        entries.erase(entries.upper_bound(greatestIndex), entries.end());
    }

    std::map<Index, const CValueMap*> entries;
    Index greatestIndex = 0;
};

/// Calls `visit(path, number)` for each number among the features of an entry.
template <class Visit>
void ForEachFeature(const CValueMap& entry, const std::string& kind, const Visit& visit) {
    ForEachLeaf(&entry, {}, [&](const std::string& path, const CValue* leaf) {
        const auto type = leaf != nullptr ? leaf->GenericType() : CValue::VAL_NONE;
        if ((type == CValue::VAL_LONG || type == CValue::VAL_DOUBLE) && path != kind && path != "label")
            visit(path, leaf->Double());
    });
}

[[noreturn]] void Raise(const CString& text) { throw CException(c_convert, text, nullptr); }

/// The features that become the rows.
std::vector<std::string> RowsOf(const StIndexedEntries& indexed, const std::string& feature,
                                const std::string& kind, const std::vector<std::string>& names) {
    std::set<std::string> known;
    for (const auto& [index, entry] : indexed.entries)
        ForEachFeature(*entry, kind, [&known](const std::string& path, double) { known.insert(path); });
    if (known.empty())
        Raise(CString("'%1' has no features that are numbers.", CString::ENC_UTF8).Arg(feature));
    for (const std::string& name : names) {
        if (!known.contains(name)) {
            Raise(CString("'%1' has no feature '%2'.", CString::ENC_UTF8).Arg(feature).Arg(name));
        }
    }
    return names.empty() ? std::vector(known.begin(), known.end()) : names;
}

CSize SizeOf(Index greatestIndex, std::size_t rows, const std::string& feature) {
    constexpr Index mostPixels = Index{1} << 31;
    const auto rowCount = static_cast<Index>(rows);
    if (greatestIndex >= mostPixels / rowCount)
        Raise(CString("The features of '%1' do not fit into an image.", CString::ENC_UTF8).Arg(feature));
    return {greatestIndex + 1, rowCount};
}

void SetRange(CImage& image) {
    float minimum = std::numeric_limits<float>::max();
    float maximum = std::numeric_limits<float>::lowest();
    const CImageView<const float> pixels(image);
    for (Index row = 0; row < pixels.ny; ++row) {
        for (Index column = 0; column < pixels.nx; ++column) {
            const float pixel = pixels.Row(row, 0)[column];
            minimum = pixel < minimum ? pixel : minimum; // this order of operands ignores NaN
            maximum = pixel > maximum ? pixel : maximum;
        }
    }
    CQuillonHeaderTools::SetMinMax(image, minimum, maximum);
}

} // namespace

bool IsObjectBasedFeaturesMap(const CValueMap& map, const std::string& kind) {
    bool hasEntries = false;
    bool haveAllAnIndex = true;
    ForEachEntry(map, kind, [&](const CValueMap& entry) {
        hasEntries = true;
        haveAllAnIndex = haveAllAnIndex && IndexOf(entry, kind).has_value();
    });
    return hasEntries && haveAllAnIndex;
}

void ConvertObjectBasedFeaturesIntoFeatureImage(const std::string& feature, const CValueMap& map,
                                                const std::string& kind, CImage& out,
                                                const std::vector<std::string>& names) {
    const StIndexedEntries indexed(map, kind);
    const std::vector<std::string> rows = RowsOf(indexed, feature, kind, names);
    out.Resize(SizeOf(indexed.greatestIndex, rows.size(), feature), CSize(0, 0, 0));
    {
        const CImageView<float> pixels(out);
        pixels.Fill(0.0F);
        std::map<std::string, float*> rowOf;
        for (std::size_t row = 0; row < rows.size(); ++row)
            rowOf[rows[row]] = pixels.Row(static_cast<Index>(row), 0);
        for (const auto& [index, entry] : indexed.entries) {
            ForEachFeature(*entry, kind, [&, column = index](const std::string& path, double number) {
                const auto row = rowOf.find(path);
                if (row != rowOf.end())
                    row->second[column] = static_cast<float>(number);
            });
        }
    }
    SetRange(out);
    CValueVector rowNames;
    for (const std::string& row : rows)
        rowNames.PushBack(new CValueString(row.c_str(), row.size()));
    CQuillonHeaderTools::SetMetaInfo(out, "feature rows", rowNames);
    CQuillonHeaderTools::SetMetaInfo(out, "feature columns", CValueString(kind.c_str(), kind.size()));
    CQuillonHeaderTools::SetMetaInfo(out, "feature", CValueString(feature.c_str(), feature.size()));
}

} // namespace ORVEN
