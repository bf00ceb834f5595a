#include "tree_printer.h"

#include <string>
#include <vector>

#include "escape.h"
#include "indent.h"
#include "platform/com_ptr.h"

namespace {

// Names are words of a few letters; what is longer is cut whatever the caller wants of texts.
constexpr std::size_t kMostNameCharacters = 200;

void AppendText(const WCHAR* text, const TreeView& view, std::string& line) {
    AppendQuoted(text ? TextView(text) : TextView(), view.mostCharacters, line);
}

void AppendAttributes(IBinNode* element, const TreeView& view, std::string& line) {
    const std::int32_t count = element->GetAttrCount();
    for (std::int32_t i = 0; i < count; ++i) {
        CComRef<IAttrPair> pair;
        element->GetAttrPair(i, pair.Out());
        if (!pair) continue;
        line += ' ';
        const WCHAR* name = pair->GetName();
        AppendName(name ? TextView(name) : TextView(), kMostNameCharacters, line);
        const WCHAR* value = pair->GetValue();
        if (!value) continue;
        line += '=';
        AppendText(value, view, line);
    }
}

CComRef<IBinNode> ChildAt(IBinNode* parent, std::int32_t index) {
    CComRef<IBinNode> child;
    parent->GetChild(index, child.Out());
    return child;
}

// The text of an element that has one child, and that a text.
bool IsOnlyText(IBinNode* element, CComRef<IBinNode>& text) {
    if (element->GetChildCount() != 1) return false;
    text = ChildAt(element, 0);
    return text && text->GetType() == PARVEL_TEXT;
}

// Appends the line of a node. False when its children need no lines of their own, or get none.
bool AppendNode(IBinNode* node, std::size_t level, const TreeView& view, std::string& line) {
    AppendIndent(level, line);
    const WCHAR* name = node->GetName();
    const std::uint32_t type = node->GetType();
    if (!name) {
        line += "(unreadable record)\n";
        return false;
    }
    if (type == PARVEL_TEXT || type == PARVEL_CDATA) {
        if (type == PARVEL_CDATA) line += "[CDATA] ";
        AppendText(name, view, line);
        line += '\n';
        return false;
    }
    AppendName(name, kMostNameCharacters, line);
    AppendAttributes(node, view, line);

    const std::int32_t childCount = node->GetChildCount();
    CComRef<IBinNode> text;
    bool descends = childCount > 0;
    if (IsOnlyText(node, text)) {
        line += ": ";
        AppendText(text->GetName(), view, line);
        descends = false;
    } else if (descends && level >= view.mostLevels) {
        line += " … " + std::to_string(childCount) + (childCount == 1 ? " child" : " children");
        descends = false;
    }
    line += '\n';
    return descends;
}

struct Step {
    CComRef<IBinNode> element;
    std::int32_t nextChild = 0;
    std::int32_t childCount = 0;
};

}  // namespace

void PrintTree(IBinNode* root, const TreeView& view, COutput& output) {
    std::vector<Step> path;  // the elements whose children are being printed, outermost first
    std::string line;
    const auto print = [&](CComRef<IBinNode> node) {
        line.clear();
        const bool descends = AppendNode(node.Get(), path.size() + 1, view, line);
        output.Append(line);
        if (!descends) return;
        const std::int32_t childCount = node->GetChildCount();
        path.push_back({std::move(node), 0, childCount});
    };

    print(CComRef<IBinNode>::Share(root));
    while (!path.empty()) {
        Step& step = path.back();
        if (step.nextChild == step.childCount) {
            path.pop_back();
        } else if (CComRef<IBinNode> child = ChildAt(step.element.Get(), step.nextChild++)) {
            print(std::move(child));
        }
    }
}
