#pragma once

#include "cli/StRunOptions.h"
#include "engine/dialogs/CBatchDialogs.h"
#include "engine/files/CTextOutput.h"
#include "engine/run/CParameterMap.h"

#include <memory>

namespace cli {

/// The inputs of a run: the parsed and checked options, and the contents of the files that they name.
struct StRunInputs {
    engine::CParameterMap parameters;
    engine::CParameterMap settings;
    engine::StDialogAnswers answers;
    std::unique_ptr<ORVEN::CImage> image;
    std::unique_ptr<ORVEN::CValueMap> document;   ///< holds the image
    std::unique_ptr<engine::CTextOutput> report;  ///< null if not requested
    std::unique_ptr<engine::CTextOutput> packLog; ///< null if not requested
    std::unique_ptr<engine::CTextOutput>
        pickedPipe; ///< holds open a pipe that is the answer to a file dialog
};

/// Checks the options and reads the input files. `entry` is null for a plug-in that is not in the catalogue.
/// Raises `CCommandError` with `STATUS_USAGE` for errors in the command line, before any image is read, and
/// with `STATUS_FILE` for files that cannot be read and results that cannot be written. Also raises
/// `CFileError`.
StRunInputs PrepareInputs(const StRunOptions& options, const engine::StCatalogueEntry* entry);

} // namespace cli
