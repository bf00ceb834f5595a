// What the random edits do not reach: arguments that are nothing, and the memory of a document that goes on and on.
#include <algorithm>

#include "document_bytes.h"
#include "failing_new.h"

TEST(ModelEdit, OddArgumentsChangeNothing) {
    const DocumentPtr document =
        LoadedDocument(CBytes().Words({u"a", u"x", u"1", u"hi"}).Element(0, 1, {1, 2}).TextNode(3));
    const NodePtr root = RootOf(document.get());
    IBinNode* none = nullptr;
    IAttrPair* pair = nullptr;
    root->GetAttrPair(0, &pair);
    const bool refused[] = {
        root->SetName(nullptr),
        root->SetName(WTEXT("")),
        root->SetAttribute(nullptr, WTEXT("1")),
        root->SetAttribute(WTEXT(""), WTEXT("1")),
        root->SetAttribute(WTEXT("x"), nullptr),
        root->RemoveAttribute(nullptr),
        root->RemoveAttribute(WTEXT("")),
        root->SetValue(nullptr),
        root->Clone(nullptr, true),
        root->IsEqual(nullptr, true),
        root->IsEqual(&none, true),
        document->IsEqual(nullptr),
        pair->SetValue(nullptr),
    };
    for (std::size_t i = 0; i < std::size(refused); ++i) EXPECT_FALSE(refused[i]) << i;
    pair->Release();
    EXPECT_TRUE(root->AppendChild(nullptr) && root->AppendChild(&none));
    IBinNode* untouched = root.get();
    document->CreateElement(&untouched, nullptr);
    document->CreateElement(&untouched, WTEXT(""));
    EXPECT_EQ(untouched, root.get());
    document->CreateElement(nullptr, WTEXT("n"));
    document->CreateNode(nullptr);
    document->GetRoot(nullptr);
    document->Clone(nullptr);
    const std::uint32_t value = 7;
    document->SetOption(1, &value);
    document->SetOption(1, nullptr);
    EXPECT_EQ(document->GetOption(1), 0u);
    EXPECT_FALSE(document->IsModified());
    EXPECT_EQ(RootNotation(document.get()), "a[x=1]('hi')");
}

// The records of the tree stand in another order, or in the same order for another tree.
TEST(ModelEdit, MovedNodesAreSavedWhereTheyAre) {
    const CTestFolder folder;
    const DocumentPtr order = LoadedDocument(CBytes()
                                                 .Words({u"r", u"a", u"1", u"2", u"b"})
                                                 .Element(0, 2)
                                                 .Element(1, 2)
                                                 .TextNode(2)
                                                 .TextNode(3)
                                                 .Element(4, 0));
    Append(NodeAt(order.get(), {0}).get(), NodeAt(order.get(), {0, 0}).get());
    EXPECT_EQ(Notation(RootOf(LoadedDocument(SavedBytes(order.get(), folder)).get()).get()), "r(a('2' '1') b)");
    EXPECT_EQ(RootNotation(order.get()), "r(a('2' '1') b)");

    const DocumentPtr level = LoadedDocument(
        CBytes().Words({u"r", u"a", u"e", u"1"}).Element(0, 2).Element(1, 1).Element(2, 1).TextNode(3).Element(1, 0));
    Append(NodeAt(level.get(), {0}).get(), NodeAt(level.get(), {0, 0, 0}).get());
    EXPECT_EQ(Notation(RootOf(LoadedDocument(SavedBytes(level.get(), folder)).get()).get()), "r(a(e '1') a)");
    EXPECT_EQ(RootNotation(level.get()), "r(a(e '1') a)");
}

// However the records go on being rewritten where they lie.
TEST(ModelEdit, ABlockIsGivenBackWhenLittleOfItIsLeft) {
    const CTestFolder folder;
    std::vector<std::u16string> words = {u"r"};
    for (int i = 0; i < 20; ++i) words.push_back(u"name" + std::u16string(1, static_cast<char16_t>(u'a' + i)));
    std::vector<std::uint32_t> attrs;
    for (std::uint32_t i = 0; i < 20; ++i) attrs.insert(attrs.end(), {1 + i, 0});
    CBytes manyAttrs;
    manyAttrs.Words(words).Element(0, 200);
    for (int i = 0; i < 200; ++i) manyAttrs.Element(0, 0, attrs);
    const DocumentPtr shrinking = LoadedDocument(manyAttrs);
    const std::weak_ptr<unsigned char[]> first = shrinking->Tree().bytes;
    for (const std::size_t left : {10u, 6u, 3u, 1u}) {
        for (int i = 0; i < 200; ++i) {
            for (std::size_t k = 20; k > left; --k) {
                NodeAt(shrinking.get(), {i})->RemoveAttribute(CTestFolder::Wide(words[k]).c_str());
            }
        }
        SavedBytes(shrinking.get(), folder);
    }
    EXPECT_TRUE(first.expired());

    // The words lie in the loaded block, the records in a later one.
    words = {u"r"};
    CBytes longTexts;
    for (std::uint32_t i = 0; i < 50; ++i) words.push_back(std::u16string(1000, static_cast<char16_t>(u'a' + i)));
    attrs.clear();
    for (std::uint32_t i = 0; i < 50; ++i) attrs.insert(attrs.end(), {1 + i, 0});
    longTexts.Words(words).Element(0, 51).Element(0, 0, attrs);
    for (std::uint32_t i = 0; i < 50; ++i) longTexts.TextNode(1 + i);
    const DocumentPtr split = LoadedDocument(longTexts);
    const std::weak_ptr<unsigned char[]> loaded = split->Tree().bytes;
    Append(RootOf(split.get()).get(), NodeAt(split.get(), {0}).get());
    SavedBytes(split.get(), folder);
    const std::weak_ptr<unsigned char[]> later = split->Tree().bytes;
    EXPECT_NE(later.lock(), loaded.lock());
    EXPECT_TRUE(split->Words().IsOver(loaded.lock()));
    for (int i = 0; i < 50; ++i) NodeAt(split.get(), {50})->RemoveAttribute(CTestFolder::Wide(words[1 + i]).c_str());
    SavedBytes(split.get(), folder);
    EXPECT_TRUE(later.expired());
    for (int i = 0; i < 50; ++i) NodeAt(split.get(), {i})->SetValue(WTEXT("x"));
    SavedBytes(split.get(), folder);
    EXPECT_TRUE(loaded.expired());
}

// Loading, looking at all, and taking something out, over and over in the same document.
TEST(ModelEdit, ADocumentDoesNotGrowWithEveryLoad) {
    CBytes bytes;
    bytes.Words({u"a"}).Element(0, 3);
    for (int i = 0; i < 153; ++i) bytes.Element(0, i % 51 == 0 ? 50 : 0);
    const DocumentPtr document = NewDocument();
    const DocumentPtr collector = LoadedDocument(CBytes().Words({u"c"}).Element(0, 0));
    const NodePtr collection = RootOf(collector.get());
    std::int64_t blocks = 0;
    for (int round = 0; round < 200; ++round) {
        ASSERT_TRUE(document->LoadFromBuffer(static_cast<const Bytes&>(bytes).data()));
        RootNotation(document.get());
        NodeAt(document.get(), {1})->RemoveFromParent();
        const NodePtr taken = NodeAt(document.get(), {0, 7});
        Append(collection.get(), taken.get());
        if (round % 2 == 1) taken->RemoveFromParent();
        if (round % 2 == 1) NodeAt(collector.get(), {0})->RemoveFromParent();
        if (round == 20) blocks = LiveBlockCount();
    }
    EXPECT_LE(LiveBlockCount(), blocks + 10);
}

TEST(ModelEdit, HeldChildrenOfAReleasedParentNeedNoMemory) {
    const DocumentPtr document =
        LoadedDocument(CBytes().Words({u"unused", u"a", u"b"}).Element(1, 1).Element(1, 2).Element(2, 0).Element(2, 0));
    NodePtr parent = NodeAt(document.get(), {0});
    const NodePtr children[] = {NodeAt(document.get(), {0, 0}), NodeAt(document.get(), {0, 1})};
    parent->RemoveFromParent();
    std::vector<NodePtr> others;  // with these the document has listed as many as it has room for
    for (int i = 0; i < 7; ++i) others.push_back(NewElement(document.get(), WTEXT("e")));
    {
        const CFailingNew failing(0);
        parent.reset();
    }
    SavedBytes(document.get(), CTestFolder());  // without their words
    for (const NodePtr& child : children) EXPECT_EQ(Notation(child.get()), "b");
}

// Storing again what is stored already is left out, but not once the words are other ones.
TEST(ModelEdit, AttributesAreStoredAnewAfterTheDictionaryHasChanged) {
    const DocumentPtr document = LoadedDocument(CBytes().Words({u"a", u"x", u"1", u"id"}).Element(0, 0, {1, 2, 3, 2}));
    const NodePtr root = RootOf(document.get());
    EXPECT_FALSE(root->RemoveAttribute(WTEXT("none")));
    document->ClearDictionary();
    EXPECT_EQ(Notation(root.get()), "[(null)=(null)][(null)=(null)]");
    EXPECT_FALSE(root->RemoveAttribute(WTEXT("none")));
    EXPECT_FALSE(document->IsModified());
    EXPECT_EQ(Notation(root.get()), "[=]");
}
