// Small trees: written down in a test or made at random, and the documents of them.
#pragma once

#include <random>
#include <string>
#include <utility>
#include <vector>

#include "bytes.h"
#include "parvel/parvel.h"
#include "platform/com_ptr.h"
#include "platform/text.h"

struct SmallTree {
    int type = 1;
    Text text;  // an element's name
    std::vector<std::pair<Text, Text>> attrs;
    std::vector<SmallTree> children;

    bool IsElement() const { return type == 1; }
};

inline SmallTree E(const Text& name, std::vector<SmallTree> children = {},
                   std::vector<std::pair<Text, Text>> attrs = {}) {
    return {1, name, std::move(attrs), std::move(children)};
}
inline SmallTree T(const Text& text) {
    return {3, text, {}, {}};
}
inline SmallTree C(const Text& text) {
    return {4, text, {}, {}};
}

using Random = std::mt19937;

/// What random trees are made of.
struct Vocabulary {
    std::vector<Text> names, texts;
    std::vector<Text> rareNames, rareTexts;  // met once in a while
};
SmallTree RandomTree(Random& random, const Vocabulary& vocabulary, int depth = 0);

/// The bytes that the rules of conversion make of a tree, with names folded when folding is on.
Bytes DocumentOf(const SmallTree& tree);
CComRef<IBinDocument> LoadTree(const SmallTree& tree);
CComRef<IBinNode> RootOf(IBinDocument& document);
