// parvel_bench_memory CONTENDER STAGE FOLDER-AND-NAME: what one document keeps in memory, one process a measurement.
//
// Prints the bytes that malloc has handed out more than before, by how many bytes the resident memory grew, and (for
// this library, walked) the number of nodes. The same calls for each contender: STAGE is loaded or walked.
#include <malloc.h>
#include <unistd.h>

#include <cstdio>
#include <exception>
#include <fstream>
#include <string>

#include "contenders.h"

namespace {

std::uint64_t HeapBytes() {
    const struct mallinfo2 info = mallinfo2();
    return info.uordblks + info.hblkhd;
}

std::uint64_t ResidentBytes() {
    std::ifstream statm("/proc/self/statm");
    std::uint64_t total = 0;
    std::uint64_t resident = 0;
    statm >> total >> resident;
    return resident * static_cast<std::uint64_t>(sysconf(_SC_PAGESIZE));
}

template <class Contender>
int Report(const CaseFile& file, bool isWalked) {
    const std::uint64_t heapBefore = HeapBytes();
    const std::uint64_t residentBefore = ResidentBytes();
    Contender document;
    if (!document.Load(file)) return 2;
    std::uint64_t sum = 0;
    if (isWalked) sum = document.Walk();
    const std::uint64_t heap = HeapBytes() - heapBefore;
    const std::uint64_t resident = ResidentBytes() - residentBefore;
    std::uint64_t nodeCount = 0;
    if constexpr (requires { document.CountNodes(); }) {
        if (isWalked) nodeCount = document.CountNodes();
    }
    std::printf("%llu %llu %llu %llu\n", static_cast<unsigned long long>(heap),
                static_cast<unsigned long long>(resident), static_cast<unsigned long long>(nodeCount),
                static_cast<unsigned long long>(sum));
    return 0;
}

int Run(const std::string& contender, const std::string& stage, const std::string& label) {
    for (const CaseFile& file : CasesOf(label.substr(0, label.find('/')))) {
        if (file.Label() != label) continue;
        if (contender == "parvel") return Report<ParvelDocument>(file, stage == "walked");
        if (contender == "pugixml") return Report<PugixmlDocument>(file, stage == "walked");
    }
    return 4;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 4) return 4;
    try {
        return Run(argv[1], argv[2], argv[3]);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "parvel_bench_memory: %s\n", error.what());
        return 5;
    }
}
