#pragma once

#include <sys/types.h>

#include <filesystem>
#include <string>
#include <vector>

namespace test {

/// A folder of a test's own, removed with everything in it.
class CTestFolder {
public:
    CTestFolder();
    CTestFolder(const CTestFolder&) = delete;
    CTestFolder& operator=(const CTestFolder&) = delete;
    ~CTestFolder();

    [[nodiscard]] std::string operator/(const std::string& name) const { return (m_path / name).string(); }
    /// The names of all files in it, also hidden ones, ascending.
    [[nodiscard]] std::vector<std::string> Names() const;

private:
    std::filesystem::path m_path;
};

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
