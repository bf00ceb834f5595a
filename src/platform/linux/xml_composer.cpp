#include "platform/linux/xml_composer.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <new>
#include <string_view>

#include "platform/file.h"
#include "platform/linux/xml_escape.h"

namespace {

constexpr std::string_view kLineBreak = "\r\n";
// An indentation deeper than this is kept as a number: the text would grow with the square of the depth.
constexpr std::uint32_t kMostTabsInText = 64;
constexpr char kSomeTabs[] = {'\t', '\t', '\t', '\t', '\t', '\t', '\t', '\t'};
static_assert(kMostTabsInText % sizeof(kSomeTabs) == 0);

bool IsBlank(TextView text) {
    return std::all_of(text.begin(), text.end(),
                       [](WCHAR unit) { return unit == ' ' || unit == '\t' || unit == '\n' || unit == '\r'; });
}

// CR LF and nothing but tabs behind it.
bool IsIndentation(TextView text) {
    if (text.size() < 2 || text[0] != '\r' || text[1] != '\n') return false;
    const TextView tabs = text.substr(2);
    if (tabs.size() < 16) return std::all_of(tabs.begin(), tabs.end(), [](WCHAR unit) { return unit == '\t'; });
    return tabs[0] == '\t' && std::memcmp(tabs.data(), tabs.data() + 1, (tabs.size() - 1) * sizeof(WCHAR)) == 0;
}

// Appends a text with its escapes. False, with a part of it appended, when XML cannot hold it.
bool AppendEscaped(CXmlBytes& bytes, TextView text, XmlPlace place) {
    constexpr std::size_t kMostUnitsAtOnce = 16 * 1024;
    while (!text.empty()) {
        std::size_t piece = text.size();
        if (piece > kMostUnitsAtOnce) piece = kMostUnitsAtOnce - (IsHighSurrogate(text[kMostUnitsAtOnce - 1]) ? 1 : 0);
        char* begin = bytes.Reserve(piece * kMostXmlBytesPerUnit);
        const char* end = EscapeXml(text.substr(0, piece), place, begin);
        if (!end) return false;
        bytes.Grow(static_cast<std::size_t>(end - begin));
        text.remove_prefix(piece);
    }
    return true;
}

// What would close the section is parted between its second and its third character.
bool AppendCData(CXmlBytes& bytes, TextView text) {
    constexpr std::string_view kOpening = "<![CDATA[";
    constexpr std::string_view kClosing = "]]>";
    constexpr std::size_t kPartedUnits = 2;
    while (true) {
        const std::size_t end = text.find(WTEXT("]]>"));
        const std::size_t length = end == TextView::npos ? text.size() : end + kPartedUnits;
        bytes.Append(kOpening);
        if (!AppendEscaped(bytes, text.substr(0, length), XmlPlace::kVerbatim)) return false;
        bytes.Append(kClosing);
        if (end == TextView::npos) return true;
        text.remove_prefix(length);
    }
}

void WriteTabs(COutputFile& file, std::size_t count) {
    static constexpr auto kTabs = [] {
        std::array<char, 16 * 1024> tabs;
        tabs.fill('\t');
        return tabs;
    }();
    for (; count > 0 && !file.HasFailed(); count -= std::min(count, kTabs.size())) {
        file.Write(kTabs.data(), std::min(count, kTabs.size()));
    }
}

}  // namespace

CXmlBytes::~CXmlBytes() {
    std::free(m_bytes);
}

void CXmlBytes::MoveEndDown(std::size_t from, std::size_t to) {
    std::memmove(m_bytes + to, m_bytes + from, m_size - from);
    m_size = to + (m_size - from);
}

void CXmlBytes::Enlarge(std::size_t count) {
    constexpr std::size_t kLeastBytes = 64 * 1024;
    const std::size_t capacity = std::max({m_size + count, m_capacity * 2, kLeastBytes});
    // Large blocks are moved by remapping, without a copy.
    char* bytes = static_cast<char*>(std::realloc(m_bytes, capacity));
    if (!bytes) throw std::bad_alloc();
    m_bytes = bytes;
    m_capacity = capacity;
}

HRESULT CXmlComposer::MakeElement(TextView name, ComposedNode& node) {
    if (!m_names.Find(name, node.name)) return E_INVALIDARG;
    node.owner = this;
    node.type = NODE_ELEMENT;
    return S_OK;
}

HRESULT CXmlComposer::MakeText(DOMNodeType type, TextView text, ComposedNode& node) {
    if (type == NODE_TEXT && IsIndentation(text)) {
        node.owner = this;
        node.type = type;
        node.isIndentation = true;
        node.tabs = static_cast<std::uint32_t>(text.size() - kLineBreak.size());
        return S_OK;
    }
    CXmlBytesMark mark(m_waiting);
    if (type == NODE_CDATA_SECTION) {
        if (!AppendCData(m_waiting, text)) return E_INVALIDARG;
    } else if (!AppendEscaped(m_waiting, text, IsBlank(text) ? XmlPlace::kVerbatim : XmlPlace::kText)) {
        return E_INVALIDARG;
    }
    KeepWaiting(type, node, mark);
    return S_OK;
}

HRESULT CXmlComposer::MakeInstruction(TextView target, TextView data, ComposedNode& node) {
    if (data.find(WTEXT("?>")) != TextView::npos || !m_names.Find(target, node.name)) return E_INVALIDARG;
    CXmlBytesMark mark(m_waiting);
    m_waiting.Append("<?");
    m_waiting.Append(m_names.BytesOf(m_names[node.name]));
    if (!data.empty()) m_waiting.Append(' ');
    if (!AppendEscaped(m_waiting, data, XmlPlace::kVerbatim)) return E_INVALIDARG;
    m_waiting.Append("?>");
    if (target == WTEXT("xml")) {
        m_waiting.Append(kLineBreak);
        const Text folded = FoldedCase(data);
        m_isOtherEncoding = folded.find(WTEXT("encoding=")) != Text::npos &&
                            folded.find(WTEXT("encoding=\"utf-8\"")) == Text::npos &&
                            folded.find(WTEXT("encoding='utf-8'")) == Text::npos;
    }
    KeepWaiting(NODE_PROCESSING_INSTRUCTION, node, mark);
    return S_OK;
}

void CXmlComposer::KeepWaiting(DOMNodeType type, ComposedNode& node, CXmlBytesMark& mark) {
    node.owner = this;
    node.type = type;
    node.offset = mark.Size();
    node.byteCount = m_waiting.Size() - mark.Size();
    ++m_waitingCount;
    mark.Keep();
}

void CXmlComposer::Drop(const ComposedNode& node) {
    if (node.type == NODE_ELEMENT || node.isIndentation) return;
    if (--m_waitingCount == 0) m_waiting.Truncate(0);
}

HRESULT CXmlComposer::Append(ComposedNode& child) {
    // A document has one element and no texts.
    const bool isElement = child.type == NODE_ELEMENT;
    if (child.isAppended || (!isElement && child.type != NODE_PROCESSING_INSTRUCTION)) return E_INVALIDARG;
    if (isElement && m_hasElement) return E_INVALIDARG;
    CloseDownTo(0);
    if (isElement) {
        AppendElement(child);
        m_hasElement = true;
    } else {
        AppendWaiting(child);
        child.isAppended = true;
    }
    return S_OK;
}

HRESULT CXmlComposer::Append(const ComposedNode& parent, ComposedNode& child) {
    if (parent.type != NODE_ELEMENT || child.isAppended) return E_INVALIDARG;
    if (!IsOpen(parent)) return E_UNEXPECTED;
    CloseDownTo(parent.level + 1);
    OpenElement& element = m_path.back();
    if (!element.hasContent) EndTag(element);
    if (child.type == NODE_ELEMENT) {
        AppendElement(child);
    } else {
        AppendWaiting(child);
        child.isAppended = true;
    }
    return S_OK;
}

bool CXmlComposer::IsOpen(const ComposedNode& element) const {
    return element.isAppended && element.level < m_path.size() && m_path[element.level].serial == element.serial;
}

void CXmlComposer::AppendElement(ComposedNode& child) {
    const std::string_view name = m_names.BytesOf(m_names[child.name]);
    char* bytes = m_text.Reserve(name.size() + 1);
    m_path.push_back({child.name, false, 0, m_serial + 1});
    *bytes = '<';
    std::memcpy(bytes + 1, name.data(), name.size());
    m_text.Grow(name.size() + 1);
    child.isAppended = true;
    child.level = m_path.size() - 1;
    child.serial = ++m_serial;
    m_attrs.clear();
    m_attrsStart = m_text.Size();
}

void CXmlComposer::AppendWaiting(const ComposedNode& child) {
    if (child.isIndentation) {
        AppendIndentation(child.tabs);
    } else {
        m_text.Append(std::string_view(m_waiting.Data() + child.offset, child.byteCount));
    }
}

void CXmlComposer::AppendIndentation(std::uint32_t tabs) {
    char* bytes = m_text.Reserve(kLineBreak.size() + kMostTabsInText);
    std::memcpy(bytes, kLineBreak.data(), kLineBreak.size());
    bytes += kLineBreak.size();
    m_text.Grow(kLineBreak.size());
    if (tabs > kMostTabsInText) {
        m_tabRuns.push_back({m_text.Size(), tabs});
        return;
    }
    for (std::uint32_t i = 0; i < tabs; i += sizeof(kSomeTabs)) std::memcpy(bytes + i, kSomeTabs, sizeof(kSomeTabs));
    m_text.Grow(tabs);
}

// The tag's end, with content to follow.
void CXmlComposer::EndTag(OpenElement& element) {
    PutAttributesInPlace();
    m_text.Append('>');
    element.hasContent = true;
    element.contentStart = m_text.Size();
}

void CXmlComposer::CloseDownTo(std::size_t levels) {
    for (; m_path.size() > levels; m_path.pop_back()) {
        const OpenElement& element = m_path.back();
        if (!element.hasContent) {
            PutAttributesInPlace();
            m_text.Append("/>");
            continue;
        }
        const std::string_view name = m_names.BytesOf(m_names[element.name]);
        char* bytes = m_text.Reserve(name.size() + 3);
        *bytes++ = '<';
        *bytes++ = '/';
        std::memcpy(bytes, name.data(), name.size());
        bytes[name.size()] = '>';
        m_text.Grow(name.size() + 3);
    }
}

HRESULT CXmlComposer::ReplaceByText(const ComposedNode& element, TextView text) {
    if (!IsOpen(element)) return E_UNEXPECTED;
    const XmlPlace place = IsBlank(text) ? XmlPlace::kVerbatim : XmlPlace::kText;
    OpenElement& open = m_path[element.level];
    if (!open.hasContent) {
        if (text.empty()) return S_OK;
        PutAttributesInPlace();
        CXmlBytesMark mark(m_text);
        m_text.Append('>');
        const std::size_t contentStart = m_text.Size();
        if (!AppendEscaped(m_text, text, place)) return E_INVALIDARG;
        open.hasContent = true;
        open.contentStart = contentStart;
        mark.Keep();
        return S_OK;
    }
    // Behind the present content first, which stays if XML cannot hold the text.
    CXmlBytesMark mark(m_text);
    if (!AppendEscaped(m_text, text, place)) return E_INVALIDARG;
    mark.Keep();
    m_path.resize(element.level + 1);
    while (!m_tabRuns.empty() && m_tabRuns.back().offset > open.contentStart) m_tabRuns.pop_back();
    m_text.MoveEndDown(mark.Size(), open.contentStart);
    return S_OK;
}

HRESULT CXmlComposer::SetAttribute(const ComposedNode& element, TextView name, TextView value) {
    if (!IsOpen(element) || element.level + 1 != m_path.size() || m_path.back().hasContent) return E_UNEXPECTED;
    std::uint32_t number = 0;
    if (!m_names.Find(name, number)) return E_INVALIDARG;
    XmlComposerName& entry = m_names[number];
    const std::string_view nameBytes = m_names.BytesOf(entry);

    CXmlBytesMark mark(m_text);
    char* bytes = m_text.Reserve(nameBytes.size() + 3);
    *bytes++ = ' ';
    std::memcpy(bytes, nameBytes.data(), nameBytes.size());
    bytes += nameBytes.size();
    *bytes++ = '=';
    *bytes = '"';
    m_text.Grow(nameBytes.size() + 3);
    if (!AppendEscaped(m_text, value, XmlPlace::kAttr)) return E_INVALIDARG;
    m_text.Append('"');

    const AttrSpan span = {mark.Size(), m_text.Size()};
    if (entry.attrOf == element.serial) {
        m_attrs[entry.attrIndex] = span;
        m_isAttrReplaced = true;
    } else {
        m_attrs.push_back(span);
        entry.attrOf = element.serial;
        entry.attrIndex = m_attrs.size() - 1;
    }
    mark.Keep();
    return S_OK;
}

// An attribute that was set again keeps its place among the others; its old text goes.
void CXmlComposer::MoveAttributesInPlace() {
    std::string tag;
    tag.reserve(m_text.Size() - m_attrsStart);
    for (AttrSpan& span : m_attrs) {
        const std::size_t begin = m_attrsStart + tag.size();
        tag.append(m_text.Data() + span.begin, span.end - span.begin);
        span = {begin, m_attrsStart + tag.size()};
    }
    m_text.Truncate(m_attrsStart);
    m_text.Append(tag);
    m_isAttrReplaced = false;
}

bool CXmlComposer::Save(const WCHAR* path) {
    if (m_isOtherEncoding) return false;
    CloseDownTo(0);
    COutputFile file;
    if (!file.Open(path)) return false;
    std::size_t done = 0;
    for (const TabRun& run : m_tabRuns) {
        file.Write(m_text.Data() + done, run.offset - done);
        WriteTabs(file, run.count);
        done = run.offset;
        if (file.HasFailed()) break;
    }
    if (m_text.Size() > done) file.Write(m_text.Data() + done, m_text.Size() - done);
    if (file.Close()) return true;
    RemoveFile(path);
    return false;
}
