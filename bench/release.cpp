// Giving a document back, untouched after its load and after a full walk, against giving back one block of its size.
#include <malloc.h>

#include <memory>
#include <string>

#include "contenders.h"
#include "measure.h"

namespace {

std::unique_ptr<ParvelDocument> Loaded(const CaseFile& file) {
    auto document = std::make_unique<ParvelDocument>();
    document->Load(file);
    return document;
}

std::unique_ptr<ParvelDocument> Walked(const CaseFile& file) {
    auto document = Loaded(file);
    benchmark::DoNotOptimize(document->Walk());
    return document;
}

std::unique_ptr<PlainRead> Read(const CaseFile& file) {
    auto block = std::make_unique<PlainRead>();
    block->Load(file);
    return block;
}

constexpr int kLargeBlock = 128 * 1024;

const auto kRelease = [](auto& subject) {
    subject.Release();
    return true;
};

// The load before it takes far longer.
constexpr int kIterations = 3;

template <class Contender>
void RegisterFresh(const char* figure, const char* contender, const CaseFile& file,
                   std::unique_ptr<Contender> (*prepare)(const CaseFile&)) {
    const auto measure = [file, prepare](benchmark::State& state) {
        EnsureDocument(file);
        // malloc begins like this, and keeps ever larger blocks to itself as they are freed. So that each release gives
        // the block back to the system, as that of the first document does. Figures of other kinds run elsewhere.
        mallopt(M_MMAP_THRESHOLD, kLargeBlock);
        Measure(
            state, [&] { return prepare(file); }, kRelease);
    };
    Register(figure, contender, file.Label(), measure)->Iterations(kIterations);
}

void RegisterAgain(const char* figure, const CaseFile& file,
                   std::unique_ptr<ParvelDocument> (*prepare)(const CaseFile&)) {
    const auto measure = [file, prepare](benchmark::State& state) {
        EnsureDocument(file);
        Measure(
            state, [&] { return prepare(file); }, kRelease, Memory::kKept);
    };
    Register(figure, "parvel", file.Label(), measure)->Iterations(kIterations);
}

}  // namespace

void RegisterRelease() {
    for (const char* set : {"files", "series"}) {
        for (const CaseFile& file : CasesOf(set)) RegisterFresh("release_walked", "parvel", file, Walked);
    }
    for (const CaseFile& file : CasesOf("files")) {
        RegisterFresh("release_untouched", "parvel", file, Loaded);
        RegisterFresh("release_untouched", "one_block", file, Read);
        RegisterAgain("release_untouched_again", file, Loaded);
        RegisterAgain("release_walked_again", file, Walked);
    }
}
