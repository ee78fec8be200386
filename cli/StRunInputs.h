#pragma once

#include "cli/StRunOptions.h"
#include "engine/dialogs/CBatchDialogs.h"
#include "engine/files/CTextOutput.h"
#include "engine/run/CParameterMap.h"
#include "engine/run/PluginRun.h"

#include <map>
#include <memory>
#include <optional>

namespace cli {

/// The inputs of a run: the parsed and checked options and, after `ReadInputs`, the images that they name.
struct StRunInputs {
    engine::CParameterMap parameters;
    engine::CParameterMap settings;
    engine::StDialogAnswers answers;
    std::optional<ORVEN::IImage::CType> type;              ///< to read the image as
    engine::StInputFile file;                              ///< of the image
    std::map<std::string, engine::StInputFile> imageFiles; ///< among the parameters, by key
    std::unique_ptr<ORVEN::CImage> image;
    std::unique_ptr<ORVEN::CValueMap> document;   ///< holds the image
    std::unique_ptr<engine::CTextOutput> report;  ///< null if not requested
    std::unique_ptr<engine::CTextOutput> packLog; ///< null if not requested
    std::unique_ptr<engine::CTextOutput>
        pickedPipe; ///< holds open a pipe that is the answer to a file dialog
};

/// Checks the options and reads files of parameters, but no image. `entry` is null for a plug-in that is not
/// in the catalogue. Raises `CCommandError` with `STATUS_USAGE` for errors in the command line, before any
/// image is read, and with `STATUS_FILE` for files that cannot be read and results that cannot be written.
/// Also raises `CFileError`.
StRunInputs PrepareInputs(const StRunOptions& options, const engine::StCatalogueEntry* entry);

/// The outputs of a run are checked for names that cannot work, and pipes are opened.
void PrepareOutputs(const StRunOptions& options, const engine::StCatalogueEntry* entry, StRunInputs& inputs);

/// Reads the images.
void ReadInputs(const StRunOptions& options, StRunInputs& inputs);

} // namespace cli
