// Where libFuzzer enters; compiled once per fuzzer, with the name of its target.
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "targets.h"

namespace {

consteval FuzzTarget FindTarget(std::string_view name) {
    for (const FuzzTarget& target : kFuzzTargets) {
        if (target.name == name) return target;
    }
    throw "no such target";
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    constexpr FuzzTarget kTarget = FindTarget(PARVEL_FUZZ_TARGET);
    kTarget.run({bytes, size});
    return 0;
}
