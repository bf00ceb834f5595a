// Giving a document back, untouched after its load and after a full walk.
#include <memory>

#include "contenders.h"
#include "measure.h"

namespace {

std::unique_ptr<ParvelDocument> Loaded(const CaseFile& file, bool isWalked) {
    auto document = std::make_unique<ParvelDocument>();
    document->Load(file);
    if (isWalked) benchmark::DoNotOptimize(document->Walk());
    return document;
}

}  // namespace

void RegisterRelease() {
    for (const char* set : {"files", "series"}) {
        for (const CaseFile& file : CasesOf(set)) {
            for (const bool isWalked : {false, true}) {
                Register(isWalked ? "release_walked" : "release_untouched", "parvel", file.Label(),
                         [file, isWalked](benchmark::State& state) {
                             EnsureDocument(file);
                             Measure(
                                 state, [&] { return Loaded(file, isWalked); },
                                 [](ParvelDocument& document) {
                                     document.Release();
                                     return true;
                                 });
                         })
                    ->Iterations(3);  // the load before it takes far longer
            }
        }
    }
}
