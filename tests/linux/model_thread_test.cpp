// Documents in threads: a small stack is enough for any depth, and two documents do not disturb each other.
#include <thread>

#include "document_bytes.h"
#include "linux/small_stack.h"

namespace {

constexpr std::uint32_t kDepth = 1'000'000;

Bytes DeepTree(const std::u16string& end = u"end") {
    CBytes bytes;
    bytes.Words({u"a", u"x", end});
    for (std::uint32_t i = 0; i + 1 < kDepth; ++i) bytes.Element(0, 1, {1, 1});
    return bytes.TextNode(2);
}

DocumentPtr CloneOf(IBinDocument* document) {
    IBinDocument* copy = nullptr;
    document->Clone(&copy);
    return DocumentPtr(static_cast<CBinaryDocument*>(copy));
}

// The last node of a chain, and how many levels it has.
NodePtr Deepest(IBinDocument* document, std::uint32_t& depth) {
    depth = 1;
    NodePtr node = RootOf(document);
    for (; node->GetChildCount() > 0; ++depth) {
        IBinNode* child = nullptr;
        node->GetChild(0, &child);
        node.reset(child);
    }
    return node;
}

void UseMillionLevels() {
    const CTestFolder folder;
    const Bytes bytes = DeepTree();
    WriteBytes(folder.File("in"), bytes);
    const DocumentPtr document = NewDocument();
    EXPECT_TRUE(document->LoadFromFile(folder.Path("in").c_str()));
    EXPECT_TRUE(SavedBytes(document.get(), folder) == bytes);
    std::uint32_t depth = 0;
    const NodePtr end = Deepest(document.get(), depth);
    EXPECT_EQ(depth, kDepth);
    end->SetValue(WTEXT("END"));
    const Bytes edited = SavedBytes(document.get(), folder);
    EXPECT_EQ(edited.size(), bytes.size());
    EXPECT_TRUE(edited != bytes);

    const NodePtr root = RootOf(document.get());
    IBinNode* copy = nullptr;
    EXPECT_TRUE(root->Clone(&copy, true));
    EXPECT_TRUE(root->IsEqual(&copy, true));
    EXPECT_TRUE(Append(copy, NewElement(document.get(), WTEXT("n")).get()));
    const DocumentPtr other = NewDocument();
    EXPECT_TRUE(Append(RootOf(other.get()).get(), copy));
    EXPECT_EQ(Narrow(Deepest(other.get(), depth)->GetValue()), "END");
    EXPECT_EQ(depth, kDepth + 1);
    SavedBytes(other.get(), folder);
    copy->RemoveFromParent();
    copy->Release();

    IBinDocument* original = document.get();
    EXPECT_TRUE(CloneOf(original)->IsEqual(&original));
    // A copy leaves the empty text out, so that its records are not those of the original at any level.
    Deepest(CloneOf(LoadedDocument(DeepTree(u"")).get()).get(), depth);
    EXPECT_EQ(depth, kDepth - 1);
    EXPECT_TRUE(document->LoadFromBuffer(bytes.data()));  // while the last level of the former tree is held
    EXPECT_EQ(Narrow(end->GetValue()), "END");
}

}  // namespace

TEST(ModelThread, AMillionLevelsNeedNoStack) {
    RunOnSmallStack(UseMillionLevels);
}

// For a thread sanitizer: after a move, the two documents share nothing that is not counted atomically.
TEST(ModelThread, DocumentsThatExchangedNodesWorkInAThreadEach) {
    const Bytes tree = CBytes().Words({u"a", u"b"}).Element(0, 1).TextNode(1);
    const DocumentPtr documents[] = {LoadedDocument(tree), LoadedDocument(tree)};
    for (int i = 0; i < 40; ++i) {
        for (const DocumentPtr& document : documents) {
            Append(RootOf(document.get()).get(), NewElement(documents[i % 2].get(), WTEXT("n")).get());
        }
    }
    const auto work = [](CBinaryDocument* document) {
        const NodePtr root = RootOf(document);
        for (int i = 0; i < 2000; ++i) {
            const NodePtr child = NodeAt(document, {i % root->GetChildCount()});
            child->SetAttribute(WTEXT("k"), WTEXT("v"));
            if (i % 100 == 99) child->RemoveFromParent();
            if (i % 50 == 49) Append(root.get(), NewElement(document, WTEXT("m")).get());
            if (i % 500 == 499) document->Compact();
        }
    };
    std::thread first(work, documents[0].get());
    std::thread second(work, documents[1].get());
    first.join();
    second.join();
    for (const DocumentPtr& document : documents) EXPECT_EQ(RootOf(document.get())->GetChildCount(), 41 + 40 - 20);
}

// For a thread sanitizer: the records that both read are not rewritten before the clone has let go of them.
TEST(ModelThread, ACloneIsReadAndReleasedWhileItsOriginalIsRebuilt) {
    const Bytes tree = CBytes().Words({u"a", u"b", u"c"}).Element(0, 2, {1, 2}).Element(1, 1).TextNode(2).Element(2, 0);
    for (int round = 0; round < 200; ++round) {
        const DocumentPtr document = LoadedDocument(tree);
        DocumentPtr clone = CloneOf(document.get());
        std::thread reader([&clone] {
            EXPECT_EQ(RootNotation(clone.get()), "a[b=c](b('c') c)");
            clone.reset();
        });
        const NodePtr root = RootOf(document.get());
        for (int i = 0; i < 20; ++i) {
            root->SetAttribute(WTEXT("b"), i % 2 == 0 ? WTEXT("1") : WTEXT("22"));
            document->Compact();
        }
        reader.join();
        EXPECT_EQ(RootNotation(document.get()), "a[b=22](b('c') c)");
    }
}
