#include "utils/PluginContract.h"
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

TEST(PluginContractParameters, ReadEachKindByPath) {
    CValueMap tree;
    tree.SetEntry("parameters/flag", new CValueBool(true));
    tree.SetEntry("parameters/count", new CValueLong(-7));
    tree.SetEntry("parameters/group/sigma", new CValueDouble(2.5));
    tree.SetEntry("parameters/word", Text("erosion"));
    bool flag = false;
    std::int32_t count = 0;
    double sigma = 0.0;
    CString word;
    EXPECT_TRUE(contract::ReadParameter(tree, "parameters/flag", flag));
    EXPECT_TRUE(contract::ReadParameter(tree, "parameters/count", count));
    EXPECT_TRUE(contract::ReadParameter(tree, "parameters/group/sigma", sigma));
    EXPECT_TRUE(contract::ReadParameter(tree, "parameters/word", word));
    EXPECT_TRUE(flag);
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
    bool flag = false;
    CString word("kept", CString::ENC_UTF8);
    EXPECT_FALSE(contract::ReadParameter(tree, "parameters/sigma", sigma));
    EXPECT_FALSE(contract::ReadParameter(tree, "parameters/count", count));
    EXPECT_FALSE(contract::ReadParameter(tree, "parameters/flag", flag));
    EXPECT_FALSE(contract::ReadParameter(tree, "parameters/word", word));
    EXPECT_FALSE(contract::ReadParameter(tree, "parameters/missing", sigma));
    EXPECT_EQ(sigma, 1.5);
    EXPECT_EQ(count, 4);
    EXPECT_FALSE(flag);
    EXPECT_EQ(word.Std(), "kept");
}

TEST(PluginContractHandOver, PutsADocumentThatOwnsItsImageIntoTheTree) {
    CValueMap tree;
    contract::HandOver(tree, SmallImage(), CString("result", CString::ENC_UTF8));
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

TEST(PluginContractHandOver, SeveralDocumentsStandSideBySide) {
    CValueMap tree;
    contract::HandOver(tree, SmallImage(), CString("a", CString::ENC_UTF8), 0);
    contract::HandOver(tree, SmallImage(), CString("b", CString::ENC_UTF8), 1);
    const auto documents = test::TakeDocuments(tree);
    ASSERT_EQ(documents.size(), 2U);
    EXPECT_EQ(documents[1]->EntryString("label").Std(), "b");
}

TEST(PluginContractHandOver, ATreeThatCannotTakeTheDocumentLosesNothing) {
    CValueMap tree;
    tree.SetEntry("output", Text("in the way"));
    // The sanitizer run tells whether image and document were freed.
    EXPECT_THROW(contract::HandOver(tree, SmallImage(), CString()), CExBadParam);
    EXPECT_EQ(tree.EntryString("output").Std(), "in the way");
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

TEST(PluginContractFailure, ACExceptionIsWrittenToStandardErrorAndGoesOn) {
    testing::internal::CaptureStderr();
    EXPECT_THROW(
        contract::ReportExceptions("AnyPlugin", [] { throw CException("site", "what happened", nullptr); }),
        CException);
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "AnyPlugin caught an ORVEN::CException: what happened\n");
}

/// Runs a plug-in of the pack on a small image over what an earlier run has left in the tree, and tells
/// whether an entry of that is still there.
bool KeepsEarlierOutput(const char* plugin, const IImage::CType& type, const char* entry) {
    auto image = std::make_unique<CImage>(type, CSize(4, 4, 4), CSize(0, 0, 0));
    if (type == IMAGE_BINARY_FG) {
        const CImageView<unsigned char> pixels(*image);
        pixels.Row(1, 1)[1] = pixels.Row(1, 1)[2] = pixels.Row(2, 1)[1] = pixels.Row(1, 2)[1] = 1;
    }
    test::CPackHost host(std::move(image));
    host.Set("returnImage", new CValueBool(true));
    host.Tree().SetEntry("output/other", new CValueMap);
    host.Tree().SetEntry("output/documents/other", new CValueMap);
    const auto object = test::CreatePlugin(plugin);
    testing::internal::CaptureStdout(); // what traversals tell
    object->UpdateParameters(host.Tree());
    object->GetData(host.Tree());
    (void)testing::internal::GetCapturedStdout();
    const bool isKept = host.Tree().HasEntry(entry);
    EXPECT_EQ(test::TakeDocuments(host.Tree()).size(), 1U) << plugin;
    return isKept;
}

TEST(PluginContractHandOver, SomePluginsBeginTheNewDocumentsAnew) {
    EXPECT_FALSE(KeepsEarlierOutput("GaussFilter", IMAGE_GREY_8, "output/documents/other"));
    EXPECT_FALSE(KeepsEarlierOutput("PartialDerivative", IMAGE_GREY_F, "output/documents/other"));
    EXPECT_FALSE(KeepsEarlierOutput("SphericalMorphology", IMAGE_BINARY_FG, "output/documents/other"));
    EXPECT_FALSE(KeepsEarlierOutput("Granulometry", IMAGE_BINARY_FG, "output/documents/other"));
    EXPECT_FALSE(KeepsEarlierOutput("ConvexifyObjects", IMAGE_BINARY_FG, "output/documents/other"));
    EXPECT_TRUE(KeepsEarlierOutput("GaussFilter", IMAGE_GREY_8, "output/other"));
}

TEST(PluginContractHandOver, LinearDtBeginsTheWholeOutputAnew) {
    EXPECT_FALSE(KeepsEarlierOutput("LinearDt", IMAGE_BINARY_FG, "output/other"));
}

TEST(PluginContractHandOver, OthersPutTheirDocumentAmongThoseThatAreThere) {
    EXPECT_TRUE(KeepsEarlierOutput("VoronoiEdtPlugin", IMAGE_BINARY_FG, "output/documents/other"));
    EXPECT_TRUE(KeepsEarlierOutput("CylinderMask", IMAGE_GREY_8, "output/documents/other"));
    EXPECT_TRUE(KeepsEarlierOutput("ExactMedialAxis", IMAGE_BINARY_FG, "output/documents/other"));
}

TEST(PluginContractFailure, OtherExceptionsPassUnseen) {
    testing::internal::CaptureStderr();
    EXPECT_THROW(contract::ReportExceptions("AnyPlugin", [] { throw std::bad_alloc(); }), std::bad_alloc);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

} // namespace
