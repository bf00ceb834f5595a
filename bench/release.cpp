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

template <class Contender>
void RegisterOne(const std::string& figure, const char* contender, const CaseFile& file,
                 std::unique_ptr<Contender> (*prepare)(const CaseFile&)) {
    const auto release = [](Contender& subject) {
        subject.Release();
        return true;
    };
    const auto first = [file, prepare, release](benchmark::State& state) {
        EnsureDocument(file);
        // malloc begins like this, and keeps ever larger blocks to itself as they are freed. So that each release gives
        // the block back to the system, as that of the first document does. Figures of other kinds run elsewhere.
        mallopt(M_MMAP_THRESHOLD, kLargeBlock);
        Measure(
            state, [&] { return prepare(file); }, release);
    };
    Register(figure, contender, file.Label(), first)->Iterations(3);  // the load before it takes far longer
    if (file.set != "files") return;
    const auto again = [file, prepare, release](benchmark::State& state) {
        EnsureDocument(file);
        const auto secondOne = [&] {
            prepare(file);
            return prepare(file);
        };
        Measure(state, secondOne, release, Memory::kWarm);
    };
    Register(figure + "_again", contender, file.Label(), again)->Iterations(3);
}

}  // namespace

void RegisterRelease() {
    for (const char* set : {"files", "series"}) {
        for (const CaseFile& file : CasesOf(set)) {
            RegisterOne("release_untouched", "parvel", file, Loaded);
            RegisterOne("release_walked", "parvel", file, Walked);
            RegisterOne("release_untouched", "one_block", file, Read);
        }
    }
}
