// The exports that do next to nothing.
#include <gtest/gtest.h>

#include "parvel/parvel.h"

namespace {

TEST(SmallExports, AnswerWithConstantsAndReleaseBlocks) {
    for (const std::uint32_t argument : {0u, 1u, 0x80000000u, 0xFFFFFFFFu}) {
        EXPECT_TRUE(EcSpt(argument, ~argument));
        EXPECT_EQ(DeSpt(argument), 0u);
    }
    EXPECT_FALSE(FreeSpt(nullptr));
    EXPECT_TRUE(FreeSpt(new unsigned char[100]));  // a leak or a second release would be reported
}

}  // namespace
