#include "support.h"

#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>

void Require(bool holds, const char* promise) {
    if (holds) return;
    std::fprintf(stderr, "does not hold: %s\n", promise);
    std::abort();
}

void RequireEqual(const std::string& actual, const std::string& expected, const char* promise) {
    if (actual == expected) return;
    const auto [at, unused] = std::mismatch(actual.begin(), actual.end(), expected.begin(), expected.end());
    const std::size_t first = static_cast<std::size_t>(at - actual.begin());
    const std::size_t from = first < 100 ? 0 : first - 100;
    std::fprintf(stderr, "byte %zu of %zu and %zu\n--- actual\n%s\n--- expected\n%s\n---\n", first, actual.size(),
                 expected.size(), actual.substr(from, 300).c_str(), expected.substr(from, 300).c_str());
    Require(false, promise);
}

CMemoryFile::CMemoryFile() : m_handle(memfd_create("fuzz", MFD_CLOEXEC)) {
    Require(m_handle != -1, "the system has room for a file in memory");
    const std::string path = "/proc/self/fd/" + std::to_string(m_handle);
    m_path.assign(path.begin(), path.end());
}

CMemoryFile::~CMemoryFile() {
    close(m_handle);
}

void CMemoryFile::Write(FuzzBytes bytes) {
    const bool isWritten = ftruncate(m_handle, 0) == 0 &&
                           pwrite(m_handle, bytes.data(), bytes.size(), 0) == static_cast<ssize_t>(bytes.size());
    Require(isWritten, "the system has room for a file in memory");
}

std::vector<std::uint8_t> CMemoryFile::Read() const {
    std::vector<std::uint8_t> bytes(static_cast<std::size_t>(lseek(m_handle, 0, SEEK_END)));
    const ssize_t got = pread(m_handle, bytes.data(), bytes.size(), 0);
    Require(got == static_cast<ssize_t>(bytes.size()), "a file in memory can be read");
    return bytes;
}

CComRef<IBinDocument> NewDocument() {
    CComRef<IBinDocument> document;
    Require(KestQueryBinDocInterface(&IID_IBinDocument, document.Out()) == 0, "a document can be made");
    return document;
}

void AppendText(const WCHAR* text, std::string& line) {
    if (!text) {
        line += " -";
        return;
    }
    const TextView view(text);
    line += ' ' + std::to_string(view.size()) + ':';
    for (const WCHAR unit : view) {
        if (unit >= ' ' && unit < 0x7F) {
            line += static_cast<char>(unit);
        } else {
            line += '\\' + std::to_string(static_cast<unsigned>(unit)) + ';';
        }
    }
}

namespace {

void DescribeNode(IBinNode* node, std::string& lines) {
    lines += std::to_string(node->GetType());
    AppendText(node->GetName(), lines);
    AppendText(node->GetValue(), lines);
    const std::int32_t attrCount = node->GetAttrCount();
    for (std::int32_t i = 0; i < attrCount; ++i) {
        CComRef<IAttrPair> pair;
        node->GetAttrPair(i, pair.Out());
        Require(pair.Get() != nullptr, "every attribute has a pair");
        lines += " @";
        const WCHAR* name = pair->GetName();
        AppendText(name, lines);
        AppendText(pair->GetValue(), lines);
        if (name && *name) static_cast<void>(node->GetAttribute(name));  // tables may be unsorted: any answer
    }
    CComRef<IAttrPair> none;
    node->GetAttrPair(attrCount, none.Out());
    Require(!none, "there is no pair behind the last attribute");
    lines += " (" + std::to_string(node->GetChildCount()) + ")\n";
}

struct Step {
    CComRef<IBinNode> node;
    std::int32_t childCount;
    std::int32_t next;
};

}  // namespace

std::string Describe(IBinNode* root) {
    std::string lines;
    std::vector<Step> path;
    const auto enter = [&](CComRef<IBinNode> node) {
        DescribeNode(node.Get(), lines);
        const std::int32_t childCount = node->GetChildCount();
        path.push_back({std::move(node), childCount, 0});
    };
    enter(CComRef<IBinNode>::Share(root));
    while (!path.empty()) {
        Step& step = path.back();
        if (step.next == step.childCount) {
            path.pop_back();
            continue;
        }
        CComRef<IBinNode> child;
        step.node->GetChild(step.next++, child.Out());
        Require(child.Get() != nullptr, "every child is there");
        CComRef<IBinNode> parent;
        child->GetParent(parent.Out());
        Require(parent.Get() == step.node.Get(), "a child's parent is the node that gave it");
        enter(std::move(child));
    }
    return lines;
}
