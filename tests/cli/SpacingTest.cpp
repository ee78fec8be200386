#include "cli/Spacing.h"

#include "cli/CCommandError.h"
#include "support/Raised.h"

#include <gtest/gtest.h>

#include <vector>

using namespace cli;

TEST(ParseSpacing, TakesTwoOrThreePositiveNumbers) {
    EXPECT_EQ(ParseSpacing("1,0.5,2e-6"), (std::vector<double>{1, 0.5, 2e-6}));
    EXPECT_EQ(ParseSpacing("1,0.5"), (std::vector<double>{1, 0.5}));
    for (const char* text :
         {"", "1", "1,2,3,4", "1,2,", "1,-2,3", "1,0,3", "1,x,3", "1,inf,3", "1,nan,3", "1;2;3"})
        EXPECT_EQ(test::Raised<CCommandError>([text] { ParseSpacing(text); }).Status(), STATUS_USAGE) << text;
}
