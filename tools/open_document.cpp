#include "open_document.h"

#include <new>
#include <string>

#include "document_fault.h"
#include "fault.h"

CComRef<IBinDocument> TryLoad(const WCHAR* path) {
    CComRef<IBinDocument> document;
    if (KestQueryBinDocInterface(&IID_IBinDocument, document.Out()) != 0) throw std::bad_alloc();
    if (!document->LoadFromFile(path)) return {};
    return document;
}

CComRef<IBinDocument> OpenDocument(const CSource& source) {
    CComRef<IBinDocument> document = TryLoad(source.Path());
    if (document) return document;
    const DocumentFault fault = FindDocumentFault(source.Handle());
    throw CFault(
        ExitCode::BadInput, source.Name() + ": byte " + std::to_string(fault.offset),
        "not a binary document: " + fault.text,
        fault.looksLikeXml ? "it looks like XML: convert it first, with parvel convert" : "make it again from its XML");
}
