#pragma once

#include "cli/CCommandError.h"
#include "cli/StRunInputs.h"
#include "cli/StRunOptions.h"
#include "engine/packs/CPackSet.h"
#include "engine/run/MemoryEstimate.h"
#include "engine/run/StRunRecord.h"

#include <optional>
#include <string>

// What `quillon run` checks and says around a run. Everything here takes a null entry for a plug-in that is
// not in a catalogue.

namespace cli {

/// Checks the parameters before the image is read. Findings are warnings on standard error or, with --strict,
/// an error with `STATUS_USAGE`.
void CheckParameters(const StRunOptions& options, const engine::StCatalogueEntry* entry,
                     engine::CPackSet& packs, const StRunInputs& inputs);

/// Raises if the plug-in writes a file that it asks for in a dialog, and the options do not name one.
void RequireFileForDialog(const StRunOptions& options, const engine::StCatalogueEntry* entry);

/// The memory of the run, from the headers of all images.
engine::StMemoryEstimate EstimateRun(const engine::StCatalogueEntry* entry,
                                     const engine::StImageOutline& image, const StRunInputs& inputs);
/// Prints the estimate for --estimate.
void PrintEstimate(const StRunOptions& options, const engine::StImageOutline& image,
                   const engine::StMemoryEstimate& estimate);
/// Warns of a run that will not fit.
void WarnIfTooLarge(const engine::StMemoryEstimate& estimate);

/// Checks the parameters once more, now that the image is known, and notes a spacing that the plug-in
/// ignores.
void CheckImage(const StRunOptions& options, const engine::StCatalogueEntry* entry,
                const StRunInputs& inputs);

/// A note on standard error if the plug-in ignores that the pixels of the image are not equally long.
void NoteIgnoredSpacing(const engine::StCatalogueEntry* entry, const ORVEN::CImage& image);

/// Where the image of a run came from, and so what can be done about its type.
enum EnImageSource { IMAGE_OF_COMMAND_LINE, IMAGE_OF_STEP_FILE, IMAGE_OF_STEP_RESULT };

/// What an error of a run is about.
struct StRunScene {
    std::string plugin;
    std::string imageName;
    const engine::StCatalogueEntry* entry;
    const ORVEN::CImage& image;
    bool isVerbose = false;
    EnImageSource source = IMAGE_OF_COMMAND_LINE;
};

/// The error to end the program with; nothing if the run succeeded. An error of the plug-in gets the next
/// step on a line of its own.
std::optional<CCommandError> ErrorOf(const engine::StRunRecord& record, const StRunScene& scene,
                                     engine::CPackSet& packs);

} // namespace cli
