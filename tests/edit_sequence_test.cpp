// Random sequences of edits beside the plain model.
//
// PARVEL_RANDOM_SEQUENCES sets the number of sequences, PARVEL_RANDOM_SEED the first seed.
#include <gtest/gtest.h>

#include <cstdlib>
#include <random>

#include "edit_sequence.h"

namespace {

std::uint64_t NumberFromEnvironment(const char* name, std::uint64_t otherwise) {
    const char* text = std::getenv(name);
    return text ? std::strtoull(text, nullptr, 10) : otherwise;
}

// Gives the number of calls that found no memory.
int RunSequences(std::uint64_t usualCount, bool areStarved) {
    const edits::Files files;
    const std::uint64_t first = NumberFromEnvironment("PARVEL_RANDOM_SEED", 1);
    const std::uint64_t count = NumberFromEnvironment("PARVEL_RANDOM_SEQUENCES", usualCount);
    int failureCount = 0;
    { const CFailingNew warm(0); }  // so that what the first exception allocates for good is there
    for (std::uint64_t seed = first; seed < first + count && !::testing::Test::HasFailure(); ++seed) {
        g_lower = seed / 2 % 4 == 0 && !areStarved ? 1 : 0;
        const std::int64_t blocksBefore = LiveBlockCount();
        {
            edits::Sequence sequence(std::mt19937_64(seed), files, seed % 2 == 1, areStarved);
            sequence.Run(40);
            sequence.Finish();
            failureCount += sequence.FailureCount();
        }
        const std::int64_t blocksLeft = LiveBlockCount() - blocksBefore;
        EXPECT_TRUE(blocksLeft == 0 || ::testing::Test::HasFailure()) << blocksLeft << " blocks are left";
        if (::testing::Test::HasFailure()) ADD_FAILURE() << "seed " << seed;
    }
    g_lower = 0;
    return failureCount;
}

}  // namespace

TEST(ModelRandom, AgreesWithThePlainModel) {
    RunSequences(4000, false);
}

TEST(ModelRandom, WithoutMemoryChangesNothingAndCanBeTriedAgain) {
    EXPECT_GT(RunSequences(1000, true), 1000);
}
