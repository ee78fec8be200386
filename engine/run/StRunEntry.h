#pragma once

#include "engine/dialogs/CBatchDialogs.h"
#include "engine/files/StInputReading.h"

#include <sorblib2image/CImage.h>

#include <cstddef>
#include <map>
#include <optional>
#include <string>
#include <vector>

// The record of runs that an image carries in its attributes, under the key "runs": one entry for each run
// that led to it, oldest first. docs/chains.md describes the members. Plug-ins know nothing of it: the host
// writes it after each run, and `SetAttributes` copies it like all attributes.

namespace engine {

/// Where an input of a run came from: a file, an earlier run, or a file that an earlier run wrote.
struct StRunSource {
    std::string file;               ///< as it was named; empty for an image in memory
    std::string hash;               ///< `ContentHash` of the file
    StInputReading reading;         ///< how the file was read
    std::optional<std::size_t> run; ///< index of the entry whose result it is, as far as that is known
};

/// One run of a plug-in.
struct StRunEntry {
    std::string plugin;
    std::string pack;    ///< its name
    std::string version; ///< of the pack; empty if its catalogue does not say
    std::string program; ///< version of this program
    std::string time;    ///< of the end of the run, ISO 8601 in UTC
    StRunSource input;
    std::map<std::string, StRunSource> images; ///< among the parameters, by key
    std::map<std::string, StRunSource> files;  ///< among the settings, by key
    CJson parameters = CJson::Object();        ///< as sent, without images
    CJson settings = CJson::Object();
    std::vector<StWidgetAnswer> answers;
    bool isBare = false;            ///< no defaults were added to the parameters
    bool isForced = false;          ///< it ran even though the plug-in refused the image
    bool hasUnknownAnswers = false; ///< dialogs were answered on the screen, or cancelled
    bool isConverted = false;       ///< the image was changed after the run, see `MarkConverted`
    std::size_t result = 1;         ///< the image is the first, second ... new document

    bool operator==(const StRunEntry& other) const;
};

/// The key of the record.
inline constexpr const char* c_runsKey = "runs";

/// The record as JSON: an array.
CJson ToJson(const std::vector<StRunEntry>& runs);
/// The inverse. Raises `CFileError`, "its record of runs is damaged: ...".
std::vector<StRunEntry> RunsOfJson(const CJson& json);

/// The record of an image; empty if it has none. Raises `CFileError` if it is damaged.
std::vector<StRunEntry> RunsOf(const ORVEN::CImage& image);
void StoreRuns(ORVEN::CImage& image, const std::vector<StRunEntry>& runs);

/// Notes in the record, if there is one, that the image is no longer the result of its last run: its type,
/// its geometry or the part that it shows has been changed. A run on it then starts from its file.
void MarkConverted(ORVEN::CImage& image);

/// An input of a run and the runs that led to it.
struct StRunInput {
    StRunSource source; ///< `run` is not set: it depends on the other inputs
    std::vector<StRunEntry> runs;
};

/// The record of the results of a run: the runs that led to its inputs, each once, and the run itself. The
/// inputs among `images` have the keys of parameters. An input counts as the result of its last run unless
/// its file was read with changes.
std::vector<StRunEntry> RunsWith(StRunEntry entry, const StRunInput& input,
                                 const std::map<std::string, StRunInput>& images);

/// The time now, "2026-11-22T12:52:03Z"; that of SOURCE_DATE_EPOCH, in seconds since 1970, if the environment
/// has this variable.
std::string RunTime();

/// The version of this program.
std::string ProgramVersion();

} // namespace engine
