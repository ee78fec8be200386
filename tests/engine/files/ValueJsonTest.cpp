#include "engine/files/ValueJson.h"

#include "engine/errors/CEngineError.h"

#include <sorblib2core/CString.h>
#include <sorblib2core/CValueBool.h>
#include <sorblib2core/CValueDouble.h>
#include <sorblib2core/CValueLong.h>
#include <sorblib2core/CValueMap.h>
#include <sorblib2core/CValuePointer.h>
#include <sorblib2core/CValueString.h>
#include <sorblib2core/CValueVector.h>

#include <cmath>
#include <gtest/gtest.h>
#include <limits>
#include <random>

using namespace ORVEN;

namespace engine {

namespace {

/// Through the text, as a file would carry it.
std::unique_ptr<CValue> ThroughText(const CValue& value) {
    return FromJson(*CJson::Parse(ToJson(value).Text(-1, true)));
}

double DoubleThroughText(double number) {
    const auto value = ThroughText(CValueDouble(number));
    EXPECT_EQ(value->GenericType(), CValue::VAL_DOUBLE);
    return std::as_const(*value).Double();
}

std::string TextThroughText(const std::string& text) {
    const auto value = ThroughText(CValueString(CString(text)));
    EXPECT_EQ(value->GenericType(), CValue::VAL_STRING);
    return value->String().Std();
}

std::string RandomText(std::mt19937& random) {
    static const std::array<std::string, 7> parts = {
        "a", "\"", "\\", "\n", "ä", "\xff", std::string(1, '\0')};
    std::string text;
    for (auto length = random() % 6; length > 0; --length)
        text += parts[random() % parts.size()];
    return text;
}

std::string RandomKey(std::mt19937& random) {
    static const std::array<std::string, 8> parts = {"a", "b", " ", "7", "é", "\xfe", "double", "%1"};
    std::string key;
    for (auto length = random() % 4; length > 0; --length)
        key += parts[random() % parts.size()];
    return key;
}

double RandomDouble(std::mt19937& random) {
    static const std::array<double, 8> special = {0.0, -0.0, 3.0, 1e300, 5e-324, 0.1, 4294967296.0, INFINITY};
    return random() % 2 == 0
               ? special[random() % special.size()]
               : std::ldexp(static_cast<double>(random()), static_cast<int>(random() % 200) - 100);
}

std::unique_ptr<CValue> RandomValue(std::mt19937& random, int depth) {
    switch (random() % (depth > 0 ? 6 : 4)) {
    case 0:
        return std::make_unique<CValueBool>(random() % 2 == 0);
    case 1:
        return std::make_unique<CValueLong>(static_cast<std::int32_t>(random()));
    case 2:
        return std::make_unique<CValueDouble>(RandomDouble(random));
    case 3:
        return std::make_unique<CValueString>(CString(RandomText(random)));
    case 4: {
        auto vector = std::make_unique<CValueVector>();
        for (auto size = random() % 5; size > 0; --size)
            vector->PushBack(random() % 5 == 0 ? nullptr : RandomValue(random, depth - 1).release());
        return vector;
    }
    default: {
        auto map = std::make_unique<CValueMap>();
        for (auto size = random() % 5; size > 0; --size)
            map->SetEntry(RandomKey(random), RandomValue(random, depth - 1).release());
        return map;
    }
    }
}

bool IsRefused(const std::function<void()>& call) {
    try {
        call();
    } catch (const CFileError&) {
        return true;
    }
    return false;
}

} // namespace

TEST(ValueJson, WritesEachKindAsItsJsonType) {
    EXPECT_EQ(ToJson(CValueBool(true)).Text(), "true");
    EXPECT_EQ(ToJson(CValueLong(-7)).Text(), "-7");
    EXPECT_EQ(ToJson(CValueDouble(3.0)).Text(), "3.0");
    EXPECT_EQ(ToJson(CValueString("ä\"", CString::NPOS)).Text(), "\"ä\\\"\"");
    EXPECT_EQ(ToJson(CValueVector(new CValueLong(1), new CValueBool(false))).Text(), "[1,false]");
    CValueMap map;
    map.SetEntry("b/c", new CValueLong(2));
    EXPECT_EQ(ToJson(map).Text(), "{\"b\":{\"c\":2}}");
}

TEST(ValueJson, KeepsKindAndValueOfRandomTrees) {
    for (unsigned seed = 0; seed < 500; ++seed) {
        SCOPED_TRACE(seed);
        std::mt19937 random(seed);
        const auto value = RandomValue(random, 5);
        EXPECT_TRUE(ThroughText(*value)->Equal(*value)) << ToJson(*value).Text();
    }
}

TEST(ValueJson, KeepsDoublesThatLookLikeIntegersAndExtremes) {
    for (const double number : {0.0, 3.0, -1e15, 1e22, 0.1, 5e-324, std::numeric_limits<double>::max()})
        EXPECT_EQ(DoubleThroughText(number), number);
    EXPECT_TRUE(std::signbit(DoubleThroughText(-0.0)));
}

TEST(ValueJson, KeepsDoublesThatAreNotFinite) {
    EXPECT_TRUE(std::isnan(DoubleThroughText(NAN)));
    EXPECT_EQ(DoubleThroughText(INFINITY), INFINITY);
    EXPECT_EQ(DoubleThroughText(-INFINITY), -INFINITY);
    EXPECT_EQ(ToJson(CValueDouble(-INFINITY)).Text(), "{\"/double\":\"-inf\"}");
}

TEST(ValueJson, DoesNotTakeAMapForASpecialDouble) {
    CValueMap map;
    map.SetEntry("double", new CValueString("nan", CString::NPOS));
    EXPECT_TRUE(ThroughText(map)->Equal(map));
}

TEST(ValueJson, KeepsTextsThatAreNoUtf8) {
    for (const std::string text : {"\xff", "a\xc3", "\xed\xa0\x80", "\xf8\x88\x80\x80\x80"})
        EXPECT_EQ(TextThroughText(text), text);
    EXPECT_EQ(TextThroughText(std::string("a\0b", 3)), std::string("a\0b", 3));
    EXPECT_EQ(ToJson(CValueString("\xff", CString::NPOS)).Text(), "{\"/bytes\":\"ff\"}");
}

TEST(ValueJson, KeepsKeysThatAreNoUtf8) {
    CValueMap map;
    map.SetEntry("\xff key", new CValueLong(1));
    map.SetEntry("", new CValueLong(2));
    EXPECT_TRUE(ThroughText(map)->Equal(map));
}

TEST(ValueJson, MakesADoubleOfIntegersBeyond32Bits) {
    const auto kind = [](const char* text) { return FromJson(*CJson::Parse(text))->GenericType(); };
    EXPECT_EQ(kind("2147483647"), CValue::VAL_LONG);
    EXPECT_EQ(kind("-2147483648"), CValue::VAL_LONG);
    EXPECT_EQ(kind("2147483648"), CValue::VAL_DOUBLE);
    EXPECT_EQ(kind("-2147483649"), CValue::VAL_DOUBLE);
    EXPECT_EQ(kind("18446744073709551615"), CValue::VAL_DOUBLE);
    EXPECT_EQ(std::as_const(*FromJson(*CJson::Parse("4294967295"))).Double(), 4294967295.0);
}

TEST(ValueJson, LeavesPointersOut) {
    int target = 0;
    CValueMap map;
    map.SetEntry("pointer", new CValuePointer<int>(&target, 1));
    map.SetEntry("list/0", new CValuePointer<int>(&target, 1));
    map.SetEntry("list/1", new CValueLong(1));
    EXPECT_EQ(ToJson(map).Text(), "{\"list\":[null,1]}");
    EXPECT_TRUE(ToJson(CValuePointer<int>(&target, 1)).IsNull());
}

TEST(ValueJson, AnswersNullForWhatIsNoValue) {
    EXPECT_EQ(FromJson(CJson()), nullptr);
    const auto map = FromJson(*CJson::Parse("{\"a\":null}"));
    EXPECT_EQ(map->Map()->Size(), 0u);
}

TEST(ValueJson, RefusesKeysThatNoMapCanHave) {
    for (const char* const text :
         {"{\"a/b\":1}", "{\"/\":1}", "{\"/zz\":1}", "{\"/2f\":1}", "{\"/ff2f\":1}", "{\"/double\":\"x\"}",
          "{\"/bytes\":\"f\"}", "{\"/bytes\":\"g0\"}", "{\"a\\u0000b\":1}"}) {
        SCOPED_TRACE(text);
        EXPECT_TRUE(IsRefused([&] { FromJson(*CJson::Parse(text)); }));
    }
}

TEST(ValueJson, RefusesTreesThatAreTooDeep) {
    const auto nested = [](int depth) {
        const auto count = static_cast<std::size_t>(depth);
        return *CJson::Parse(std::string(count, '[') + std::string(count, ']'));
    };
    EXPECT_FALSE(IsRefused([&] { FromJson(nested(c_maxJsonDepth + 1)); }));
    EXPECT_TRUE(IsRefused([&] { FromJson(nested(c_maxJsonDepth + 2)); }));
    EXPECT_TRUE(IsRefused([&] { FromJson(nested(1000000)); }));
    auto deep = std::make_unique<CValueVector>();
    for (int depth = 0; depth < c_maxJsonDepth + 1; ++depth) {
        auto outer = std::make_unique<CValueVector>();
        outer->PushBack(deep.release());
        deep = std::move(outer);
    }
    EXPECT_TRUE(IsRefused([&] { (void)ToJson(*deep); }));
}

} // namespace engine
