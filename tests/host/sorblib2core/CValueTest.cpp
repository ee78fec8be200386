#include <sorblib2core/CExBadParam.h>
#include <sorblib2core/CExBadType.h>
#include <sorblib2core/CString.h>
#include <sorblib2core/CValueBool.h>
#include <sorblib2core/CValueDouble.h>
#include <sorblib2core/CValueLong.h>
#include <sorblib2core/CValueMap.h>
#include <sorblib2core/CValueString.h>
#include <sorblib2core/CValueVector.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <limits>
#include <memory>
#include <string>
#include <utility>
#include <vector>

using namespace ORVEN;

namespace {

using Value = std::unique_ptr<CValue>;

Value Map(const char* key, bool value) {
    auto map = std::make_unique<CValueMap>();
    map->SetEntry(key, new CValueBool(value));
    return map;
}

Value Vector(int first, int second) {
    return std::make_unique<CValueVector>(new CValueLong(first), new CValueLong(second));
}

Value String(const char* text) { return std::make_unique<CValueString>(text, CString::NPOS); }

/// A kind of value, with two different instances and the accessors that it supports.
struct StKind {
    const char* name;
    CValue::EnValType genericType;
    const std::type_info& type;
    std::function<Value()> make;
    std::function<Value()> makeOther;
    std::vector<std::string> answers;
};

const std::vector<StKind>& Kinds() {
    static const std::vector<StKind> kinds = {
        {"Bool",
         CValue::VAL_BOOL,
         typeid(CValueBool),
         [] { return std::make_unique<CValueBool>(true); },
         [] { return std::make_unique<CValueBool>(false); },
         {"Bool", "Bool const"}},
        {"Long",
         CValue::VAL_LONG,
         typeid(CValueLong),
         [] { return std::make_unique<CValueLong>(-7); },
         [] { return std::make_unique<CValueLong>(8); },
         {"Long", "Long const", "Double const"}},
        {"Double",
         CValue::VAL_DOUBLE,
         typeid(CValueDouble),
         [] { return std::make_unique<CValueDouble>(0.25); },
         [] { return std::make_unique<CValueDouble>(-1e300); },
         {"Double", "Double const"}},
        {"String",
         CValue::VAL_STRING,
         typeid(CValueString),
         [] { return String("one"); },
         [] { return String("two"); },
         {"String", "String const", "SetString"}},
        {"Map",
         CValue::VAL_MAP,
         typeid(CValueMap),
         [] { return Map("key", true); },
         [] { return Map("key", false); },
         {"Map"}},
        {"Vector",
         CValue::VAL_VECTOR,
         typeid(CValueVector),
         [] { return Vector(1, 2); },
         [] { return Vector(1, 3); },
         {"Vector"}},
    };
    return kinds;
}

/// One accessor of a value.
struct StAccessor {
    const char* name;
    std::function<void(CValue&)> ask;
};

const std::vector<StAccessor>& Accessors() {
    static const std::vector<StAccessor> accessors = {
        {"Bool", [](CValue& value) { (void)value.Bool(); }},
        {"Bool const", [](CValue& value) { (void)std::as_const(value).Bool(); }},
        {"Long", [](CValue& value) { (void)value.Long(); }},
        {"Long const", [](CValue& value) { (void)std::as_const(value).Long(); }},
        {"Double", [](CValue& value) { (void)value.Double(); }},
        {"Double const", [](CValue& value) { (void)std::as_const(value).Double(); }},
        {"String", [](CValue& value) { (void)value.String(); }},
        {"String const", [](CValue& value) { (void)std::as_const(value).String(); }},
        {"SetString", [](CValue& value) { value.SetString("text", 4); }},
    };
    return accessors;
}

bool Contains(const std::vector<std::string>& names, const char* name) {
    return std::find(names.begin(), names.end(), name) != names.end();
}

void SetUnit(CValue& value, const char* key, const char* unit) {
    value.Meta().SetEntry(key, new CValueString(unit, CString::NPOS));
}

void SetMetaOwner(CValue& value) {
    value.Meta().SetEntry("owner", new CValueOwnedPointer<CValueMap>(new CValueMap, 1));
}

bool OwnsMetaPointee(const CValue& value) { return value.Meta().Entry("owner", true)->Pointer()->IsOwner(); }

class AnyValue : public testing::TestWithParam<StKind> {
protected:
    Value Make() const { return GetParam().make(); }
    Value MakeOther() const { return GetParam().makeOther(); }

    template <class Check>
    void ForEachOtherKind(const Check& check) const {
        for (const StKind& kind : Kinds()) {
            SCOPED_TRACE(kind.name);
            if (kind.genericType != GetParam().genericType)
                check(*kind.make());
        }
    }
};

} // namespace

TEST_P(AnyValue, RaisesBadTypeForDataItDoesNotHold) {
    for (const StAccessor& accessor : Accessors()) {
        SCOPED_TRACE(accessor.name);
        const Value value = Make();
        if (Contains(GetParam().answers, accessor.name))
            EXPECT_NO_THROW(accessor.ask(*value));
        else
            EXPECT_THROW(accessor.ask(*value), CExBadType);
    }
}

TEST_P(AnyValue, ReturnsNullForContainersAndPointersThatItIsNot) {
    const Value value = Make();
    EXPECT_EQ(value->Map() != nullptr, Contains(GetParam().answers, "Map"));
    EXPECT_EQ(std::as_const(*value).Map(), value->Map());
    EXPECT_EQ(value->Vector() != nullptr, Contains(GetParam().answers, "Vector"));
    EXPECT_EQ(std::as_const(*value).Vector(), value->Vector());
    EXPECT_EQ(value->Pointer(), nullptr);
    EXPECT_EQ(std::as_const(*value).Pointer(), nullptr);
    EXPECT_EQ(value->VoidPointer(), nullptr);
    EXPECT_EQ(std::as_const(*value).VoidPointer(), nullptr);
}

TEST_P(AnyValue, ReturnsItsKind) {
    const Value value = Make();
    EXPECT_EQ(value->GenericType(), GetParam().genericType);
    EXPECT_EQ(value->Type(), GetParam().type);
    EXPECT_EQ(value->ElementType(), GetParam().type);
    EXPECT_FALSE(value->IsLink());
    EXPECT_TRUE(value->IsValid());
}

TEST_P(AnyValue, CloneIsEqualAndOfTheSameClass) {
    for (const auto strategy : {CValue::TF_NONE, CValue::TF_KEEP, CValue::TF_MOVE}) {
        const Value value = Make();
        const Value clone(value->Clone(strategy));
        EXPECT_NE(clone.get(), value.get());
        EXPECT_EQ(clone->Type(), value->Type());
        EXPECT_TRUE(clone->Equal(*value));
        EXPECT_TRUE(value->Equal(*Make()));
    }
}

TEST_P(AnyValue, CloneIsIndependent) {
    const Value value = Make();
    const Value clone(value->Clone(CValue::TF_NONE));
    clone->Copy(*MakeOther(), CValue::TF_NONE, false);
    EXPECT_TRUE(clone->Equal(*MakeOther()));
    EXPECT_TRUE(value->Equal(*Make()));
}

TEST_P(AnyValue, CopyCopiesTheContents) {
    const Value value = Make();
    const Value other = MakeOther();
    EXPECT_EQ(&value->Copy(*other, CValue::TF_NONE, false), value.get());
    EXPECT_TRUE(value->Equal(*other));
    EXPECT_TRUE(other->Equal(*MakeOther()));
}

TEST_P(AnyValue, CopyOfItselfChangesNothing) {
    const Value value = Make();
    SetUnit(*value, "unit", "mm");
    value->Copy(*value, CValue::TF_NONE, false);
    EXPECT_TRUE(value->Equal(*Make()));
    EXPECT_EQ(value->Meta().EntryString("unit"), "mm");
}

TEST_P(AnyValue, CopyOfAnotherKindRaisesBadTypeAndChangesNothing) {
    ForEachOtherKind([this](const CValue& other) {
        const Value value = Make();
        EXPECT_THROW(value->Copy(other, CValue::TF_NONE, false), CExBadType);
        EXPECT_TRUE(value->Equal(*Make()));
    });
}

TEST_P(AnyValue, MoveCopiesTheContents) {
    const Value value = Make();
    const Value other = MakeOther();
    EXPECT_EQ(&value->Move(*other), value.get());
    EXPECT_TRUE(value->Equal(*MakeOther()));
}

TEST_P(AnyValue, IsEqualToTheSameKindAndValueOnly) {
    const Value value = Make();
    EXPECT_TRUE(value->Equal(*value));
    EXPECT_TRUE(value->EqualData(*Make()));
    EXPECT_FALSE(value->Equal(*MakeOther()));
    EXPECT_FALSE(value->EqualData(*MakeOther()));
    ForEachOtherKind([&value](const CValue& other) {
        EXPECT_FALSE(value->Equal(other));
        EXPECT_FALSE(value->EqualData(other));
    });
}

TEST_P(AnyValue, HasNoMetaEntriesAtFirst) {
    const Value value = Make();
    EXPECT_TRUE(std::as_const(*value).Meta().IsEmpty());
    EXPECT_TRUE(value->Meta().IsEmpty());
}

TEST_P(AnyValue, MetaEntriesAreNotPartOfTheValue) {
    const Value value = Make();
    SetUnit(*value, "unit", "mm");
    EXPECT_TRUE(value->Equal(*Make()));
    EXPECT_TRUE(value->EqualData(*Make()));
}

TEST_P(AnyValue, CloneAndCopyIncludeTheMetaEntries) {
    const Value value = Make();
    SetUnit(*value, "unit", "mm");
    const Value clone(value->Clone(CValue::TF_NONE));
    const Value copy = MakeOther();
    copy->Copy(*value, CValue::TF_NONE, false);
    value->Meta().Clear();
    EXPECT_EQ(clone->Meta().EntryString("unit"), "mm");
    EXPECT_EQ(copy->Meta().EntryString("unit"), "mm");
}

TEST_P(AnyValue, CopyReplacesOrMergesTheMetaEntries) {
    const Value source = Make();
    SetUnit(*source, "unit", "mm");
    for (const bool mergesMeta : {false, true}) {
        const Value value = Make();
        SetUnit(*value, "unit", "inch");
        SetUnit(*value, "own", "stays");
        value->Copy(*source, CValue::TF_NONE, mergesMeta);
        EXPECT_EQ(value->Meta().EntryString("unit"), "mm");
        EXPECT_EQ(value->Meta().HasEntry("own"), mergesMeta);
    }
}

TEST_P(AnyValue, CopyMetaLeavesTheValueUnchanged) {
    const Value source = MakeOther();
    SetUnit(*source, "unit", "mm");
    const Value value = Make();
    EXPECT_EQ(&value->CopyMeta(*source, CValue::TF_NONE, false), value.get());
    EXPECT_TRUE(value->Equal(*Make()));
    EXPECT_EQ(value->Meta().EntryString("unit"), "mm");
    value->CopyMeta(*MakeOther(), CValue::TF_NONE, false);
    EXPECT_TRUE(value->Meta().IsEmpty());
}

TEST_P(AnyValue, OwnedPointersAmongTheMetaEntriesFollowTheStrategyOfClone) {
    const Value value = Make();
    SetMetaOwner(*value);
    EXPECT_THROW((void)Value(value->Clone(CValue::TF_NONE)), CExBadParam);
    EXPECT_TRUE(OwnsMetaPointee(*value));
    const Value plain(value->Clone(CValue::TF_KEEP));
    EXPECT_TRUE(OwnsMetaPointee(*value));
    EXPECT_FALSE(OwnsMetaPointee(*plain));
    const Value heir(value->Clone(CValue::TF_MOVE));
    EXPECT_FALSE(OwnsMetaPointee(*value));
    EXPECT_TRUE(OwnsMetaPointee(*heir));
}

TEST_P(AnyValue, CopyThatFailsOnTheMetaEntriesChangesNothing) {
    const Value source = MakeOther();
    SetUnit(*source, "unit", "inch");
    SetMetaOwner(*source);
    const Value value = Make();
    SetUnit(*value, "unit", "mm");
    for (const bool mergesMeta : {false, true}) {
        EXPECT_THROW(value->Copy(*source, CValue::TF_NONE, mergesMeta), CExBadParam);
        EXPECT_TRUE(value->Equal(*Make()));
        EXPECT_THROW(value->CopyMeta(*source, CValue::TF_NONE, mergesMeta), CExBadParam);
        EXPECT_EQ(value->Meta().Size(), 1U);
        EXPECT_EQ(value->Meta().EntryString("unit"), "mm");
        EXPECT_TRUE(OwnsMetaPointee(*source));
    }
}

INSTANTIATE_TEST_SUITE_P(Kinds, AnyValue, testing::ValuesIn(Kinds()),
                         [](const auto& test) { return std::string(test.param.name); });

TEST(CValueBool, HoldsABoolean) {
    CValueBool value(true);
    EXPECT_TRUE(std::as_const(value).Bool());
    value.Bool() = false;
    EXPECT_FALSE(std::as_const(value).Bool());
}

TEST(CValueLong, HoldsThirtyTwoBits) {
    static_assert(std::is_same_v<decltype(std::declval<const CValueLong&>().Long()), std::int32_t>);
    CValueLong value(std::numeric_limits<std::int32_t>::min());
    EXPECT_EQ(std::as_const(value).Long(), std::numeric_limits<std::int32_t>::min());
    value.Long() = std::numeric_limits<std::int32_t>::max();
    EXPECT_EQ(std::as_const(value).Long(), std::numeric_limits<std::int32_t>::max());
}

TEST(CValueLong, ReturnsItsIntegerAsADouble) {
    const CValueLong value(-2147483647);
    EXPECT_EQ(value.Double(), -2147483647.0);
    EXPECT_EQ(static_cast<const CValue&>(value).Double(), -2147483647.0);
}

TEST(CValueLong, HasNoDoubleToWriteTo) {
    CValueLong value(1);
    EXPECT_THROW((void)value.Double(), CExBadType);
}

TEST(CValueLong, IsNotEqualToADoubleOfTheSameNumber) {
    EXPECT_FALSE(CValueLong(1).Equal(CValueDouble(1)));
    EXPECT_FALSE(CValueDouble(1).Equal(CValueLong(1)));
}

TEST(CValueDouble, HoldsANumber) {
    CValueDouble value(0.1);
    EXPECT_EQ(std::as_const(value).Double(), 0.1);
    value.Double() = -3.5;
    EXPECT_EQ(std::as_const(value).Double(), -3.5);
}

TEST(CValueString, HoldsAText) {
    CValueString value("label", CString::NPOS);
    EXPECT_EQ(std::as_const(value).String(), "label");
    value.String() = CString("other", CString::ENC_UTF8);
    EXPECT_EQ(std::as_const(value).String(), "other");
    EXPECT_EQ(CValueString(CString("from a CString", CString::ENC_UTF8)).String(), "from a CString");
}

TEST(CValueString, StoresTheGivenNumberOfBytes) {
    EXPECT_EQ(CValueString("label", 3).String(), "lab");
    EXPECT_EQ(CValueString("label", 0).String(), "");
    EXPECT_EQ(CValueString("a\0b", 3).String().Std(), std::string("a\0b", 3));
    CValueString value("", CString::NPOS);
    value.SetString("label", 2);
    EXPECT_EQ(value.String(), "la");
    value.SetString("label", CString::NPOS);
    EXPECT_EQ(value.String(), "label");
}

TEST(CValueString, NullIsTheEmptyText) {
    EXPECT_EQ(CValueString(nullptr, CString::NPOS).String(), "");
    CValueString value("label", CString::NPOS);
    value.SetString(nullptr, 5);
    EXPECT_EQ(value.String(), "");
}

TEST(CValueString, AcceptsItsOwnText) {
    CValueString value("label", CString::NPOS);
    value.SetString(value.String(), 3);
    EXPECT_EQ(value.String(), "lab");
}
