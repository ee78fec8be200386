#include "validate/drive/ProcessState.h"

#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <cfenv>
#include <chrono>
#include <clocale>
#include <csignal>
#include <filesystem>
#include <locale>
#include <thread>

namespace validate {

namespace {

namespace fs = std::filesystem;

int CurrentThreadCount() {
    std::error_code error;
    return static_cast<int>(std::distance(fs::directory_iterator("/proc/self/task", error), {}));
}

} // namespace

int ThreadCount(int expected) {
    constexpr int patience = 40;
    int count = CurrentThreadCount();
    for (int i = 0; i < patience && count > expected; ++i) {
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
        count = CurrentThreadCount();
    }
    return count;
}

std::vector<std::string> OpenFiles() {
    std::vector<std::string> files;
    std::error_code error;
    for (const auto& entry : fs::directory_iterator("/proc/self/fd", error)) {
        const fs::path target = fs::read_symlink(entry.path(), error);
        // The folder that is being read is open, too.
        if (!error && target.parent_path().filename() != "self" && target.filename() != "fd")
            files.push_back(entry.path().filename().string() + " (" + target.string() + ")");
    }
    std::sort(files.begin(), files.end());
    return files;
}

std::string LocaleText() {
    const char* const name = std::setlocale(LC_ALL, nullptr);
    const auto& punctuation = std::use_facet<std::numpunct<char>>(std::locale());
    return std::string("C: ") + (name != nullptr ? name : "none") + ", C++: " + std::locale().name() +
           " with the decimal point '" + punctuation.decimal_point() + "'";
}

std::string ProcessStateText() {
    std::error_code error;
    const mode_t mask = umask(0);
    umask(mask);
    std::string text = "folder " + fs::current_path(error).string() + ", umask " + std::to_string(mask) +
                       ", rounding mode " + std::to_string(std::fegetround()) + ", handlers";
    for (const int number : {SIGINT, SIGTERM, SIGSEGV, SIGABRT, SIGFPE, SIGPIPE, SIGCHLD}) {
        struct sigaction action {};
        sigaction(number, nullptr, &action);
        const char* const kind = action.sa_handler == SIG_DFL   ? " default"
                                 : action.sa_handler == SIG_IGN ? " ignore"
                                                                : " own";
        text += kind;
    }
    return text;
}

} // namespace validate
