// The fuzzers' targets over the inputs in fuzz/seeds: what once broke something, and what reaches far; and over what
// comes of these by cutting, joining and changing a few bytes at random.
#include <gtest/gtest.h>

#include <iostream>
#include <random>

#include "targets.h"
#include "test_files.h"

static void PrintTo(const FuzzTarget& target, std::ostream* out) {
    *out << target.name;
}

namespace {

using Input = std::vector<unsigned char>;

class FuzzSeeds : public ::testing::TestWithParam<FuzzTarget> {
protected:
    void SetUp() override {
        const auto folder = std::filesystem::path(PARVEL_ROOT) / "fuzz/seeds" / GetParam().seeds;
        for (const auto& seed : std::filesystem::directory_iterator(folder)) m_names.push_back(seed.path());
        std::sort(m_names.begin(), m_names.end());
        ASSERT_GE(m_names.size(), 5u);
    }
    // A broken promise ends the process: what was run stands in front of it.
    void Run(const Input& input) const { GetParam().run(input); }

    std::vector<std::filesystem::path> m_names;
};

TEST_P(FuzzSeeds, KeepEveryPromise) {
    for (const std::filesystem::path& name : m_names) {
        std::cout << name.filename() << std::endl;
        Run(ReadBytes(name));
    }
}

TEST_P(FuzzSeeds, AndSoDoesWhatComesOfThem) {
    std::mt19937 random(8);
    const auto below = [&](std::size_t bound) { return static_cast<std::ptrdiff_t>(random() % bound); };
    std::vector<Input> seeds;
    for (const std::filesystem::path& name : m_names) seeds.push_back(ReadBytes(name));
    for (int round = 0; round < GetParam().rounds; ++round) {
        Input input = seeds[random() % seeds.size()];
        const Input& other = seeds[random() % seeds.size()];
        if (random() % 3 == 0) input.resize(random() % (input.size() + 1));
        if (random() % 3 == 0) {
            const std::ptrdiff_t from = below(other.size() + 1);
            const std::ptrdiff_t size =
                below(std::min<std::size_t>(other.size() - static_cast<std::size_t>(from), 40) + 1);
            input.insert(input.begin() + below(input.size() + 1), other.begin() + from, other.begin() + from + size);
        }
        for (std::ptrdiff_t changes = below(4); changes > 0 && !input.empty(); --changes) {
            const unsigned char any = static_cast<unsigned char>(random() % 3 ? random() % 6 : random());
            input[random() % input.size()] = random() % 2 && !other.empty() ? other[random() % other.size()] : any;
        }
        SCOPED_TRACE(round);
        Run(input);
    }
}

INSTANTIATE_TEST_SUITE_P(Targets, FuzzSeeds, ::testing::ValuesIn(kFuzzTargets),
                         [](const auto& target) { return std::string(target.param.name); });

}  // namespace
