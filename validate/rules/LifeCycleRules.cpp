// Rules about the order of calls, and about objects that know nothing of each other.

#include "validate/drive/CTrial.h"
#include "validate/drive/Images.h"
#include "validate/rules/RuleGroups.h"

#include <sorblib2core/CString.h>
#include <sorblib2core/CValueString.h>

namespace validate {

using namespace ORVEN;

namespace {

StShown SetupOf(CPluginBase& plugin) {
    CValueMap setup;
    plugin.GetPluginSetup(setup);
    return ShownValue(setup);
}

void SetupNamesTheVersion(CRuleRun& run) {
    CValueMap setup;
    MakePlugin(run)->GetPluginSetup(setup);
    const CValue* const version = setup.Entry("Version", true);
    if (version == nullptr || version->GenericType() != CValue::VAL_STRING || version->String().Std().empty())
        CRuleRun::Break("GetPluginSetup stores no text as \"Version\"");
}

void SetupStaysTheSame(CRuleRun& run) {
    CTrial trial(run);
    const StShown first = SetupOf(trial.Plugin());
    (void)trial.TryToRun();
    CRuleRun::BreakIf(Difference(first, SetupOf(trial.Plugin())));
}

void TestAnswersTheSame(CRuleRun& run) {
    CTrial trial(run);
    const bool wasAccepted = trial.Accepts();
    for (int i = 2; i <= 4; ++i) {
        if (trial.Accepts() != wasAccepted)
            CRuleRun::Break("TestParameters answers " + std::string(wasAccepted ? "no" : "yes") +
                            " at call " + std::to_string(i) + ", and answered otherwise before");
    }
}

void TestChangesNothingThere(CRuleRun& run) {
    CTrial trial(run);
    const auto shown = [&trial] {
        StShown all;
        all.AddValue("the tree at ", &trial.Tree());
        all.AddValue("the document at ", &trial.Document());
        all.AddImage("the image", trial.Image());
        return all;
    };
    const StShown before = shown();
    (void)trial.Accepts();
    CRuleRun::BreakIf(Difference(before, shown()));
}

void TestChangesNoResult(CRuleRun& run) {
    const StShown normal = NormalShown(run);
    const StShown tested = ShownAfter(run, [](CTrial& trial) {
        (void)trial.Accepts();
        (void)trial.Accepts();
    });
    CRuleRun::BreakIf(Difference(normal, tested));
}

/// A parameter that changes the result, with a value that does.
struct StTelling {
    Choice choice;
    StShown shown;
};

StTelling TellingChoice(CRuleRun& run, const StShown& normal) {
    for (const engine::StCatalogueParameter& parameter : run.Entry().parameters) {
        if (parameter.isIgnored || parameter.kind == engine::KIND_IMAGE || parameter.isFile)
            continue;
        for (const std::string& text : LegalTexts(parameter)) {
            const Choice choice{{parameter.key, text}};
            CTrial trial(run);
            trial.Choose(choice);
            if (trial.TryToRun())
                continue;
            if (StShown shown = trial.Shown(); shown != normal)
                return {choice, std::move(shown)};
        }
    }
    CRuleRun::Skip("no parameter changes the result of a normal run");
}

void KeepsMissingParameters(CRuleRun& run) {
    const StTelling telling = TellingChoice(run, NormalShown(run));
    CTrial trial(run);
    trial.Choose(telling.choice);
    trial.Update();
    trial.ChooseOnly({});
    (void)trial.TryToRun();
    CRuleRun::BreakIf(Difference(telling.shown, trial.Shown()));
}

void ObjectsAreIndependent(CRuleRun& run) {
    const StShown normal = NormalShown(run);
    const StTelling telling = TellingChoice(run, normal);
    CTrial first(run);
    CTrial second(run);
    second.Update();
    first.Choose(telling.choice);
    first.Update();
    const auto raised = Raised([&] { second.GetData(); });
    if (raised)
        CRuleRun::Break("one object raises after the other was updated: " + *raised);
    if (const std::string seen = Difference(normal, second.Shown()); !seen.empty())
        CRuleRun::Break("once another object has other parameters: " + seen);
}

void RunsTheLatestDocument(CRuleRun& run) {
    (void)NormalShown(run);
    const auto other = [&run] {
        auto image = NormalImage(run);
        SetSome(*image, 1, 2);
        return image;
    };
    CTrial fresh(run, other());
    if (fresh.TryToRun())
        CRuleRun::Skip("it raises for the second document");
    CTrial used(run);
    used.Update();
    used.Focus(other());
    (void)used.TryToRun();
    CRuleRun::BreakIf(Difference(fresh.Shown(), used.Shown()));
}

void WorksAfterAReset(CRuleRun& run) {
    const StShown normal = NormalShown(run);
    const StShown reset = ShownAfter(run, [](CTrial& trial) {
        trial.Plugin().Reset();
        trial.Update();
        trial.Plugin().Reset();
    });
    CRuleRun::BreakIf(Difference(normal, reset));
}

void RunsIntoAnyTree(CRuleRun& run) {
    const StShown normal = NormalShown(run);
    if (!run.Entry().parametersFor.empty())
        CRuleRun::Skip("its result is in the tree itself");
    CTrial trial(run);
    trial.Update();
    CValueMap other;
    trial.Call([&] { trial.Plugin().GetData(other); });
    trial.Documents() = TakeDocuments(other);
    CRuleRun::BreakIf(Difference(normal, trial.Shown()));
}

void KnowsItsInterfaces(CRuleRun& run) {
    const auto plugin = MakePlugin(run);
    plugin->Init(nullptr);
    if (!plugin->TestInterface(CString("IPluginObject")))
        CRuleRun::Break("TestInterface(\"IPluginObject\") answers no");
    if (plugin->TestInterface(CString("INoSuchInterface")))
        CRuleRun::Break("TestInterface(\"INoSuchInterface\") answers yes");
}

void CanBeDestroyedAtAnyPoint(CRuleRun& run) {
    const std::pair<const char*, void (*)(CTrial&)> points[] = {
        {"after its creation", [](CTrial&) {}},
        {"after the setup", [](CTrial& trial) { (void)SetupOf(trial.Plugin()); }},
        {"after the test", [](CTrial& trial) { (void)trial.Accepts(); }},
        {"after the update", [](CTrial& trial) { trial.Update(); }},
        {"after the run", [](CTrial& trial) { (void)trial.TryToRun(); }},
    };
    for (const auto& [name, go] : points) {
        if (!run.Begins(name))
            continue;
        CTrial trial(run);
        go(trial);
        trial.DestroyPlugin();
    }
    if (run.Begins("after its document")) {
        CTrial trial(run);
        trial.Update();
        trial.DestroyInput();
        trial.DestroyPlugin();
    }
}

constexpr StRule c_rules[] = {
    {"life-cycle.setup-names-the-version", EnLevel::PLUGIN, "GetPluginSetup stores a text as \"Version\".",
     "A report about a result has to say what made it.", SetupNamesTheVersion},
    {"life-cycle.setup-stays-the-same", EnLevel::PLUGIN,
     "GetPluginSetup stores the same before and after a run.", "A host asks once and keeps the answer.",
     SetupStaysTheSame},
    {"life-cycle.test-answers-the-same", EnLevel::PLUGIN,
     "TestParameters answers the same each time it is asked about the same tree.",
     "A host asks whenever it draws its menu.", TestAnswersTheSame},
    {"life-cycle.test-changes-nothing", EnLevel::PLUGIN,
     "TestParameters changes neither the tree nor the document nor the image.",
     "A host asks about images that the user never runs the plug-in on.", TestChangesNothingThere},
    {"life-cycle.test-changes-no-result", EnLevel::PLUGIN,
     "A run gives the same result however often TestParameters was called before.",
     "How often a host asks must not matter.", TestChangesNoResult},
    {"life-cycle.keeps-missing-parameters", EnLevel::PLUGIN,
     "A parameter that is missing from the tree keeps the value of an earlier update.",
     "A host may send only what has changed.", KeepsMissingParameters},
    {"life-cycle.objects-are-independent", EnLevel::PLUGIN,
     "An update of one object does not affect another one.",
     "A host may hold an object for each of its windows.", ObjectsAreIndependent},
    {"life-cycle.runs-the-latest-document", EnLevel::PLUGIN, "A run takes the document of the latest update.",
     "A host keeps an object while the user goes from image to image.", RunsTheLatestDocument},
    {"life-cycle.works-after-a-reset", EnLevel::PLUGIN,
     "After Reset, an update and a run give the usual result.",
     "A host may call Reset between any two calls.", WorksAfterAReset},
    {"life-cycle.runs-into-any-tree", EnLevel::PLUGIN,
     "GetData reads what the update has stored, and only writes to the tree that it is given.",
     "A host may collect results in a tree of their own.", RunsIntoAnyTree},
    {"life-cycle.knows-its-interfaces", EnLevel::PLUGIN,
     "TestInterface answers yes for IPluginObject and no for an unknown name.",
     "A host asks for an interface before it uses it.", KnowsItsInterfaces},
    {"life-cycle.can-be-destroyed-at-any-point", EnLevel::PLUGIN,
     "An object can be destroyed between any two calls, also after its document.",
     "A user closes windows in any order.", CanBeDestroyedAtAnyPoint},
};

} // namespace

std::span<const StRule> LifeCycleRules() { return c_rules; }

} // namespace validate
