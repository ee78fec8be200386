#pragma once

#include <cstdint>
#include <source_location>

namespace ORVEN::Impl {

/// Where in the code a header template raised. All texts live as long as the program.
struct StExLocation {
    const char* timeStamp; ///< of the build, as "Feb  3 2016-19:10:31"
    const char* file;
    const char* function; ///< full name with namespace and template arguments
    std::int32_t line;
    std::int32_t reserved; ///< always 0
};

/// The location of the call, for a function that is known by the given full name.
StExLocation Here(const char* function, const std::source_location& where = std::source_location::current());

} // namespace ORVEN::Impl
