#pragma once

#include <QuillonBase/ISummingProgress.h>

#include <cstdint>

namespace test {

/// A sink that only adds up steps. Counts them, the calls that reported them, and questions.
class CSummingSink : public ORVEN::ISummingProgress {
public:
    void Start(unsigned /*total*/, const char* /*text*/) override {}
    void SetText(const char* /*text*/) override {}
    void Step(unsigned amount, int /*flag*/) override {
        sum += amount;
        ++calls;
    }
    void SetPosition(unsigned /*position*/) override {}
    void Finish() override {}
    void Cancel() override {}
    bool IsCancelled() override { return questions++ == cancelAt; }

    std::int64_t sum = 0;
    int calls = 0;
    int questions = 0;
    int cancelAt = -1; ///< the question, from 0, that is answered with true
};

} // namespace test
