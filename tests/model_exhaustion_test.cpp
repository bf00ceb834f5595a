// Every operation of the model with the n-th allocation failing, for every n: nothing is lost or half done, and the
// same call succeeds once there is memory.
#include <functional>

#include "document_bytes.h"
#include "failing_new.h"

namespace {

// Two documents, some held nodes, a place for a result. Names are lower-case and no value is missing, so that a node
// shows the same whether its attributes are in its record or pending.
struct World {
    World(const CTestFolder& files, bool isClone) : folder(files) {
        held.reserve(16);
        // A clone's is pending, and a rebuild that fails may leave it in the text child.
        const std::uint32_t ownValue = isClone ? kNoWord : 6;
        first = LoadedDocument(CBytes()
                                   .Words({u"a", u"x", u"1", u"y", u"2", u"hi", u"own"})
                                   .Element(0, 5, {1, 2, 3, 4})
                                   .Element(1, 1, {1, 4}, ownValue)
                                   .TextNode(5)
                                   .Element(3, 0)
                                   .Element(3, 3, {3, 2})
                                   .TextNode(5)
                                   .Element(0, 1)
                                   .TextNode(2)
                                   .TextNode(4, 4)
                                   .TextNode(5)
                                   .Element(6, 0));
        if (isClone) {
            IBinDocument* clone = nullptr;
            first->Clone(&clone);
            first.reset(static_cast<CBinaryDocument*>(clone));
        }
        second = LoadedDocument(CBytes()
                                    .Words({u"r", u"x", u"v", u"w"})
                                    .Element(0, 2, {1, 2})
                                    .Element(2, 2, {1, 3})
                                    .TextNode(2)
                                    .Element(3, 1, {1, 2})
                                    .TextNode(3)
                                    .Element(3, 0));
    }

    IBinDocument* First() const { return first.get(); }
    IBinNode* Held(std::size_t i) const { return held[i].get(); }
    void Hold(NodePtr node) { held.push_back(std::move(node)); }

    // All that can be seen, in memory and saved; and again after a rebuild.
    std::string Shown() {
        std::string shown;
        for (int round = 0; round < 2; ++round) {
            for (CBinaryDocument* document : {first.get(), second.get()}) {
                shown += RootNotation(document) + '\n';
                const Bytes bytes = SavedBytes(document, folder);
                if (document->Root()) shown += RootNotation(LoadedDocument(bytes).get()) + '\n';
                document->SetModified(true);
            }
            for (const NodePtr& node : held) shown += Notation(node.get()) + '\n';
            if (copy) shown += RootNotation(static_cast<CBinaryDocument*>(copy.get())) + '\n';
        }
        return shown;
    }

    const CTestFolder& folder;
    const Text saved = folder.Path("saved");
    const Text in = folder.Path("in");
    DocumentPtr first;
    DocumentPtr second;
    std::unique_ptr<IBinDocument, DocumentRelease> copy;
    std::vector<NodePtr> held;
};

struct Row {
    const char* what;
    std::function<void(World&)> prepare;
    std::function<bool(World&)> run;  // true when it has succeeded
};

bool HoldNew(World& world, IBinNode* node) {
    if (!node) return false;
    world.held.emplace_back(node);
    return true;
}

// Behind those that the nodes have, in the order in which a rebuild sorts them.
void SetManyAttributes(IBinNode* node, int count) {
    Text name = WTEXT("yA");
    for (; count > 0; --count, ++name.back()) node->SetAttribute(name.c_str(), WTEXT("v"));
}

const Text kLongName(100, WCHAR('X'));
const Bytes kOther = CBytes().Words({u"new"}).Element(0, 1, {0, 0}).TextNode(0);

const auto kNothing = [](World&) {};
const auto kHoldMiddle = [](World& world) { world.Hold(NodeAt(world.First(), {2})); };
const auto kHoldRoot = [](World& world) { world.Hold(RootOf(world.First())); };
const auto kHoldNodes = [](World& world) {
    world.Hold(RootOf(world.First()));
    world.Hold(NodeAt(world.First(), {0}));
    world.Hold(NodeAt(world.second.get(), {0}));
    world.Hold(RootOf(world.second.get()));
    world.Hold(NodeAt(world.First(), {2}));
};

const Row kRows[] = {
    {"GetChild", kHoldMiddle,
     [](World& world) {
         IBinNode* child = nullptr;
         world.Held(0)->GetChild(1, &child);
         return HoldNew(world, child);
     }},
    {"GetAttribute of a long name",
     [](World& world) {
         kHoldRoot(world);
         world.Held(0)->SetAttribute(kLongName.c_str(), WTEXT("v"));
         SavedBytes(world.First(), world.folder);
     },
     [](World& world) { return world.Held(0)->GetAttribute(kLongName.c_str()) != nullptr; }},
    {"GetAttrPair", kHoldRoot,
     [](World& world) {
         IAttrPair* pair = nullptr;
         world.Held(0)->GetAttrPair(1, &pair);
         return pair && pair->Release() == 0;
     }},
    {"GetAttrPair of a pending attribute",
     [](World& world) {
         kHoldRoot(world);
         SetManyAttributes(world.Held(0), 3);
     },
     [](World& world) {
         IAttrPair* pair = nullptr;
         world.Held(0)->GetAttrPair(2, &pair);
         return pair && pair->Release() == 0;
     }},
    {"SetName", kHoldMiddle, [](World& world) { return world.Held(0)->SetName(WTEXT("n")); }},
    {"SetAttribute to what it is", kHoldRoot,
     [](World& world) { return world.Held(0)->SetAttribute(WTEXT("x"), WTEXT("1")); }},
    {"SetAttribute to another value", kHoldRoot,
     [](World& world) { return world.Held(0)->SetAttribute(WTEXT("x"), WTEXT("other")); }},
    {"SetAttribute of a new name", kHoldMiddle,
     [](World& world) { return world.Held(0)->SetAttribute(WTEXT("z"), WTEXT("new")); }},
    {"SetAttribute of the seventeenth name",
     [](World& world) {
         kHoldMiddle(world);
         SetManyAttributes(world.Held(0), 16);
     },
     [](World& world) { return world.Held(0)->SetAttribute(WTEXT("z"), WTEXT("new")); }},
    {"RemoveAttribute", kHoldRoot, [](World& world) { return world.Held(0)->RemoveAttribute(WTEXT("x")); }},
    {"RemoveAttribute of a name that is not there", kHoldRoot,
     [](World& world) { return !world.Held(0)->RemoveAttribute(WTEXT("z")); }},
    {"SetValue of a text",
     [](World& world) {
         world.Hold(NodeAt(world.First(), {0, 0}));
     },
     [](World& world) { return world.Held(0)->SetValue(WTEXT("new")); }},
    {"SetValue of an element with a text", [](World& world) { world.Hold(NodeAt(world.First(), {0})); },
     [](World& world) { return world.Held(0)->SetValue(WTEXT("new")); }},
    {"SetValue of an element without children", [](World& world) { world.Hold(NodeAt(world.First(), {1})); },
     [](World& world) { return world.Held(0)->SetValue(WTEXT("new")); }},
    {"SetValue through a pair", kHoldRoot,
     [](World& world) {
         IAttrPair* pair = nullptr;
         world.Held(0)->GetAttrPair(1, &pair);
         if (!pair) return false;
         const bool isSet = pair->SetValue(WTEXT("new"));
         pair->Release();
         return isSet;
     }},
    {"AppendChild of another parent's", kHoldNodes, [](World& world) { return Append(world.Held(1), world.Held(4)); }},
    {"AppendChild of its own", kHoldNodes, [](World& world) { return Append(world.Held(0), world.Held(4)); }},
    {"AppendChild of another document's", kHoldNodes,
     [](World& world) { return Append(world.Held(1), world.Held(2)); }},
    {"AppendChild of another document's root", kHoldNodes,
     [](World& world) { return Append(world.Held(1), world.Held(3)); }},
    {"AppendChild that leaves a hole in the list",
     [](World& world) {
         kHoldRoot(world);
         for (int i = 0; i < 59; ++i) Append(world.Held(0), NewElement(world.First(), WTEXT("e")).get());
         world.Hold(NodeAt(world.First(), {2}));
     },
     [](World& world) { return Append(world.Held(0), world.Held(1)); }},
    {"RemoveFromParent", kHoldMiddle, [](World& world) { return world.Held(0)->RemoveFromParent(); }},
    {"release of the parent of held nodes beside others",
     [](World& world) {
         kHoldMiddle(world);
         for (const int i : {1, 0, 2}) world.Hold(NodeAt(world.First(), {2, i}));
         world.Held(0)->RemoveFromParent();
         for (int i = 0; i < 7; ++i) world.Hold(NewElement(world.First(), WTEXT("e")));
         std::rotate(world.held.begin(), world.held.begin() + 1, world.held.end());
     },
     [](World& world) {
         world.held.pop_back();
         return true;
     }},
    {"Clone", kHoldRoot,
     [](World& world) {
         IBinNode* copy = nullptr;
         return world.Held(0)->Clone(&copy, true) && HoldNew(world, copy);
     }},
    {"IsEqual", kHoldRoot,
     [](World& world) {
         IBinNode* root = world.Held(0);
         return root->IsEqual(&root, true);
     }},
    {"CreateNode", kNothing,
     [](World& world) {
         IBinNode* node = nullptr;
         world.First()->CreateNode(&node);
         return HoldNew(world, node);
     }},
    {"CreateElement", kNothing,
     [](World& world) {
         IBinNode* node = nullptr;
         world.First()->CreateElement(&node, WTEXT("new"));
         return HoldNew(world, node);
     }},
    {"GetRoot of an empty document", [](World& world) { world.first = NewDocument(); },
     [](World& world) {
         IBinNode* root = nullptr;
         world.First()->GetRoot(&root);
         return HoldNew(world, root);
     }},
    {"Clone of a document", kHoldRoot,
     [](World& world) {
         IBinDocument* copy = nullptr;
         world.First()->Clone(&copy);
         world.copy.reset(copy);
         return copy != nullptr;
     }},
    {"IsEqual of documents",
     [](World& world) {
         IBinDocument* copy = nullptr;
         SavedBytes(world.First(), world.folder);
         world.First()->SetModified(true);
         SavedBytes(world.First(), world.folder);
         world.First()->Clone(&copy);
         world.copy.reset(copy);
     },
     [](World& world) {
         IBinDocument* copy = world.copy.get();
         return world.First()->IsEqual(&copy);
     }},
    {"SaveToFile", kHoldNodes, [](World& world) { return world.First()->SaveToFile(world.saved.c_str()); }},
    {"SaveToFile of what is edited in every way",
     [](World& world) {
         kHoldNodes(world);
         SetManyAttributes(world.Held(1), 18);
         NodeAt(world.First(), {2})->SetName(WTEXT("n"));
         NodeAt(world.First(), {1})->SetValue(WTEXT("new"));
         Append(world.Held(0), world.Held(2));
         IBinNode* bare = nullptr;
         world.First()->CreateNode(&bare);
         Append(world.Held(0), bare);
         bare->Release();
         NodeAt(world.First(), {2, 1})->RemoveFromParent();
     },
     [](World& world) { return world.First()->SaveToFile(world.saved.c_str()); }},
    {"ExportToXml", kHoldNodes, [](World& world) { return world.First()->ExportToXml(world.saved.c_str()); }},
    {"LoadFromBuffer", kHoldNodes, [](World& world) { return world.First()->LoadFromBuffer(kOther.data()); }},
    {"LoadFromFile",
     [](World& world) {
         kHoldNodes(world);
         WriteBytes(world.folder.File("in"), kOther);
     },
     [](World& world) { return world.First()->LoadFromFile(world.in.c_str()); }},
};

}  // namespace

TEST(ModelExhaustion, FailedOperationsChangeNothingAndCanBeTriedAgain) {
    const CTestFolder folder;
    int failures = 0;
    for (std::size_t i = 0; i < 2 * std::size(kRows); ++i) {
        const Row& row = kRows[i / 2];
        const bool isClone = i % 2 == 1;
        SCOPED_TRACE(std::string(row.what) + (isClone ? " in a clone" : ""));
        const auto shownAfter = [&](bool isRun) {
            World world(folder, isClone);
            row.prepare(world);
            EXPECT_TRUE(!isRun || row.run(world));
            return world.Shown();
        };
        const std::string before = shownAfter(false);
        const std::string after = shownAfter(true);
        bool hasFailed = true;
        int successes = 0;
        for (; hasFailed && successes < 1000; ++successes) {
            for (const bool isTriedAgain : {false, true}) {
                World world(folder, isClone);
                row.prepare(world);
                bool isDone = false;
                {
                    const CFailingNew failing(successes);
                    isDone = row.run(world);
                    hasFailed = failing.HasFailed();
                }
                EXPECT_TRUE(isDone || hasFailed);
                if (isTriedAgain && !isDone) {
                    isDone = row.run(world);
                    EXPECT_TRUE(isDone);
                }
                const std::string shown = world.Shown();
                EXPECT_EQ(shown, isDone ? after : before) << "allocation " << successes << " fails";
            }
        }
        failures += successes - 1;
    }
    EXPECT_GT(failures, 100);
}
