#include "validate/child/CCaseProcess.h"

#include "validate/StLimits.h"
#include "validate/StRule.h"

#include <poll.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstring>
#include <fcntl.h>

namespace validate {

namespace {

using Clock = std::chrono::steady_clock;

std::string OneLine(std::string text) {
    std::replace_if(
        text.begin(), text.end(), [](char letter) { return static_cast<unsigned char>(letter) < ' '; }, ' ');
    return text;
}

/// Writes each note at once: after a crash, notes in a buffer would be lost.
class CWrittenNotes : public IRuleNotes {
public:
    explicit CWrittenNotes(int descriptor)
        : m_descriptor(descriptor) {}

    void Variation(const std::string& name) override { Write(c_variation + OneLine(name)); }
    void Detail(const std::string& text) override { Write(c_detail + OneLine(text)); }
    void Cancelled() override { Write(c_cancelled); }
    void Returned() override { Write(c_returned); }

    void Write(const std::string& line) const {
        const std::string text = line + "\n";
        if (write(m_descriptor, text.data(), text.size()) < 0)
            _exit(3); // nobody is listening any more
    }

private:
    int m_descriptor;
};

void LimitMemory(std::int64_t bytes) {
    if (bytes > 0 && c_hasMemoryLimit) {
        const rlimit limit{static_cast<rlim_t>(bytes), static_cast<rlim_t>(bytes)};
        setrlimit(RLIMIT_AS, &limit);
    }
    const rlimit none{0, 0};
    setrlimit(RLIMIT_CORE, &none);
}

void Check(const StSubject& subject, const StCase& one, const CWrittenNotes& notes, CRuleRun& run) {
    try {
        FindRule(one.rule)->check(run);
        notes.Write(c_holds);
    } catch (const CRuleBroken& seen) {
        notes.Write(c_broken + OneLine(seen.what()));
    } catch (const CRuleInapplicable& why) {
        notes.Write(c_inapplicable + OneLine(why.what()));
    } catch (const std::exception& error) {
        notes.Write(c_broken +
                    OneLine("it raises outside of any allowed place: " + std::string(error.what())));
    } catch (...) {
        notes.Write(std::string(c_broken) + "it raises something other than an exception");
    }
    (void)subject;
}

/// The process of a case. `errors` is a file that takes what is printed, for the last words of a crash.
[[noreturn]] void BeCase(const StSubject& subject, const StCase& one, int notesDescriptor, int errors) {
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    setpgid(0, 0);
    dup2(errors, STDOUT_FILENO);
    dup2(errors, STDERR_FILENO);
    LimitMemory(subject.limits.memoryBytes);
    CWrittenNotes notes(notesDescriptor);
    CRuleRun run(subject, one, notes);
    Check(subject, one, notes, run);
    // Neither destructors nor those of libraries: another rule covers unloading.
    _exit(0);
}

std::string Seconds(double seconds) {
    std::array<char, 32> text{};
    std::snprintf(text.data(), text.size(), "%g s", seconds);
    return text.data();
}

/// Reads the notes of a case, passes them on, and watches the time.
class CWatch {
public:
    CWatch(const StLimits& limits, std::FILE* answers)
        : m_limits(limits)
        , m_answers(answers) {}

    /// Reads until the process closes its end or has to be ended. Returns why, or an empty text.
    std::string Read(int notes) {
        std::array<char, 4096> piece{};
        for (;;) {
            const auto end = m_isCancelled ? std::min(m_end, m_cancelEnd) : m_end;
            const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(end - Clock::now());
            pollfd waiting{notes, POLLIN, 0};
            const int ready = left.count() > 0 ? poll(&waiting, 1, static_cast<int>(left.count())) : 0;
            if (ready == 0)
                return m_isCancelled && m_cancelEnd <= m_end
                           ? "it had not returned " + Seconds(m_limits.cancelSeconds) +
                                 " after it was cancelled"
                           : "it had not returned after " + Seconds(m_limits.ruleSeconds);
            if (ready < 0)
                continue;
            const ssize_t count = read(notes, piece.data(), piece.size());
            if (count <= 0)
                return {};
            Take({piece.data(), static_cast<std::size_t>(count)});
        }
    }

    [[nodiscard]] const std::string& Outcome() const { return m_outcome; }

private:
    static Clock::time_point After(double seconds) {
        return Clock::now() +
               std::chrono::duration_cast<Clock::duration>(std::chrono::duration<double>(seconds));
    }

    void Take(const std::string& text) {
        m_rest += text;
        for (std::size_t length = m_rest.find('\n'); length != std::string::npos;
             length = m_rest.find('\n')) {
            TakeLine(m_rest.substr(0, length));
            m_rest.erase(0, length + 1);
        }
    }

    void TakeLine(const std::string& line) {
        if (line == c_cancelled) {
            m_isCancelled = true;
            m_cancelEnd = After(m_limits.cancelSeconds);
        } else if (line == c_returned) {
            m_isCancelled = false;
        } else if (line.starts_with(c_variation) || line.starts_with(c_detail)) {
            std::fprintf(m_answers, "%s\n", line.c_str());
        } else {
            m_outcome = line;
        }
    }

    const StLimits& m_limits;
    std::FILE* m_answers;
    Clock::time_point m_end = After(m_limits.ruleSeconds);
    Clock::time_point m_cancelEnd;
    bool m_isCancelled = false;
    std::string m_rest;
    std::string m_outcome;
};

/// The last line in a file that says something, with a blank and brackets around it; or nothing.
std::string LastWords(int file) {
    std::array<char, 2048> tail{};
    const off_t size = lseek(file, 0, SEEK_END);
    const off_t start = std::max<off_t>(0, size - static_cast<off_t>(tail.size()));
    const ssize_t count = pread(file, tail.data(), tail.size(), start);
    std::string text(tail.data(), static_cast<std::size_t>(std::max<ssize_t>(0, count)));
    while (!text.empty() && text.back() == '\n')
        text.pop_back();
    text.erase(0, text.rfind('\n') + 1);
    // What every traversal of the main pack prints says nothing about a crash.
    return text.empty() || text.starts_with("DEBUG") ? "" : "; its last words are: " + OneLine(text);
}

std::string CrashInWords(int status, int errors) {
    if (WIFSIGNALED(status))
        return std::string("it crashed (") + strsignal(WTERMSIG(status)) + ")" + LastWords(errors);
    return "it ended the process with the exit code " + std::to_string(WEXITSTATUS(status)) +
           LastWords(errors);
}

} // namespace

void CheckInAProcess(const StSubject& subject, const StCase& one, std::FILE* answers) {
    std::array<int, 2> ends{-1, -1};
    const int errors = memfd_create("errors", MFD_CLOEXEC);
    if (pipe2(ends.data(), O_CLOEXEC) != 0 || errors < 0)
        throw std::runtime_error("no pipe for a case");
    std::fflush(answers);
    const pid_t child = fork();
    if (child < 0)
        throw std::runtime_error("no process for a case");
    if (child == 0) {
        close(ends[0]);
        BeCase(subject, one, ends[1], errors);
    }
    close(ends[1]);
    CWatch watch(subject.limits, answers);
    const std::string ended = watch.Read(ends[0]);
    if (!ended.empty())
        kill(child, SIGKILL);
    int status = 0;
    while (waitpid(child, &status, 0) < 0 && errno == EINTR) {
    }
    kill(-child, SIGKILL); // what it has started and left
    close(ends[0]);
    if (!ended.empty())
        std::fprintf(answers, "%s%s\n", c_broken, ended.c_str());
    else if (watch.Outcome().empty())
        std::fprintf(answers, "%s%s\n", c_broken, CrashInWords(status, errors).c_str());
    else
        std::fprintf(answers, "%s\n", watch.Outcome().c_str());
    std::fflush(answers);
    close(errors);
}

} // namespace validate
