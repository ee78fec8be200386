// Rules about the tree: what belongs to whom, and what may be changed.

#include "validate/drive/CTrial.h"
#include "validate/drive/Images.h"
#include "validate/rules/RuleGroups.h"

#include <sorblib2core/AreTypesEqual.h>
#include <sorblib2core/CString.h>
#include <sorblib2core/CValueDouble.h>
#include <sorblib2core/CValueVector.h>
#include <sorblib2core/UnwrapPointer.h>

#include <algorithm>
#include <initializer_list>

namespace validate {

using namespace ORVEN;

namespace {

/// Updates and calls GetData, and leaves the new documents in the tree. The trial takes them in the end.
void RunAndLeave(CTrial& trial) {
    trial.Update();
    trial.Call([&] { trial.Plugin().GetData(trial.Tree()); });
}

/// The same where a normal run is what a rule needs. Ends the check if it raises.
void RunNormallyAndLeave(CTrial& trial) {
    if (const auto raised = Raised([&] { RunAndLeave(trial); })) {
        trial.Documents() = TakeDocuments(trial.Tree());
        CRuleRun::Skip("a normal run raises: " + *raised);
    }
}

/// Breaks the rule if `shown(trial)` differs after a run.
template <class Shown>
void StaysTheSame(CRuleRun& run, const Shown& shown) {
    CTrial trial(run);
    const StShown before = shown(trial);
    (void)trial.TryToRun();
    CRuleRun::BreakIf(Difference(before, shown(trial)));
}

StShown ShownBelow(CTrial& trial, const char* path) {
    StShown shown;
    shown.AddValue(path, trial.Tree().Entry(path, true));
    return shown;
}

void KeepsTheInput(CRuleRun& run) {
    StaysTheSame(run, [](CTrial& trial) { return ShownBelow(trial, "input"); });
}

void KeepsTheParameters(CRuleRun& run) {
    if (!run.Entry().parametersFor.empty())
        CRuleRun::Skip("it is there to change the parameters");
    StaysTheSame(run, [](CTrial& trial) { return ShownBelow(trial, "parameters"); });
}

void KeepsTheDocument(CRuleRun& run) {
    StaysTheSame(run, [](CTrial& trial) {
        StShown shown;
        shown.AddValue("the document in focus at ", &trial.Document());
        return shown;
    });
}

/// A name in a map that is none of the known ones; empty if there is none.
std::string OtherName(const CValue* value, std::initializer_list<const char*> known) {
    const CValueMap* const map = value != nullptr ? value->Map() : nullptr;
    if (map == nullptr)
        return {};
    for (auto entry = map->begin(); entry != map->end(); ++entry) {
        std::string name = entry.Key().ToString();
        if (std::find(known.begin(), known.end(), name) == known.end())
            return name;
    }
    return {};
}

void WritesWhereDocumented(CRuleRun& run) {
    CTrial trial(run);
    RunNormallyAndLeave(trial);
    const auto check = [&](const char* path, std::initializer_list<const char*> known) {
        const CValue* const place = *path == '\0' ? &trial.Tree() : trial.Tree().Entry(path, true);
        if (const std::string other = OtherName(place, known); !other.empty())
            return "a run leaves \"" + std::string(path) + (*path == '\0' ? "" : "/") + other +
                   "\" in the tree";
        return std::string();
    };
    std::string seen = check("", {"input", "parameters", "output"});
    if (seen.empty())
        seen = check("output", {"documents", "views"});
    if (seen.empty())
        seen = check("output/documents", {"add"});
    if (seen.empty())
        seen = check("output/views", {"create"});
    trial.Documents() = TakeDocuments(trial.Tree());
    CRuleRun::BreakIf(seen);
}

/// What is wrong with the list of new documents.
std::string WrongInList(const CValue& list) {
    const CValueVector* const vector = list.Vector();
    if (vector == nullptr)
        return "\"output/documents/add\" is not a vector";
    for (std::size_t i = 0; i < vector->size(); ++i) {
        const CValue* const value = (*vector)[i];
        const std::string place = "\"output/documents/add/" + std::to_string(i) + "\" ";
        if (value == nullptr || value->VoidPointer() == nullptr)
            return place + "is empty";
        if (!AreTypesEqual(value, typeid(CValuePointer<CValueMap>)))
            return place + "is not a CValuePointer<CValueMap>";
        if (value->Pointer()->IsOwner())
            return place + "owns the document";
    }
    return {};
}

void LeavesDocumentsToTheHost(CRuleRun& run) {
    CTrial trial(run);
    RunNormallyAndLeave(trial);
    std::string seen;
    if (const CValue* list = trial.Tree().Entry(c_newDocuments, true))
        seen = WrongInList(*list);
    trial.Documents() = TakeDocuments(trial.Tree());
    CRuleRun::BreakIf(seen);
}

void ViewsAreComplete(CRuleRun& run) {
    CTrial trial(run);
    RunNormallyAndLeave(trial);
    std::string seen;
    const CValue* const views = trial.Tree().Entry("output/views/create", true);
    const CValueVector* const list = views != nullptr ? views->Vector() : nullptr;
    if (views != nullptr && list == nullptr)
        seen = "\"output/views/create\" is not a vector";
    for (std::size_t i = 0; list != nullptr && i < list->size(); ++i) {
        const CValueMap* const view = (*list)[i] != nullptr ? (*list)[i]->Map() : nullptr;
        const CString none;
        if (view == nullptr || view->EntryString("type", none).Std().empty())
            seen = "view " + std::to_string(i) + " has no \"type\"";
        else if (!view->HasEntry("document", typeid(CValuePointer<CValueMap>)))
            seen = "view " + std::to_string(i) + " has no \"document\"";
    }
    trial.Documents() = TakeDocuments(trial.Tree());
    CRuleRun::BreakIf(seen);
}

/// The documents in the list, which stay there.
std::vector<CValueMap*> Listed(CTrial& trial) {
    std::vector<CValueMap*> documents;
    const CValue* const list = trial.Tree().Entry(c_newDocuments, true);
    if (list == nullptr || list->Vector() == nullptr)
        return documents;
    for (CValue* value : *list->Vector()) {
        if (value != nullptr)
            documents.push_back(UnwrapPointer<CValueMap>(value));
    }
    return documents;
}

/// Takes all documents of two runs, each once.
void TakeBoth(CTrial& trial, const std::vector<CValueMap*>& first) {
    trial.Documents() = TakeDocuments(trial.Tree());
    for (CValueMap* document : first) {
        const auto isTaken = [document](const auto& taken) { return taken.get() == document; };
        if (std::none_of(trial.Documents().begin(), trial.Documents().end(), isTaken))
            trial.Documents().emplace_back(document);
    }
}

void SecondRunReplacesTheFirst(CRuleRun& run) {
    CTrial trial(run);
    RunNormallyAndLeave(trial);
    const std::vector<CValueMap*> first = Listed(trial);
    const std::size_t before = first.size();
    RunNormallyAndLeave(trial);
    const std::size_t after = Listed(trial).size();
    TakeBoth(trial, first);
    if (after != before)
        CRuleRun::Break("the list holds " + std::to_string(after) +
                        " documents after a second run, and held " + std::to_string(before));
}

void EarlierDocumentsStayTheSame(CRuleRun& run) {
    CTrial trial(run);
    RunNormallyAndLeave(trial);
    const std::vector<CValueMap*> first = Listed(trial);
    if (first.empty())
        CRuleRun::Skip("a normal run delivers no document");
    const auto shown = [&first] {
        StShown all;
        for (const CValueMap* document : first)
            all.AddDocument("an earlier document", *document);
        return all;
    };
    const StShown before = shown();
    RunNormallyAndLeave(trial);
    const std::string seen = Difference(before, shown());
    TakeBoth(trial, first);
    CRuleRun::BreakIf(seen);
}

void DeliversNothingAfterAnError(CRuleRun& run) {
    bool hasRaised = false;
    for (const auto* types : {&PixelTypes(), &OtherPixelTypes()}) {
        for (const IImage::CType& type : *types) {
            for (const int dimension : {1, 2, 3}) {
                auto image = PatternImage(type, NormalSize(dimension));
                for (const char* axis : {"x", "y", "z"})
                    image->Attributes().SetEntry(std::string("spacing/") + axis,
                                                 new CValueDouble(*axis == 'y' ? 2.0 : 1.0));
                if (!run.Begins(OutlineOf(*image)))
                    continue;
                CTrial trial(run, std::move(image));
                if (!trial.TryToRun())
                    continue;
                hasRaised = true;
                if (!trial.Documents().empty())
                    CRuleRun::Break("a run that raises delivers a document");
            }
        }
    }
    if (!hasRaised)
        CRuleRun::Skip("it raises for none of the images tried");
}

constexpr StRule c_rules[] = {
    {"tree.keeps-the-input", EnLevel::PLUGIN, "A run changes nothing below \"input\".",
     "What is there belongs to the host.", KeepsTheInput},
    {"tree.keeps-the-parameters", EnLevel::PLUGIN, "A run changes nothing below \"parameters\".",
     "A host keeps them for the next run, and for the record of this one.", KeepsTheParameters},
    {"tree.keeps-the-document", EnLevel::PLUGIN,
     "A run leaves the entries of the document in focus as they are.", "The document belongs to the host.",
     KeepsTheDocument},
    {"tree.writes-where-documented", EnLevel::PLUGIN,
     "A run writes to \"output/documents/add\" and \"output/views/create\" and nowhere else.",
     "A host neither looks for results elsewhere nor frees them there.", WritesWhereDocumented},
    {"tree.leaves-documents-to-the-host", EnLevel::PLUGIN,
     "The list of new documents has no gaps, and its pointers do not own what they point to.",
     "The host takes the documents out of the tree; an owning pointer would free them a second time.",
     LeavesDocumentsToTheHost},
    {"tree.views-are-complete", EnLevel::PLUGIN, "A request for a view has a type and a document.",
     "A host cannot show anything without them.", ViewsAreComplete},
    {"tree.second-run-replaces-the-first", EnLevel::PLUGIN,
     "A second run over the same tree puts its documents in the place of those of the first.",
     "A host that takes the list would take the old documents a second time.", SecondRunReplacesTheFirst},
    {"tree.earlier-documents-stay-the-same", EnLevel::PLUGIN,
     "A second run neither changes nor frees the documents of the first.",
     "They are the host's as soon as they are delivered.", EarlierDocumentsStayTheSame},
    {"tree.delivers-nothing-after-an-error", EnLevel::PLUGIN, "A run that raises delivers no document.",
     "A result that is only half right looks like one that is right.", DeliversNothingAfterAnError},
};

} // namespace

std::span<const StRule> TreeRules() { return c_rules; }

} // namespace validate
