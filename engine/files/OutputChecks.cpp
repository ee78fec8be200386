#include "engine/files/OutputChecks.h"

#include "engine/errors/CEngineError.h"
#include "engine/files/CAtomicFile.h"
#include "engine/files/CTextOutput.h"
#include "engine/files/FileErrors.h"
#include "engine/files/ImageFileName.h"

#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <set>

namespace fs = std::filesystem;

namespace engine {

namespace {

void RequireShortName(const std::string& path, const fs::path& file) {
    std::error_code error;
    (void)fs::symlink_status(file, error);
    if (error == std::errc::filename_too_long)
        ThrowUnwritable(path, "the name '" + file.filename().string() + "' is too long for the file system");
}

void RequireFolder(const std::string& path, const fs::path& file) {
    const fs::path folder = file.has_parent_path() ? file.parent_path() : ".";
    std::error_code error;
    if (!fs::is_directory(folder, error))
        ThrowUnwritable(path, "there is no folder '" + folder.string() + "'");
    if (access(folder.c_str(), W_OK | X_OK) != 0)
        ThrowUnwritable(path, std::string("its folder cannot be written to: ") + std::strerror(errno));
}

} // namespace

void RequirePlace(const std::string& path) {
    std::error_code error;
    (void)fs::current_path(error);
    if (error && fs::path(path).is_relative())
        ThrowUnwritable(path, "the current folder no longer exists");
}

void RequireWritableFile(const std::string& path) {
    RequirePlace(path);
    RequireShortName(path, path);
    const fs::path file = FollowLink(path);
    RequireFolder(path, file);
    std::error_code error;
    const auto status = fs::status(file, error);
    if (fs::is_directory(status))
        ThrowUnwritable(path, "it is a folder");
    if (fs::exists(status) && !fs::is_regular_file(status))
        ThrowUnwritable(path, "it is not a regular file");
}

void RequireDifferentFiles(const std::vector<std::string>& images, const std::vector<std::string>& others) {
    std::set<std::string> files;
    const auto add = [&files](const std::string& named, const std::string& file) {
        if (!files.insert(file).second)
            throw CCallerError("'" + named + "' would be written twice; give each output a name of its own");
    };
    for (const std::string& image : images) {
        for (const std::string& file : FilesOfImage(image))
            add(file == FileItself(image) ? image : file, file);
    }
    for (const std::string& file : others) {
        if (!IsDeviceOrPipe(file))
            add(file, FileItself(file));
    }
}

void RequireNoInput(const std::vector<std::string>& outputs, const std::vector<std::string>& inputs) {
    std::set<std::string> read;
    for (const std::string& input : inputs) {
        const std::vector<std::string> files = FilesOfImage(input);
        read.insert(files.begin(), files.end());
    }
    for (const std::string& output : outputs) {
        for (const std::string& file : FilesOfImage(output)) {
            if (read.contains(file))
                throw CCallerError("'" + output + "' is also an input; give --overwrite to replace it");
        }
    }
}

void RequireWritableImage(const std::string& path) {
    RequireWritableFile(path);
    const fs::path image = FollowLink(path);
    for (const std::string& name : CompanionNames(image.filename()))
        RequireShortName(path, image.parent_path() / name);
    RequireOwnCompanions(path);
}

std::string FileItself(const std::string& path) {
    std::error_code error;
    const fs::path file = fs::weakly_canonical(FollowLink(path), error);
    return error ? path : file.string();
}

std::vector<std::string> FilesOfImage(const std::string& path) {
    const fs::path image = FileItself(path);
    std::vector<std::string> files = {image.string()};
    for (const std::string& name : CompanionNames(image.filename()))
        files.push_back((image.parent_path() / name).string());
    return files;
}

} // namespace engine
