#include "LabelMeasurementsExport.h"

#include "measurement/LabelTable.h"
#include "plugin/PluginContract.h"
#include "plugin/Windows.h"

#include <QuillonIo/CCsvHeader.h>
#include <QuillonIo/CCsvOStream.h>
#include <QuillonUtils/ObjectBasedFeatures.h>
#include <sorblib2core/CException.h>
#include <sorblib2core/CValueString.h>

#include <QString>

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <fstream>
#include <iostream>
#include <map>

namespace quillon::basics {

using namespace ORVEN;

namespace {

const char* const c_name = "LabelMeasurementsExport";
const char* const c_kind = "object";
constexpr char c_separator = ';';
constexpr char c_quote = '"';

/// The measurement of an image, or null if it has none.
const CValueMap* MeasurementOf(const CImage& image) {
    const CValue* entry = image.Attributes().Entry(LabelMeasurementsPath(), true);
    const CValueMap* map = entry != nullptr ? entry->Map() : nullptr;
    return map != nullptr && IsObjectBasedFeaturesMap(*map, c_kind) ? map : nullptr;
}

bool IsNumber(const CValue* value) {
    return value != nullptr &&
           (value->GenericType() == CValue::VAL_DOUBLE || value->GenericType() == CValue::VAL_LONG);
}

/// The objects in the order of their labels. An entry whose label is no number is left out.
std::map<std::int64_t, const CValueMap*> ByLabel(const CValueMap& measurement) {
    std::map<std::int64_t, const CValueMap*> objects;
    for (const CValue* entry : measurement) {
        const CValueMap* object = entry->Map();
        const CValue* label = object != nullptr ? object->Entry(c_kind, true) : nullptr;
        if (label == nullptr || label->GenericType() != CValue::VAL_STRING)
            continue;
        const std::string& text = label->String().Std();
        std::int64_t number = 0;
        if (std::from_chars(text.data(), text.data() + text.size(), number).ec == std::errc())
            objects[number] = object;
    }
    return objects;
}

} // namespace

void CLabelMeasurementsExportPlugin::GetPluginSetup(CValueMap& setup) { contract::DescribePlugin(setup); }

bool CLabelMeasurementsExportPlugin::TestParameters(const CValueMap& tree) {
    return contract::AcceptsFocusedImage(tree,
                                         [](const CImage& image) { return MeasurementOf(image) != nullptr; });
}

void CLabelMeasurementsExportPlugin::UpdateParameters(const CValueMap& tree) {
    contract::StoreFocusedDocument(tree, m_focusedDocument, contract::EnFocusTest::ANY_ENTRY);
}

void CLabelMeasurementsExportPlugin::GetData(CValueMap&) {
    const CImage* image = contract::ContentOf(m_focusedDocument);
    const CValueMap* measurement = image != nullptr ? MeasurementOf(*image) : nullptr;
    if (measurement == nullptr)
        return;
    RequireWindows(c_name);
    const std::string path = AskForCsvFile(contract::LabelOf(*m_focusedDocument, "").Std(), "_labels.csv");
    if (path.empty())
        return;
    try {
        Save(*image, *measurement, path);
    } catch (const CException& exception) {
        std::cerr << exception.Message() << std::endl;
        ShowBox(c_name, EnBox::CRITICAL, nullptr, "Save Error", "Could not save csv file.");
    }
}

void CLabelMeasurementsExportPlugin::Save(const CImage& image, const CValueMap& measurement,
                                          const std::string& path) {
    const CWaitCursor cursor;
    std::ofstream file(path);
    if (!file)
        throw CException(c_name, "Can't open file for writing.", nullptr);
    CCsvHeader header(file, c_separator, c_quote);
    header.AddVersionInformation();
    header.AddImageAttributes(image);
    CValueMap parameters;
    parameters.SetEntry("filename", new CValueString(path.c_str(), path.size()));
    header.AddMap("parameters", parameters);
    header.Finish();

    const auto objects = ByLabel(measurement);
    const bool hasGreyValues = std::ranges::any_of(
        objects, [](const auto& object) { return IsNumber(object.second->Entry("grey value/mean", true)); });
    const std::vector<StColumn> columns = ColumnsOf(image.Size().Dim(), hasGreyValues);
    CCsvOStream table(file, c_separator, c_quote);
    table << CValueString("label", CString::NPOS);
    for (const StColumn& column : columns)
        table << CValueString(CString(TitleWithUnit(column, image)));
    table << std::endl;
    for (const auto& [label, object] : objects) {
        file << label;
        for (const StColumn& column : columns) {
            // The separator is written here: an empty field is no value.
            file << c_separator;
            const CValue* number = object->Entry(column.path, true);
            if (IsNumber(number))
                CCsvOStream(file, c_separator, c_quote) << *number;
        }
        file << std::endl;
    }
    file.close(); // a full disk may be detected only here
    if (!file)
        throw CException(c_name, "Can't write to file.", nullptr);
}

} // namespace quillon::basics
