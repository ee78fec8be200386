#pragma once

#include "engine/run/StChain.h"
#include "engine/run/StRunEntry.h"

#include <string>
#include <vector>

namespace engine {

/// A file that runs on record read.
struct StRecordedFile {
    std::string name;
    std::string hash;
};

/// The chain that made an image, from the record of its runs: the last run and those that led to its inputs.
/// Its steps are named "step1", "step2" ... and name the files that no run on record has made.
struct StRecordedChain {
    StChain chain;
    std::vector<StRecordedFile> files;
};

/// Raises `CFileError` if there is no run, and for a run that no chain can state: dialogs were answered on
/// the screen or cancelled, or an input was an image in memory.
StRecordedChain ChainOfRuns(const std::vector<StRunEntry>& runs);

/// Files that are not found under their names, seen from the working folder, are looked for in the folder
/// where the result is, and renamed in the chain if they are there.
void LocateFiles(StRecordedChain& recorded, const std::string& resultFile);

/// What keeps the chain from being repeated, a sentence for each file that is missing or whose content has
/// changed.
std::vector<std::string> ChangesOfFiles(const StRecordedChain& recorded);

/// Puts another image into the place of the first step's input, in all steps that read the same file.
void ReplaceImage(StChain& chain, const std::string& image);
/// The same for a chain on record; the old image is no longer among its files.
void ReplaceImage(StRecordedChain& recorded, const std::string& image);

} // namespace engine
