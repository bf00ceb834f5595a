#include "contenders.h"

#include <fcntl.h>
#include <libxml/parser.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <stdexcept>

namespace {

// Touches a text the way any reader would.
template <class Unit>
std::uint64_t First(const Unit* text) {
    return text ? static_cast<std::uint64_t>(*text) : 0;
}

// The files here are a few levels deep, so that a host may recurse.
std::uint64_t WalkBelow(IBinNode* node) {
    std::uint64_t sum = First(node->GetName()) + First(node->GetValue());
    const std::int32_t attrCount = node->GetAttrCount();
    for (std::int32_t i = 0; i < attrCount; ++i) {
        IAttrPair* pair = nullptr;
        node->GetAttrPair(i, &pair);
        sum += First(pair->GetName()) + First(pair->GetValue());
        pair->Release();
    }
    const std::int32_t childCount = node->GetChildCount();
    for (std::int32_t i = 0; i < childCount; ++i) {
        IBinNode* child = nullptr;
        node->GetChild(i, &child);
        sum += WalkBelow(child);
        child->Release();
    }
    return sum;
}

std::uint64_t WalkBelow(pugi::xml_node node) {
    std::uint64_t sum = First(node.name()) + First(node.value());
    for (const pugi::xml_attribute attribute : node.attributes()) {
        sum += First(attribute.name()) + First(attribute.value());
    }
    for (const pugi::xml_node child : node.children()) sum += WalkBelow(child);
    return sum;
}

std::uint64_t CountBelow(IBinNode* node) {
    std::uint64_t count = 1;
    const std::int32_t childCount = node->GetChildCount();
    for (std::int32_t i = 0; i < childCount; ++i) {
        IBinNode* child = nullptr;
        node->GetChild(i, &child);
        count += CountBelow(child);
        child->Release();
    }
    return count;
}

std::uint32_t ReadU32(const unsigned char* bytes) {
    std::uint32_t value;
    std::memcpy(&value, bytes, sizeof value);
    return value;
}

// Gives the offset behind the dictionary, or 0 when it is broken.
std::size_t CheckWords(const unsigned char* bytes, std::size_t size) {
    if (size < 4) return 0;
    std::size_t offset = 4;
    for (std::uint32_t left = ReadU32(bytes); left > 0; --left) {
        if (size - offset < 4) return 0;
        const std::uint32_t length = ReadU32(bytes + offset);
        offset += 4;
        if (length > 1'024'000 || size - offset < length) return 0;
        offset += length & ~std::uint32_t{1};
    }
    return offset;
}

bool CheckRecords(const unsigned char* bytes, std::size_t offset, std::size_t size) {
    for (std::uint64_t promised = 1; promised > 0; --promised) {
        if (promised > size - offset) return false;
        const unsigned char* record = bytes + offset;
        const std::size_t rest = size - offset;
        if (*record != 1) {
            if ((*record != 3 && *record != 4) || rest < 5) return false;
            offset += 5;
            continue;
        }
        if (rest < 17) return false;
        const std::int32_t attrCount = static_cast<std::int32_t>(ReadU32(record + 9));
        const std::uint64_t recordBytes = 17 + 8 * static_cast<std::uint64_t>(std::max(attrCount, 0));
        if (rest < recordBytes) return false;
        const std::int32_t childCount = static_cast<std::int32_t>(ReadU32(record + 13));
        promised += static_cast<std::uint64_t>(std::max(childCount, 0));
        offset += recordBytes;
    }
    return true;
}

}  // namespace

ParvelDocument::ParvelDocument() {
    if (KestQueryBinDocInterface(&IID_IBinDocument, &m_document) != 0) throw std::runtime_error("no document");
}

bool ParvelDocument::Load(const CaseFile& file) {
    return m_document->LoadFromFile(file.DocumentPath().c_str());
}

IBinNode* ParvelDocument::Root() const {
    IBinNode* root = nullptr;
    m_document->GetRoot(&root);
    return root;
}

std::uint64_t ParvelDocument::Walk() {
    IBinNode* root = Root();
    const std::uint64_t sum = WalkBelow(root);
    root->Release();
    return sum;
}

std::uint64_t ParvelDocument::FirstAnswer() {
    IBinNode* root = Root();
    IAttrPair* pair = nullptr;
    root->GetAttrPair(0, &pair);
    const std::uint64_t answer = First(pair->GetValue());
    pair->Release();
    root->Release();
    return answer;
}

std::uint64_t ParvelDocument::CountNodes() {
    IBinNode* root = Root();
    const std::uint64_t count = CountBelow(root);
    root->Release();
    return count;
}

void ParvelDocument::Release() {
    if (m_document) m_document->Release();
    m_document = nullptr;
}

bool PugixmlDocument::Load(const CaseFile& file) {
    return static_cast<bool>(m_tree.load_file(file.xml.c_str()));
}

std::uint64_t PugixmlDocument::Walk() {
    return WalkBelow(m_tree.document_element());
}

std::uint64_t PugixmlDocument::FirstAnswer() {
    return First(m_tree.document_element().first_attribute().value());
}

bool Libxml2Document::Load(const CaseFile& file) {
    // The same tree as the others make: without the white space between elements.
    constexpr int kOptions = XML_PARSE_NOBLANKS | XML_PARSE_COMPACT | XML_PARSE_HUGE | XML_PARSE_NONET |
                             XML_PARSE_NOERROR | XML_PARSE_NOWARNING;
    m_tree.reset(xmlReadFile(file.xml.c_str(), nullptr, kOptions));
    return m_tree != nullptr;
}

bool PlainRead::Load(const CaseFile& file) {
    constexpr std::size_t kPageBytes = 4096;
    constexpr std::size_t kPieceBytes = 64 * kPageBytes;
    const int handle = open(file.document.c_str(), O_RDONLY | O_CLOEXEC);
    if (handle < 0) return false;
    struct stat about = {};
    bool isDone = fstat(handle, &about) == 0;
    m_size = static_cast<std::size_t>(about.st_size);
    m_bytes = std::make_unique_for_overwrite<unsigned char[]>(m_size);
    // The fastest way there is: pages made ahead, a piece at a time, so that it is filled while it is in the cache.
    void* next = m_bytes.get();
    for (std::size_t left = m_size; isDone && left > 0;) {
        const std::size_t size = std::min(kPieceBytes, left);
        std::size_t room = left;
        void* pages = next;
        if (std::align(kPageBytes, kPageBytes, pages, room)) {
            madvise(pages, std::min(size, room) & ~(kPageBytes - 1), MADV_POPULATE_WRITE);
        }
        isDone = read(handle, next, size) == static_cast<ssize_t>(size);
        next = static_cast<unsigned char*>(next) + size;
        left -= size;
    }
    close(handle);
    return isDone;
}

bool ReadAndCheck::Load(const CaseFile& file) {
    if (!PlainRead::Load(file)) return false;
    const std::size_t records = CheckWords(m_bytes.get(), m_size);
    return records > 0 && CheckRecords(m_bytes.get(), records, m_size);
}
