// parvel convert: an XML file becomes a binary document.
#include <memory>
#include <string>

#include "document_fault.h"
#include "files.h"
#include "open_document.h"
#include "parvel/parvel.h"
#include "verbs.h"
#include "xml_fault.h"

namespace {

struct ConvertOptions {
    std::string xmlName;
    std::string documentName;
};

// Says why TransXml2Bin gave false.
[[noreturn]] void ExplainRefusal(const CSource& source, const CTarget& target) {
    if (const XmlFault fault = FindXmlFault(source.Path()); fault.isFound) {
        throw CFault(ExitCode::BadInput, source.Name() + fault.position, fault.reason,
                     fault.position.empty() ? "check that it can be read, or save it in UTF-8"
                                            : "correct the XML there and convert it again");
    }
    target.CheckAccess();
    throw CFault(ExitCode::InternalFault, source.Name(), "the conversion failed", "is there enough memory?");
}

// The library writes what its own reader may refuse. Whoever converts is to know it now, not when the file is needed.
void CheckWritten(const CSource& source, CTarget& target) {
    if (TryLoad(target.Path())) return;
    const CHandle written = target.Reopen();
    const DocumentFault fault = FindDocumentFault(written);
    target.Discard();
    switch (fault.flaw) {
        case DocumentFlaw::TooManyWords:
            throw CFault(ExitCode::BadInput, source.Name(), "no reader would load the document: " + fault.text,
                         "split the XML into several files; nothing was kept");
        case DocumentFlaw::WordTooLong:
            throw CFault(ExitCode::BadInput, source.Name(), "no reader would load the document: " + fault.text,
                         "shorten or split that text; nothing was kept");
        default:
            throw CFault(ExitCode::NoAccess, target.Name(), "could not be written whole",
                         "is the disk full, or memory?");
    }
}

ExitCode Convert(const ConvertOptions& options) {
    const CSource source(options.xmlName);
    CTarget target(options.documentName, source);
    if (!TransXml2Bin(source.Path(), target.Path())) ExplainRefusal(source, target);
    CheckWritten(source, target);
    target.Deliver();
    return ExitCode::Done;
}

}  // namespace

void AddConvertVerb(CLI::App& app, Action& chosen) {
    CLI::App* verb = app.add_subcommand("convert", "Convert an XML file to a binary document");
    const auto options = std::make_shared<ConvertOptions>();
    verb->add_option("IN.xml", options->xmlName, "The XML file to read")->required();
    verb->add_option("OUT.bdoc", options->documentName, "The binary document to write; replaced when it exists")
        ->required();
    verb->callback([options, &chosen] { chosen = [options] { return Convert(*options); }; });
}
