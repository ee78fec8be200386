// How each plug-in that delivers documents puts them into the tree, and what it does with what stands there.

#include "src/contract/PluginTable.h"
#include "support/QtTest.h"
#include "support/TestImage.h"

#include <sorblib2core/CExBadParam.h>
#include <sorblib2core/CValueString.h>
#include <sorblib2core/CValueVector.h>
#include <sorblib2core/UnwrapPointer.h>

#include <gtest/gtest.h>

#include <cstring>
#include <map>
#include <memory>
#include <string>
#include <vector>

namespace {

using namespace ORVEN;
using test::StPluginRow;

const std::string c_list = "output/documents/add";

/// The entry of the tree that the plug-in begins anew; empty for one that only adds to the list.
std::string BegunAnew(const std::string& plugin) {
    static const std::map<std::string, std::string> entries{{"Watershed", "output"},
                                                            {"SegmNiblack", "output"},
                                                            {"SegmSauvola", "output"},
                                                            {"LinearDt", "output"},
                                                            {"GaussFilter", "output/documents"},
                                                            {"ConvexifyObjects", "output/documents"},
                                                            {"Granulometry", "output/documents"},
                                                            {"PartialDerivative", "output/documents"},
                                                            {"SphericalMorphology", "output/documents"},
                                                            {"LocalFiberDirections", c_list},
                                                            {"VoronoiEdtPlugin", ""},
                                                            {"CylinderMask", ""},
                                                            {"FeatureToImage", ""},
                                                            {"Skeleton", ""},
                                                            {"EuclideanSkeleton", ""},
                                                            {"ExactMedialAxis", ""},
                                                            {"ExactBisector", ""},
                                                            {"MarkSimplePoints", ""},
                                                            {"LocalEulerNumber", ""}};
    const auto entry = entries.find(plugin);
    return entry != entries.end() ? entry->second : "output/documents"; // so do all of QuillonBasics
}

/// A document in the list, or null.
CValueMap* Listed(CValueMap& tree, std::size_t index) {
    return UnwrapPointer<CValueMap>(tree.Entry(c_list + "/" + std::to_string(index), true));
}

using Documents = std::vector<std::unique_ptr<CValueMap>>;

/// What a document shows: label, type, size, history and all bytes of the pixels.
std::string Shown(const CValueMap& document) {
    const auto& image = *UnwrapPointer<CImage>(document.Entry("content", true));
    std::string shown = document.Entry("label", true)->String().Std() + " " + image.Type().ToString() + " " +
                        image.Size().ToString() + " ";
    for (const std::string& line : test::HistoryOf(image))
        shown += line + "\n";
    const auto addPixels = [&]<class T>(T) {
        for (const T pixel : test::PixelsOf<T>(image)) {
            char bytes[sizeof pixel];
            std::memcpy(bytes, &pixel, sizeof pixel);
            shown.append(bytes, sizeof pixel);
        }
    };
    switch (image.Type().PixelSize()) {
    case 1:
        addPixels(std::uint8_t{});
        break;
    case 2:
        addPixels(std::uint16_t{});
        break;
    default:
        addPixels(std::uint32_t{});
    }
    return shown;
}

class HandOver : public testing::TestWithParam<const StPluginRow*> {
protected:
    HandOver() { m_run.Update(); }

    /// Runs once more, and takes the documents out of the list; they are as many as the row says.
    Documents RunAndTake() {
        m_run.GetData();
        Documents documents = test::TakeDocuments(m_tree);
        EXPECT_EQ(documents.size(), m_row.documentCount);
        return documents;
    }

    const StPluginRow& m_row = *GetParam();
    const std::string m_begunAnew = BegunAnew(m_row.name);
    test::CPluginRun m_run{m_row};
    CValueMap& m_tree = m_run.Host().Tree();
};

TEST_P(HandOver, ReplacesWhatThePluginBeginsAnewAndKeepsTheRest) {
    CValueMap stale;
    m_tree.SetEntry("output/other", new CValueMap);
    m_tree.SetEntry("output/documents/other", new CValueMap);
    m_tree.SetEntry(c_list + "/1", new CValuePointer<CValueMap>(&stale, 1));
    m_run.GetData();

    const bool keepsStale = Listed(m_tree, 1) == &stale;
    EXPECT_EQ(m_tree.HasEntry("output/other"), m_begunAnew != "output");
    EXPECT_EQ(m_tree.HasEntry("output/documents/other"), m_begunAnew.empty() || m_begunAnew == c_list);
    EXPECT_EQ(keepsStale, m_begunAnew.empty());
    if (keepsStale)
        m_tree.Entry(c_list, true)->Vector()->RemoveEntry("1");
    std::size_t count = 0;
    for (const auto& document : test::TakeDocuments(m_tree))
        count += document != nullptr ? 1 : 0;
    EXPECT_EQ(count, m_row.documentCount);
}

TEST_P(HandOver, ATextInPlaceOfTheOutputIsReplacedOrRaisesAndStays) {
    m_tree.SetEntry("output", new CValueString("in the way", CString::NPOS));
    if (m_begunAnew == "output") {
        EXPECT_NO_THROW(m_run.GetData());
        EXPECT_EQ(test::TakeDocuments(m_tree).size(), m_row.documentCount);
    } else {
        EXPECT_THROW(m_run.GetData(), CExBadParam);
        EXPECT_EQ(m_tree.EntryString("output").Std(), "in the way");
    }
}

TEST_P(HandOver, TwoRunsOfOneObjectDeliverTwoDocumentsThatShowTheSame) {
    const Documents first = RunAndTake();
    const std::string before = Shown(*first.at(0));
    const Documents second = RunAndTake();
    EXPECT_NE(first.at(0), second.at(0));
    EXPECT_EQ(Shown(*second.at(0)), before);
    EXPECT_EQ(Shown(*first.at(0)), before) << "the first run's is the host's own";
}

TEST_P(HandOver, ASecondRunOverTheSameTreePutsItsDocumentsInPlaceOfTheFirst) {
    m_run.GetData();
    Documents first; // what a host that has not taken them yet must not lose
    for (std::size_t index = 0; index < m_row.documentCount; ++index)
        first.emplace_back(Listed(m_tree, index));
    const std::string before = Shown(*first.at(0));
    const Documents second = RunAndTake();
    for (std::size_t index = 0; index < m_row.documentCount; ++index)
        EXPECT_NE(first[index], second.at(index));
    EXPECT_EQ(Shown(*first.at(0)), before);
}

using Row = testing::TestParamInfo<const StPluginRow*>;
INSTANTIATE_TEST_SUITE_P(Pack, HandOver, testing::ValuesIn(test::PluginRowsWhere([](const StPluginRow& row) {
                             return row.documentCount > 0;
                         })),
                         test::PluginRowName<Row>);

} // namespace
