#pragma once

#include <gtest/gtest.h>

#include <cstdlib>
#include <optional>
#include <string>

namespace test {

/// The seeds of a test that repeats itself on random input, one for each round:
///
///     for (const unsigned seed : test::CRandomSeeds(0, 100)) {
///         std::mt19937 random(seed);
///         ...
///     }
///
/// A failure shows the seed of its round. With the environment variable QUILLON_TEST_SEED set, each loop has
/// one round, with that seed, so that a failure can be repeated alone:
///
///     QUILLON_TEST_SEED=17 bin/QuillonNumeric_test --gtest_filter=ConvexHull3d.*
///
/// A round must draw from a generator of its own.
class CRandomSeeds {
public:
    /// From `first` up to, but not including, `end`.
    CRandomSeeds(unsigned first, unsigned end)
        : m_first(first)
        , m_end(end) {
        if (const char* only = std::getenv("QUILLON_TEST_SEED")) {
            m_first = static_cast<unsigned>(std::stoul(only));
            m_end = m_first + 1;
        }
    }

    class CIterator {
    public:
        explicit CIterator(unsigned seed)
            : m_seed(seed) {}
        unsigned operator*() {
            m_trace.reset();
            m_trace.emplace(__FILE__, __LINE__, "QUILLON_TEST_SEED=" + std::to_string(m_seed));
            return m_seed;
        }
        CIterator& operator++() {
            m_trace.reset();
            ++m_seed;
            return *this;
        }
        friend bool operator!=(const CIterator& a, const CIterator& b) { return a.m_seed != b.m_seed; }

    private:
        unsigned m_seed;
        std::optional<testing::ScopedTrace> m_trace;
    };

    [[nodiscard]] CIterator begin() const { return CIterator(m_first); }
    [[nodiscard]] CIterator end() const { return CIterator(m_end); }

private:
    unsigned m_first;
    unsigned m_end;
};

} // namespace test
