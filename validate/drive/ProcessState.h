#pragma once

#include <string>
#include <vector>

// What a process has that a plug-in could change.

namespace validate {

/// The number of threads, once those that are about to end have done so: waits until there are no more than
/// `expected`, for a fifth of a second at most.
int ThreadCount(int expected);
/// The open file descriptors.
std::vector<std::string> OpenFiles();
/// The locale, as C and C++ know it.
std::string LocaleText();
/// Working folder, umask, rounding of numbers, and the handlers of signals.
std::string ProcessStateText();

} // namespace validate
