// The making of XML documents: what is taken, what is refused without a trace, and where it ends.
#include <gtest/gtest.h>

#include <string>

#include "platform/com_ptr.h"
#include "platform/xmldom.h"
#include "test_files.h"

namespace {

class XmlCompose : public ::testing::Test {
protected:
    void SetUp() override { m_document = NewDocument(); }

    static CComRef<IXMLDOMDocument> NewDocument() {
        void* made = nullptr;
        CheckCom(CoCreateInstance(CLSID_DOMDocument30, nullptr, 0x17, IID_IXMLDOMDocument, &made));
        return CComRef<IXMLDOMDocument>::Adopt(static_cast<IXMLDOMDocument*>(made));
    }
    CComRef<IXMLDOMElement> Element(TextView name) const {
        CComRef<IXMLDOMElement> element;
        CheckCom(m_document->createElement(CBstr(name).Get(), element.Out()));
        return element;
    }
    CComRef<IXMLDOMElement> ElementIn(IXMLDOMNode& parent, TextView name) const {
        CComRef<IXMLDOMElement> element = Element(name);
        CheckCom(parent.appendChild(element.Get(), nullptr));
        return element;
    }
    CComRef<IXMLDOMText> TextNode(TextView text) const {
        CComRef<IXMLDOMText> node;
        CheckCom(m_document->createTextNode(CBstr(text).Get(), node.Out()));
        return node;
    }
    static HRESULT Set(IXMLDOMElement& element, TextView name, TextView value) {
        return element.setAttribute(CBstr(name).Get(), CVariant(value).Get());
    }
    static HRESULT Fill(IXMLDOMNode& node, TextView text) { return node.put_nodeTypedValue(CVariant(text).Get()); }
    std::string Saved() const {
        CheckCom(m_document->save(CVariant(TextView(m_folder.Path("out.xml"))).Get()));
        const std::vector<unsigned char> bytes = ReadBytes(m_folder.File("out.xml"));
        return {bytes.begin(), bytes.end()};
    }

    CTestFolder m_folder;
    CComRef<IXMLDOMDocument> m_document;
};

TEST_F(XmlCompose, AnAttributeSetAgainKeepsItsPlace) {
    const auto a = ElementIn(*m_document.Get(), WTEXT("a"));
    for (const TextView value : {TextView(WTEXT("1")), TextView(WTEXT("longer")), TextView(WTEXT(""))}) {
        ASSERT_EQ(Set(*a.Get(), WTEXT("x"), value), S_OK);
        ASSERT_EQ(Set(*a.Get(), WTEXT("y"), value), S_OK);
    }
    ASSERT_EQ(Set(*a.Get(), WTEXT("x"), WTEXT("last")), S_OK);
    EXPECT_EQ(Fill(*a.Get(), WTEXT("\x02")), E_INVALIDARG);  // which changes nothing
    ASSERT_EQ(Set(*a.Get(), WTEXT("y"), WTEXT("2")), S_OK);
    const auto b = ElementIn(*a.Get(), WTEXT("b"));  // the same name on another element is another attribute
    ASSERT_EQ(Set(*b.Get(), WTEXT("x"), WTEXT("2")), S_OK);
    ASSERT_EQ(Set(*b.Get(), WTEXT("x"), WTEXT("3")), S_OK);
    EXPECT_EQ(Saved(), "<a x=\"last\" y=\"2\"><b x=\"3\"/></a>");
}

TEST_F(XmlCompose, WhatXmlCannotHoldChangesNothing) {
    const auto a = ElementIn(*m_document.Get(), WTEXT("a"));
    const Text bad = WTEXT("good until \x02");
    CComRef<IXMLDOMElement> element;
    CComRef<IXMLDOMText> text;
    CComRef<IXMLDOMCDATASection> section;
    CComRef<IXMLDOMProcessingInstruction> instruction;
    EXPECT_EQ(Set(*a.Get(), WTEXT("x"), bad), E_INVALIDARG);
    EXPECT_EQ(Set(*a.Get(), WTEXT("x y"), WTEXT("")), E_INVALIDARG);
    EXPECT_EQ(Set(*a.Get(), WTEXT(""), WTEXT("")), E_INVALIDARG);
    EXPECT_EQ(Fill(*a.Get(), bad), E_INVALIDARG);
    EXPECT_EQ(Set(*a.Get(), WTEXT("x"), WTEXT("1")), S_OK);  // its tag is still open
    EXPECT_EQ(Fill(*a.Get(), WTEXT("held")), S_OK);
    EXPECT_EQ(Fill(*a.Get(), bad), E_INVALIDARG);
    for (const TextView name : {TextView(WTEXT("1a")), TextView(WTEXT("a b")), TextView(WTEXT("\u2190")), TextView()}) {
        EXPECT_EQ(m_document->createElement(CBstr(name).Get(), element.Out()), E_INVALIDARG);
    }
    EXPECT_EQ(m_document->createTextNode(CBstr(bad).Get(), text.Out()), E_INVALIDARG);
    EXPECT_EQ(m_document->createCDATASection(CBstr(bad).Get(), section.Out()), E_INVALIDARG);
    EXPECT_EQ(
        m_document->createProcessingInstruction(CBstr(TextView(WTEXT("t"))).Get(), CBstr(bad).Get(), instruction.Out()),
        E_INVALIDARG);
    EXPECT_EQ(m_document->createProcessingInstruction(CBstr(TextView(WTEXT("t"))).Get(),
                                                      CBstr(TextView(WTEXT("?>"))).Get(), instruction.Out()),
              E_INVALIDARG);
    EXPECT_EQ(Saved(), "<a x=\"1\">held</a>");
}

TEST_F(XmlCompose, ANodeHasOnePlaceAndADocumentOneElement) {
    const auto other = NewDocument();
    const auto a = ElementIn(*m_document.Get(), WTEXT("a"));
    const auto b = ElementIn(*a.Get(), WTEXT("b"));
    const auto text = TextNode(WTEXT("t"));
    EXPECT_EQ(m_document->appendChild(text.Get(), nullptr), E_INVALIDARG);
    EXPECT_EQ(m_document->appendChild(Element(WTEXT("c")).Get(), nullptr), E_INVALIDARG);
    EXPECT_EQ(other->appendChild(Element(WTEXT("c")).Get(), nullptr), E_INVALIDARG);
    EXPECT_EQ(a->appendChild(b.Get(), nullptr), E_INVALIDARG);
    EXPECT_EQ(b->appendChild(a.Get(), nullptr), E_INVALIDARG);
    EXPECT_EQ(b->appendChild(m_document.Get(), nullptr), E_INVALIDARG);
    EXPECT_EQ(b->appendChild(nullptr, nullptr), E_INVALIDARG);
    EXPECT_EQ(b->appendChild(text.Get(), nullptr), S_OK);
    EXPECT_EQ(b->appendChild(text.Get(), nullptr), E_INVALIDARG);
    EXPECT_EQ(text->appendChild(Element(WTEXT("c")).Get(), nullptr), E_INVALIDARG);
    EXPECT_EQ(Set(*a.Get(), WTEXT("x"), WTEXT("1")), E_UNEXPECTED);  // it has content
    EXPECT_EQ(a->appendChild(TextNode(WTEXT("u")).Get(), nullptr), S_OK);
    EXPECT_EQ(b->appendChild(TextNode(WTEXT("v")).Get(), nullptr), E_UNEXPECTED);  // it has ended
    EXPECT_EQ(Fill(*b.Get(), WTEXT("w")), E_UNEXPECTED);
    EXPECT_EQ(Fill(*text.Get(), WTEXT("w")), E_NOTIMPL);
    EXPECT_EQ(Saved(), "<a><b>t</b>u</a>");
}

TEST_F(XmlCompose, AValueTakesThePlaceOfAllThatIsBelow) {
    const auto a = ElementIn(*m_document.Get(), WTEXT("a"));
    const auto b = ElementIn(*a.Get(), WTEXT("b"));
    CheckCom(b->appendChild(TextNode(WTEXT("\r\n") + Text(100, WCHAR('\t'))).Get(), nullptr));
    const auto c = ElementIn(*b.Get(), WTEXT("c"));
    EXPECT_EQ(Fill(*b.Get(), WTEXT("new")), S_OK);
    EXPECT_EQ(Fill(*c.Get(), WTEXT("gone")), E_UNEXPECTED);
    CheckCom(b->appendChild(TextNode(WTEXT("\r\n") + Text(100, WCHAR('\t'))).Get(), nullptr));
    EXPECT_EQ(Saved(), "<a><b>new\r\n" + std::string(100, '\t') + "</b></a>");
}

TEST_F(XmlCompose, NodesWaitInAnyOrder) {
    const auto first = TextNode(WTEXT("1"));
    auto second = TextNode(WTEXT("2"));
    const auto third = TextNode(WTEXT("3<"));
    const auto a = ElementIn(*m_document.Get(), WTEXT("a"));
    second.Reset();
    CheckCom(a->appendChild(third.Get(), nullptr));
    CheckCom(a->appendChild(first.Get(), nullptr));
    EXPECT_EQ(Saved(), "<a>3&lt;1</a>");
}

TEST_F(XmlCompose, OtherEncodingsAreNotSaved) {
    CComRef<IXMLDOMProcessingInstruction> declaration;
    CheckCom(m_document->createProcessingInstruction(CBstr(TextView(WTEXT("xml"))).Get(),
                                                     CBstr(TextView(WTEXT("version=\"1.0\" encoding=\"GBK\""))).Get(),
                                                     declaration.Out()));
    CheckCom(m_document->appendChild(declaration.Get(), nullptr));
    EXPECT_EQ(m_document->save(CVariant(TextView(m_folder.Path("out.xml"))).Get()), E_FAIL);
    EXPECT_FALSE(std::filesystem::exists(m_folder.File("out.xml")));
}

}  // namespace
