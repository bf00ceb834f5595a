// XML to binary: random XML against the conversion rules told plainly, by the load rules of our own DOM.
#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <string>

#include "document_bytes.h"
#include "dom_tree.h"
#include "plain_model.h"
#include "platform/utf8.h"

namespace {

class ConvertRandom : public XmlTest {
protected:
    ~ConvertRandom() override { g_lower = 0; }
};

// Random trees, the XML for them, and what the rules make of them.

using Random = std::mt19937;

SmallTree RandomXmlTree(Random& random, int depth) {
    static const Text names[] = {WTEXT("a"),   WTEXT("Item"), WTEXT("item"),  WTEXT("ITEM"),
                                 WTEXT("b:c"), WTEXT("B:c"),  WTEXT("xmlns"), WTEXT("\u4E2D\u00C9")};
    static const Text texts[] = {WTEXT("Item"),
                                 WTEXT("a"),
                                 WTEXT("1 < 2 & \"3\" > '4' ]]>"),
                                 WTEXT("\U0001D11E\r\n\tx"),
                                 WTEXT("item"),
                                 WTEXT("some longer text for the wide steps \u00E9 and more of it")};
    const auto any = [&random](const auto& list) { return list[random() % std::size(list)]; };
    SmallTree tree = E(any(names));
    for (std::size_t i = random() % 4; i > 0; --i) {
        const Text name = any(names);
        const bool isNew =
            std::none_of(tree.attrs.begin(), tree.attrs.end(), [&](const auto& a) { return a.first == name; });
        if (isNew) tree.attrs.emplace_back(name, random() % 4 ? any(texts) : Text());
    }
    for (std::size_t i = depth < 5 ? random() % 5 : 0; i > 0; --i) {
        const bool mayBeText = tree.children.empty() || tree.children.back().type != 3;
        switch (random() % 4) {
            case 0:
                tree.children.push_back(mayBeText ? T(any(texts)) : C(any(texts)));
                break;
            case 1:
                tree.children.push_back(C(random() % 3 ? Text(WTEXT("<&>")) : Text()));
                break;
            default:
                tree.children.push_back(RandomXmlTree(random, depth + 1));
                break;
        }
    }
    return tree;
}

std::string Escaped(Random& random, const Text& text) {
    std::string xml;
    for (const char c : TextToUtf8(text)) {
        const bool isAscii = static_cast<unsigned char>(c) < 0x80;
        const bool mustEscape = std::string_view("<&>\"'\r\n\t").find(c) != std::string_view::npos;
        xml += isAscii && (mustEscape || random() % 20 == 0) ? "&#" + std::to_string(c) + ";" : std::string(1, c);
    }
    return xml;
}

// Comments, processing instructions and white space where they do not count.
std::string Decoration(Random& random) {
    static const char* const decorations[] = {"", "", "", "<!-- <x> -->", "<?p d?>", " \n", "\t<!---->\r\n"};
    return decorations[random() % std::size(decorations)];
}

std::string XmlOf(Random& random, const SmallTree& tree) {
    if (tree.type == 3) return Escaped(random, tree.text);
    if (tree.type == 4) return "<![CDATA[" + TextToUtf8(tree.text.substr(0, tree.text.find(WTEXT("]]>")))) + "]]>";
    const std::string name = TextToUtf8(tree.text);
    std::string xml = "<" + name;
    for (const auto& [attr, value] : tree.attrs) {
        xml += (random() % 2 ? " " : "\n\t") + TextToUtf8(attr) + "=\"" + Escaped(random, value) + "\"";
    }
    if (tree.children.empty() && random() % 2) return xml + " />";
    xml += ">";
    for (std::size_t i = 0; i < tree.children.size(); ++i) {
        const bool touchesText = tree.children[i].type == 3 || (i > 0 && tree.children[i - 1].type == 3);
        xml += (touchesText ? "" : Decoration(random)) + XmlOf(random, tree.children[i]);
    }
    return xml + "</" + name + ">";
}

plain::Text Plain(const Text& text) {
    return plain::Text(text.begin(), text.end());
}

// A CDATA section ends at "]]>", and its line ends are line feeds.
plain::Text ContentOf(const SmallTree& tree) {
    plain::Text text = Plain(tree.text);
    if (tree.type != 4) return text;
    text = text.substr(0, text.find(u"]]>"));
    for (std::size_t at = 0; (at = text.find(u"\r\n", at)) != plain::Text::npos;) text.erase(at, 1);
    return text;
}

void Collect(const SmallTree& tree, plain::Dict& words) {
    if (!tree.IsElement()) {
        words.Add(ContentOf(tree));
        return;
    }
    words.Add(Plain(tree.text), true);
    for (const auto& [name, value] : tree.attrs) {
        words.Add(Plain(name), true);
        words.Add(Plain(value));
    }
    for (const SmallTree& child : tree.children) Collect(child, words);
}

void Emit(const SmallTree& tree, plain::Dict& words, CBytes& bytes) {
    if (!tree.IsElement()) {
        bytes.TextNode(words.Add(ContentOf(tree)), tree.type);
        return;
    }
    const std::uint32_t word = words.Add(Plain(tree.text), true);
    std::vector<std::pair<std::uint32_t, std::uint32_t>> attrs;
    for (const auto& [name, value] : tree.attrs)
        attrs.emplace_back(words.Add(Plain(name), true), words.Add(Plain(value)));
    std::stable_sort(attrs.begin(), attrs.end(),
                     [&](const auto& a, const auto& b) { return words.Word(a.first) < words.Word(b.first); });
    std::vector<std::uint32_t> table;
    for (const auto& [name, value] : attrs) table.insert(table.end(), {name, value});
    bytes.Element(word, static_cast<std::int32_t>(tree.children.size()), table);
    for (const SmallTree& child : tree.children) Emit(child, words, bytes);
}

Bytes Predicted(const SmallTree& tree) {
    plain::Dict words;
    Collect(tree, words);
    CBytes bytes;
    bytes.Number(static_cast<std::uint32_t>(words.words.size()));
    for (const plain::Text& word : words.words) bytes.Word(word);
    Emit(tree, words, bytes);
    return bytes;
}

TEST_F(ConvertRandom, RandomXmlFollowsTheRulesAndSavesTheSame) {
    for (unsigned seed = 1; seed <= 3000; ++seed) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        Random random(seed);
        g_lower = seed % 2;
        const SmallTree tree = RandomXmlTree(random, 0);
        const std::string xml = Decoration(random) + XmlOf(random, tree) + Decoration(random);
        const Bytes bytes = Converted(xml);
        ASSERT_EQ(bytes, Predicted(tree)) << xml;

        ASSERT_EQ(SavedBytes(LoadedDocument(bytes).get(), m_folder), bytes) << xml;
    }
}

}  // namespace
