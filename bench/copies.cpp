// Copying a document and comparing two; what they are held against, load and walk, is in load.cpp.
#include <memory>

#include "contenders.h"
#include "measure.h"

namespace {

struct Pair {
    ParvelDocument document;
    IBinDocument* copy = nullptr;

    explicit Pair(const CaseFile& file) { document.Load(file); }
    Pair(const Pair&) = delete;
    Pair& operator=(const Pair&) = delete;
    ~Pair() {
        if (copy) copy->Release();
    }
};

struct Two {
    ParvelDocument one;
    ParvelDocument other;

    explicit Two(const CaseFile& file) {
        one.Load(file);
        other.Load(file);
    }
};

}  // namespace

void RegisterCopies() {
    for (const char* set : {"files", "series"}) {
        for (const CaseFile& file : CasesOf(set)) {
            Register("clone", "parvel", file.Label(), [file](benchmark::State& state) {
                EnsureDocument(file);
                Measure(
                    state, [&] { return std::make_unique<Pair>(file); },
                    [](Pair& pair) {
                        pair.document->Clone(&pair.copy);
                        return pair.copy != nullptr;
                    });
            });
            Register("compare", "parvel", file.Label(), [file](benchmark::State& state) {
                EnsureDocument(file);
                Measure(
                    state, [&] { return std::make_unique<Two>(file); },
                    [](Two& two) {
                        IBinDocument* other = two.other.Get();
                        return two.one->IsEqual(&other);
                    });
            });
        }
    }
}
