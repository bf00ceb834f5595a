// What several targets need.
#pragma once

#include <string>
#include <vector>

#include "parvel/parvel.h"
#include "platform/com_ptr.h"
#include "platform/text.h"
#include "targets.h"

/// Ends the process, naming the promise, when it does not hold.
void Require(bool holds, const char* promise);
/// The same, for two texts that must be equal; shows where they part.
void RequireEqual(const std::string& actual, const std::string& expected, const char* promise);

/// A file in memory that the library can open by its path.
class CMemoryFile {
public:
    CMemoryFile();
    ~CMemoryFile();
    CMemoryFile(const CMemoryFile&) = delete;
    CMemoryFile& operator=(const CMemoryFile&) = delete;

    const WCHAR* Path() const { return m_path.c_str(); }
    void Write(FuzzBytes bytes);
    std::vector<std::uint8_t> Read() const;

private:
    int m_handle;
    Text m_path;
};

/// A new, empty document.
CComRef<IBinDocument> NewDocument();

/// Everything that a tree answers, one node per line; asks each node for what has no place in the line, too. A text is
/// shown with its length in front, a null as "-". Not recursive.
std::string Describe(IBinNode* root);

/// Appends a text as Describe shows it.
void AppendText(const WCHAR* text, std::string& line);
