// Rules about the truth of a catalogue: images, results and dialogs. They belong to the group "truth".

#include "engine/dialogs/CBatchDialogs.h"
#include "engine/files/ImageWords.h"
#include "validate/drive/CDialogCount.h"
#include "validate/drive/CTrial.h"
#include "validate/drive/Images.h"
#include "validate/rules/RuleGroups.h"

#include <sorblib2core/CValueDouble.h>
#include <sorblib2image/CQuillonHeaderTools.h>

#include <algorithm>
#include <optional>
#include <utility>

namespace validate {

using namespace ORVEN;

namespace {

bool Contains(const std::vector<std::string>& words, const std::string& word) {
    return std::find(words.begin(), words.end(), word) != words.end();
}

/// Calls `check` with an image of each of the catalogue's types and dimensions, and whether the entry lists
/// it.
template <class Check>
void ForEachWord(CRuleRun& run, bool isListed, const Check& check) {
    const engine::StAcceptedImages& images = run.Entry().images;
    for (const std::string& word : engine::PixelTypeWords()) {
        for (const int dimension : {1, 2, 3}) {
            const bool isDeclared =
                Contains(images.types, word) && std::find(images.dimensions.begin(), images.dimensions.end(),
                                                          dimension) != images.dimensions.end();
            const CSize size = NormalSize(dimension, images.minimumExtent);
            const IImage::CType type = *engine::PixelTypeOfWord(word);
            if (isDeclared == isListed && run.Begins(OutlineOf(type, size)))
                check(type, size);
        }
    }
}

void DeclaredImagesAreAccepted(CRuleRun& run) {
    ForEachWord(run, true, [&run](const IImage::CType& type, const CSize& size) {
        CTrial trial(run, TrialImage(run, type, size));
        if (!trial.Accepts())
            CRuleRun::Break("TestParameters refuses " + OutlineOf(type, size) +
                            ", which the catalogue lists");
    });
}

void OtherImagesAreRefused(CRuleRun& run) {
    ForEachWord(run, false, [&run](const IImage::CType& type, const CSize& size) {
        CTrial trial(run, TrialImage(run, type, size));
        if (trial.Accepts())
            CRuleRun::Break("TestParameters accepts " + OutlineOf(type, size) +
                            ", which the catalogue does not list");
    });
}

void MinimumExtentIsTrue(CRuleRun& run) {
    const engine::StAcceptedImages& images = run.Entry().images;
    const IImage::CType type = *engine::PixelTypeOfWord(images.types.front());
    const int dimension = NormalDimension(run.Entry());
    const auto isAccepted = [&](std::int64_t extent) {
        const std::vector<std::int64_t> extents(static_cast<std::size_t>(dimension), extent);
        CTrial trial(run, TrialImage(run, type, SizeOf(extents)));
        return trial.Accepts();
    };
    const std::string least = std::to_string(images.minimumExtent);
    if (!isAccepted(images.minimumExtent))
        CRuleRun::Break("TestParameters refuses " + least +
                        " pixels along each axis, which the catalogue allows");
    if (images.minimumExtent > 0 && isAccepted(images.minimumExtent - 1))
        CRuleRun::Break("TestParameters accepts fewer than " + least +
                        " pixels along each axis, the least that the catalogue allows");
}

void MeasuredImagesAreRequired(CRuleRun& run) {
    const engine::StAcceptedImages& images = run.Entry().images;
    if (images.after.empty())
        CRuleRun::Skip("it needs no measurement");
    CTrial measured(run);
    if (!measured.Accepts())
        CRuleRun::Break("TestParameters refuses an image that carries what the catalogue asks for");
    CTrial plain(run, PatternImage(*engine::PixelTypeOfWord(images.types.front()),
                                   NormalSize(NormalDimension(run.Entry()), images.minimumExtent)));
    if (plain.Accepts())
        CRuleRun::Break(
            "TestParameters accepts an image without the measurement that the catalogue asks for");
}

/// A trial that has run normally. Ends the check as inapplicable if that raises.
void RunNormally(CTrial& trial) {
    if (const auto raised = trial.TryToRun())
        CRuleRun::Skip("a normal run raises: " + *raised);
}

void DeliversAsManyAsDeclared(CRuleRun& run) {
    CTrial trial(run);
    RunNormally(trial);
    if (std::cmp_greater(trial.Documents().size(), run.Entry().documentsOut))
        CRuleRun::Break("a run delivers " + std::to_string(trial.Documents().size()) +
                        " documents; the catalogue allows " + std::to_string(run.Entry().documentsOut));
}

void ResultTypesAreTrue(CRuleRun& run) {
    const std::vector<std::string>& declared = run.Entry().resultTypes;
    if (declared.empty())
        CRuleRun::Skip("it declares no types of results");
    ForEachWord(run, true, [&](const IImage::CType& type, const CSize& size) {
        CTrial trial(run, TrialImage(run, type, size));
        if (trial.TryToRun())
            return; // which breaks a rule of its own
        for (const auto& document : trial.Documents()) {
            const CImage* const image = ImageIn(document.get());
            const std::string word = image != nullptr ? engine::WordOfPixelType(image->Type()) : "";
            const bool isSame = image != nullptr && image->Type() == type && Contains(declared, "same");
            if (image != nullptr && !isSame && !Contains(declared, word))
                CRuleRun::Break("the result of " + OutlineOf(type, size) + " is of type " + word +
                                ", which the catalogue does not list");
        }
    });
}

void ResultSizeIsTrue(CRuleRun& run) {
    if (run.Entry().changesSize)
        CRuleRun::Skip("its results can have another size, as declared");
    CTrial trial(run);
    const CSize size = trial.Image().Size();
    RunNormally(trial);
    for (const auto& document : trial.Documents()) {
        const CImage* const image = ImageIn(document.get());
        if (image != nullptr && !(image->Size() == size))
            CRuleRun::Break("the result is " + OutlineOf(*image) +
                            ", and the catalogue does not say that the size can change");
    }
}

void MeasurementsAreStored(CRuleRun& run) {
    const auto& measurements = run.Entry().measurements;
    if (measurements.empty())
        CRuleRun::Skip("it declares no measurements");
    CTrial trial(run);
    RunNormally(trial);
    std::vector<const CImage*> images{&trial.Image()};
    for (const auto& document : trial.Documents())
        images.push_back(ImageIn(document.get()));
    for (const CImage* image : images) {
        for (const auto& measurement : measurements) {
            if (image != nullptr && image->Attributes().HasEntry("features/" + measurement.key))
                return;
        }
    }
    CRuleRun::Break("a run stores none of the measurements that the catalogue declares");
}

void DialogsAreAsDeclared(CRuleRun& run) {
    NeedApplication();
    const CDialogCount count;
    std::optional<engine::CBatchDialogs> answers; // for what opens against the declaration
    if (!run.Entry().opensDialogs)
        answers.emplace(engine::StDialogAnswers{});
    CTrial trial(run);
    RunNormally(trial);
    if (run.Entry().opensDialogs && count.Windows() == 0)
        CRuleRun::Break("the catalogue declares dialogs, and none opens");
    if (!run.Entry().opensDialogs && count.Windows() > 0)
        CRuleRun::Break("the catalogue declares no dialogs, and one opens");
}

void FilesAreAsDeclared(CRuleRun& run) {
    NeedApplication();
    const CDialogCount count;
    CTrial trial(run);
    RunNormally(trial);
    if (run.Entry().asksForFile && count.FileDialogs() == 0)
        CRuleRun::Break("the catalogue declares a file dialog, and none opens");
    if (!run.Entry().asksForFile && count.FileDialogs() > 0)
        CRuleRun::Break("the catalogue declares no file dialog, and one opens");
}

void SetSpacing(CImage& image, double x, double y, double z) {
    CQuillonHeaderTools::SetSpacing(image, x, y, z);
}

StShown PixelsOf(CTrial& trial) {
    StShown shown;
    for (const auto& document : trial.Documents()) {
        if (const CImage* image = ImageIn(document.get())) {
            CImage plain(*image); // a copy has no attributes
            shown.AddImage("the result", plain);
        }
    }
    return shown;
}

void SpacingIsUsedAsDeclared(CRuleRun& run) {
    const engine::EnSpacingUse use = run.Entry().spacingUse;
    if (use == engine::SPACING_UNKNOWN || use == engine::SPACING_USED)
        CRuleRun::Skip("it declares nothing that could be false");
    (void)NormalShown(run);
    CTrial equal(run);
    SetSpacing(equal.Image(), 2, 2, 2);
    CTrial unequal(run);
    SetSpacing(unequal.Image(), 2, 3, 5);
    const auto raisedForEqual = equal.TryToRun();
    const auto raised = unequal.TryToRun();
    if (use == engine::SPACING_REQUIRES_EQUAL) {
        if (!raised)
            CRuleRun::Break("the catalogue says that it refuses unequal spacing, and it runs");
        return;
    }
    if (raised && !raisedForEqual)
        CRuleRun::Break("it refuses unequal spacing, which the catalogue does not say: " + *raised);
    if (const std::string seen = Difference(PixelsOf(equal), PixelsOf(unequal)); !seen.empty())
        CRuleRun::Break("the catalogue says that spacing has no effect, and with another one, " + seen);
}

constexpr StRule c_rules[] = {
    {"truth.declared-images-are-accepted", EnLevel::PLUGIN,
     "TestParameters accepts each type and dimension that the catalogue lists.",
     "Documentation and menus are made from it.", DeclaredImagesAreAccepted},
    {"truth.other-images-are-refused", EnLevel::PLUGIN,
     "TestParameters refuses each type and dimension that the catalogue does not list.",
     "The catalogue explains a refusal; it has to know of it.", OtherImagesAreRefused},
    {"truth.minimum-extent-is-true", EnLevel::PLUGIN,
     "TestParameters accepts the declared minimum extent, and nothing below it.",
     "The catalogue explains a refusal; it has to know of it.", MinimumExtentIsTrue},
    {"truth.measured-images-are-required", EnLevel::PLUGIN,
     "TestParameters accepts an image exactly if it carries the measurement that the catalogue asks for.",
     "A refusal names the plug-in to run first.", MeasuredImagesAreRequired},
    {"truth.delivers-as-many-as-declared", EnLevel::PLUGIN,
     "A run delivers at most as many documents as the catalogue says.",
     "A command line needs a name for each of them.", DeliversAsManyAsDeclared},
    {"truth.result-types-are-true", EnLevel::PLUGIN, "New images are of the declared types.",
     "A chain of steps is checked before it runs.", ResultTypesAreTrue},
    {"truth.result-size-is-true", EnLevel::PLUGIN,
     "New images have the size of the input, unless the catalogue says otherwise.",
     "Memory is estimated before a run.", ResultSizeIsTrue},
    {"truth.measurements-are-stored", EnLevel::PLUGIN,
     "A run stores a measurement that the catalogue declares.", "Tables and plots are made from it.",
     MeasurementsAreStored},
    {"truth.dialogs-are-as-declared", EnLevel::PLUGIN,
     "A run opens a dialog or message box exactly if the catalogue says so.",
     "A batch has to answer them, and a host without windows cannot.", DialogsAreAsDeclared},
    {"truth.files-are-as-declared", EnLevel::PLUGIN,
     "A run asks for a file exactly if the catalogue says so.", "A command line needs a name for it.",
     FilesAreAsDeclared},
    {"truth.spacing-is-used-as-declared", EnLevel::PLUGIN,
     "A plug-in that is declared to ignore spacing has the same result with any, and one that is declared to "
     "refuse "
     "unequal spacing refuses it.",
     "Lengths of one sample would be wrong in another one.", SpacingIsUsedAsDeclared},
    {"truth.deviations-are-needed", EnLevel::PLUGIN,
     "Each deviation that the catalogue declares is one from a rule that exists and that the plug-in breaks.",
     "A declaration that is no longer needed would hide the next fault.", nullptr},
};

} // namespace

std::span<const StRule> ResultTruthRules() { return c_rules; }

} // namespace validate
