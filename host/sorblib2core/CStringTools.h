#pragma once

#include <string>

namespace ORVEN {

/// Text helpers in the style of the C library.
class CStringTools {
public:
    /// printf into a string of any length. Numbers follow the locale of the process.
    [[gnu::format(printf, 1, 2)]] static std::string Printf(const char* format, ...);

    static std::string toString(int number) { return std::to_string(number); }
    static std::string toString(unsigned number) { return std::to_string(number); }
    static std::string toString(unsigned long number) { return std::to_string(number); }
};

} // namespace ORVEN
