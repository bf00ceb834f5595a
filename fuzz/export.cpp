#include <expat.h>

#include <string_view>

#include "support.h"

namespace {

constexpr std::string_view kDeclaration = "<?xml version=\"1.0\" encoding=\"utf-8\"?>";

XML_Error Parse(const std::vector<std::uint8_t>& bytes) {
    const XML_Parser parser = XML_ParserCreate(nullptr);
    Require(parser != nullptr, "there is memory for a parser");
    const char* text = reinterpret_cast<const char*>(bytes.data());
    XML_Parse(parser, text, static_cast<int>(bytes.size()), XML_TRUE);
    const XML_Error error = XML_GetErrorCode(parser);
    XML_ParserFree(parser);
    return error;
}

std::string_view ViewOf(const std::vector<std::uint8_t>& bytes) {
    return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

}  // namespace

void FuzzExport(FuzzBytes bytes) {
    static CMemoryFile binary;
    static CMemoryFile xml;
    static CMemoryFile converted;
    binary.Write(bytes);
    const CComRef<IBinDocument> document = NewDocument();
    if (!document->LoadFromFile(binary.Path())) return;

    Require(document->ExportToXml(xml.Path()), "a document that loads can be exported");
    const std::vector<std::uint8_t> exported = xml.Read();
    Require(ViewOf(exported).starts_with(kDeclaration), "an exported file starts with its declaration");
    const XML_Error error = Parse(exported);
    // A root that is no element, or has a name that XML does not allow, leaves nothing but the declaration.
    const bool isBare = error == XML_ERROR_NO_ELEMENTS;
    Require(isBare || error == XML_ERROR_NONE, "an exported file is well-formed");
    Require(TransXml2Bin(xml.Path(), converted.Path()) == !isBare, "an exported file can be converted");
    Require(document->ExportToXml(xml.Path()), "a document can be exported again");
    Require(xml.Read() == exported, "exporting twice gives the same file");
}
