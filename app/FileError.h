#pragma once

#include <stdexcept>

namespace app {

/// A file could not be read or written. The message is one line for a person. What it means for the program
/// is for the caller to decide.
class CFileError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

} // namespace app
