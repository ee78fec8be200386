#pragma once

#include "support/CMemoryLimit.h"
#include "support/Raised.h"

#include <sorblib2core/CException.h>

#include <gtest/gtest.h>

#include <cstdint>
#include <regex>
#include <string>

namespace test {

/// Asserts that `body` refuses to allocate its tables when the process may only add 64 MiB. Skips the test
/// where that cannot be enforced.
template <class Body>
void ExpectRefusedForLackOfMemory(const std::string& purpose, const Body& body) {
    if (!CMemoryLimit::isEffective)
        GTEST_SKIP() << "the sanitizer needs the address space for itself";
    const auto raised = [&] {
        const CMemoryLimit limit(std::int64_t{64} << 20);
        return Raised<ORVEN::CException>(body);
    }();
    const std::regex message(purpose +
                             " needs [0-9]{8,} bytes of memory, and [0-9]{1,8} are available; use a "
                             "part of the image, or a larger machine\\.");
    EXPECT_TRUE(std::regex_match(raised.Message(), message)) << raised.Message();
}

} // namespace test
