#include "engine/packs/StPackScan.h"

#include "engine/files/InstalledFolder.h"
#include "engine/packs/PackFile.h"
#include "engine/packs/ScanProtocol.h"

#include <poll.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <sstream>
#include <thread>

namespace engine {

namespace {

using Clock = std::chrono::steady_clock;
constexpr std::chrono::seconds c_limit(5);

/// A running child. It is ended with the object.
class CScanProcess {
public:
    CScanProcess(const std::string& path, const std::vector<std::string>& plugins) {
        std::array<int, 2> ends{};
        if (pipe2(ends.data(), O_CLOEXEC) != 0)
            return;
        m_answers = ends[0];
        std::string program = (InstalledFolder() / c_scanProgram).string();
        std::vector<std::string> words{program, path};
        words.insert(words.end(), plugins.begin(), plugins.end());
        std::vector<char*> arguments;
        for (std::string& word : words)
            arguments.push_back(word.data());
        arguments.push_back(nullptr);
        posix_spawn_file_actions_t actions;
        posix_spawn_file_actions_init(&actions);
        posix_spawn_file_actions_adddup2(&actions, ends[1], STDOUT_FILENO);
        if (posix_spawn(&m_child, program.c_str(), &actions, nullptr, arguments.data(), environ) != 0)
            m_child = -1;
        posix_spawn_file_actions_destroy(&actions);
        close(ends[1]);
    }
    CScanProcess(const CScanProcess&) = delete;
    CScanProcess& operator=(const CScanProcess&) = delete;
    ~CScanProcess() {
        if (m_answers >= 0)
            close(m_answers);
        if (m_child > 0) {
            kill(m_child, SIGKILL);
            waitpid(m_child, nullptr, 0);
        }
    }

    [[nodiscard]] bool IsRunning() const { return m_child > 0; }

    /// Reads all that the child writes, until it closes its end. Returns false if the time is up before.
    bool Read(std::string& answers) const {
        std::array<char, 4096> piece{};
        for (;;) {
            const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(m_end - Clock::now());
            pollfd waiting{m_answers, POLLIN, 0};
            const int ready = left.count() > 0 ? poll(&waiting, 1, static_cast<int>(left.count())) : 0;
            if (ready == 0)
                return false;
            if (ready < 0)
                continue; // interrupted by a signal
            const ssize_t count = read(m_answers, piece.data(), piece.size());
            if (count <= 0)
                return true;
            answers.append(piece.data(), static_cast<std::size_t>(count));
        }
    }

    /// Waits until the child has ended. Returns false if the time is up before.
    bool Wait() {
        int status = 0;
        while (waitpid(m_child, &status, WNOHANG) == 0) {
            if (Clock::now() > m_end)
                return false;
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
        m_child = -1;
        m_signal = WIFSIGNALED(status) ? WTERMSIG(status) : 0;
        return true;
    }

    /// The signal that ended the child, or 0.
    [[nodiscard]] int Signal() const { return m_signal; }

private:
    Clock::time_point m_end = Clock::now() + c_limit;
    int m_signal = 0;
    pid_t m_child = -1;
    int m_answers = -1;
};

StPackScan Problem(const CFileError& error) {
    StPackScan scan;
    scan.problem = error.what();
    scan.fault = error.Fault();
    return scan;
}

/// True if the answers are complete.
bool Understand(const std::string& answers, StPackScan& scan) {
    std::istringstream lines(answers);
    for (std::string line; std::getline(lines, line);) {
        const auto rest = [&](const char* word) { return line.substr(std::strlen(word)); };
        if (line == c_scanUsable)
            return true;
        if (line.starts_with(c_scanProvides)) {
            scan.provided.push_back(rest(c_scanProvides));
        } else if (line.starts_with(c_scanUnusable)) {
            scan = Problem(CFileError(rest(c_scanUnusable)));
            return true;
        } else if (line.starts_with(c_scanMissing)) {
            scan = Problem(CFileError(rest(c_scanMissing), EnFault::MACHINE));
            return true;
        }
    }
    return false;
}

} // namespace

StPackScan ScanPack(const std::string& path, const std::vector<std::string>& plugins) {
    CScanProcess process(path, plugins);
    if (!process.IsRunning()) {
        const std::string program = (InstalledFolder() / c_scanProgram).string();
        return Problem(PackError(path, program + " cannot be started", EnFault::MACHINE));
    }
    std::string answers;
    if (!process.Read(answers) || !process.Wait())
        return Problem(PackError(path, "it did not answer within " + std::to_string(c_limit.count()) + " s"));
    StPackScan scan;
    if (process.Signal() == 0 && Understand(answers, scan))
        return scan;
    const std::string cause =
        process.Signal() != 0 ? std::string(" (") + strsignal(process.Signal()) + ")" : std::string();
    return Problem(PackError(path, "it crashed" + cause));
}

} // namespace engine
