// Parameters come from forms, scripts and files, and any of these can put anything under a key.

#include "src/contract/PluginTable.h"
#include "src/contract/SpoiledValues.h"
#include "support/QtTest.h"

#include <engine/catalogue/CCatalogue.h>
#include <sorblib2core/CException.h>

#include <gtest/gtest.h>

#include <memory>
#include <span>
#include <string>
#include <vector>

namespace {

using namespace ORVEN;
using test::StPluginRow;
using test::StSpoiledValue;

/// The paths of all parameters that the pack's catalogue lists, and those of the maps that they are in.
std::vector<std::string> ParameterPaths(const std::string& plugin) {
    const auto catalogue = engine::CCatalogue::OfPack(test::PackPath());
    std::vector<std::string> paths{"parameters"};
    for (const auto& parameter : catalogue.Find(plugin)->parameters) {
        const std::string path = "parameters/" + parameter.key;
        for (std::size_t slash = path.find('/', 11); slash != std::string::npos;
             slash = path.find('/', slash + 1))
            paths.push_back(path.substr(0, slash));
        paths.push_back(path);
    }
    return paths;
}

class WrongParameters : public testing::TestWithParam<const StPluginRow*> {
protected:
    /// Nothing worse than one clear error comes of any of the values, and the next object knows nothing of
    /// it.
    void CheckEveryPath(std::span<const StSpoiledValue> values) {
        for (const std::string& path : ParameterPaths(m_row.name)) {
            for (const StSpoiledValue& value : values) {
                SCOPED_TRACE(path + ": " + value.name);
                RunWith(path, value);
            }
        }
        test::CPluginRun next(m_row);
        EXPECT_TRUE(next.Accepts());
        next.Run();
        EXPECT_EQ(next.Host().DocumentCount(), m_row.documentCount);
    }

private:
    void RunWith(const std::string& path, const StSpoiledValue& value) {
        test::CPluginRun run(m_row);
        run.Host().Tree().SetEntry(path, value.create());
        const std::unique_ptr<const CValue> sent(Parameters(run).Clone(CValue::TF_KEEP));
        EXPECT_NO_THROW(run.Accepts());
        try {
            run.Run();
        } catch (const CException& refusal) {
            EXPECT_STRNE(refusal.Message(), "");
        }
        const bool isComparable = sent->Equal(*sent); // NaN is not
        const bool isInput = m_row.window != test::EnWindow::FORM; // a form exists to change parameters
        if (isComparable && isInput) {
            EXPECT_TRUE(Parameters(run).Equal(*sent));
        }
    }

    static const CValue& Parameters(test::CPluginRun& run) {
        return *run.Host().Tree().Entry("parameters", true);
    }

    const StPluginRow& m_row = *GetParam();
};

TEST_P(WrongParameters, OfEachKindAreIgnoredOrRefused) { CheckEveryPath(test::c_kinds); }

TEST_P(WrongParameters, WithExtremeNumbersAreIgnoredOrRefused) { CheckEveryPath(test::c_extremes); }

using Row = testing::TestParamInfo<const StPluginRow*>;
INSTANTIATE_TEST_SUITE_P(Pack, WrongParameters, testing::ValuesIn(test::PluginRows()),
                         test::PluginRowName<Row>);

} // namespace
