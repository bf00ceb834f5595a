#include "document_fault.h"

#include <algorithm>
#include <string>
#include <string_view>

#include "escape.h"

namespace {

// What the reader accepts.
constexpr std::uint32_t kMostWords = 1000000;
constexpr std::int32_t kMostWordBytes = 1024000;

constexpr std::size_t kShownUnits = 24;

// A file from front to back, through a buffer; nobody else's position is moved.
class CByteReader {
public:
    explicit CByteReader(const CHandle& file) : m_file(file), m_buffer(64 * 1024, '\0') {}

    std::uint64_t Offset() const { return m_bufferOffset + m_used; }

    /// Up to `count` bytes; fewer at the end of the file only. Stays valid until the next call.
    std::string_view Read(std::size_t count) {
        if (m_filled - m_used < count) Refill();
        const std::string_view bytes = std::string_view(m_buffer).substr(m_used, std::min(count, m_filled - m_used));
        m_used += bytes.size();
        return bytes;
    }

    void Skip(std::uint64_t count) {
        const std::uint64_t buffered = std::min<std::uint64_t>(count, m_filled - m_used);
        m_used += static_cast<std::size_t>(buffered);
        if (buffered == count) return;
        m_bufferOffset = Offset() + (count - buffered);
        m_used = m_filled = 0;
    }

    bool ReadNumber(std::uint32_t& number) {
        const std::string_view bytes = Read(4);
        if (bytes.size() < 4) return false;
        number = 0;
        for (std::size_t i = 4; i-- > 0;) number = number << 8 | static_cast<unsigned char>(bytes[i]);
        return true;
    }

private:
    void Refill() {
        m_bufferOffset += m_used;
        m_used = m_filled = 0;
        while (m_filled < m_buffer.size()) {
            const std::size_t got =
                m_file.ReadAt(m_bufferOffset + m_filled, m_buffer.data() + m_filled, m_buffer.size() - m_filled);
            if (got == 0) return;
            m_filled += got;
        }
    }

    const CHandle& m_file;
    std::string m_buffer;
    std::uint64_t m_bufferOffset = 0;  // of the buffer in the file
    std::size_t m_used = 0;
    std::size_t m_filled = 0;
};

bool LooksLikeXml(std::string_view bytes) {
    for (const std::string_view mark : {"\xEF\xBB\xBF", "\xFF\xFE", "\xFE\xFF"}) {
        if (bytes.starts_with(mark)) bytes.remove_prefix(mark.size());
    }
    const std::size_t first = bytes.find_first_not_of(std::string_view(" \t\r\n\0", 5));
    return first != std::string_view::npos && bytes[first] == '<';
}

std::string FirstCharacters(std::string_view bytes) {
    Text text;
    for (std::size_t i = 0; i + 1 < bytes.size(); i += 2) {
        text +=
            static_cast<WCHAR>(static_cast<unsigned char>(bytes[i]) | static_cast<unsigned char>(bytes[i + 1]) << 8);
    }
    std::string quoted;
    AppendQuoted(text, kShownUnits, quoted);
    return quoted;
}

DocumentFault CutShort(DocumentFault fault, const std::string& what, std::uint64_t offset) {
    fault.flaw = DocumentFlaw::CutShort;
    fault.offset = offset;
    fault.text = what;
    return fault;
}

}  // namespace

DocumentFault FindDocumentFault(const CHandle& file) {
    DocumentFault fault;
    fault.looksLikeXml = LooksLikeXml(CByteReader(file).Read(64));

    CByteReader reader(file);
    const std::uint64_t fileBytes = file.Size();
    std::uint32_t wordCount = 0;
    if (fileBytes == 0) return CutShort(fault, "the file is empty", 0);
    if (!reader.ReadNumber(wordCount)) return CutShort(fault, "the file ends within the number of words", fileBytes);
    if (wordCount > kMostWords) {
        fault.flaw = DocumentFlaw::TooManyWords;
        fault.text = "it has " + std::to_string(wordCount) + " words, more than the " + std::to_string(kMostWords) +
                     " that a document may have";
        return fault;
    }
    for (std::uint32_t i = 0; i < wordCount; ++i) {
        fault.wordIndex = i;
        fault.offset = reader.Offset();
        std::uint32_t lengthField = 0;
        const std::string word = "word " + std::to_string(i);
        if (!reader.ReadNumber(lengthField)) {
            return CutShort(fault, "the file ends before " + word + " of " + std::to_string(wordCount), fileBytes);
        }
        const std::int32_t byteCount = static_cast<std::int32_t>(lengthField);
        if (byteCount < 0) {
            fault.flaw = DocumentFlaw::NegativeLength;
            fault.text = word + " has a length of " + std::to_string(byteCount) + " bytes";
            return fault;
        }
        if (byteCount > kMostWordBytes) {
            fault.flaw = DocumentFlaw::WordTooLong;
            fault.text = word + " has " + std::to_string(byteCount) + " bytes, more than the " +
                         std::to_string(kMostWordBytes) + " that a word may have; it starts " +
                         FirstCharacters(reader.Read(4 * kShownUnits));
            return fault;
        }
        // An odd length counts as the even one below it.
        reader.Skip(lengthField & ~1u);
        if (fault.offset + 4 + lengthField > fileBytes) {
            return CutShort(fault, "the file ends within " + word + " of " + std::to_string(wordCount), fileBytes);
        }
    }
    fault.offset = reader.Offset();
    fault.text = "the records behind its " + std::to_string(wordCount) + " words are cut short or damaged";
    return fault;
}
