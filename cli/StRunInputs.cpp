#include "cli/StRunInputs.h"

#include "cli/Commands.h"
#include "cli/StandardStreams.h"
#include "engine/files/ImageFile.h"
#include "engine/files/ImageWords.h"
#include "engine/files/OutputChecks.h"
#include "engine/run/PluginCall.h"

#include <filesystem>

namespace cli {

using namespace engine;

using namespace ORVEN;

namespace {

/// The outputs that are not images.
std::vector<std::string> OtherOutputs(const StRunOptions& options) {
    std::vector<std::string> files;
    for (const auto& file : {options.report, options.packLog, options.file}) {
        if (file && !IsDeviceOrPipe(*file))
            files.push_back(*file);
    }
    return files;
}

std::unique_ptr<CTextOutput> OpenText(const std::optional<std::string>& path) {
    if (!path)
        return nullptr;
    if (!IsDeviceOrPipe(*path))
        RequireWritableFile(*path);
    return std::make_unique<CTextOutput>(*path);
}

/// The files that a run reads.
std::vector<std::string> FilesRead(const StRunOptions& options, const StRunInputs& inputs) {
    std::vector<std::string> files = {options.image};
    if (options.parametersFile)
        files.push_back(*options.parametersFile);
    for (const auto& [key, file] : inputs.parameters.ImageFiles())
        files.push_back(file);
    for (const auto& [key, file] : inputs.settings.NamedFiles())
        files.push_back(file);
    return files;
}

/// Raises if an output is also an input, unless that is what the user wants.
void RequireInputsKept(const StRunOptions& options, const StRunInputs& inputs) {
    if (options.isOverwriting)
        return;
    std::vector<std::string> written = options.outputs;
    const std::vector<std::string> others = OtherOutputs(options);
    written.insert(written.end(), others.begin(), others.end());
    RequireNoInput(written, FilesRead(options, inputs));
}

std::optional<IImage::CType> PixelType(const StRunOptions& options) {
    if (!options.pixelType)
        return std::nullopt;
    const auto type = PixelTypeOfWord(*options.pixelType);
    if (!type)
        throw CCommandError(STATUS_USAGE,
                            "--as: '" + *options.pixelType + "' is none of " + FirstTen(PixelTypeWords()));
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
    answers.isCancelled = options.cancelsDialogs;
    return answers;
}

} // namespace

StRunInputs PrepareInputs(const StRunOptions& options, const StCatalogueEntry* entry) {
    StRunInputs inputs{CParameterMap("parameter", entry != nullptr ? &entry->parameters : nullptr),
                       CParameterMap("setting", entry != nullptr ? &entry->settings : nullptr),
                       ParseAnswers(options),
                       PixelType(options),
                       {},
                       {},
                       nullptr,
                       nullptr,
                       nullptr,
                       nullptr,
                       nullptr};
    if (options.parametersFile)
        inputs.parameters.ReadFile(*options.parametersFile);
    for (const std::string& text : options.parameters)
        inputs.parameters.Set(ParseAssignment(text));
    if (!options.isBare && !options.parametersFile)
        inputs.parameters.FillDefaults();
    for (const std::string& text : options.settings)
        inputs.settings.Set(ParseAssignment(text));
    CheckInputOptions(options.reading);
    inputs.settings.RequireRegularFiles();
    return inputs;
}

void PrepareOutputs(const StRunOptions& options, const StCatalogueEntry* entry, StRunInputs& inputs) {
    for (const std::string& file : options.outputs)
        RequireImageFileName(file);
    RequireDifferentFiles(options.outputs, OtherOutputs(options));
    RequireInputsKept(options, inputs);
    if (!options.isQuiet && IsStandardOutputClosed())
        throw CFileError("standard output is closed; give --quiet to run without a summary");
    for (const std::string& file : options.outputs)
        RequireWritableImage(file);
    inputs.report = OpenText(options.report);
    inputs.packLog = OpenText(options.packLog);
    if (options.file) {
        RequirePlace(*options.file);
        if (entry != nullptr && entry->asksForFile && !IsDeviceOrPipe(*options.file))
            RequireWritableFile(*options.file);
        if (IsDeviceOrPipe(*options.file))
            inputs.pickedPipe = std::make_unique<CTextOutput>(*options.file);
    }
}

void ReadInputs(const StRunOptions& options, StRunInputs& inputs) {
    inputs.file = HashedImage(options.image, ReadingOf(options.reading, inputs.type));
    for (const auto& [key, file] : inputs.parameters.ImageFiles())
        inputs.imageFiles[key] = HashedImage(file);
    inputs.image = ReadInput(options.image, options.reading, inputs.type);
    inputs.parameters.ReadImages();
    inputs.settings.ReadImages();
    std::optional<std::string> label;
    if (!options.hasNoLabel)
        label = options.label.value_or(std::filesystem::path(options.image).filename().string());
    inputs.document = MakeDocument(*inputs.image, label);
}

} // namespace cli
