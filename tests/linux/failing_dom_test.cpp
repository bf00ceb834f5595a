// A DOM that refuses, or gives nothing where something is due, at its n-th call: the walks of the conversion stop with
// the error and give everything back.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "convert/xml_records.h"
#include "convert/xml_words.h"

namespace {

constexpr HRESULT kRefused = static_cast<HRESULT>(0x80041234);

struct FakeNode {
    DOMNodeType type;
    Text name;
    Text value;
    std::vector<FakeNode> attrs;
    std::vector<FakeNode> children;
};

// What the DOM does, and counts.
struct FakeDom {
    bool refuses = true;  // otherwise it gives nothing
    int failAt = 0;       // the call that goes wrong, from 1
    VARTYPE valueType = VT_BSTR;
    LONG missing = 0;  // by so much the lengths of lists are too small
    int calls = 0;
    int objects = 0;     // alive
    std::string failed;  // the call that went wrong

    // Whether this call is to do its work; otherwise `result` is what it gives.
    bool MayGo(const char* name, HRESULT& result) {
        result = S_OK;
        if (++calls != failAt) return true;
        failed = name;
        if (refuses) result = kRefused;
        return false;
    }
};

// Node, list of its children and map of its attributes in one.
class CFake final : public IXMLDOMNode, public IXMLDOMNodeList, public IXMLDOMNamedNodeMap {
public:
    CFake(FakeDom& dom, const FakeNode& node, bool isMap = false) : m_dom(dom), m_node(node), m_isMap(isMap) {
        ++dom.objects;
    }

    HRESULT QueryInterface(const IID&, void**) override { return E_NOINTERFACE; }
    ULONG AddRef() override { return ++m_references; }
    ULONG Release() override {
        const ULONG left = --m_references;
        if (left == 0) delete this;
        return left;
    }
    HRESULT get_nodeName(BSTR* name) override {
        HRESULT result;
        *name = m_dom.MayGo("name", result) ? SysAllocString(m_node.name.c_str()) : nullptr;
        return result;
    }
    HRESULT get_nodeValue(VARIANT* value) override {
        HRESULT result;
        if (!m_dom.MayGo("value", result)) return result;
        value->vt = m_dom.valueType;
        value->lVal = -2147483647 - 1;
        if (value->vt == VT_BSTR) value->bstrVal = SysAllocString(m_node.value.c_str());
        return S_OK;
    }
    HRESULT get_nodeType(DOMNodeType* type) override {
        HRESULT result;
        if (m_dom.MayGo("type", result)) *type = m_node.type;
        return result;
    }
    HRESULT get_childNodes(IXMLDOMNodeList** list) override { return Give("childNodes", m_node, false, list); }
    HRESULT get_attributes(IXMLDOMNamedNodeMap** map) override { return Give("attributes", m_node, true, map); }
    HRESULT get_item(LONG index, IXMLDOMNode** item) override {
        return Give("item", Items()[static_cast<std::size_t>(index)], false, item);
    }
    HRESULT get_length(LONG* length) override {
        HRESULT result;
        *length = m_dom.MayGo("length", result) ? static_cast<LONG>(Items().size()) - m_dom.missing : 0;
        return result;
    }
    HRESULT appendChild(IXMLDOMNode*, IXMLDOMNode**) override { return E_NOTIMPL; }
    HRESULT put_nodeTypedValue(VARIANT) override { return E_NOTIMPL; }

private:
    ~CFake() { --m_dom.objects; }

    const std::vector<FakeNode>& Items() const { return m_isMap ? m_node.attrs : m_node.children; }
    template <class Interface>
    HRESULT Give(const char* name, const FakeNode& node, bool isMap, Interface** out) {
        HRESULT result;
        *out = m_dom.MayGo(name, result) ? new CFake(m_dom, node, isMap) : nullptr;
        return result;
    }

    FakeDom& m_dom;
    const FakeNode& m_node;
    const bool m_isMap;
    ULONG m_references = 1;
};

const FakeNode kTree = {NODE_ELEMENT,
                        u"Root",
                        {},
                        {{NODE_ATTRIBUTE, u"b", u"1", {}, {}}, {NODE_ATTRIBUTE, u"a", u"2", {}, {}}},
                        {{NODE_TEXT, u"#text", u"x", {}, {}},
                         {NODE_COMMENT, u"#comment", u"no", {}, {}},
                         {NODE_ELEMENT, u"leaf", {}, {}, {{NODE_CDATA_SECTION, u"#cdata-section", u"y", {}, {}}}}}};

// What the walks make of the tree: the words, blanks between, and the size of the records; or the error.
struct Outcome {
    std::string words;
    std::size_t recordBytes = 0;
    HRESULT error = S_OK;
};

Outcome Walk(FakeDom& dom, bool recordsToo) {
    Outcome outcome;
    CWordDict words;
    RecordBytes records;
    try {
        const auto root = CComRef<IXMLDOMNode>::Adopt(new CFake(dom, kTree));
        recordsToo ? WriteXmlNode(root.Get(), words, records) : CollectXmlWords(root.Get(), words);
    } catch (const _com_error& error) {
        outcome.error = error.Error();
    }
    for (std::uint32_t i = 0; i < words.GetWordCount(); ++i) {
        const TextView word = words.GetWordView(i);
        outcome.words += std::string(word.begin(), word.end()) + ' ';
    }
    outcome.recordBytes = records.Size();
    EXPECT_EQ(dom.objects, 0);
    return outcome;
}

TEST(FailingDom, AnyFailingCallStopsTheWalksAndLeaksNothing) {
    for (const bool recordsToo : {false, true}) {
        FakeDom sound;
        const Outcome whole = Walk(sound, recordsToo);
        EXPECT_EQ(whole.error, S_OK);
        EXPECT_EQ(whole.words, "Root b 1 a 2 x leaf y ");
        EXPECT_EQ(whole.recordBytes, recordsToo ? 33u + 5 + 17 + 5 : 0u);
        for (int failAt = 1; failAt <= sound.calls; ++failAt) {
            for (const bool refuses : {true, false}) {
                FakeDom dom;
                dom.failAt = failAt;
                dom.refuses = refuses;
                const Outcome outcome = Walk(dom, recordsToo);
                SCOPED_TRACE(dom.failed + " as call " + std::to_string(failAt) +
                             (refuses ? " refused" : " gives nothing"));
                const bool needsObject = dom.failed == "item" || dom.failed == "childNodes";
                if (dom.failed == "type") {
                    // Without a type there is no root; any other node is left out.
                    EXPECT_EQ(outcome.error, failAt == 1 ? E_UNEXPECTED : S_OK);
                    EXPECT_LE(outcome.words.size(), whole.words.size());
                } else if (refuses) {
                    EXPECT_EQ(outcome.error, kRefused);
                } else {
                    EXPECT_EQ(outcome.error, needsObject ? E_POINTER : S_OK);
                }
            }
        }
    }
}

TEST(FailingDom, OddAnswers) {
    const auto shown = [](VARTYPE type, LONG missing) {
        FakeDom dom;
        dom.valueType = type;
        dom.missing = missing;
        const Outcome outcome = Walk(dom, true);
        return outcome.error == S_OK ? outcome.words : "error";
    };
    EXPECT_EQ(shown(VT_I4, 0), "Root b -2147483648 a leaf ");
    EXPECT_EQ(shown(VT_EMPTY, 0), "Root b  a leaf ");
    EXPECT_EQ(shown(VT_NULL, 0), "error");
    EXPECT_EQ(shown(VT_BSTR, 1), "Root b 1 x ");
    CWordDict words;
    RecordBytes records;
    EXPECT_THROW(CollectXmlWords(nullptr, words), _com_error);
    EXPECT_THROW(WriteXmlNode(nullptr, words, records), _com_error);
    // A list of less than nothing: the root's attributes cannot be, its children are none.
    const FakeNode bare = {NODE_ELEMENT, u"a", {}, {{NODE_ATTRIBUTE, u"b", u"1", {}, {}}}, {}};
    FakeDom dom;
    dom.missing = 1;
    const auto root = CComRef<IXMLDOMNode>::Adopt(new CFake(dom, bare));
    WriteXmlNode(root.Get(), words, records);
    EXPECT_EQ(records.Size(), 17u);
}

}  // namespace
