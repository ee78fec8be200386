#include "cli/StRunInputs.h"

#include "cli/Commands.h"
#include "cli/StandardStreams.h"
#include "engine/files/FileErrors.h"
#include "engine/files/ImageFile.h"
#include "engine/files/OutputChecks.h"
#include "engine/run/PluginCall.h"

#include <filesystem>
#include <set>
#include <sorblib2core/CValueString.h>

namespace cli {

using namespace engine;

using namespace ORVEN;

namespace {

/// Raises if two outputs of the command line, including their companion files, are the same file.
void RequireDifferentFiles(const StRunOptions& options) {
    std::set<std::string> files;
    const auto add = [&files](const std::string& named, const std::string& file) {
        if (!files.insert(file).second)
            throw CCommandError(STATUS_USAGE, "'" + named + "' is to be written twice");
    };
    for (const std::string& output : options.outputs) {
        for (const std::string& file : FilesOfImage(output))
            add(file == FileItself(output) ? output : file, file);
    }
    for (const auto& file : {options.report, options.packLog, options.file}) {
        if (file && !IsDeviceOrPipe(*file))
            add(*file, FileItself(*file));
    }
}

std::unique_ptr<CTextOutput> OpenText(const std::optional<std::string>& path) {
    if (!path)
        return nullptr;
    if (!IsDeviceOrPipe(*path))
        RequireWritableFile(*path);
    return std::make_unique<CTextOutput>(*path);
}

void PrepareOutputs(const StRunOptions& options, StRunInputs& inputs) {
    for (const std::string& file : options.outputs)
        RequireImageFileName(file);
    RequireDifferentFiles(options);
    if (!options.isQuiet && IsStandardOutputClosed())
        throw CFileError("standard output is closed; give --quiet to do without a summary");
    for (const std::string& file : options.outputs)
        RequireWritableImage(file);
    inputs.report = OpenText(options.report);
    inputs.packLog = OpenText(options.packLog);
    if (options.file) {
        RequirePlace(*options.file);
        if (IsDeviceOrPipe(*options.file))
            inputs.pickedPipe = std::make_unique<CTextOutput>(*options.file);
    }
}

/// Raises if a file setting names a pipe or device, because the plug-in could wait for it forever.
void RequireFilesOfSettings(const StCatalogueEntry* entry, const CValueMap& settings) {
    if (entry == nullptr)
        return;
    for (const StCatalogueParameter& setting : entry->settings) {
        if (!setting.isFile || !settings.HasEntry(setting.key, typeid(CValueString)))
            continue;
        const std::string file = settings.Entry(setting.key, true)->String().Std();
        if (IsDeviceOrPipe(file))
            ThrowUnreadable(file, CFileReason("it is not a regular file"));
    }
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
    answers.isCancelled = options.cancelsDialogs;
    return answers;
}

} // namespace

StRunInputs PrepareInputs(const StRunOptions& options, const StCatalogueEntry* entry) {
    StRunInputs inputs{CParameterMap("parameter", entry != nullptr ? &entry->parameters : nullptr),
                       CParameterMap("setting", entry != nullptr ? &entry->settings : nullptr),
                       ParseAnswers(options),
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
    const auto type = PixelType(options);
    CheckInputOptions(options.reading);
    RequireFilesOfSettings(entry, inputs.settings.Map());
    PrepareOutputs(options, inputs);

    inputs.image = ReadInput(options.image, options.reading, type);
    inputs.parameters.ReadImages();
    inputs.settings.ReadImages();
    std::optional<std::string> label;
    if (!options.hasNoLabel)
        label = options.label.value_or(std::filesystem::path(options.image).filename().string());
    inputs.document = MakeDocument(*inputs.image, label);
    return inputs;
}

} // namespace cli
