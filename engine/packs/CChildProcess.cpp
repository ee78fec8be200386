#include "engine/packs/CChildProcess.h"

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <thread>
#include <utility>

namespace engine {

namespace {

/// A pipe whose ends are closed unless they are taken.
class CPipe {
public:
    CPipe() {
        if (pipe2(m_ends.data(), O_CLOEXEC) != 0)
            m_ends = {-1, -1};
    }
    CPipe(const CPipe&) = delete;
    CPipe& operator=(const CPipe&) = delete;
    ~CPipe() {
        for (const int end : m_ends) {
            if (end >= 0)
                close(end);
        }
    }

    [[nodiscard]] bool IsOpen() const { return m_ends[0] >= 0; }
    [[nodiscard]] int ReadEnd() const { return m_ends[0]; }
    [[nodiscard]] int WriteEnd() const { return m_ends[1]; }
    int TakeReadEnd() { return std::exchange(m_ends[0], -1); }

private:
    std::array<int, 2> m_ends{-1, -1};
};

} // namespace

CChildProcess::CChildProcess(const std::string& program, const std::vector<std::string>& arguments,
                             EnInput input) {
    CPipe answers;
    if (!answers.IsOpen())
        return;
    std::array<int, 2> requests{-1, -1};
    // A socket instead of a pipe, because `send` has a flag that suppresses SIGPIPE.
    if (input == EnInput::PIPE && socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, requests.data()) != 0)
        return;
    if (Spawn(program, arguments, requests[0], answers.WriteEnd())) {
        m_answers = answers.TakeReadEnd();
        m_requests = std::exchange(requests[1], -1);
    }
    for (const int end : requests) {
        if (end >= 0)
            close(end);
    }
}

CChildProcess::~CChildProcess() {
    for (const int end : {m_requests, m_answers}) {
        if (end >= 0)
            close(end);
    }
    if (m_child > 0) {
        kill(m_child, SIGKILL);
        waitpid(m_child, nullptr, 0);
    }
}

bool CChildProcess::Spawn(const std::string& program, const std::vector<std::string>& arguments, int input,
                          int output) {
    std::vector<std::string> words{program};
    words.insert(words.end(), arguments.begin(), arguments.end());
    std::vector<char*> pointers;
    for (std::string& word : words)
        pointers.push_back(word.data());
    pointers.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, output, STDOUT_FILENO);
    if (input >= 0)
        posix_spawn_file_actions_adddup2(&actions, input, STDIN_FILENO);
    if (posix_spawn(&m_child, program.c_str(), &actions, nullptr, pointers.data(), environ) != 0)
        m_child = -1;
    posix_spawn_file_actions_destroy(&actions);
    return m_child > 0;
}

bool CChildProcess::Write(const std::string& line) {
    const std::string text = line + "\n";
    std::size_t written = 0;
    while (written < text.size()) {
        const ssize_t count = send(m_requests, text.data() + written, text.size() - written, MSG_NOSIGNAL);
        if (count < 0 && errno == EINTR)
            continue;
        if (count <= 0)
            return false;
        written += static_cast<std::size_t>(count);
    }
    return true;
}

CChildProcess::EnRead CChildProcess::Read(std::string& line, Clock::time_point end) {
    std::array<char, 4096> piece{};
    for (;;) {
        if (const auto length = m_rest.find('\n'); length != std::string::npos) {
            line = m_rest.substr(0, length);
            m_rest.erase(0, length + 1);
            return EnRead::LINE;
        }
        const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(end - Clock::now());
        pollfd waiting{m_answers, POLLIN, 0};
        const int ready = left.count() > 0 ? poll(&waiting, 1, static_cast<int>(left.count())) : 0;
        if (ready == 0)
            return EnRead::TIME_IS_UP;
        if (ready < 0)
            continue; // interrupted by a signal
        const ssize_t count = read(m_answers, piece.data(), piece.size());
        if (count <= 0)
            return EnRead::END;
        m_rest.append(piece.data(), static_cast<std::size_t>(count));
    }
}

bool CChildProcess::Wait(Clock::time_point end) {
    int status = 0;
    while (waitpid(m_child, &status, WNOHANG) == 0) {
        if (Clock::now() > end)
            return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    m_child = -1;
    m_signal = WIFSIGNALED(status) ? WTERMSIG(status) : 0;
    return true;
}

} // namespace engine
