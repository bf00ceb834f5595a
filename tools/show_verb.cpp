// parvel show: a binary document as an indented tree.
#include <memory>
#include <new>
#include <string>

#include "files.h"
#include "open_document.h"
#include "tree_printer.h"
#include "verbs.h"
#include "view.h"

namespace {

struct ShowOptions {
    std::string documentName;
    TreeView view;
};

ExitCode Show(const ShowOptions& options) {
    const CSource source(options.documentName);
    const CComRef<IBinDocument> document = OpenDocument(source);
    CComRef<IBinNode> root;
    document->GetRoot(root.Out());
    if (!root) throw std::bad_alloc();
    COutput output;
    PrintTree(root.Get(), options.view, output);
    output.Finish();
    return ExitCode::Done;
}

}  // namespace

void AddShowVerb(CLI::App& app, Action& chosen) {
    CLI::App* verb = app.add_subcommand("show", "Show a binary document as an indented tree");
    const auto options = std::make_shared<ShowOptions>();
    verb->add_option("IN.bdoc", options->documentName, "The binary document to read")->required();
    AddViewOptions(*verb, options->view, "the root");
    verb->callback([options, &chosen] { chosen = [options] { return Show(*options); }; });
}
