#pragma once

#include <string>

// What a signal handler has to put right when the user ends the program at once: the folder that an
// unfinished file is written in, and a finished file that was moved out of the way of a new one. One of each
// at a time.

namespace engine {

void RememberUnfinishedFolder(const std::string& folder);
void ForgetUnfinishedFolder();

/// What stood at `place` was moved to `kept`, a file in `folder`; `kept` is empty if nothing stood there.
void RememberKeptFile(const std::string& folder, const std::string& kept, const std::string& place);
void ForgetKeptFile();

/// Removes the unfinished folder with the files in it. Moves the kept file back over whatever took its place;
/// if there was none, removes what was begun there. Makes system calls only, for signal handlers.
void AbandonUnfinishedFiles() noexcept;

} // namespace engine
