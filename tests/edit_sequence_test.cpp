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

}  // namespace

TEST(ModelRandom, AgreesWithThePlainModel) {
    const CTestFolder folder;
    const std::uint64_t first = NumberFromEnvironment("PARVEL_RANDOM_SEED", 1);
    const std::uint64_t count = NumberFromEnvironment("PARVEL_RANDOM_SEQUENCES", 4000);
    for (std::uint64_t seed = first; seed < first + count && !HasFailure(); ++seed) {
        g_lower = seed / 2 % 4 == 0 ? 1 : 0;
        {
            edits::Sequence sequence(std::mt19937_64(seed), folder, seed % 2 == 1);
            sequence.Run(40);
            sequence.Finish();
        }
        if (HasFailure()) ADD_FAILURE() << "seed " << seed;
    }
    g_lower = 0;
}
