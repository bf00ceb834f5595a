#include "convert/xml_words.h"

#include "convert/xml_walk.h"

namespace {

class CWordCollector {
public:
    explicit CWordCollector(CWordDict& words) : m_words(words) {}

    void Enter(IXMLDOMNode& node, DOMNodeType type) {
        if (type != NODE_ELEMENT) {
            AddNodeValue(node, m_words);
            return;
        }
        AddNodeName(node, m_words);
        ForEachAttr(
            node, [](LONG) {},
            [this](IXMLDOMNode& attribute) {
                AddNodeName(attribute, m_words);
                AddNodeValue(attribute, m_words);
            });
    }
    void Leave(std::uint32_t) {}

private:
    CWordDict& m_words;
};

}  // namespace

void CollectXmlWords(IXMLDOMNode* root, CWordDict& words) {
    CWordCollector collector(words);
    WalkXml(root, collector);
}
