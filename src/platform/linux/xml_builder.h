// Makes the nodes of what the parser reports.
//
// What the parser itself does not bound is bounded here, against small files that unfold to large trees: the number of
// nodes and attributes, the amount of text, how deeply entities may refer to each other, and how many attributes an
// element may be declared to have. Passing a bound stops the parser like any fault of the file. Nothing outside the
// file is ever read: a reference to an external entity becomes a node of its own. Parameter entities of the internal
// subset are the file's own, and taken in.
#pragma once

#include <expat.h>

#include <cstdint>
#include <vector>

#include "platform/linux/xml_sink.h"

class CXmlBuilder {
public:
    /// `sink` and `parser` are fresh; `sourceBytes` is the size of the XML in UTF-8.
    CXmlBuilder(CXmlSink& sink, XML_Parser parser, std::size_t sourceBytes);
    CXmlBuilder(const CXmlBuilder&) = delete;
    CXmlBuilder& operator=(const CXmlBuilder&) = delete;

    /// Why the parser was stopped from here: a sentence, or null.
    const char* StopReason() const { return m_stopReason; }
    bool IsOutOfMemory() const { return m_isOutOfMemory; }

    /// The innermost element that is open, or null.
    const XmlName* OpenElement() const;

private:
    struct Frame {
        std::uint32_t name;
        bool keepsBlanks;  // xml:space="preserve" is in force
    };
    struct CachedName {
        const char* bytes;
        std::uint32_t number;
    };
    static constexpr std::size_t kCachedNameCount = 256;

    template <auto operation, class... Arguments>
    static void XMLCALL Handle(void* builder, Arguments... arguments) noexcept;

    void StartElement(const char* name, const char** attributes);
    void EndElement(const char*);
    void CharacterData(const char* bytes, int byteCount);
    void StartCData();
    void EndCData();
    void Comment(const char* bytes);
    void ProcessingInstruction(const char* target, const char* data);
    void XmlDeclaration(const char* version, const char*, int);
    void StartDoctype(const char*, const char*, const char*, int) { m_isInDoctype = true; }
    void EndDoctype() { m_isInDoctype = false; }
    void EntityDeclaration(const char*, int, const char* value, int valueBytes, const char*, const char*, const char*,
                           const char*);
    void AttributeDeclaration(const char* element, const char*, const char*, const char*, int);
    void SkippedEntity(const char* name, int isParameterEntity);
    void Unhandled(const char* bytes, int byteCount);

    void CloseText();
    void AddTextNode(DOMNodeType type, std::uint32_t name, const WCHAR* text);
    void AddEntityReference(std::string_view name);
    void AddAttribute(Frame& frame, const char* name, const char* value);
    std::uint32_t InternAttributeName(const char* name);
    bool TakeFrom(std::int64_t& rest, std::int64_t amount, const char* reason);
    void Stop(const char* reason);

    CXmlSink& m_sink;
    CTextArena& m_texts;  // of the sink
    CXmlNames& m_names;   // of the sink
    XML_Parser m_parser;
    std::vector<Frame> m_frames;  // the document and the open elements
    bool m_isTextOpen = false;    // in m_texts
    bool m_isTextBlank = false;   // and so far holds nothing but white space that may be dropped
    bool m_isInDoctype = false;
    bool m_isStopped = false;
    bool m_isOutOfMemory = false;
    const char* m_stopReason = nullptr;
    std::int64_t m_nodesLeft;
    std::int64_t m_attrsLeft;
    std::int64_t m_bytesLeft;  // of texts and attribute values, in UTF-8
    int m_nestingEntitiesLeft;
    std::vector<std::uint32_t> m_declaredAttrs;  // of each element, by the number of its name
    std::uint32_t m_spaceName;                   // xml:space
    // The parser keeps one copy of each attribute's name: its address finds our number without hashing.
    CachedName m_nameCache[kCachedNameCount] = {};
};
