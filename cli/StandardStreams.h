#pragma once

#include <optional>
#include <string>

namespace cli {

/// Opens a null device on each standard descriptor that the calling process left closed, so that no file
/// opened later gets that descriptor and receives the program's messages. Call this once at program start.
void ReserveStandardStreams();

/// Whether standard output was closed, so that nothing can be written to it.
bool IsStandardOutputClosed();

/// Flushes standard output. Returns the reason if any output, now or earlier, could not be written.
std::optional<std::string> FlushStandardOutput();

} // namespace cli
