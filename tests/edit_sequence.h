// Sequences of all editing operations on several documents, beside the plain model: after each step everything that can
// be asked agrees, after each save the bytes agree and load to the same tree.
//
// A starved sequence finds no memory, again and again: what fails must change nothing, and go on when there is some.
// There all texts are in lower case and no record is odd, so that a node shows the same whether its attributes are in
// its record or pending; and documents are saved as modified ones, without the words that a failed edit has added.
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
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "failing_new.h"
#include "model/document.h"
#include "plain_model.h"
#include "test_files.h"

namespace edits {

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

// Lower case, and one longer than a look-up folds without memory of its own.
inline const std::u16string kPlainTexts[] = {u"", u"a", u"b", u"id", u"x", u"hi", u"\xD800", std::u16string(100, u'y')};

/// The files that sequences write.
struct Files {
    struct File {
        File(const CTestFolder& folder, const char* name) : file(folder.File(name)), path(folder.Path(name)) {}
        std::filesystem::path file;
        Text path;
    };
    CTestFolder folder;
    const File saved{folder, "saved"}, odd{folder, "odd"}, unwritable{folder, "no/such/folder"};
};

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
    Sequence(std::function<std::uint64_t()> choices, const Files& files, bool isLazy, bool isStarved = false)
        : m_random(std::move(choices)), m_files(files), m_isLazy(isLazy), m_isStarved(isStarved) {
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
            Step();
            Check(!m_isLazy);
        }
        if (!::testing::Test::HasFailure()) return;
        ADD_FAILURE() << "last step: " << ::testing::PrintToString(m_log) << " with " << Shown(&m_texts[0]) << ' '
                      << Shown(&m_texts[1]);
    }

    void Finish() {
        if (::testing::Test::HasFailure()) return;
        if (m_isLazy) Check(true);
        for (Handle& a : m_handles) {
            for (const Handle& b : m_handles) {
                for (const bool deep : {false, true}) {
                    EXPECT_EQ(b.real->IsEqual(&a.real, deep), plain::Equal(b.model, a.model, deep));
                }
            }
        }
    }

    /// Calls that found no memory.
    int FailureCount() const { return m_failureCount; }

private:
    // A step's node and texts, these also as the library takes them.
    struct Arguments {
        Handle node;
        std::u16string text, other;
        Text wide = Wide(text), wideOther = Wide(other);
    };
    struct Operation {
        std::size_t weight;
        const char* name;
        void (*run)(Sequence& sequence, const Arguments& with);
    };

    std::size_t Below(std::size_t bound) { return static_cast<std::size_t>(m_random() % bound); }
    bool OneIn(std::size_t n) { return Below(n) == 0; }
    std::span<const std::u16string> Texts() const {
        return m_isStarved ? std::span<const std::u16string>(kPlainTexts) : kTexts;
    }
    const std::u16string& AnyText() { return Texts()[Below(Texts().size())]; }
    static Text Wide(const std::u16string& text) { return CTestFolder::Wide(text); }
    Documents& AnyDocument() { return m_documents[Below(m_documents.size())]; }

    // What an operation gives. In a starved sequence it may have to be called again.
    template <class Call>
    auto Try(Call call) {
        if (!m_isStarved) return call();
        const int successes = static_cast<int>(OneIn(4) ? Below(60) : Below(12));
        bool hasFailed = false;
        auto result = decltype(call()){};
        {
            const CFailingNew failing(successes);
            result = call();
            hasFailed = failing.HasFailed();
        }
        if (result || !hasFailed) return result;
        Log("fails");
        ++m_failureCount;
        for (const Documents& document : m_documents) {
            if (document.real->IsModified()) {
                document.model->modified = true;  // to be on the safe side
            } else if (m_isSaving) {
                document.model->Compact();  // and then there was no file
            } else {
                CheckFileOfUnmodified(document);
            }
        }
        // A value that waits for a rebuild may have come to the text child already.
        const bool mayDiffer = m_isSaving && std::any_of(m_nodes.begin(), m_nodes.end(), [](const auto& node) {
                                   return node->IsElement() && !node->value.empty();
                               });
        Check(!m_isLazy && !mayDiffer);
        return call();
    }

    static bool IsAnyLeftOut(const plain::Node* node) {
        return !node->hasRecord || std::any_of(node->children.begin(), node->children.end(), IsAnyLeftOut);
    }

    // It holds what the document shows: edits that a failed call has left half done must not be missing from it.
    void CheckFileOfUnmodified(const Documents& document) {
        if (!document.model->root || IsAnyLeftOut(document.model->root)) return;
        std::filesystem::remove(m_files.odd.file);
        EXPECT_TRUE(document.real->SaveToFile(m_files.odd.path.c_str()));
        std::vector<std::unique_ptr<plain::Node>> nodes;
        plain::Doc saved(&nodes);
        EXPECT_TRUE(saved.Load(ReadBytes(m_files.odd.file), true));
        EXPECT_TRUE(plain::Equal(saved.root, document.model->root, true));
    }

    void Log(const char* what) { m_log.push_back(what); }

    template <class Real, class Model>
    void ExpectSameResult(Real real, Model model) {
        const auto result = Try(real);
        EXPECT_EQ(result, model());
    }

    void AddDocument() {
        m_documents.push_back({CBinaryDocument::Create(), std::make_shared<plain::Doc>(&m_nodes)});
        if (!m_isStarved) return;
        const Bytes start = CBytes()
                                .Words({u"a", u"b", u"hi", u"id", u"x"})
                                .Element(0, 4, {1, 2, 3, 4})
                                .Element(1, 1, {0, 4})
                                .TextNode(2)
                                .TextNode(4)
                                .Element(4, 0, {0, 2, 1, 2, 4, 2})
                                .TextNode(2, 4);
        m_documents.back().real->LoadFromBuffer(start.data());
        m_documents.back().model->Load(start, false);
    }

    void CloseDocument(std::size_t i) {
        Release(m_documents[i].real);
        m_documents[i].model->Die();
        m_documents.erase(m_documents.begin() + static_cast<std::ptrdiff_t>(i));
    }

    // No release needs memory.
    unsigned Release(IUnknown* object) {
        if (!m_isStarved) return object->Release();
        const CFailingNew failing(0);
        return object->Release();
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
        EXPECT_EQ(Release(handle.real), expected);
    }

    void DropPair(std::size_t i) {
        Release(m_pairs[i].real);
        m_pairs.erase(m_pairs.begin() + static_cast<std::ptrdiff_t>(i));
    }

    // A handle on some node, by a walk down from a handle or a root; held until it is dropped by a later step.
    Handle Pick() {
        if (m_handles.empty() || OneIn(3)) {
            Documents& document = AnyDocument();
            IBinNode* const root = Given([&](IBinNode** out) { document.real->GetRoot(out); });
            Hold(root, document.model->Root());
        }
        return WalkDown(m_handles[Below(m_handles.size())]);
    }

    Handle WalkDown(Handle at) {
        while (at.model->ChildCount() > 0 && !OneIn(3)) at = AnyChild(at);
        return at;
    }

    Handle AnyChild(const Handle& of) {
        const std::size_t index = Below(static_cast<std::size_t>(of.model->ChildCount()));
        const auto get = [&](IBinNode** out) { of.real->GetChild(static_cast<std::int32_t>(index), out); };
        Hold(Given(get), of.model->children[index]);
        return m_handles.back();
    }

    template <class Get>
    IBinNode* Given(Get get) {
        return Try([&] {
            IBinNode* node = nullptr;
            get(&node);
            return node;
        });
    }

    template <auto real, auto model>
    static void OfOneText(Sequence& s, const Arguments& with) {
        s.ExpectSameResult([&] { return (with.node.real->*real)(with.wide.c_str()); },
                           [&] { return (with.node.model->*model)(with.text); });
    }

    void Step() {
        static const Operation operations[] = {
            {1, "SetName", OfOneText<&IBinNode::SetName, &plain::Node::SetName>},
            {2, "SetAttribute",
             [](Sequence& s, const Arguments& with) {
                 s.ExpectSameResult(
                     [&] { return with.node.real->SetAttribute(with.wide.c_str(), with.wideOther.c_str()); },
                     [&] { return with.node.model->SetAttribute(with.text, with.other); });
             }},
            {1, "RemoveAttribute", OfOneText<&IBinNode::RemoveAttribute, &plain::Node::RemoveAttribute>},
            {2, "SetValue", OfOneText<&IBinNode::SetValue, &plain::Node::SetValue>},
            {3, "AppendChild", [](Sequence& s, const Arguments& with) { s.Append(with.node, s.Pick()); }},
            {1, "RemoveFromParent",
             [](Sequence& s, const Arguments& with) {
                 s.ExpectSameResult([&] { return with.node.real->RemoveFromParent(); },
                                    [&] { return with.node.model->Remove(); });
             }},
            {1, "Clone", [](Sequence& s, const Arguments& with) { s.Clone(with.node); }},
            {3, "Create", [](Sequence& s, const Arguments& with) { s.Create(with); }},
            {1, "Clone document", [](Sequence& s, const Arguments&) { s.CloneDocument(); }},
            {2, "Save", [](Sequence& s, const Arguments&) { s.Save(); }},
            {1, "save, load, edit and save", [](Sequence& s, const Arguments& with) { s.SaveAgain(with); }},
            {1, "Rare",
             [](Sequence& s, const Arguments& with) {
                 s.OneIn(3) && !s.m_isStarved ? s.LoadOdd() : s.Rare(with.node, with.text);
             }},
            {1, "pair", [](Sequence& s, const Arguments& with) { s.TakePair(with); }},
            {1, "set an old pair",
             [](Sequence& s, const Arguments& with) {
                 if (!s.m_pairs.empty()) s.SetPair(s.m_pairs[s.Below(s.m_pairs.size())], with);
             }},
            {1, "drop",
             [](Sequence& s, const Arguments&) {
                 if (!s.m_handles.empty()) s.Drop(s.Below(s.m_handles.size()));
             }},
        };
        constexpr std::size_t kAllWeights = 22;
        while (m_documents.size() < 2) AddDocument();
        while (m_handles.size() > 12) Drop(Below(m_handles.size()));
        while (m_pairs.size() > 4) DropPair(Below(m_pairs.size()));
        const Handle node = Pick();
        const std::u16string text = AnyText();
        const Arguments with = {node, text, AnyText()};
        if (m_isStarved && OneIn(16)) return Grow(node);
        const Operation* operation = operations;
        for (std::size_t at = Below(kAllWeights); at >= operation->weight; ++operation) at -= operation->weight;
        m_log = {operation->name};
        m_texts[0] = with.text;
        m_texts[1] = with.other;
        operation->run(*this, with);
    }

    void Append(const Handle& node, Handle child) {
        ExpectSameResult([&] { return node.real->AppendChild(&child.real); },
                         [&] { return node.model->Append(child.model); });
    }

    // A list or a table past the sizes up to which it is kept in another way.
    void Grow(const Handle& node) {
        m_log = {"grow"};
        Documents& document = AnyDocument();
        std::u16string name = u"k";
        for (int i = 0; i < 17; ++i, ++name.back()) {
            const Text wide = Wide(name);
            ExpectSameResult([&] { return node.real->SetAttribute(wide.c_str(), WTEXT("v")); },
                             [&] { return node.model->SetAttribute(name, u"v"); });
        }
        for (int i = 0; i < 60; ++i) {
            Hold(Given([&](IBinNode** out) { document.real->CreateElement(out, WTEXT("n")); }),
                 document.model->CreateElement(u"n"));
            Append(node, m_handles.back());
            Drop(m_handles.size() - 1);
        }
    }

    void Clone(const Handle& node) {
        const bool deep = OneIn(2);
        IBinNode* copy = nullptr;
        const bool isCopied = Try([&] { return node.real->Clone(&copy, deep); });
        plain::Node* const model = node.model->Clone(deep);
        ASSERT_EQ(isCopied, model != nullptr);
        if (model) Hold(copy, model);
    }

    void Create(const Arguments& with) {
        Documents& document = AnyDocument();
        if (OneIn(8)) {
            IBinNode* const bare = Given([&](IBinNode** out) { document.real->CreateNode(out); });
            return Hold(bare, document.model->New());
        }
        IBinNode* const real = Given([&](IBinNode** out) { document.real->CreateElement(out, with.wide.c_str()); });
        ASSERT_EQ(real == nullptr, with.text.empty());
        if (real) Hold(real, document.model->CreateElement(with.text));
    }

    void CloneDocument() {
        if (m_documents.size() > 3) return CloseDocument(Below(m_documents.size()));
        Documents& document = AnyDocument();
        IBinDocument* const copy = Try([&] {
            IBinDocument* made = nullptr;
            document.real->Clone(&made);
            return made;
        });
        m_documents.push_back({static_cast<CBinaryDocument*>(copy), document.model->Clone()});
    }

    // Whether a save shows the model's words: without a root there is no rebuild, and those of failed edits stay.
    bool MaySave(const Documents& document) const { return !m_isStarved || document.model->root; }

    Bytes Saved(Documents& document) {
        if (m_isStarved) document.model->modified = document.real->SetModified(true);
        std::filesystem::remove(m_files.saved.file);
        m_isSaving = true;
        EXPECT_TRUE(Try([&] { return document.real->SaveToFile(m_files.saved.path.c_str()); }));
        m_isSaving = false;
        const Bytes expected = document.model->Save();
        EXPECT_EQ(ReadBytes(m_files.saved.file), expected);
        return expected;
    }

    void Save() {
        Documents& document = AnyDocument();
        if (!MaySave(document)) return;
        const Bytes bytes = Saved(document);
        if (::testing::Test::HasFailure()) return;
        if (document.model->root && document.model->root->hasRecord) Load(AnyDocument(), bytes, m_files.saved);
    }

    // Of a document fresh from its file, whose records can be rewritten where they lie. Some edits keep its shape.
    void SaveAgain(const Arguments& with) {
        Documents& document = AnyDocument();
        if (!MaySave(document)) return;
        const Bytes bytes = Saved(document);
        if (::testing::Test::HasFailure() || !document.model->root || !document.model->root->hasRecord) return;
        Load(document, bytes, m_files.saved);
        for (std::size_t left = 1 + Below(2); left > 0; --left) {
            Hold(Given([&](IBinNode** out) { document.real->GetRoot(out); }), document.model->Root());
            const Handle node = WalkDown(m_handles.back());
            if (node.model->ChildCount() > 0 && OneIn(2)) {
                Append(node, AnyChild(node));
            } else {
                ExpectSameResult([&] { return node.real->SetAttribute(with.wide.c_str(), with.wideOther.c_str()); },
                                 [&] { return node.model->SetAttribute(with.text, with.other); });
            }
        }
        Saved(document);
    }

    void Load(Documents& document, const Bytes& bytes, const Files::File& file) {
        Log("and load");
        // Of a longer buffer than the last file, the words come in and the records do not: those would be odd ones.
        const bool isFile = OneIn(2) || (m_isStarved && document.model->fileSize > 0);
        ExpectSameResult(
            [&] {
                return isFile ? document.real->LoadFromFile(file.path.c_str())
                              : document.real->LoadFromBuffer(bytes.data());
            },
            [&] { return document.model->Load(bytes, isFile); });
    }

    // Tables in any order, names twice, indexes past the end, negative counts.
    void PutRandomNode(CBytes& bytes, std::uint32_t wordCount, int depth) {
        const auto anyWord = [&] { return OneIn(8) ? kNoWord : static_cast<std::uint32_t>(Below(wordCount + 1)); };
        const bool isElement = depth == 0 || OneIn(2);
        const int type = isElement ? 1 : OneIn(2) ? 3 : 4;
        const std::uint32_t word = anyWord();
        if (!isElement) {
            bytes.TextNode(word, type);
            return;
        }
        const std::uint32_t own = OneIn(3) ? anyWord() : kNoWord;
        const std::uint32_t attrCount = OneIn(8) ? kNoWord : static_cast<std::uint32_t>(Below(4));
        const std::uint32_t childCount = OneIn(8) ? 0x80000000 : depth < 4 ? static_cast<std::uint32_t>(Below(4)) : 0;
        bytes.Head(word, own, attrCount, childCount);
        for (std::uint32_t i = 0; i < 2 * attrCount && attrCount < 4; ++i) bytes.Number(anyWord());
        for (std::uint32_t i = 0; i < childCount && childCount < 4; ++i) PutRandomNode(bytes, wordCount, depth + 1);
    }

    // A well-formed document as no writer of ours would make it; half of them end in records of unknown type.
    void LoadOdd() {
        Log("load an odd document");
        std::vector<std::u16string> words(Below(12));
        for (std::u16string& word : words) word = AnyText();
        CBytes parts;
        parts.Words(words);
        const std::size_t records = static_cast<const Bytes&>(parts).size();
        PutRandomNode(parts, static_cast<std::uint32_t>(words.size()), 0);
        Bytes bytes = parts;
        if (OneIn(2)) {
            // Cut at a record, put an unknown type there, and enough bytes for what was promised.
            std::size_t cut = records;
            for (std::size_t more = Below(4); more > 0 && cut < bytes.size(); --more) {
                cut += static_cast<std::size_t>(GetRecordSize(bytes.data() + cut));
            }
            if (cut > records) bytes.resize(cut);
            if (cut > records) bytes.insert(bytes.end(), 64, 9);
        }
        WriteBytes(m_files.odd.file, bytes);
        Load(AnyDocument(), bytes, m_files.odd);
    }

    void Rare(const Handle& node, const std::u16string& text) {
        Documents& document = AnyDocument();
        switch (Below(9)) {
            case 0:
                Log("ClearDictionary");
                if (m_isStarved) break;
                document.real->ClearDictionary();
                document.model->dict = plain::Dict();
                break;
            case 1:
            case 8:
                Log("SetModified");
                document.model->modified = OneIn(4) || m_isStarved;
                EXPECT_EQ(document.real->SetModified(document.model->modified), document.model->modified);
                break;
            case 2:
                Log("close");
                CloseDocument(Below(m_documents.size()));
                break;
            case 3:
                Log("failing save");
                EXPECT_FALSE(document.real->SaveToFile(m_files.unwritable.path.c_str()));
                document.model->Compact();
                break;
            case 4:
            case 5: {
                Log("compare documents");
                Documents& other = AnyDocument();
                IBinDocument* real = other.real;
                if (!MaySave(document) || !MaySave(other)) break;
                if (m_isStarved) Saved(document);
                if (m_isStarved) Saved(other);
                ExpectSameResult([&] { return document.real->IsEqual(&real); },
                                 [&] { return plain::Equal(document.model.get(), other.model.get()); });
                break;
            }
            default: {
                Log("compare nodes");
                Handle other = Pick();
                const bool deep = text.empty() || OneIn(2);
                ExpectSameResult([&] { return node.real->IsEqual(&other.real, deep); },
                                 [&] { return plain::Equal(node.model, other.model, deep); });
                break;
            }
        }
    }

    void TakePair(const Arguments& with) {
        const plain::Node* element = with.node.model;
        ExpectText(Try([&] { return with.node.real->GetAttribute(with.wide.c_str()); }), element->Attribute(with.text),
                   "attribute");
        const int count = element->AttrCount();
        if (count == 0) return;
        const std::size_t index = Below(static_cast<std::size_t>(count));
        IAttrPair* const real = Try([&] {
            IAttrPair* made = nullptr;
            with.node.real->GetAttrPair(static_cast<std::int32_t>(index), &made);
            return made;
        });
        ASSERT_NE(real, nullptr);
        const auto& attrs = element->record.attrs;
        PairHandle pair{real, with.node.model, OwnerOf(element), index >= attrs.size(), 0, 0, u"", u""};
        if (pair.isHeld) {
            pair.name = *element->Pair(index).first;
            pair.value = *element->Pair(index).second;
        } else {
            pair.nameWord = attrs[index].first;
            pair.valueWord = attrs[index].second;
        }
        m_pairs.push_back(pair);
        if (OneIn(2)) SetPair(m_pairs.back(), with);
        if (m_isStarved) DropPair(m_pairs.size() - 1);  // it would tell the words that a failed edit adds
    }

    std::weak_ptr<plain::Doc> OwnerOf(const plain::Node* node) const {
        for (const Documents& document : m_documents) {
            if (document.model.get() == node->doc) return document.model;
        }
        return {};
    }

    void SetPair(const PairHandle& pair, const Arguments& with) {
        const auto texts = PairTexts(pair);
        ExpectSameResult(
            [&] { return pair.real->SetValue(with.wide.c_str()); },
            [&] { return texts.first && pair.element->SetAttribute(std::u16string(*texts.first), with.text); });
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
        for (const std::u16string& asked : Texts()) {
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

    static void CheckWords(const Documents& document) {
        const std::vector<plain::Text>& words = document.model->dict.words;
        ASSERT_EQ(document.real->Words().GetWordCount(), words.size());
        for (std::uint32_t i = 0; i < words.size(); ++i) ExpectText(document.real->GetWord(i), &words[i], "word");
    }

    // With `isWhole` everything that can be asked; otherwise without looking into nodes, which has children made.
    void Check(bool isWhole) {
        for (const Documents& document : m_documents) {
            EXPECT_EQ(document.real->IsModified(), document.model->modified);
            if (!m_isStarved) CheckWords(document);
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
    const Files& m_files;
    const bool m_isLazy;
    const bool m_isStarved;
    bool m_isSaving = false;
    int m_failureCount = 0;
    std::vector<std::unique_ptr<plain::Node>> m_nodes;
    std::map<const plain::Node*, const IBinNode*> m_known;
    std::vector<Documents> m_documents;
    std::vector<Handle> m_handles;
    std::vector<PairHandle> m_pairs;
    std::vector<const char*> m_log;  // what the last step has done, with these texts
    std::u16string m_texts[2];
};

}  // namespace edits
