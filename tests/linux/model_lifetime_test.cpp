// Documents, nodes and pairs released in every order, and what those that are left answer.
#include <algorithm>
#include <array>
#include <numeric>

#include "document_bytes.h"
#include "failing_new.h"

namespace {

const Bytes kFirst = CBytes()
                         .Words({u"a", u"x", u"1", u"hi"})
                         .Element(0, 1, {1, 2})
                         .Element(1, 2, {1, 2})
                         .TextNode(3)
                         .Element(2, 0, {1, 3});
const Bytes kSecond = CBytes().Words({u"b", u"y"}).Element(0, 2).Element(1, 1, {1, 1}).TextNode(0).TextNode(1, 4);

// Reads a node in every way, and edits it when it is still of a document.
void Use(IBinNode* node, bool isAlive) {
    node->AddRef();
    EXPECT_EQ(node->GetType() != 0, isAlive);
    EXPECT_EQ(node->GetName() != nullptr, isAlive);
    EXPECT_EQ(node->SetName(WTEXT("n")), isAlive);
    EXPECT_EQ(node->SetValue(WTEXT("v")), isAlive);
    EXPECT_EQ(node->SetAttribute(WTEXT("x"), WTEXT("2")), isAlive);
    EXPECT_EQ(node->GetAttribute(WTEXT("x")) != nullptr, isAlive);
    EXPECT_EQ(node->RemoveAttribute(WTEXT("x")), isAlive);
    EXPECT_EQ(node->AppendChild(nullptr), isAlive);
    EXPECT_EQ(node->IsEqual(&node, true), isAlive);
    IBinNode* other = node;
    node->GetParent(&other);
    if (other) other->Release();
    EXPECT_TRUE(isAlive || !other);
    node->GetChild(0, &other);
    EXPECT_TRUE(isAlive || !other);
    if (other) other->Release();
    other = nullptr;
    EXPECT_EQ(node->Clone(&other, true), isAlive);
    if (other) other->Release();
    IAttrPair* pair = nullptr;
    node->GetAttrPair(0, &pair);
    EXPECT_TRUE(isAlive || !pair);
    if (pair) pair->Release();
    EXPECT_TRUE(isAlive || (!node->RemoveFromParent() && node->GetChildCount() == 0 && node->GetAttrCount() == 0 &&
                            !node->GetValue()));
    node->Release();
}

// Two documents and what a host may hold of them.
struct Held {
    enum Kind { kDocument, kOther, kRoot, kChild, kGrandchild, kMoved, kPair, kMovedPair, kKinds };

    Held() {
        IBinDocument* const first = CBinaryDocument::Create();
        IBinDocument* const second = CBinaryDocument::Create();
        first->LoadFromBuffer(kFirst.data());
        second->LoadFromBuffer(kSecond.data());
        objects[kDocument] = first;
        objects[kOther] = second;
        objects[kRoot] = RootOf(first).release();
        objects[kChild] = NodeAt(first, {0}).release();
        objects[kGrandchild] = NodeAt(first, {0, 1}).release();
        objects[kMoved] = NodeAt(second, {0}).release();
        IAttrPair* pair = nullptr;
        Node(kGrandchild)->GetAttrPair(0, &pair);
        objects[kPair] = pair;
        Append(Node(kChild), Node(kMoved));
        Node(kMoved)->GetAttrPair(0, &pair);
        objects[kMovedPair] = pair;
    }

    IBinNode* Node(std::size_t kind) const { return static_cast<IBinNode*>(objects[kind]); }
    IAttrPair* Pair(std::size_t kind) const { return static_cast<IAttrPair*>(objects[kind]); }

    void Check() {
        const bool isAlive = objects[kDocument] != nullptr;
        for (const std::size_t kind : {kRoot, kChild, kGrandchild, kMoved}) {
            if (objects[kind]) Use(Node(kind), isAlive);
        }
        for (const std::size_t kind : {kPair, kMovedPair}) {
            if (!objects[kind]) continue;
            EXPECT_EQ(Pair(kind)->GetName() != nullptr, isAlive);
            EXPECT_EQ(Pair(kind)->GetValue() != nullptr, isAlive);
            EXPECT_TRUE(isAlive || !Pair(kind)->SetValue(WTEXT("v")));
        }
    }

    std::array<IUnknown*, kKinds> objects;
};

}  // namespace

TEST(ModelLifetime, EveryOrderOfReleaseFreesEverything) {
    std::array<std::size_t, Held::kKinds> order;
    std::iota(order.begin(), order.end(), 0);
    const std::int64_t blocksBefore = LiveBlockCount();
    int round = 0;
    do {
        Held held;
        // In some rounds what is held has left its parents, or has been through a save, before anything goes.
        if (round % 3 == 1) held.Node(Held::kChild)->RemoveFromParent();
        if (round % 3 == 2) static_cast<CBinaryDocument*>(held.objects[Held::kDocument])->Compact();
        for (const std::size_t next : order) {
            held.objects[next]->Release();
            held.objects[next] = nullptr;
            held.Check();
        }
        if (LiveBlockCount() != blocksBefore || HasFailure()) {
            FAIL() << LiveBlockCount() - blocksBefore << " blocks left after the order "
                   << ::testing::PrintToString(order);
        }
        ++round;
    } while (std::next_permutation(order.begin(), order.end()));
}

TEST(ModelLifetime, HeldNodesShowWhatTheyShowedWhenTheTreeGoes) {
    const CTestFolder folder;
    const DocumentPtr document = LoadedDocument(kFirst);
    const NodePtr child = NodeAt(document.get(), {0});
    const NodePtr grandchild = NodeAt(document.get(), {0, 1});
    ASSERT_TRUE(document->LoadFromBuffer(kSecond.data()));
    const NodePtr inner = NodeAt(document.get(), {0});
    inner->RemoveFromParent();
    for (int i = 0; i < 2; ++i) {
        EXPECT_EQ(Notation(child.get()), "x[x=1]('hi' 1[x=hi])");
        EXPECT_EQ(Notation(grandchild.get()), "1[x=hi]");
        EXPECT_EQ(Notation(inner.get()), "y[y=y]('b')");
        EXPECT_EQ(RootNotation(document.get()), "b(<y>)");
        SavedBytes(document.get(), folder);
    }
    IBinNode* parent = child.get();
    child->GetParent(&parent);
    EXPECT_EQ(parent, nullptr);
    grandchild->GetParent(&parent);
    EXPECT_EQ(NodePtr(parent).get(), child.get());
    Append(RootOf(document.get()).get(), child.get());
    EXPECT_EQ(RootNotation(document.get()), "b(<y> x[x=1]('hi' 1[x=hi]))");
}

TEST(ModelLifetime, APairReadsTheDocumentItWasMadeIn) {
    DocumentPtr first = LoadedDocument(kFirst);
    const DocumentPtr second = LoadedDocument(kSecond);
    const NodePtr element = NodeAt(first.get(), {0});
    IAttrPair* pair = nullptr;
    element->GetAttrPair(0, &pair);
    Append(RootOf(second.get()).get(), element.get());
    EXPECT_EQ(Narrow(pair->GetName()), "x");  // in the second document the index is past the end
    EXPECT_EQ(Narrow(pair->GetValue()), "1");
    EXPECT_TRUE(pair->SetValue(WTEXT("2")));
    EXPECT_EQ(Narrow(element->GetAttribute(WTEXT("x"))), "2");
    EXPECT_EQ(Narrow(pair->GetValue()), "1");
    first.reset();
    EXPECT_EQ(pair->GetName(), nullptr);
    EXPECT_FALSE(pair->SetValue(WTEXT("3")));
    pair->Release();
}

// Loading, looking at all, and taking something out, over and over in the same document.
TEST(ModelLifetime, ADocumentDoesNotGrowWithEveryLoad) {
    CBytes bytes;
    bytes.Words({u"a"}).Element(0, 3);
    for (int i = 0; i < 3; ++i) {
        bytes.Element(0, 50);
        for (int j = 0; j < 50; ++j) bytes.Element(0, 0);
    }
    const DocumentPtr document = NewDocument();
    const DocumentPtr collector = LoadedDocument(CBytes().Words({u"c"}).Element(0, 0));
    const NodePtr collection = RootOf(collector.get());
    std::int64_t blocks = 0;
    for (int round = 0; round < 200; ++round) {
        ASSERT_TRUE(document->LoadFromBuffer(Bytes(bytes).data()));
        RootNotation(document.get());
        const NodePtr detached = NodeAt(document.get(), {1});
        detached->RemoveFromParent();
        const NodePtr taken = NodeAt(document.get(), {0, 7});
        Append(collection.get(), taken.get());
        if (round % 2 == 1) taken->RemoveFromParent();
        if (round % 2 == 1) NodeAt(collector.get(), {0})->RemoveFromParent();
        if (round == 20) blocks = LiveBlockCount();
    }
    EXPECT_LE(LiveBlockCount(), blocks + 10);
}
