// Conversion through the system's own XML DOM, and what comes of a DOM that fails.
#include <gtest/gtest.h>

#include <windows.h>

#include <msxml2.h>

#include "library.h"
#include "patched_table.h"

namespace {

constexpr GUID kDocumentClass = {0xF5078F32, 0xC551, 0x11D3, {0x89, 0xB9, 0x00, 0x00, 0xF8, 0x1F, 0xE2, 0x21}};

const std::string kFormer = "what was there before";

// Converts, with something at the output's place already.
bool Convert(const WorkFolder& folder, const std::string& xml) {
    WriteFileBytes(folder.File(L"x.xml"), xml);
    WriteFileBytes(folder.File(L"x.bdoc"), kFormer);
    return Parvel().convert(folder.File(L"x.xml").c_str(), folder.File(L"x.bdoc").c_str());
}

TEST(DllConversion, WithoutComGivesFalseAndTouchesNothing) {
    const WorkFolder folder;
    EXPECT_FALSE(Convert(folder, "<a/>"));
    EXPECT_EQ(ReadFileBytes(folder.File(L"x.bdoc")), kFormer);
    const ComSession com;
    EXPECT_TRUE(Convert(folder, "<a/>"));
    EXPECT_EQ(ReadFileBytes(folder.File(L"x.bdoc")).size(), 27u);
}

TEST(DllConversion, WhatCannotBeReadOrWrittenGivesFalse) {
    const ComSession com;
    const WorkFolder folder;
    EXPECT_FALSE(Convert(folder, "<a>"));
    EXPECT_EQ(ReadFileBytes(folder.File(L"x.bdoc")), kFormer);
    WriteFileBytes(folder.File(L"x.xml"), "<a/>");
    const std::wstring xml = folder.File(L"x.xml").wstring();
    const std::wstring bin = folder.File(L"y.bdoc").wstring();
    const std::wstring none = folder.File(L"none").wstring();
    const wchar_t* const rows[][2] = {{none.c_str(), bin.c_str()},
                                      {nullptr, bin.c_str()},
                                      {L"", bin.c_str()},
                                      {xml.c_str(), nullptr},
                                      {xml.c_str(), L""}};
    for (const auto& row : rows) EXPECT_FALSE(Parvel().convert(row[0], row[1])) << &row - rows;
    EXPECT_FALSE(std::filesystem::exists(bin));
    const HANDLE lock = CreateFileW(bin.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr, CREATE_ALWAYS, 0, nullptr);
    EXPECT_FALSE(Parvel().convert(xml.c_str(), bin.c_str())) << "a file that somebody else has open";
    CloseHandle(lock);
    EXPECT_TRUE(Parvel().convert(xml.c_str(), bin.c_str()));
}

// The DOM expands references to entities in values of attributes only; elsewhere each is a node, and passed over.
TEST(DllConversion, ReferenceNodesAreLeftOut) {
    const ComSession com;
    const WorkFolder folder;
    const std::string type = "<!DOCTYPE r [<!ENTITY e '<u/>v'><!ENTITY f 'w'>]>";
    ASSERT_TRUE(Convert(folder, type + "<r a='&f;'>x&e;y&f;<s/></r>"));
    const std::string withReferences = ReadFileBytes(folder.File(L"x.bdoc"));
    ASSERT_TRUE(Convert(folder, "<r a='w'>x<!--e-->y<s/></r>"));
    EXPECT_EQ(withReferences, ReadFileBytes(folder.File(L"x.bdoc")));
}

// One object of each kind that a conversion meets, to get at their tables.
struct DomObjects {
    DomObjects() {
        CoCreateInstance(kDocumentClass, nullptr, CLSCTX_INPROC_SERVER, IID_IXMLDOMDocument,
                         reinterpret_cast<void**>(&document));
        BSTR text = SysAllocString(L"<a b='c'>d</a>");
        VARIANT_BOOL done = VARIANT_FALSE;
        document->loadXML(text, &done);
        SysFreeString(text);
        document->get_documentElement(&element);
        element->get_childNodes(&children);
        children->get_item(0, &text_);
        element->get_attributes(&attributes);
        attributes->get_item(0, &attribute);
    }
    ~DomObjects() {
        IUnknown* const all[] = {attribute, attributes, text_, children, element, document};
        for (IUnknown* object : all) object->Release();
    }
    DomObjects(const DomObjects&) = delete;
    DomObjects& operator=(const DomObjects&) = delete;

    IXMLDOMDocument* document = nullptr;
    IXMLDOMElement* element = nullptr;
    IXMLDOMNodeList* children = nullptr;
    IXMLDOMNode* text_ = nullptr;
    IXMLDOMNamedNodeMap* attributes = nullptr;
    IXMLDOMNode* attribute = nullptr;
};

// Operations of the DOM that fail, or give nothing.
template <class... Arguments>
HRESULT WINAPI Fail(void*, Arguments...) {
    return E_FAIL;
}
HRESULT WINAPI GiveNull(void*, void** out) {
    *out = nullptr;
    return S_OK;
}
HRESULT WINAPI GiveNoItem(void*, LONG, void** out) {
    return GiveNull(nullptr, out);
}

// The walks' own tests make every call fail; these are at the edge of the library.
TEST(DllConversion, ADomCallThatFailsGivesFalseAndLeavesNoHalfFile) {
    const ComSession com;
    const WorkFolder folder;
    const DomObjects dom;
    // Entries of the tables: IDispatch has 7, IXMLDOMNode 36 more, and so on in the order of the system's header.
    constexpr int kNodeName = 7, kNodeValue = 8, kChildNodes = 12, kDocumentElement = 45, kLoad = 58;
    constexpr int kListItem = 7, kMapItem = 10;
    const struct {
        const char* what;
        void* object;
        int entry;
        void* function;
        bool isBeforeOutput;
    } rows[] = {
        {"load", dom.document, kLoad, reinterpret_cast<void*>(Fail<VARIANT, void*>), true},
        {"documentElement", dom.document, kDocumentElement, reinterpret_cast<void*>(Fail<void*>), true},
        {"no documentElement", dom.document, kDocumentElement, reinterpret_cast<void*>(GiveNull), false},
        {"element's nodeName", dom.element, kNodeName, reinterpret_cast<void*>(Fail<void*>), false},
        {"no childNodes", dom.element, kChildNodes, reinterpret_cast<void*>(GiveNull), false},
        {"no item in the list", dom.children, kListItem, reinterpret_cast<void*>(GiveNoItem), false},
        {"map's item", dom.attributes, kMapItem, reinterpret_cast<void*>(Fail<LONG, void*>), false},
        {"attribute's nodeValue", dom.attribute, kNodeValue, reinterpret_cast<void*>(Fail<void*>), false},
        {"text's nodeValue", dom.text_, kNodeValue, reinterpret_cast<void*>(Fail<void*>), false},
    };
    const std::string xml = "<a b='c'>d<e/></a>";
    for (const auto& row : rows) {
        {
            const PatchedTable patch(row.object, row.entry, row.function);
            EXPECT_FALSE(Convert(folder, xml)) << row.what;
        }
        EXPECT_EQ(std::filesystem::exists(folder.File(L"x.bdoc")), row.isBeforeOutput) << row.what;
        EXPECT_EQ(ReadFileBytes(folder.File(L"x.bdoc")), row.isBeforeOutput ? kFormer : "") << row.what;
        ASSERT_TRUE(Convert(folder, xml)) << row.what;
    }
}

}  // namespace
