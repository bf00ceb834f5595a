#include <windows.h>

#include <fcntl.h>
#include <io.h>
#include <objbase.h>
#include <shellapi.h>
#include <stdio.h>

#include "platform/program.h"
#include "platform/utf8.h"

CProgram::CProgram(int, char**) {
    int count = 0;
    if (WCHAR** arguments = CommandLineToArgvW(GetCommandLineW(), &count)) {
        for (int i = 1; i < count; ++i) m_arguments.push_back(TextToUtf8(arguments[i]));
        LocalFree(arguments);
    }
    CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);
    for (FILE* stream : {stdin, stdout, stderr}) _setmode(_fileno(stream), _O_BINARY);
    m_formerCodePage = GetConsoleOutputCP();  // 0 without a console
    if (m_formerCodePage != 0) SetConsoleOutputCP(CP_UTF8);
}

CProgram::~CProgram() {
    if (m_formerCodePage != 0) SetConsoleOutputCP(m_formerCodePage);
    CoUninitialize();
}
