#include "export_trees.h"

#include <algorithm>

#include "document_bytes.h"

// Each text gets a word of its own, whether it is there already or not.
static void AddTree(const SmallTree& tree, std::vector<std::u16string>& words, CBytes& records) {
    const auto add = [&words](const Text& text) {
        words.emplace_back(text.begin(), text.end());
        return static_cast<std::uint32_t>(words.size() - 1);
    };
    const std::uint32_t word = add(tree.text);
    if (!tree.IsElement()) {
        records.TextNode(word, tree.type);
        return;
    }
    auto attrs = tree.attrs;
    std::stable_sort(attrs.begin(), attrs.end(), [](const auto& a, const auto& b) { return a.first < b.first; });
    std::vector<std::uint32_t> table;
    for (const auto& [name, value] : attrs) {
        table.push_back(add(name));
        table.push_back(add(value));
    }
    records.Element(word, static_cast<std::int32_t>(tree.children.size()), table);
    for (const SmallTree& child : tree.children) AddTree(child, words, records);
}

CComRef<IBinDocument> LoadTree(const SmallTree& tree) {
    std::vector<std::u16string> words;
    CBytes records, all;
    AddTree(tree, words, records);
    all.Number(static_cast<std::uint32_t>(words.size()));
    for (const std::u16string& word : words) all.Word(word);
    Bytes bytes = all;
    const Bytes& tail = records;
    bytes.insert(bytes.end(), tail.begin(), tail.end());
    auto document = CComRef<IBinDocument>::Adopt(CBinaryDocument::Create());
    return document->LoadFromBuffer(bytes.data()) ? document : CComRef<IBinDocument>();
}

CComRef<IBinNode> RootOf(IBinDocument& document) {
    CComRef<IBinNode> root;
    document.GetRoot(root.Out());
    return root;
}

bool ExportFile(const SmallTree& tree, const Text& path) {
    // Some file systems wait for the disk when a file is cut short and written anew.
    std::error_code ignored;
    std::filesystem::remove(path, ignored);
    return LoadTree(tree)->ExportToXml(path.c_str());
}

bool IsHeld(const Text& text) {
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (IsHighSurrogate(text[i]) && i + 1 < text.size() && IsLowSurrogate(text[i + 1])) {
            ++i;
        } else if ((text[i] < ' ' && text[i] != '\t' && text[i] != '\n' && text[i] != '\r') || text[i] >= 0xFFFE ||
                   IsHighSurrogate(text[i]) || IsLowSurrogate(text[i])) {
            return false;
        }
    }
    return true;
}

bool IsGoodName(const Text& name) {
    return !name.empty() && name.find_first_of(WTEXT("- 1<")) != 0 && name.find(WCHAR(' ')) == Text::npos &&
           IsHeld(name);
}

SmallTree RandomTree(Random& random, int depth) {
    static const Text names[] = {WTEXT("a"),   WTEXT("b:c"),   WTEXT("script"), WTEXT("Script"), WTEXT("\u00E9\u4E2D"),
                                 WTEXT("-no"), WTEXT("no no"), WTEXT("x.1-2_")};
    static const Text texts[] = {WTEXT("text"),
                                 {},
                                 WTEXT(" \t"),
                                 WTEXT("\r\n"),
                                 WTEXT("1\r\n2"),
                                 WTEXT("&<>\"']]>"),
                                 WTEXT("\u4E2D\U0001D11E and some more, long enough for wide steps"),
                                 WTEXT("\r"),
                                 WTEXT("a\x01z"),
                                 Text(1, WCHAR(0xDC00)),
                                 WTEXT("]]"),
                                 WTEXT(">")};
    const auto text = [&] {
        // Seldom one that cuts the element short.
        const Text& pick = texts[Below(random, std::size(texts))];
        return IsHeld(pick) || Below(random, 8) == 0 ? pick : texts[0];
    };
    const auto name = [&] {
        const Text& pick = names[Below(random, std::size(names))];
        return IsGoodName(pick) || Below(random, 8) == 0 ? pick : names[0];
    };
    const std::size_t kind = depth == 0 ? 0 : Below(random, 6);
    if (kind == 1) return C(text());
    if (kind == 2 || kind == 3) return T(text());
    SmallTree tree = E(name());
    for (std::size_t i = Below(random, 4); i > 0; --i) {
        const Text key = name();
        const auto isKey = [&](const auto& attr) { return attr.first == key; };
        if (std::none_of(tree.attrs.begin(), tree.attrs.end(), isKey)) tree.attrs.emplace_back(key, text());
    }
    if (depth < 5) {
        for (std::size_t i = Below(random, 5); i > 0; --i) tree.children.push_back(RandomTree(random, depth + 1));
    }
    return tree;
}

SmallTree RandomDocument(unsigned seed) {
    Random random(seed);
    SmallTree tree = RandomTree(random, 0);
    tree.text = WTEXT("root");
    return tree;
}

// What the rules make of a tree, told as plainly as possible. What cannot be held cuts the element short.
static void Predict(const SmallTree& tree, int depth, SmallTree& element) {
    auto attrs = tree.attrs;
    std::sort(attrs.begin(), attrs.end());
    for (const auto& attr : attrs) {
        if (!IsGoodName(attr.first) || !IsHeld(attr.second)) return;
        element.attrs.push_back(attr);
    }
    const bool isScript = FoldedCase(tree.text) == WTEXT("script");
    bool isTextSet = false;
    if (tree.children.size() == 1 && tree.children[0].type == 3 && !tree.children[0].text.empty()) {
        if (!IsHeld(tree.children[0].text)) return;
        element.children = tree.children;
    }
    for (const SmallTree& child : tree.children) {
        if (child.IsElement()) {
            if (!IsGoodName(child.text)) continue;
            element.children.push_back(T(WTEXT("\r\n") + Text(static_cast<std::size_t>(depth) + 1, WCHAR('\t'))));
            element.children.push_back(E(child.text));
            Predict(child, depth + 1, element.children.back());
            continue;
        }
        if (!isScript && child.text.empty()) continue;
        if (!IsHeld(child.text)) return;
        if (!isScript) element.children.clear();
        element.children.push_back(isScript ? C(child.text) : T(child.text));
        isTextSet = isTextSet || !isScript;
    }
    if (!tree.children.empty() && !isTextSet) {
        element.children.push_back(T(WTEXT("\r\n") + Text(static_cast<std::size_t>(depth), WCHAR('\t'))));
    }
}

SmallTree Predicted(const SmallTree& tree) {
    SmallTree element = E(tree.text);
    Predict(tree, 0, element);
    return element;
}

static const Text kX = WTEXT("x");

std::vector<ExportCase> ExportCases() {
    const Text a = WTEXT("a"), b = WTEXT("b"), c = WTEXT("c"), s = WTEXT("script");
    return {
        {"a root that is a text", T(kX), "(none)", ""},
        {"a root with nothing", E(a), "<a></a>", "<a/>"},
        {"elements only", E(a, {E(b, {E(c)}), E(b)}),
         R"(<a>'\r\n\t'<b>'\r\n\t\t'<c></c>'\r\n\t'</b>'\r\n\t'<b></b>'\r\n'</a>)",
         "<a>\r\n\t<b>\r\n\t\t<c/>\r\n\t</b>\r\n\t<b/>\r\n</a>"},
        {"one text", E(a, {E(b, {T(kX)})}), R"(<a>'\r\n\t'<b>'x'</b>'\r\n'</a>)", "<a>\r\n\t<b>x</b>\r\n</a>"},
        {"an empty text", E(a, {E(b, {T({})})}), R"(<a>'\r\n\t'<b>'\r\n\t'</b>'\r\n'</a>)",
         "<a>\r\n\t<b>\r\n\t</b>\r\n</a>"},
        {"CDATA in a script", E(s, {C(WTEXT("a<b"))}), R"(<script>[a<b]'\r\n'</script>)",
         "<script><![CDATA[a<b]]>\r\n</script>"},
        {"empty CDATA in a script", E(s, {C({})}), R"(<script>[]'\r\n'</script>)", "<script><![CDATA[]]>\r\n</script>"},
        {"a text in a Script", E(WTEXT("ScRipt"), {T(kX)}), R"(<ScRipt>'x'[x]'\r\n'</ScRipt>)",
         "<ScRipt>x<![CDATA[x]]>\r\n</ScRipt>"},
        {"two texts and an element in a SCRIPT", E(WTEXT("SCRIPT"), {T(kX), E(b), C(WTEXT("y"))}),
         R"(<SCRIPT>[x]'\r\n\t'<b></b>[y]'\r\n'</SCRIPT>)",
         "<SCRIPT><![CDATA[x]]>\r\n\t<b/><![CDATA[y]]>\r\n</SCRIPT>"},
        {"CDATA elsewhere", E(a, {C(WTEXT("1<2"))}), "<a>'1<2'</a>", "<a>1&lt;2</a>"},
        {"a text behind elements takes their place", E(a, {E(b), T(kX)}), "<a>'x'</a>", "<a>x</a>"},
        {"an element behind a text stays with it", E(a, {T(kX), E(b)}), R"(<a>'x''\r\n\t'<b></b></a>)",
         "<a>x\r\n\t<b/></a>"},
        {"the last of several texts stays", E(a, {T(WTEXT("1")), C(WTEXT("2")), T(WTEXT("3")), T({})}), "<a>'3'</a>",
         "<a>3</a>"},
        {"attributes in order", E(a, {}, {{WTEXT("y"), WTEXT("2<\"\t\n")}, {kX, {}}}), R"(<a x="" y="2<"\t\n"></a>)",
         "<a x=\"\" y=\"2&lt;&quot;&#9;&#10;\"/>"},
        {"]]> in a script", E(s, {C(WTEXT("]]>]]>"))}), R"(<script>[]]>]]>]'\r\n'</script>)",
         "<script><![CDATA[]]]]><![CDATA[>]]]]><![CDATA[>]]>\r\n</script>"},
        {"white space", E(a, {E(b, {T(WTEXT(" \r\n"))}), E(c, {T(WTEXT("1\r\n2\r"))})}),
         R"(<a>'\r\n\t'<b>' \r\n'</b>'\r\n\t'<c>'1\r\n2\r'</c>'\r\n'</a>)",
         "<a>\r\n\t<b> \r\n</b>\r\n\t<c>1&#13;\n2&#13;</c>\r\n</a>"},
        {"outside the basic plane", E(a, {T(WTEXT("\U0001D11E"))}), "<a>'\U0001D11E'</a>", "<a>\U0001D11E</a>"},
        // What XML cannot hold cuts its element short; the siblings follow.
        {"a name that is none", E(a, {E(WTEXT("1b"), {E(c)}), E(c)}), R"(<a>'\r\n\t'<c></c>'\r\n'</a>)",
         "<a>\r\n\t<c/>\r\n</a>"},
        {"no name", E(a, {E({}, {E(c)}), E(c)}), R"(<a>'\r\n\t'<c></c>'\r\n'</a>)", "<a>\r\n\t<c/>\r\n</a>"},
        {"a root whose name is none", E(WTEXT("a b"), {E(c)}), "(none)", ""},
        {"an attribute name that is none",
         E(a, {E(b, {E(c)}, {{WTEXT("a"), {}}, {WTEXT("b c"), {}}, {WTEXT("d"), {}}}), E(c)}),
         R"(<a>'\r\n\t'<b a=""></b>'\r\n\t'<c></c>'\r\n'</a>)", "<a>\r\n\t<b a=\"\"/>\r\n\t<c/>\r\n</a>"},
        {"an attribute value that is none", E(a, {E(c)}, {{WTEXT("a"), WTEXT("\x01")}}), "<a></a>", "<a/>"},
        {"a control character", E(a, {E(b, {T(WTEXT("\x01"))}), E(c)}),
         R"(<a>'\r\n\t'<b></b>'\r\n\t'<c></c>'\r\n'</a>)", "<a>\r\n\t<b/>\r\n\t<c/>\r\n</a>"},
        {"half a surrogate pair", E(a, {E(b), T(Text(1, WCHAR(0xD800))), E(c)}), R"(<a>'\r\n\t'<b></b></a>)",
         "<a>\r\n\t<b/></a>"},
        {"U+FFFE in a script", E(s, {E(b), C(Text(1, WCHAR(0xFFFE))), E(c)}), R"(<script>'\r\n\t'<b></b></script>)",
         "<script>\r\n\t<b/></script>"},
    };
}
