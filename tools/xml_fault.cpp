#include "xml_fault.h"

#include <new>

#include "escape.h"
#include "platform/com_ptr.h"
#include "platform/utf8.h"
#include "xml/msxml_helper.h"

XmlFault FindXmlFault(const WCHAR* path) {
    XmlFault fault;
    XmlLoadFault found;
    if (CComRef<IXMLDOMDocument>::Adopt(MSXMLHelper::LoadXmlDocument(path, &found))) return fault;
    if (!found.isRefused) throw std::bad_alloc();
    fault.isFound = true;
    if (found.line > 0) fault.position = ":" + std::to_string(found.line) + ":" + std::to_string(found.column);
    fault.reason =
        found.reason.empty() ? "cannot be read, or is not well-formed XML" : EscapeBytes(TextToUtf8(found.reason));
    return fault;
}
