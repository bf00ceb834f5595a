// The names of a document in the making: each once, in UTF-8, with what was found out about it.
#pragma once

#include <expat.h>

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "platform/text.h"

struct XmlComposerName {
    std::size_t textOffset;  // its units in the table of texts
    std::uint32_t unitCount;
    std::uint32_t hash;
    std::size_t byteOffset;  // its UTF-8 in the table of bytes
    std::size_t byteCount;
    std::uint64_t attrOf = 0;   // number of the element that had an attribute of this name last
    std::size_t attrIndex = 0;  // and which of its attributes it was
    bool isGood = false;        // a name in XML; what is none is remembered too
};

class CXmlComposerNames {
public:
    /// False for a text that is no name in XML.
    bool Find(TextView name, std::uint32_t& number);

    XmlComposerName& operator[](std::uint32_t number) { return m_names[number]; }
    const XmlComposerName& operator[](std::uint32_t number) const { return m_names[number]; }

    TextView UnitsOf(const XmlComposerName& name) const { return {m_texts.data() + name.textOffset, name.unitCount}; }
    std::string_view BytesOf(const XmlComposerName& name) const {
        return {m_bytes.data() + name.byteOffset, name.byteCount};
    }

private:
    struct ParserDeleter {
        void operator()(XML_Parser parser) const { XML_ParserFree(parser); }
    };

    // A few names come again and again: the last one of each of these keys is tried first.
    static constexpr std::size_t kRecentCount = 256;
    static std::size_t RecentKey(TextView name);

    bool Look(TextView name, std::uint32_t& number);
    bool IsName(std::string_view name);
    bool ParserTakesName(std::string_view name);
    void Rehash();

    std::uint32_t m_recent[kRecentCount] = {};  // numbers
    std::vector<XmlComposerName> m_names;
    std::vector<std::uint32_t> m_slots;  // numbers, open addressing, a power of two at most half full
    Text m_texts;
    std::string m_bytes;
    std::unique_ptr<XML_ParserStruct, ParserDeleter> m_parser;
};
