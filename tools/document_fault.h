// Why the library's reader refuses a binary document: it only says that it does.
#pragma once

#include <cstdint>
#include <string>

#include "platform/handle.h"

enum class DocumentFlaw {
    NotInDictionary,  // the words are well; what is wrong lies in the records behind them
    TooManyWords,
    WordTooLong,
    NegativeLength,
    CutShort,
};

struct DocumentFault {
    DocumentFlaw flaw = DocumentFlaw::NotInDictionary;
    std::uint64_t offset = 0;     // of the first byte that is wrong or missing; of the first record
    std::uint32_t wordIndex = 0;  // the word at fault
    std::string text;             // what is wrong, as a clause: "word 3 has 1024002 bytes ..."
    bool looksLikeXml = false;
};

/// Reads the dictionary block of an ordinary file.
DocumentFault FindDocumentFault(const CHandle& file);
