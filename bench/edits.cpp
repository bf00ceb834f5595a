// Editing: how each operation grows with the number of nodes, from a thousand to a million.
#include <parvel/parvel.h>

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "contenders.h"
#include "measure.h"

namespace {

using Text = std::basic_string<WCHAR>;

Text Numbered(const char* word, int number) {
    const std::string text = word + std::to_string(number);
    return {text.begin(), text.end()};
}

// A document whose root has children, some sharing their names.
struct Family {
    ParvelDocument document;
    IBinNode* root = document.Root();

    explicit Family(int childCount) { Append(childCount); }
    Family(const Family&) = delete;
    Family& operator=(const Family&) = delete;
    ~Family() {
        root->Release();
        if (copy) copy->Release();
    }

    bool Append(int childCount) {
        static const std::vector<Text> names = [] {
            std::vector<Text> made;
            for (int i = 0; i < 100; ++i) made.push_back(Numbered("child", i));
            return made;
        }();
        bool isDone = true;
        for (int i = 0; i < childCount; ++i) {
            IBinNode* child = nullptr;
            document->CreateElement(&child, names[static_cast<std::size_t>(i) % names.size()].c_str());
            isDone = root->AppendChild(&child) && isDone;
            child->Release();
        }
        return isDone;
    }

    bool RemoveAll(bool isFromFront) {
        bool isDone = true;
        for (std::int32_t left = root->GetChildCount(); left > 0; --left) {
            IBinNode* child = nullptr;
            root->GetChild(isFromFront ? 0 : left - 1, &child);
            isDone = child->RemoveFromParent() && isDone;
            child->Release();
        }
        return isDone && root->GetChildCount() == 0;
    }

    // One attribute on each child.
    bool SetAttributes() {
        bool isDone = true;
        const std::int32_t childCount = root->GetChildCount();
        for (std::int32_t i = 0; i < childCount; ++i) {
            IBinNode* child = nullptr;
            root->GetChild(i, &child);
            isDone = child->SetAttribute(u"state", i % 2 ? u"odd" : u"even") && isDone;
            child->Release();
        }
        return isDone;
    }

    IBinNode* copy = nullptr;
};

// All of them on one element.
bool SetManyAttributes(Family& family, const std::vector<Text>& names) {
    bool isDone = true;
    for (const Text& name : names) isDone = family.root->SetAttribute(name.c_str(), u"value") && isDone;
    return isDone;
}

std::unique_ptr<Family> Edited(int count) {
    auto family = std::make_unique<Family>(count);
    family->SetAttributes();
    return family;
}

bool Rebuild(Family& family) {
    static const std::string path = ScratchPath("rebuilt.bdoc");
    return family.document->SaveToFile(Text(path.begin(), path.end()).c_str());
}

// A copy has what was saved, without the edits since.
std::unique_ptr<Family> Copied(int count) {
    auto family = Edited(count);
    Rebuild(*family);
    family->root->Clone(&family->copy, true);
    return family;
}

using Prepare = std::unique_ptr<Family> (*)(int);
using Operation = bool (*)(Family&, int);

struct Edit {
    const char* figure;
    Prepare prepare;
    Operation run;
};

std::unique_ptr<Family> Childless(int) {
    return std::make_unique<Family>(0);
}

std::unique_ptr<Family> WithChildren(int count) {
    return std::make_unique<Family>(count);
}

const Edit kEdits[] = {
    {"edit_append", Childless, [](Family& family, int count) { return family.Append(count); }},
    {"edit_remove_front", WithChildren, [](Family& family, int) { return family.RemoveAll(true); }},
    {"edit_remove_back", WithChildren, [](Family& family, int) { return family.RemoveAll(false); }},
    {"edit_set_attributes", WithChildren, [](Family& family, int) { return family.SetAttributes(); }},
    {"edit_clone", Edited, [](Family& family, int) { return family.root->Clone(&family.copy, true); }},
    {"edit_compare", Copied, [](Family& family, int) { return family.root->IsEqual(&family.copy, true); }},
    {"edit_rebuild", Edited, [](Family& family, int) { return Rebuild(family); }},
};

void SetManyOnOne(benchmark::State& state, int count) {
    std::vector<Text> names;
    for (int i = 0; i < count; ++i) names.push_back(Numbered("attribute", i));
    Measure(
        state, [] { return std::make_unique<Family>(0); },
        [&names](Family& family) { return SetManyAttributes(family, names); });
}

}  // namespace

void RegisterEdits() {
    for (const int count : {1'000, 10'000, 100'000, 1'000'000}) {
        const std::string label = "count/" + std::to_string(count);
        for (const Edit& edit : kEdits) {
            Register(edit.figure, "parvel", label, [&edit, count](benchmark::State& state) {
                Measure(
                    state, [&] { return edit.prepare(count); },
                    [&](Family& family) { return edit.run(family, count); });
            });
        }
        Register("edit_set_on_one", "parvel", label, [count](benchmark::State& state) { SetManyOnOne(state, count); });
    }
}
