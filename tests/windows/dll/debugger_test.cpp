// What the library tells a debugger. Here the text is caught on its way from the library to the system.
#include <gtest/gtest.h>

#include <cstring>
#include <vector>

#include "library.h"
#include "patched_table.h"

namespace {

// Where a module keeps the address of a function that it imports.
void** ImportedFunction(HMODULE module, const char* name) {
    unsigned char* base = reinterpret_cast<unsigned char*>(module);
    const auto at = [&]<class T>(T*, DWORD offset) { return reinterpret_cast<T*>(base + offset); };
    IMAGE_DOS_HEADER* dosHeader = nullptr;
    IMAGE_NT_HEADERS32* headers = nullptr;
    IMAGE_IMPORT_DESCRIPTOR* library = nullptr;
    IMAGE_THUNK_DATA32* thunk = nullptr;
    IMAGE_IMPORT_BY_NAME* import = nullptr;
    dosHeader = at(dosHeader, 0);
    headers = at(headers, static_cast<DWORD>(dosHeader->e_lfanew));
    library = at(library, headers->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_IMPORT].VirtualAddress);
    for (; library->Name != 0; ++library) {
        thunk = at(thunk, library->OriginalFirstThunk);
        for (DWORD i = 0; thunk[i].u1.AddressOfData != 0; ++i) {
            if (thunk[i].u1.Ordinal & IMAGE_ORDINAL_FLAG32) continue;
            import = at(import, thunk[i].u1.AddressOfData);
            void** places = nullptr;
            if (std::strcmp(reinterpret_cast<const char*>(import->Name), name) == 0) {
                return at(places, library->FirstThunk) + i;
            }
        }
    }
    return nullptr;
}

std::vector<std::wstring> g_told;

void WINAPI TakeText(const wchar_t* text) {
    g_told.push_back(text);
}

TEST(DllDebugger, IsToldOfRecordsOfUnknownType) {
    // An element with two children whose first record is of no known type.
    const char bytes[] = "\1\0\0\0\2\0\0\0a\0\1\0\0\0\0\xFF\xFF\xFF\xFF\0\0\0\0\2\0\0\0\x09";
    void** place = ImportedFunction(Parvel().module, "OutputDebugStringW");
    ASSERT_NE(place, nullptr);
    IBinDocument* document = nullptr;
    Parvel().query(&IID_IBinDocument, &document);
    {
        const PatchedTable patch(&place, 0, reinterpret_cast<void*>(TakeText));
        EXPECT_TRUE(document->LoadFromBuffer(bytes));
    }
    EXPECT_EQ(g_told, std::vector<std::wstring>(2, L"解析文档节点出现异常！"));
    EXPECT_TRUE(document->LoadFromBuffer(bytes)) << "told to the system itself";
    document->Release();
}

}  // namespace
