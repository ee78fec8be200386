#include <QuillonUtils/CopyMapEntries.h>
#include <sorblib2core/CExBadParam.h>
#include <sorblib2core/CValueLong.h>

#include <gtest/gtest.h>

namespace {

using namespace ORVEN;

TEST(CopyMapEntries, PrependsThePrefixToEachKeyAndReplacesExistingEntries) {
    CValueMap source;
    source.SetEntry("Slice 1", new CValueLong(1));
    source.SetEntry("Slice 2", new CValueMap);
    source.SetEntry("Slice 2/size", new CValueLong(2));
    CValueMap target;
    target.SetEntry("X-Profile Slice 1", new CValueLong(7));
    target.SetEntry("kept", new CValueLong(8));
    CopyMapEntries(target, source, "X-Profile ");
    EXPECT_EQ(target.Size(), 3U);
    EXPECT_EQ(target.Entry("X-Profile Slice 1", true)->Long(), 1);
    EXPECT_EQ(target.Entry("X-Profile Slice 2/size", true)->Long(), 2);
    EXPECT_EQ(target.Entry("kept", true)->Long(), 8);

    target.SetEntry("X-Profile Slice 2/size", new CValueLong(9));
    EXPECT_EQ(source.Entry("Slice 2/size", true)->Long(), 2) << "the source has entries of its own";
}

TEST(CopyMapEntries, AnEmptyPrefixKeepsTheKeys) {
    CValueMap source;
    source.SetEntry("a", new CValueLong(1));
    CValueMap target;
    CopyMapEntries(target, source, "");
    EXPECT_TRUE(target.Equal(source));
}

TEST(CopyMapEntries, AnOwningPointerIsNotCopied) {
    CValueMap source;
    source.SetEntry("a", new CValueOwnedPointer<CValueMap>(new CValueMap, 1));
    CValueMap target;
    EXPECT_THROW(CopyMapEntries(target, source, ""), CExBadParam);
}

} // namespace
