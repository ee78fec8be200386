#pragma once

#include <cstdint>
#include <source_location>

namespace ORVEN::Impl {

/// The place in the source code that raised an exception. All texts are valid as long as the program runs.
struct StExLocation {
    const char* timeStamp; ///< build time, as in "Feb  3 2016-19:10:31"
    const char* file;
    const char* function; ///< full name with namespace and template arguments
    std::int32_t line;
    std::int32_t reserved; ///< always 0
};

/// Returns the location of the call. `function` is the full name to report.
StExLocation Here(const char* function, const std::source_location& where = std::source_location::current());

} // namespace ORVEN::Impl
