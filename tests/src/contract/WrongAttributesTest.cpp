// Image attributes come from files, and a file can hold anything under a name that a plug-in reads.

#include "src/contract/PluginTable.h"
#include "src/contract/SpoiledValues.h"
#include "support/QtTest.h"

#include <sorblib2core/CException.h>
#include <sorblib2core/CValueVector.h>

#include <gtest/gtest.h>

#include <functional>
#include <span>
#include <string>
#include <vector>

namespace {

using namespace ORVEN;
using test::c_extremes;
using test::c_kinds;
using test::StPluginRow;
using test::StSpoiledValue;

/// The paths of all entries below a value, containers included.
void CollectPaths(const CValue& value, const std::string& path, std::vector<std::string>& paths) {
    const auto visit = [&](const std::string& step, const CValue* entry) {
        const std::string entryPath = path.empty() ? step : path + "/" + step;
        paths.push_back(entryPath);
        if (entry != nullptr)
            CollectPaths(*entry, entryPath, paths);
    };
    if (const CValueMap* map = value.Map()) {
        for (auto entry = map->begin(); entry != map->end(); ++entry)
            visit(entry.Key().ToString(), entry.Value());
    } else if (const CValueVector* vector = value.Vector()) {
        for (std::size_t place = 0; place < vector->size(); ++place)
            visit(std::to_string(place), (*vector)[place]);
    }
}

class WrongAttributes : public testing::TestWithParam<const StPluginRow*> {
protected:
    [[nodiscard]] CValueMap& Attributes() { return m_run.Host().Image().Attributes(); }

    void Reset() {
        Attributes().Clear();
        m_row.addAttributes(Attributes());
    }

    /// Calls `check` for each entry that the plug-in reads and each value, with the attributes reset. `spoil`
    /// puts the value into the place of the entry.
    void ForEachWrongEntry(std::span<const StSpoiledValue> values,
                           const std::function<void(const std::function<void()>& spoil)>& check) {
        Reset();
        std::vector<std::string> paths;
        CollectPaths(Attributes(), {}, paths);
        for (const std::string& path : paths) {
            for (const StSpoiledValue& value : values) {
                SCOPED_TRACE(path + ": " + value.name);
                Reset();
                check([&] { Attributes().SetEntry(path, value.create()); });
            }
        }
    }

    /// The spoiled attributes are there from the start.
    void CheckEveryStep(std::span<const StSpoiledValue> values) {
        ForEachWrongEntry(values, [&](const std::function<void()>& spoil) {
            spoil();
            EXPECT_NO_THROW(m_run.Accepts());
            ReturnsOrRaises([&] { m_run.Run(); });
        });
        WorksAgain();
    }

    /// Does nothing worse than to raise one clear error. A plug-in that does not measure leaves the
    /// attributes as they are.
    template <class Call>
    void ReturnsOrRaises(const Call& call) {
        const CValueMap before(Attributes());
        try {
            call();
        } catch (const CException& refusal) {
            EXPECT_STRNE(refusal.Message(), "");
        }
        const bool isComparable = before.Equal(before); // NaN is not
        if (m_row.measurement == nullptr && isComparable) {
            EXPECT_TRUE(Attributes().Equal(before));
        }
    }

    void WorksAgain() {
        Reset();
        EXPECT_TRUE(m_run.Accepts());
        m_run.Run();
        EXPECT_EQ(m_run.Host().DocumentCount(), m_row.documentCount);
        EXPECT_EQ(m_run.Windows().empty(), m_row.window == test::EnWindow::NONE);
    }

    const StPluginRow& m_row = *GetParam();
    test::CPluginRun m_run{m_row};
};

TEST_P(WrongAttributes, AreRefusedOrIgnored) { CheckEveryStep(c_kinds); }

TEST_P(WrongAttributes, WithExtremeNumbersAreRefusedOrIgnored) { CheckEveryStep(c_extremes); }

TEST_P(WrongAttributes, SetAfterTheUpdateAreRefusedOrIgnored) {
    ForEachWrongEntry(c_kinds, [&](const std::function<void()>& spoil) {
        m_run.Update();
        spoil();
        ReturnsOrRaises([&] { m_run.GetData(); });
        test::TakeDocuments(m_run.Host().Tree());
    });
    WorksAgain();
}

using Row = testing::TestParamInfo<const StPluginRow*>;
INSTANTIATE_TEST_SUITE_P(Pack, WrongAttributes, testing::ValuesIn(test::PluginRows()),
                         test::PluginRowName<Row>);

} // namespace
