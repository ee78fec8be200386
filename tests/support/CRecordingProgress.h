#pragma once

#include <QuillonBase/IProgress.h>

#include <atomic>
#include <cstdint>
#include <string>
#include <thread>
#include <vector>

namespace test {

/// A progress sink that records every call.
class CRecordingProgress : public ORVEN::IProgress {
public:
    void Start(unsigned total, const char* text) override {
        calls.push_back("Start " + std::to_string(total) + " " + text);
    }
    void SetText(const char* text) override { calls.push_back(std::string("SetText ") + text); }
    void Step(unsigned amount, int flag) override {
        calls.push_back("Step " + std::to_string(amount) + " " + std::to_string(flag));
        steps += amount;
        NoteThread();
    }
    void SetPosition(unsigned position) override {
        calls.push_back("SetPosition " + std::to_string(position));
    }
    void Finish() override { calls.emplace_back("Finish"); }
    void Cancel() override { isCancelled = true; }
    bool IsCancelled() override {
        ++questions;
        NoteThread();
        return isCancelled;
    }

    std::vector<std::string> calls;
    unsigned long steps = 0;
    std::atomic<std::int64_t> questions{0};
    /// Whether all steps and questions came from the thread that made this object.
    std::atomic<bool> isFromOneThread{true};
    std::atomic<bool> isCancelled{false};

private:
    void NoteThread() {
        if (std::this_thread::get_id() != owner)
            isFromOneThread = false;
    }

    const std::thread::id owner = std::this_thread::get_id();
};

} // namespace test
