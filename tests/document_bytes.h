// Documents for tests: as bytes, part by part, and as a notation that shows a whole tree in one line.
#pragma once

#include <gtest/gtest.h>

#include <initializer_list>
#include <memory>
#include <string>
#include <vector>

#include "bytes.h"
#include "model/document.h"
#include "test_files.h"

inline std::string Narrow(const WCHAR* text) {
    if (!text) return "(null)";
    std::string narrow;
    for (; *text; ++text) narrow += *text < 128 ? static_cast<char>(*text) : '?';
    return narrow;
}

/// a[x=1](text child#) : element a with an attribute and a text child; <text> is CDATA; * a node without a name.
inline std::string Notation(IBinNode* node) {
    std::string shown;
    if (node->GetType() == 3) return "'" + Narrow(node->GetValue()) + "'";
    if (node->GetType() == 4) return "<" + Narrow(node->GetValue()) + ">";
    shown = node->GetName() ? Narrow(node->GetName()) : "*";
    for (int i = 0; i < node->GetAttrCount(); ++i) {
        IAttrPair* pair = nullptr;
        node->GetAttrPair(i, &pair);
        shown += "[" + Narrow(pair->GetName()) + "=" + Narrow(pair->GetValue()) + "]";
        pair->Release();
    }
    for (int i = 0; i < node->GetChildCount(); ++i) {
        IBinNode* child = nullptr;
        node->GetChild(i, &child);
        shown += (i == 0 ? "(" : " ") + Notation(child) + (i + 1 == node->GetChildCount() ? ")" : "");
        child->Release();
    }
    return shown;
}

inline std::string RootNotation(CBinaryDocument* document) {
    return document->Root() ? Notation(document->Root()) : "(none)";
}

struct DocumentRelease {
    void operator()(IBinDocument* document) const { document->Release(); }
};
using DocumentPtr = std::unique_ptr<CBinaryDocument, DocumentRelease>;

inline DocumentPtr NewDocument() {
    return DocumentPtr(CBinaryDocument::Create());
}

inline DocumentPtr LoadedDocument(const Bytes& bytes) {
    DocumentPtr document = NewDocument();
    EXPECT_TRUE(document->LoadFromBuffer(bytes.data()));
    return document;
}

struct NodeRelease {
    void operator()(IBinNode* node) const { node->Release(); }
};
/// A held node.
using NodePtr = std::unique_ptr<IBinNode, NodeRelease>;

inline NodePtr RootOf(IBinDocument* document) {
    IBinNode* root = nullptr;
    document->GetRoot(&root);
    return NodePtr(root);
}

/// The descendant that a path of child indexes leads to, from the root.
inline NodePtr NodeAt(IBinDocument* document, std::initializer_list<std::int32_t> path) {
    NodePtr node = RootOf(document);
    for (const std::int32_t index : path) {
        IBinNode* child = nullptr;
        node->GetChild(index, &child);
        node.reset(child);
    }
    return node;
}

inline NodePtr NewElement(IBinDocument* document, const WCHAR* name) {
    IBinNode* node = nullptr;
    document->CreateElement(&node, name);
    return NodePtr(node);
}

inline bool Append(IBinNode* parent, IBinNode* child) {
    return parent->AppendChild(&child);
}

inline Bytes SavedBytes(IBinDocument* document, const CTestFolder& folder) {
    std::filesystem::remove(folder.File("out"));  // some file systems wait for the disk when a file is written over
    EXPECT_TRUE(document->SaveToFile(folder.Path("out").c_str()));
    return ReadBytes(folder.File("out"));
}
