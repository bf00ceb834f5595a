// parvel export: a binary document becomes an XML file.
#include <memory>
#include <string>

#include "files.h"
#include "open_document.h"
#include "verbs.h"

namespace {

struct ExportOptions {
    std::string documentName;
    std::string xmlName;
};

ExitCode Export(const ExportOptions& options) {
    const CSource source(options.documentName);
    const CComRef<IBinDocument> document = OpenDocument(source);
    CTarget target(options.xmlName, source);
    if (!document->ExportToXml(target.Path())) {
        target.CheckAccess();
        throw CFault(ExitCode::NoAccess, target.Name(), "could not be written whole", "is the disk full, or memory?");
    }
    target.Deliver();
    return ExitCode::Done;
}

}  // namespace

void AddExportVerb(CLI::App& app, Action& chosen) {
    CLI::App* verb = app.add_subcommand("export", "Export a binary document as indented XML");
    const auto options = std::make_shared<ExportOptions>();
    verb->add_option("IN.bdoc", options->documentName, "The binary document to read")->required();
    verb->add_option("OUT.xml", options->xmlName, "The XML file to write; replaced when it exists")->required();
    verb->callback([options, &chosen] { chosen = [options] { return Export(*options); }; });
}
