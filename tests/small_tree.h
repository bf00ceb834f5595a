// Small trees written down in a test.
#pragma once

#include <utility>
#include <vector>

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
