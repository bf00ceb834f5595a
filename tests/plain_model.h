// A plain document model to hold the library against: every node has its own strings and vectors, every operation is
// written as its description reads, nothing is shared, lazy or fast.
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "bytes.h"

namespace plain {

using Text = std::u16string;

Text Folded(Text text);

struct Dict {
    std::vector<Text> words;
    std::map<Text, std::uint32_t> index;

    std::uint32_t Add(const Text& text, bool fold = false);
    Text Word(std::uint32_t i) const { return i < words.size() ? words[i] : Text(); }
    const Text* Pair(std::uint32_t i) const { return i < words.size() && i < 0x80000000 ? &words[i] : nullptr; }
};

struct Record {
    unsigned char type = 1;
    std::uint32_t word = 0;
    std::uint32_t own = kNoWord;
    std::int32_t attrCount = 0;
    std::int32_t childCount = 0;
    std::vector<std::pair<std::uint32_t, std::uint32_t>> attrs;
};

struct Doc;

struct Node {
    Doc* doc = nullptr;  // null once it is gone
    Node* parent = nullptr;
    std::vector<Node*> children;
    bool hasRecord = false;
    Record record;
    Text name, value;
    std::vector<std::pair<Text, Text>> attrs;
    bool foreign = false;  // the record's words are those of another dictionary: texts are held
    Text own;              // then: the own value
    int held = 0;          // references of the test

    bool IsElement() const { return hasRecord && record.type == 1; }
    bool IsText() const { return hasRecord && (record.type == 3 || record.type == 4); }

    std::uint32_t Type() const { return !doc ? 0 : hasRecord ? record.type : 1; }
    const Text* Name() const;
    const Text* Value() const;
    int AttrCount() const;
    int ChildCount() const { return doc && IsElement() ? std::max(0, record.childCount) : 0; }
    const Text* Attribute(const Text& asked) const;
    std::pair<const Text*, const Text*> Pair(std::size_t i) const;

    bool SetName(const Text& text);
    bool SetAttribute(const Text& name, const Text& value);
    bool RemoveAttribute(const Text& name);
    bool SetValue(const Text& text);
    bool Append(Node* child);
    bool Remove();
    Node* Clone(bool deep);

    std::vector<std::pair<Text, Text>>::iterator Pending(const Text& key);
    void LoadAttributes();
    void StoreAttributes(Dict& dict);
    void StoreValue(Dict& dict);
    void Hold(bool leaving);
    void Adopt(Doc* target);
    Node* CloneTo(Doc* target, bool deep);
    bool IsRoot() const;
    Text RecordText() const;
    Text OwnText() const;
    bool HasOnlyText() const;

private:
    mutable Text m_answer;  // keeps what Name and Value point at
    mutable Text m_answer2;
    mutable Text m_answer3;
};

struct Doc {
    Dict dict;
    Node* root = nullptr;
    bool modified = false;
    std::size_t fileSize = 0;
    std::vector<std::unique_ptr<Node>>* nodes;  // all nodes of the test, of every document

    explicit Doc(std::vector<std::unique_ptr<Node>>* all) : nodes(all) {}

    Node* New();
    Node* CreateElement(const Text& name);
    Node* Root();
    bool Load(const Bytes& bytes, bool isFile);
    void Compact();
    Bytes Save();
    std::shared_ptr<Doc> Clone();
    void Die();
    /// A reference to a node is given up: destroys what hangs on nothing.
    static void LetGo(Node* node);

private:
    void Rebuild(Node* node, Dict& fresh);
    void ForgetIndexesPastTheEnd(Node* node);
    void Write(const Node* node, CBytes& out) const;
    void HoldKept();
};

bool Equal(Node* a, Node* b, bool deep);
bool Equal(Doc* a, Doc* b);

}  // namespace plain
