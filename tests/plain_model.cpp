#include "plain_model.h"

#include <algorithm>

#include "model/word_dict.h"

namespace plain {

Text Folded(Text text) {
    for (char16_t& unit : text) {
        if (unit >= u'A' && unit <= u'Z') unit = static_cast<char16_t>(unit + 32);
    }
    return text;
}

std::uint32_t Dict::Add(const Text& text, bool fold) {
    if (const auto found = index.find(text); found != index.end()) return found->second;
    const Text key = fold && g_lower != 0 ? Folded(text) : text;
    if (const auto found = index.find(key); found != index.end()) return index[text] = found->second;
    words.push_back(key);
    return index[key] = static_cast<std::uint32_t>(words.size() - 1);
}

bool Node::IsRoot() const {
    return doc && doc->root == this;
}

// A text that is held as the value has won over the record before this is asked.
Text Node::RecordText() const {
    return foreign ? (IsText() ? value : Text()) : doc->dict.Word(record.word);
}

Text Node::OwnText() const {
    return foreign ? own : doc->dict.Word(record.own);
}

bool Node::HasOnlyText() const {
    return children.size() == 1 && children[0]->hasRecord && children[0]->record.type == 3;
}

const Text* Node::Name() const {
    if (!doc) return nullptr;
    if (!name.empty()) return &name;
    if (!hasRecord) return nullptr;
    m_answer = RecordText();
    return &m_answer;
}

const Text* Node::Value() const {
    if (!doc) return nullptr;
    if (!value.empty()) return &value;
    if (!hasRecord) return nullptr;
    if (IsText()) {
        m_answer2 = RecordText();
        return &m_answer2;
    }
    return HasOnlyText() ? children[0]->Value() : nullptr;
}

int Node::AttrCount() const {
    return doc && IsElement() ? static_cast<int>(record.attrs.size() + attrs.size()) : 0;
}

std::pair<const Text*, const Text*> Node::Pair(std::size_t i) const {
    if (i < record.attrs.size()) return {doc->dict.Pair(record.attrs[i].first), doc->dict.Pair(record.attrs[i].second)};
    const auto& pair = attrs[i - record.attrs.size()];
    return {&pair.first, &pair.second};
}

const Text* Node::Attribute(const Text& asked) const {
    if (!doc || asked.empty()) return nullptr;
    for (const auto& pair : attrs) {
        if (pair.first == asked) return &pair.second;
    }
    if (!IsElement() || record.attrs.empty()) return nullptr;
    const auto search = [&](const Text& key) -> const Text* {
        std::uint32_t lo = 0;
        std::uint32_t hi = static_cast<std::uint32_t>(record.attrs.size()) - 1;
        while (true) {
            const std::uint32_t mid = lo == hi ? lo : lo + (hi - lo) / 2;
            const Text found = doc->dict.Word(record.attrs[mid].first);
            if (key == found) {
                if (record.attrs[mid].second == kNoWord) return nullptr;
                m_answer3 = doc->dict.Word(record.attrs[mid].second);
                return &m_answer3;
            }
            if (key < found) {
                if (lo >= mid) return nullptr;
                hi = mid - 1;
            } else {
                if (mid >= hi) return nullptr;
                lo = mid + 1;
            }
        }
    };
    if (const Text* found = search(g_lower != 0 ? Folded(asked) : asked)) return found;
    return search(Folded(asked));
}

bool Node::SetName(const Text& text) {
    if (!doc || text.empty()) return false;
    if (name.empty() && Name()) name = Text(*Name());
    if (name == text) return true;
    name = text;
    doc->modified = true;
    return true;
}

std::vector<std::pair<Text, Text>>::iterator Node::Pending(const Text& key) {
    return std::find_if(attrs.begin(), attrs.end(), [&](const auto& pair) { return pair.first == key; });
}

void Node::LoadAttributes() {
    if (!IsElement()) return;
    for (const auto& entry : record.attrs) {
        const Text key = doc->dict.Word(entry.first);
        const Text text = doc->dict.Word(entry.second);
        const auto same = Pending(key);
        if (same != attrs.end()) {
            same->second = text;
        } else {
            attrs.emplace_back(Folded(key), text);
        }
    }
    record.attrs.clear();
    record.attrCount = 0;
}

void Node::StoreAttributes(Dict& dict) {
    if (!hasRecord) return;
    if (IsElement() && !attrs.empty()) {
        record.word = dict.Add(doc->dict.Word(record.word));
        const Text ownText = OwnText();
        record.own = ownText.empty() ? kNoWord : dict.Add(ownText);
        for (const auto& pair : attrs) {
            const std::uint32_t key = dict.Add(pair.first, true);
            record.attrs.emplace_back(key, dict.Add(pair.second));
        }
        std::stable_sort(record.attrs.begin(), record.attrs.end(),
                         [&](const auto& a, const auto& b) { return dict.Word(a.first) < dict.Word(b.first); });
        record.attrCount = static_cast<std::int32_t>(record.attrs.size());
    }
    attrs.clear();
}

bool Node::SetAttribute(const Text& key, const Text& text) {
    if (!doc || key.empty()) return false;
    LoadAttributes();
    const auto same = Pending(key);
    if (same == attrs.end()) {
        attrs.emplace_back(Folded(key), text);
        doc->modified = true;
    } else if (same->second != text) {
        same->second = text;
        doc->modified = true;
    }
    if (!doc->modified) StoreAttributes(doc->dict);
    return true;
}

bool Node::RemoveAttribute(const Text& key) {
    if (!doc || key.empty()) return false;
    LoadAttributes();
    const auto same = Pending(key);
    const bool found = same != attrs.end();
    if (found) {
        attrs.erase(same);
        doc->modified = true;
    }
    if (!doc->modified) StoreAttributes(doc->dict);
    return found;
}

bool Node::SetValue(const Text& text) {
    if (!doc) return false;
    if (value.empty() && Value()) value = Text(*Value());
    if (value == text) return true;
    value = text;
    StoreValue(doc->dict);
    doc->modified = true;
    return true;
}

void Node::StoreValue(Dict& dict) {
    if (!hasRecord) return;
    if (IsText()) {
        record.word = dict.Add(value);
        foreign = false;
    } else if (children.empty()) {
        if (!value.empty()) {
            Node* child = doc->New();
            child->hasRecord = true;
            child->record.type = 3;
            child->record.word = doc->dict.Add(value);
            Append(child);
        }
    } else if (HasOnlyText()) {
        children[0]->record.word = doc->dict.Add(value);
        children[0]->value.clear();
        children[0]->foreign = false;
    }
    value.clear();
}

// What adoption does, in the old document: all texts are held until the next rebuild. Beyond the description also what
// no place is told for: a text that is empty, an element's own value. With `leaving` false it is the choice for nodes
// that somebody holds while the dictionary goes: they show what they showed.
void Node::Hold(bool leaving) {
    if (hasRecord) {
        for (const auto& entry : record.attrs) {
            attrs.emplace_back(Folded(doc->dict.Word(entry.first)), doc->dict.Word(entry.second));
        }
        record.attrs.clear();
        record.attrCount = 0;
        if (name.empty() && (leaving || IsElement())) name = Text(*Name());
        if (!foreign) {
            if (IsElement()) own = OwnText();
            if (IsText() && value.empty()) value = RecordText();
            foreign = true;
        }
    }
    for (Node* child : children) child->Hold(leaving);
}

void Node::Adopt(Doc* target) {
    doc = target;
    for (Node* child : children) child->Adopt(target);
}

bool Node::Append(Node* child) {
    if (!doc) return false;
    if (!child) return true;
    if (child == this || !child->doc) return false;
    if (child == doc->root) return true;
    for (Node* above = this; above; above = above->parent) {
        if (above == child) return false;
    }
    if (child->doc != doc) child->Hold(true);
    if (child->parent) {
        std::vector<Node*>& list = child->parent->children;
        list.erase(std::find(list.begin(), list.end(), child));
        if (child->parent->IsElement() && child->parent->record.childCount > 0) --child->parent->record.childCount;
        child->doc->modified = true;
    } else if (child->IsRoot()) {
        child->doc->root = nullptr;
        child->doc->modified = true;
    }
    if (child->doc != doc) child->Adopt(doc);
    child->parent = this;
    if (IsElement()) record.childCount = std::max(0, record.childCount) + 1;
    children.push_back(child);
    doc->modified = true;
    return true;
}

bool Node::Remove() {
    if (!doc || IsRoot()) return false;
    if (!parent) return true;
    std::vector<Node*>& list = parent->children;
    list.erase(std::find(list.begin(), list.end(), this));
    if (parent->IsElement() && parent->record.childCount > 0) --parent->record.childCount;
    parent = nullptr;
    doc->modified = true;
    return true;
}

Node* Node::CloneTo(Doc* target, bool deep) {
    if (!Name() || Name()->empty()) return nullptr;
    Node* copy = target->CreateElement(*Name());
    if (IsElement()) {
        for (const auto& entry : record.attrs) {
            copy->attrs.emplace_back(Folded(doc->dict.Word(entry.first)), doc->dict.Word(entry.second));
        }
        if (record.own < 0x80000000) {
            copy->value = OwnText();
            copy->record.own = target->dict.Add(copy->value);
        }
    } else if (IsText()) {
        const Text text = *Value();
        copy->record = Record();
        copy->record.type = record.type;
        copy->record.word = target->dict.Add(text);
        copy->value = text;
    }
    if (deep && IsElement()) {
        const std::vector<Node*> sources = children;
        for (Node* child : sources) {
            if (Node* childCopy = child->CloneTo(target, true)) copy->Append(childCopy);
        }
    }
    return copy;
}

Node* Node::Clone(bool deep) {
    return doc ? CloneTo(doc, deep) : nullptr;
}

Node* Doc::New() {
    nodes->push_back(std::make_unique<Node>());
    nodes->back()->doc = this;
    return nodes->back().get();
}

Node* Doc::CreateElement(const Text& name) {
    Node* node = New();
    node->hasRecord = true;
    node->name = name;
    return node;
}

Node* Doc::Root() {
    if (!root) {
        root = CreateElement(u"root");
        modified = true;
    }
    return root;
}

namespace {

std::uint32_t ReadNumber(const Bytes& bytes, std::size_t at) {
    std::uint32_t number = 0;
    for (std::size_t i = 4; i-- > 0;) number = number << 8 | bytes[at + i];
    return number;
}

// Whole documents only: damaged ones have tests of their own.
Node* ReadNode(Doc* doc, const Bytes& bytes, std::size_t& at) {
    Node* node = doc->New();
    Record& record = node->record;
    if (at >= bytes.size() || (bytes[at] != 1 && bytes[at] != 3 && bytes[at] != 4)) return node;
    node->hasRecord = true;
    record.type = bytes[at];
    record.word = ReadNumber(bytes, at + 1);
    at += 5;
    if (record.type != 1) return node;
    record.own = ReadNumber(bytes, at);
    record.attrCount = static_cast<std::int32_t>(ReadNumber(bytes, at + 4));
    record.childCount = static_cast<std::int32_t>(ReadNumber(bytes, at + 8));
    at += 12;
    for (std::int32_t i = 0; i < record.attrCount; ++i, at += 8) {
        record.attrs.emplace_back(ReadNumber(bytes, at), ReadNumber(bytes, at + 4));
    }
    for (std::int32_t i = 0; i < record.childCount; ++i) {
        node->children.push_back(ReadNode(doc, bytes, at));
        node->children.back()->parent = node;
    }
    return node;
}

}  // namespace

void Doc::HoldKept() {
    for (const auto& node : *nodes) {
        if (node->doc == this && node->held > 0) node->Hold(false);
    }
}

bool Doc::Load(const Bytes& bytes, bool isFile) {
    if (isFile) fileSize = bytes.size();
    Dict loaded;
    std::size_t at = 4;
    std::size_t total = 0;
    for (std::uint32_t count = ReadNumber(bytes, 0); count > 0; --count) {
        const std::size_t size = ReadNumber(bytes, at);
        at += 4;
        total += size;
        if (fileSize > 0 && total > fileSize) {
            dict = loaded;
            return false;
        }
        Text word;
        for (std::size_t i = 0; i < size; i += 2, at += 2)
            word += static_cast<char16_t>(bytes[at] | bytes[at + 1] << 8);
        loaded.words.push_back(word);
    }
    HoldKept();
    if (Node* former = std::exchange(root, nullptr)) LetGo(former);
    dict = std::move(loaded);
    root = ReadNode(this, bytes, at);
    return true;
}

// Two choices beside the description: an own value is carried in every case, its word right behind the name's where no
// attributes bring it in; and an element without a name gets no word rather than a wrong one.
void Doc::Rebuild(Node* node, Dict& fresh) {
    node->LoadAttributes();
    const bool isElement = node->IsElement();
    const bool hasAttrs = !node->attrs.empty();
    const Text ownText = node->OwnText();
    if (isElement && node->name.empty()) node->name = node->RecordText();
    if (node->hasRecord && node->value.empty()) {
        if (isElement && node->HasOnlyText()) node->value = Text(*node->children[0]->Value());
        if (node->value.empty() && node->IsText()) node->value = node->RecordText();
    }
    node->StoreAttributes(fresh);
    if (isElement) {
        if (!node->name.empty()) {
            node->record.word = fresh.Add(node->name);
        } else if (node->foreign || !hasAttrs) {
            node->record.word = kNoWord;
        }
        if (!hasAttrs) node->record.own = ownText.empty() ? kNoWord : fresh.Add(ownText);
    }
    if (node->hasRecord) {
        node->name.clear();
        node->foreign = false;
        node->own.clear();
    }
    node->StoreValue(fresh);
    for (Node* child : node->children) Rebuild(child, fresh);
}

// What reads as the empty text stays empty, although storing values during a rebuild adds words.
void Doc::ForgetIndexesPastTheEnd(Node* node) {
    const auto forget = [&](std::uint32_t& word) { word = word < dict.words.size() ? word : kNoWord; };
    forget(node->record.word);
    forget(node->record.own);
    for (auto& entry : node->record.attrs) {
        forget(entry.first);
        forget(entry.second);
    }
    for (Node* child : node->children) ForgetIndexesPastTheEnd(child);
}

void Doc::Compact() {
    if (root && modified) {
        for (const auto& node : *nodes) {
            if (node->doc == this && node->held > 0 && !node->parent && node.get() != root) node->Hold(false);
        }
        Dict fresh;
        ForgetIndexesPastTheEnd(root);
        Rebuild(root, fresh);
        dict = std::move(fresh);
    }
    modified = false;
}

void Doc::Write(const Node* node, CBytes& out) const {
    if (!node->hasRecord) return;
    const Record& record = node->record;
    if (record.type != 1) {
        out.TextNode(record.word, record.type);
        return;
    }
    std::int32_t written = 0;
    for (const Node* child : node->children) written += child->hasRecord;
    const bool isWhole = static_cast<std::size_t>(written) == node->children.size();
    out.Head(record.word, record.own, static_cast<std::uint32_t>(record.attrCount),
             static_cast<std::uint32_t>(isWhole ? record.childCount : written));
    for (const auto& entry : record.attrs) out.Number(entry.first).Number(entry.second);
    for (const Node* child : node->children) Write(child, out);
}

Bytes Doc::Save() {
    Compact();
    CBytes out;
    out.Words(dict.words);
    if (root) Write(root, out);
    return out;
}

std::shared_ptr<Doc> Doc::Clone() {
    auto copy = std::make_shared<Doc>(nodes);
    copy->dict = dict;
    if (root) {
        copy->root = root->CloneTo(copy.get(), true);
        if (copy->root) copy->modified = true;
    }
    return copy;
}

void Doc::LetGo(Node* node) {
    node->parent = nullptr;
    if (node->held > 0) return;
    const std::vector<Node*> orphans = std::move(node->children);
    node->children.clear();
    node->doc = nullptr;
    for (Node* child : orphans) LetGo(child);
}

void Doc::Die() {
    root = nullptr;
    for (const auto& node : *nodes) {
        if (node->doc == this) node->doc = nullptr;
    }
}

bool Equal(Node* a, Node* b, bool deep) {
    if (!a->doc || !b->doc || a->ChildCount() != b->ChildCount() || a->AttrCount() != b->AttrCount()) return false;
    const auto same = [](const Text* x, const Text* y) { return x && y ? *x == *y : x == y; };
    const Text nameA = a->Name() ? *a->Name() : Text();
    if (!!a->Name() != !!b->Name() || (b->Name() && nameA != *b->Name())) return false;
    for (int i = 0; i < a->AttrCount(); ++i) {
        const auto pairA = a->Pair(static_cast<std::size_t>(i));
        const auto pairB = b->Pair(static_cast<std::size_t>(i));
        if (!same(pairA.first, pairB.first) || !same(pairA.second, pairB.second)) return false;
    }
    for (int i = 0; deep && i < a->ChildCount(); ++i) {
        if (!Equal(a->children[static_cast<std::size_t>(i)], b->children[static_cast<std::size_t>(i)], true))
            return false;
    }
    return true;
}

bool Equal(Doc* a, Doc* b) {
    if (a == b) return true;
    if (a->dict.words.size() != b->dict.words.size()) return false;
    if (!a->root || !b->root) return !a->root && !b->root;
    return Equal(a->root, b->root, true);
}

}  // namespace plain
