#pragma once

#include "cli/CCommandError.h"
#include "cli/StRunInputs.h"
#include "cli/StRunOptions.h"
#include "engine/packs/CPackSet.h"
#include "engine/run/MemoryEstimate.h"
#include "engine/run/PluginCall.h"

// What `quillon run` checks and says around a run. Everything here takes a null entry for a plug-in that is
// not in a catalogue.

namespace cli {

/// Checks the parameters before the image is read. Findings are warnings on standard error or, with --strict,
/// an error with `STATUS_USAGE`.
void CheckParameters(const StRunOptions& options, const engine::StCatalogueEntry* entry,
                     engine::CPackSet& packs, const StRunInputs& inputs);

/// Raises if the plug-in writes a file that it asks for in a dialog, and the options do not name one.
void RequireFileForDialog(const StRunOptions& options, const engine::StCatalogueEntry* entry);

/// Raises `CFileError` if an output name belongs to a format that cannot hold the result, as far as type and
/// size of the result are known.
void RequireFormatsHoldResults(const StRunOptions& options, const engine::StCatalogueEntry* entry,
                               const engine::StImageOutline& image);

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

/// The error for a refused image: its type and size, what the plug-in takes, and the next step.
CCommandError RefusalOf(const StRunOptions& options, const engine::StCatalogueEntry* entry,
                        const ORVEN::CImage& image, engine::CPackSet& packs);

/// The error for a failed plug-in: its own message, and the next step on a line of its own.
CCommandError FailureOf(const StRunOptions& options, const engine::StCatalogueEntry* entry,
                        const ORVEN::CImage& image, const engine::StFailure& failure,
                        engine::CPackSet& packs);

} // namespace cli
