#include "convert/trans_xml2bin.h"

#include "convert/step_recorder.h"
#include "convert/xml_records.h"
#include "convert/xml_words.h"
#include "model/layout.h"
#include "platform/com_ptr.h"
#include "platform/file.h"
#include "xml/msxml_helper.h"

namespace {

// With folding on, a name may come out as another word once all words are known: then they are collected by a walk of
// their own first.
void RecordTree(IXMLDOMNode* root, CWordDict& words, RecordBytes& records) {
    if (g_lower != 0) CollectXmlWords(root, words);
    WriteXmlNode(root, words, records);
}

bool Convert(const WCHAR* xmlPath, const WCHAR* binPath) {
    CWordDict words;
    RecordBytes records;
    CStepRecorder recorder(words, records);
    // Steps make the tree needless, which costs more than all else here; a DOM that has none gives the tree.
    const auto document = CComRef<IXMLDOMDocument>::Adopt(MSXMLHelper::LoadXmlSteps(xmlPath, recorder));
    if (!document) return false;
    CComRef<IXMLDOMElement> root;
    CheckCom(document->get_documentElement(root.Out()));
    // All that can fail comes before the output is opened, so that what stood there before is lost to no failure. Steps
    // have brought a record for the root element at least.
    if (records.IsEmpty()) {
        RecordTree(root.Get(), words, records);
    } else {
        recorder.Finish();
    }
    COutputFile file;
    if (!file.Open(binPath)) return false;
    WriteDictionary(file, words);
    file.Write(records.Data(), records.Size());
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
