// Sequences of all editing operations on several documents, beside the plain model: after each step everything that can
// be asked agrees, after each save the bytes agree and load to the same tree.
//
// What comes next is chosen by a source of numbers. Disagreement is a failure of the test that runs the sequence.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <functional>
#include <limits>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "model/document.h"
#include "plain_model.h"
#include "test_files.h"

namespace edits {

using plain::Bytes;

/// Numbers from any source, as <random> and <algorithm> want them.
class CChoices {
public:
    using result_type = std::uint64_t;
    static constexpr result_type min() { return 0; }
    static constexpr result_type max() { return std::numeric_limits<result_type>::max(); }

    explicit CChoices(std::function<result_type()> next) : m_next(std::move(next)) {}
    result_type operator()() { return m_next(); }

private:
    std::function<result_type()> m_next;
};

// Empty, mixed-case and non-BMP texts among them; few enough to meet again.
inline const std::u16string kTexts[] = {u"",  u"a",  u"A",          u"b",    u"id", u"ID",     u"Id",    u"x",
                                        u"X", u"xy", u"\U0001F600", u"root", u"hi", u"\xD800", u"\x00C9"};

struct Handle {
    IBinNode* real;
    plain::Node* model;
};

struct PairHandle {
    IAttrPair* real;
    plain::Node* element;
    std::weak_ptr<plain::Doc> document;  // that the element was in
    bool isHeld;
    std::uint32_t nameWord, valueWord;
    std::u16string name, value;
};

struct Documents {
    CBinaryDocument* real;
    std::shared_ptr<plain::Doc> model;
};

inline std::u16string Plain(const WCHAR* text) {
    return {text, text + TextLength(text)};
}

inline std::string Shown(const std::u16string* text) {
    if (!text) return "(null)";
    std::string shown = "'";
    for (const char16_t unit : *text) shown += unit < 128 ? static_cast<char>(unit) : '?';
    return shown + "'";
}

class Sequence {
public:
    /// A lazy sequence looks into nodes when it is finished, so that children stay unmade.
    Sequence(std::function<std::uint64_t()> choices, const CTestFolder& folder, bool isLazy)
        : m_random(std::move(choices)), m_folder(folder), m_isLazy(isLazy) {
        for (int i = 0; i < 2; ++i) AddDocument();
    }

    ~Sequence() {
        std::shuffle(m_handles.begin(), m_handles.end(), m_random);
        while (!m_handles.empty() || !m_documents.empty() || !m_pairs.empty()) {
            const std::size_t kind = Below(3);
            if (kind == 0 && !m_handles.empty()) Drop(m_handles.size() - 1);
            if (kind == 1 && !m_documents.empty()) CloseDocument(Below(m_documents.size()));
            if (kind == 2 && !m_pairs.empty()) DropPair(Below(m_pairs.size()));
        }
    }

    void Run(int steps) {
        for (int i = 0; i < steps && !::testing::Test::HasFailure(); ++i) {
            m_log.clear();
            Step();
            Check(!m_isLazy);
        }
        if (::testing::Test::HasFailure()) ADD_FAILURE() << "last step: " << m_log;
    }

    void Finish() {
        if (m_isLazy && !::testing::Test::HasFailure()) Check(true);
    }

private:
    std::size_t Below(std::size_t bound) { return static_cast<std::size_t>(m_random() % bound); }
    bool OneIn(std::size_t n) { return Below(n) == 0; }
    const std::u16string& AnyText() { return kTexts[Below(std::size(kTexts))]; }
    static Text Wide(const std::u16string& text) { return CTestFolder::Wide(text); }
    Documents& AnyDocument() { return m_documents[Below(m_documents.size())]; }

    void AddDocument() { m_documents.push_back({CBinaryDocument::Create(), std::make_shared<plain::Doc>(&m_nodes)}); }

    void CloseDocument(std::size_t i) {
        m_documents[i].real->Release();
        m_documents[i].model->Die();
        m_documents.erase(m_documents.begin() + static_cast<std::ptrdiff_t>(i));
    }

    void Hold(IBinNode* real, plain::Node* model) {
        ++model->held;
        m_handles.push_back({real, model});
        ExpectSame(real, model);
    }

    // A node is one object for as long as it lives.
    void ExpectSame(const IBinNode* real, const plain::Node* model) {
        EXPECT_EQ(m_known.emplace(model, real).first->second, real);
    }

    void Drop(std::size_t i) {
        const Handle handle = m_handles[i];
        m_handles.erase(m_handles.begin() + static_cast<std::ptrdiff_t>(i));
        --handle.model->held;
        const bool isAttached = handle.model->parent || handle.model->IsRoot();
        const bool isGone = !handle.model->doc;
        if (!isGone && !isAttached && handle.model->held == 0) plain::Doc::LetGo(handle.model);
        const unsigned expected = static_cast<unsigned>(handle.model->held + (isAttached && !isGone ? 1 : 0));
        EXPECT_EQ(handle.real->Release(), expected);
    }

    void DropPair(std::size_t i) {
        m_pairs[i].real->Release();
        m_pairs.erase(m_pairs.begin() + static_cast<std::ptrdiff_t>(i));
    }

    // A handle on some node, by a walk down from a handle or a root; held until it is dropped by a later step.
    Handle Pick() {
        if (m_handles.empty() || OneIn(3)) {
            Documents& document = AnyDocument();
            IBinNode* root = nullptr;
            document.real->GetRoot(&root);
            Hold(root, document.model->Root());
        }
        Handle at = m_handles[Below(m_handles.size())];
        while (at.model->ChildCount() > 0 && !OneIn(3)) {
            const std::size_t index = Below(static_cast<std::size_t>(at.model->ChildCount()));
            IBinNode* child = nullptr;
            at.real->GetChild(static_cast<std::int32_t>(index), &child);
            at = {child, at.model->children[index]};
            Hold(at.real, at.model);
        }
        return at;
    }

    void Step() {
        while (m_documents.size() < 2) AddDocument();
        while (m_handles.size() > 12) Drop(Below(m_handles.size()));
        while (m_pairs.size() > 4) DropPair(Below(m_pairs.size()));
        const Handle node = Pick();
        const std::u16string text = AnyText();
        const std::u16string text2 = AnyText();
        m_log = Shown(&text) + " " + Shown(&text2);
        switch (Below(21)) {
            case 0:
                m_log += " SetName";
                EXPECT_EQ(node.real->SetName(Wide(text).c_str()), node.model->SetName(text));
                break;
            case 1:
            case 2:
                m_log += " SetAttribute";
                EXPECT_EQ(node.real->SetAttribute(Wide(text).c_str(), Wide(text2).c_str()),
                          node.model->SetAttribute(text, text2));
                break;
            case 3:
                m_log += " RemoveAttribute";
                EXPECT_EQ(node.real->RemoveAttribute(Wide(text).c_str()), node.model->RemoveAttribute(text));
                break;
            case 4:
            case 5:
                m_log += " SetValue";
                EXPECT_EQ(node.real->SetValue(Wide(text).c_str()), node.model->SetValue(text));
                break;
            case 6:
            case 7:
            case 8: {
                m_log += " AppendChild";
                Handle child = Pick();
                EXPECT_EQ(node.real->AppendChild(&child.real), node.model->Append(child.model));
                break;
            }
            case 9:
                m_log += " RemoveFromParent";
                EXPECT_EQ(node.real->RemoveFromParent(), node.model->Remove());
                break;
            case 10:
                Clone(node);
                break;
            case 11:
            case 12:
            case 13:
                Create(text);
                break;
            case 14:
                CloneDocument();
                break;
            case 15:
            case 16:
                Save();
                break;
            case 17:
                if (OneIn(3)) {
                    LoadOdd();
                } else {
                    Rare(node, text);
                }
                break;
            case 18:
                TakePair(node, text);
                break;
            case 19:
                m_log += " set an old pair";
                if (!m_pairs.empty()) SetPair(m_pairs[Below(m_pairs.size())], text);
                break;
            default:
                m_log += " drop";
                if (!m_handles.empty()) Drop(Below(m_handles.size()));
                break;
        }
    }

    void Clone(Handle node) {
        m_log += " Clone";
        const bool deep = OneIn(2);
        IBinNode* copy = nullptr;
        plain::Node* model = node.model->Clone(deep);
        ASSERT_EQ(node.real->Clone(&copy, deep), model != nullptr);
        if (model) Hold(copy, model);
    }

    void Create(const std::u16string& text) {
        m_log += " Create";
        Documents& document = AnyDocument();
        IBinNode* real = nullptr;
        if (OneIn(8)) {
            document.real->CreateNode(&real);
            Hold(real, document.model->New());
            return;
        }
        document.real->CreateElement(&real, Wide(text).c_str());
        ASSERT_EQ(real == nullptr, text.empty());
        if (real) Hold(real, document.model->CreateElement(text));
    }

    void CloneDocument() {
        m_log += " Clone document";
        if (m_documents.size() > 3) return CloseDocument(Below(m_documents.size()));
        Documents& document = AnyDocument();
        IBinDocument* copy = nullptr;
        document.real->Clone(&copy);
        m_documents.push_back({static_cast<CBinaryDocument*>(copy), document.model->Clone()});
    }

    void Save() {
        m_log += " Save";
        Documents& document = AnyDocument();
        const Bytes expected = document.model->Save();
        std::filesystem::remove(m_folder.File("saved"));
        ASSERT_TRUE(document.real->SaveToFile(m_folder.Path("saved").c_str()));
        ASSERT_EQ(ReadBytes(m_folder.File("saved")), expected);
        if (!document.model->root || !document.model->root->hasRecord) return;
        Documents& target = AnyDocument();  // maybe the same
        m_log += " and load";
        const bool isFile = OneIn(2);
        ASSERT_EQ(isFile ? target.real->LoadFromFile(m_folder.Path("saved").c_str())
                         : target.real->LoadFromBuffer(expected.data()),
                  target.model->Load(expected, isFile));
    }

    void PutNumber(Bytes& bytes, std::uint32_t number) {
        for (int shift = 0; shift < 32; shift += 8) bytes.push_back(static_cast<unsigned char>(number >> shift));
    }

    // Tables in any order, names twice, indexes past the end, negative counts.
    void PutRandomNode(Bytes& bytes, std::uint32_t wordCount, int depth) {
        const auto anyWord = [&] {
            return OneIn(8) ? plain::kNoWord : static_cast<std::uint32_t>(Below(wordCount + 1));
        };
        const bool isElement = depth == 0 || OneIn(2);
        bytes.push_back(isElement ? 1 : OneIn(2) ? 3 : 4);
        PutNumber(bytes, anyWord());
        if (!isElement) return;
        PutNumber(bytes, OneIn(3) ? anyWord() : plain::kNoWord);
        const std::uint32_t attrCount = OneIn(8) ? plain::kNoWord : static_cast<std::uint32_t>(Below(4));
        const std::uint32_t childCount = OneIn(8) ? 0x80000000 : depth < 4 ? static_cast<std::uint32_t>(Below(4)) : 0;
        PutNumber(bytes, attrCount);
        PutNumber(bytes, childCount);
        for (std::uint32_t i = 0; i < attrCount && attrCount < 4; ++i) {
            PutNumber(bytes, anyWord());
            PutNumber(bytes, anyWord());
        }
        for (std::uint32_t i = 0; i < childCount && childCount < 4; ++i) PutRandomNode(bytes, wordCount, depth + 1);
    }

    // A well-formed document as no writer of ours would make it; half of them end in records of unknown type.
    void LoadOdd() {
        m_log += " load an odd document";
        Bytes bytes;
        const std::uint32_t wordCount = static_cast<std::uint32_t>(Below(12));
        PutNumber(bytes, wordCount);
        for (std::uint32_t i = 0; i < wordCount; ++i) {
            const std::u16string& word = AnyText();
            PutNumber(bytes, static_cast<std::uint32_t>(word.size() * 2));
            for (const char16_t unit : word) {
                bytes.push_back(static_cast<unsigned char>(unit));
                bytes.push_back(static_cast<unsigned char>(unit >> 8));
            }
        }
        const std::size_t records = bytes.size();
        PutRandomNode(bytes, wordCount, 0);
        if (OneIn(2)) {
            // Cut at a record, put an unknown type there, and enough bytes for what was promised.
            std::size_t cut = records;
            for (std::size_t more = Below(4); more > 0 && cut < bytes.size(); --more) {
                cut += static_cast<std::size_t>(GetRecordSize(bytes.data() + cut));
            }
            if (cut > records) bytes.resize(cut);
            if (cut > records) bytes.insert(bytes.end(), 64, 9);
        }
        Documents& document = AnyDocument();
        const bool isFile = OneIn(2);
        if (isFile) WriteBytes(m_folder.File("odd"), bytes);
        ASSERT_EQ(isFile ? document.real->LoadFromFile(m_folder.Path("odd").c_str())
                         : document.real->LoadFromBuffer(bytes.data()),
                  document.model->Load(bytes, isFile));
    }

    void Rare(Handle node, const std::u16string& text) {
        Documents& document = AnyDocument();
        switch (Below(9)) {
            case 0:
                m_log += " ClearDictionary";
                document.real->ClearDictionary();
                document.model->dict = plain::Dict();
                break;
            case 1:
            case 8:
                m_log += " SetModified";
                document.model->modified = OneIn(4);
                EXPECT_EQ(document.real->SetModified(document.model->modified), document.model->modified);
                break;
            case 2:
                m_log += " close";
                CloseDocument(Below(m_documents.size()));
                break;
            case 3: {
                m_log += " failing save";
                EXPECT_FALSE(document.real->SaveToFile(m_folder.Path("no/such/folder").c_str()));
                document.model->Compact();
                break;
            }
            case 4:
            case 5: {
                m_log += " compare documents";
                Documents& other = AnyDocument();
                IBinDocument* real = other.real;
                EXPECT_EQ(document.real->IsEqual(&real), plain::Equal(document.model.get(), other.model.get()));
                break;
            }
            default: {
                m_log += " compare nodes";
                Handle other = Pick();
                const bool deep = text.empty() || OneIn(2);
                EXPECT_EQ(node.real->IsEqual(&other.real, deep), plain::Equal(node.model, other.model, deep));
                break;
            }
        }
    }

    void TakePair(Handle node, const std::u16string& text) {
        m_log += " pair";
        const int count = node.model->AttrCount();
        if (count == 0) return;
        const std::size_t index = Below(static_cast<std::size_t>(count));
        IAttrPair* real = nullptr;
        node.real->GetAttrPair(static_cast<std::int32_t>(index), &real);
        ASSERT_NE(real, nullptr);
        const auto& attrs = node.model->record.attrs;
        PairHandle pair{real, node.model, OwnerOf(node.model), index >= attrs.size(), 0, 0, u"", u""};
        if (pair.isHeld) {
            pair.name = *node.model->Pair(index).first;
            pair.value = *node.model->Pair(index).second;
        } else {
            pair.nameWord = attrs[index].first;
            pair.valueWord = attrs[index].second;
        }
        m_pairs.push_back(pair);
        if (OneIn(2)) SetPair(m_pairs.back(), text);
    }

    std::weak_ptr<plain::Doc> OwnerOf(const plain::Node* node) const {
        for (const Documents& document : m_documents) {
            if (document.model.get() == node->doc) return document.model;
        }
        return {};
    }

    static void SetPair(const PairHandle& pair, const std::u16string& text) {
        const auto texts = PairTexts(pair);
        const bool result = texts.first && pair.element->SetAttribute(std::u16string(*texts.first), text);
        EXPECT_EQ(pair.real->SetValue(Wide(text).c_str()), result);
    }

    // What a pair must answer now; the texts live until the next change.
    static std::pair<const std::u16string*, const std::u16string*> PairTexts(const PairHandle& pair) {
        const plain::Doc* document = pair.document.lock().get();
        if (!document) return {nullptr, nullptr};
        if (pair.isHeld) return {&pair.name, &pair.value};
        return {document->dict.Pair(pair.nameWord), document->dict.Pair(pair.valueWord)};
    }

    static void ExpectText(const WCHAR* real, const std::u16string* model, const char* what) {
        if (!real || !model) {
            EXPECT_EQ(real == nullptr, model == nullptr) << what << " should be " << Shown(model);
        } else {
            const std::u16string text = Plain(real);
            EXPECT_EQ(text, *model) << what << ' ' << Shown(&text) << " should be " << Shown(model);
        }
    }

    void CheckNode(IBinNode* real, const plain::Node* model) {
        ExpectSame(real, model);
        EXPECT_EQ(real->GetType(), model->Type());
        ExpectText(real->GetName(), model->Name(), "name");
        ExpectText(real->GetValue(), model->Value(), "value");
        ASSERT_EQ(real->GetAttrCount(), model->AttrCount());
        for (int i = 0; i < model->AttrCount(); ++i) {
            IAttrPair* pair = nullptr;
            real->GetAttrPair(i, &pair);
            ASSERT_NE(pair, nullptr);
            ExpectText(pair->GetName(), model->Pair(static_cast<std::size_t>(i)).first, "attribute name");
            ExpectText(pair->GetValue(), model->Pair(static_cast<std::size_t>(i)).second, "attribute value");
            pair->Release();
        }
        IAttrPair* noPair = nullptr;
        real->GetAttrPair(m_checkCount % 2 == 0 ? -1 : model->AttrCount(), &noPair);
        EXPECT_EQ(noPair, nullptr);
        for (const std::u16string& asked : kTexts) {
            ExpectText(real->GetAttribute(Wide(asked).c_str()), model->Attribute(asked), "attribute");
        }
        ASSERT_EQ(real->GetChildCount(), model->ChildCount());
        if (++m_checkCount % 3 == 0) return;  // leave children unmade now and then
        for (int i = 0; i < model->ChildCount(); ++i) {
            IBinNode* child = nullptr;
            real->GetChild(i, &child);
            ASSERT_NE(child, nullptr);
            IBinNode* parent = nullptr;
            child->GetParent(&parent);
            EXPECT_EQ(parent, real);
            if (parent) parent->Release();
            CheckNode(child, model->children[static_cast<std::size_t>(i)]);
            child->Release();
        }
    }

    // With `isWhole` everything that can be asked; otherwise without looking into nodes, which has children made.
    void Check(bool isWhole) {
        for (const Documents& document : m_documents) {
            EXPECT_EQ(document.real->IsModified(), document.model->modified);
            const std::vector<plain::Text>& words = document.model->dict.words;
            ASSERT_EQ(document.real->Words().GetWordCount(), words.size());
            for (std::uint32_t i = 0; i < words.size(); ++i) ExpectText(document.real->GetWord(i), &words[i], "word");
            EXPECT_EQ(document.real->Root() != nullptr, document.model->root != nullptr);
            if (isWhole && document.model->root) CheckNode(document.real->Root(), document.model->root);
        }
        for (const Handle& handle : m_handles) {
            const plain::Node* model = handle.model;
            const plain::Node* parentModel = model->doc ? model->parent : nullptr;
            const ULONG refs = static_cast<ULONG>(model->held + (parentModel || model->IsRoot() ? 1 : 0));
            EXPECT_EQ(handle.real->AddRef(), refs + 1);
            EXPECT_EQ(handle.real->Release(), refs);
            IBinNode* parent = nullptr;
            handle.real->GetParent(&parent);
            EXPECT_EQ(parent != nullptr, parentModel != nullptr);
            if (parent) ExpectSame(parent, parentModel);
            if (parent) parent->Release();
            if (isWhole && !parentModel) CheckNode(handle.real, model);
        }
        for (const PairHandle& pair : m_pairs) {
            ExpectText(pair.real->GetName(), PairTexts(pair).first, "pair name");
            ExpectText(pair.real->GetValue(), PairTexts(pair).second, "pair value");
        }
    }

    CChoices m_random;
    std::uint64_t m_checkCount = 0;
    const CTestFolder& m_folder;
    const bool m_isLazy;
    std::vector<std::unique_ptr<plain::Node>> m_nodes;
    std::map<const plain::Node*, const IBinNode*> m_known;
    std::vector<Documents> m_documents;
    std::vector<Handle> m_handles;
    std::vector<PairHandle> m_pairs;
    std::string m_log;
};

}  // namespace edits
