// Rules about new documents. They belong to the group "tree".

#include "validate/drive/CTrial.h"
#include "validate/drive/Images.h"
#include "validate/rules/RuleGroups.h"

#include <sorblib2core/AreTypesEqual.h>
#include <sorblib2core/CString.h>
#include <sorblib2core/CValueDouble.h>
#include <sorblib2core/CValueString.h>
#include <sorblib2core/CValueVector.h>
#include <sorblib2image/CQuillonHeaderTools.h>

#include <functional>

namespace validate {

using namespace ORVEN;

namespace {

/// Runs once and calls `check` with the trial, if there are documents.
void WithDocuments(CRuleRun& run, CTrial& trial, const std::function<void(CTrial&)>& check) {
    if (const auto raised = trial.TryToRun())
        CRuleRun::Skip("a normal run raises: " + *raised);
    if (trial.Documents().empty())
        CRuleRun::Skip(run.Entry().documentsOut == 0 ? "it delivers no documents, as declared"
                                                     : "a normal run delivers no document");
    check(trial);
}

void WithDocuments(CRuleRun& run, const std::function<void(CTrial&)>& check) {
    CTrial trial(run);
    WithDocuments(run, trial, check);
}

void DocumentsOwnTheirImage(CRuleRun& run) {
    WithDocuments(run, [](CTrial& trial) {
        for (const auto& document : trial.Documents()) {
            if (ImageIn(document.get()) == nullptr)
                CRuleRun::Break("the \"content\" of a new document is not an image");
            if (!document->Entry("content", true)->Pointer()->IsOwner())
                CRuleRun::Break("a new document does not own its image");
        }
    });
}

void DocumentsHaveALabel(CRuleRun& run) {
    WithDocuments(run, [](CTrial& trial) {
        for (const auto& document : trial.Documents()) {
            const CValue* const label = document->Entry("label", true);
            if (label == nullptr || label->GenericType() != CValue::VAL_STRING)
                CRuleRun::Break("a new document has no text as \"label\"");
        }
    });
}

std::vector<std::string> HistoryOf(const IImage& image) {
    std::vector<std::string> lines;
    const CValue* const entry = image.Attributes().Entry("history", true);
    if (entry == nullptr || entry->Vector() == nullptr)
        return lines;
    for (const CValue* line : *entry->Vector())
        lines.push_back(line != nullptr ? line->String().Std() : "");
    return lines;
}

const char* const c_earlierLine = "scanned(here)";

/// Calls `check` with the history of each result of an image that has a history of one line.
void ForEachHistory(CRuleRun& run, const std::function<void(const std::vector<std::string>&)>& check) {
    CTrial trial(run);
    CQuillonHeaderTools::AddToHistory(trial.Image(), c_earlierLine, 0);
    WithDocuments(run, trial, [&](CTrial& done) {
        for (const auto& document : done.Documents()) {
            if (const CImage* image = ImageIn(document.get()))
                check(HistoryOf(*image));
        }
    });
}

void ResultsHaveALineOfHistory(CRuleRun& run) {
    ForEachHistory(run, [](const std::vector<std::string>& lines) {
        if (lines.empty() || lines.back() == c_earlierLine)
            CRuleRun::Break("the history of a result has no line by the plug-in");
    });
}

void ResultsKeepTheHistory(CRuleRun& run) {
    ForEachHistory(run, [](const std::vector<std::string>& lines) {
        if (lines.empty() || lines.front() != c_earlierLine)
            CRuleRun::Break("the history of a result does not begin with that of the input");
    });
}

void ResultsInheritAttributes(CRuleRun& run) {
    CTrial trial(run);
    trial.Image().Attributes().SetEntry("unit", new CValueString("mm", CString::NPOS));
    trial.Image().Attributes().SetEntry("kept by the host", new CValueDouble(42));
    WithDocuments(run, trial, [](CTrial& done) {
        for (const auto& document : done.Documents()) {
            const CImage* const image = ImageIn(document.get());
            for (const char* key : {"unit", "kept by the host"}) {
                if (image != nullptr && !image->Attributes().HasEntry(key))
                    CRuleRun::Break(std::string("a result lacks the attribute \"") + key + "\" of the input");
            }
        }
    });
}

StShown ShownDocuments(CTrial& trial) {
    StShown shown;
    for (const auto& document : trial.Documents())
        shown.AddDocument("a result", *document);
    return shown;
}

void ResultsOutliveTheObject(CRuleRun& run) {
    WithDocuments(run, [](CTrial& trial) {
        const StShown before = ShownDocuments(trial);
        trial.DestroyPlugin();
        CRuleRun::BreakIf(Difference(before, ShownDocuments(trial)));
    });
}

void ResultsOutliveTheInput(CRuleRun& run) {
    WithDocuments(run, [](CTrial& trial) {
        const StShown before = ShownDocuments(trial);
        trial.DestroyPlugin();
        if (ShownDocuments(trial) != before)
            CRuleRun::Skip("they do not outlive the object, see tree.results-outlive-the-object");
        trial.DestroyInput();
        CRuleRun::BreakIf(Difference(before, ShownDocuments(trial)));
    });
}

constexpr StRule c_rules[] = {
    {"tree.documents-own-their-image", EnLevel::PLUGIN, "A new document holds an image and owns it.",
     "A host frees the image with the document.", DocumentsOwnTheirImage},
    {"tree.documents-have-a-label", EnLevel::PLUGIN, "A new document has a text as its label.",
     "It is the title of the window.", DocumentsHaveALabel},
    {"tree.results-have-a-line-of-history", EnLevel::PLUGIN,
     "The history of a new image ends with a line by the plug-in.",
     "Results are kept longer than anybody remembers how they were made.", ResultsHaveALineOfHistory},
    {"tree.results-keep-the-history", EnLevel::PLUGIN,
     "The history of a new image begins with that of the input.",
     "Results are kept longer than anybody remembers how they were made.", ResultsKeepTheHistory},
    {"tree.results-inherit-attributes", EnLevel::PLUGIN,
     "A new image has the attributes of the input, also those that the plug-in does not know.",
     "Spacing, unit and position would be lost from one step to the next.", ResultsInheritAttributes},
    {"tree.results-outlive-the-object", EnLevel::PLUGIN,
     "New documents stay the same when the object is destroyed.",
     "The host destroys the object as soon as the run has ended.", ResultsOutliveTheObject},
    {"tree.results-outlive-the-input", EnLevel::PLUGIN,
     "New documents stay the same when the input is destroyed.",
     "A user closes the input and goes on with the result.", ResultsOutliveTheInput},
};

} // namespace

std::span<const StRule> ResultRules() { return c_rules; }

} // namespace validate
