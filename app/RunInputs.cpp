#include "RunInputs.h"

#include "Commands.h"
#include "ImageFile.h"
#include "PluginCall.h"
#include "Spacing.h"

#include <sorblib2image/CQuillonHeaderTools.h>

#include <unistd.h>

#include <algorithm>
#include <filesystem>

namespace app {

using namespace ORVEN;

namespace {

void RequireFolder(const std::string& file) {
    namespace fs = std::filesystem;
    std::error_code ignored;
    if (fs::is_other(file, ignored) || fs::is_character_file(file, ignored) || fs::is_fifo(file, ignored))
        return; // a device is written to as it stands
    const fs::path folder = fs::absolute(file).parent_path();
    if (!fs::is_directory(folder, ignored))
        throw CCommandError(STATUS_FILE,
                            "cannot write '" + file + "': there is no folder '" + folder.string() + "'");
    if (access(folder.c_str(), W_OK) != 0)
        throw CCommandError(STATUS_FILE, "cannot write '" + file + "': its folder cannot be written to");
    if (fs::is_directory(file, ignored))
        throw CCommandError(STATUS_FILE, "cannot write '" + file + "': it is a folder");
}

void CheckOutputs(const StRunOptions& options) {
    std::vector<std::string> files = options.outputs;
    for (const auto& file : {options.report, options.packLog}) {
        if (file)
            files.push_back(*file);
    }
    for (const std::string& file : files) {
        if (std::count(files.begin(), files.end(), file) > 1)
            throw CCommandError(STATUS_USAGE, "'" + file + "' is to be written twice");
    }
    for (const std::string& file : options.outputs)
        RequireImageFileName(file);
    for (const std::string& file : files)
        RequireFolder(file);
}

std::optional<IImage::CType> PixelType(const StRunOptions& options) {
    if (!options.pixelType)
        return std::nullopt;
    const auto type = PixelTypeOfWord(*options.pixelType);
    if (!type)
        throw CCommandError(STATUS_USAGE, "--as: '" + *options.pixelType +
                                              "' is none of binary, grey8, grey16, grey32, greyf");
    return type;
}

StWidgetAnswer ParseAnswer(const std::string& text) {
    const auto equals = text.find('=');
    if (equals == std::string::npos || equals == 0)
        throw CCommandError(STATUS_USAGE, "'" + text + "' is not of the form NAME=VALUE");
    return {text.substr(0, equals), text.substr(equals + 1)};
}

StDialogAnswers ParseAnswers(const StRunOptions& options) {
    StDialogAnswers answers;
    for (const std::string& text : options.answers)
        answers.widgets.push_back(ParseAnswer(text));
    for (const std::string& text : options.choices) {
        answers.widgets.push_back(ParseAnswer(text));
        answers.widgets.back().objectName.insert(0, "choice:");
    }
    answers.file = options.file;
    answers.cancel = options.cancelsDialogs;
    return answers;
}

} // namespace

StRunInputs PrepareInputs(const StRunOptions& options, const StCatalogueEntry* entry) {
    StRunInputs inputs{CParameterMap("parameter", entry != nullptr ? &entry->parameters : nullptr),
                       CParameterMap("setting", entry != nullptr ? &entry->settings : nullptr),
                       ParseAnswers(options), nullptr, nullptr};
    if (options.parametersFile)
        inputs.parameters.ReadFile(*options.parametersFile);
    for (const std::string& text : options.parameters)
        inputs.parameters.Set(ParseAssignment(text));
    if (!options.isBare && !options.parametersFile)
        inputs.parameters.FillDefaults();
    for (const std::string& text : options.settings)
        inputs.settings.Set(ParseAssignment(text));
    const auto type = PixelType(options);
    std::optional<std::array<double, 3>> spacing;
    if (options.spacing)
        spacing = ParseSpacing(*options.spacing);
    CheckOutputs(options);

    inputs.image = ReadImage(options.image, type);
    if (spacing)
        CQuillonHeaderTools::SetSpacing(*inputs.image, (*spacing)[0], (*spacing)[1], (*spacing)[2]);
    inputs.parameters.ReadImages();
    inputs.settings.ReadImages();
    std::optional<std::string> label;
    if (!options.hasNoLabel)
        label = options.label.value_or(std::filesystem::path(options.image).filename().string());
    inputs.document = MakeDocument(*inputs.image, label);
    return inputs;
}

} // namespace app
