#include "support/CommandLine.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <fstream>
#include <iterator>
#include <stdexcept>

namespace test {

std::string ReadText(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

CCommandLine::CCommandLine(const std::vector<std::string>& arguments,
                           const std::vector<std::string>& environment, const std::string& script) {
    std::vector<std::string> words = arguments;
    words.insert(words.begin(), QUILLON_PROGRAM);
    if (!script.empty())
        words.insert(words.begin(), {"/bin/sh", "-c", script, "sh"});
    std::vector<char*> pointers;
    for (std::string& word : words)
        pointers.push_back(word.data());
    pointers.push_back(nullptr);
    const std::string out = m_folder / "out";
    const std::string err = m_folder / "err";

    m_process = fork();
    if (m_process < 0)
        throw std::runtime_error("no process for the test");
    if (m_process > 0)
        return;
    for (const std::string& variable : environment) {
        const auto equals = variable.find('=');
        if (equals == std::string::npos)
            unsetenv(variable.c_str());
        else
            setenv(variable.substr(0, equals).c_str(), variable.c_str() + equals + 1, 1);
    }
    dup2(open(out.c_str(), O_CREAT | O_WRONLY, 0600), STDOUT_FILENO);
    dup2(open(err.c_str(), O_CREAT | O_WRONLY, 0600), STDERR_FILENO);
    execv(pointers.front(), pointers.data());
    _exit(127);
}

void CCommandLine::Interrupt() const { Signal(SIGINT); }

void CCommandLine::Signal(int signal) const { kill(m_process, signal); }

StEnd CCommandLine::Wait() {
    int status = 0;
    waitpid(m_process, &status, 0);
    return {WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status), ReadText(m_folder / "out"),
            ReadText(m_folder / "err")};
}

StEnd Quillon(const std::vector<std::string>& arguments, const std::vector<std::string>& environment) {
    return CCommandLine(arguments, environment).Wait();
}

StEnd QuillonInShell(const std::string& script, const std::vector<std::string>& arguments) {
    return CCommandLine(arguments, {}, script).Wait();
}

} // namespace test
