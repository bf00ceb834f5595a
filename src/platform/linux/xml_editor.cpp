#include "platform/linux/xml_editor.h"

#include <algorithm>
#include <new>

#include "platform/utf8.h"

namespace {

constexpr WCHAR kLineBreak[kLineBreakUnits] = {'\r', '\n'};

// From here on an element's attributes are looked up in a table.
constexpr std::uint32_t kManyAttrs = 16;

using UnitVector = std::uint16_t __attribute__((vector_size(16)));
constexpr std::size_t kVectorUnits = sizeof(UnitVector) / sizeof(WCHAR);

// Eight units that no rule has anything to say about: from the blank up to the surrogates.
bool AreEightPlain(const WCHAR* units) {
    UnitVector vector;
    std::memcpy(&vector, units, sizeof(vector));
    constexpr std::uint16_t kFirst = 0x20;
    constexpr std::uint16_t kPlainCount = 0xD800 - kFirst;
    const auto odd = (vector - kFirst) >= kPlainCount;
    std::uint64_t halves[2];
    std::memcpy(halves, &odd, sizeof(halves));
    return (halves[0] | halves[1]) == 0;
}

// What XML cannot hold: most control characters, U+FFFE and U+FFFF, lone surrogates.
bool IsXmlText(TextView text) {
    const WCHAR* unit = text.data();
    const WCHAR* end = unit + text.size();
    while (unit != end) {
        if (end - unit >= static_cast<std::ptrdiff_t>(kVectorUnits) && AreEightPlain(unit)) {
            unit += kVectorUnits;
            continue;
        }
        if (IsHighSurrogate(*unit)) {
            if (end - unit < 2 || !IsLowSurrogate(unit[1])) return false;
            unit += 2;
            continue;
        }
        const bool isControl = *unit < 0x20 && *unit != '\t' && *unit != '\n' && *unit != '\r';
        if (isControl || IsLowSurrogate(*unit) || *unit >= 0xFFFE) return false;
        ++unit;
    }
    return true;
}

bool IsAsciiNameStart(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_' || c == ':';
}

bool IsAsciiNameByte(char c) {
    return IsAsciiNameStart(c) || (c >= '0' && c <= '9') || c == '-' || c == '.';
}

}  // namespace

HRESULT CXmlTreeEditor::CreateElement(TextView name, XmlNodeId& id) {
    std::uint32_t number = 0;
    if (!InternName(name, number)) return E_INVALIDARG;
    id = m_tree.AddElement(number, kNoXmlNode);
    return S_OK;
}

HRESULT CXmlTreeEditor::CreateText(DOMNodeType type, TextView text, XmlNodeId& id) {
    if (const WCHAR* shared = SharedIndentation(text)) {
        id = m_tree.AddTextNode(type, 0, nullptr, kNoXmlNode);
        m_tree.Node(id).text = {shared, static_cast<std::uint32_t>(text.size()), true};
        return S_OK;
    }
    if (!IsXmlText(text)) return E_INVALIDARG;
    id = m_tree.AddTextNode(type, 0, m_tree.Texts().Copy(text), kNoXmlNode);
    return S_OK;
}

HRESULT CXmlTreeEditor::CreateInstruction(TextView target, TextView data, XmlNodeId& id) {
    std::uint32_t number = 0;
    if (data.find(WTEXT("?>")) != TextView::npos || !IsXmlText(data)) return E_INVALIDARG;
    if (!InternName(target, number)) return E_INVALIDARG;
    id = m_tree.AddTextNode(NODE_PROCESSING_INSTRUCTION, number, m_tree.Texts().Copy(data), kNoXmlNode);
    return S_OK;
}

// Indentation takes as many tabs as the tree is deep, once for each element: without sharing, the memory for it would
// grow with the product.
const WCHAR* CXmlTreeEditor::SharedIndentation(TextView text) {
    if (!text.starts_with(TextView(kLineBreak, kLineBreakUnits))) return nullptr;
    const std::size_t known = std::min(text.size(), m_indentationUnits);
    if (known > 0 && std::memcmp(text.data(), m_indentations.back().get(), known * sizeof(WCHAR)) != 0) return nullptr;
    if (known == text.size()) return m_indentations.back().get();
    if (text.find_first_not_of(WCHAR('\t'), std::max(known, kLineBreakUnits)) != TextView::npos) return nullptr;

    constexpr std::size_t kLeastUnits = 64;
    const std::size_t units = std::max(kLeastUnits, text.size() * 2);
    auto indentation = std::make_unique_for_overwrite<WCHAR[]>(units);
    std::fill_n(std::copy_n(kLineBreak, kLineBreakUnits, indentation.get()), units - kLineBreakUnits, WCHAR('\t'));
    m_indentations.push_back(std::move(indentation));
    m_indentationUnits = units;
    return m_indentations.back().get();
}

bool CXmlTreeEditor::InternName(TextView name, std::uint32_t& number) {
    m_nameBytes.clear();
    std::size_t unitCount = 1;
    for (std::size_t i = 0; i < name.size(); i += unitCount) {
        unitCount = 1;
        if (name[i] < 0x80) {
            m_nameBytes += static_cast<char>(name[i]);
        } else {
            const char32_t point = FirstPoint(name.substr(i), unitCount);
            if (point >= 0xD800 && point < 0xE000) return false;
            AppendUtf8(point, m_nameBytes);
        }
    }
    if (m_nameBytes.empty()) return false;
    number = m_tree.Names().Intern(m_nameBytes);
    XmlName& entry = m_tree.Names()[number];
    if (!entry.isKnownGood) entry.isKnownGood = IsName(m_nameBytes);
    return entry.isKnownGood;
}

bool CXmlTreeEditor::IsName(std::string_view name) {
    const bool isAscii = std::none_of(name.begin(), name.end(), [](char c) { return static_cast<signed char>(c) < 0; });
    if (!isAscii) return ParserTakesName(name);
    return IsAsciiNameStart(name[0]) && std::all_of(name.begin(), name.end(), IsAsciiNameByte);
}

bool CXmlTreeEditor::ParserTakesName(std::string_view name) {
    // Nothing that would make the tag anything else than this name.
    if (name.find_first_of(std::string_view(" \t\r\n/>=\"'<&;\0", 12)) != std::string_view::npos) return false;
    if (!m_nameParser) m_nameParser.reset(XML_ParserCreate("UTF-8"));
    if (!m_nameParser) throw std::bad_alloc();
    const std::string tag = "<" + std::string(name) + "/>";
    const XML_Status status = XML_Parse(m_nameParser.get(), tag.data(), static_cast<int>(tag.size()), XML_TRUE);
    const bool ranOut = XML_GetErrorCode(m_nameParser.get()) == XML_ERROR_NO_MEMORY;
    XML_ParserReset(m_nameParser.get(), "UTF-8");
    if (status != XML_STATUS_OK && ranOut) throw std::bad_alloc();
    return status == XML_STATUS_OK;
}

HRESULT CXmlTreeEditor::Append(XmlNodeId parent, XmlNodeId child) {
    const bool isInTree = m_tree.Node(child).parent != kNoXmlNode;
    if (isInTree || !m_tree.Node(parent).HoldsChildren() || IsAncestor(child, parent)) return E_INVALIDARG;
    if (parent == kXmlDocumentNode) {
        // A document has one element and no texts.
        const DOMNodeType type = m_tree.Node(child).Type();
        const bool isElement = type == NODE_ELEMENT;
        if (!isElement && type != NODE_PROCESSING_INSTRUCTION) return E_INVALIDARG;
        if (isElement && m_tree.DocumentElement() != kNoXmlNode) return E_INVALIDARG;
        m_tree.AppendChild(parent, child);
        if (isElement) m_tree.SetDocumentElement(child);
        return S_OK;
    }
    m_tree.AppendChild(parent, child);
    return S_OK;
}

bool CXmlTreeEditor::IsAncestor(XmlNodeId candidate, XmlNodeId node) const {
    // A node without children is nobody's ancestor: a tree built from the root down never climbs.
    const XmlNode& top = m_tree.Node(candidate);
    if (!top.HoldsChildren() || top.element.childCount == 0) return candidate == node;
    while (node != kNoXmlNode && node != candidate) node = m_tree.Node(node).parent;
    return node == candidate;
}

HRESULT CXmlTreeEditor::ReplaceByText(XmlNodeId element, TextView text) {
    XmlNodeId id = kNoXmlNode;
    if (!text.empty()) {
        const HRESULT result = CreateText(NODE_TEXT, text, id);
        if (FAILED(result)) return result;
    }
    m_tree.RemoveChildren(element);
    if (id != kNoXmlNode) m_tree.AppendChild(element, id);
    return S_OK;
}

HRESULT CXmlTreeEditor::SetAttribute(XmlNodeId element, TextView name, TextView value) {
    std::uint32_t number = 0;
    if (!IsXmlText(value) || !InternName(name, number)) return E_INVALIDARG;
    const WCHAR* text = m_tree.Texts().Copy(value);
    if (XmlAttr* known = FindAttr(element, number)) {
        known->value = text;
        return S_OK;
    }
    XmlNode& node = m_tree.Node(element);
    const std::uint32_t place = node.element.attrCount;
    if (place >= kManyAttrs) {
        if (place == kManyAttrs) {
            for (std::uint32_t i = 0; i < place; ++i) {
                m_attrPlaces[AttrKey(element, m_tree.Attr(node.element.firstAttr + i).name)] = i;
            }
        }
        m_attrPlaces[AttrKey(element, number)] = place;
    }
    m_tree.AddAttr(node, number, text);
    return S_OK;
}

XmlAttr* CXmlTreeEditor::FindAttr(XmlNodeId element, std::uint32_t name) {
    const XmlElementData& data = m_tree.Node(element).element;
    if (data.attrCount > kManyAttrs) {
        const auto found = m_attrPlaces.find(AttrKey(element, name));
        return found == m_attrPlaces.end() ? nullptr : &m_tree.Attr(data.firstAttr + found->second);
    }
    for (std::uint32_t i = 0; i < data.attrCount; ++i) {
        XmlAttr& attr = m_tree.Attr(data.firstAttr + i);
        if (attr.name == name) return &attr;
    }
    return nullptr;
}
