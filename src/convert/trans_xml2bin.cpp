#include "convert/trans_xml2bin.h"

#include "convert/xml_records.h"
#include "convert/xml_words.h"
#include "model/layout.h"
#include "platform/com_ptr.h"
#include "platform/file.h"
#include "xml/msxml_helper.h"

namespace {

void WriteTree(COutputFile& file, IXMLDOMNode* root) {
    CWordDict words;
    // The records are made by a walk that adds the words as it meets them, in the order in which they are to be in the
    // dictionary. With folding on, a name may come out as another word once all words are known: then they are
    // collected by a walk of their own first.
    if (g_lower != 0) CollectXmlWords(root, words);
    RecordBytes records;
    WriteXmlNode(root, words, records);
    WriteDictionary(file, words);
    file.Write(records.Data(), records.Size());
}

bool Convert(const WCHAR* xmlPath, const WCHAR* binPath) {
    const auto document = CComRef<IXMLDOMDocument>::Adopt(MSXMLHelper::LoadXmlDocument(xmlPath));
    if (!document) return false;
    CComRef<IXMLDOMElement> root;
    CheckCom(document->get_documentElement(root.Out()));
    COutputFile file;
    if (!file.Open(binPath)) return false;
    try {
        WriteTree(file, root.Get());
    } catch (...) {
        file.Close();
        RemoveFile(binPath);
        return false;
    }
    file.Close();
    return true;
}

}  // namespace

bool TransformXmlToBinary(const WCHAR* xmlPath, const WCHAR* binPath) noexcept {
    if (!xmlPath || !*xmlPath || !binPath || !*binPath) return false;
    try {
        return Convert(xmlPath, binPath);
    } catch (...) {
        return false;
    }
}
