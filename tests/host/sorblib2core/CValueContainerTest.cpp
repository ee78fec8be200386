#include <sorblib2core/CExBadParam.h>
#include <sorblib2core/CString.h>
#include <sorblib2core/CValueBool.h>
#include <sorblib2core/CValueDouble.h>
#include <sorblib2core/CValueLong.h>
#include <sorblib2core/CValueMap.h>
#include <sorblib2core/CValueString.h>
#include <sorblib2core/CValueVector.h>

#include "host/sorblib2core/CCountedValue.h"
#include "support/Raised.h"

#include <gtest/gtest.h>

#include <limits>
#include <memory>
#include <new>
#include <string>
#include <utility>
#include <vector>

using namespace ORVEN;
using test::CCountedValue;

namespace {

CValue* Long(int number) { return new CValueLong(number); }

CValue* String(const char* text) { return new CValueString(text, CString::NPOS); }

CString Text(const char* text) { return {text, CString::ENC_UTF8}; }

/// The number at the key, or the lowest integer if there is none.
std::int32_t LongAt(const CValueContainerBase& container, const CValue_Key& key) {
    const CValue* entry = container.Entry(key, true);
    return entry != nullptr ? entry->Long() : std::numeric_limits<std::int32_t>::min();
}

std::vector<std::string> KeysOf(const CValueMap& map) {
    std::vector<std::string> keys;
    for (const CValue_Key& key : map.Keys())
        keys.emplace_back(key.ToString());
    return keys;
}

using Keys = std::vector<std::string>;

/// A value whose cloning always runs out of memory.
class CUnclonable : public CCountedValue {
public:
    using CCountedValue::CCountedValue;
    CValue* Clone(EnTfOwnership /*strategy*/) const override { throw std::bad_alloc(); }
};

/// Properties common to maps and vectors. Both instances hold the texts "a", "b", "a" under the keys 0 to 2.
class AnyContainer : public testing::TestWithParam<bool> {
protected:
    AnyContainer() {
        if (GetParam())
            m_container = std::make_unique<CValueMap>();
        else
            m_container = std::make_unique<CValueVector>();
        m_container->SetEntry(0, String("a"));
        m_container->SetEntry(1, String("b"));
        m_container->SetEntry(2, String("a"));
    }

    std::unique_ptr<CValueContainerBase> m_container;
};

INSTANTIATE_TEST_SUITE_P(Kinds, AnyContainer, testing::Bool(),
                         [](const auto& test) { return std::string(test.param ? "Map" : "Vector"); });

} // namespace

TEST_P(AnyContainer, EntryIgnoresItsSecondArgument) {
    EXPECT_EQ(m_container->Entry(1, true)->String(), "b");
    EXPECT_EQ(m_container->Entry(1, false), m_container->Entry(1, true));
    EXPECT_EQ(std::as_const(*m_container).Entry(1, false), m_container->Entry(1, true));
    EXPECT_EQ(m_container->Entry("1", true), m_container->Entry(1, true));
}

TEST_P(AnyContainer, EntryReturnsNullForAMissingKey) {
    for (const char* key : {"3", "missing", "missing/0", "", "-1", "0/0", "99999999999999999999"}) {
        SCOPED_TRACE(key);
        EXPECT_EQ(m_container->Entry(key, true), nullptr);
        EXPECT_EQ(std::as_const(*m_container).Entry(key, true), nullptr);
    }
}

TEST_P(AnyContainer, HasEntryByKeyByGenericTypeAndByClass) {
    EXPECT_TRUE(m_container->HasEntry(1));
    EXPECT_TRUE(m_container->HasEntry(1, CValue::VAL_STRING));
    EXPECT_FALSE(m_container->HasEntry(1, CValue::VAL_LONG));
    EXPECT_TRUE(m_container->HasEntry(1, typeid(CValueString)));
    EXPECT_FALSE(m_container->HasEntry(1, typeid(CValueLong)));
    EXPECT_FALSE(m_container->HasEntry(1, typeid(CValue)));
    EXPECT_FALSE(m_container->HasEntry(3));
    EXPECT_FALSE(m_container->HasEntry(3, CValue::VAL_STRING));
    EXPECT_FALSE(m_container->HasEntry(3, CValue::VAL_NONE));
    EXPECT_FALSE(m_container->HasEntry(3, typeid(CValueString)));
}

TEST_P(AnyContainer, SetEntryReplacesAndFreesTheOldEntry) {
    int alive = 0;
    m_container->SetEntry(1, new CCountedValue(alive));
    EXPECT_EQ(alive, 1);
    m_container->SetEntry(1, Long(5));
    EXPECT_EQ(alive, 0);
    EXPECT_EQ(LongAt(*m_container, 1), 5);
    EXPECT_EQ(m_container->Size(), 3U);
}

TEST_P(AnyContainer, SetEntryWithTheStoredValueKeepsIt) {
    int alive = 0;
    auto* value = new CCountedValue(alive);
    m_container->SetEntry(1, value);
    m_container->SetEntry(1, value);
    EXPECT_EQ(alive, 1);
    EXPECT_EQ(m_container->Entry(1, true), value);
}

TEST_P(AnyContainer, SetEntryWithNullRemovesTheEntry) {
    int alive = 0;
    m_container->SetEntry(1, new CCountedValue(alive));
    m_container->SetEntry(1, nullptr);
    EXPECT_EQ(alive, 0);
    EXPECT_FALSE(m_container->HasEntry(1));
}

TEST_P(AnyContainer, SetEntryThroughANonContainerRaisesAndFreesTheValue) {
    int alive = 0;
    const auto raised =
        test::Raised<CExBadParam>([&] { m_container->SetEntry("1/below/0", new CCountedValue(alive)); });
    EXPECT_STREQ(raised.Message(), "The path '1/below/0' leads through '1', which is not a container.");
    EXPECT_EQ(alive, 0);
    EXPECT_EQ(m_container->Entry(1, true)->String(), "b");
}

TEST_P(AnyContainer, StepThroughANonContainerFindsNothing) {
    EXPECT_FALSE(m_container->HasEntry("1/below"));
    EXPECT_FALSE(m_container->HasEntry("1/below", typeid(CValueString)));
    EXPECT_FALSE(m_container->HasEntry("1/below", CValue::VAL_STRING));
    EXPECT_EQ(m_container->Entry("1/below", true), nullptr);
    EXPECT_FALSE(m_container->RemoveEntry("1/below"));
    EXPECT_EQ(m_container->Detach("1/below"), nullptr);
}

TEST_P(AnyContainer, FreesItsEntriesOnDestruction) {
    int alive = 0;
    m_container->SetEntry(0, new CCountedValue(alive));
    m_container->SetEntry(5, new CCountedValue(alive));
    m_container->SetEntry("6/below", new CCountedValue(alive));
    EXPECT_EQ(alive, 3);
    m_container.reset();
    EXPECT_EQ(alive, 0);
}

TEST_P(AnyContainer, RemoveEntryFreesItAndReturnsWhetherThereWasOne) {
    int alive = 0;
    m_container->SetEntry("3/below", new CCountedValue(alive));
    EXPECT_TRUE(m_container->RemoveEntry("3/below"));
    EXPECT_EQ(alive, 0);
    EXPECT_FALSE(m_container->RemoveEntry("3/below"));
    EXPECT_FALSE(m_container->RemoveEntry("missing"));
    EXPECT_TRUE(m_container->HasEntry(3));
}

TEST_P(AnyContainer, DetachPassesTheEntryToTheCaller) {
    int alive = 0;
    m_container->SetEntry("3/below", new CCountedValue(alive));
    const std::unique_ptr<CValue> detached(m_container->Detach("3/below"));
    EXPECT_NE(detached, nullptr);
    EXPECT_EQ(alive, 1);
    EXPECT_FALSE(m_container->HasEntry("3/below"));
    EXPECT_EQ(m_container->Detach("3/below"), nullptr);
    EXPECT_EQ(m_container->Detach("missing"), nullptr);
}

TEST_P(AnyContainer, FindSearchesTheTextsFromTheStartOrAfterAKey) {
    EXPECT_EQ(m_container->Find("a", {}), CValue_Key(0));
    EXPECT_EQ(m_container->Find("a", 0), CValue_Key(2));
    EXPECT_EQ(m_container->Find("a", 1), CValue_Key(2));
    EXPECT_EQ(m_container->Find("a", 2), CValue_Key());
    EXPECT_EQ(m_container->Find("c", {}), CValue_Key());
    EXPECT_EQ(m_container->Find(static_cast<const char*>(nullptr), {}), CValue_Key());
}

TEST_P(AnyContainer, FindSearchesTheValues) {
    m_container->SetEntry(1, Long(5));
    EXPECT_EQ(m_container->Find(CValueString("a", CString::NPOS), {}), CValue_Key(0));
    EXPECT_EQ(m_container->Find(CValueString("a", CString::NPOS), 0), CValue_Key(2));
    EXPECT_EQ(m_container->Find(CValueLong(5), {}), CValue_Key(1));
    EXPECT_EQ(m_container->Find(CValueLong(6), {}), CValue_Key());
    EXPECT_EQ(m_container->Find(CValueDouble(5), {}), CValue_Key());
    EXPECT_EQ(m_container->Find("5", {}), CValue_Key());
}

TEST_P(AnyContainer, EntryStringIsTheTextItself) {
    CString& text = m_container->EntryString(1);
    EXPECT_EQ(text, "b");
    text = Text("changed");
    EXPECT_EQ(m_container->Entry(1, true)->String(), "changed");
}

TEST_P(AnyContainer, EntryStringWithoutATextIsAnEmptyScratchThatIsNotStored) {
    m_container->SetEntry(1, Long(5));
    for (const char* key : {"missing", "7", "1", "1/below"}) {
        SCOPED_TRACE(key);
        const bool wasThere = m_container->HasEntry(key);
        CString& scratch = m_container->EntryString(key);
        EXPECT_EQ(scratch, "");
        scratch = Text("left over"); // must not be visible in the next round
        EXPECT_EQ(m_container->HasEntry(key), wasThere);
    }
    EXPECT_EQ(LongAt(*m_container, 1), 5);
    EXPECT_EQ(m_container->Size(), 3U);
}

TEST_P(AnyContainer, EntryStringFallsBackToTheGivenText) {
    m_container->SetEntry(2, Long(5));
    const CString fallback = Text("fallback");
    EXPECT_EQ(m_container->EntryString(1, fallback), "b");
    EXPECT_EQ(&m_container->EntryString("missing", fallback), &fallback);
    EXPECT_EQ(&m_container->EntryString(2, fallback), &fallback);
}

TEST_P(AnyContainer, CopyFromOneOfItsOwnEntriesIsSafe) {
    const std::unique_ptr<CValue> inner(m_container->Clone(CValue::TF_NONE));
    m_container->SetEntry(3, inner->Clone(CValue::TF_NONE));
    m_container->Copy(*m_container->Entry(3, true), CValue::TF_NONE, false);
    EXPECT_TRUE(m_container->Equal(*inner));
}

TEST_P(AnyContainer, EqualComparesTheEntriesDeeply) {
    const std::unique_ptr<CValue> other(m_container->Clone(CValue::TF_NONE));
    EXPECT_TRUE(m_container->Equal(*other));
    m_container->SetEntry(1, String("B"));
    EXPECT_FALSE(m_container->Equal(*other));
    EXPECT_FALSE(m_container->EqualData(*other));
    m_container->SetEntry(1, String("b"));
    m_container->SetEntry(3, String("more"));
    EXPECT_FALSE(m_container->Equal(*other));
    EXPECT_FALSE(other->Equal(*m_container));
    EXPECT_FALSE(m_container->EqualData(*other));
    EXPECT_FALSE(other->EqualData(*m_container));
}

TEST_P(AnyContainer, EqualComparesPointersByAddressAndEqualDataByPointee) {
    double one = 1.0;
    double alsoOne = 1.0;
    m_container->SetEntry(1, new CValuePointer<double>(&one, 1));
    const std::unique_ptr<CValue> other(m_container->Clone(CValue::TF_NONE));
    EXPECT_TRUE(m_container->Equal(*other));
    m_container->SetEntry(1, new CValuePointer<double>(&alsoOne, 1));
    EXPECT_FALSE(m_container->Equal(*other));
    EXPECT_TRUE(m_container->EqualData(*other));
}

TEST_P(AnyContainer, CloneFollowsTheStrategyForOwnedPointers) {
    m_container->SetEntry(1, new CValueOwnedPointer<CValueMap>(new CValueMap, 1));
    EXPECT_THROW((void)m_container->Clone(CValue::TF_NONE), CExBadParam);
    EXPECT_TRUE(m_container->Entry(1, true)->Pointer()->IsOwner());
    const std::unique_ptr<CValue> clone(m_container->Clone(CValue::TF_MOVE));
    EXPECT_FALSE(m_container->Entry(1, true)->Pointer()->IsOwner());
    const auto& heir = *static_cast<const CValueContainerBase*>(clone.get());
    EXPECT_TRUE(heir.Entry(1, true)->Pointer()->IsOwner());
}

TEST_P(AnyContainer, CopyThatFailsLeavesTheTargetUnchangedMetaEntriesIncluded) {
    m_container->Meta().SetEntry("unit", String("mm"));
    m_container->Meta().SetEntry("own", String("stays"));
    const std::unique_ptr<CValue> before(m_container->Clone(CValue::TF_NONE));
    for (const bool isInMeta : {false, true}) {
        SCOPED_TRACE(isInMeta ? "an owned pointer among the meta entries" : "an owned pointer inside");
        const std::unique_ptr<CValue> source(m_container->Clone(CValue::TF_NONE));
        source->Meta().SetEntry("unit", String("inch"));
        auto& changed = static_cast<CValueContainerBase&>(*source);
        changed.SetEntry(1, String("changed"));
        auto& holder = isInMeta ? static_cast<CValueContainerBase&>(source->Meta()) : changed;
        holder.SetEntry(2, new CValueOwnedPointer<CValueMap>(new CValueMap, 1));
        for (const bool mergesMeta : {false, true}) {
            EXPECT_THROW(m_container->Copy(*source, CValue::TF_NONE, mergesMeta), CExBadParam);
            EXPECT_TRUE(m_container->Equal(*before));
            EXPECT_TRUE(m_container->Meta().Equal(before->Meta()));
        }
    }
}

TEST_P(AnyContainer, CopyThatFailsLeavesTheOwnersOfTheSourceUnchanged) {
    // An owner directly inside, one further down, and one among the meta entries, all before a value that
    // fails.
    int alive = 0;
    const auto owner = [] { return new CValueOwnedPointer<CValueMap>(new CValueMap, 1); };
    const std::unique_ptr<CValue> source(m_container->Clone(CValue::TF_NONE));
    auto& entries = static_cast<CValueContainerBase&>(*source);
    entries.SetEntry(0, owner());
    auto nested = std::make_unique<CValueMap>();
    nested->SetEntry("vector/0", owner());
    nested->Meta().SetEntry("owner", owner());
    entries.SetEntry(1, nested.release());
    entries.SetEntry(2, new CUnclonable(alive));
    for (int run = 0; run < 2; ++run) {
        EXPECT_THROW(m_container->Copy(*source, CValue::TF_MOVE, false), std::bad_alloc);
        EXPECT_TRUE(entries.Entry(0, true)->Pointer()->IsOwner());
        EXPECT_TRUE(entries.Entry("1/vector/0", true)->Pointer()->IsOwner());
        EXPECT_TRUE(entries.Entry(1, true)->Meta().Entry("owner", true)->Pointer()->IsOwner());
        EXPECT_EQ(m_container->Entry(2, true)->String(), "a");
    }
    entries.RemoveEntry(2);
    m_container->Copy(*source, CValue::TF_MOVE, false);
    EXPECT_FALSE(entries.Entry("1/vector/0", true)->Pointer()->IsOwner());
    EXPECT_TRUE(m_container->Entry("1/vector/0", true)->Pointer()->IsOwner());
}

TEST(CValueMap, SetEntryOutputDocumentsAdd0OnAnEmptyMapLeavesHasEntryOutputDocumentsAddTrue) {
    CValueMap tree;
    tree.SetEntry("output/documents/add/0", Long(1));
    EXPECT_TRUE(tree.HasEntry("output/documents/add"));
    EXPECT_TRUE(tree.HasEntry("output/documents/add", typeid(CValueVector)));
    EXPECT_TRUE(tree.HasEntry("output/documents", typeid(CValueMap)));
    EXPECT_TRUE(tree.HasEntry("output", CValue::VAL_MAP));
    EXPECT_EQ(LongAt(tree, "output/documents/add/0"), 1);
}

TEST(CValueMap, KeepsTheContainersAlreadyOnThePath) {
    CValueMap tree;
    tree.SetEntry("output/documents/add/0", Long(1));
    const CValue* documents = tree.Entry("output/documents", true);
    tree.SetEntry("output/documents/add/1", Long(2));
    tree.SetEntry("output/views/create/0/type", String("ImageAttributesView"));
    EXPECT_EQ(tree.Entry("output/documents", true), documents);
    EXPECT_EQ(LongAt(tree, "output/documents/add/0"), 1);
    EXPECT_EQ(LongAt(tree, "output/documents/add/1"), 2);
    EXPECT_EQ(tree.EntryString("output/views/create/0/type"), "ImageAttributesView");
}

TEST(CValueMap, TreatsADecimalStepAsAKeyInAnExistingMap) {
    CValueMap tree;
    tree.SetEntry("labels", new CValueMap);
    tree.SetEntry("labels/10", Long(10));
    tree.SetEntry("labels/9", Long(9));
    EXPECT_EQ(KeysOf(*tree.Entry("labels", true)->Map()), (Keys{"10", "9"}));
}

TEST(CValueMap, AcceptsAnEmptyStepAsAKey) {
    CValueMap tree;
    tree.SetEntry("", Long(1));
    tree.SetEntry("a/", Long(2));
    EXPECT_EQ(LongAt(tree, ""), 1);
    EXPECT_EQ(LongAt(tree, "a/"), 2);
    EXPECT_TRUE(tree.HasEntry("a", CValue::VAL_MAP));
}

TEST(CValueMap, SetEntryWithTheKeyOfItsOwnEntryIsSafe) {
    CValueMap map;
    map.SetEntry("a", Long(1));
    map.SetEntry(map.begin().Key(), Long(2));
    EXPECT_EQ(LongAt(map, "a"), 2);
    map.RemoveEntry(map.begin().Key());
    EXPECT_TRUE(map.IsEmpty());
}

TEST(CValueMap, KeysAscendForAnyOrderOfInsertion) {
    CValueMap map;
    for (const char* key : {"x", "Z", "a", "10", "9", "ab"})
        map.SetEntry(key, Long(0));
    EXPECT_EQ(KeysOf(map), (Keys{"10", "9", "Z", "a", "ab", "x"}));
}

TEST(CValueMap, IteratesOverKeysAndValuesInTheOrderOfKeys) {
    CValueMap map;
    map.SetEntry("b", Long(2));
    map.SetEntry("a", Long(1));
    CValueMap::const_iterator entry = map.begin();
    EXPECT_EQ(entry.Key(), "a");
    EXPECT_EQ(entry.Value()->Long(), 1);
    EXPECT_EQ(*entry, map.Entry("a", true));
    const CValueMap::const_iterator second = ++entry;
    EXPECT_EQ(second, entry);
    EXPECT_NE(second, map.begin());
    EXPECT_EQ(entry.Key(), "b");
    EXPECT_EQ(++entry, map.end());
    const CValueMap empty;
    EXPECT_EQ(empty.begin(), empty.end());
}

TEST(CValueMap, SizeIsEmptyAndClear) {
    int alive = 0;
    CValueMap map;
    EXPECT_TRUE(map.IsEmpty());
    map.SetEntry("a", new CCountedValue(alive));
    map.SetEntry("b/c", new CCountedValue(alive));
    EXPECT_EQ(map.Size(), 2U);
    EXPECT_FALSE(map.IsEmpty());
    map.Clear();
    EXPECT_EQ(alive, 0);
    EXPECT_EQ(map.Size(), 0U);
    EXPECT_TRUE(map.IsEmpty());
}

TEST(CValueMap, RemovedEntryLeavesNoKey) {
    CValueMap map;
    map.SetEntry("a", Long(1));
    map.SetEntry("b", Long(2));
    map.RemoveEntry("a");
    EXPECT_EQ(KeysOf(map), Keys{"b"});
}

TEST(CValueMap, IsSubsetIfTheOtherHasEveryEntryWithAnEqualValue) {
    CValueMap small;
    CValueMap large;
    EXPECT_TRUE(small.IsSubset(large));
    small.SetEntry("a", Long(1));
    EXPECT_FALSE(small.IsSubset(large));
    EXPECT_TRUE(large.IsSubset(small));
    large.SetEntry("a", Long(1));
    large.SetEntry("b", Long(2));
    EXPECT_TRUE(small.IsSubset(large));
    EXPECT_FALSE(large.IsSubset(small));
    large.SetEntry("a", new CValueDouble(1));
    EXPECT_FALSE(small.IsSubset(large));
}

TEST(CValueMap, MapsWithDifferentKeysAreNotEqual) {
    CValueMap a;
    CValueMap b;
    a.SetEntry("a", Long(1));
    b.SetEntry("b", Long(1));
    EXPECT_FALSE(a.Equal(b));
    EXPECT_FALSE(a.EqualData(b));
}

TEST(CValueMap, CopyConstructorClonesEveryEntryAndTheMetaEntries) {
    CValueMap original;
    original.SetEntry("a/b", Long(1));
    original.Meta().SetEntry("unit", String("mm"));
    CValueMap copy(original);
    EXPECT_TRUE(copy.Equal(original));
    EXPECT_EQ(copy.Meta().EntryString("unit"), "mm");
    copy.SetEntry("a/b", Long(2));
    EXPECT_EQ(LongAt(original, "a/b"), 1);
}

TEST(CValueMap, CopyConstructorRaisesForAnOwnedPointer) {
    CValueMap original;
    original.SetEntry("a", new CValueOwnedPointer<CValueMap>(new CValueMap, 1));
    EXPECT_THROW((void)CValueMap(original), CExBadParam);
    EXPECT_TRUE(original.Entry("a", true)->Pointer()->IsOwner());
}

TEST(CValueMap, CloneHasTheClassThatNewObjectCreates) {
    class CDocument : public CValueMap {
    protected:
        [[nodiscard]] CValueMap* NewObject() const override { return new CDocument; }
    };
    CDocument document;
    document.SetEntry("label", String("title"));
    const std::unique_ptr<CValue> clone(document.Clone(CValue::TF_NONE));
    EXPECT_EQ(clone->Type(), typeid(CDocument));
    EXPECT_TRUE(clone->Equal(document));
}

TEST(CValueMap, OffersTheInterfacesOfItsBases) {
    CValueMap map;
    for (const char* name : {"CValueMap", "IPluginObject", "IObject"})
        EXPECT_TRUE(map.TestInterface(Text(name))) << name;
    EXPECT_FALSE(map.TestInterface(Text("CPluginBase")));
    IPluginObject& object = map;
    EXPECT_TRUE(object.TestInterface(Text("CValueMap")));
}

TEST(CValueVector, IsConstructedEmptyWithPlacesOrWithTwoElements) {
    EXPECT_EQ(CValueVector().Size(), 0U);
    const CValueVector places(3);
    EXPECT_EQ(places.Size(), 3U);
    EXPECT_FALSE(places.HasEntry(0));
    int alive = 0;
    {
        const CValueVector pair(new CCountedValue(alive), new CCountedValue(alive));
        EXPECT_EQ(pair.Size(), 2U);
        EXPECT_EQ(pair.size(), 2U);
        EXPECT_EQ(pair.Entry(1, true), pair[1]);
        EXPECT_EQ(alive, 2);
    }
    EXPECT_EQ(alive, 0);
}

TEST(CValueVector, GrowsWhenAnEntryIsSetPastItsEnd) {
    CValueVector vector;
    vector.SetEntry(4, Long(4));
    EXPECT_EQ(vector.Size(), 5U);
    for (int i = 0; i < 4; ++i)
        EXPECT_FALSE(vector.HasEntry(i)) << i;
    EXPECT_EQ(LongAt(vector, 4), 4);
    vector.SetEntry("5/name", String("made on the way"));
    EXPECT_TRUE(vector.HasEntry(5, CValue::VAL_MAP));
}

TEST(CValueVector, AcceptsTheGreatestIndexAndNoneAbove) {
    CValueVector vector;
    int alive = 0;
    const auto raised =
        test::Raised<CExBadParam>([&] { vector.SetEntry("16777216", new CCountedValue(alive)); });
    EXPECT_STREQ(raised.Message(), "'16777216' is not a vector index: expected a number from 0 to 16777215.");
    EXPECT_EQ(vector.Size(), 0U);
    EXPECT_EQ(alive, 0);
    vector.SetEntry("16777215", Long(1));
    EXPECT_EQ(vector.Size(), 16777216U);
    EXPECT_EQ(LongAt(vector, "16777215"), 1);
}

TEST(CValueVector, RefusesInvalidIndicesAndFreesTheValue) {
    int alive = 0;
    CValueVector vector;
    for (const char* key :
         {"", "x", "-1", "+1", " 1", "1 ", "1x", "0x1", "1.0", "99999999999999999999", "x/0"}) {
        SCOPED_TRACE(key);
        EXPECT_THROW(vector.SetEntry(key, new CCountedValue(alive)), CExBadParam);
        EXPECT_EQ(alive, 0);
    }
    EXPECT_EQ(vector.Size(), 0U);
}

TEST(CValueVector, RemovedAndDetachedEntriesLeaveAnEmptyPlace) {
    CValueVector vector(Long(0), Long(1));
    vector.PushBack(Long(2));
    EXPECT_TRUE(vector.RemoveEntry(0));
    delete vector.Detach(1);
    EXPECT_EQ(vector.Size(), 3U);
    EXPECT_FALSE(vector.HasEntry(0));
    EXPECT_FALSE(vector.HasEntry(1));
    EXPECT_EQ(LongAt(vector, 2), 2);
}

TEST(CValueVector, PushBackAppendsAndOwns) {
    int alive = 0;
    {
        CValueVector vector;
        vector.PushBack(new CCountedValue(alive));
        vector.PushBack(new CCountedValue(alive));
        vector.PushBack(nullptr);
        EXPECT_EQ(vector.Size(), 3U);
        EXPECT_EQ(alive, 2);
    }
    EXPECT_EQ(alive, 0);
}

TEST(CValueVector, OwnsElementsAddedThroughItsStdVectorBase) {
    int alive = 0;
    {
        CValueVector vector;
        vector.push_back(new CCountedValue(alive));
        EXPECT_TRUE(vector.HasEntry(0, typeid(CCountedValue)));
    }
    EXPECT_EQ(alive, 0);
}

TEST(CValueVector, EmptyPlacesAreClonedAndCompared) {
    CValueVector vector(3);
    vector.SetEntry(1, Long(1));
    const std::unique_ptr<CValue> clone(vector.Clone(CValue::TF_NONE));
    EXPECT_EQ(clone->Vector()->Size(), 3U);
    EXPECT_TRUE(clone->Equal(vector));
    vector.SetEntry(2, Long(2));
    EXPECT_FALSE(clone->Equal(vector));
    EXPECT_FALSE(vector.Equal(*clone));
    EXPECT_FALSE(vector.EqualData(*clone));
}

TEST(CValueVector, FindSkipsEmptyPlaces) {
    CValueVector vector(2);
    vector.PushBack(String("a"));
    EXPECT_EQ(vector.Find("a", {}), CValue_Key(2));
}
