#include "platform/linux/xml_tree.h"

#include <algorithm>

#include "platform/hash.h"

namespace {

constexpr std::size_t kFirstTextBlockUnits = 16 * 1024;
constexpr std::size_t kMostTextBlockUnits = 2 * 1024 * 1024;
// A BSTR's length in bytes has 32 bits.
constexpr std::size_t kMostTextUnits = 0x7FFFFF00;

constexpr std::size_t kNameBlockBytes = 4096;
constexpr std::size_t kFirstNameSlots = 256;
constexpr std::uint32_t kFreeSlot = 0xFFFFFFFF;

}  // namespace

// The open text moves to a block with room for what it has and as much again.
void CTextArena::MakeRoom(std::size_t unitCount) {
    const std::size_t length = static_cast<std::size_t>(m_write - m_text);
    if (unitCount > kMostTextUnits - length) throw std::bad_alloc();
    const std::size_t usual = std::clamp(m_totalUnits, kFirstTextBlockUnits, kMostTextBlockUnits);
    const std::size_t units = std::max(usual, kPrefixUnits + (length + unitCount) * 2 + 1);
    m_blocks.push_back(std::make_unique_for_overwrite<WCHAR[]>(units + kSpareUnits));
    m_totalUnits += units;
    m_free = m_blocks.back().get();
    m_end = m_free + units;
    WCHAR* text = m_free + kPrefixUnits;
    if (length > 0) std::memcpy(text, m_text, length * sizeof(WCHAR));
    m_text = text;
    m_write = text + length;
}

void CTextArena::Reuse() {
    if (m_blocks.empty()) return;
    m_blocks.erase(m_blocks.begin(), m_blocks.end() - 1);
    m_free = m_blocks.back().get();
    m_totalUnits = static_cast<std::size_t>(m_end - m_free);
}

std::uint32_t CXmlNames::Intern(std::string_view name) {
    if (m_slots.empty()) m_slots.assign(kFirstNameSlots, kFreeSlot);
    const std::uint32_t hash = HashBytes(name.data(), name.size());
    const std::size_t mask = m_slots.size() - 1;
    std::size_t i = hash & mask;
    for (; m_slots[i] != kFreeSlot; i = (i + 1) & mask) {
        const XmlName& known = m_names[m_slots[i]];
        if (known.hash == hash && known.bytes == name) return m_slots[i];
    }
    const std::uint32_t number = Add(name, hash);
    m_slots[i] = number;
    if (m_names.Size() * std::size_t{2} > m_slots.size()) Rehash();
    return number;
}

std::uint32_t CXmlNames::Add(std::string_view name, std::uint32_t hash) {
    if (m_names.Size() >= XmlNode::kMostNames) throw std::bad_alloc();
    if (m_room <= name.size()) {
        m_room = std::max(kNameBlockBytes, name.size() + 1);
        m_blocks.push_back(std::make_unique_for_overwrite<char[]>(m_room));
        m_free = m_blocks.back().get();
    }
    std::memcpy(m_free, name.data(), name.size());
    m_free[name.size()] = 0;
    m_texts.Begin();
    m_texts.Append(name.data(), name.size());
    const XmlName entry = {std::string_view(m_free, name.size()), m_texts.Finish(), hash};
    m_free += name.size() + 1;
    m_room -= name.size() + 1;
    const std::uint32_t number = m_names.Add();
    m_names[number] = entry;
    return number;
}

void CXmlNames::Rehash() {
    std::vector<std::uint32_t> slots(m_slots.size() * 2, kFreeSlot);
    const std::size_t mask = slots.size() - 1;
    for (std::uint32_t number = 0; number < m_names.Size(); ++number) {
        std::size_t i = m_names[number].hash & mask;
        while (slots[i] != kFreeSlot) i = (i + 1) & mask;
        slots[i] = number;
    }
    m_slots.swap(slots);
}

CXmlTree::CXmlTree() {
    AddNode(NODE_DOCUMENT, 0);
    m_nodes[kXmlDocumentNode].element = {};
}

XmlNodeId CXmlTree::AddNode(DOMNodeType type, std::uint32_t name) {
    const XmlNodeId id = m_nodes.Add();
    m_nodes[id].typeAndName = name << XmlNode::kNameShift | static_cast<std::uint32_t>(type);
    return id;
}

XmlNodeId CXmlTree::AddElement(std::uint32_t name) {
    const XmlNodeId id = AddNode(NODE_ELEMENT, name);
    m_nodes[id].element = {0, 0, m_attrs.Size(), 0};
    return id;
}

XmlNodeId CXmlTree::AddTextNode(DOMNodeType type, std::uint32_t name, const WCHAR* text) {
    const XmlNodeId id = AddNode(type, name);
    m_nodes[id].text = text;
    return id;
}

void CXmlTree::AddAttr(XmlNodeId element, std::uint32_t name, const WCHAR* value) {
    m_attrs[m_attrs.Add()] = {value, name};
    ++m_nodes[element].element.attrCount;
}

void CXmlTree::SetChildren(XmlNodeId parent, const XmlNodeId* children, std::size_t count) {
    if (count == 0) return;
    if (count > kNoXmlNode - m_children.size()) throw std::bad_alloc();
    XmlElementData& element = m_nodes[parent].element;
    element.firstChild = static_cast<std::uint32_t>(m_children.size());
    m_children.insert(m_children.end(), children, children + count);
    element.childCount = static_cast<std::uint32_t>(count);
}
