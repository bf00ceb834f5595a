#include <algorithm>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "support.h"

namespace {

/// The layout once more, read as plainly as it is told: fields by offset, words as strings of their own.
class CPlainReader {
public:
    explicit CPlainReader(FuzzBytes bytes) : m_bytes(bytes) {}

    /// The description of the tree, or an empty string for what is no whole document.
    std::string Read() { return ReadWords() && ReadTree() ? m_description : std::string(); }

    /// Whether the root has a record.
    bool HasRoot() const { return m_hasRoot; }

private:
    struct OpenElement {
        std::uint64_t remaining;
    };

    std::uint64_t Left() const { return m_bytes.size() - m_cursor; }
    std::uint32_t NumberAt(std::size_t offset) const {
        std::uint32_t number = 0;
        for (std::size_t i = 4; i-- > 0;) number = number << 8 | m_bytes[offset + i];
        return number;
    }

    bool ReadWords() {
        if (Left() < 4) return false;
        const std::uint32_t wordCount = NumberAt(0);
        m_cursor = 4;
        if (wordCount > 1'000'000) return false;
        std::uint64_t total = 0;
        for (std::uint32_t i = 0; i < wordCount; ++i) {
            if (Left() < 4) return false;
            const std::uint32_t length = NumberAt(m_cursor);
            m_cursor += 4;
            total += length;
            if (length > 1'024'000 || total > m_bytes.size() || length > Left()) return false;
            Text word;
            for (std::size_t k = 0; k < length; k += 2) {
                const int high = k + 1 < length ? m_bytes[m_cursor + k + 1] << 8 : 0;
                word += static_cast<WCHAR>(m_bytes[m_cursor + k] | high);
            }
            m_words.push_back(word.substr(0, word.find(WCHAR(0))));
            m_cursor += length / 2 * 2;
        }
        return true;
    }

    const WCHAR* Word(std::uint32_t index) const { return index < m_words.size() ? m_words[index].c_str() : WTEXT(""); }
    const WCHAR* PairWord(std::uint32_t index) const { return index < m_words.size() ? Word(index) : nullptr; }

    /// The text that is the only child of the element at `record`; null when its only child is another.
    const WCHAR* OnlyText(std::size_t record, std::size_t behind) const {
        if (NumberAt(record + 13) != 1 || behind >= m_bytes.size() || m_bytes[behind] != 3) return nullptr;
        return behind + 5 <= m_bytes.size() ? Word(NumberAt(behind + 1)) : nullptr;
    }

    bool ReadTree() {
        std::vector<std::uint64_t> open = {1};  // children that each open element still has to get
        std::uint64_t promised = 1;             // the sum of those
        m_hasRoot = Left() > 0 && (m_bytes[m_cursor] == 1 || m_bytes[m_cursor] == 3 || m_bytes[m_cursor] == 4);
        while (!open.empty()) {
            if (open.back() == 0) {
                open.pop_back();
                continue;
            }
            --open.back();
            --promised;
            if (Left() == 0) return false;
            const std::size_t record = m_cursor;
            const std::uint8_t type = m_bytes[record];
            if (type == 3 || type == 4) {
                if (Left() < 5) return false;
                m_description += std::to_string(type);
                AppendText(Word(NumberAt(record + 1)), m_description);
                AppendText(Word(NumberAt(record + 1)), m_description);
                m_description += " (0)\n";
                m_cursor += 5;
            } else if (type == 1) {
                if (Left() < 17) return false;
                const std::int64_t attrCount = std::max(0, static_cast<std::int32_t>(NumberAt(record + 9)));
                const std::int64_t childCount = std::max(0, static_cast<std::int32_t>(NumberAt(record + 13)));
                if (static_cast<std::int64_t>(Left()) < 17 + 8 * attrCount) return false;
                m_cursor += static_cast<std::size_t>(17 + 8 * attrCount);
                promised += static_cast<std::uint64_t>(childCount);
                if (childCount > 0 && promised > Left()) return false;
                m_description += "1";
                AppendText(Word(NumberAt(record + 1)), m_description);
                AppendText(OnlyText(record, m_cursor), m_description);
                for (std::size_t at = record + 17; at < m_cursor; at += 8) {
                    m_description += " @";
                    AppendText(PairWord(NumberAt(at)), m_description);
                    AppendText(PairWord(NumberAt(at + 4)), m_description);
                }
                m_description += " (" + std::to_string(childCount) + ")\n";
                open.push_back(static_cast<std::uint64_t>(childCount));
            } else {
                m_description += "1 - - (0)\n";  // takes no bytes: so will every child that is still to come
            }
        }
        return true;
    }

    FuzzBytes m_bytes;
    std::size_t m_cursor = 0;
    std::vector<Text> m_words;
    bool m_hasRoot = false;
    std::string m_description;
};

CComRef<IBinNode> RootOf(const CComRef<IBinDocument>& document) {
    CComRef<IBinNode> root;
    document->GetRoot(root.Out());
    Require(root.Get() != nullptr, "a document has a root");
    return root;
}

std::string DescribeDocument(const CComRef<IBinDocument>& document) {
    return Describe(RootOf(document).Get());
}

std::vector<std::uint8_t> Save(const CComRef<IBinDocument>& document, CMemoryFile& file) {
    Require(document->SaveToFile(file.Path()), "a document can be saved");
    Require(!document->IsModified(), "a saved document is not modified");
    return file.Read();
}

/// Nodes without a record are left out when they are saved: one whose tree has some comes back another.
bool HasBareNodes(const std::string& description) {
    return description.starts_with("1 -") || description.find("\n1 -") != std::string::npos;
}

void CheckSaved(const CComRef<IBinDocument>& document, CMemoryFile& file) {
    const std::vector<std::uint8_t> bytes = Save(document, file);
    const std::string tree = DescribeDocument(document);
    const CComRef<IBinDocument> again = NewDocument();
    const bool isLoaded = again->LoadFromFile(file.Path());
    Require(isLoaded || tree.starts_with("1 -"), "what was saved loads");
    if (!isLoaded) return;
    const std::string loaded = DescribeDocument(again);
    if (!HasBareNodes(tree)) RequireEqual(loaded, tree, "what was saved is the same tree");
    Require(Save(again, file) == bytes, "what was saved, loaded and saved is the same bytes");

    const CComRef<IBinDocument> fromMemory = NewDocument();
    Require(fromMemory->LoadFromBuffer(bytes.data()), "what was saved loads from memory");
    RequireEqual(DescribeDocument(fromMemory), loaded, "a file and memory give the same tree");
}

/// A copy may be another tree: it leaves out what has no name, and pending edits. It must answer, and save, all the
/// same.
void CheckClones(const CComRef<IBinDocument>& document, CMemoryFile& file) {
    CComRef<IBinDocument> copy;
    document->Clone(copy.Out());
    Require(copy.Get() != nullptr, "a document has a copy");
    static_cast<void>(DescribeDocument(copy));
    CheckSaved(copy, file);

    const CComRef<IBinNode> root = RootOf(document);
    CComRef<IBinNode> rootCopy;
    if (!root->Clone(rootCopy.Out(), true)) return;
    static_cast<void>(Describe(rootCopy.Get()));
    IBinNode* other = rootCopy.Get();
    static_cast<void>(root->IsEqual(&other, true));
}

}  // namespace

void FuzzDocument(FuzzBytes bytes) {
    static CMemoryFile file;
    static CMemoryFile saved;
    CPlainReader reader(bytes);
    const std::string expected = reader.Read();

    file.Write(bytes);
    const CComRef<IBinDocument> document = NewDocument();
    const bool isLoaded = document->LoadFromFile(file.Path());
    Require(isLoaded == !expected.empty(), "what the plain reader takes is loaded, and nothing else");
    if (!isLoaded) return;
    RequireEqual(DescribeDocument(document), expected, "the tree is the plain reader's");

    CheckSaved(document, saved);
    RequireEqual(DescribeDocument(document), expected, "saving an unedited document changes nothing");
    CheckClones(document, saved);
    document->SetModified(true);
    CheckSaved(document, saved);
    CheckClones(document, saved);
}
