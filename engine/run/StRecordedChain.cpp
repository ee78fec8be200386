#include "engine/run/StRecordedChain.h"

#include "engine/errors/CEngineError.h"
#include "engine/files/ContentHash.h"
#include "engine/files/ImageFile.h"

#include <algorithm>
#include <filesystem>
#include <set>

namespace fs = std::filesystem;

namespace engine {

namespace {

/// Adds the index of the run and of those that led to its inputs.
void AddNeeded(const std::vector<StRunEntry>& runs, std::size_t index, std::set<std::size_t>& needed) {
    if (!needed.insert(index).second)
        return;
    const StRunEntry& entry = runs[index];
    if (entry.input.run)
        AddNeeded(runs, *entry.input.run, needed);
    for (const auto& [key, source] : entry.images) {
        if (source.run)
            AddNeeded(runs, *source.run, needed);
    }
}

class CChainBuilder {
public:
    explicit CChainBuilder(const std::vector<StRunEntry>& runs)
        : m_runs(runs) {}

    StRecordedChain Build() {
        std::set<std::size_t> needed;
        AddNeeded(m_runs, m_runs.size() - 1, needed);
        m_ids.resize(m_runs.size());
        for (const std::size_t index : needed) {
            m_ids[index] = "step" + std::to_string(m_recorded.chain.steps.size() + 1);
            m_recorded.chain.steps.push_back(StepOf(index));
        }
        if (m_runs.back().result > 1)
            m_recorded.chain.result = ReferenceTo(m_runs.size() - 1);
        return std::move(m_recorded);
    }

private:
    [[noreturn]] void Fail(std::size_t index, const std::string& why) const {
        throw CFileError("run " + std::to_string(index + 1) + " on record, " + m_runs[index].plugin +
                         ", cannot be repeated: " + why);
    }

    [[nodiscard]] std::string ReferenceTo(std::size_t index) const {
        std::string reference = m_ids[index];
        if (const std::size_t result = m_runs[index].result; result > 1)
            reference.append("#").append(std::to_string(result));
        return reference;
    }

    std::string NameOf(const StRunSource& source, std::size_t index) {
        if (source.run)
            return ReferenceTo(*source.run);
        if (source.file.empty())
            Fail(index, "an input was an image in memory");
        AddFile(source);
        return source.file;
    }

    void AddFile(const StRunSource& source) {
        const auto isSame = [&source](const StRecordedFile& file) {
            return file.name == source.file && file.hash == source.hash;
        };
        if (std::ranges::none_of(m_recorded.files, isSame))
            m_recorded.files.push_back({source.file, source.hash});
    }

    StChainStep StepOf(std::size_t index) {
        const StRunEntry& entry = m_runs[index];
        if (entry.hasUnknownAnswers)
            Fail(index, "its dialogs were answered on the screen, or cancelled");
        StChainStep step;
        step.id = m_ids[index];
        step.plugin = entry.plugin;
        step.pack = entry.pack;
        step.input = NameOf(entry.input, index);
        if (!entry.input.run)
            step.reading = entry.input.reading;
        step.parameters = entry.parameters;
        for (const auto& [key, source] : entry.images)
            step.images.emplace_back(key, NameOf(source, index));
        step.settings = entry.settings;
        for (const auto& [key, source] : entry.files)
            AddFile(source);
        step.answers = entry.answers;
        step.isBare = entry.isBare;
        step.isForced = entry.isForced;
        return step;
    }

    const std::vector<StRunEntry>& m_runs;
    StRecordedChain m_recorded;
    std::vector<std::string> m_ids; // by run; empty for those that are not needed
};

/// Calls `change` with each name of a file that an image is read from.
template <class Function>
void ForEachImageFile(StChain& chain, const Function& change) {
    for (StChainStep& step : chain.steps) {
        if (!FindResult(chain, step.input))
            change(step.input);
        for (auto& [key, name] : step.images) {
            if (!FindResult(chain, name))
                change(name);
        }
    }
}

bool Exists(const fs::path& path) {
    std::error_code error;
    return fs::exists(path, error);
}

/// The files of an image, or the file alone if it is not an image.
std::vector<std::string> FilesOf(const std::string& path) {
    try {
        return FilesOfContent(path);
    } catch (const CFileError&) {
        return {path};
    }
}

} // namespace

StRecordedChain ChainOfRuns(const std::vector<StRunEntry>& runs) {
    if (runs.empty())
        throw CFileError("no run is on record in it; it was not made by 'quillon run' or 'quillon chain'");
    if (runs.back().isConverted)
        throw CFileError(
            "'quillon convert' has changed its type, its geometry or its size since the last run");
    return CChainBuilder(runs).Build();
}

void LocateFiles(StRecordedChain& recorded, const std::string& resultFile) {
    const fs::path folder = fs::path(resultFile).parent_path();
    for (StRecordedFile& file : recorded.files) {
        const fs::path beside = folder / fs::path(file.name).filename();
        if (Exists(file.name) || !Exists(beside))
            continue;
        ForEachImageFile(recorded.chain, [&](std::string& name) {
            if (name == file.name)
                name = beside.string();
        });
        file.name = beside.string();
    }
}

std::vector<std::string> ChangesOfFiles(const StRecordedChain& recorded) {
    std::vector<std::string> changes;
    for (const StRecordedFile& file : recorded.files) {
        const std::string subject = "the input '" + file.name + "' ";
        if (!Exists(file.name)) {
            changes.push_back(subject +
                              "is missing; it is looked for from the working folder and beside the result");
            continue;
        }
        const std::string hash = ContentHash(FilesOf(file.name));
        if (hash != file.hash)
            changes.push_back(subject + "has changed: its SHA-256 is " + hash + ", and was " +
                              (file.hash.empty() ? "not recorded" : file.hash));
    }
    return changes;
}

void ReplaceImage(StChain& chain, const std::string& image) {
    const std::string before = chain.steps.front().input;
    chain.steps.front().input = image;
    if (before.empty())
        return;
    ForEachImageFile(chain, [&](std::string& name) {
        if (name == before)
            name = image;
    });
}

void ReplaceImage(StRecordedChain& recorded, const std::string& image) {
    const std::string before = recorded.chain.steps.front().input;
    std::erase_if(recorded.files, [&before](const StRecordedFile& file) { return file.name == before; });
    ReplaceImage(recorded.chain, image);
}

} // namespace engine
