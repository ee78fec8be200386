#pragma once

#include "cli/StRunOptions.h"
#include "engine/dialogs/CBatchDialogs.h"
#include "engine/files/CTextOutput.h"
#include "engine/run/CParameterMap.h"

#include <memory>

namespace cli {

/// What the command line of a run says, taken apart and checked, and the files that it names, read.
struct StRunInputs {
    engine::CParameterMap parameters;
    engine::CParameterMap settings;
    engine::StDialogAnswers answers;
    std::unique_ptr<ORVEN::CImage> image;
    std::unique_ptr<ORVEN::CValueMap> document;   ///< holds the image
    std::unique_ptr<engine::CTextOutput> report;  ///< null if none is asked for
    std::unique_ptr<engine::CTextOutput> packLog; ///< null if none is asked for
    std::unique_ptr<engine::CTextOutput>
        pickedPipe; ///< keeps a pipe open that a file dialog is answered with
};

/// `entry` is null for a plug-in that the catalogue does not know. Raises `CCommandError`: of status usage,
/// before any image is read, for what the command line gets wrong; of status file for files that cannot be
/// read, and for results that cannot be written; and `CFileError`.
StRunInputs PrepareInputs(const StRunOptions& options, const engine::StCatalogueEntry* entry);

} // namespace cli
