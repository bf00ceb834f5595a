#include "platform/linux/xml_encoding.h"

#include <iconv.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <new>
#include <string_view>

namespace {

struct NamedEncoding {
    const char* xmlName;    // in lower case
    const char* iconvName;  // null: UTF-8; empty: units of two or four bytes
};

constexpr NamedEncoding kEncodings[] = {
    {"utf-8", nullptr},
    {"utf8", nullptr},
    {"us-ascii", "US-ASCII"},
    {"ascii", "US-ASCII"},
    {"utf-16", ""},
    {"utf-16le", ""},
    {"utf-16be", ""},
    {"iso-10646-ucs-2", ""},
    {"ucs-2", ""},
    {"utf-32", ""},
    {"utf-32le", ""},
    {"utf-32be", ""},
    {"iso-10646-ucs-4", ""},
    {"ucs-4", ""},
    {"gb2312", "CP936"},
    {"gbk", "CP936"},
    {"cp936", "CP936"},
    {"gb18030", "GB18030"},
    {"big5", "CP950"},
    {"big5-hkscs", "BIG5-HKSCS"},
    {"shift_jis", "CP932"},
    {"shift-jis", "CP932"},
    {"x-sjis", "CP932"},
    {"windows-31j", "CP932"},
    {"euc-jp", "EUC-JP"},
    {"iso-2022-jp", "ISO-2022-JP"},
    {"euc-kr", "UHC"},
    {"ks_c_5601-1987", "UHC"},
    {"iso-2022-kr", "ISO-2022-KR"},
    {"koi8-r", "KOI8-R"},
    {"koi8-u", "KOI8-U"},
    {"tis-620", "CP874"},
    {"windows-874", "CP874"},
    {"windows-1250", "CP1250"},
    {"windows-1251", "CP1251"},
    {"windows-1252", "CP1252"},
    {"windows-1253", "CP1253"},
    {"windows-1254", "CP1254"},
    {"windows-1255", "CP1255"},
    {"windows-1256", "CP1256"},
    {"windows-1257", "CP1257"},
    {"windows-1258", "CP1258"},
    {"ibm437", "IBM437"},
    {"ibm850", "IBM850"},
    {"ibm852", "IBM852"},
    {"ibm855", "IBM855"},
    {"ibm866", "IBM866"},
    {"macintosh", "MACINTOSH"},
    {"maccyrillic", "MAC-CYRILLIC"},
    {"x-mac-cyrillic", "MAC-CYRILLIC"},
    {"latin1", "ISO-8859-1"},
    {"iso-8859-1", "ISO-8859-1"},
    {"iso-8859-2", "ISO-8859-2"},
    {"iso-8859-3", "ISO-8859-3"},
    {"iso-8859-4", "ISO-8859-4"},
    {"iso-8859-5", "ISO-8859-5"},
    {"iso-8859-6", "ISO-8859-6"},
    {"iso-8859-7", "ISO-8859-7"},
    {"iso-8859-8", "ISO-8859-8"},
    {"iso-8859-9", "ISO-8859-9"},
    {"iso-8859-10", "ISO-8859-10"},
    {"iso-8859-11", "ISO-8859-11"},
    {"iso-8859-13", "ISO-8859-13"},
    {"iso-8859-14", "ISO-8859-14"},
    {"iso-8859-15", "ISO-8859-15"},
    {"iso-8859-16", "ISO-8859-16"},
};

bool IsUtf8(const NamedEncoding& encoding) {
    return !encoding.iconvName;
}

bool HasBytes(const NamedEncoding& encoding) {
    return encoding.iconvName && *encoding.iconvName;
}

const NamedEncoding* FindEncoding(std::string_view name) {
    for (const NamedEncoding& known : kEncodings) {
        const bool isIt =
            std::equal(name.begin(), name.end(), known.xmlName, known.xmlName + std::strlen(known.xmlName),
                       [](char c, char lower) { return (c >= 'A' && c <= 'Z' ? c + ('a' - 'A') : c) == lower; });
        if (isIt) return &known;
    }
    return nullptr;
}

constexpr std::string_view kUtf8Mark = "\xEF\xBB\xBF";

struct Signature {
    std::string_view bytes;
    const char* iconvName;  // null: UTF-8
};

// The longer ones of two that start alike come first.
constexpr Signature kSignatures[] = {
    {kUtf8Mark, nullptr},
    {std::string_view("\xFF\xFE\0\0", 4), "UTF-32LE"},
    {std::string_view("\0\0\xFE\xFF", 4), "UTF-32BE"},
    {std::string_view("\xFF\xFE", 2), "UTF-16LE"},
    {std::string_view("\xFE\xFF", 2), "UTF-16BE"},
    {std::string_view("<\0\0\0", 4), "UTF-32LE"},
    {std::string_view("\0\0\0<", 4), "UTF-32BE"},
    {std::string_view("<\0", 2), "UTF-16LE"},
    {std::string_view("\0<", 2), "UTF-16BE"},
};

bool IsBlank(char byte) {
    return byte == ' ' || byte == '\t' || byte == '\r' || byte == '\n';
}

// Room for what a conversion keeps back.
constexpr std::size_t kKeptBytes = 32;

// An open conversion to UTF-8.
class CConverter {
public:
    explicit CConverter(const char* from)
        : m_handle(iconv_open("UTF-8", from)),
          m_joinsMarks(from == std::string_view("CP1255") || from == std::string_view("CP1258")) {}
    CConverter(const CConverter&) = delete;
    CConverter& operator=(const CConverter&) = delete;
    ~CConverter() {
        if (IsOpen()) iconv_close(m_handle);
    }

    bool IsOpen() const { return m_handle != reinterpret_cast<iconv_t>(-1); }

    /// 0, or what stopped it.
    int Run(const char*& source, std::size_t& sourceBytes, char*& target, std::size_t& targetBytes) {
        if (m_joinsMarks) return RunByteByByte(source, sourceBytes, target, targetBytes);
        return RunAll(source, sourceBytes, target, targetBytes);
    }

    /// Writes what the conversion has kept back, in case that more came to join it: a few bytes. `target` has room.
    void Finish(char*& target, std::size_t& targetBytes) { iconv(m_handle, nullptr, nullptr, &target, &targetBytes); }

private:
    int RunAll(const char*& source, std::size_t& sourceBytes, char*& target, std::size_t& targetBytes) {
        char* from = const_cast<char*>(source);  // iconv's signature; it does not write there
        const bool done = iconv(m_handle, &from, &sourceBytes, &target, &targetBytes) != static_cast<std::size_t>(-1);
        source = from;
        return done ? 0 : errno;
    }

    // Every byte stands for one character. Given more than one, iconv joins a letter and the mark behind it.
    int RunByteByByte(const char*& source, std::size_t& sourceBytes, char*& target, std::size_t& targetBytes) {
        for (; sourceBytes > 0; ++source, --sourceBytes) {
            char character[kKeptBytes];
            char* end = character;
            std::size_t room = sizeof(character);
            const char* from = source;
            std::size_t one = 1;
            if (const int stop = RunAll(from, one, end, room)) return stop;
            Finish(end, room);
            const std::size_t count = sizeof(character) - room;
            if (count > targetBytes) return E2BIG;
            std::memcpy(target, character, count);
            target += count;
            targetBytes -= count;
        }
        return 0;
    }

    iconv_t m_handle;
    bool m_joinsMarks;  // iconv does that in these encodings; the system that they come from does not
};

}  // namespace

XmlEncoding DetectXmlEncoding(const char* head, std::size_t byteCount) {
    const std::string_view bytes(head, std::min(byteCount, kXmlEncodingHeadBytes));
    XmlEncoding encoding;
    for (const Signature& signature : kSignatures) {
        if (!bytes.starts_with(signature.bytes)) continue;
        encoding.iconvName = signature.iconvName;
        encoding.kind = signature.iconvName ? XmlEncoding::Kind::kConverted : XmlEncoding::Kind::kUtf8;
        return encoding;
    }
    const std::string_view declared = DeclaredXmlEncoding(bytes);
    if (declared.empty()) return encoding;
    encoding.declaredName = declared;
    encoding.declaredOffset = static_cast<std::size_t>(declared.data() - head);
    const NamedEncoding* known = FindEncoding(declared);
    if (known) encoding.iconvName = known->iconvName;
    encoding.kind = !known             ? XmlEncoding::Kind::kUnknown
                    : IsUtf8(*known)   ? XmlEncoding::Kind::kUtf8
                    : HasBytes(*known) ? XmlEncoding::Kind::kConverted
                                       : XmlEncoding::Kind::kOtherWidth;
    return encoding;
}

// The syntax of the declaration is the parser's matter.
std::string_view DeclaredXmlEncoding(std::string_view utf8) {
    constexpr std::string_view kOpening = "<?xml";
    constexpr std::string_view kKey = "encoding";
    std::string_view head = utf8.substr(0, kXmlEncodingHeadBytes);
    if (head.starts_with(kUtf8Mark)) head.remove_prefix(kUtf8Mark.size());
    if (!head.starts_with(kOpening) || head.size() == kOpening.size() || !IsBlank(head[kOpening.size()])) return {};
    head = head.substr(0, head.find("?>"));
    const std::size_t key = head.find(kKey);
    if (key == std::string_view::npos || !IsBlank(head[key - 1])) return {};
    std::size_t i = key + kKey.size();
    const auto skipBlanks = [&] {
        while (i < head.size() && IsBlank(head[i])) ++i;
    };
    skipBlanks();
    if (i == head.size() || head[i] != '=') return {};
    ++i;
    skipBlanks();
    if (i == head.size() || (head[i] != '"' && head[i] != '\'')) return {};
    const std::size_t end = head.find(head[i], i + 1);
    return end == std::string_view::npos ? std::string_view() : head.substr(i + 1, end - i - 1);
}

bool IsByteEncoding(std::string_view name) {
    const NamedEncoding* known = FindEncoding(name);
    return known && (IsUtf8(*known) || HasBytes(*known));
}

XmlConversion ConvertXmlToUtf8(const XmlEncoding& encoding, const char* bytes, std::size_t byteCount, XmlBytes& utf8,
                               std::size_t& badOffset) {
    utf8 = {};
    badOffset = 0;
    CConverter converter(encoding.iconvName);
    if (!converter.IsOpen()) return XmlConversion::kNoConverter;
    const char* source = bytes;
    std::size_t sourceBytes = byteCount;
    std::size_t capacity = byteCount + byteCount / 2 + 2 * kKeptBytes;
    utf8.bytes = std::make_unique_for_overwrite<char[]>(capacity);
    utf8.size = 0;
    while (true) {
        char* target = utf8.bytes.get() + utf8.size;
        std::size_t room = capacity - utf8.size - kKeptBytes;
        const int stop = converter.Run(source, sourceBytes, target, room);
        room += kKeptBytes;
        if (stop != E2BIG) converter.Finish(target, room);
        utf8.size = capacity - room;
        if (stop == 0) return XmlConversion::kDone;
        if (stop != E2BIG) break;
        XmlBytes larger = {std::make_unique_for_overwrite<char[]>(capacity * 2), utf8.size};
        std::memcpy(larger.bytes.get(), utf8.bytes.get(), utf8.size);
        utf8 = std::move(larger);
        capacity *= 2;
    }
    badOffset = static_cast<std::size_t>(source - bytes);
    return XmlConversion::kMeaningless;
}

std::size_t SourceOffsetOf(const XmlEncoding& encoding, const char* bytes, std::size_t byteCount,
                           std::size_t utf8Offset) {
    CConverter converter(encoding.iconvName);
    if (!converter.IsOpen()) return 0;
    const char* source = bytes;
    std::size_t sourceBytes = byteCount;
    char sink[4096];
    while (utf8Offset > 0) {
        char* target = sink;
        std::size_t room = std::min(utf8Offset, sizeof(sink));
        const std::size_t offered = room;
        converter.Run(source, sourceBytes, target, room);
        if (room == offered) break;
        utf8Offset -= offered - room;
    }
    return static_cast<std::size_t>(source - bytes);
}
