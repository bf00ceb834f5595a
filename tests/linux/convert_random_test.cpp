// XML to binary: random XML against the conversion rules told plainly, by the load rules of our own DOM.
#include <gtest/gtest.h>

#include <string>

#include "document_bytes.h"
#include "dom_tree.h"
#include "platform/utf8.h"

namespace {

const Vocabulary kVocabulary = {{WTEXT("a"), WTEXT("Item"), WTEXT("item"), WTEXT("ITEM"), WTEXT("b:c"), WTEXT("B:c"),
                                 WTEXT("xmlns"), WTEXT("\u4E2D\u00C9")},
                                {WTEXT("Item"), WTEXT("a"), WTEXT("1 < 2 & \"3\" > '4'"), WTEXT("\U0001D11E\n\tx"),
                                 WTEXT("item"), WTEXT("some longer text for the wide steps \u00E9 and more of it")},
                                {},
                                {}};

std::string Escaped(Random& random, const Text& text) {
    std::string xml;
    for (const char c : TextToUtf8(text)) {
        const bool isAscii = static_cast<unsigned char>(c) < 0x80;
        const bool mustEscape = std::string_view("<&>\"'\n\t").find(c) != std::string_view::npos;
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
    if (tree.type == 4) return "<![CDATA[" + TextToUtf8(tree.text) + "]]>";
    const std::string name = TextToUtf8(tree.text);
    std::string xml = "<" + name;
    for (const auto& [attr, value] : tree.attrs) {
        xml += (random() % 2 ? " " : "\n\t") + TextToUtf8(attr) + "=\"" + Escaped(random, value) + "\"";
    }
    if (tree.children.empty() && random() % 2) return xml + " />";
    xml += ">";
    int former = 0;
    for (const SmallTree& child : tree.children) {
        const int texts = (former == 3) + (child.type == 3);
        xml += texts == 2 ? "<!--parted-->" : texts == 1 ? "" : Decoration(random);
        xml += XmlOf(random, child);
        former = child.type;
    }
    return xml + "</" + name + ">";
}

TEST_F(XmlTest, RandomXmlFollowsTheRulesAndSavesTheSame) {
    for (unsigned seed = 1; seed <= 3000; ++seed) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        Random random(seed);
        const SmallTree tree = RandomTree(random, kVocabulary);
        const std::string xml = Decoration(random) + XmlOf(random, tree) + Decoration(random);
        g_lower = seed % 2;
        const Bytes bytes = Converted(xml);
        const Bytes expected = DocumentOf(tree);
        g_lower = 0;
        ASSERT_EQ(bytes, expected) << xml;
        ASSERT_EQ(SavedBytes(LoadedDocument(bytes).get(), m_folder), bytes) << xml;
    }
}

}  // namespace
