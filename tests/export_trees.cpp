#include "export_trees.h"

#include <algorithm>

#include "model/document.h"

CComRef<IBinDocument> LoadTree(const SmallTree& tree) {
    auto document = CComRef<IBinDocument>::Adopt(CBinaryDocument::Create());
    const std::vector<unsigned char> bytes = CSmallTreeBytes::Of(tree);
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

std::string ReadText(const std::filesystem::path& path) {
    const std::vector<unsigned char> bytes = ReadBytes(path);
    return {bytes.begin(), bytes.end()};
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
