// Cases, and what the runner makes of crashes.

#include "validate/Runner.h"

#include "engine/errors/CEngineError.h"
#include "support/Raised.h"

#include <gtest/gtest.h>

namespace validate {

TEST(Case, IsReadAsItIsWritten) {
    for (const char* text : {"image.keeps-the-pixels:GaussFilter:1", "a.b:C:4294967295:round 3: and more"})
        EXPECT_EQ(ParseCase(text).Text(), text);
    const StCase parsed = ParseCase("truth.defaults-are-used:Thing:7:a/b:c");
    EXPECT_EQ(parsed.rule, "truth.defaults-are-used");
    EXPECT_EQ(parsed.plugin, "Thing");
    EXPECT_EQ(parsed.seed, 7U);
    EXPECT_EQ(parsed.variation, "a/b:c");
}

TEST(Case, OfAnotherFormIsRefused) {
    for (const std::string text : {"", "rule", "rule:plugin", "rule:plugin:", "rule:plugin:x",
                                   "rule:plugin:-1", "rule:plugin:4294967296", ":plugin:1", "rule::1"})
        EXPECT_EQ(std::string(test::Raised<engine::CCallerError>([&] { ParseCase(text); }).what()),
                  "'" + text + "' is not a case; it must be RULE:PLUGIN:SEED or RULE:PLUGIN:SEED:VARIATION");
}

} // namespace validate
