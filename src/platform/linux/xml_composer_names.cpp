#include "platform/linux/xml_composer_names.h"

#include <algorithm>
#include <new>

#include "platform/hash.h"
#include "platform/utf8.h"

namespace {

constexpr std::size_t kFirstSlots = 256;
constexpr std::uint32_t kFreeSlot = 0xFFFFFFFF;
constexpr std::uint32_t kMostNames = 0x7FFFFFFF;

bool ToUtf8(TextView name, std::string& bytes) {
    std::size_t unitCount = 1;
    for (std::size_t i = 0; i < name.size(); i += unitCount) {
        const char32_t point = FirstPoint(name.substr(i), unitCount);
        if (point >= 0xD800 && point < 0xE000) return false;
        AppendUtf8(point, bytes);
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

std::size_t CXmlComposerNames::RecentKey(TextView name) {
    const std::size_t size = name.size();
    return size == 0 ? 0 : (size * 5 + name[0] * 3u + name[size / 2] * 7u + name[size - 1]) % kRecentCount;
}

bool CXmlComposerNames::Find(TextView name, std::uint32_t& number) {
    std::uint32_t& recent = m_recent[RecentKey(name)];
    if (!m_names.empty() && AreSame(UnitsOf(m_names[recent]), name)) {
        number = recent;
        return m_names[recent].isGood;
    }
    const bool isGood = Look(name, number);
    recent = number;
    return isGood;
}

bool CXmlComposerNames::Look(TextView name, std::uint32_t& number) {
    if (m_slots.empty()) m_slots.assign(kFirstSlots, kFreeSlot);
    if ((m_names.size() + 1) * 2 > m_slots.size()) Rehash();  // first: what fails here has changed nothing
    const std::uint32_t hash = HashBytes(name.data(), name.size() * sizeof(WCHAR));
    const std::size_t mask = m_slots.size() - 1;
    std::size_t i = hash & mask;
    for (; m_slots[i] != kFreeSlot; i = (i + 1) & mask) {
        const XmlComposerName& known = m_names[m_slots[i]];
        if (known.hash == hash && AreSame(UnitsOf(known), name)) {
            number = m_slots[i];
            return known.isGood;
        }
    }
    if (m_names.size() >= kMostNames) throw std::bad_alloc();
    std::string bytes;
    const bool isGood = !name.empty() && ToUtf8(name, bytes) && IsName(bytes);
    XmlComposerName entry = {m_texts.size(), static_cast<std::uint32_t>(name.size()), hash, m_bytes.size(),
                             bytes.size()};
    entry.isGood = isGood;
    m_texts += name;
    m_bytes += bytes;
    number = static_cast<std::uint32_t>(m_names.size());
    m_names.push_back(entry);
    m_slots[i] = number;
    return isGood;
}

bool CXmlComposerNames::IsName(std::string_view name) {
    const bool isAscii = std::none_of(name.begin(), name.end(), [](char c) { return static_cast<signed char>(c) < 0; });
    if (!isAscii) return ParserTakesName(name);
    return IsAsciiNameStart(name[0]) && std::all_of(name.begin(), name.end(), IsAsciiNameByte);
}

bool CXmlComposerNames::ParserTakesName(std::string_view name) {
    // Nothing that would make the tag anything else than this name.
    if (name.find_first_of(std::string_view(" \t\r\n/>=\"'<&;\0", 12)) != std::string_view::npos) return false;
    if (!m_parser) m_parser.reset(XML_ParserCreate("UTF-8"));
    if (!m_parser) throw std::bad_alloc();
    const std::string tag = "<" + std::string(name) + "/>";
    const XML_Status status = XML_Parse(m_parser.get(), tag.data(), static_cast<int>(tag.size()), XML_TRUE);
    const bool ranOut = XML_GetErrorCode(m_parser.get()) == XML_ERROR_NO_MEMORY;
    XML_ParserReset(m_parser.get(), "UTF-8");
    if (status != XML_STATUS_OK && ranOut) throw std::bad_alloc();
    return status == XML_STATUS_OK;
}

void CXmlComposerNames::Rehash() {
    std::vector<std::uint32_t> slots(m_slots.size() * 2, kFreeSlot);
    const std::size_t mask = slots.size() - 1;
    for (std::uint32_t number = 0; number < m_names.size(); ++number) {
        std::size_t i = m_names[number].hash & mask;
        while (slots[i] != kFreeSlot) i = (i + 1) & mask;
        slots[i] = number;
    }
    m_slots.swap(slots);
}
