// Image attributes come from files, and a file can hold anything under a name that a plug-in reads.

#include "src/contract/PluginTable.h"
#include "support/QtTest.h"

#include <sorblib2core/CException.h>
#include <sorblib2core/CString.h>
#include <sorblib2core/CValueBool.h>
#include <sorblib2core/CValueDouble.h>
#include <sorblib2core/CValueLong.h>
#include <sorblib2core/CValueString.h>
#include <sorblib2core/CValueVector.h>

#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <functional>
#include <limits>
#include <memory>
#include <span>
#include <string>
#include <vector>

namespace {

using namespace ORVEN;
using test::StPluginRow;

struct StSpoiledValue {
    const char* name;
    CValue* (*create)();
};

/// One value of each kind. Of the kind that the plug-in expects it is one that says nothing.
constexpr std::array<StSpoiledValue, 7> c_kinds{{
    {"bool", []() -> CValue* { return new CValueBool(true); }},
    {"long", []() -> CValue* { return new CValueLong(7); }},
    {"double", []() -> CValue* { return new CValueDouble(7.5); }},
    {"string", []() -> CValue* { return new CValueString("text", CString::NPOS); }},
    {"pointer", []() -> CValue* { return new CValuePointer<CImage>(nullptr, 1); }},
    {"map", []() -> CValue* { return new CValueMap; }},
    {"vector", []() -> CValue* { return new CValueVector; }},
}};

/// Numbers that no measurement gives.
constexpr std::array<StSpoiledValue, 5> c_extremes{{
    {"least", []() -> CValue* { return new CValueLong(std::numeric_limits<std::int32_t>::min()); }},
    {"greatest", []() -> CValue* { return new CValueLong(std::numeric_limits<std::int32_t>::max()); }},
    {"below all", []() -> CValue* { return new CValueDouble(-1e300); }},
    {"infinity", []() -> CValue* { return new CValueDouble(std::numeric_limits<double>::infinity()); }},
    {"NaN", []() -> CValue* { return new CValueDouble(std::numeric_limits<double>::quiet_NaN()); }},
}};

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
