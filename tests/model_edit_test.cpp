// What single edits, moves, copies and comparisons do, in tables: the odd behaviours by name.
#include "document_bytes.h"

namespace {

// Word 0 is not used, to tell when an operation brings it in.
CBytes Base() {
    return CBytes().Words({u"zero", u"a", u"x", u"1", u"hi", u"ID", u"Id"});
}
const Bytes kBase = Base().Element(1, 1, {2, 3}).TextNode(4);

std::vector<std::u16string> WordsOf(CBinaryDocument* document) {
    std::vector<std::u16string> words;
    for (std::uint32_t i = 0; i < document->Words().GetWordCount(); ++i) {
        const TextView word = document->Words().GetWordView(i);
        words.emplace_back(word.begin(), word.end());
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
    Bytes start;
    void (*edit)(IBinDocument* document, IBinNode* root);
    const char* shown;
    const char* saved;  // what is shown after the save, and by a document that loads the file
    std::vector<std::u16string> words;
};

const EditRow kEditRows[] = {
    {"a loaded word is added again, and stands once after a save",
     kBase,
     [](IBinDocument* document, IBinNode*) {
         NodeAt(document, {0})->SetValue(WTEXT("1"));
         EXPECT_EQ(static_cast<CBinaryDocument*>(document)->Words().GetWordCount(), 8u);
     },
     "a[x=1]('1')",
     "a[x=1]('1')",
     {u"a", u"x", u"1"}},
    {"the former name of an element with attributes stays",
     kBase,
     [](IBinDocument*, IBinNode* root) { root->SetName(WTEXT("b")); },
     "b[x=1]('hi')",
     "b[x=1]('hi')",
     {u"a", u"x", u"1", u"b", u"hi"}},
    {"that of one without does not",
     Base().Element(1, 1).TextNode(4),
     [](IBinDocument*, IBinNode* root) { root->SetName(WTEXT("b")); },
     "b('hi')",
     "b('hi')",
     {u"b", u"hi"}},
    {"an own value comes between name and attributes",
     Base().Element(1, 0, {2, 3}, 4),
     [](IBinDocument* document, IBinNode*) { document->SetModified(true); },
     "a[x=1]",
     "a[x=1]",
     {u"a", u"hi", u"x", u"1"}},
    {"or behind the name",
     Base().Element(1, 1, {}, 4).TextNode(3),
     [](IBinDocument* document, IBinNode*) { document->SetModified(true); },
     "a('1')",
     "a('1')",
     {u"a", u"hi", u"1"}},
    {"a new element with attributes brings word 0 in",
     kBase,
     [](IBinDocument* document, IBinNode* root) {
         const NodePtr added = NewElement(document, WTEXT("n"));
         added->SetAttribute(WTEXT("k"), WTEXT("v"));
         Append(root, added.get());
     },
     "a[x=1]('hi' n[k=v])",
     "a[x=1]('hi' n[k=v])",
     {u"a", u"x", u"1", u"hi", u"zero", u"k", u"v", u"n"}},
    {"names of attributes are stored in lower case, sorted by a save",
     kBase,
     [](IBinDocument*, IBinNode* root) {
         EXPECT_TRUE(root->SetAttribute(WTEXT("Color"), WTEXT("red")));
         EXPECT_EQ(Narrow(root->GetAttribute(WTEXT("color"))), "red");
         EXPECT_EQ(root->GetAttribute(WTEXT("Color")), nullptr);
     },
     "a[x=1][color=red]('hi')",
     "a[color=red][x=1]('hi')",
     {u"a", u"x", u"1", u"color", u"red", u"hi"}},
    {"a name with capitals is added each time, and the first is found",
     kBase,
     [](IBinDocument*, IBinNode* root) {
         root->SetAttribute(WTEXT("Y"), WTEXT("2"));
         root->SetAttribute(WTEXT("Y"), WTEXT("3"));
         EXPECT_EQ(Narrow(root->GetAttribute(WTEXT("y"))), "2");
     },
     "a[x=1][y=2][y=3]('hi')",
     "a[x=1][y=2][y=3]('hi')",
     {u"a", u"x", u"1", u"y", u"2", u"3", u"hi"}},
    {"a second rebuild gives the first the value of the last",
     kBase,
     [](IBinDocument* document, IBinNode* root) {
         root->SetAttribute(WTEXT("Y"), WTEXT("2"));
         root->SetAttribute(WTEXT("Y"), WTEXT("3"));
         SavedBytes(document, CTestFolder());
         document->SetModified(true);
     },
     "a[x=1][y=2][y=3]('hi')",
     "a[x=1][y=3]('hi')",
     {u"a", u"x", u"1", u"y", u"3", u"hi"}},
    {"through a pair as well",
     Base().Element(1, 0, {5, 3}),
     [](IBinDocument*, IBinNode* root) { EXPECT_TRUE(SetPairValue(root, 0, WTEXT("2"))); },
     "a[id=1][id=2]",
     "a[id=1][id=2]",
     {u"a", u"id", u"1", u"2"}},
    {"an attribute set to what it is has all of them stored anew",
     Base().Element(1, 0, {5, 3, 1, 3}),
     [](IBinDocument* document, IBinNode* root) {
         EXPECT_TRUE(root->SetAttribute(WTEXT("a"), WTEXT("1")));
         EXPECT_FALSE(document->IsModified());
     },
     "a[a=1][id=1]",
     "a[a=1][id=1]",
     {u"zero", u"a", u"x", u"1", u"hi", u"ID", u"Id", u"a", u"id", u"1"}},
    {"so has asking for one that is not there",
     Base().Element(1, 1, {5, 3}).Element(1, 0),
     [](IBinDocument* document, IBinNode* root) {
         EXPECT_FALSE(root->RemoveAttribute(WTEXT("ID")));
         EXPECT_FALSE(document->IsModified());
     },
     "a[id=1](a)",
     "a[id=1](a)",
     {u"zero", u"a", u"x", u"1", u"hi", u"ID", u"Id", u"a", u"id", u"1"}},
    {"and storing is no different after the dictionary has changed",
     Base().Element(1, 0, {2, 3, 5, 3}),
     [](IBinDocument* document, IBinNode* root) {
         root->RemoveAttribute(WTEXT("none"));
         document->ClearDictionary();
         EXPECT_EQ(Notation(root), "[(null)=(null)][(null)=(null)]");
         root->RemoveAttribute(WTEXT("none"));
         EXPECT_FALSE(document->IsModified());
     },
     "[=]",
     "[=]",
     {u""}},
    {"stored attributes of an element whose children nobody has seen",
     Base().Element(1, 1).TextNode(4),
     [](IBinDocument* document, IBinNode* root) {
         root->SetAttribute(WTEXT("x"), WTEXT("1"));
         document->SetModified(false);
         root->SetAttribute(WTEXT("x"), WTEXT("1"));
     },
     "a[x=1]('hi')",
     "a[x=1]('hi')",
     {u"zero", u"a", u"x", u"1", u"hi", u"ID", u"Id", u"a", u"x", u"1"}},
    {"names that differ in case only become one when they are stored a second time",
     Base().Element(1, 0, {5, 3, 6, 4}),
     [](IBinDocument*, IBinNode* root) {
         root->RemoveAttribute(WTEXT("none"));
         EXPECT_EQ(Notation(root), "a[id=1][id=hi]");
         root->RemoveAttribute(WTEXT("none"));
     },
     "a[id=hi]",
     "a[id=hi]",
     {u"zero", u"a", u"x", u"1", u"hi", u"ID", u"Id", u"a", u"id", u"1", u"hi"}},
    {"children moved beside one that is not saved",
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
     },
     "a('hi' '1')",
     "a('hi' '1')",
     {u"a", u"1", u"hi"}},
    {"RemoveAttribute",
     Base().Element(1, 0, {2, 3, 3, 2}),
     [](IBinDocument*, IBinNode* root) { EXPECT_TRUE(root->RemoveAttribute(WTEXT("x"))); },
     "a[1=x]",
     "a[1=x]",
     {u"a", u"1", u"x"}},
    {"the last one",
     Base().Element(1, 0, {2, 3}),
     [](IBinDocument*, IBinNode* root) { EXPECT_TRUE(root->RemoveAttribute(WTEXT("x"))); },
     "a",
     "a",
     {u"a"}},
    {"the name that SetName has looked at stays held",
     kBase,
     [](IBinDocument* document, IBinNode* root) {
         EXPECT_TRUE(root->SetName(WTEXT("a")));
         EXPECT_FALSE(document->IsModified());
         root->RemoveAttribute(WTEXT("x"));
         document->ClearDictionary();
     },
     "a('')",
     "a('')",
     {u"a", u""}},
    {"the value that SetValue has looked at wins over the text child",
     kBase,
     [](IBinDocument* document, IBinNode* root) {
         EXPECT_TRUE(root->SetValue(WTEXT("hi")));
         EXPECT_FALSE(document->IsModified());
         NodeAt(document, {0})->SetValue(WTEXT("new"));
         EXPECT_EQ(Narrow(root->GetValue()), "hi");
     },
     "a[x=1]('new')",
     "a[x=1]('hi')",
     {u"a", u"x", u"1", u"hi"}},
    {"a text node is renamed until the save",
     kBase,
     [](IBinDocument* document, IBinNode*) {
         EXPECT_TRUE(NodeAt(document, {0})->SetName(WTEXT("t")));
         EXPECT_EQ(Narrow(NodeAt(document, {0})->GetName()), "t");
     },
     "a[x=1]('hi')",
     "a[x=1]('hi')",
     {u"a", u"x", u"1", u"hi"}},
    {"a value for two children is dropped",
     Base().Element(1, 2).TextNode(4).TextNode(3),
     [](IBinDocument* document, IBinNode* root) {
         EXPECT_TRUE(root->SetValue(WTEXT("new")));
         EXPECT_TRUE(document->IsModified());
     },
     "a('hi' '1')",
     "a('hi' '1')",
     {u"a", u"hi", u"1"}},
    {"so is one for a CDATA child",
     Base().Element(1, 1).TextNode(4, 4),
     [](IBinDocument*, IBinNode* root) { EXPECT_TRUE(root->SetValue(WTEXT("new"))); },
     "a(<hi>)",
     "a(<hi>)",
     {u"a", u"hi"}},
    {"a value for no child makes one",
     Base().Element(1, 0),
     [](IBinDocument*, IBinNode* root) { EXPECT_TRUE(root->SetValue(WTEXT("new"))); },
     "a('new')",
     "a('new')",
     {u"a", u"new"}},
    {"an empty value for a text child",
     kBase,
     [](IBinDocument*, IBinNode* root) { EXPECT_TRUE(root->SetValue(WTEXT(""))); },
     "a[x=1]('')",
     "a[x=1]('')",
     {u"a", u"x", u"1", u""}},
    {"a negative child count counts from none",
     Base().Element(1, -2),
     [](IBinDocument* document, IBinNode* root) { Append(root, NewElement(document, WTEXT("n")).get()); },
     "a(n)",
     "a(n)",
     {u"a", u"n"}},
    {"a child appended again moves to the end",
     Base().Element(1, 3).Element(1, 0).Element(2, 0).Element(3, 0),
     [](IBinDocument* document, IBinNode* root) { Append(root, NodeAt(document, {1}).get()); },
     "a(a 1 x)",
     "a(a 1 x)",
     {u"a", u"1", u"x"}},
    {"a child under a text is kept, its words too, but not written",
     kBase,
     [](IBinDocument* document, IBinNode*) {
         Append(NodeAt(document, {0}).get(), NewElement(document, WTEXT("n")).get());
     },
     "a[x=1]('hi')",
     "a[x=1]('hi')",
     {u"a", u"x", u"1", u"hi", u"n"}},
    {"what moves between documents shows and saves what it showed",
     kBase,
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
     },
     "a[x=1]('hi' m[k=v]('t' <v>  m))",
     "a[x=1]('hi' m[k=v]('t' <v>  m))",
     {u"a", u"x", u"1", u"hi", u"zero", u"own", u"k", u"v", u"m", u"t"}},
    {"a text moved from another document keeps its name until the save",
     kBase,
     [](IBinDocument*, IBinNode* root) {
         const DocumentPtr other = LoadedDocument(CBytes().Words({u"t"}).Element(0, 1).TextNode(0));
         const NodePtr text = NodeAt(other.get(), {0});
         Append(root, text.get());
         text->SetValue(WTEXT("new"));
         EXPECT_EQ(Narrow(text->GetName()), "t");
     },
     "a[x=1]('hi' 'new')",
     "a[x=1]('hi' 'new')",
     {u"a", u"x", u"1", u"hi", u"new"}},
    {"a copy leaves pending attributes out",
     kBase,
     [](IBinDocument*, IBinNode* root) {
         root->SetAttribute(WTEXT("y"), WTEXT("2"));
         Append(root, CopyOf(root, false).get());
     },
     "a[x=1][y=2]('hi' a)",
     "a[x=1][y=2]('hi' a)",
     {u"a", u"x", u"1", u"y", u"2", u"hi"}},
    {"a copy of an own value becomes a text",
     Base().Element(1, 1).Element(2, 0, {}, 4),
     [](IBinDocument* document, IBinNode* root) { Append(root, CopyOf(NodeAt(document, {0}).get(), true).get()); },
     "a(x x)",
     "a(x x('hi'))",
     {u"a", u"x", u"hi"}},
    {"a copy leaves out children without a name",
     Base().Element(1, 4).TextNode(3).Element(9, 0).TextNode(9).TextNode(4, 4),
     [](IBinDocument*, IBinNode* root) { Append(root, CopyOf(root, true).get()); },
     "a('1'  '' <hi> a('1' <hi>))",
     "a('1'  '' <hi> a('1' <hi>))",
     {u"a", u"1", u"", u"hi"}},
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
        EXPECT_EQ(RootNotation(document.get()), row.saved);
        EXPECT_EQ(WordsOf(document.get()), row.words);
        EXPECT_EQ(SavedBytes(document.get(), folder), bytes);
        EXPECT_EQ(RootNotation(LoadedDocument(bytes).get()), row.saved);
    }
}

TEST(ModelEdit, ResultsAndTheModifiedFlag) {
    struct Row {
        const char* what;
        bool (*call)(IBinDocument* document, IBinNode* root, IBinNode* child);
        bool result;
        bool isModified;
    };
    // On a[x=1](b('hi')), where `child` is b.
    const Bytes start = CBytes().Words({u"a", u"x", u"1", u"b", u"hi"}).Element(0, 1, {1, 2}).Element(3, 1).TextNode(4);
    const Row rows[] = {
        {"SetName null", [](auto, auto, auto child) { return child->SetName(nullptr); }, false, false},
        {"SetName empty", [](auto, auto, auto child) { return child->SetName(WTEXT("")); }, false, false},
        {"SetName same", [](auto, auto, auto child) { return child->SetName(WTEXT("b")); }, true, false},
        {"SetName", [](auto, auto, auto child) { return child->SetName(WTEXT("B")); }, true, true},
        {"SetAttribute null name", [](auto, auto root, auto) { return root->SetAttribute(nullptr, WTEXT("1")); }, false,
         false},
        {"SetAttribute empty name", [](auto, auto root, auto) { return root->SetAttribute(WTEXT(""), WTEXT("1")); },
         false, false},
        {"SetAttribute null", [](auto, auto root, auto) { return root->SetAttribute(WTEXT("x"), nullptr); }, false,
         false},
        {"SetAttribute same", [](auto, auto root, auto) { return root->SetAttribute(WTEXT("x"), WTEXT("1")); }, true,
         false},
        {"SetAttribute empty", [](auto, auto root, auto) { return root->SetAttribute(WTEXT("x"), WTEXT("")); }, true,
         true},
        {"RemoveAttribute null", [](auto, auto root, auto) { return root->RemoveAttribute(nullptr); }, false, false},
        {"RemoveAttribute empty", [](auto, auto root, auto) { return root->RemoveAttribute(WTEXT("")); }, false, false},
        {"RemoveAttribute in capitals", [](auto, auto root, auto) { return root->RemoveAttribute(WTEXT("X")); }, false,
         false},
        {"RemoveAttribute", [](auto, auto root, auto) { return root->RemoveAttribute(WTEXT("x")); }, true, true},
        {"SetValue null", [](auto, auto, auto child) { return child->SetValue(nullptr); }, false, false},
        {"SetValue same", [](auto, auto, auto child) { return child->SetValue(WTEXT("hi")); }, true, false},
        {"SetValue", [](auto, auto, auto child) { return child->SetValue(WTEXT("")); }, true, true},
        {"SetValue of a pair, null", [](auto, auto root, auto) { return SetPairValue(root, 0, nullptr); }, false,
         false},
        {"SetValue of a pair", [](auto, auto root, auto) { return SetPairValue(root, 0, WTEXT("2")); }, true, true},
        {"AppendChild null address", [](auto, auto root, auto) { return root->AppendChild(nullptr); }, true, false},
        {"AppendChild null", [](auto, auto root, auto) { return Append(root, nullptr); }, true, false},
        {"AppendChild itself", [](auto, auto, auto child) { return Append(child, child); }, false, false},
        {"AppendChild the root to itself", [](auto, auto root, auto) { return Append(root, root); }, false, false},
        {"AppendChild the root", [](auto, auto root, auto child) { return Append(child, root); }, true, false},
        {"AppendChild an ancestor",
         [](auto document, auto, auto child) {
             return Append(NodeAt(document, {0, 0}).get(), child);
         },
         false, false},
        {"AppendChild", [](auto, auto root, auto child) { return Append(root, child); }, true, true},
        {"RemoveFromParent of the root", [](auto, auto root, auto) { return root->RemoveFromParent(); }, false, false},
        {"RemoveFromParent of a new node",
         [](auto document, auto, auto) { return NewElement(document, WTEXT("n"))->RemoveFromParent(); }, true, false},
        {"RemoveFromParent", [](auto, auto, auto child) { return child->RemoveFromParent(); }, true, true},
        {"Clone to null", [](auto, auto root, auto) { return root->Clone(nullptr, true); }, false, false},
        {"Clone of a bare node",
         [](auto document, auto, auto) {
             IBinNode* bare = nullptr;
             IBinNode* copy = nullptr;
             document->CreateNode(&bare);
             return NodePtr(bare)->Clone(&copy, true);
         },
         false, false},
        {"Clone without children", [](auto, auto root, auto) { return CopyOf(root, false) != nullptr; }, true, false},
        {"Clone", [](auto, auto root, auto) { return CopyOf(root, true) != nullptr; }, true, true},
        {"IsEqual null address", [](auto, auto root, auto) { return root->IsEqual(nullptr, true); }, false, false},
        {"IsEqual null",
         [](auto, auto root, auto) {
             IBinNode* none = nullptr;
             return root->IsEqual(&none, true);
         },
         false, false},
        {"IsEqual of documents, null address", [](auto document, auto, auto) { return document->IsEqual(nullptr); },
         false, false},
        {"SetModified", [](auto document, auto, auto) { return document->SetModified(true); }, true, true},
        {"CreateElement without a name",
         [](auto document, auto, auto) {
             IBinNode* untouched = reinterpret_cast<IBinNode*>(document);
             document->CreateElement(&untouched, nullptr);
             document->CreateElement(&untouched, WTEXT(""));
             document->CreateElement(nullptr, WTEXT("n"));
             document->CreateNode(nullptr);
             document->GetRoot(nullptr);
             document->Clone(nullptr);
             return untouched == reinterpret_cast<IBinNode*>(document);
         },
         true, false},
        {"options",
         [](auto document, auto, auto) {
             const std::uint32_t value = 7;
             document->SetOption(1, &value);
             document->SetOption(1, nullptr);
             document->SetOption(2, &value);
             return document->GetOption(1) == 0 && document->GetOption(2) == 0;
         },
         true, false},
    };
    for (const Row& row : rows) {
        const DocumentPtr document = LoadedDocument(start);
        const NodePtr root = RootOf(document.get());
        const NodePtr child = NodeAt(document.get(), {0});
        EXPECT_EQ(row.call(document.get(), root.get(), child.get()), row.result) << row.what;
        EXPECT_EQ(document->IsModified(), row.isModified) << row.what;
    }
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
