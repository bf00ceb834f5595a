#include "export_trees.h"

#include <algorithm>

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

SmallTree RandomDocument(unsigned seed) {
    static const Vocabulary vocabulary = {
        {WTEXT("a"), WTEXT("b:c"), WTEXT("script"), WTEXT("Script"), WTEXT("\u00E9\u4E2D"), WTEXT("x.1-2_")},
        {WTEXT("text"),
         {},
         WTEXT(" \t"),
         WTEXT("\r\n"),
         WTEXT("1\r\n2"),
         WTEXT("&<>\"']]>"),
         WTEXT("\u4E2D\U0001D11E and some more, long enough for wide steps"),
         WTEXT("\r"),
         WTEXT("]]"),
         WTEXT(">")},
        {WTEXT("-no"), WTEXT("no no")},
        {WTEXT("a\x01z"), Text(1, WCHAR(0xDC00))}};
    Random random(seed);
    SmallTree tree = RandomTree(random, vocabulary);
    tree.text = WTEXT("root");
    return tree;
}

// What the rules make of a tree, told as plainly as possible. What cannot be held cuts the element short.
static void Predict(const SmallTree& tree, int depth, SmallTree& element) {
    auto attrs = tree.attrs;
    std::sort(attrs.begin(), attrs.end());
    for (const auto& attr : attrs) {
        if (!IsGoodName(attr.first) || !IsHeld(attr.second)) return;
        if (!element.attrs.empty() && element.attrs.back().first == attr.first) element.attrs.pop_back();
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
        {"a root that is a text", T(kX), ""},
        {"a root with nothing", E(a), "<a/>"},
        {"elements only", E(a, {E(b, {E(c)}), E(b)}), "<a>\r\n\t<b>\r\n\t\t<c/>\r\n\t</b>\r\n\t<b/>\r\n</a>"},
        {"one text", E(a, {E(b, {T(kX)})}), "<a>\r\n\t<b>x</b>\r\n</a>"},
        {"an empty text", E(a, {E(b, {T({})})}), "<a>\r\n\t<b>\r\n\t</b>\r\n</a>"},
        {"CDATA in a script", E(s, {C(WTEXT("a<b"))}), "<script><![CDATA[a<b]]>\r\n</script>"},
        {"empty CDATA in a script", E(s, {C({})}), "<script><![CDATA[]]>\r\n</script>"},
        {"a text in a Script", E(WTEXT("ScRipt"), {T(kX)}), "<ScRipt>x<![CDATA[x]]>\r\n</ScRipt>"},
        {"two texts and an element in a SCRIPT", E(WTEXT("SCRIPT"), {T(kX), E(b), C(WTEXT("y"))}),
         "<SCRIPT><![CDATA[x]]>\r\n\t<b/><![CDATA[y]]>\r\n</SCRIPT>"},
        {"CDATA elsewhere", E(a, {C(WTEXT("1<2&\"3\">4"))}), "<a>1&lt;2&amp;\"3\"&gt;4</a>"},
        {"a text behind elements takes their place", E(a, {E(b), T(kX)}), "<a>x</a>"},
        {"an element behind a text stays with it", E(a, {T(kX), E(b)}), "<a>x\r\n\t<b/></a>"},
        {"the last of several texts stays", E(a, {T(WTEXT("1")), C(WTEXT("2")), T(WTEXT("3")), T({})}), "<a>3</a>"},
        {"attributes in order", E(a, {}, {{WTEXT("y"), WTEXT("2<\"\t\n")}, {kX, {}}}),
         "<a x=\"\" y=\"2&lt;&quot;&#9;&#10;\"/>"},
        {"an attribute twice", E(a, {}, {{kX, WTEXT("1")}, {b, {}}, {kX, WTEXT("2")}}), "<a b=\"\" x=\"2\"/>"},
        {"]]> in a script", E(s, {C(WTEXT("]]>]]>"))}),
         "<script><![CDATA[]]]]><![CDATA[>]]]]><![CDATA[>]]>\r\n</script>"},
        {"white space", E(a, {E(b, {T(WTEXT(" \r\n"))}), E(c, {T(WTEXT("1\r\n2\r"))})}),
         "<a>\r\n\t<b> \r\n</b>\r\n\t<c>1&#13;\n2&#13;</c>\r\n</a>"},
        {"outside the basic plane", E(a, {T(WTEXT("\U0001D11E"))}), "<a>\U0001D11E</a>"},
        {"a pair at the end of a long part", E(a, {T(Text(16383, WCHAR('x')) + WTEXT("\U0001D11E"))}),
         "<a>" + std::string(16383, 'x') + "\U0001D11E</a>"},
        // What XML cannot hold cuts its element short; the siblings follow.
        {"a name that is none", E(a, {E(WTEXT("1b"), {E(c)}), E(c)}), "<a>\r\n\t<c/>\r\n</a>"},
        {"no name", E(a, {E({}, {E(c)}), E(c)}), "<a>\r\n\t<c/>\r\n</a>"},
        {"a root whose name is none", E(WTEXT("a b"), {E(c)}), ""},
        {"an attribute name that is none",
         E(a, {E(b, {E(c)}, {{WTEXT("a"), {}}, {WTEXT("b c"), {}}, {WTEXT("d"), {}}}), E(c)}),
         "<a>\r\n\t<b a=\"\"/>\r\n\t<c/>\r\n</a>"},
        {"an attribute value that is none", E(a, {E(c)}, {{WTEXT("a"), WTEXT("\x01")}}), "<a/>"},
        {"a control character", E(a, {E(b, {T(WTEXT("\x01"))}), E(c)}), "<a>\r\n\t<b/>\r\n\t<c/>\r\n</a>"},
        {"half a surrogate pair", E(a, {E(b), T(Text(20000, WCHAR('x')) + WCHAR(0xD800)), E(c)}), "<a>\r\n\t<b/></a>"},
        {"U+FFFE in a script", E(s, {E(b), C(Text(1, WCHAR(0xFFFE))), E(c)}), "<script>\r\n\t<b/></script>"},
    };
}
