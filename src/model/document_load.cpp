// Loading: a file or buffer becomes one block, checked and terminated in place; nodes are made when asked for.
#include <algorithm>
#include <cstdint>
#include <cstring>
#include <new>
#include <utility>

#include "model/document.h"
#include "model/incoming_bytes.h"
#include "model/layout.h"
#include "model/node_access.h"
#include "platform/dialog.h"
#include "platform/file.h"
#include "platform/memory.h"

namespace {

// Record offsets are 32 bits wide, and no block is larger than pointers can be apart.
constexpr std::int64_t kMostFileBytes = std::min<std::int64_t>(CRecordTree::kMostBytes, PTRDIFF_MAX);

constexpr WCHAR kUnknownRecordText[] = WTEXT("解析文档节点出现异常！");
// A file may promise a hundred million children and have none; where a debugger could listen, each telling costs a
// system call or several. Nobody reads more than this.
constexpr std::uint64_t kMostTellings = 65'536;

// How far the dictionary of a buffer of unknown length reaches.
struct DictionaryExtent {
    bool isWhole = false;
    std::size_t end = kWordCountBytes;    // where the records start; in a broken dictionary, behind what breaks it
    std::size_t bytes = kWordCountBytes;  // that must be read: a last word of odd length reaches into the root record
};

DictionaryExtent MeasureDictionary(const unsigned char* bytes, std::uint64_t byteLimit) {
    DictionaryExtent extent;
    const std::uint32_t wordCount = ReadU32(bytes);
    if (wordCount > kMostWords) return extent;
    std::uint64_t total = 0;
    for (std::uint32_t i = 0; i < wordCount; ++i) {
        const std::uint32_t length = ReadU32(bytes + extent.end);
        extent.end += kWordLengthBytes;
        extent.bytes = extent.end;
        total += length;
        if (length > kMostWordBytes || (byteLimit > 0 && total > byteLimit)) return extent;
        extent.bytes = extent.end + length;
        extent.end += length & ~std::uint32_t{1};
    }
    extent.isWhole = true;
    return extent;
}

}  // namespace

bool CBinaryDocument::LoadFromFile(const WCHAR* path) {
    if (!path || !*path) return false;
    const std::size_t length = TextLength(path);
    if (length < kPathUnits) {
        std::memmove(m_path, path, (length + 1) * sizeof(WCHAR));
    } else {
        m_path[0] = 0;
    }
    try {
        CWordDict words;
        CRecordTree tree;
        const bool isWhole = ReadFile(path, words, tree);
        return TakeLoaded(isWhole, std::move(tree), std::move(words));
    } catch (const std::bad_alloc&) {
        return false;
    }
}

// False leaves in `words` those before the place that is broken.
bool CBinaryDocument::ReadFile(const WCHAR* path, CWordDict& words, CRecordTree& tree) {
    CInputFile file;
    if (!file.Open(path)) return false;
    const std::int64_t size = file.Size();
    if (size < 0) return false;
    m_fileSize = size;
    if (size == 0 || size > kMostFileBytes) return false;
    const std::size_t byteCount = static_cast<std::size_t>(size);
    tree.MakeBlock(byteCount);
    CIncomingBytes incoming(file, tree.bytes.get(), byteCount);
    const std::size_t recordsOffset = words.TakeBlock(tree.bytes, incoming, static_cast<std::uint64_t>(size));
    tree.roomBegin = static_cast<std::uint32_t>(words.BlockEnd());
    const bool isWhole = recordsOffset > 0 && ScanRecords(tree.bytes.get(), recordsOffset, incoming, tree);
    incoming.Bring(incoming.Size());
    if (!incoming.HasFailed()) return isWhole;
    words.Clear();
    return false;
}

bool CBinaryDocument::LoadFromBuffer(const void* buffer) {
    if (!buffer) return false;
    try {
        const unsigned char* bytes = static_cast<const unsigned char*>(buffer);
        const std::uint64_t byteLimit = static_cast<std::uint64_t>(m_fileSize);
        const DictionaryExtent extent = MeasureDictionary(bytes, byteLimit);
        CRecordTree tree;
        CIncomingBytes endless(CRecordTree::kMostBytes);  // nobody tells how long it is
        const bool isWhole = extent.isWhole && ScanRecords(bytes, extent.end, endless, tree);
        const std::size_t byteCount = std::max<std::size_t>(extent.bytes, tree.end);

        CWordDict words;
        tree.MakeBlock(byteCount);
        MakePages(tree.bytes.get(), byteCount);
        std::memcpy(tree.bytes.get(), bytes, byteCount);
        CIncomingBytes all(byteCount);
        words.TakeBlock(tree.bytes, all, byteLimit);
        tree.roomBegin = static_cast<std::uint32_t>(words.BlockEnd());
        return TakeLoaded(isWhole, std::move(tree), std::move(words));
    } catch (const std::bad_alloc&) {
        return false;
    }
}

// Of a file that is broken, the words before that place come in, and the former tree stays.
bool CBinaryDocument::TakeLoaded(bool isWhole, CRecordTree&& tree, CWordDict&& words) {
    if (isWhole) {
        AdoptTree(std::move(tree), std::move(words));
    } else {
        ReplaceWords(std::move(words));
    }
    return isWhole;
}

void CBinaryDocument::AdoptTree(CRecordTree&& tree, CWordDict&& words) {
    m_pool.Retire();
    CBinNode* root = m_pool.Allocate();
    try {
        HoldKeptNodes();
    } catch (...) {
        CNodePool::Free(root);
        throw;
    }
    const std::uint64_t tellings = std::min(tree.unknownCount, kMostTellings);
    for (std::uint64_t i = 0; i < tellings; ++i) OutputDebugStringW(kUnknownRecordText);
    if (CBinNode* former = m_root) {
        m_root = nullptr;
        former->LetGo();
    }
    m_root = root;
    m_pool.Sweep();
    Replace(std::move(words), std::move(tree));
    if (m_tree.IsEmpty()) return;
    root->m_offset = m_tree.begin;
    const unsigned char* record = Block() + m_tree.begin;
    if (IsElement(record) && ChildCountOf(record) > 0) root->m_links = links::Unmade(0);
}

// What somebody holds of the tree that is about to go keeps showing what it showed.
void CBinaryDocument::HoldKeptNodes() {
    HoldDetachedNodes();
    for (CBinNode* node = m_root; node;) {
        if (node->m_refs == 0) {
            node = node->NextMadeInPreOrder(m_root);
            continue;
        }
        // Even if the tree stays after all: attributes that are held as texts are only saved by a rebuild.
        const bool wasModified = std::exchange(m_modified, true);
        node->HoldSubtree();
        m_modified = wasModified;
        node = node->NextMadeBehind(m_root);
    }
}
