#include "engine/run/StRunRecord.h"

#include "support/TestImage.h"

#include <sorblib2core/CException.h>
#include <sorblib2core/CString.h>
#include <sorblib2core/CValueLong.h>
#include <sorblib2core/CValueString.h>
#include <sorblib2core/CValueVector.h>
#include <sorblib2core/UnwrapPointer.h>
#include <sorblib2image/CQuillonHeaderTools.h>
#include <sorblib2image/StImageGeometry.h>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <array>
#include <functional>
#include <string>
#include <vector>

using namespace engine;
using namespace ORVEN;

namespace {

/// Notes the calls that it gets; the data are made by the test.
class CNotingPlugin : public CPluginBase {
public:
    void GetPluginSetup(CValueMap& /*setup*/) override { calls.emplace_back("setup"); }
    void Configure(void* /*context*/, CValueMap& /*settings*/) override { calls.emplace_back("configure"); }
    bool TestParameters(const CValueMap& /*tree*/) override {
        calls.emplace_back("test");
        return accepts;
    }
    void UpdateParameters(const CValueMap& /*tree*/) override { calls.emplace_back("update"); }
    void GetData(CValueMap& tree) override {
        calls.emplace_back("data");
        if (work)
            work(tree);
    }

    bool accepts = true;
    std::function<void(CValueMap& tree)> work;
    std::vector<std::string> calls;
};

/// A plug-in, an image for it and the call.
class PluginCall : public testing::Test {
protected:
    StPluginOutcome Call() {
        return CallPlugin(plugin, {"Noting", document.get(), std::move(parameters), &settings, isForced});
    }

    static CValuePointer<CValueMap>* NewDocument(const char* label) {
        auto* made = new CValueMap;
        made->SetEntry("content", new CValueOwnedPointer<CImage>(
                                      new CImage(IMAGE_GREY_16, CSize(4, 3, 2), CSize(0, 0, 0)), 1));
        made->SetEntry("label", new CValueString(label, CString::NPOS));
        return new CValuePointer<CValueMap>(made, 1);
    }

    CNotingPlugin plugin;
    std::unique_ptr<CImage> image = test::ImageOf<std::uint8_t>(IMAGE_GREY_8, {2, 2}, {1, 2, 3, 4});
    std::unique_ptr<CValueMap> document = MakeDocument(*image, "four.png");
    std::unique_ptr<CValueMap> parameters = std::make_unique<CValueMap>();
    CValueMap settings;
    bool isForced = false;
};

using Calls = std::vector<std::string>;

/// Puts an image into the list of results, with a history of its own.
CImage& AddResult(CValueMap& tree, const CSize& size) {
    auto* result = new CImage(IMAGE_GREY_F, size, CSize(0, 0, 0));
    auto* made = new CValueMap;
    made->SetEntry("content", new CValueOwnedPointer<CImage>(result, 1));
    auto* list = new CValueVector;
    list->PushBack(new CValuePointer<CValueMap>(made, 1));
    tree.SetEntry("output/documents/add", list);
    CQuillonHeaderTools::AddToHistory(*result, "measured()", 0);
    return *result;
}

std::vector<std::string> HistoryOf(const CImage& result) {
    std::vector<std::string> lines;
    for (const CValue* line : *result.Attributes().Entry("history", true)->Vector())
        lines.push_back(line->String().Std());
    return lines;
}

} // namespace

TEST_F(PluginCall, DrivesThePluginInOrder) {
    settings.SetEntry("lut", new CValueLong(1));
    const StPluginOutcome outcome = Call();
    EXPECT_EQ(plugin.calls, (Calls{"setup", "configure", "test", "update", "data"}));
    EXPECT_EQ(outcome.isAccepted, true);
    EXPECT_FALSE(outcome.failure);
}

TEST_F(PluginCall, ConfiguresOnlyWithSettings) {
    Call();
    EXPECT_EQ(plugin.calls, (Calls{"setup", "test", "update", "data"}));
}

TEST_F(PluginCall, StopsAtARefusal) {
    plugin.accepts = false;
    const StPluginOutcome outcome = Call();
    EXPECT_EQ(plugin.calls, (Calls{"setup", "test"}));
    EXPECT_EQ(outcome.isAccepted, false);
    EXPECT_FALSE(outcome.failure);
}

TEST_F(PluginCall, ContinuesAfterARefusalIfForced) {
    plugin.accepts = false;
    isForced = true;
    const StPluginOutcome outcome = Call();
    EXPECT_EQ(plugin.calls, (Calls{"setup", "test", "update", "data"}));
    EXPECT_EQ(outcome.isAccepted, false);
}

TEST_F(PluginCall, AResultThatDoesNotStateItsOriginGetsGeometryAndHistoryOfTheImage) {
    CQuillonHeaderTools::SetSpacing(*image, 0.5, 0.25, 1.0);
    image->Attributes().SetEntry("unit", new CValueString("mm", CString::NPOS));
    CQuillonHeaderTools::AddToHistory(*image, "scanned()", 0);
    plugin.work = [](CValueMap& tree) { AddResult(tree, CSize(2, 2)); };
    const StPluginOutcome outcome = Call();
    const CImage& result = *ImageOf(*outcome.documents.at(0));
    const auto place = StImageGeometry::Of(result);
    EXPECT_EQ(place.spacing, (StImageGeometry::Vector{0.5, 0.25, 1.0}));
    EXPECT_EQ(place.unit, "mm");
    EXPECT_EQ(HistoryOf(result), (std::vector<std::string>{"scanned()", "measured()"}));
}

TEST_F(PluginCall, AResultThatHasInheritedKeepsWhatItHas) {
    CQuillonHeaderTools::SetSpacing(*image, 0.5, 0.25, 1.0);
    CQuillonHeaderTools::AddToHistory(*image, "measured()", 0);
    plugin.work = [](CValueMap& tree) {
        CQuillonHeaderTools::SetSpacing(AddResult(tree, CSize(2, 2)), 3.0, 3.0, 3.0);
    };
    const StPluginOutcome outcome = Call();
    const CImage& result = *ImageOf(*outcome.documents.at(0));
    double x = 0.0;
    double y = 0.0;
    double z = 0.0;
    ASSERT_TRUE(CQuillonHeaderTools::GetSpacing(result, x, y, z));
    EXPECT_EQ(x, 3.0);
    EXPECT_EQ(HistoryOf(result), std::vector<std::string>{"measured()"});
}

TEST_F(PluginCall, AResultOfAnotherSizeIsNotOfTheSamePixels) {
    CQuillonHeaderTools::SetSpacing(*image, 0.5, 0.25, 1.0);
    CQuillonHeaderTools::AddToHistory(*image, "scanned()", 0);
    plugin.work = [](CValueMap& tree) { AddResult(tree, CSize(2, 3)); };
    const StPluginOutcome outcome = Call();
    const CImage& result = *ImageOf(*outcome.documents.at(0));
    EXPECT_FALSE(result.Attributes().HasEntry("spacing"));
    EXPECT_EQ(HistoryOf(result), std::vector<std::string>{"measured()"});
}

TEST_F(PluginCall, OffersImageLabelAndParametersInTheTree) {
    parameters->SetEntry("radius", new CValueLong(3));
    plugin.work = [this](CValueMap& tree) {
        auto* focused = UnwrapPointer<CValueMap>(tree.Entry("input/documents/focused", true));
        ASSERT_EQ(focused, document.get());
        EXPECT_TRUE(focused->HasEntry("content", typeid(CValuePointer<CImage>)));
        EXPECT_EQ(UnwrapPointer<CImage>(focused->Entry("content", true)), image.get());
        EXPECT_EQ(focused->EntryString("label").Std(), "four.png");
        EXPECT_EQ(tree.Entry("parameters/radius", true)->Long(), 3);
    };
    Call();
}

TEST_F(PluginCall, OffersNoLabelIfThereIsNone) {
    EXPECT_FALSE(MakeDocument(*image, std::nullopt)->HasEntry("label"));
    EXPECT_TRUE(MakeDocument(*image, "")->HasEntry("label"));
}

TEST_F(PluginCall, TakesAllNewDocumentsAndViews) {
    plugin.work = [](CValueMap& tree) {
        tree.SetEntry("output/documents/add/0", NewDocument("a"));
        tree.SetEntry("output/documents/add/2", NewDocument("c"));
        tree.SetEntry("output/views/create/0/type", new CValueString("ImageAttributesView", CString::NPOS));
    };
    // The path makes a map of the view only where no number follows.
    const StPluginOutcome outcome = Call();
    ASSERT_EQ(outcome.documents.size(), 2u);
    EXPECT_EQ(LabelOf(*outcome.documents[0]), "a");
    EXPECT_EQ(LabelOf(*outcome.documents[1]), "c");
    EXPECT_EQ(outcome.views, std::vector<std::string>{"ImageAttributesView"});
}

TEST_F(PluginCall, TakesADocumentThatItsPointerOwns) {
    plugin.work = [](CValueMap& tree) {
        tree.SetEntry("output/documents/add/0", new CValueOwnedPointer<CValueMap>(new CValueMap, 1));
    };
    EXPECT_EQ(Call().documents.size(), 1u);
}

TEST_F(PluginCall, KeepsTheParametersAsThePluginLeavesThem) {
    parameters->SetEntry("radius", new CValueLong(3));
    plugin.work = [](CValueMap& tree) {
        tree.SetEntry("parameters/chosen", new CValueString("x", CString::NPOS));
    };
    EXPECT_EQ(Call().parameters.Text(), R"({"chosen":"x","radius":3})");
}

TEST_F(PluginCall, TurnsWhateverIsRaisedIntoAFailure) {
    plugin.work = [](CValueMap&) { throw CException("Site", "no good", nullptr); };
    StPluginOutcome outcome = Call();
    ASSERT_TRUE(outcome.failure);
    EXPECT_EQ(outcome.failure->source, "Site");
    EXPECT_EQ(outcome.failure->message, "no good");
    plugin.work = [](CValueMap&) { throw std::bad_alloc(); };
    outcome = Call();
    EXPECT_EQ(outcome.failure->source, "Noting");
    EXPECT_EQ(outcome.failure->message, "not enough memory for this run");
    plugin.work = [](CValueMap&) { throw std::runtime_error("oh"); };
    EXPECT_EQ(Call().failure->message, "oh");
    plugin.work = [](CValueMap&) { throw 1; };
    EXPECT_TRUE(Call().failure);
}

TEST_F(PluginCall, TakesDocumentsThatStoodThereBeforeAFailure) {
    plugin.work = [](CValueMap& tree) {
        tree.SetEntry("output/documents/add/0", NewDocument("early"));
        throw CException("Site", "late", nullptr);
    };
    EXPECT_EQ(Call().documents.size(), 1u);
}

TEST_F(PluginCall, FailsOverSomethingElseInPlaceOfADocument) {
    plugin.work = [](CValueMap& tree) { tree.SetEntry("output/documents/add/0", new CValueLong(1)); };
    EXPECT_TRUE(Call().failure);
}

TEST_F(PluginCall, IsReportedWithAllMembers) {
    parameters->SetEntry("radius", new CValueLong(3));
    plugin.work = [](CValueMap& tree) {
        tree.SetEntry("output/documents/add/0", NewDocument("a"));
        tree.SetEntry("output/documents/add/1", new CValuePointer<CValueMap>(new CValueMap, 1));
    };
    StRunRecord record;
    record.plugin = "Noting";
    record.outcome = Call();
    record.outcome.views = {"ImageAttributesView"};
    record.outcome.seconds = 0.5;
    record.outcome.peakBytes = 7;
    record.files = {"a.nrrd", ""};
    record.boxes = {{"warning", "Caption", "Text"}};
    record.standardOutput = "bytes \xff";
    EXPECT_EQ(nlohmann::json::parse(ReportText(record)), nlohmann::json::parse(R"({
        "plugin": "Noting", "accepted": true, "error": null,
        "documents": [{"label": "a", "type": "IMAGE_GREY_16", "size": [4, 3, 2], "file": "a.nrrd"},
                      {"label": "", "type": null, "size": null, "file": null}],
        "views": [{"type": "ImageAttributesView"}],
        "boxes": [{"kind": "warning", "caption": "Caption", "text": "Text"}],
        "parameters": {"radius": 3}, "stdout": "bytes \ufffd", "stderr": "", "cancelled": false, "seconds": 0.5,
        "peak_bytes": 7})"));
}

TEST_F(PluginCall, IsReportedWhenItFails) {
    plugin.work = [](CValueMap&) { throw CException("Site", "no good", nullptr); };
    StRunRecord record;
    record.outcome = Call();
    const auto report = nlohmann::json::parse(ReportText(record));
    EXPECT_EQ(report["error"], nlohmann::json::parse(R"({"source": "Site", "message": "no good"})"));
    EXPECT_EQ(report["documents"], nlohmann::json::array());
    EXPECT_EQ(report["parameters"], nlohmann::json::object());
}
