// The fuzzers' targets over the inputs in fuzz/seeds: what once broke something, and what reaches far.
#include <gtest/gtest.h>

#include <filesystem>
#include <iostream>
#include <string>

#include "targets.h"
#include "test_files.h"

static void PrintTo(const FuzzTarget& target, std::ostream* out) {
    *out << target.name;
}

namespace {

class FuzzSeeds : public ::testing::TestWithParam<FuzzTarget> {};

TEST_P(FuzzSeeds, KeepEveryPromise) {
    const std::filesystem::path folder = std::filesystem::path(PARVEL_ROOT) / "fuzz/seeds" / GetParam().seeds;
    int count = 0;
    for (const auto& seed : std::filesystem::directory_iterator(folder)) {
        std::cout << seed.path().filename() << std::endl;  // a broken promise ends the process
        GetParam().run(ReadBytes(seed.path()));
        ++count;
    }
    EXPECT_GE(count, 5);
}

INSTANTIATE_TEST_SUITE_P(Targets, FuzzSeeds, ::testing::ValuesIn(kFuzzTargets),
                         [](const auto& target) { return std::string(target.param.name); });

}  // namespace
