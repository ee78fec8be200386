// Whether the table is right about the plug-ins, as the tests built on it rely on it.

#include "src/contract/PluginTable.h"
#include "engine/catalogue/CCatalogue.h"
#include "support/QtTest.h"

#include <sorblib2core/CExBadParam.h>
#include <sorblib2core/CString.h>
#include <sorblib2core/CValueString.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <string_view>

namespace {

using namespace ORVEN;
using test::EnWindow;
using test::StPluginRow;

/// These keep the document that they have where the tree holds none. The others raise.
bool IgnoresWrongDocuments(const StPluginRow& row) {
    constexpr std::array<std::string_view, 4> names{"FeatureToImage", "LocalFiberDirections",
                                                    "LocalFiberDirectionsDialog", "VoronoiEdtPlugin"};
    return std::ranges::count(names, row.name) != 0;
}

class PluginTable : public testing::TestWithParam<const StPluginRow*> {
protected:
    const StPluginRow& m_row = *GetParam();
};

TEST_P(PluginTable, AcceptsTheTypesDimensionsAndExtentsOfItsRowOnly) {
    constexpr std::array types{IMAGE_GREY_8,    IMAGE_GREY_16,   IMAGE_GREY_32,  IMAGE_GREY_F,
                               IMAGE_COMPLEX_F, IMAGE_BINARY_FG, IMAGE_BINARY_BG};
    for (const auto& type : types) {
        for (const std::int64_t extent : {0, 1, 2, 6}) {
            for (const int dimension : {1, 2, 3}) {
                const CSize size =
                    test::SizeOf(std::vector<std::int64_t>(static_cast<std::size_t>(dimension), extent));
                const bool isExpected = std::ranges::find(m_row.types, type) != m_row.types.end() &&
                                        std::ranges::count(m_row.dimensions, dimension) != 0 &&
                                        extent >= m_row.minimumExtent;
                test::CPluginRun run(m_row, type, size);
                EXPECT_EQ(run.Accepts(), isExpected) << type.ToString() << " " << size.ToString();
            }
        }
    }
}

TEST_P(PluginTable, TheNormalRunDeliversMeasuresAndShowsWhatItsRowDescribes) {
    test::CPluginRun run(m_row);
    ASSERT_TRUE(run.Accepts());
    run.Run();
    EXPECT_EQ(run.Host().DocumentCount(), m_row.documentCount);
    EXPECT_EQ(run.Windows().empty(), m_row.window == EnWindow::NONE);
    EXPECT_EQ(run.ExportedFile().empty(), m_row.window != EnWindow::FILE);
    if (m_row.measurement != nullptr) {
        EXPECT_TRUE(run.Host().Image().Attributes().HasEntry(m_row.measurement));
    }
}

TEST_P(PluginTable, TheNormalRunWorksWithAllAttributesToo) {
    test::CPluginRun run(m_row);
    m_row.addAttributes(run.Host().Image().Attributes());
    ASSERT_TRUE(run.Accepts());
    run.Run();
    EXPECT_EQ(run.Host().DocumentCount(), m_row.documentCount);
}

TEST_P(PluginTable, SetupHoldsTheVersionAndTheNameOfItsRowOnly) {
    CValueMap setup;
    test::CreatePlugin(m_row.name)->GetPluginSetup(setup);
    EXPECT_EQ(setup.EntryString("Version").Std(), "version 1.0.0");
    ASSERT_EQ(setup.HasEntry("PluginName"), m_row.pluginName != nullptr);
    if (m_row.pluginName != nullptr) {
        EXPECT_EQ(setup.EntryString("PluginName").Std(), m_row.pluginName);
    }
    EXPECT_EQ(setup.Size(), m_row.pluginName != nullptr ? 2U : 1U);
}

TEST_P(PluginTable, AnEmptyTreeIsRefusedAndStaysEmpty) {
    test::CPluginRun run(m_row);
    run.Host().Tree().Clear();
    EXPECT_FALSE(run.Accepts());
    EXPECT_NO_THROW(run.Update());
    EXPECT_NO_THROW(run.GetData());
    EXPECT_TRUE(run.Host().Tree().IsEmpty());
    EXPECT_TRUE(run.Windows().empty());
}

TEST_P(PluginTable, ATextInPlaceOfTheDocumentIsRefused) {
    test::CPluginRun run(m_row);
    run.Host().Tree().SetEntry("input/documents/focused", new CValueString("focus", CString::NPOS));
    EXPECT_FALSE(run.Accepts());
    if (IgnoresWrongDocuments(m_row)) {
        EXPECT_NO_THROW(run.Update());
    } else {
        EXPECT_THROW(run.Update(), CExBadParam);
    }
}

class PluginTableOfReaders : public PluginTable {};

TEST_P(PluginTableOfReaders, DoNothingWithoutTheirRequiredAttributes) {
    test::CPluginRun run(m_row);
    run.Host().Image().Attributes().Clear();
    EXPECT_FALSE(run.Accepts());
    run.Run();
    EXPECT_EQ(run.Host().DocumentCount(), 0U);
    EXPECT_TRUE(run.Windows().empty());
}

using Row = testing::TestParamInfo<const StPluginRow*>;
INSTANTIATE_TEST_SUITE_P(Pack, PluginTable, testing::ValuesIn(test::PluginRows()), test::PluginRowName<Row>);
INSTANTIATE_TEST_SUITE_P(Pack, PluginTableOfReaders,
                         testing::ValuesIn(test::PluginRowsWhere([](const StPluginRow& row) {
                             return row.addRequiredAttributes != nullptr;
                         })),
                         test::PluginRowName<Row>);

TEST(PluginTableRows, AreThoseOfTheCatalogueInOrder) {
    EXPECT_EQ(test::PluginRows().size(), engine::CCatalogue::OfPack(test::PackPath()).Entries().size());
    EXPECT_TRUE(std::ranges::is_sorted(test::PluginRows(), {},
                                       [](const StPluginRow* row) { return std::string(row->name); }));
}

} // namespace
