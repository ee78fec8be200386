#pragma once

#include <QuillonBase/IProgress.h>

#include <atomic>
#include <string>
#include <thread>
#include <vector>

namespace test {

/// A progress sink that writes down what it is told.
class CRecordingProgress : public ORVEN::IProgress {
public:
    void Start(unsigned total, const char* text) override {
        calls.push_back("Start " + std::to_string(total) + " " + text);
    }
    void SetText(const char* text) override { calls.push_back(std::string("SetText ") + text); }
    void Step(unsigned amount, int flag) override {
        calls.push_back("Step " + std::to_string(amount) + " " + std::to_string(flag));
        steps += amount;
        isFromOneThread = isFromOneThread && std::this_thread::get_id() == owner;
    }
    void SetPosition(unsigned position) override {
        calls.push_back("SetPosition " + std::to_string(position));
    }
    void Finish() override { calls.emplace_back("Finish"); }
    void Cancel() override { isCancelled = true; }
    bool IsCancelled() override { return isCancelled; }

    std::vector<std::string> calls;
    unsigned long steps = 0;
    /// Whether all steps came from the thread that made this object.
    bool isFromOneThread = true;
    std::atomic<bool> isCancelled{false};

private:
    const std::thread::id owner = std::this_thread::get_id();
};

} // namespace test
