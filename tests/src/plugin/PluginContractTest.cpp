#include "plugin/PluginContract.h"
#include "support/PackHost.h"
#include "support/TestImage.h"

#include <sorblib2core/CExBadParam.h>
#include <sorblib2core/CValueBool.h>
#include <sorblib2core/CValueDouble.h>
#include <sorblib2core/CValueLong.h>
#include <sorblib2core/CValueString.h>
#include <sorblib2core/UnwrapPointer.h>
#include <sorblib2image/CQuillonHeaderTools.h>

#include <gtest/gtest.h>

namespace {

using namespace ORVEN;
namespace contract = quillon::contract;

std::unique_ptr<CImage> SmallImage() {
    return test::ImageOf<unsigned char>(IMAGE_GREY_8, CSize(3, 2), {1, 2, 3, 4, 5, 6});
}

bool AcceptsAny(const CValueMap& tree) {
    return contract::AcceptsFocusedImage(tree, [](const CImage&) { return true; });
}

CValueString* Text(const char* text) { return new CValueString(text, CString::NPOS); }

TEST(PluginContractWalk, FindsTheFocusedImage) {
    test::CPackHost host(SmallImage());
    EXPECT_EQ(contract::FocusedImage(host.Tree()), &host.Image());
    EXPECT_TRUE(AcceptsAny(host.Tree()));
}

TEST(PluginContractWalk, ATreeWithoutInputIsRefusedWithoutRaising) {
    EXPECT_FALSE(AcceptsAny(CValueMap()));
    EXPECT_FALSE(test::CreatePlugin("SegmNiblack")->TestParameters(CValueMap()));
}

TEST(PluginContractWalk, EveryWrongStepIsRefused) {
    const auto refusedWith = [](const char* key, CValue* value) {
        test::CPackHost host(SmallImage());
        host.Tree().SetEntry(key, value);
        return !AcceptsAny(host.Tree());
    };
    EXPECT_TRUE(refusedWith("input", Text("no map")));
    EXPECT_TRUE(refusedWith("input/documents", new CValueLong(1)));
    EXPECT_TRUE(refusedWith("input/documents/focused", nullptr));
    EXPECT_TRUE(refusedWith("input/documents/focused", new CValueMap));
    EXPECT_TRUE(refusedWith("input/documents/focused", new CValuePointer<CValueMap>(nullptr, 1)));
    EXPECT_TRUE(refusedWith("input/documents/focused", new CValuePointer<CImage>(nullptr, 1)));
}

TEST(PluginContractWalk, AFocusedTextIsRefused) {
    test::CPackHost host(SmallImage());
    host.Tree().SetEntry("input/documents/focused", Text("focus"));
    EXPECT_FALSE(AcceptsAny(host.Tree()));
}

TEST(PluginContractWalk, AFocusedTextRaisesInTheUntypedUpdateAndIsIgnoredByTheTypedOne) {
    test::CPackHost host(SmallImage());
    host.Tree().SetEntry("input/documents/focused", Text("focus"));
    CValueMap* document = &host.Document();
    EXPECT_THROW(contract::StoreFocusedDocument(host.Tree(), document, contract::EnFocusTest::ANY_ENTRY),
                 CExBadParam);
    EXPECT_NO_THROW(
        contract::StoreFocusedDocument(host.Tree(), document, contract::EnFocusTest::POINTER_TO_DOCUMENT));
    EXPECT_EQ(document, &host.Document());
    EXPECT_THROW(test::CreatePlugin("SegmNiblack")->UpdateParameters(host.Tree()), CExBadParam);
}

TEST(PluginContractWalk, ADocumentWithoutContentIsRefused) {
    test::CPackHost host(SmallImage());
    host.Document().RemoveEntry("content");
    EXPECT_FALSE(AcceptsAny(host.Tree()));
}

TEST(PluginContractWalk, AnOwnedContentIsNoPlainPointerAndIsRefused) {
    test::CPackHost host(SmallImage());
    host.Document().SetEntry("content", new CValueOwnedPointer<CImage>(SmallImage().release(), 1));
    EXPECT_FALSE(AcceptsAny(host.Tree()));
}

TEST(PluginContractWalk, WhatTheTestRaisesIsARefusal) {
    test::CPackHost host(SmallImage());
    EXPECT_FALSE(contract::AcceptsFocusedImage(
        host.Tree(), [](const CImage&) -> bool { throw std::runtime_error("no"); }));
}

TEST(PluginContractFocus, AMissingDocumentLeavesTheOldPointer) {
    CValueMap old;
    CValueMap* document = &old;
    contract::StoreFocusedDocument(CValueMap(), document, contract::EnFocusTest::ANY_ENTRY);
    contract::StoreFocusedDocument(CValueMap(), document, contract::EnFocusTest::POINTER_TO_DOCUMENT);
    EXPECT_EQ(document, &old);
}

TEST(PluginContractFocus, AnInputWithoutDocumentClearsThePointerOnlyWhereTheInputCounts) {
    CValueMap old;
    CValueMap* document = &old;
    contract::StoreFocusedDocument(CValueMap(), document, contract::EnFocusTest::ANY_INPUT);
    CValueMap tree;
    tree.SetEntry("input", new CValueMap);
    contract::StoreFocusedDocument(tree, document, contract::EnFocusTest::ANY_ENTRY);
    contract::StoreFocusedDocument(tree, document, contract::EnFocusTest::POINTER_TO_DOCUMENT);
    EXPECT_EQ(document, &old);
    contract::StoreFocusedDocument(tree, document, contract::EnFocusTest::ANY_INPUT);
    EXPECT_EQ(document, nullptr);
}

TEST(PluginContractParameters, ReadEachKindByPath) {
    CValueMap tree;
    tree.SetEntry("parameters/flag", new CValueBool(true));
    tree.SetEntry("parameters/count", new CValueLong(-7));
    tree.SetEntry("parameters/group/sigma", new CValueDouble(2.5));
    tree.SetEntry("parameters/word", Text("erosion"));
    bool isSet = false;
    std::int32_t count = 0;
    double sigma = 0.0;
    CString word;
    EXPECT_TRUE(contract::ReadParameter(tree, "parameters/flag", isSet));
    EXPECT_TRUE(contract::ReadParameter(tree, "parameters/count", count));
    EXPECT_TRUE(contract::ReadParameter(tree, "parameters/group/sigma", sigma));
    EXPECT_TRUE(contract::ReadParameter(tree, "parameters/word", word));
    EXPECT_TRUE(isSet);
    EXPECT_EQ(count, -7);
    EXPECT_EQ(sigma, 2.5);
    EXPECT_EQ(word.Std(), "erosion");
}

TEST(PluginContractParameters, AMissingOneAndOneOfTheWrongTypeKeepTheOldValue) {
    CValueMap tree;
    tree.SetEntry("parameters/sigma", new CValueLong(3));
    tree.SetEntry("parameters/count", new CValueDouble(3.0));
    tree.SetEntry("parameters/flag", Text("true"));
    tree.SetEntry("parameters/word", new CValueBool(true));
    double sigma = 1.5;
    std::int32_t count = 4;
    bool isSet = false;
    CString word("kept", CString::ENC_UTF8);
    EXPECT_FALSE(contract::ReadParameter(tree, "parameters/sigma", sigma));
    EXPECT_FALSE(contract::ReadParameter(tree, "parameters/count", count));
    EXPECT_FALSE(contract::ReadParameter(tree, "parameters/flag", isSet));
    EXPECT_FALSE(contract::ReadParameter(tree, "parameters/word", word));
    EXPECT_FALSE(contract::ReadParameter(tree, "parameters/missing", sigma));
    EXPECT_EQ(sigma, 1.5);
    EXPECT_EQ(count, 4);
    EXPECT_FALSE(isSet);
    EXPECT_EQ(word.Std(), "kept");
}

TEST(PluginContractHandOver, PutsADocumentThatOwnsItsImageIntoTheTree) {
    CValueMap tree;
    contract::HandOver(tree, contract::EnHandOver::INTO_LIST, SmallImage(),
                       CString("result", CString::ENC_UTF8));
    EXPECT_TRUE(tree.HasEntry("output", CValue::VAL_MAP));
    EXPECT_TRUE(tree.HasEntry("output/documents", CValue::VAL_MAP));
    EXPECT_TRUE(tree.HasEntry("output/documents/add", CValue::VAL_VECTOR));
    EXPECT_TRUE(tree.HasEntry("output/documents/add/0", typeid(CValuePointer<CValueMap>)));
    const auto documents = test::TakeDocuments(tree);
    ASSERT_EQ(documents.size(), 1U);
    EXPECT_TRUE(documents[0]->HasEntry("content", typeid(CValueOwnedPointer<CImage>)));
    EXPECT_TRUE(documents[0]->Entry("content", true)->Pointer()->IsOwner());
    EXPECT_EQ(documents[0]->EntryString("label").Std(), "result");
}

TEST(PluginContractHandOver, SeveralDocumentsAreDeliveredSideBySide) {
    CValueMap tree;
    contract::HandOver(tree, contract::EnHandOver::INTO_LIST, SmallImage(), CString("a", CString::ENC_UTF8),
                       0);
    contract::HandOver(tree, contract::EnHandOver::INTO_LIST, SmallImage(), CString("b", CString::ENC_UTF8),
                       1);
    const auto documents = test::TakeDocuments(tree);
    ASSERT_EQ(documents.size(), 2U);
    EXPECT_EQ(documents[1]->EntryString("label").Std(), "b");
}

TEST(PluginContractHandOver, ATreeThatCannotTakeTheDocumentLosesNothing) {
    CValueMap tree;
    tree.SetEntry("output", Text("in the way"));
    // The sanitizer run shows whether image and document were freed.
    EXPECT_THROW(contract::HandOver(tree, contract::EnHandOver::INTO_LIST, SmallImage(), CString()),
                 CExBadParam);
    EXPECT_EQ(tree.EntryString("output").Std(), "in the way");
}

/// What is left of the earlier output of a tree after a hand-over.
struct StKept {
    bool isOutputKept, areDocumentsKept, isListKept;
    bool operator==(const StKept&) const = default;
};

StKept KeptAfter(contract::EnHandOver way) {
    CValueMap tree;
    for (const char* key : {"output/other", "output/documents/other"})
        tree.SetEntry(key, new CValueMap);
    auto stale = std::make_unique<CValueMap>();
    tree.SetEntry("output/documents/add/1", new CValuePointer<CValueMap>(stale.get(), 1));
    contract::HandOver(tree, way, SmallImage(), CString());
    const StKept kept{tree.HasEntry("output/other"), tree.HasEntry("output/documents/other"),
                      tree.HasEntry("output/documents/add/1")};
    if (kept.isListKept)
        (void)stale.release(); // taken with the other
    EXPECT_EQ(test::TakeDocuments(tree).size(), kept.isListKept ? 2U : 1U);
    return kept;
}

TEST(PluginContractHandOver, ReplacesTheRequestedPartOfTheEarlierOutput) {
    EXPECT_EQ(KeptAfter(contract::EnHandOver::NEW_OUTPUT), (StKept{false, false, false}));
    EXPECT_EQ(KeptAfter(contract::EnHandOver::NEW_DOCUMENTS), (StKept{true, false, false}));
    EXPECT_EQ(KeptAfter(contract::EnHandOver::NEW_LIST), (StKept{true, true, false}));
    EXPECT_EQ(KeptAfter(contract::EnHandOver::INTO_LIST), (StKept{true, true, true}));
}

TEST(PluginContractResult, InheritsAttributesAndAddsItsLineToTheHistory) {
    const auto source = SmallImage();
    CQuillonHeaderTools::SetSpacing(*source, 1.0, 2.0, 3.0);
    CQuillonHeaderTools::AddToHistory(*source, "scanned()", 0);
    const auto result = SmallImage();
    CQuillonHeaderTools::AddToHistory(*result, "goes()", 0);
    contract::Inherit(*result, *source, CString("mask()", CString::ENC_UTF8));
    EXPECT_EQ(test::HistoryOf(*result), (std::vector<std::string>{"scanned()", "mask()"}));
    EXPECT_EQ(test::HistoryOf(*source), (std::vector<std::string>{"scanned()"}));
    double x = 0.0;
    double y = 0.0;
    double z = 0.0;
    EXPECT_TRUE(CQuillonHeaderTools::GetSpacing(*result, x, y, z));
    EXPECT_EQ(z, 3.0);
}

TEST(PluginContractResult, TheLabelIsThatOfTheDocumentElseTheFallback) {
    CValueMap document;
    EXPECT_EQ(contract::LabelOf(document, "unnamed").Std(), "unnamed");
    document.SetEntry("label", new CValueLong(5));
    EXPECT_EQ(contract::LabelOf(document, "unnamed").Std(), "unnamed");
    document.SetEntry("label", Text(""));
    EXPECT_EQ(contract::LabelOf(document, "unnamed").Std(), "");
    document.SetEntry("label", Text("foam"));
    EXPECT_EQ(contract::LabelOf(document, "unnamed").Std(), "foam");
}

TEST(PluginContractFailure, ACExceptionIsWrittenToStandardErrorAndPropagates) {
    testing::internal::CaptureStderr();
    EXPECT_THROW(
        contract::ReportExceptions("AnyPlugin", [] { throw CException("site", "what happened", nullptr); }),
        CException);
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "AnyPlugin caught an ORVEN::CException: what happened\n");
}

TEST(PluginContractFailure, OtherExceptionsPassUnseen) {
    testing::internal::CaptureStderr();
    EXPECT_THROW(contract::ReportExceptions("AnyPlugin", [] { throw std::bad_alloc(); }), std::bad_alloc);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

} // namespace
