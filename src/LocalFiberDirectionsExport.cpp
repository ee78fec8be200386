#include "LocalFiberDirectionsExport.h"

#include "plugin/PluginContract.h"
#include "plugin/Windows.h"

#include <QuillonFilterOrientations/CSubfieldFiberDirections.h>
#include <QuillonIo/CCsvOStream.h>
#include <QuillonIo/CCsvOStreamValueMapLineariser.h>
#include <QuillonUtils/CopyMapEntries.h>
#include <sorbgui/MainWidget.h>
#include <sorblib2core/CException.h>
#include <sorblib2core/CValueDouble.h>
#include <sorblib2core/CValueLong.h>
#include <sorblib2core/CValueString.h>
#include <sorblib2core/UnwrapPointer.h>
#include <sorblib2image/CImage.h>
#include <sorblib2image/CQuillonHeaderTools.h>

#include <QApplication>
#include <QFile>
#include <QMainWindow>
#include <QStatusBar>
#include <QString>

#include <array>
#include <fstream>
#include <iostream>
#include <locale>
#include <memory>
#include <sstream>
#include <utility>

namespace quillon {

using namespace ORVEN;

namespace {

const char* const c_name = "LocalFiberDirectionsExportPlugin";
constexpr char c_separator = ';';
constexpr char c_quote = '"';
const char* const c_idTitle = "ID";
const char* const c_entryType = "Entry type";
// Only maps with this entry become rows.
const char* const c_tensor = "Orientation tensor";

std::string MeasurementKey() {
    return CQuillonHeaderTools::c_sTagFeatures + "/" + CSubfieldFiberDirections::sFiberDirectionsId;
}

std::string FieldKey() { return MeasurementKey() + "/" + CSubfieldFiberDirections::sFieldFiberDirectionsId; }

/// Returns the map at a key; null if there is none or `map` is null.
const CValueMap* MapAt(const CValueMap* map, const char* key) {
    const CValue* entry = map != nullptr ? map->Entry(key, true) : nullptr;
    return entry != nullptr ? entry->Map() : nullptr;
}

/// Returns the measurement of the field. `TestParameters` has checked that the entry exists, but in a file
/// from elsewhere it need not be a map.
const CValueMap& Field(const CValueMap& features) {
    const CValueMap* field = MapAt(&features, CSubfieldFiberDirections::sFieldFiberDirectionsId);
    if (field == nullptr) {
        throw CException(c_name,
                         CString("The entry '%1' is not a map.", CString::ENC_UTF8)
                             .Arg(CSubfieldFiberDirections::sFieldFiberDirectionsId),
                         nullptr);
    }
    return *field;
}

std::unique_ptr<CValueMap> CloneOf(const CValueMap& map) {
    return std::unique_ptr<CValueMap>(static_cast<CValueMap*>(map.Clone(CValue::TF_NONE)));
}

void SetText(CValueMap& map, const char* key, const char* text) {
    map.SetEntry(key, new CValueString(text, CString::NPOS));
}

int CountMaps(const CValueMap& map) {
    int count = 0;
    for (const CValue* value : map)
        count += value->Map() != nullptr ? 1 : 0;
    return count;
}

/// Returns the row of the field, with the columns that the measurement lacks. Its keys become the titles.
std::unique_ptr<CValueMap> FieldRow(const CValueMap& field, const CValueMap* subfields) {
    auto row = CloneOf(field);
    SetText(*row, c_idTitle, CSubfieldFiberDirections::sFieldFiberDirectionsId);
    SetText(*row, c_entryType, "field");
    row->SetEntry("Difference to global direction", new CValueDouble(0.0));
    SetText(*row, "Slice position", "n/a");
    if (subfields != nullptr)
        row->SetEntry("Number of subfields", new CValueLong(CountMaps(*subfields)));
    else
        SetText(*row, "Number of subfields", "n/a");
    return row;
}

/// Copies a map of rows to the rows of the file, after completing each with `complete(row)`.
template <class Complete>
void AddRows(CValueMap& rows, const CValueMap& source, const char* prefix, const Complete& complete) {
    const auto copy = CloneOf(source);
    for (const CValue_Key& key : copy->Keys()) {
        if (CValueMap* row = copy->Entry(key, true)->Map())
            complete(*row);
    }
    CopyMapEntries(rows, *copy, prefix);
}

void AddSubfieldRows(CValueMap& rows, const CValueMap& subfields) {
    AddRows(rows, subfields, "", [](CValueMap& row) {
        SetText(row, c_entryType, "subfield");
        // Deliberately a different key from that of the field. It sorts to the same position.
        row.SetEntry("Number pf subfields", new CValueLong(1));
        SetText(row, "Slice position", "n/a");
    });
}

/// Adds the rows of the profiles along all axes; returns false if there are none.
bool AddProfileRows(CValueMap& rows, const CValueMap* profiles) {
    constexpr std::array<std::array<const char*, 2>, 3> directions{
        {{"x-Direction", "X-Profile "}, {"y-Direction", "Y-Profile "}, {"z-Direction", "Z-Profile "}}};
    bool isAnyAdded = false;
    for (const auto& [key, prefix] : directions) {
        const CValueMap* slices = MapAt(profiles, key);
        if (slices == nullptr)
            continue;
        AddRows(rows, *slices, prefix, [](CValueMap& row) {
            SetText(row, c_entryType, "profile");
            for (const char* bound : {"x0", "x1", "y0", "y1", "z0", "z1"})
                SetText(row, (std::string("Evaluated area/") + bound).c_str(), "n/a");
        });
        isAnyAdded = true;
    }
    return isAnyAdded;
}

void WriteRows(std::ostream& file, const CValueMap& rows) {
    CCsvOStream fields(file, c_separator, c_quote);
    for (auto row = rows.begin(); row != rows.end(); ++row) {
        const CValueMap* map = row.Value()->Map();
        if (map == nullptr || !map->HasEntry(c_tensor))
            continue;
        file << c_quote << row.Key().ToString() << c_quote << c_separator;
        fields << *map << std::endl;
    }
}

/// Reports the progress of saving a file in the status bar of the main window, and finally on standard
/// output.
class CSaveStatusMessage {
public:
    CSaveStatusMessage(bool isSaving, const std::string& name, const std::string& file)
        : m_text(name + ": " + (isSaving ? "Saving" : "Loading") + " '" + file + "' ... ") {
        Show(0);
    }
    CSaveStatusMessage(const CSaveStatusMessage&) = delete;
    CSaveStatusMessage& operator=(const CSaveStatusMessage&) = delete;
    ~CSaveStatusMessage() {
        m_text += m_isSuccessful ? "ok" : "failed";
        std::cout << m_text << std::endl;
        constexpr int milliseconds = 5000;
        Show(milliseconds);
    }

    void SetSuccess() { m_isSuccessful = true; }

private:
    void Show(int milliseconds) const {
        if (auto* window = qobject_cast<QMainWindow*>(MainWidget()))
            window->statusBar()->showMessage(QString::fromLocal8Bit(m_text.c_str()), milliseconds);
    }

    bool m_isSuccessful = false;
    std::string m_text;
};

void ReportError(const std::string& text) { std::cerr << c_name << " Export Error: " << text << std::endl; }

void Warn(const char* text) {
    ReportError(text);
    ShowBox(c_name, EnBox::WARNING, MainWidget(), "Export Error", QString::fromUtf8(text));
}

} // namespace

void CLocalFiberDirectionsExportPlugin::GetPluginSetup(CValueMap& setup) { contract::DescribePlugin(setup); }

bool CLocalFiberDirectionsExportPlugin::TestParameters(const CValueMap& tree) {
    return contract::AcceptsFocusedImage(tree, [](const CImage& image) {
        return image.Attributes().HasEntry(MeasurementKey()) && image.Attributes().HasEntry(FieldKey());
    });
}

void CLocalFiberDirectionsExportPlugin::UpdateParameters(const CValueMap& tree) {
    contract::StoreFocusedDocument(tree, m_focusedDocument, contract::EnFocusTest::ANY_INPUT);
    if (tree.HasEntry("input"))
        m_label = m_focusedDocument != nullptr ? contract::LabelOf(*m_focusedDocument, "") : CString();
    // If nothing is in focus, or no image, the last measurement and the selection of rows are kept: the
    // measurement can still be exported, with a file name that does not contain a label.
    const CImage* image = contract::ContentOf(m_focusedDocument);
    if (image == nullptr)
        return;
    m_features = image->Attributes().HasEntry(FieldKey())
                     ? image->Attributes().Entry(MeasurementKey(), true)->Map()
                     : nullptr;
    m_image = image;
    m_imageSize = image->Size();
    contract::ReadParameter(tree, "parameters/export_field", m_exportsField);
    contract::ReadParameter(tree, "parameters/export_subfields", m_exportsSubfields);
    contract::ReadParameter(tree, "parameters/export_profiles", m_exportsProfiles);
}

void CLocalFiberDirectionsExportPlugin::GetData(CValueMap&) {
    if (!contract::HoldsMap(m_image, MeasurementKey(), m_features))
        return;
    RequireWindows(c_name);
    if (!m_exportsField && !m_exportsSubfields && !m_exportsProfiles) {
        Warn("No data selected for export.");
        return;
    }
    const std::string path = AskForCsvFile(m_label.Std(), "_fiberdirections.csv");
    if (path.empty())
        return;
    try {
        Save(path);
    } catch (const CException& exception) {
        const QString text = QString("Could not save csv file '%1'.").arg(QFile::decodeName(path.c_str())) +
                             "\n" + QString::fromUtf8(exception.Message());
        ReportError(text.toStdString());
        ShowBox(c_name, EnBox::CRITICAL, MainWidget(), "Export Error", text);
    }
}

void CLocalFiberDirectionsExportPlugin::Save(const std::string& path) const {
    const CWaitCursor cursor;
    // "profiles" deliberately has no blank in front.
    CSaveStatusMessage status(true,
                              std::string(c_name) + "(" + (m_exportsField ? " field" : "") +
                                  (m_exportsSubfields ? " subfields" : "") +
                                  (m_exportsProfiles ? "profiles" : "") + " )",
                              path);
    // Everything is prepared before the file is opened: an entry of the wrong kind raises an error, and must
    // not destroy an existing table.
    const CValueMap* subfields = MapAt(m_features, CSubfieldFiberDirections::sSubfieldFiberDirectionsId);
    const CValueMap* profiles = MapAt(m_features, CSubfieldFiberDirections::sSubfieldProfiles);
    std::stringstream head;
    head << CommentLine(m_exportsSubfields ? subfields : nullptr) << std::endl;
    std::unique_ptr<CValueMap> fieldRow = FieldRow(Field(*m_features), subfields);
    CCsvOStreamValueMapLineariser(*fieldRow, head, c_idTitle, c_separator, c_quote);
    fieldRow->RemoveEntry(c_idTitle); // the key of the row takes its place

    CValueMap rows;
    bool isAnySelected = m_exportsField;
    if (m_exportsField)
        rows.SetEntry(CSubfieldFiberDirections::sFieldFiberDirectionsId, fieldRow.release());
    if (m_exportsSubfields && subfields != nullptr) {
        AddSubfieldRows(rows, *subfields);
        isAnySelected = true;
    }
    if (m_exportsProfiles && AddProfileRows(rows, profiles))
        isAnySelected = true;

    std::ofstream file(path);
    if (!file) {
        const CString text = CString("Can't open file '%1' for writing.", CString::ENC_UTF8).Arg(path);
        ReportError(text.Std());
        throw CException(c_name, text, nullptr);
    }
    if (!isAnySelected) {
        // The cursor is restored here, for the message box, and deliberately once more at the end.
        QApplication::restoreOverrideCursor();
        Warn("No data written to file. Please pick some results (field, subfields) and make\n"
             "sure they have been computed in (Sub-)field fibre directions");
        return;
    }
    file << head.str();
    WriteRows(file, rows);
    file.close(); // a full disk may be detected only here
    if (!file)
        throw CException(c_name, CString("Can't write to file '%1'.", CString::ENC_UTF8).Arg(path), nullptr);
    status.SetSuccess();
}

std::string CLocalFiberDirectionsExportPlugin::CommentLine(const CValueMap* subfields) const {
    std::ostringstream line;
    line.imbue(std::locale::classic());
    auto begin = [&line, isFirst = true](const char* title) mutable -> std::ostream& {
        line << (isFirst ? "# " : ", ") << title;
        isFirst = false;
        return line;
    };
    for (const char* key : {"Subfield size", "Subfield step"}) {
        if (subfields != nullptr && subfields->HasEntry(key))
            begin((std::string(key) + ": ").c_str()) << std::as_const(*subfields->Entry(key, true)).Double();
    }
    if (m_features->HasEntry("Fiber radius", typeid(CValueDouble)))
        begin("Fiber radius: ") << std::as_const(*m_features->Entry("Fiber radius", true)).Double();
    if (const CValue* factor = m_features->Entry("Otsu factor", true)) {
        begin("Otsu factor: ");
        if (factor->GenericType() == CValue::VAL_DOUBLE)
            line << factor->Double();
        else if (factor->GenericType() == CValue::VAL_STRING)
            line << factor->String();
    }
    if (m_features->HasEntry("Border", typeid(CValueLong)))
        begin("Border: ") << std::as_const(*m_features->Entry("Border", true)).Long();
    begin("Image size: (") << m_imageSize.x << "," << m_imageSize.y << "," << m_imageSize.z << ")";
    return line.str();
}

} // namespace quillon
