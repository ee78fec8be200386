#include "FeatureToImage.h"

#include "plugin/PluginContract.h"
#include "plugin/Windows.h"

#include <QuillonUtils/ObjectBasedFeatures.h>
#include <sorbgui/CAutoDialogPluginWrapper.h>
#include <sorblib2core/CValueLong.h>
#include <sorblib2core/CValueString.h>
#include <sorblib2core/CValueVector.h>
#include <sorblib2image/CQuillonHeaderTools.h>

#include <algorithm>
#include <iostream>
#include <map>
#include <memory>
#include <string>
#include <vector>

using namespace ORVEN;
namespace contract = quillon::contract;

namespace {

constexpr const char* c_object = "object";
constexpr const char* c_greyValue = "grayvalue";
// The highest grey value that is shown, whatever the type of the measured image.
constexpr int c_greatestGreyValue = 255;

CValueString* NewText(const std::string& text) { return new CValueString(text.c_str(), text.size()); }

bool IsGreyValueFeaturesMap(const CValueMap& map) {
    return std::any_of(map.begin(), map.end(), [](const CValue* value) {
        return value->Map() != nullptr && value->Map()->HasEntry(c_greyValue, typeid(CValueString));
    });
}

/// Asks which of several measurements to show.
class CFeatureTypeSelectionDialog : public CAutoDialogPluginWrapper {
public:
    CValueVector* CreateDialogDescription() override {
        auto description = std::make_unique<CValueVector>();
        description->SetEntry("0", NewText("Select Feature to Map to Image"));
        description->SetEntry("1/caption", NewText("feature type"));
        description->SetEntry("1/entry", NewText("feature"));
        description->SetEntry("1/type", NewText("string"));
        const std::string first = names.empty() ? std::string() : names.front();
        description->SetEntry("1/default", NewText(selection.empty() ? first : selection));
        description->SetEntry("1/selection", new CValueMap); // a name could be mistaken for an index
        for (const std::string& name : names)
            description->SetEntry("1/selection/" + name, NewText(name));
        return description.release();
    }

    CValueMap* GetDialogValues() override {
        auto values = std::make_unique<CValueMap>();
        values->SetEntry("feature", NewText(selection));
        return values.release();
    }

    bool SetDialogValues(CValueMap& values) override {
        selection = values.EntryString("feature").Std();
        return true;
    }

    std::vector<std::string> names;
    std::string selection;
};

/// Reports an unusable features map.
void TellUnusable(const CValue_Key& key, const char* kind) {
    std::cout << key.ToString() << " is not " << kind << " map\n";
}

/// Returns the kinds of the usable features maps by name.
std::map<std::string, std::string> UsableFeatures(const CValueMap& features) {
    std::map<std::string, std::string> kinds;
    for (auto entry = features.begin(); entry != features.end(); ++entry) {
        const CValueMap* map = entry.Value()->Map();
        if (map == nullptr)
            continue;
        if (IsObjectBasedFeaturesMap(*map, c_object))
            kinds[entry.Key().ToString()] = c_object;
        else if (IsGreyValueFeaturesMap(*map))
            kinds[entry.Key().ToString()] = c_greyValue;
    }
    return kinds;
}

/// Returns the name of the measurement to show; empty if there is none or the dialog was cancelled.
std::string SelectFeature(const std::map<std::string, std::string>& kinds) {
    CFeatureTypeSelectionDialog dialog;
    for (const auto& [name, kind] : kinds) {
        dialog.names.push_back(name);
        std::cout << name << "\n";
    }
    if (dialog.names.empty())
        return {};
    dialog.selection = dialog.names.front();
    if (dialog.names.size() > 1) {
        quillon::RequireWindows("FeatureMapToFeatureImagePlugin");
        if (!dialog.show())
            return {};
    }
    return dialog.selection;
}

} // namespace

void CFeatureMapToFeatureImagePlugin::GetPluginSetup(CValueMap& setup) { contract::DescribePlugin(setup); }

bool CFeatureMapToFeatureImagePlugin::TestParameters(const CValueMap& tree) {
    return contract::AcceptsFocusedImage(tree, [](const CImage& image) {
        const CValue* features = image.Attributes().Entry(CQuillonHeaderTools::c_sTagFeatures, true);
        if (features == nullptr || features->Map() == nullptr)
            return false;
        for (auto entry = features->Map()->begin(); entry != features->Map()->end(); ++entry) {
            const CValueMap* map = entry.Value()->Map();
            if (map == nullptr)
                continue;
            if (IsObjectBasedFeaturesMap(*map, c_object))
                return true;
            TellUnusable(entry.Key(), "an OBJECT");
            if (IsGreyValueFeaturesMap(*map))
                return true;
            TellUnusable(entry.Key(), "a GRAYVALUE");
        }
        return false;
    });
}

void CFeatureMapToFeatureImagePlugin::UpdateParameters(const CValueMap& tree) {
    contract::StoreFocusedDocument(tree, m_focusedDocument, contract::EnFocusTest::POINTER_TO_DOCUMENT);
}

void CFeatureMapToFeatureImagePlugin::GetData(CValueMap& tree) {
    contract::ReportExceptions("FeatureMapToFeatureImagePlugin", [&] { MakeFeatureImage(tree); });
}

void CFeatureMapToFeatureImagePlugin::MakeFeatureImage(CValueMap& tree) const {
    const CImage* image = contract::ContentOf(m_focusedDocument);
    const CValue* tag =
        image != nullptr ? image->Attributes().Entry(CQuillonHeaderTools::c_sTagFeatures, true) : nullptr;
    if (tag == nullptr || tag->Map() == nullptr)
        return;
    CValueMap features(*tag->Map()); // the header must not change
    const std::map<std::string, std::string> kinds = UsableFeatures(features);
    const std::string name = SelectFeature(kinds);
    const auto kind = kinds.find(name);
    if (kind == kinds.end())
        return;
    CValueMap& map = *features.Entry(name, true)->Map();
    if (kind->second == c_greyValue)
        map.SetEntry("maximum label", new CValueLong(c_greatestGreyValue));

    auto result = std::make_unique<CImage>(IMAGE_GREY_F, CSize(3, 3), CSize(0, 0, 0)); // resized below
    CQuillonHeaderTools::SetAttributes(*result, image->Attributes());
    ConvertObjectBasedFeaturesIntoFeatureImage(name, map, kind->second, *result, {});
    const std::string history = "features2image(\"" + name + "\")";
    CQuillonHeaderTools::AddToHistory(*result, CValueString(history.c_str(), history.size()));
    contract::HandOver(tree, contract::EnHandOver::INTO_LIST, std::move(result),
                       contract::LabelOf(*m_focusedDocument, ""));
}
