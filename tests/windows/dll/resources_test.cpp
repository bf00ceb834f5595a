// The data that the library file carries, byte for byte where it is text.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <vector>

#include <windows.h>

#include <oleauto.h>

#include "library.h"

namespace {

constexpr WORD kSimplified = 2052;
constexpr WORD kTraditional = 1028;
constexpr WORD kEnglish = 1033;

std::string Resource(const wchar_t* type, const wchar_t* name, WORD language) {
    const HMODULE module = Parvel().module;
    const HRSRC place = FindResourceExW(module, type, name, language);
    const HGLOBAL data = place ? LoadResource(module, place) : nullptr;
    const void* bytes = data ? LockResource(data) : nullptr;
    return bytes ? std::string(static_cast<const char*>(bytes), SizeofResource(module, place)) : "(none)";
}

std::wstring Identifier(const wchar_t* name) {
    return IS_INTRESOURCE(name) ? std::to_wstring(reinterpret_cast<std::uintptr_t>(name)) : name;
}

std::vector<std::wstring> g_found;

BOOL CALLBACK OnLanguage(HMODULE, const wchar_t* type, const wchar_t* name, WORD language, LONG_PTR) {
    g_found.push_back(Identifier(type) + L" " + Identifier(name) + L" " + std::to_wstring(language));
    return TRUE;
}

BOOL CALLBACK OnName(HMODULE module, const wchar_t* type, wchar_t* name, LONG_PTR) {
    return EnumResourceLanguagesW(module, type, name, OnLanguage, 0);
}

BOOL CALLBACK OnType(HMODULE module, wchar_t* type, LONG_PTR) {
    return EnumResourceNamesW(module, type, OnName, 0);
}

TEST(DllResources, AreTheseAndNoOthers) {
    g_found.clear();
    ASSERT_TRUE(EnumResourceTypesW(Parvel().module, OnType, 0));
    std::sort(g_found.begin(), g_found.end());
    // The strings 100 and 102 lie in block 7 of sixteen strings each.
    const std::vector<std::wstring> expected = {L"16 1 1028", L"24 2 1033", L"6 7 1028", L"REGISTRY 103 2052",
                                                L"TYPELIB 1 1028"};
    EXPECT_EQ(g_found, expected);
}

TEST(DllResources, RegistrationScript) {
    std::string expected =
        "HKCR\n"
        "{\n"
        "\tLodan.BinaryDocument.1 = s 'BinaryDocument Class'\n"
        "\t{\n"
        "\t\tCLSID = s '{A7F748F6-E792-4F66-8DC7-3F4C65FE4C8B}'\n"
        "\t}\n"
        "\tLodan.BinaryDocument = s 'BinaryDocument Class'\n"
        "\t{\n"
        "\t\tCLSID = s '{A7F748F6-E792-4F66-8DC7-3F4C65FE4C8B}'\n"
        "\t}\n"
        "\tNoRemove CLSID\n"
        "\t{\n"
        "\t\tForceRemove {A7F748F6-E792-4F66-8DC7-3F4C65FE4C8B} = s 'BinaryDocument Class'\n"
        "\t\t{\n"
        "\t\t\tProgID = s 'Lodan.BinaryDocument.1'\n"
        "\t\t\tVersionIndependentProgID = s 'Lodan.BinaryDocument'\n"
        "\t\t\tInprocServer32 = s '%MODULE%'\n"
        "\t\t\t{\n"
        "\t\t\t\tval ThreadingModel = s 'both'\n"
        "\t\t\t}\n"
        "\t\t}\n"
        "\t}\n"
        "}\n";
    for (std::size_t i = 0; (i = expected.find('\n', i)) != std::string::npos; i += 2) expected.insert(i, 1, '\r');
    EXPECT_EQ(Resource(L"REGISTRY", MAKEINTRESOURCEW(103), kSimplified), expected);
}

TEST(DllResources, TypeLibrary) {
    wchar_t path[MAX_PATH] = {};
    GetModuleFileNameW(Parvel().module, path, MAX_PATH - 1);
    ITypeLib* library = nullptr;
    ASSERT_EQ(LoadTypeLibEx(path, REGKIND_NONE, &library), S_OK);
    EXPECT_EQ(library->GetTypeInfoCount(), 0u);
    TLIBATTR* attributes = nullptr;
    ASSERT_EQ(library->GetLibAttr(&attributes), S_OK);
    const GUID expected = {0xBAB51F1E, 0x9526, 0x4F31, {0x8C, 0xC9, 0x63, 0xAE, 0xE7, 0x43, 0x06, 0x92}};
    EXPECT_TRUE(attributes->guid == expected);
    EXPECT_EQ(attributes->lcid, 0x0409u);
    EXPECT_EQ(attributes->wMajorVerNum, 1);
    EXPECT_EQ(attributes->wMinorVerNum, 0);
    library->ReleaseTLibAttr(attributes);
    BSTR name = nullptr;
    BSTR help = nullptr;
    ASSERT_EQ(library->GetDocumentation(-1, &name, &help, nullptr, nullptr), S_OK);
    EXPECT_EQ(std::wstring(name), L"LODANLib");
    EXPECT_EQ(std::wstring(help), L"Lodan 1.0 Type Library");
    SysFreeString(name);
    SysFreeString(help);
    library->Release();
}

TEST(DllResources, Strings) {
    wchar_t text[64] = {};
    EXPECT_GT(LoadStringW(Parvel().module, 100, text, 64), 0);
    EXPECT_EQ(std::wstring(text), L"Lodan");
    EXPECT_GT(LoadStringW(Parvel().module, 102, text, 64), 0);
    EXPECT_EQ(std::wstring(text), L"BinaryDocument Class");
    EXPECT_EQ(LoadStringW(Parvel().module, 101, text, 64), 0);
}

TEST(DllResources, Version) {
    std::string block = Resource(MAKEINTRESOURCEW(16), MAKEINTRESOURCEW(1), kTraditional);
    block.resize(block.size() + 1024);  // the look-up may use room behind it
    void* value = nullptr;
    UINT size = 0;
    ASSERT_TRUE(VerQueryValueW(block.data(), L"\\", &value, &size));
    VS_FIXEDFILEINFO fixed = {};
    ASSERT_EQ(size, sizeof(fixed));
    std::memcpy(&fixed, value, sizeof(fixed));
    EXPECT_EQ(fixed.dwFileVersionMS, 0x00010001u);
    EXPECT_EQ(fixed.dwFileVersionLS, 0u);
    EXPECT_EQ(fixed.dwProductVersionMS, 0x00010001u);
    EXPECT_EQ(fixed.dwProductVersionLS, 0u);
    EXPECT_EQ(fixed.dwFileType, static_cast<DWORD>(VFT_DLL));
    EXPECT_EQ(fixed.dwFileOS, 4u);
    const struct {
        const wchar_t* field;
        const wchar_t* expected;
    } rows[] = {
        {L"FileDescription", L"Parvel"},     {L"FileVersion", L"1.1.0.0"},    {L"InternalName", L"Lodan"},
        {L"OriginalFilename", L"Lodan.DLL"}, {L"ProductVersion", L"1.1.0.0"},
    };
    for (const auto& row : rows) {
        const std::wstring name = std::wstring(L"\\StringFileInfo\\040904b0\\") + row.field;
        ASSERT_TRUE(VerQueryValueW(block.data(), name.c_str(), &value, &size)) << testing::PrintToString(name);
        EXPECT_EQ(std::wstring(static_cast<const wchar_t*>(value)), row.expected);
    }
    ASSERT_TRUE(VerQueryValueW(block.data(), L"\\VarFileInfo\\Translation", &value, &size));
    EXPECT_EQ(std::memcmp(value, "\x09\x04\xB0\x04", 4), 0);
}

TEST(DllResources, Manifest) {
    const std::string manifest = Resource(MAKEINTRESOURCEW(24), MAKEINTRESOURCEW(2), kEnglish);
    EXPECT_NE(manifest.find("<requestedExecutionLevel level=\"asInvoker\" uiAccess=\"false\"/>"), std::string::npos);
    EXPECT_NE(manifest.find("<dpiAware>true</dpiAware>"), std::string::npos);
}

}  // namespace
