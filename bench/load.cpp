// Loading, loading with a full walk, and the first answer.
#include <memory>
#include <optional>
#include <vector>

#include "contenders.h"
#include "measure.h"

namespace {

template <class Contender>
bool Load(Contender& contender, const CaseFile& file) {
    return contender.Load(file);
}

template <class Contender>
bool LoadAndWalk(Contender& contender, const CaseFile& file) {
    if (!contender.Load(file)) return false;
    benchmark::DoNotOptimize(contender.Walk());
    return true;
}

template <class Contender>
bool LoadAndAsk(Contender& contender, const CaseFile& file) {
    return contender.Load(file) && contender.FirstAnswer() != 0;
}

// So many small documents in a row that looking at the clock costs nothing.
constexpr std::size_t kBatch = 50;

template <class Contender>
struct Batch {
    std::vector<std::optional<Contender>> documents{kBatch};
};

template <class Contender>
void RegisterSmall(const char* contender, const CaseFile& file) {
    Register("load", contender, file.Label(), [file](benchmark::State& state) {
        EnsureDocument(file);
        const auto load = [&file](Batch<Contender>& batch) {
            bool isDone = true;
            for (std::optional<Contender>& document : batch.documents) isDone = document.emplace().Load(file) && isDone;
            return isDone;
        };
        Measure(
            state, [] { return std::make_unique<Batch<Contender>>(); }, load, Memory::kWarm);
    });
}

template <class Contender, bool (*Job)(Contender&, const CaseFile&)>
void RegisterJob(const char* figure, const char* contender, const CaseFile& file) {
    Register(figure, contender, file.Label(), [file](benchmark::State& state) {
        EnsureDocument(file);
        Measure(
            state, [] { return std::make_unique<Contender>(); },
            [&file](Contender& subject) { return Job(subject, file); });
    });
}

// The same in a host that has done it before and keeps the memory.
template <class Contender, bool (*Job)(Contender&, const CaseFile&)>
void RegisterAgain(const char* figure, const char* contender, const CaseFile& file) {
    Register(figure, contender, file.Label(), [file](benchmark::State& state) {
        EnsureDocument(file);
        const auto prepare = [&file] {
            Contender before;
            Job(before, file);
            return std::make_unique<Contender>();
        };
        Measure(
            state, prepare, [&file](Contender& subject) { return Job(subject, file); }, Memory::kKept);
    });
}

}  // namespace

void RegisterLoad() {
    for (const CaseFile& file : CasesOf("small")) {
        RegisterSmall<ParvelDocument>("parvel", file);
        RegisterSmall<PugixmlDocument>("pugixml", file);
    }
    for (const char* set : {"files", "series"}) {
        for (const CaseFile& file : CasesOf(set)) {
            RegisterJob<ParvelDocument, Load>("load", "parvel", file);
            RegisterJob<PugixmlDocument, Load>("load", "pugixml", file);
            RegisterJob<Libxml2Document, Load>("load", "libxml2", file);
            if (file.set == "files") RegisterJob<ReadAndCheck, Load>("load", "limit", file);
            if (file.set == "files") RegisterJob<PlainRead, Load>("load", "read", file);
        }
    }
    for (const char* set : {"files", "series"}) {
        for (const CaseFile& file : CasesOf(set)) {
            RegisterJob<ParvelDocument, LoadAndWalk>("load_walk", "parvel", file);
            if (file.set == "files") RegisterJob<PugixmlDocument, LoadAndWalk>("load_walk", "pugixml", file);
        }
    }
    for (const CaseFile& file : CasesOf("files")) {
        RegisterAgain<ParvelDocument, Load>("load_again", "parvel", file);
        RegisterAgain<PugixmlDocument, Load>("load_again", "pugixml", file);
        RegisterAgain<Libxml2Document, Load>("load_again", "libxml2", file);
        RegisterAgain<ParvelDocument, LoadAndWalk>("load_walk_again", "parvel", file);
        RegisterAgain<PugixmlDocument, LoadAndWalk>("load_walk_again", "pugixml", file);
    }
    for (const CaseFile& file : CasesOf("files")) {
        if (file.name != "mixed.xml") continue;
        RegisterJob<ParvelDocument, LoadAndAsk>("first_answer", "parvel", file);
        RegisterJob<PugixmlDocument, LoadAndAsk>("first_answer", "pugixml", file);
    }
}
