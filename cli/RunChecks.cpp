#include "cli/RunChecks.h"

#include "engine/catalogue/CParameterChecks.h"
#include "engine/catalogue/Refusal.h"
#include "engine/errors/CEngineError.h"
#include "engine/files/ImageWords.h"

#include <sorblib2core/CStringTools.h>
#include <sorblib2image/CQuillonHeaderTools.h>

#include <algorithm>
#include <array>
#include <cstdio>

namespace cli {

using namespace engine;

namespace {

CParameterChecks ChecksOf(const StCatalogueEntry& entry, const StRunInputs& inputs) {
    CParameterChecks checks(entry, inputs.parameters.Map());
    for (const std::string& key : inputs.parameters.SetKeys())
        checks.SetByUser(key);
    return checks;
}

/// The finding as a sentence with the next step on this command line.
std::string Sentence(const StFinding& finding, const StCatalogueEntry& entry) {
    if (finding.kind != FINDING_MISSING)
        return finding.message;
    const StCatalogueParameter* const parameter = entry.Parameter(finding.key);
    if (parameter == nullptr)
        return finding.message + "; give one with -p";
    return finding.message + "; give -p " + finding.key +
           (parameter->kind == KIND_IMAGE ? "=FILE" : "=VALUE");
}

/// Prints the findings as warnings or, if they are to be errors, raises them all.
void Report(const std::vector<StFinding>& findings, const StCatalogueEntry& entry, bool isStrict) {
    std::vector<std::string> sentences;
    for (const StFinding& finding : findings)
        sentences.push_back(Sentence(finding, entry));
    if (isStrict && !sentences.empty())
        throw CCommandError(STATUS_USAGE, sentences.front(), {sentences.begin() + 1, sentences.end()});
    for (const std::string& sentence : sentences)
        std::fprintf(stderr, "quillon: warning: %s\n", sentence.c_str());
}

/// The number with three digits and a unit that suits it.
std::string Rounded(std::int64_t bytes) {
    constexpr std::array units{"KiB", "MiB", "GiB", "TiB", "PiB", "EiB"};
    double number = static_cast<double>(bytes) / 1024;
    std::size_t unit = 0;
    for (; number >= 1000 && unit + 1 < units.size(); ++unit)
        number /= 1024;
    return ORVEN::CStringTools::Printf("%.3g ", number).append(units.at(unit));
}

std::string Bytes(std::int64_t bytes) { return std::to_string(bytes) + " bytes (" + Rounded(bytes) + ")"; }

std::string SpacingInWords(const ORVEN::CImage& image) {
    std::array<double, 3> spacing{1, 1, 1};
    ORVEN::CQuillonHeaderTools::GetSpacing(image, spacing[0], spacing[1], spacing[2]);
    std::string text;
    for (int axis = 0; axis < image.Size().Dim(); ++axis) {
        text.append(axis > 0 ? " x " : "")
            .append(ORVEN::CStringTools::Printf("%g", spacing.at(static_cast<std::size_t>(axis))));
    }
    return text;
}

/// How to get the image as that pixel type.
std::string ConversionTo(const std::string& type, EnImageSource source) {
    switch (source) {
    case IMAGE_OF_STEP_FILE:
        return "give the step \"read\": {\"as\": \"" + type + "\"}";
    case IMAGE_OF_STEP_RESULT:
        return "a step before has to make it " + type;
    case IMAGE_OF_COMMAND_LINE:
        break;
    }
    return "give --as " + type;
}

std::string NextStep(const StRefusal& refusal, const StCatalogueEntry& entry, EnImageSource source) {
    switch (refusal.remedy) {
    case REMEDY_CONVERT:
        return "it " + refusal.reason + ": " + ConversionTo(refusal.words.front(), source);
    case REMEDY_RUN_FIRST:
        return "it " + refusal.reason + ": run " + Alternatives(refusal.words) + " first";
    case REMEDY_OTHER_IMAGE:
        return "it " + refusal.reason + ": give an image with " + refusal.words.front();
    case REMEDY_UNKNOWN:
        break;
    }
    return "see 'quillon describe " + entry.name + "'";
}

/// The error for a refused image: its type and size, what the plug-in takes, and the next step.
CCommandError RefusalOf(const StRunScene& scene, CPackSet& packs) {
    const std::string message = scene.plugin + " does not take " + scene.imageName + " (" +
                                WordOfPixelType(scene.image.Type()) + ", " + SizeInWords(scene.image.Size()) +
                                ")";
    if (scene.entry == nullptr)
        return {STATUS_IMAGE_REFUSED, message + "; no catalogue says which images it takes"};
    const StRefusal refusal = ExplainRefusal(*scene.entry, scene.image, packs.Entries());
    return {STATUS_IMAGE_REFUSED, message + "; it takes " + AcceptedInWords(scene.entry->images) + "; " +
                                      NextStep(refusal, *scene.entry, scene.source)};
}

/// The error for a failed plug-in: its own message, and the next step on a line of its own.
CCommandError FailureOf(const StRunScene& scene, const StFailure& failure, CPackSet& packs) {
    const CPluginError error = ErrorOf(failure, scene.plugin);
    std::vector<std::string> lines;
    if (scene.isVerbose && !failure.source.empty())
        lines.push_back("raised by " + failure.source);
    if (const StCatalogueEntry* const entry = scene.entry) {
        std::vector<std::string> equalizing;
        if (entry->spacingUse == SPACING_REQUIRES_EQUAL && HasUnequalSpacing(scene.image))
            equalizing = PluginsSuggestedFor("equal spacing", scene.image, packs.Entries());
        lines.push_back(equalizing.empty()
                            ? "see 'quillon describe " + entry->name + "' for what it takes"
                            : "make the pixels equally long first: run " + Alternatives(equalizing));
    }
    return {ExitStatusOf(error.Fault()), error.what(), lines};
}

} // namespace

void CheckParameters(const StRunOptions& options, const StCatalogueEntry* entry, CPackSet& packs,
                     const StRunInputs& inputs) {
    if (entry == nullptr)
        return;
    const std::string& reported = inputs.parameters.ReportedPlugin();
    std::vector<StFinding> findings =
        CheckReportedPlugin(*entry, reported, reported.empty() ? nullptr : packs.FindEntry(reported));
    const std::vector<StFinding> others = ChecksOf(*entry, inputs).Findings();
    findings.insert(findings.end(), others.begin(), others.end());
    Report(findings, *entry, options.isStrict);
}

void RequireFileForDialog(const StRunOptions& options, const StCatalogueEntry* entry) {
    const bool isAnswered = options.file || options.showsWindows || options.cancelsDialogs;
    if (entry != nullptr && entry->asksForFile && !isAnswered)
        throw CCommandError(STATUS_USAGE,
                            options.plugin + " asks for the name of a table: give --file TABLE.csv");
}

StMemoryEstimate EstimateRun(const StCatalogueEntry* entry, const StImageOutline& image,
                             const StRunInputs& inputs) {
    std::int64_t furtherImages = 0;
    for (const auto& [key, file] : inputs.parameters.ImageFiles()) {
        const StImageOutline further = ReadImageOutline(file);
        furtherImages += further.size.PixelCount() * further.type.PixelSize();
    }
    return EstimateMemory(entry, image, inputs.parameters.Map(), furtherImages);
}

void PrintEstimate(const StRunOptions& options, const StImageOutline& image,
                   const StMemoryEstimate& estimate) {
    std::printf("%s on %s, %s, %s\n", options.plugin.c_str(), options.image.c_str(),
                WordOfPixelType(image.type).c_str(), SizeInWords(image.size).c_str());
    std::printf("  images     %s\n", Bytes(estimate.images).c_str());
    if (estimate.plugin)
        std::printf("  plug-in    %s, %g for each of %lld voxels\n", Bytes(*estimate.plugin).c_str(),
                    estimate.bytesPerVoxel, static_cast<long long>(estimate.voxels));
    else
        std::printf("  plug-in    unknown: the catalogue does not say\n");
    std::printf("  needed     %s%s\n", estimate.plugin ? "" : "at least ", Bytes(estimate.Needed()).c_str());
    std::printf("  available  %s\n", estimate.available ? Bytes(*estimate.available).c_str() : "unknown");
}

void WarnIfTooLarge(const StMemoryEstimate& estimate) {
    if (estimate.IsTooLarge())
        std::fprintf(stderr,
                     "quillon: warning: this run needs about %s of memory, and %s are available; use a part "
                     "of the image, or a larger machine\n",
                     Rounded(estimate.Needed()).c_str(), Rounded(*estimate.available).c_str());
}

void NoteIgnoredSpacing(const StCatalogueEntry* entry, const ORVEN::CImage& image) {
    if (entry != nullptr && entry->spacingUse == SPACING_IGNORED && HasUnequalSpacing(image))
        std::fprintf(stderr, "quillon: note: %s counts in pixels and ignores the unequal spacing %s\n",
                     entry->name.c_str(), SpacingInWords(image).c_str());
}

void CheckImage(const StRunOptions& options, const StCatalogueEntry* entry, const StRunInputs& inputs) {
    if (entry == nullptr)
        return;
    Report(ChecksOf(*entry, inputs).FindingsOn(*inputs.image), *entry, options.isStrict);
    if (!options.isQuiet)
        NoteIgnoredSpacing(entry, *inputs.image);
}

std::optional<CCommandError> ErrorOf(const StRunRecord& record, const StRunScene& scene, CPackSet& packs) {
    switch (EndOf(record)) {
    case RUN_DONE:
        break;
    case RUN_CANCELLED:
        return CCommandError(STATUS_CANCELLED, "cancelled; nothing was written");
    case RUN_DIALOG_PROBLEM:
        return CCommandError(STATUS_USAGE, *record.dialogProblem);
    case RUN_FAILED:
        return FailureOf(scene, *record.outcome.failure, packs);
    case RUN_REFUSED:
        return RefusalOf(scene, packs);
    case RUN_ERROR_BOX:
        return CCommandError(STATUS_FILE, scene.plugin + " says: " + record.errorBox->text);
    case RUN_UNUSED_ANSWER:
        return CCommandError(STATUS_USAGE, "no dialog had an input named '" + record.unusedAnswers.front() +
                                               "', so the plug-in ran without that answer");
    }
    return std::nullopt;
}

} // namespace cli
