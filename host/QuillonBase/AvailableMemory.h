#pragma once

#include <cstdint>
#include <optional>

namespace ORVEN {

/// The memory in bytes that this process can still allocate: what the system reports as available without
/// swapping, but not more than the process may add to its address space. Nothing if the system does not
/// report it.
[[nodiscard]] std::optional<std::int64_t> AvailableMemory();

/// Raises `CException`, in the name of `function`, if less memory than this is available at the moment:
/// "%1 needs %2 bytes of memory, and %3 are available; use a part of the image, or a larger machine.", where
/// %1 is `purpose`. For tables whose size is known only while an algorithm runs. Call it before they are
/// allocated: memory that the system has promised but does not have ends the process when it is written to.
void RequireMemory(const char* function, const char* purpose, std::int64_t byteCount);

} // namespace ORVEN
