#include "convert/xml_records.h"

#include <new>
#include <vector>

#include "convert/xml_walk.h"
#include "convert/xml_words.h"
#include "model/layout.h"

namespace {

class CRecorder {
public:
    CRecorder(CWordDict& words, RecordBytes& records) : m_words(words), m_records(records) {}

    void Enter(IXMLDOMNode& node, DOMNodeType type) {
        const std::size_t record = BuildXmlNodeRecord(node, type, m_words, m_records);
        if (type == NODE_ELEMENT) m_openRecords.push_back(record);
    }
    void Leave(std::uint32_t childCount) {
        WriteU32(m_records.Data() + m_openRecords.back() + kChildCountOffset, childCount);
        m_openRecords.pop_back();
    }

private:
    CWordDict& m_words;
    RecordBytes& m_records;
    std::vector<std::size_t> m_openRecords;
};

}  // namespace

std::size_t BuildXmlNodeRecord(IXMLDOMNode& node, DOMNodeType type, CWordDict& words, RecordBytes& records) {
    const std::size_t record = records.Size();
    if (type != NODE_ELEMENT) {
        const std::uint32_t text = AddNodeValue(node, words);
        WriteTextRecord(records.Extend(kTextBytes), static_cast<unsigned char>(type), text);
        return record;
    }
    const std::uint32_t name = AddNodeName(node, words);
    unsigned char* entry = nullptr;
    ForEachAttr(
        node,
        [&](LONG attrCount) {
            if (attrCount < 0) _com_issue_error(E_UNEXPECTED);
            unsigned char* bytes =
                records.Extend(kElementBytes + kAttrEntryBytes * static_cast<std::size_t>(attrCount));
            WriteElementRecord(bytes, name, kNoWord);
            WriteI32(bytes + kAttrCountOffset, attrCount);
            entry = bytes + kElementBytes;
        },
        [&](IXMLDOMNode& attribute) {
            WriteU32(entry, AddNodeName(attribute, words));
            WriteU32(entry + kAttrValueOffset, AddNodeValue(attribute, words));
            entry += kAttrEntryBytes;
        });
    unsigned char* bytes = records.Data() + record;
    SortAttrPairs(bytes + kElementBytes, AttrCountOf(bytes), words);
    return record;
}

void WriteXmlNode(IXMLDOMNode* root, CWordDict& words, RecordBytes& records) {
    CRecorder recorder(words, records);
    WalkXml(root, recorder);
}
