// A document in focus whose content is no image.

#include "src/contract/PluginTable.h"
#include "support/QtTest.h"
#include "support/Raised.h"

#include <sorblib2core/CExBadParam.h>
#include <sorblib2core/CString.h>
#include <sorblib2core/CValueLong.h>
#include <sorblib2core/CValueString.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <functional>
#include <string_view>

namespace {

using namespace ORVEN;
using test::StPluginRow;

/// These take content of another kind for none. The others want an image there and say so.
bool PassesOverOtherKinds(const StPluginRow& row) {
    constexpr std::array<std::string_view, 7> names{
        "EuclideanSkeleton", "ExactBisector",    "ExactMedialAxis", "FieldFeaturesGrayValueImage",
        "LocalEulerNumber",  "MarkSimplePoints", "Skeleton"};
    return std::ranges::count(names, row.name) != 0;
}

class WrongContent : public testing::TestWithParam<const StPluginRow*> {
protected:
    WrongContent() {
        m_document.SetEntry("label", new CValueString("old", CString::NPOS));
        m_run.Host().Tree().SetEntry("input/documents/focused", new CValuePointer<CValueMap>(&m_document, 1));
    }

    void ReturnsWithoutWritingAnything() {
        EXPECT_FALSE(m_run.Accepts());
        EXPECT_NO_THROW(m_run.Run());
        ExpectNothingWritten();
    }

    void RefusesWithBothTypes() {
        const auto refusal = test::Raised<CExBadParam>([this] { m_run.Run(); });
        EXPECT_NE(std::string_view(refusal.Message()).find("does not match actual type"),
                  std::string_view::npos);
        ExpectNothingWritten();
    }

    void ExpectNothingWritten() {
        EXPECT_FALSE(m_run.Host().Tree().HasEntry("output"));
        EXPECT_EQ(m_document.EntryString("label").Std(), "old");
        EXPECT_TRUE(m_run.Windows().empty());
    }

    const StPluginRow& m_row = *GetParam();
    test::CPluginRun m_run{m_row};
    CValueMap m_document;
};

TEST_P(WrongContent, MissingOrNullIsIgnored) {
    ReturnsWithoutWritingAnything();
    m_document.SetEntry("content", new CValuePointer<CImage>(nullptr, 1));
    ReturnsWithoutWritingAnything();
}

TEST_P(WrongContent, OfAnotherKindIsIgnoredOrRefused) {
    CValueMap other;
    const std::array<std::function<CValue*()>, 4> kinds{
        []() -> CValue* { return new CValueString("image", CString::NPOS); },
        []() -> CValue* { return new CValueLong(1); }, [] { return new CValueMap; },
        [&other] { return new CValuePointer<CValueMap>(&other, 1); }};
    for (const auto& create : kinds) {
        m_document.SetEntry("content", create());
        SCOPED_TRACE(m_document.Entry("content", true)->Type().name());
        if (PassesOverOtherKinds(m_row))
            ReturnsWithoutWritingAnything();
        else
            RefusesWithBothTypes();
    }
}

using Row = testing::TestParamInfo<const StPluginRow*>;
INSTANTIATE_TEST_SUITE_P(Pack, WrongContent, testing::ValuesIn(test::PluginRows()), test::PluginRowName<Row>);

} // namespace
