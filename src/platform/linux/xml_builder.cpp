// Without it the parser's header does not declare what bounds the amplification.
#define XML_DTD

#include "platform/linux/xml_builder.h"

#include <algorithm>
#include <cstring>
#include <new>

namespace {

// A file may unfold to so many times its size, and any file to the fixed amounts. The densest XML without entities and
// default attributes has a node for each 2.5 bytes.
constexpr std::int64_t kNodesPerByte = 2;
constexpr std::int64_t kTextBytesPerByte = 8;
constexpr std::int64_t kLeastNodes = 1'000'000;
constexpr std::int64_t kLeastTextBytes = 8'000'000;

// The parser's own measure, for what it unfolds before it tells us anything: a long attribute value.
constexpr float kMostAmplification = 10;

// Older releases of the parser recurse for each entity within an entity, about a kilobyte each time.
constexpr int kMostNestingEntities = 1000;

// For each element, and for some of its attributes, the parser looks at everything that was declared for it.
constexpr std::uint32_t kMostDeclaredAttrs = 1000;

constexpr char kTooManyNodes[] = "the entities of this file unfold to too many nodes";
constexpr char kTooManyAttributes[] = "the default attributes of this file unfold to too many";
constexpr char kTooMuchText[] = "the entities and default attributes of this file unfold to too much text";
constexpr char kTooManyEntities[] = "too many entities refer to other entities";
constexpr char kBadVersion[] = "the version of XML is none: it must be 1.0";
constexpr char kTooManyDeclared[] = "too many attributes are declared for one element";

}  // namespace

// The parser is C: nothing may be thrown through it.
template <auto operation, class... Arguments>
void XMLCALL CXmlBuilder::Handle(void* builder, Arguments... arguments) noexcept {
    CXmlBuilder& self = *static_cast<CXmlBuilder*>(builder);
    if (self.m_isStopped) return;
    try {
        (self.*operation)(arguments...);
    } catch (...) {
        self.m_isOutOfMemory = true;
        self.Stop(nullptr);
    }
}

CXmlBuilder::CXmlBuilder(CXmlSink& sink, XML_Parser parser, std::size_t sourceBytes)
    : m_sink(sink),
      m_texts(sink.Texts()),
      m_names(sink.Names()),
      m_parser(parser),
      m_nodesLeft(std::max(kLeastNodes, static_cast<std::int64_t>(sourceBytes) * kNodesPerByte)),
      m_attrsLeft(m_nodesLeft),
      m_bytesLeft(std::max(kLeastTextBytes, static_cast<std::int64_t>(sourceBytes) * kTextBytesPerByte)),
      m_nestingEntitiesLeft(kMostNestingEntities),
      m_spaceName(m_names.Intern("xml:space")) {
    m_frames.push_back({0, false});
    sink.Expect(sourceBytes);
    using Self = CXmlBuilder;
    XML_SetUserData(parser, this);
    XML_SetElementHandler(parser, Handle<&Self::StartElement>, Handle<&Self::EndElement>);
    XML_SetCharacterDataHandler(parser, Handle<&Self::CharacterData>);
    XML_SetCdataSectionHandler(parser, Handle<&Self::StartCData>, Handle<&Self::EndCData>);
    XML_SetCommentHandler(parser, Handle<&Self::Comment>);
    XML_SetProcessingInstructionHandler(parser, Handle<&Self::ProcessingInstruction>);
    XML_SetXmlDeclHandler(parser, Handle<&Self::XmlDeclaration>);
    XML_SetDoctypeDeclHandler(parser, Handle<&Self::StartDoctype>, Handle<&Self::EndDoctype>);
    XML_SetEntityDeclHandler(parser, Handle<&Self::EntityDeclaration>);
    XML_SetAttlistDeclHandler(parser, Handle<&Self::AttributeDeclaration>);
    XML_SetSkippedEntityHandler(parser, Handle<&Self::SkippedEntity>);
    // Without a handler for external entities these are not read; a reference comes as it stands in the file. With one,
    // the parser would go through all entities for each reference.
    XML_SetDefaultHandlerExpand(parser, Handle<&Self::Unhandled>);
    XML_SetParamEntityParsing(parser, XML_PARAM_ENTITY_PARSING_ALWAYS);
    XML_SetBillionLaughsAttackProtectionMaximumAmplification(parser, kMostAmplification);
}

const XmlName* CXmlBuilder::OpenElement() const {
    return m_frames.size() > 1 ? &m_names[m_frames.back().name] : nullptr;
}

void CXmlBuilder::StartElement(const char* name, const char** attributes) {
    CloseText();
    if (!TakeFrom(m_nodesLeft, 1, kTooManyNodes)) return;
    std::size_t attrCount = 0;
    while (attributes[attrCount * 2]) ++attrCount;
    Frame frame = {m_names.Intern(name), m_frames.back().keepsBlanks};
    m_sink.StartElement(frame.name, attrCount);
    for (; *attributes; attributes += 2) AddAttribute(frame, attributes[0], attributes[1]);
    m_frames.push_back(frame);
}

void CXmlBuilder::AddAttribute(Frame& frame, const char* name, const char* value) {
    const std::size_t valueBytes = std::strlen(value);
    if (!TakeFrom(m_attrsLeft, 1, kTooManyAttributes)) return;
    if (!TakeFrom(m_bytesLeft, static_cast<std::int64_t>(valueBytes), kTooMuchText)) return;
    const std::uint32_t number = InternAttributeName(name);
    m_texts.Begin();
    m_texts.Append(value, valueBytes);
    m_sink.AddAttr(number, m_texts.Finish());
    if (number == m_spaceName) {
        const std::string_view mode(value, valueBytes);
        if (mode == "preserve" || mode == "default") frame.keepsBlanks = mode == "preserve";
    }
}

std::uint32_t CXmlBuilder::InternAttributeName(const char* name) {
    CachedName& cached = m_nameCache[(reinterpret_cast<std::uintptr_t>(name) >> 3) % kCachedNameCount];
    if (cached.bytes == name && std::strcmp(m_names[cached.number].bytes.data(), name) == 0) {
        return cached.number;
    }
    cached = {name, m_names.Intern(name)};
    return cached.number;
}

void CXmlBuilder::EndElement(const char*) {
    CloseText();
    m_sink.EndElement();
    m_frames.pop_back();
}

void CXmlBuilder::CharacterData(const char* bytes, int byteCount) {
    std::size_t count = static_cast<std::size_t>(byteCount);
    if (!TakeFrom(m_bytesLeft, byteCount, kTooMuchText)) return;
    if (!m_isTextOpen) {
        m_texts.Begin();
        m_isTextOpen = true;
        m_isTextBlank = !m_frames.back().keepsBlanks;
    }
    if (m_isTextBlank) {
        const std::size_t blankCount = m_texts.AppendBlanks(bytes, count);
        if (blankCount == count) return;
        m_isTextBlank = false;
        bytes += blankCount;
        count -= blankCount;
    }
    m_texts.Append(bytes, count);
}

void CXmlBuilder::CloseText() {
    if (!m_isTextOpen) return;
    m_isTextOpen = false;
    if (!m_isTextBlank) AddTextNode(NODE_TEXT, 0, m_texts.Finish());
}

void CXmlBuilder::StartCData() {
    CloseText();
    m_texts.Begin();
    m_isTextOpen = true;
    m_isTextBlank = false;
}

void CXmlBuilder::EndCData() {
    m_isTextOpen = false;
    AddTextNode(NODE_CDATA_SECTION, 0, m_texts.Finish());
}

void CXmlBuilder::AddTextNode(DOMNodeType type, std::uint32_t name, const WCHAR* text) {
    if (!TakeFrom(m_nodesLeft, 1, kTooManyNodes)) return;
    m_sink.AddTextNode(type, name, text);
}

void CXmlBuilder::Comment(const char* bytes) {
    if (m_isInDoctype) return;
    CloseText();
    m_texts.Begin();
    m_texts.Append(bytes, std::strlen(bytes));
    AddTextNode(NODE_COMMENT, 0, m_texts.Finish());
}

void CXmlBuilder::ProcessingInstruction(const char* target, const char* data) {
    if (m_isInDoctype) return;
    CloseText();
    const std::uint32_t name = m_names.Intern(target);
    m_texts.Begin();
    m_texts.Append(data, std::strlen(data));
    AddTextNode(NODE_PROCESSING_INSTRUCTION, name, m_texts.Finish());
}

void CXmlBuilder::SkippedEntity(const char* name, int isParameterEntity) {
    if (!isParameterEntity && !m_isInDoctype) AddEntityReference(name);
}

// What has no handler of its own: markup of the prolog, and within elements only "&name;" of an external entity.
void CXmlBuilder::Unhandled(const char* bytes, int byteCount) {
    const std::string_view token(bytes, static_cast<std::size_t>(byteCount));
    if (m_frames.size() > 1 && token.starts_with('&')) AddEntityReference(token.substr(1, token.size() - 2));
}

void CXmlBuilder::AddEntityReference(std::string_view name) {
    CloseText();
    const std::uint32_t number = m_names.Intern(name);
    m_texts.Begin();
    AddTextNode(NODE_ENTITY_REFERENCE, number, m_texts.Finish());
}

// The parser itself takes any version.
void CXmlBuilder::XmlDeclaration(const char* version, const char*, int) {
    const std::string_view text(version ? version : "1.0");
    const bool isWellFormed =
        text.size() > 2 && text.starts_with("1.") && text.find_first_not_of("0123456789", 2) == std::string_view::npos;
    if (!isWellFormed) Stop(kBadVersion);
}

void CXmlBuilder::AttributeDeclaration(const char* element, const char*, const char*, const char*, int) {
    const std::uint32_t number = m_names.Intern(element);
    if (number >= m_declaredAttrs.size()) m_declaredAttrs.resize(number + std::size_t{1});
    if (++m_declaredAttrs[number] > kMostDeclaredAttrs) Stop(kTooManyDeclared);
}

void CXmlBuilder::EntityDeclaration(const char*, int, const char* value, int valueBytes, const char*, const char*,
                                    const char*, const char*) {
    if (!value) return;
    const std::string_view text(value, static_cast<std::size_t>(valueBytes));
    bool refersToEntities = text.find('%') != std::string_view::npos;
    for (std::size_t i = text.find('&'); i != std::string_view::npos && !refersToEntities; i = text.find('&', i + 1)) {
        refersToEntities = text.substr(i + 1, 1) != "#";
    }
    if (refersToEntities && --m_nestingEntitiesLeft < 0) Stop(kTooManyEntities);
}

bool CXmlBuilder::TakeFrom(std::int64_t& rest, std::int64_t amount, const char* reason) {
    rest -= amount;
    if (rest >= 0) [[likely]]
        return true;
    Stop(reason);
    return false;
}

// The parser may still report a thing or two on its way out; Handle drops them.
void CXmlBuilder::Stop(const char* reason) {
    if (m_isStopped) return;
    m_isStopped = true;
    m_stopReason = reason;
    XML_StopParser(m_parser, XML_FALSE);
}
