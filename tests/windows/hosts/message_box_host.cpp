// message_box_host BAD.xml OUT.bdoc: a host that converts a file that is not well-formed. Tests copy it beside an ini
// file and close the message box that the library shows; what stood on it is then on standard output.
//
// The DOM's parse error speaks in set words here: systems differ in theirs, and some refuse to tell the place.
#include <windows.h>

#include <msxml2.h>
#include <shellapi.h>

#include <cstdio>

#include "../dll/library.h"
#include "../dll/patched_table.h"

namespace {

constexpr GUID kDocumentClass = {0xF5078F32, 0xC551, 0x11D3, {0x89, 0xB9, 0x00, 0x00, 0xF8, 0x1F, 0xE2, 0x21}};

template <LONG number>
HRESULT WINAPI GiveNumber(void*, LONG* out) {
    *out = number;
    return S_OK;
}

HRESULT WINAPI GiveReason(void*, BSTR* out) {
    *out = SysAllocString(L"ein Größenfehler\r\n");
    return S_OK;
}

HRESULT WINAPI GiveNoText(void*, BSTR* out) {
    *out = nullptr;
    return S_FALSE;
}

void Print(const char* label, const wchar_t* text) {
    char bytes[4096];
    WideCharToMultiByte(CP_UTF8, 0, text, -1, bytes, sizeof(bytes), nullptr, nullptr);
    std::printf("%s%s\n", label, bytes);
    std::fflush(stdout);
}

volatile LONG g_isOver = 0;

// Reads the box as it stands on the screen, and leaves it alone.
DWORD WINAPI Watch(void*) {
    const DWORD process = GetCurrentProcessId();
    while (!g_isOver) {
        const HWND box = FindWindowW(L"#32770", nullptr);
        DWORD owner = 0;
        if (box) GetWindowThreadProcessId(box, &owner);
        if (owner != process || !IsWindowVisible(box)) {
            Sleep(10);
            continue;
        }
        wchar_t text[2048] = {};
        GetWindowTextW(box, text, 2048);
        Print("title: ", text);
        GetDlgItemTextW(box, 0xFFFF, text, 2048);
        Print("text: ", text);
        for (HWND part = GetWindow(box, GW_CHILD); part; part = GetWindow(part, GW_HWNDNEXT)) {
            GetClassNameW(part, text, 2048);
            if (std::wstring(text) != L"Button") continue;
            GetWindowTextW(part, text, 2048);
            Print("button: ", text);
        }
        return 0;
    }
    return 0;
}

}  // namespace

int main() {
    int count = 0;
    wchar_t** arguments = CommandLineToArgvW(GetCommandLineW(), &count);
    if (count != 3) return 4;
    if (!Parvel().convert) return 3;
    const CHostSession com;
    IXMLDOMDocument* document = nullptr;
    IXMLDOMParseError* error = nullptr;
    CoCreateInstance(kDocumentClass, nullptr, CLSCTX_INPROC_SERVER, IID_IXMLDOMDocument,
                     reinterpret_cast<void**>(&document));
    if (!document || document->get_parseError(&error) != S_OK) return 5;
    {
        const PatchedTable patches[] = {
            {error, 9, reinterpret_cast<void*>(GiveReason)},      {error, 10, reinterpret_cast<void*>(GiveNoText)},
            {error, 11, reinterpret_cast<void*>(GiveNumber<2>)},  {error, 12, reinterpret_cast<void*>(GiveNumber<-3>)},
            {error, 13, reinterpret_cast<void*>(GiveNumber<17>)},
        };
        const HANDLE watcher = CreateThread(nullptr, 0, Watch, nullptr, 0, nullptr);
        std::printf("converting\n");
        std::fflush(stdout);
        const bool done = Parvel().convert(arguments[1], arguments[2]);
        g_isOver = 1;
        WaitForSingleObject(watcher, INFINITE);
        std::printf("result: %d\n", done ? 1 : 0);
    }
    error->Release();
    document->Release();
    return 0;
}
