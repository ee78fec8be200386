#pragma once

#include <sys/types.h>

#include <chrono>
#include <optional>
#include <string>
#include <vector>

namespace engine {

/// A program that runs beside this one and talks to it through pipes: its standard output, one line an
/// answer, and, if it is asked for, its standard input. It is killed with the object.
class CChildProcess {
public:
    using Clock = std::chrono::steady_clock;

    enum class EnInput { INHERITED, PIPE };

    /// What came of waiting for a line.
    enum class EnRead { LINE, END, TIME_IS_UP };

    /// Starts the program at that path. It is searched nowhere else.
    CChildProcess(const std::string& program, const std::vector<std::string>& arguments, EnInput input);
    CChildProcess(const CChildProcess&) = delete;
    CChildProcess& operator=(const CChildProcess&) = delete;
    ~CChildProcess();

    /// False if it could not be started, and once `Wait` has seen its end.
    [[nodiscard]] bool IsRunning() const { return m_child > 0; }

    /// Writes a line to its standard input. Returns false if the program has closed it.
    bool Write(const std::string& line);
    /// Takes the next line, without its end, that the program writes before `end`.
    EnRead Read(std::string& line, Clock::time_point end);
    /// Waits until the program has ended. Returns false if it has not before `end`.
    bool Wait(Clock::time_point end);

    /// The signal that ended it, or 0.
    [[nodiscard]] int Signal() const { return m_signal; }

private:
    bool Spawn(const std::string& program, const std::vector<std::string>& arguments, int input, int output);

    pid_t m_child = -1;
    int m_requests = -1;
    int m_answers = -1;
    int m_signal = 0;
    std::string m_rest; // what was read behind the last line
};

} // namespace engine
