#pragma once

#include "support/CTestFolder.h"
#include "support/PackHost.h"

#include <sorblib2core/CPluginBase.h>
#include <sorblib2core/CValueMap.h>
#include <sorblib2image/CImage.h>

#include <cstdint>
#include <memory>
#include <ostream>
#include <string>
#include <vector>

/// The plug-ins of a pack as data, for tests of what all of them have in common:
///
///     class EveryPlugin : public testing::TestWithParam<const test::StPluginRow*> {};
///     TEST_P(EveryPlugin, DeliversWhatItsRowSays) {
///         test::CPluginRun run(*GetParam());
///         run.Run();
///         EXPECT_EQ(run.Host().DocumentCount(), GetParam()->documentCount);
///     }
///     using Row = testing::TestParamInfo<const test::StPluginRow*>;
///     INSTANTIATE_TEST_SUITE_P(Pack, EveryPlugin, testing::ValuesIn(test::PluginRows()),
///                              test::PluginRowName<Row>);
///
/// The binary needs the application of `support/QtTest.h`, as some plug-ins open windows.
namespace test {

class CPluginRun;

/// What a run shows to a person.
enum class EnWindow { NONE, MESSAGE, FORM, FILE };

struct StPluginRow {
    /// What the factory is asked for.
    const char* name;
    /// The name that the plug-in reports itself; null for none.
    const char* pluginName = nullptr;
    /// The types and dimensions that `TestParameters` takes, and the least extent along each axis.
    std::vector<ORVEN::IImage::CType> types;
    std::vector<int> dimensions;
    std::int64_t minimumExtent = 0;
    /// How many new documents the normal run delivers.
    std::size_t documentCount = 0;
    /// The path of the measurement that the normal run leaves among the attributes of the image in focus;
    /// null for none.
    const char* measurement = nullptr;
    /// The first window of the normal run.
    EnWindow window = EnWindow::NONE;
    /// The attributes that the plug-in refuses to go without, or does nothing.
    void (*addRequiredAttributes)(ORVEN::CValueMap&) = nullptr;
    /// All attributes of the image in focus that the plug-in reads, each with a value that it makes use of.
    /// The required ones are among them.
    void (*addAttributes)(ORVEN::CValueMap&);
    /// Stores the parameters of the normal run, and makes the companions that they point to.
    void (*setParameters)(CPluginRun&) = nullptr;
};

/// The rows of a pack, made for its test binary.
std::vector<StPluginRow> MakePluginRows();

/// The rows, in the order of their names.
const std::vector<const StPluginRow*>& PluginRows();
/// The row of that name; raises `std::logic_error` if there is none.
const StPluginRow& PluginRow(const std::string& name);

/// The rows that fulfil a condition.
template <class Condition>
std::vector<const StPluginRow*> PluginRowsWhere(const Condition& condition) {
    std::vector<const StPluginRow*> rows;
    for (const StPluginRow* row : PluginRows()) {
        if (condition(*row))
            rows.push_back(row);
    }
    return rows;
}

/// The name of a row for the test framework: `INSTANTIATE_TEST_SUITE_P(..., PluginRowName)`.
template <class ParamInfo>
std::string PluginRowName(const ParamInfo& info) {
    return info.param->name;
}

void PrintTo(const StPluginRow* row, std::ostream* stream);

/// A size of one, two or three dimensions.
ORVEN::CSize SizeOf(const std::vector<std::int64_t>& extents);

/// An image of a few hundred pixels that the plug-in takes: of the first type and the greatest dimension of
/// its row.
std::unique_ptr<ORVEN::CImage> NormalImage(const StPluginRow& row);

/// An image with a pattern that has objects, holes, minima and maxima as far as its size allows. The pixels
/// of a complex image are 0.
std::unique_ptr<ORVEN::CImage> PatternImage(const ORVEN::IImage::CType& type, const ORVEN::CSize& size);

/// One object of the loaded pack with a host around it, ready for a normal run.
class CPluginRun {
public:
    /// On the normal image with its required attributes.
    explicit CPluginRun(const StPluginRow& row);
    /// On a pattern with the required attributes.
    CPluginRun(const StPluginRow& row, const ORVEN::IImage::CType& type, const ORVEN::CSize& size);

    [[nodiscard]] const StPluginRow& Row() const { return m_row; }
    [[nodiscard]] CPackHost& Host() { return m_host; }
    [[nodiscard]] ORVEN::CPluginBase& Plugin() { return *m_plugin; }

    /// What `TestParameters` answers.
    bool Accepts();
    /// Updates and runs; the host keeps the new documents. Windows are agreed to, and nothing is written to
    /// the standard streams. What the plug-in raises goes on to the caller.
    void Run();
    /// The same in two steps.
    void Update();
    void GetData();

    /// The windows of the last run, as `CDialogAnswers::Seen` says.
    [[nodiscard]] const std::vector<std::string>& Windows() const { return m_windows; }
    /// What the last export has written; empty for no file.
    [[nodiscard]] std::string ExportedFile() const;

    /// Keeps an image for as long as the run lives: one that a parameter points to.
    ORVEN::CImage& AddCompanion(std::unique_ptr<ORVEN::CImage> image);
    /// Opens a document besides the one in focus, at "input/documents/KEY".
    void AddDocument(const std::string& key, std::unique_ptr<ORVEN::CImage> image, const std::string& label);

private:
    CPluginRun(const StPluginRow& row, std::unique_ptr<ORVEN::CImage> image);

    template <class Call>
    void Watched(const Call& call);

    const StPluginRow& m_row;
    std::vector<std::unique_ptr<ORVEN::CImage>> m_companions;
    std::vector<std::unique_ptr<ORVEN::CValueMap>> m_documents;
    CPackHost m_host;
    std::unique_ptr<ORVEN::CPluginBase> m_plugin;
    std::shared_ptr<const CTestFolder> m_folder; // removed with the last owner
    std::vector<std::string> m_windows;
};

} // namespace test
