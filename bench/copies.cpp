// Copying a document and comparing two, as they were loaded and after an edit, which rules out the shortest ways; what
// they are held against, load and walk, is in load.cpp.
#include <memory>

#include "contenders.h"
#include "measure.h"

namespace {

void Edit(const ParvelDocument& document) {
    IBinNode* root = document.Root();
    root->SetAttribute(u"edited", u"yes");
    root->Release();
}

struct Pair {
    ParvelDocument document;
    IBinDocument* copy = nullptr;

    Pair(const CaseFile& file, bool isEdited) {
        document.Load(file);
        if (isEdited) Edit(document);
    }
    Pair(const Pair&) = delete;
    Pair& operator=(const Pair&) = delete;
    ~Pair() {
        if (copy) copy->Release();
    }
};

struct Two {
    ParvelDocument one;
    ParvelDocument other;

    Two(const CaseFile& file, bool areEdited) {
        one.Load(file);
        other.Load(file);
        if (!areEdited) return;
        Edit(one);
        Edit(other);
    }
};

}  // namespace

void RegisterCopies() {
    for (const char* set : {"files", "series"}) {
        for (const CaseFile& file : CasesOf(set)) {
            for (const bool isEdited : {false, true}) {
                Register(isEdited ? "clone_edited" : "clone", "parvel", file.Label(), [=](benchmark::State& state) {
                    EnsureDocument(file);
                    Measure(
                        state, [&] { return std::make_unique<Pair>(file, isEdited); },
                        [](Pair& pair) {
                            pair.document->Clone(&pair.copy);
                            return pair.copy != nullptr;
                        });
                });
                Register(isEdited ? "compare_edited" : "compare", "parvel", file.Label(), [=](benchmark::State& state) {
                    EnsureDocument(file);
                    Measure(
                        state, [&] { return std::make_unique<Two>(file, isEdited); },
                        [](Two& two) {
                            IBinDocument* other = two.other.Get();
                            return two.one->IsEqual(&other);
                        });
                });
            }
        }
    }
}
