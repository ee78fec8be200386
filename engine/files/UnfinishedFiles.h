#pragma once

#include <string>

// State that a signal handler cleans up when the user ends the program at once: the folder that holds an
// unfinished file, and an existing file that was moved out of the way of a new one. One of each at a time.

namespace engine {

void RememberUnfinishedFolder(const std::string& folder);
void ForgetUnfinishedFolder();

/// The file at `place` was moved to `kept`, a file in `folder`; `kept` is empty if there was none.
void RememberKeptFile(const std::string& folder, const std::string& kept, const std::string& place);
void ForgetKeptFile();

/// Removes the unfinished folder with its files. Moves the kept file back, replacing the new one; if there
/// was no old file, removes the partly written new one. Makes only system calls, so that signal handlers can
/// call it.
void AbandonUnfinishedFiles() noexcept;

} // namespace engine
