// Bytes of a document, part by part.
#pragma once

#include <cstdint>
#include <initializer_list>
#include <string>
#include <vector>

#include "model/layout.h"

using Bytes = std::vector<unsigned char>;

class CBytes {
public:
    CBytes& Number(std::uint32_t number) {
        for (int shift = 0; shift < 32; shift += 8) m_bytes.push_back(static_cast<unsigned char>(number >> shift));
        return *this;
    }
    CBytes& Raw(std::initializer_list<int> bytes) {
        for (const int value : bytes) m_bytes.push_back(static_cast<unsigned char>(value));
        return *this;
    }
    CBytes& Word(const std::u16string& text) {
        Number(static_cast<std::uint32_t>(text.size() * 2));
        for (const char16_t unit : text) Raw({unit & 0xFF, unit >> 8});
        return *this;
    }
    template <class Texts = std::initializer_list<std::u16string>>
    CBytes& Words(const Texts& words) {
        Number(static_cast<std::uint32_t>(words.size()));
        for (const std::u16string& word : words) Word(word);
        return *this;
    }
    /// The attributes as their table has them: the words of a name and of its value, in turn.
    CBytes& Element(std::uint32_t name, std::int32_t childCount, const std::vector<std::uint32_t>& attrs = {},
                    std::uint32_t own = kNoWord) {
        Head(name, own, static_cast<std::uint32_t>(attrs.size() / 2), static_cast<std::uint32_t>(childCount));
        for (const std::uint32_t word : attrs) Number(word);
        return *this;
    }
    /// An element's record up to its table, with any counts.
    CBytes& Head(std::uint32_t name, std::uint32_t own, std::uint32_t attrCount, std::uint32_t childCount) {
        return Raw({1}).Number(name).Number(own).Number(attrCount).Number(childCount);
    }
    CBytes& TextNode(std::uint32_t word, int type = 3) { return Raw({type}).Number(word); }
    operator const Bytes&() const { return m_bytes; }

private:
    Bytes m_bytes;
};
