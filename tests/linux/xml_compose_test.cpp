// The making of XML documents beside what the export does: what is refused without a trace, and where it ends.
#include <gtest/gtest.h>

#include <string>

#include "platform/com_ptr.h"
#include "platform/xmldom.h"
#include "test_files.h"

namespace {

class XmlCompose : public ::testing::Test {
protected:
    using Element = CComRef<IXMLDOMElement>;
    using TextNode = CComRef<IXMLDOMText>;

    static CComRef<IXMLDOMDocument> NewDocument() {
        void* made = nullptr;
        CheckCom(CoCreateInstance(CLSID_DOMDocument30, nullptr, 0x17, IID_IXMLDOMDocument, &made));
        return CComRef<IXMLDOMDocument>::Adopt(static_cast<IXMLDOMDocument*>(made));
    }
    Element Made(TextView name) const {
        Element element;
        const HRESULT result = m_document->createElement(CBstr(name).Get(), element.Out());
        EXPECT_EQ(result, element ? S_OK : E_INVALIDARG);
        return element;
    }
    Element MadeIn(IXMLDOMNode& parent, TextView name) const {
        Element element = Made(name);
        CheckCom(parent.appendChild(element.Get(), nullptr));
        return element;
    }
    TextNode MadeText(TextView text) const {
        TextNode node;
        const HRESULT result = m_document->createTextNode(CBstr(text).Get(), node.Out());
        EXPECT_EQ(result, node ? S_OK : E_INVALIDARG);
        return node;
    }
    HRESULT Instruct(TextView target, TextView data) const {
        CComRef<IXMLDOMProcessingInstruction> made;
        const HRESULT result =
            m_document->createProcessingInstruction(CBstr(target).Get(), CBstr(data).Get(), made.Out());
        return made ? m_document->appendChild(made.Get(), nullptr) : result;
    }
    static HRESULT Set(const Element& element, TextView name, TextView value) {
        return element->setAttribute(CBstr(name).Get(), CVariant(value).Get());
    }
    template <class Node>
    static HRESULT Fill(const Node& node, TextView text) {
        return node->put_nodeTypedValue(CVariant(text).Get());
    }
    std::string Saved() const {
        CheckCom(m_document->save(CVariant(TextView(m_folder.Path("out.xml"))).Get()));
        return ReadText(m_folder.File("out.xml"));
    }

    const CTestFolder m_folder;
    const CComRef<IXMLDOMDocument> m_document = NewDocument();
};

TEST_F(XmlCompose, WhatXmlCannotHoldChangesNothing) {
    const Element a = MadeIn(*m_document.Get(), WTEXT("a"));
    const Text bad = WTEXT("good until \x02");
    const Text names[] = {WTEXT("1a"), WTEXT("a b"), WTEXT("\u2190"), WTEXT("")};
    for (const Text& name : names) {
        EXPECT_EQ(Set(a, name, WTEXT("")), E_INVALIDARG);
        EXPECT_FALSE(Made(name));
    }
    EXPECT_EQ(Set(a, WTEXT("x"), bad), E_INVALIDARG);
    EXPECT_EQ(Fill(a, bad), E_INVALIDARG);
    EXPECT_FALSE(MadeText(bad));
    CComRef<IXMLDOMCDATASection> section;
    EXPECT_EQ(m_document->createCDATASection(CBstr(bad).Get(), section.Out()), E_INVALIDARG);
    EXPECT_EQ(Instruct(WTEXT("t"), bad), E_INVALIDARG);
    EXPECT_EQ(Instruct(WTEXT("t"), WTEXT("?>")), E_INVALIDARG);
    // The tag is still open. An attribute that is set again keeps its place.
    for (const TextView value : {TextView(WTEXT("1")), TextView(WTEXT("longer")), TextView()}) {
        EXPECT_EQ(Set(a, WTEXT("x"), value), S_OK);
        EXPECT_EQ(Set(a, WTEXT("y"), value), S_OK);
    }
    EXPECT_EQ(Set(a, WTEXT("x"), WTEXT("last")), S_OK);
    EXPECT_EQ(Fill(a, WTEXT("held")), S_OK);
    EXPECT_EQ(Fill(a, bad), E_INVALIDARG);
    EXPECT_EQ(Saved(), "<a x=\"last\" y=\"\">held</a>");
}

TEST_F(XmlCompose, ANodeHasOnePlaceAndADocumentOneElement) {
    const auto append = [](auto& parent, auto& child) { return parent->appendChild(child.Get(), nullptr); };
    const auto other = NewDocument();
    const TextNode waiting[] = {MadeText(WTEXT("t")), MadeText(WTEXT("<u")), MadeText(WTEXT("late"))};
    MadeText(WTEXT("dropped"));
    const Element a = MadeIn(*m_document.Get(), WTEXT("a")), b = MadeIn(*a.Get(), WTEXT("b")), c = Made(WTEXT("c"));
    EXPECT_EQ(append(m_document, waiting[0]), E_INVALIDARG);
    EXPECT_EQ(append(m_document, c), E_INVALIDARG);
    EXPECT_EQ(append(other, c), E_INVALIDARG);
    EXPECT_EQ(append(a, b), E_INVALIDARG);
    EXPECT_EQ(append(b, a), E_INVALIDARG);
    EXPECT_EQ(append(b, m_document), E_INVALIDARG);
    EXPECT_EQ(b->appendChild(nullptr, nullptr), E_INVALIDARG);
    EXPECT_EQ(append(waiting[0], c), E_INVALIDARG);
    EXPECT_EQ(append(b, waiting[1]), S_OK);
    EXPECT_EQ(append(b, waiting[1]), E_INVALIDARG);
    EXPECT_EQ(Set(a, WTEXT("x"), WTEXT("1")), E_UNEXPECTED);  // it has content
    EXPECT_EQ(append(a, waiting[0]), S_OK);
    EXPECT_EQ(append(b, waiting[2]), E_UNEXPECTED);  // it has ended
    EXPECT_EQ(Fill(b, WTEXT("w")), E_UNEXPECTED);
    EXPECT_EQ(Fill(waiting[0], WTEXT("w")), E_NOTIMPL);
    EXPECT_EQ(Saved(), "<a><b>&lt;u</b>t</a>");
}

TEST_F(XmlCompose, OtherEncodingsAreNotSaved) {
    CheckCom(Instruct(WTEXT("xml"), WTEXT("version=\"1.0\" encoding=\"GBK\"")));
    EXPECT_EQ(m_document->save(CVariant(TextView(m_folder.Path("out.xml"))).Get()), E_FAIL);
    EXPECT_FALSE(std::filesystem::exists(m_folder.File("out.xml")));
}

}  // namespace
