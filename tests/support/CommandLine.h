#pragma once

#include "support/CTestFolder.h"

#include <sys/types.h>

#include <string>
#include <vector>

namespace test {

std::string ReadText(const std::string& path);

/// How a program ended and what it said.
struct StEnd {
    int status; ///< negative: killed by that signal
    std::string out;
    std::string err;
};

/// A run of the program under test, with its output kept aside.
class CCommandLine {
public:
    /// Starts it. Each of `environment` is NAME=VALUE, or NAME alone to take the variable out. A `script` is
    /// run by the shell, with program and arguments as its "$@".
    explicit CCommandLine(const std::vector<std::string>& arguments,
                          const std::vector<std::string>& environment = {}, const std::string& script = {});
    CCommandLine(const CCommandLine&) = delete;
    CCommandLine& operator=(const CCommandLine&) = delete;

    void Interrupt() const;
    void Signal(int signal) const;
    StEnd Wait();

private:
    CTestFolder m_folder;
    pid_t m_process;
};

StEnd Quillon(const std::vector<std::string>& arguments, const std::vector<std::string>& environment = {});
/// A run inside a shell script that says where the program comes with "$@", as in `exec "$@" >/dev/full`.
StEnd QuillonInShell(const std::string& script, const std::vector<std::string>& arguments);

} // namespace test
