// Images that are hardly there: empty along an axis, or one or two pixels long.

#include "src/contract/PluginTable.h"
#include "support/QtTest.h"

#include <sorblib2core/CException.h>

#include <gtest/gtest.h>

#include <string>

namespace {

using namespace ORVEN;
using test::StPluginRow;

/// All sizes of that dimension with extents from 0 to 2.
std::vector<CSize> SmallSizes(int dimension) {
    std::vector<std::vector<std::int64_t>> all{{}};
    for (int axis = 0; axis < dimension; ++axis) {
        std::vector<std::vector<std::int64_t>> longer;
        for (const auto& extents : all) {
            for (const std::int64_t extent : {0, 1, 2}) {
                longer.push_back(extents);
                longer.back().push_back(extent);
            }
        }
        all.swap(longer);
    }
    std::vector<CSize> sizes;
    for (const auto& extents : all)
        sizes.push_back(test::SizeOf(extents));
    return sizes;
}

class SmallExtents : public testing::TestWithParam<const StPluginRow*> {
protected:
    /// Runs and returns, or raises one clear error and delivers nothing.
    static void RunOrRefuse(test::CPluginRun& run) {
        try {
            run.Run();
        } catch (const CException& refusal) {
            EXPECT_STRNE(refusal.Message(), "");
            EXPECT_FALSE(run.Host().Tree().HasEntry("output/documents/add/0"));
            return;
        }
        if (run.Row().addRequiredAttributes != nullptr)
            return; // the result is made of attributes, whatever the size
        for (std::size_t index = 0; index < run.Host().DocumentCount(); ++index)
            EXPECT_EQ(run.Host().Result(index).Size(), run.Host().Image().Size());
    }

    /// With the parameters of the normal run, and with those of a new object.
    void RunOrRefuse(const IImage::CType& type, const CSize& size) const {
        SCOPED_TRACE(size.ToString() + " " + type.ToString());
        test::CPluginRun run(m_row, type, size);
        EXPECT_NO_THROW(run.Accepts());
        RunOrRefuse(run);
        if (m_row.setParameters == nullptr)
            return;
        test::CPluginRun withDefaults(m_row, type, size);
        withDefaults.Host().Tree().RemoveEntry("parameters");
        RunOrRefuse(withDefaults);
    }

    const StPluginRow& m_row = *GetParam();
};

TEST_P(SmallExtents, EveryCombinationIsRunOrRefused) {
    for (const int dimension : {1, 2, 3}) {
        for (const CSize& size : SmallSizes(dimension))
            RunOrRefuse(m_row.types.front(), size);
    }
}

TEST_P(SmallExtents, EveryTypeIsRunOrRefused) {
    for (const auto& type : m_row.types) {
        RunOrRefuse(type, CSize(0, 2, 2));
        RunOrRefuse(type, CSize(2, 0));
    }
}

using Row = testing::TestParamInfo<const StPluginRow*>;
INSTANTIATE_TEST_SUITE_P(Pack, SmallExtents, testing::ValuesIn(test::PluginRows()), test::PluginRowName<Row>);

} // namespace
