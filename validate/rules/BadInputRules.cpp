// Rules about trees that no sensible host sends. They belong to the group "life-cycle": an object survives
// them.

#include "validate/drive/CTrial.h"
#include "validate/drive/Rubbish.h"
#include "validate/rules/RuleGroups.h"

#include <sorblib2core/CException.h>
#include <sorblib2core/CString.h>
#include <sorblib2core/CValueString.h>

#include <functional>
#include <new>

namespace validate {

using namespace ORVEN;

namespace {

/// Calls `check` with an object and each kind of tree that has no image in focus.
void ForEachBadTree(CRuleRun& run, const std::function<void(CTrial&, const std::string& name)>& check) {
    const auto visit = [&](const StBadTree& bad) {
        if (!run.Begins(bad.name))
            return;
        CTrial trial(run);
        bad.spoil(trial.Tree(), trial.Document());
        check(trial, bad.name);
    };
    for (const StBadTree& bad : c_incompleteTrees)
        visit(bad);
    for (const StBadTree& bad : c_mistakenTrees)
        visit(bad);
}

void TestNeverRaises(CRuleRun& run) {
    ForEachBadTree(run, [](CTrial& trial, const std::string& name) {
        if (const auto raised = Raised([&] { (void)trial.Accepts(); }))
            CRuleRun::Break("with " + name + ", TestParameters raises: " + *raised);
    });
}

void TestRefusesTreesWithoutAnImage(CRuleRun& run) {
    ForEachBadTree(run, [](CTrial& trial, const std::string& name) {
        bool isAccepted = false;
        (void)Raised([&] { isAccepted = trial.Accepts(); });
        if (isAccepted)
            CRuleRun::Break("TestParameters accepts a tree with " + name);
    });
}

void UpdateSurvivesBadTrees(CRuleRun& run) {
    const auto update = [](CTrial& trial, const std::string&) { (void)Raised([&] { trial.Update(); }); };
    ForEachBadTree(run, update);
    if (run.Begins("a document for the image")) {
        CTrial trial(run);
        trial.Document().SetEntry("content", new CValuePointer<CValueMap>(&trial.Document(), 1));
        update(trial, "");
    }
}

/// Nothing, or what was raised that is neither a `CException` nor `std::bad_alloc`.
std::string ForeignException(const std::function<void()>& call) {
    try {
        call();
    } catch (const CException&) {
    } catch (const std::bad_alloc&) {
    } catch (const std::exception& error) {
        return std::string("an exception of another kind is raised: ") + error.what();
    } catch (...) {
        return "something other than an exception is raised";
    }
    return {};
}

void RaisesHostExceptionsOnly(CRuleRun& run) {
    ForEachBadTree(run, [](CTrial& trial, const std::string& name) {
        const std::string seen = ForeignException([&] { trial.Run(); });
        if (!seen.empty())
            CRuleRun::Break("with " + name + ", " + seen);
    });
}

void DoesNothingWithoutADocument(CRuleRun& run) {
    for (const StBadTree& bad : c_incompleteTrees) {
        if (!run.Begins(bad.name))
            continue;
        CTrial trial(run);
        bad.spoil(trial.Tree(), trial.Document());
        (void)Raised([&] { trial.Run(); });
        if (!trial.Documents().empty())
            CRuleRun::Break(std::string("with ") + bad.name + ", a run delivers a document");
    }
}

void DoesNothingWithoutAnUpdate(CRuleRun& run) {
    CTrial trial(run);
    (void)Raised([&] { trial.GetData(); });
    if (!trial.Documents().empty())
        CRuleRun::Break("a run without an update delivers a document");
}

void WorksAfterAnError(CRuleRun& run) {
    const StShown normal = NormalShown(run);
    for (const StBadTree& bad : c_mistakenTrees) {
        if (!run.Begins(bad.name))
            continue;
        CTrial trial(run);
        CValueMap tree;
        CValueMap document;
        document.SetEntry("label", new CValueString("bad", CString::NPOS));
        tree.SetEntry("input/documents/focused", new CValuePointer<CValueMap>(&document, 1));
        bad.spoil(tree, document);
        (void)Raised([&] {
            trial.Call([&] {
                trial.Plugin().UpdateParameters(tree);
                trial.Plugin().GetData(tree);
            });
        });
        (void)TakeDocuments(tree);
        (void)trial.TryToRun();
        if (const std::string seen = Difference(normal, trial.Shown()); !seen.empty())
            CRuleRun::Break(std::string("after a tree with ") + bad.name + ": " + seen);
    }
}

/// The paths of all parameters, and of the groups that they are in.
std::vector<std::string> ParameterPaths(const engine::StCatalogueEntry& entry) {
    std::vector<std::string> paths{"parameters"};
    for (const auto& parameter : entry.parameters) {
        for (std::size_t slash = parameter.key.find('/'); slash != std::string::npos;
             slash = parameter.key.find('/', slash + 1))
            paths.push_back("parameters/" + parameter.key.substr(0, slash));
        paths.push_back("parameters/" + parameter.key);
    }
    return paths;
}

template <class Rubbish>
void SurvivesAtEachPath(CRuleRun& run, const Rubbish& rubbish) {
    for (const std::string& path : ParameterPaths(run.Entry())) {
        for (const StRubbish& value : rubbish) {
            if (!run.Begins(std::string(value.name) + " at " + path))
                continue;
            CTrial trial(run);
            trial.Tree().SetEntry(path, value.create());
            (void)Raised([&] { (void)trial.Accepts(); });
            (void)trial.TryToRun();
        }
    }
}

void SurvivesRubbish(CRuleRun& run) { SurvivesAtEachPath(run, c_everyKind); }

void SurvivesExtremeNumbers(CRuleRun& run) {
    if (run.Entry().parameters.empty())
        CRuleRun::Skip("it has no parameters");
    SurvivesAtEachPath(run, c_extremeNumbers);
}

void SurvivesMissingParameters(CRuleRun& run) {
    std::vector<std::string> paths = ParameterPaths(run.Entry());
    for (const std::string& path : paths) {
        if (!run.Begins("no " + path))
            continue;
        CTrial trial(run);
        trial.Tree().RemoveEntry(path);
        (void)trial.TryToRun();
    }
}

void SurvivesRubbishSettings(CRuleRun& run) {
    const auto configureAndRun = [&run](CValueMap& settings) {
        CTrial trial(run);
        (void)Raised([&] { trial.Plugin().Configure(nullptr, settings); });
        (void)trial.TryToRun();
    };
    CValueMap empty;
    configureAndRun(empty);
    std::vector<std::string> keys{"no such setting"};
    for (const auto& setting : run.Entry().settings)
        keys.push_back(setting.key);
    for (const std::string& key : keys) {
        for (const StRubbish& value : c_everyKind) {
            if (!run.Begins(std::string(value.name) + " at " + key))
                continue;
            CValueMap settings;
            settings.SetEntry(key, value.create());
            configureAndRun(settings);
        }
    }
}

constexpr StRule c_rules[] = {
    {"life-cycle.test-never-raises", EnLevel::PLUGIN,
     "TestParameters raises nothing, whatever is missing from the tree or of another kind.",
     "A host asks while nothing is open yet.", TestNeverRaises},
    {"life-cycle.test-refuses-trees-without-an-image", EnLevel::PLUGIN,
     "TestParameters answers no for a tree without an image in focus.",
     "A host offers what a plug-in accepts.", TestRefusesTreesWithoutAnImage},
    {"life-cycle.update-survives-bad-trees", EnLevel::PLUGIN,
     "UpdateParameters returns or raises, whatever is missing from the tree or of another kind.",
     "A crash takes all open images with it.", UpdateSurvivesBadTrees},
    {"life-cycle.raises-host-exceptions-only", EnLevel::PLUGIN,
     "UpdateParameters and GetData raise nothing but CException and std::bad_alloc.",
     "A host catches these, and shows their message.", RaisesHostExceptionsOnly},
    {"life-cycle.does-nothing-without-a-document", EnLevel::PLUGIN,
     "A run without a document or image delivers nothing.",
     "What is delivered would be the result of an image that nobody has.", DoesNothingWithoutADocument},
    {"life-cycle.does-nothing-without-an-update", EnLevel::PLUGIN,
     "GetData before the first update returns or raises, and delivers nothing.",
     "An object that was never updated has no input.", DoesNothingWithoutAnUpdate},
    {"life-cycle.works-after-an-error", EnLevel::PLUGIN,
     "After a tree that it cannot use, an object gives the usual result for one that it can.",
     "A host keeps an object while the user corrects the input.", WorksAfterAnError},
    {"life-cycle.survives-rubbish-parameters", EnLevel::PLUGIN,
     "A value of any kind at any key of the parameters is read, ignored or refused.",
     "Parameters come from forms, scripts and files.", SurvivesRubbish},
    {"life-cycle.survives-extreme-numbers", EnLevel::PLUGIN,
     "The least and greatest numbers, infinity and NaN at any key are used, ignored or refused.",
     "Parameters come from forms, scripts and files.", SurvivesExtremeNumbers},
    {"life-cycle.survives-missing-parameters", EnLevel::PLUGIN,
     "A tree without any one of the parameters, or without all of them, is run or refused.",
     "A host may leave out what it does not know.", SurvivesMissingParameters},
    {"life-cycle.survives-rubbish-settings", EnLevel::PLUGIN,
     "Configure takes, ignores or refuses values of any kind, and a run after it returns or raises.",
     "Settings come from files.", SurvivesRubbishSettings},
};

} // namespace

std::span<const StRule> BadInputRules() { return c_rules; }

} // namespace validate
