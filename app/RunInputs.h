#pragma once

#include "BatchDialogs.h"
#include "ParameterMap.h"
#include "RunOptions.h"

#include <memory>

namespace app {

/// What the command line of a run says, taken apart and checked, and the files that it names, read.
struct StRunInputs {
    CParameterMap parameters;
    CParameterMap settings;
    StDialogAnswers answers;
    std::unique_ptr<ORVEN::CImage> image;
    std::unique_ptr<ORVEN::CValueMap> document; ///< holds the image
};

/// `entry` is null for a plug-in that the catalogue does not know. Raises `CCommandError`: of status usage,
/// before any image is read, for what the command line gets wrong; of status file for files that cannot be
/// read, and for folders that results cannot be written to.
StRunInputs PrepareInputs(const StRunOptions& options, const StCatalogueEntry* entry);

} // namespace app
