#pragma once

#include <string>

// The folder that an unfinished file is written in, known here so that a program which the user ends at once
// leaves nothing behind. One at a time.

namespace app {

void RememberPartialFolder(const std::string& path);
void ForgetPartialFolder();

/// Removes the folder with the files in it, if there is one. Does nothing but system calls, for signal
/// handlers.
void RemovePartialFolder() noexcept;

} // namespace app
