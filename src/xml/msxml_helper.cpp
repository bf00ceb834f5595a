#include "xml/msxml_helper.h"

#include <string>

#include "platform/com_ptr.h"
#include "platform/dialog.h"

std::int32_t g_logLevel = 0;

namespace {

CComRef<IXMLDOMDocument> CreateDocument() {
    constexpr DWORD kContext =
        CLSCTX_INPROC_SERVER | CLSCTX_INPROC_HANDLER | CLSCTX_LOCAL_SERVER | CLSCTX_REMOTE_SERVER;
    CComRef<IUnknown> object;
    CComRef<IXMLDOMDocument> document;
    void* made = nullptr;
    if (FAILED(CoCreateInstance(CLSID_DOMDocument30, nullptr, kContext, IID_IUnknown, &made))) return document;
    object = CComRef<IUnknown>::Adopt(static_cast<IUnknown*>(made));
    void* asked = nullptr;
    if (FAILED(OleRun(object.Get())) || FAILED(object->QueryInterface(IID_IXMLDOMDocument, &asked))) return document;
    return CComRef<IXMLDOMDocument>::Adopt(static_cast<IXMLDOMDocument*>(asked));
}

XmlLoadFault ReadFault(IXMLDOMDocument& document) {
    CComRef<IXMLDOMParseError> error;
    CheckCom(document.get_parseError(error.Out()));
    CBstr reason, sourceLine;
    LONG column = 0, line = 0, byteOffset = 0;
    CheckCom(error.Need().get_reason(reason.Out()));
    CheckCom(error->get_srcText(sourceLine.Out()));
    CheckCom(error->get_linepos(&column));
    CheckCom(error->get_line(&line));
    CheckCom(error->get_filepos(&byteOffset));
    return {true, Text(reason.View()), Text(sourceLine.View()), byteOffset, line, column};
}

Text NumberText(std::int32_t number) {
    const std::string digits = std::to_string(number);
    return Text(digits.begin(), digits.end());
}

Text FaultMessage(const WCHAR* path, const XmlLoadFault& fault) {
    Text message = WTEXT("Parser Error:\nfile:");
    message.append(path).append(WTEXT("\nreason:")).append(fault.reason);
    message.append(WTEXT("\nsrctext")).append(fault.sourceLine);
    message.append(WTEXT("\n,filepos:")).append(NumberText(fault.byteOffset));
    message.append(WTEXT("\n,line:")).append(NumberText(fault.line));
    message.append(WTEXT("\n,linepos:")).append(NumberText(fault.column)).append(WTEXT("\n"));
    return message;
}

// With a receiver, where the document can hand over what it reads.
bool Load(IXMLDOMDocument& document, const WCHAR* path, CXmlStepReceiver* receiver) {
    const CVariant pathValue{TextView(path)};
    VARIANT_BOOL isLoaded = VARIANT_FALSE;
    void* asked = nullptr;
    if (receiver && SUCCEEDED(document.QueryInterface(IID_IXmlStepSource, &asked))) {
        const auto source = CComRef<IXmlStepSource>::Adopt(static_cast<IXmlStepSource*>(asked));
        CheckCom(source->loadSteps(pathValue.Get(), receiver, &isLoaded));
    } else {
        document.put_async(VARIANT_FALSE);
        CheckCom(document.load(pathValue.Get(), &isLoaded));
    }
    return isLoaded;
}

IXMLDOMDocument* LoadOrTell(const WCHAR* path, CXmlStepReceiver* receiver, XmlLoadFault* fault) noexcept {
    if (!path) return nullptr;
    try {
        CComRef<IXMLDOMDocument> document = CreateDocument();
        if (!document) return nullptr;
        if (Load(document.Need(), path, receiver)) return document.Detach();
        if (fault) fault->isRefused = true;
        if (g_logLevel < 1 && !fault) return nullptr;

        const XmlLoadFault found = ReadFault(document.Need());
        if (fault) *fault = found;
        if (g_logLevel >= 1) AfxMessageBox(FaultMessage(path, found).c_str(), 0, 0);
    } catch (...) {
        // Failed COM calls and exhausted memory are not reported.
    }
    return nullptr;
}

}  // namespace

IXMLDOMDocument* MSXMLHelper::LoadXmlDocument(const WCHAR* path, XmlLoadFault* fault) noexcept {
    return LoadOrTell(path, nullptr, fault);
}

IXMLDOMDocument* MSXMLHelper::LoadXmlSteps(const WCHAR* path, CXmlStepReceiver& receiver) noexcept {
    return LoadOrTell(path, &receiver, nullptr);
}

IXMLDOMDocument* MSXMLHelper::CreateXmlDocument(const WCHAR* encoding) noexcept {
    try {
        CComRef<IXMLDOMDocument> document = CreateDocument();
        if (!document) return nullptr;
        const CBstr target{TextView(WTEXT("xml"))};
        const CBstr data{Text(WTEXT("version=\"1.0\" encoding=\"")) + encoding + WTEXT("\"")};
        CComRef<IXMLDOMProcessingInstruction> declaration;
        CheckCom(document->createProcessingInstruction(target.Get(), data.Get(), declaration.Out()));
        CComRef<IXMLDOMNode> appended;
        CheckCom(document->appendChild(&declaration.Need(), appended.Out()));
        return document.Detach();
    } catch (...) {
        return nullptr;
    }
}
