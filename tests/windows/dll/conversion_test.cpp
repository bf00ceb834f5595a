// Conversion through the system's own XML DOM, and what comes of a DOM that fails.
#include <gtest/gtest.h>

#include "library.h"
#include "patched_table.h"
#include "platform/com_ptr.h"
#include "platform/xmldom.h"

namespace {

constexpr CLSID kDocumentClass = {0xF5078F32, 0xC551, 0x11D3, {0x89, 0xB9, 0x00, 0x00, 0xF8, 0x1F, 0xE2, 0x21}};
const std::string kFormer = "what was there before";

class DllConversion : public ::testing::Test {
protected:
    // Converts, with something at the output's place already.
    bool Convert(const std::string& xml) const {
        WriteBytes(m_folder.File("x.xml"), xml);
        WriteBytes(m_folder.File("x.bdoc"), kFormer);
        return Parvel().convert(m_folder.Path("x.xml").c_str(), m_folder.Path("x.bdoc").c_str());
    }

    const CTestFolder m_folder;
};

TEST_F(DllConversion, WithoutComGivesFalseAndTouchesNothing) {
    EXPECT_FALSE(Convert("<a/>"));
    EXPECT_EQ(ReadText(m_folder.File("x.bdoc")), kFormer);
    const CHostSession session;
    EXPECT_TRUE(Convert("<a/>"));
    EXPECT_EQ(ReadText(m_folder.File("x.bdoc")).size(), 27u);
}

TEST_F(DllConversion, AFileThatSomebodyElseHasOpenIsNotWritten) {
    const CHostSession session;
    ASSERT_TRUE(Convert("<a/>"));
    const Text xml = m_folder.Path("x.xml");
    const Text bin = m_folder.Path("x.bdoc");
    const HANDLE lock = CreateFileW(bin.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING, 0, nullptr);
    EXPECT_FALSE(Parvel().convert(xml.c_str(), bin.c_str()));
    CloseHandle(lock);
    EXPECT_TRUE(Parvel().convert(xml.c_str(), bin.c_str()));
}

// Operations of the DOM that fail, or give nothing.
template <class... Arguments>
HRESULT WINAPI Fail(void*, Arguments...) {
    return E_FAIL;
}
HRESULT WINAPI GiveNull(void*, void** out) {
    *out = nullptr;
    return S_OK;
}

// The walks' own tests make every call fail; these are at the edge of the library.
TEST_F(DllConversion, ADomCallThatFailsGivesFalseAndTouchesNothing) {
    const CHostSession session;
    CComRef<IXMLDOMDocument> document;
    CComRef<IXMLDOMElement> element;
    void* made = nullptr;
    CheckCom(CoCreateInstance(kDocumentClass, nullptr, CLSCTX_INPROC_SERVER, IID_IXMLDOMDocument, &made));
    document = CComRef<IXMLDOMDocument>::Adopt(static_cast<IXMLDOMDocument*>(made));
    CheckCom(document->createElement(CBstr(TextView(L"a")).Get(), element.Out()));
    // Entries of the tables: IDispatch has 7, IXMLDOMNode 36 more, and so on in the order of the system's header.
    constexpr int kNodeName = 7, kChildNodes = 12, kDocumentElement = 45, kLoad = 58;
    const struct {
        void* object;
        int entry;
        void* function;
    } rows[] = {
        {document.Get(), kLoad, reinterpret_cast<void*>(Fail<VARIANT, void*>)},
        {document.Get(), kDocumentElement, reinterpret_cast<void*>(Fail<void*>)},
        {document.Get(), kDocumentElement, reinterpret_cast<void*>(GiveNull)},
        {element.Get(), kNodeName, reinterpret_cast<void*>(Fail<void*>)},
        {element.Get(), kChildNodes, reinterpret_cast<void*>(GiveNull)},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(&row - rows);
        {
            const PatchedTable patch(row.object, row.entry, row.function);
            EXPECT_FALSE(Convert("<a b='c'>d<e/></a>"));
        }
        EXPECT_EQ(ReadText(m_folder.File("x.bdoc")), kFormer);
        ASSERT_TRUE(Convert("<a b='c'>d<e/></a>"));
    }
}

}  // namespace
