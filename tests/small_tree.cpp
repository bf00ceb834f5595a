#include "small_tree.h"

#include <algorithm>

#include "model/document.h"
#include "plain_model.h"

SmallTree RandomTree(Random& random, const Vocabulary& vocabulary, int depth) {
    const auto any = [&](const std::vector<Text>& usual, const std::vector<Text>& rare) {
        const std::vector<Text>& list = !rare.empty() && random() % 32 == 0 ? rare : usual;
        return list[random() % list.size()];
    };
    const auto text = [&] { return any(vocabulary.texts, vocabulary.rareTexts); };
    const auto name = [&] { return any(vocabulary.names, vocabulary.rareNames); };
    const unsigned kind = depth == 0 ? 0 : static_cast<unsigned>(random() % 6);
    if (kind == 1) return C(random() % 4 ? text() : Text());
    if (kind == 2) return T(text());
    SmallTree tree = E(name());
    for (std::size_t i = random() % 4; i > 0; --i) {
        const Text key = name();
        const auto isKey = [&](const auto& attr) { return attr.first == key; };
        if (std::any_of(tree.attrs.begin(), tree.attrs.end(), isKey)) continue;
        tree.attrs.emplace_back(key, random() % 4 ? text() : Text());
    }
    for (std::size_t i = depth < 5 ? random() % 5 : 0; i > 0; --i) {
        tree.children.push_back(RandomTree(random, vocabulary, depth + 1));
    }
    return tree;
}

namespace {

plain::Text Plain(const Text& text) {
    return plain::Text(text.begin(), text.end());
}

void Collect(const SmallTree& tree, plain::Dict& words) {
    words.Add(Plain(tree.text), tree.IsElement());
    for (const auto& [name, value] : tree.attrs) {
        words.Add(Plain(name), true);
        words.Add(Plain(value));
    }
    for (const SmallTree& child : tree.children) Collect(child, words);
}

// All words are there.
void Emit(const SmallTree& tree, plain::Dict& words, CBytes& bytes) {
    const std::uint32_t word = words.Add(Plain(tree.text), tree.IsElement());
    if (!tree.IsElement()) {
        bytes.TextNode(word, tree.type);
        return;
    }
    std::vector<std::pair<std::uint32_t, std::uint32_t>> attrs;
    for (const auto& [name, value] : tree.attrs) {
        attrs.emplace_back(words.Add(Plain(name), true), words.Add(Plain(value)));
    }
    std::stable_sort(attrs.begin(), attrs.end(),
                     [&](const auto& a, const auto& b) { return words.Word(a.first) < words.Word(b.first); });
    std::vector<std::uint32_t> table;
    for (const auto& [name, value] : attrs) table.insert(table.end(), {name, value});
    bytes.Element(word, static_cast<std::int32_t>(tree.children.size()), table);
    for (const SmallTree& child : tree.children) Emit(child, words, bytes);
}

}  // namespace

Bytes DocumentOf(const SmallTree& tree) {
    plain::Dict words;
    Collect(tree, words);
    CBytes bytes;
    bytes.Words(words.words);
    Emit(tree, words, bytes);
    return bytes;
}

CComRef<IBinDocument> LoadTree(const SmallTree& tree) {
    auto document = CComRef<IBinDocument>::Adopt(CBinaryDocument::Create());
    return document->LoadFromBuffer(DocumentOf(tree).data()) ? document : CComRef<IBinDocument>();
}

CComRef<IBinNode> RootOf(IBinDocument& document) {
    CComRef<IBinNode> root;
    document.GetRoot(root.Out());
    return root;
}
