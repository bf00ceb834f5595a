// What single edits, moves, copies and comparisons do, in tables: the odd behaviours by name.
#include "document_bytes.h"

namespace {

// Word 0 is not used, to tell when an operation brings it in.
CBytes Base() {
    return CBytes().Words({u"zero", u"a", u"x", u"1", u"hi", u"ID", u"Id"});
}
const Bytes kBase = Base().Element(1, 1, {2, 3}).TextNode(4);

std::string WordsOf(CBinaryDocument* document) {
    std::string words;
    for (std::uint32_t i = 0; i < document->Words().GetWordCount(); ++i) {
        const std::string word = Narrow(document->GetWord(i));
        words += (i > 0 ? " " : "") + (word.empty() ? "." : word);
    }
    return words;
}

bool SetPairValue(IBinNode* node, std::int32_t index, const WCHAR* value) {
    IAttrPair* pair = nullptr;
    node->GetAttrPair(index, &pair);
    const bool result = pair->SetValue(value);
    pair->Release();
    return result;
}

NodePtr CopyOf(IBinNode* node, bool deep) {
    IBinNode* copy = nullptr;
    EXPECT_TRUE(node->Clone(&copy, deep));
    return NodePtr(copy);
}

struct EditRow {
    const char* what;
    const char* shown;
    const char* saved;  // what is shown after a save, and by a document that loads the file; null for the same
    const char* words;  // then; a dot is the empty one
    Bytes start;
    void (*edit)(IBinDocument* document, IBinNode* root);
};

const EditRow kEditRows[] = {
    {"the former name of an element with attributes stays", "b[x=1]('hi')", nullptr, "a x 1 b hi", kBase,
     [](IBinDocument*, IBinNode* root) { root->SetName(WTEXT("b")); }},
    {"an own value comes between name and attributes", "a[x=1]", nullptr, "a hi x 1", Base().Element(1, 0, {2, 3}, 4),
     [](IBinDocument* document, IBinNode*) { document->SetModified(true); }},
    {"a new element with attributes brings word 0 in", "a[x=1]('hi' n[k=v])", nullptr, "a x 1 hi zero k v n", kBase,
     [](IBinDocument* document, IBinNode* root) {
         const NodePtr added = NewElement(document, WTEXT("n"));
         added->SetAttribute(WTEXT("k"), WTEXT("v"));
         Append(root, added.get());
     }},
    {"names of attributes are stored in lower case, sorted by a save", "a[x=1][color=red]('hi')",
     "a[color=red][x=1]('hi')", "a x 1 color red hi", kBase,
     [](IBinDocument*, IBinNode* root) {
         EXPECT_TRUE(root->SetAttribute(WTEXT("Color"), WTEXT("red")));
         EXPECT_EQ(Narrow(root->GetAttribute(WTEXT("color"))), "red");
         EXPECT_EQ(root->GetAttribute(WTEXT("Color")), nullptr);
     }},
    {"a name with capitals is added each time, and the first is found", "a[x=1][y=2][y=3]('hi')", nullptr,
     "a x 1 y 2 3 hi", kBase,
     [](IBinDocument*, IBinNode* root) {
         root->SetAttribute(WTEXT("Y"), WTEXT("2"));
         root->SetAttribute(WTEXT("Y"), WTEXT("3"));
         EXPECT_EQ(Narrow(root->GetAttribute(WTEXT("y"))), "2");
     }},
    {"a second rebuild gives the first the value of the last", "a[x=1][y=2][y=3]('hi')", "a[x=1][y=3]('hi')",
     "a x 1 y 3 hi", kBase,
     [](IBinDocument* document, IBinNode* root) {
         root->SetAttribute(WTEXT("Y"), WTEXT("2"));
         root->SetAttribute(WTEXT("Y"), WTEXT("3"));
         SavedBytes(document, CTestFolder());
         document->SetModified(true);
     }},
    {"removing what is not there has all attributes stored anew", "a[id=1](a)", nullptr, "zero a x 1 hi ID Id a id 1",
     Base().Element(1, 1, {5, 3}).Element(1, 0),
     [](IBinDocument* document, IBinNode* root) {
         EXPECT_FALSE(root->RemoveAttribute(WTEXT("ID")));
         EXPECT_FALSE(document->IsModified());
     }},
    {"and storing is no different after the dictionary has changed", "[=]", nullptr, ".",
     Base().Element(1, 0, {2, 3, 5, 3}),
     [](IBinDocument* document, IBinNode* root) {
         root->RemoveAttribute(WTEXT("none"));
         document->ClearDictionary();
         EXPECT_EQ(Notation(root), "[(null)=(null)][(null)=(null)]");
         root->RemoveAttribute(WTEXT("none"));
         EXPECT_FALSE(document->IsModified());
     }},
    {"names that differ in case only become one when they are stored a second time", "a[id=hi]", nullptr,
     "zero a x 1 hi ID Id a id 1 hi", Base().Element(1, 0, {5, 3, 6, 4}),
     [](IBinDocument*, IBinNode* root) {
         root->RemoveAttribute(WTEXT("none"));
         EXPECT_EQ(Notation(root), "a[id=1][id=hi]");
         root->RemoveAttribute(WTEXT("none"));
     }},
    {"children moved beside one that is not saved", "a('hi' '1')", nullptr, "a 1 hi",
     Base().Element(1, 2).TextNode(3).TextNode(4),
     [](IBinDocument* document, IBinNode* root) {
         IBinNode* bare = nullptr;
         document->CreateNode(&bare);
         Append(root, bare);
         SavedBytes(document, CTestFolder());
         Append(root, NodeAt(document, {0}).get());
         bare->RemoveFromParent();
         bare->Release();
         document->SetModified(false);
     }},
    {"the value that SetValue has looked at wins over the text child", "a[x=1]('new')", "a[x=1]('hi')", "a x 1 hi",
     kBase,
     [](IBinDocument* document, IBinNode* root) {
         EXPECT_TRUE(root->SetValue(WTEXT("hi")));
         EXPECT_FALSE(document->IsModified());
         NodeAt(document, {0})->SetValue(WTEXT("new"));
         EXPECT_EQ(Narrow(root->GetValue()), "hi");
     }},
    {"a value for two children is dropped", "a('hi' '1')", nullptr, "a hi 1",
     Base().Element(1, 2).TextNode(4).TextNode(3),
     [](IBinDocument* document, IBinNode* root) {
         EXPECT_TRUE(root->SetValue(WTEXT("new")));
         EXPECT_TRUE(document->IsModified());
     }},
    {"a child under a text is kept, its words too, but not written", "a[x=1]('hi')", nullptr, "a x 1 hi n", kBase,
     [](IBinDocument* document, IBinNode*) {
         Append(NodeAt(document, {0}).get(), NewElement(document, WTEXT("n")).get());
     }},
    {"what moves between documents shows and saves what it showed", "a[x=1]('hi' m[k=v]('t' <v>  m))", nullptr,
     "a x 1 hi zero own k v m t", kBase,
     [](IBinDocument*, IBinNode* root) {
         // Its word indexes mean other words here. Only the one at its element's name index comes along.
         const DocumentPtr other = LoadedDocument(CBytes()
                                                      .Words({u"m", u"k", u"v", u"t", u"own"})
                                                      .Element(0, 4, {1, 2}, 4)
                                                      .TextNode(3)
                                                      .TextNode(2, 4)
                                                      .Element(9, 0, {}, 4)
                                                      .Element(0, 0));
         Append(root, RootOf(other.get()).get());
     }},
    {"a copy leaves pending attributes out", "a[x=1][y=2]('hi' a)", nullptr, "a x 1 y 2 hi", kBase,
     [](IBinDocument*, IBinNode* root) {
         root->SetAttribute(WTEXT("y"), WTEXT("2"));
         Append(root, CopyOf(root, false).get());
     }},
    {"a copy leaves out children without a name", "a('1'  '' <hi> a('1' <hi>))", nullptr, "a 1 . hi",
     Base().Element(1, 4).TextNode(3).Element(9, 0).TextNode(9).TextNode(4, 4),
     [](IBinDocument*, IBinNode* root) { Append(root, CopyOf(root, true).get()); }},
};

}  // namespace

TEST(ModelEdit, ShowsAndSavesTheTable) {
    const CTestFolder folder;
    for (const EditRow& row : kEditRows) {
        SCOPED_TRACE(row.what);
        const DocumentPtr document = LoadedDocument(row.start);
        const NodePtr root = RootOf(document.get());
        row.edit(document.get(), root.get());
        EXPECT_EQ(RootNotation(document.get()), row.shown);
        const Bytes bytes = SavedBytes(document.get(), folder);
        EXPECT_FALSE(document->IsModified());
        const char* const saved = row.saved ? row.saved : row.shown;
        EXPECT_EQ(RootNotation(document.get()), saved);
        EXPECT_EQ(WordsOf(document.get()), row.words);
        EXPECT_EQ(SavedBytes(document.get(), folder), bytes);
        EXPECT_EQ(RootNotation(LoadedDocument(bytes).get()), saved);
    }
}

TEST(ModelEdit, OddArgumentsChangeNothing) {
    const DocumentPtr document = LoadedDocument(kBase);
    const NodePtr root = RootOf(document.get());
    IBinNode* none = nullptr;
    EXPECT_FALSE(root->SetName(nullptr));
    EXPECT_FALSE(root->SetName(WTEXT("")));
    EXPECT_FALSE(root->SetAttribute(nullptr, WTEXT("1")));
    EXPECT_FALSE(root->SetAttribute(WTEXT(""), WTEXT("1")));
    EXPECT_FALSE(root->SetAttribute(WTEXT("x"), nullptr));
    EXPECT_FALSE(root->RemoveAttribute(nullptr));
    EXPECT_FALSE(root->RemoveAttribute(WTEXT("")));
    EXPECT_FALSE(root->SetValue(nullptr));
    EXPECT_FALSE(SetPairValue(root.get(), 0, nullptr));
    EXPECT_TRUE(root->AppendChild(nullptr));
    EXPECT_TRUE(root->AppendChild(&none));
    EXPECT_FALSE(root->Clone(nullptr, true));
    EXPECT_FALSE(root->IsEqual(nullptr, true));
    EXPECT_FALSE(root->IsEqual(&none, true));
    EXPECT_FALSE(document->IsEqual(nullptr));
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

TEST(ModelEdit, ComparesNamesAttributesAndCounts) {
    struct Row {
        const char* what;
        Bytes a, b;
        bool shallow, deep;
    };
    const Row rows[] = {
        {"alike, over other words", kBase, CBytes().Words({u"hi", u"1", u"x", u"a"}).Element(3, 1, {2, 1}).TextNode(0),
         true, true},
        {"types do not count", kBase, Base().Element(1, 1, {2, 3}).TextNode(4, 4), true, true},
        {"nor does an own value", kBase, Base().Element(1, 1, {2, 3}, 4).TextNode(4), true, true},
        {"an element named as a text", kBase, Base().Element(1, 1, {2, 3}).Element(4, 0), true, true},
        {"name", kBase, Base().Element(2, 1, {2, 3}).TextNode(4), false, false},
        {"name of an attribute", kBase, Base().Element(1, 1, {1, 3}).TextNode(4), false, false},
        {"value of an attribute", kBase, Base().Element(1, 1, {2, 4}).TextNode(4), false, false},
        {"no value is not the empty one", CBytes().Words({u"a", u""}).Element(0, 0, {0, kNoWord}),
         CBytes().Words({u"a", u""}).Element(0, 0, {0, 1}), false, false},
        {"number of attributes", kBase, Base().Element(1, 1).TextNode(4), false, false},
        {"number of children", kBase, Base().Element(1, 0, {2, 3}), false, false},
        {"a child", kBase, Base().Element(1, 1, {2, 3}).TextNode(3), true, false},
        {"a grandchild's sibling", Base().Element(1, 2).Element(1, 1).TextNode(4).TextNode(4),
         Base().Element(1, 2).Element(1, 1).TextNode(4).TextNode(3), true, false},
    };
    for (const Row& row : rows) {
        const DocumentPtr a = LoadedDocument(row.a);
        const DocumentPtr b = LoadedDocument(row.b);
        const NodePtr rootA = RootOf(a.get());
        const NodePtr rootB = RootOf(b.get());
        IBinNode* nodes[] = {rootA.get(), rootB.get()};
        for (int i = 0; i < 2; ++i) {
            EXPECT_EQ(nodes[i]->IsEqual(&nodes[1 - i], false), row.shallow) << row.what;
            EXPECT_EQ(nodes[i]->IsEqual(&nodes[1 - i], true), row.deep) << row.what;
        }
    }
}
