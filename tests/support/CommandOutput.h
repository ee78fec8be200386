#pragma once

#include <array>
#include <cstdio>
#include <memory>
#include <string>

namespace test {

/// Runs a shell command and returns what it writes to standard output.
inline std::string CommandOutput(const std::string& command) {
    std::string output;
    const std::unique_ptr<FILE, int (*)(FILE*)> pipe(popen(command.c_str(), "r"), pclose);
    std::array<char, 256> buffer{};
    while (pipe && std::fgets(buffer.data(), buffer.size(), pipe.get()) != nullptr)
        output += buffer.data();
    return output;
}

} // namespace test
