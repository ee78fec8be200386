#include "QuillonBase/AvailableMemory.h"

#include "support/CMemoryLimit.h"
#include "support/Raised.h"

#include <sorblib2core/CException.h>

#include <gtest/gtest.h>

#include <cstdint>
#include <string>

namespace {

using namespace ORVEN;

TEST(AvailableMemory, WhatIsAvailableIsNotRefused) {
    ASSERT_TRUE(AvailableMemory());
    EXPECT_GT(*AvailableMemory(), 0);
    EXPECT_NO_THROW(RequireMemory("Function", "The table", 1));
}

TEST(AvailableMemory, ARefusalNamesTheBytesNeededAndAvailable) {
    const std::int64_t most = std::int64_t{1} << 62;
    const auto raised = test::Raised<CException>([&] { RequireMemory("Function", "The table", most); });
    const std::string message = raised.Message();
    const std::string beginning = "The table needs 4611686018427387904 bytes of memory, and ";
    EXPECT_TRUE(message.starts_with(beginning)) << message;
    EXPECT_TRUE(message.ends_with(" are available; use a part of the image, or a larger machine."))
        << message;
    EXPECT_GT(std::stoll(message.substr(beginning.size())), 0) << message;
}

TEST(AvailableMemory, CountsOnlyWhatTheProcessMayAdd) {
    if (!test::CMemoryLimit::isEffective)
        GTEST_SKIP() << "the sanitizer needs the address space for itself";
    const std::int64_t limit = std::int64_t{256} << 20;
    const test::CMemoryLimit limited(limit);
    EXPECT_LE(AvailableMemory(), limit);
}

} // namespace
