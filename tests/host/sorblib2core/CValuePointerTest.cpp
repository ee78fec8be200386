#include <sorblib2core/CExBadParam.h>
#include <sorblib2core/CExBadType.h>
#include <sorblib2core/CString.h>
#include <sorblib2core/CValueLong.h>
#include <sorblib2core/CValueMap.h>
#include <sorblib2core/CValueString.h>
#include <sorblib2core/UnwrapPointer.h>

#include "host/sorblib2core/CCountedValue.h"
#include "support/Raised.h"

#include <gtest/gtest.h>

#include <array>
#include <memory>
#include <new>
#include <string>
#include <utility>

using namespace ORVEN;
using test::CCountedValue;

namespace {

/// A pointee that counts the instances of its class.
struct StCounted {
    StCounted() { ++alive; }
    ~StCounted() { --alive; }
    StCounted(const StCounted&) = delete;
    StCounted& operator=(const StCounted&) = delete;
    static int alive;
};

int StCounted::alive = 0;

using Plain = CValuePointer<StCounted>;
using Owned = CValueOwnedPointer<StCounted>;
using Value = std::unique_ptr<CValue>;

/// Every test must leave as many pointees as it found.
class CValuePointerTest : public testing::Test {
protected:
    void TearDown() override { EXPECT_EQ(StCounted::alive, 0); }
};

bool IsOwner(const Value& value) { return value->Pointer()->IsOwner(); }

/// A value whose cloning always runs out of memory.
class CUnclonable : public CValue {
public:
    CValue* Clone(EnTfOwnership /*strategy*/) const override { throw std::bad_alloc(); }
};

void SetUnit(CValue& value) { value.Meta().SetEntry("unit", new CValueString("mm", CString::NPOS)); }

} // namespace

TEST_F(CValuePointerTest, NewValueDoesNotOwn) {
    StCounted pointee;
    const Plain value(&pointee, 1);
    EXPECT_FALSE(value.IsOwner());
    EXPECT_EQ(value.Count(), 1U);
    EXPECT_EQ(value.Void(), &pointee);
    EXPECT_EQ(value.VoidPointer(), &pointee);
    EXPECT_TRUE(value.IsValid());
}

TEST_F(CValuePointerTest, ReturnsItsKindAndTheClassOfItsPointee) {
    StCounted pointee;
    Plain value(&pointee, 1);
    EXPECT_EQ(value.GenericType(), 4);
    EXPECT_EQ(value.GenericType(), CValue::VAL_POINTER);
    EXPECT_EQ(value.ElementType(), typeid(StCounted));
    EXPECT_EQ(value.Type(), typeid(Plain));
    EXPECT_EQ(value.Pointer(), &value);
    EXPECT_EQ(std::as_const(value).Pointer(), &value);
    EXPECT_EQ(value.Map(), nullptr);
    EXPECT_THROW((void)value.Long(), CExBadType);
}

TEST_F(CValuePointerTest, PointerToAMapIsNotAMap) {
    CValueMap map;
    CValuePointer<CValueMap> value(&map, 1);
    EXPECT_EQ(value.Map(), nullptr);
    EXPECT_EQ(value.ElementType(), typeid(CValueMap));
}

TEST_F(CValuePointerTest, NullPointerMakesTheCountZero) {
    const Plain plain(nullptr, 3);
    const Owned owned(nullptr, 1);
    EXPECT_EQ(plain.Count(), 0U);
    EXPECT_EQ(owned.Count(), 0U);
    EXPECT_FALSE(plain.IsValid());
    EXPECT_EQ(plain.Void(), nullptr);
}

TEST_F(CValuePointerTest, OwnedPointerFreesItsPointee) {
    {
        const Owned value(new StCounted, 1);
        EXPECT_TRUE(value.IsOwner());
        EXPECT_EQ(value.Type(), typeid(Owned));
        EXPECT_EQ(StCounted::alive, 1);
    }
    EXPECT_EQ(StCounted::alive, 0);
}

TEST_F(CValuePointerTest, OwnedPointerFreesAnArray) {
    {
        const Owned value(new StCounted[3], 3);
        EXPECT_EQ(value.Count(), 3U);
        EXPECT_EQ(StCounted::alive, 3);
    }
    EXPECT_EQ(StCounted::alive, 0);
}

TEST_F(CValuePointerTest, OwnedMapFreesItsEntries) {
    int alive = 0;
    auto map = std::make_unique<CValueMap>();
    map->SetEntry("entry", new CCountedValue(alive));
    { const CValueOwnedPointer<CValueMap> value(map.release(), 1); }
    EXPECT_EQ(alive, 0);
}

TEST_F(CValuePointerTest, ReleaseGivesUpOwnershipAndReturnsItself) {
    const std::unique_ptr<StCounted> pointee(new StCounted);
    Owned value(pointee.get(), 1);
    EXPECT_EQ(value.Release(), &value);
    EXPECT_FALSE(value.IsOwner());
    EXPECT_EQ(value.Void(), pointee.get());
}

TEST_F(CValuePointerTest, CloneOfAnOwnedNonNullPointerWithStrategy0Raises) {
    const Owned value(new StCounted, 1);
    const auto raised = test::Raised<CExBadParam>([&] { (void)value.Clone(CValue::TF_NONE); });
    EXPECT_STREQ(raised.Message(),
                 "Owned pointers can only be cloned with a valid ownership transfer strategy!");
    EXPECT_TRUE(value.IsOwner());
}

TEST_F(CValuePointerTest, CloneWithStrategy2MovesTheOwnershipSoThatExactlyOneFreesThePointee) {
    for (const bool isOriginalFirst : {false, true}) {
        SCOPED_TRACE(isOriginalFirst);
        Value original(new Owned(new StCounted, 1));
        Value clone(original->Clone(CValue::TF_MOVE));
        EXPECT_FALSE(IsOwner(original));
        EXPECT_TRUE(IsOwner(clone));
        EXPECT_EQ(clone->VoidPointer(), original->VoidPointer());
        (isOriginalFirst ? original : clone).reset();
        EXPECT_EQ(StCounted::alive, isOriginalFirst ? 1 : 0);
        (isOriginalFirst ? clone : original).reset();
        EXPECT_EQ(StCounted::alive, 0);
    }
}

TEST_F(CValuePointerTest, CloneWithStrategy1LeavesTheOwnershipWhereItIs) {
    const Value original(new Owned(new StCounted, 1));
    const Value clone(original->Clone(CValue::TF_KEEP));
    EXPECT_TRUE(IsOwner(original));
    EXPECT_FALSE(IsOwner(clone));
}

TEST_F(CValuePointerTest, CloneOfAPlainPointerNeverOwns) {
    StCounted pointee;
    const Plain value(&pointee, 1);
    for (const auto strategy : {CValue::TF_NONE, CValue::TF_KEEP, CValue::TF_MOVE}) {
        const Value clone(value.Clone(strategy));
        EXPECT_FALSE(IsOwner(clone));
        EXPECT_TRUE(clone->Equal(value));
    }
}

TEST_F(CValuePointerTest, OwnedNullPointerIsClonedWithoutAStrategy) {
    const Owned value(nullptr, 1);
    const Value clone(value.Clone(CValue::TF_NONE));
    EXPECT_EQ(clone->VoidPointer(), nullptr);
    EXPECT_EQ(clone->Pointer()->Count(), 0U);
}

TEST_F(CValuePointerTest, CloneNonOwnedIsAPlainPointerToTheSameObject) {
    Owned value(new StCounted[2], 2);
    SetUnit(value);
    const std::unique_ptr<CValuePointerBase> clone(value.CloneNonOwned());
    EXPECT_EQ(clone->Type(), typeid(Plain));
    EXPECT_FALSE(clone->IsOwner());
    EXPECT_TRUE(value.IsOwner());
    EXPECT_EQ(clone->Void(), value.Void());
    EXPECT_EQ(clone->Count(), 2U);
    EXPECT_EQ(clone->Meta().EntryString("unit"), "mm");
}

TEST_F(CValuePointerTest, CopyFromAnotherKindOrPointeeRaisesBadType) {
    Owned value(new StCounted, 1);
    CValueMap map;
    const CValuePointer<CValueMap> toMap(&map, 1);
    const CValueLong number(1);
    for (const CValue* source : {static_cast<const CValue*>(&toMap), static_cast<const CValue*>(&number)}) {
        const auto raised = test::Raised<CExBadType>([&] { value.Copy(*source, CValue::TF_MOVE, false); });
        EXPECT_NE(std::string(raised.Message()).find(source->Type().name()), std::string::npos);
        EXPECT_STREQ(raised.Location().function, "ORVEN::CValuePointer::Copy");
    }
    EXPECT_TRUE(value.IsOwner());
}

TEST_F(CValuePointerTest, CopyFromAnOwnerWithStrategy0Raises) {
    StCounted pointee;
    Plain value(&pointee, 1);
    const Owned source(new StCounted, 1);
    const auto raised = test::Raised<CExBadParam>([&] { value.Copy(source, CValue::TF_NONE, false); });
    EXPECT_STREQ(raised.Message(),
                 "Owned pointers can only be copied with a valid ownership transfer strategy!");
    EXPECT_EQ(value.Void(), &pointee);
    EXPECT_TRUE(source.IsOwner());
}

TEST_F(CValuePointerTest, CopyThatFailsOnTheMetaEntriesChangesNeitherPointerNorOwners) {
    for (const bool mergesMeta : {false, true}) {
        Owned value(new StCounted, 1);
        const void* const pointee = value.Void();
        SetUnit(value);
        Owned source(new StCounted, 1);
        source.Meta().SetEntry("value", new CUnclonable);
        EXPECT_THROW(value.Copy(source, CValue::TF_MOVE, mergesMeta), std::bad_alloc);
        EXPECT_EQ(value.Void(), pointee);
        EXPECT_TRUE(value.IsOwner());
        EXPECT_TRUE(source.IsOwner());
        EXPECT_EQ(value.Meta().EntryString("unit"), "mm");
        EXPECT_EQ(StCounted::alive, 2);
    }
}

TEST_F(CValuePointerTest, CopyFreesTheOldPointee) {
    StCounted pointee;
    const Plain source(&pointee, 1);
    Owned single(new StCounted, 1);
    Owned array(new StCounted[3], 3);
    EXPECT_EQ(StCounted::alive, 5);
    EXPECT_EQ(&single.Copy(source, CValue::TF_NONE, false), &single);
    EXPECT_EQ(StCounted::alive, 4);
    array.Copy(source, CValue::TF_NONE, false);
    EXPECT_EQ(StCounted::alive, 1);
    for (const Owned* value : {&single, &array}) {
        EXPECT_FALSE(value->IsOwner());
        EXPECT_EQ(value->Void(), &pointee);
        EXPECT_EQ(value->Count(), 1U);
    }
}

TEST_F(CValuePointerTest, CopyKeepsAPointeeThatItDidNotOwn) {
    StCounted former;
    StCounted pointee;
    Plain value(&former, 1);
    value.Copy(Plain(&pointee, 1), CValue::TF_NONE, false);
    EXPECT_EQ(StCounted::alive, 2);
}

TEST_F(CValuePointerTest, CopyWithStrategy2ReleasesTheSourceAndOwns) {
    Value source(new Owned(new StCounted[2], 2));
    const Value value(new Owned(new StCounted, 1));
    value->Copy(*source, CValue::TF_MOVE, false);
    EXPECT_EQ(StCounted::alive, 2);
    EXPECT_FALSE(IsOwner(source));
    EXPECT_TRUE(IsOwner(value));
    EXPECT_EQ(value->Pointer()->Count(), 2U);
    source.reset();
    EXPECT_EQ(StCounted::alive, 2);
}

TEST_F(CValuePointerTest, CopyWithStrategy1LeavesTheOwnershipWithTheSource) {
    const Value source(new Owned(new StCounted, 1));
    const Value value(new Plain(nullptr, 0));
    value->Copy(*source, CValue::TF_KEEP, false);
    EXPECT_TRUE(IsOwner(source));
    EXPECT_FALSE(IsOwner(value));
    EXPECT_EQ(value->VoidPointer(), source->VoidPointer());
}

TEST_F(CValuePointerTest, CopyFromAPlainPointerToTheOwnPointeeKeepsOwning) {
    Owned value(new StCounted, 1);
    const std::unique_ptr<CValuePointerBase> plain(value.CloneNonOwned());
    value.Copy(*plain, CValue::TF_KEEP, false);
    EXPECT_EQ(StCounted::alive, 1);
    EXPECT_TRUE(value.IsOwner());
}

TEST_F(CValuePointerTest, CopyOfItselfKeepsOwning) {
    Owned value(new StCounted, 1);
    value.Copy(value, CValue::TF_MOVE, false);
    EXPECT_EQ(StCounted::alive, 1);
    EXPECT_TRUE(value.IsOwner());
}

TEST_F(CValuePointerTest, CopyFromAValueInsideTheOldPointeeIsSafe) {
    CValueMap last;
    auto first = std::make_unique<CValueMap>();
    first->SetEntry("next", new CValuePointer<CValueMap>(&last, 1));
    const CValue* next = first->Entry("next", true);
    SetUnit(*first->Entry("next", true));
    CValueOwnedPointer<CValueMap> value(first.release(), 1);
    value.Copy(*next, CValue::TF_KEEP, false);
    EXPECT_EQ(value.Void(), &last);
    EXPECT_EQ(value.Meta().EntryString("unit"), "mm");
    EXPECT_FALSE(value.IsOwner());
}

TEST_F(CValuePointerTest, CopyIncludesTheMetaEntries) {
    StCounted pointee;
    Plain source(&pointee, 1);
    SetUnit(source);
    Plain value(nullptr, 0);
    value.Copy(source, CValue::TF_NONE, false);
    EXPECT_EQ(value.Meta().EntryString("unit"), "mm");
}

TEST_F(CValuePointerTest, MoveTakesTheOwnership) {
    const Value source(new Owned(new StCounted, 1));
    const Value value(new Plain(nullptr, 0));
    value->Move(*source);
    EXPECT_FALSE(IsOwner(source));
    EXPECT_TRUE(IsOwner(value));
}

TEST_F(CValuePointerTest, EqualRequiresSameCountAndSamePointer) {
    std::array<StCounted, 2> pointees;
    const Plain value(pointees.data(), 1);
    EXPECT_TRUE(value.Equal(Plain(pointees.data(), 1)));
    EXPECT_FALSE(value.Equal(Plain(pointees.data(), 2)));
    EXPECT_FALSE(value.Equal(Plain(&pointees[1], 1)));
    EXPECT_FALSE(value.Equal(CValueLong(1)));
    EXPECT_TRUE(Plain(nullptr, 0).Equal(Plain(nullptr, 1)));
}

TEST_F(CValuePointerTest, EqualDataComparesThePointeesByteByByte) {
    std::array<int, 3> a{1, 2, 3};
    std::array<int, 3> b{1, 2, 4};
    using Numbers = CValuePointer<int>;
    EXPECT_TRUE(Numbers(a.data(), 2).EqualData(Numbers(b.data(), 2)));
    EXPECT_FALSE(Numbers(a.data(), 3).EqualData(Numbers(b.data(), 3)));
    EXPECT_FALSE(Numbers(a.data(), 2).EqualData(Numbers(a.data(), 3)));
    EXPECT_TRUE(Numbers(nullptr, 0).EqualData(Numbers(nullptr, 0)));
    EXPECT_FALSE(Numbers(nullptr, 0).EqualData(Numbers(a.data(), 1)));
    EXPECT_FALSE(Numbers(a.data(), 1).EqualData(CValueLong(1)));
}

TEST_F(CValuePointerTest, EqualDataReadsNothingBeyondASmallerPointee) {
    int number = 1;
    std::array<int, 4> numbers{1, 0, 0, 0};
    const CValuePointer<int> toSmall(&number, 1);
    const CValuePointer<std::array<int, 4>> toLarge(&numbers, 1);
    EXPECT_FALSE(toLarge.EqualData(toSmall));
    EXPECT_FALSE(toSmall.EqualData(toLarge));
}

TEST(UnwrapPointer, ReturnsNullForNull) {
    EXPECT_EQ(UnwrapPointer<CValueMap>(static_cast<CValue*>(nullptr)), nullptr);
    EXPECT_EQ(UnwrapPointer<CValueMap>(static_cast<const CValue*>(nullptr)), nullptr);
}

TEST(UnwrapPointer, ReturnsThePointerOfPlainAndOwningValues) {
    CValueMap map;
    CValuePointer<CValueMap> plain(&map, 1);
    CValueOwnedPointer<CValueMap> owned(new CValueMap, 1);
    CValuePointer<CValueMap> null(nullptr, 1);
    EXPECT_EQ(UnwrapPointer<CValueMap>(&plain), &map);
    EXPECT_EQ(UnwrapPointer<CValueMap>(&std::as_const(plain)), &map);
    EXPECT_EQ(UnwrapPointer<const CValueMap>(&plain), &map);
    EXPECT_EQ(UnwrapPointer<CValueMap>(&owned), owned.Void());
    EXPECT_EQ(UnwrapPointer<CValueMap>(&null), nullptr);
}

TEST(UnwrapPointer, OnAPointerToSomethingElseRaisesWithBothTypeNames) {
    int number = 0;
    CValuePointer<int> value(&number, 1);
    const auto raised = test::Raised<CExBadParam>([&] { (void)UnwrapPointer<CValueMap>(&value); });
    EXPECT_EQ(std::string(raised.Message()), std::string("Requested type ('") + typeid(CValueMap).name() +
                                                 "') does not match actual type ('" + typeid(int).name() +
                                                 "')!");
    EXPECT_STREQ(raised.Location().function, "ORVEN::UnwrapPointer");
    EXPECT_STREQ(raised.Source(), "ORVEN::UnwrapPointer");
}

TEST(UnwrapPointer, OnANonPointerRaisesWithItsClass) {
    CValueMap map;
    const auto raised =
        test::Raised<CExBadParam>([&] { (void)UnwrapPointer<CValueMap>(&std::as_const(map)); });
    EXPECT_EQ(std::string(raised.Message()), std::string("Requested type ('") + typeid(CValueMap).name() +
                                                 "') does not match actual type ('" +
                                                 typeid(CValueMap).name() + "')!");
}

TEST(AreTypesEqual, ComparesClasses) {
    EXPECT_TRUE(AreTypesEqual(typeid(CValueMap), typeid(CValueMap)));
    EXPECT_FALSE(AreTypesEqual(typeid(CValueMap), typeid(CValueLong)));
}

TEST(AreTypesEqual, UsesTheDynamicClassOfTheValue) {
    CValueMap map;
    const CValue* value = &map;
    EXPECT_TRUE(AreTypesEqual(value, typeid(CValueMap)));
    EXPECT_FALSE(AreTypesEqual(value, typeid(CValue)));
    const CValuePointer<CValueMap> plain(&map, 1);
    EXPECT_TRUE(AreTypesEqual(&plain, typeid(CValuePointer<CValueMap>)));
    EXPECT_FALSE(AreTypesEqual(&plain, typeid(CValueMap)));
    const CValueOwnedPointer<CValueMap> owned(new CValueMap, 1);
    EXPECT_FALSE(AreTypesEqual(&owned, typeid(CValuePointer<CValueMap>)));
}

TEST(AreTypesEqual, NullHasNoClass) {
    EXPECT_FALSE(AreTypesEqual(static_cast<const CValue*>(nullptr), typeid(CValue)));
}
