// Rules about the image in focus: that it stays as it is, and that any image is run or refused.

#include "validate/drive/CTrial.h"
#include "validate/drive/Images.h"
#include "validate/rules/RuleGroups.h"

#include "engine/files/ImageWords.h"

#include <sorblib2core/CString.h>
#include <sorblib2image/CImage.h>

#include <algorithm>
#include <functional>
#include <limits>

namespace validate {

using namespace ORVEN;

namespace {

void KeepsThePixels(CRuleRun& run) {
    CTrial trial(run);
    const std::string before = PixelBytes(trial.Image());
    (void)trial.TryToRun();
    const std::string after = PixelBytes(trial.Image());
    if (after.size() != before.size() || after == before)
        return; // another size breaks a rule of its own
    const auto place = std::mismatch(before.begin(), before.end(), after.begin()).first - before.begin();
    CRuleRun::Break("a run changes pixel " +
                    std::to_string(place / static_cast<std::ptrdiff_t>(trial.Image().Type().PixelSize())) +
                    " of the input");
}

void KeepsSizeAndType(CRuleRun& run) {
    CTrial trial(run);
    const std::string before = OutlineOf(trial.Image());
    (void)trial.TryToRun();
    if (const std::string after = OutlineOf(trial.Image()); after != before)
        CRuleRun::Break("the input is " + after + " after a run and was " + before);
}

void KeepsCompanions(CRuleRun& run) {
    bool hasImages = false;
    for (const engine::StCatalogueParameter& parameter : run.Entry().parameters) {
        for (const char* type : {c_sameType, "binary"}) {
            if (parameter.kind != engine::KIND_IMAGE || !run.Begins(parameter.key + "=" + type))
                continue;
            hasImages = true;
            CTrial trial(run);
            trial.Choose({{parameter.key, type}});
            const auto shown = [&trial] {
                StShown all;
                for (const auto& image : trial.Companions())
                    all.AddImage("an image among the parameters", *image);
                return all;
            };
            const StShown before = shown();
            (void)trial.TryToRun();
            CRuleRun::BreakIf(Difference(before, shown()));
        }
    }
    if (!hasImages)
        CRuleRun::Skip("it has no images among its parameters");
}

/// The attributes without the measurements that the catalogue declares.
StShown OtherAttributes(CRuleRun& run, CTrial& trial) {
    const CValueMap& attributes = trial.Image().Attributes();
    CValueMap others(attributes);
    for (const auto& measurement : run.Entry().measurements)
        others.RemoveEntry("features/" + measurement.key.substr(0, measurement.key.find('/')));
    CValue* const features = others.Entry("features", true);
    if (features != nullptr && features->Map() != nullptr && features->Map()->IsEmpty())
        others.RemoveEntry("features");
    StShown shown;
    shown.AddValue("the attribute of the input at ", &others);
    return shown;
}

void ChangesDeclaredAttributesOnly(CRuleRun& run) {
    CTrial trial(run);
    const StShown before = OtherAttributes(run, trial);
    (void)trial.TryToRun();
    CRuleRun::BreakIf(Difference(before, OtherAttributes(run, trial)));
}

/// The result of an image over memory with a border, which is left in `memory`.
StShown ShownWithBorder(CRuleRun& run, std::vector<unsigned char>& memory, std::int64_t border) {
    const auto& images = run.Entry().images;
    auto image = PatternOver(memory, *engine::PixelTypeOfWord(images.types.front()),
                             NormalSize(NormalDimension(run.Entry()), images.minimumExtent), border);
    AddMeasurements(run, *image);
    CTrial trial(run, std::move(image));
    (void)trial.TryToRun();
    return trial.Shown();
}

void BorderHasNoEffect(CRuleRun& run) {
    const StShown normal = NormalShown(run);
    for (const std::int64_t border : {1, 3}) {
        if (!run.Begins("border " + std::to_string(border)))
            continue;
        std::vector<unsigned char> memory;
        const std::string seen = Difference(normal, ShownWithBorder(run, memory, border));
        if (!seen.empty())
            CRuleRun::Break("with a border of " + std::to_string(border) + " pixels, " + seen);
    }
}

void BorderIsNotWritten(CRuleRun& run) {
    std::vector<unsigned char> before;
    std::vector<unsigned char> after;
    const auto& images = run.Entry().images;
    (void)PatternOver(before, *engine::PixelTypeOfWord(images.types.front()),
                      NormalSize(NormalDimension(run.Entry()), images.minimumExtent), 2);
    (void)ShownWithBorder(run, after, 2);
    // Pixels of the image itself are the subject of another rule; here, they are the same.
    const auto differing = std::mismatch(before.begin(), before.end(), after.begin());
    if (differing.first != before.end() && *differing.first == before.front())
        CRuleRun::Break("a run writes to the border of the input, at byte " +
                        std::to_string(differing.first - before.begin()));
}

/// Runs, or raises; whatever else happens ends the process.
void RunOrRefuse(CRuleRun& run, std::unique_ptr<CImage> image) {
    CTrial trial(run, std::move(image));
    (void)Raised([&] { (void)trial.Accepts(); });
    (void)trial.TryToRun();
}

void SurvivesSmallExtents(CRuleRun& run) {
    const IImage::CType type = *engine::PixelTypeOfWord(run.Entry().images.types.front());
    for (int code = 0; code < 3 + 9 + 27; ++code) {
        const int dimension = code < 3 ? 1 : code < 3 + 9 ? 2 : 3;
        int digits = code < 3 ? code : code < 3 + 9 ? code - 3 : code - 3 - 9;
        std::vector<std::int64_t> extents;
        for (int axis = 0; axis < dimension; ++axis, digits /= 3)
            extents.push_back(digits % 3);
        if (run.Begins(OutlineOf(type, SizeOf(extents))))
            RunOrRefuse(run, TrialImage(run, type, SizeOf(extents)));
    }
}

/// Calls `check` with an image of each type and dimension in the entry, or of each other one.
void ForEachImage(CRuleRun& run, bool isDeclared,
                  const std::function<void(std::unique_ptr<CImage>, const std::string& outline)>& check) {
    const engine::StAcceptedImages& images = run.Entry().images;
    for (const auto* types : {&PixelTypes(), &OtherPixelTypes()}) {
        for (const IImage::CType& type : *types) {
            for (const int dimension : {1, 2, 3}) {
                const bool isListed = std::find(images.types.begin(), images.types.end(),
                                                engine::WordOfPixelType(type)) != images.types.end() &&
                                      std::find(images.dimensions.begin(), images.dimensions.end(),
                                                dimension) != images.dimensions.end();
                const CSize size = NormalSize(dimension, images.minimumExtent);
                const std::string outline = OutlineOf(type, size);
                if (isListed == isDeclared && run.Begins(outline))
                    check(TrialImage(run, type, size), outline);
            }
        }
    }
}

void SurvivesOtherTypes(CRuleRun& run) {
    ForEachImage(run, false, [&](std::unique_ptr<CImage> image, const std::string&) {
        RunOrRefuse(run, std::move(image));
    });
}

void RunsDeclaredTypes(CRuleRun& run) {
    ForEachImage(run, true, [&](std::unique_ptr<CImage> image, const std::string& outline) {
        CTrial trial(run, std::move(image));
        if (!trial.Accepts())
            return; // which breaks a rule about the catalogue
        const auto raised = trial.TryToRun();
        if (raised && trial.TryToRunWithBinaryImages())
            CRuleRun::Break("a run on " + outline + " raises: " + *raised);
    });
}

/// Calls `check` for each declared type of pixel, with an image of the greatest dimension.
void ForEachType(CRuleRun& run, const std::string& what, const std::function<void(CImage&)>& change) {
    const engine::StAcceptedImages& images = run.Entry().images;
    const CSize size = NormalSize(NormalDimension(run.Entry()), images.minimumExtent);
    for (const std::string& word : images.types) {
        if (!run.Begins(what + " in " + word))
            continue;
        auto image = TrialImage(run, *engine::PixelTypeOfWord(word), size);
        change(*image);
        RunOrRefuse(run, std::move(image));
    }
}

void SurvivesInfinityAndNaN(CRuleRun& run) {
    const auto& types = run.Entry().images.types;
    if (std::find(types.begin(), types.end(), "greyf") == types.end())
        CRuleRun::Skip("it takes no images of type greyf");
    const IImage::CType type = IMAGE_GREY_F;
    const CSize size = NormalSize(NormalDimension(run.Entry()), run.Entry().images.minimumExtent);
    const std::pair<const char*, double> values[] = {{"NaN", std::numeric_limits<double>::quiet_NaN()},
                                                     {"infinity", std::numeric_limits<double>::infinity()},
                                                     {"-infinity", -std::numeric_limits<double>::infinity()}};
    for (const auto& [name, value] : values) {
        for (const std::int64_t step : {1, 7}) {
            if (!run.Begins(std::string(name) + (step == 1 ? " everywhere" : " here and there")))
                continue;
            auto image = TrialImage(run, type, size);
            SetSome(*image, value, step);
            RunOrRefuse(run, std::move(image));
        }
    }
}

void SurvivesGreatValues(CRuleRun& run) {
    ForEachType(run, "greatest values", [](CImage& image) { SetSome(image, GreatestOf(image.Type()), 3); });
}

void SurvivesConstantImages(CRuleRun& run) {
    ForEachType(run, "0 everywhere", [](CImage& image) { Fill(image, 0); });
    ForEachType(run, "1 everywhere", [](CImage& image) { Fill(image, 1); });
}

constexpr StRule c_rules[] = {
    {"image.keeps-the-pixels", EnLevel::PLUGIN, "A run changes no pixel of the input.",
     "The input is on the user's screen, and often the only copy.", KeepsThePixels},
    {"image.keeps-size-and-type", EnLevel::PLUGIN, "A run changes neither size nor type of the input.",
     "Others hold addresses of its pixels.", KeepsSizeAndType},
    {"image.keeps-other-images", EnLevel::PLUGIN,
     "A run changes nothing about the images among its parameters.", "They are input as well.",
     KeepsCompanions},
    {"image.changes-declared-attributes-only", EnLevel::PLUGIN,
     "A run changes the attributes of the input only by the measurements that the catalogue declares.",
     "A host saves what it knows to have changed.", ChangesDeclaredAttributesOnly},
    {"image.border-has-no-effect", EnLevel::PLUGIN, "The result is the same for an image with a border.",
     "Rows of pixels need not follow each other without gaps.", BorderHasNoEffect},
    {"image.border-is-not-written", EnLevel::PLUGIN, "A run writes nothing to the border of the input.",
     "What is there belongs to somebody else.", BorderIsNotWritten},
    {"image.survives-small-extents", EnLevel::PLUGIN,
     "Images of one to three dimensions with 0, 1 or 2 pixels along each axis are run or refused.",
     "Regions that people cut out can be empty.", SurvivesSmallExtents},
    {"image.survives-other-types", EnLevel::PLUGIN,
     "A run on an image that the catalogue does not list returns or raises.",
     "A host may skip the test, as a script does.", SurvivesOtherTypes},
    {"image.runs-declared-types", EnLevel::PLUGIN,
     "A run on each type and dimension that the catalogue lists raises nothing.",
     "A host offers the plug-in for these images.", RunsDeclaredTypes},
    {"image.survives-infinity-and-nan", EnLevel::PLUGIN,
     "Pixels that are infinite or not a number do no harm.", "Quotients and reconstructions contain them.",
     SurvivesInfinityAndNaN},
    {"image.survives-the-greatest-values", EnLevel::PLUGIN,
     "Pixels of the greatest value of their type do no harm.", "Saturated detectors deliver them.",
     SurvivesGreatValues},
    {"image.survives-constant-images", EnLevel::PLUGIN, "Images with a single value do no harm.",
     "Empty slices are such images.", SurvivesConstantImages},
};

} // namespace

std::span<const StRule> ImageRules() { return c_rules; }

} // namespace validate
