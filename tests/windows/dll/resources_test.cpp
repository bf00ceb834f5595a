// The data that the library file carries, as those read it that it is for. Its types, names and languages are checked
// with the file's headers.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <vector>

#include <windows.h>

#include <oleauto.h>

#include "library.h"
#include "platform/com_ptr.h"

// The first operations of a registrar as installers use it, the class {44EC053A-400F-11D0-9DCD-00A0C90391D3} of the
// system's atl.dll. Outside the namespace below, in which the compiler would know all classes that have them: none.
struct IRegistrar : IUnknown {
    virtual HRESULT WINAPI AddReplacement(const wchar_t* key, const wchar_t* item) = 0;
    virtual HRESULT WINAPI ClearReplacements() = 0;
    virtual HRESULT WINAPI ResourceRegisterSz(const wchar_t* file, const wchar_t* name, const wchar_t* type) = 0;
    virtual HRESULT WINAPI ResourceUnregisterSz(const wchar_t* file, const wchar_t* name, const wchar_t* type) = 0;
};

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

CComRef<IRegistrar> NewRegistrar() {
    void* address = reinterpret_cast<void*>(GetProcAddress(LoadLibraryW(L"atl.dll"), "DllGetClassObject"));
    const auto getClass = reinterpret_cast<HRESULT(WINAPI*)(const GUID&, const IID&, void**)>(address);
    GUID id = {0x44EC053A, 0x400F, 0x11D0, {0x9D, 0xCD, 0x00, 0xA0, 0xC9, 0x03, 0x91, 0xD3}};
    void* made = nullptr;
    CheckCom(getClass(id, IID_IClassFactory, &made));
    const auto factory = CComRef<IClassFactory>::Adopt(static_cast<IClassFactory*>(made));
    ++id.Data1;  // of the interface
    CheckCom(factory->CreateInstance(nullptr, id, &made));
    return CComRef<IRegistrar>::Adopt(static_cast<IRegistrar*>(made));
}

std::wstring LibraryPath() {
    wchar_t path[MAX_PATH] = {};
    GetModuleFileNameW(Parvel().module, path, MAX_PATH - 1);
    return path;
}

// All keys below a key, indented by their depth, each with its unnamed value and the one named ThreadingModel.
std::wstring Dump(HKEY key, const std::wstring& indent = L"") {
    std::wstring dump;
    wchar_t text[260];
    for (DWORD i = 0; RegEnumKeyW(key, i, text, 260) == 0; ++i) {
        const std::wstring name = text;
        dump += indent + name;
        for (const wchar_t* value : {L"", L"ThreadingModel"}) {
            DWORD size = sizeof(text);
            if (RegGetValueW(key, name.c_str(), value, RRF_RT_REG_SZ, nullptr, text, &size) != 0) continue;
            dump += std::wstring(L" ") + value + L"=" + text;
        }
        HKEY child = nullptr;
        RegOpenKeyW(key, name.c_str(), &child);
        dump += L"\n" + Dump(child, indent + L" ");
        RegCloseKey(child);
    }
    return dump;
}

TEST(DllResources, RegistrationScriptIsWhatARegistrarTakes) {
    const std::string script = Resource(L"REGISTRY", MAKEINTRESOURCEW(103), kSimplified);
    EXPECT_EQ(script.substr(0, 10) + script.substr(script.size() - 3), "HKCR\r\n{\r\n\t}\r\n");
    EXPECT_EQ(std::count(script.begin(), script.end(), '\n'), std::count(script.begin(), script.end(), '\r'));
    const auto isOdd = [](char c) { return (c < ' ' || c > '~') && c != '\t' && c != '\r' && c != '\n'; };
    EXPECT_TRUE(std::none_of(script.begin(), script.end(), isOdd));

    // Applied, to a registry of this test's own.
    const std::wstring scratch = L"Software\\parvel-test-" + std::to_wstring(GetCurrentProcessId());
    HKEY root = nullptr;
    ASSERT_EQ(RegCreateKeyW(HKEY_CURRENT_USER, scratch.c_str(), &root), 0);
    for (const wchar_t* name : {L"CLSID\\{A7F748F6-E792-4F66-8DC7-3F4C65FE4C8B}\\Former", L"CLSID\\Other"}) {
        HKEY key = nullptr;
        RegCreateKeyW(root, name, &key);
        RegCloseKey(key);
    }
    const std::wstring path = LibraryPath();
    const auto registrar = NewRegistrar();
    registrar->AddReplacement(L"MODULE", path.c_str());
    RegOverridePredefKey(HKEY_CLASSES_ROOT, root);
    EXPECT_EQ(registrar->ResourceRegisterSz(path.c_str(), MAKEINTRESOURCEW(103), L"REGISTRY"), S_OK);
    const std::wstring applied = Dump(root);
    EXPECT_EQ(registrar->ResourceUnregisterSz(path.c_str(), MAKEINTRESOURCEW(103), L"REGISTRY"), S_OK);
    const std::wstring left = Dump(root);
    RegOverridePredefKey(HKEY_CLASSES_ROOT, nullptr);
    RegCloseKey(root);
    RegDeleteTreeW(HKEY_CURRENT_USER, scratch.c_str());

    EXPECT_EQ(applied,
              L"CLSID\n"
              L" Other\n"
              L" {A7F748F6-E792-4F66-8DC7-3F4C65FE4C8B} =BinaryDocument Class\n"
              L"  InprocServer32 =" +
                  path +
                  L" ThreadingModel=both\n"
                  L"  ProgID =Lodan.BinaryDocument.1\n"
                  L"  VersionIndependentProgID =Lodan.BinaryDocument\n"
                  L"Lodan.BinaryDocument =BinaryDocument Class\n"
                  L" CLSID ={A7F748F6-E792-4F66-8DC7-3F4C65FE4C8B}\n"
                  L"Lodan.BinaryDocument.1 =BinaryDocument Class\n"
                  L" CLSID ={A7F748F6-E792-4F66-8DC7-3F4C65FE4C8B}\n");
    EXPECT_EQ(left, L"CLSID\n Other\n");
}

TEST(DllResources, TypeLibrary) {
    CComRef<ITypeLib> library;
    ASSERT_EQ(LoadTypeLibEx(LibraryPath().c_str(), REGKIND_NONE, library.Out()), S_OK);
    EXPECT_EQ(library->GetTypeInfoCount(), 0u);
    TLIBATTR* attributes = nullptr;
    ASSERT_EQ(library->GetLibAttr(&attributes), S_OK);
    const GUID expected = {0xBAB51F1E, 0x9526, 0x4F31, {0x8C, 0xC9, 0x63, 0xAE, 0xE7, 0x43, 0x06, 0x92}};
    EXPECT_TRUE(attributes->guid == expected);
    EXPECT_EQ(attributes->lcid, 0x0409u);
    EXPECT_EQ(attributes->wMajorVerNum * 10 + attributes->wMinorVerNum, 10);
    library->ReleaseTLibAttr(attributes);
    CBstr name, help;
    ASSERT_EQ(library->GetDocumentation(-1, name.Out(), help.Out(), nullptr, nullptr), S_OK);
    EXPECT_EQ(std::wstring(name.View()) + L": " + help.Get(), L"LODANLib: Lodan 1.0 Type Library");
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
    const std::vector<DWORD> numbers = {fixed.dwFileVersionMS,    fixed.dwFileVersionLS, fixed.dwProductVersionMS,
                                        fixed.dwProductVersionLS, fixed.dwFileType,      fixed.dwFileOS};
    EXPECT_EQ(numbers, (std::vector<DWORD>{0x00010001, 0, 0x00010001, 0, VFT_DLL, 4}));
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
