#include "GranulometryExport.h"

#include "Granulometry.h"
#include "plugin/PluginContract.h"
#include "plugin/Windows.h"

#include <QuillonIo/CCsvHeader.h>
#include <QuillonIo/CCsvOStreamColumnTable.h>
#include <sorblib2core/CException.h>
#include <sorblib2core/CValueString.h>

#include <QString>

#include <fstream>
#include <iostream>

namespace quillon {

using namespace ORVEN;

namespace {

const char* const c_name = "CGranulometryExportPlugin";
// Deliberately the name of the plug-in that measures.
const char* const c_errorSource = "CGranulometryPlugin";
constexpr char c_separator = ';';
constexpr char c_quote = '"';

} // namespace

void CGranulometryExportPlugin::GetPluginSetup(CValueMap& setup) { contract::DescribePlugin(setup); }

bool CGranulometryExportPlugin::TestParameters(const CValueMap& tree) {
    return contract::AcceptsFocusedImage(
        tree, [](const CImage& image) { return image.Attributes().HasEntry(GranulometryKey()); });
}

void CGranulometryExportPlugin::UpdateParameters(const CValueMap& tree) {
    if (!tree.HasEntry("input"))
        return;
    contract::StoreFocusedDocument(tree, m_focusedDocument, contract::EnFocusTest::ANY_INPUT);
    m_label = m_focusedDocument != nullptr ? contract::LabelOf(*m_focusedDocument, "") : CString();
    const CImage* image = contract::ContentOf(m_focusedDocument);
    // An image without a measurement deliberately leaves the previous one in place.
    if (image == nullptr || !image->Attributes().HasEntry(GranulometryKey(), typeid(CValueMap)))
        return;
    m_image = image;
    m_result = image->Attributes().Entry(GranulometryKey(), true)->Map();
}

void CGranulometryExportPlugin::GetData(CValueMap&) {
    if (!contract::HoldsMap(m_image, GranulometryKey(), m_result))
        return;
    RequireWindows(c_name);
    const std::string path = AskForCsvFile(m_label.Std(), "_granulometry.csv");
    if (path.empty())
        return;
    try {
        Save(path);
    } catch (const CException& exception) {
        std::cerr << exception.Message() << std::endl;
        ShowBox(c_name, EnBox::CRITICAL, nullptr, "Save Error", "Could not save csv file.");
    }
}

void CGranulometryExportPlugin::Save(const std::string& path) const {
    const CWaitCursor cursor;
    std::ofstream file(path);
    if (!file)
        throw CException(c_errorSource, "Can't open file for writing.", nullptr);

    bool isOnForeground = false;
    contract::ReadParameter(*m_result, "on foreground", isOnForeground);
    CValueMap parameters;
    parameters.SetEntry("on foreground",
                        new CValueString(isOnForeground ? "foreground" : "background", CString::NPOS));
    parameters.SetEntry("filename", new CValueString(path.c_str(), path.size()));
    CCsvHeader header(file, c_separator, c_quote);
    header.AddVersionInformation();
    header.AddImageAttributes(*m_image);
    header.AddMap("parameters", parameters);
    header.Finish();

    const CValue* data = m_result->Entry("data", true);
    CCsvOStreamColumnTable table(file, c_separator, c_quote);
    table << CCsvOStreamColumnTable::BindValueMap{data != nullptr ? data->Map() : nullptr, "diameter",
                                                  "count", true, true}
          << std::endl;
    file.close(); // a full disk may be detected only here
    if (!file)
        throw CException(c_errorSource, "Can't write to file.", nullptr);
}

} // namespace quillon
