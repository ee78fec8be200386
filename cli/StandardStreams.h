#pragma once

#include <optional>
#include <string>

namespace cli {

/// Gives the descriptors of those standard streams that the caller of the program closed a place that takes
/// and gives nothing, so that no file is opened in their stead and filled with words of the program. For the
/// start of the program.
void ReserveStandardStreams();

/// Whether nothing can be written to standard output, as it is closed.
bool IsStandardOutputClosed();

/// Writes out what waits for standard output; returns the reason if any of it, now or before, was lost.
std::optional<std::string> FlushStandardOutput();

} // namespace cli
