// parvel show: a binary document as an indented tree.
#include <cstdint>
#include <limits>
#include <memory>
#include <string>

#include "files.h"
#include "open_document.h"
#include "tree_printer.h"
#include "verbs.h"

namespace {

constexpr std::size_t kUsualCharacters = 200;

struct ShowOptions {
    std::string documentName;
    std::uint64_t depth = 0;  // 0: all
    bool isFull = false;
};

ExitCode Show(const ShowOptions& options) {
    const CSource source(options.documentName);
    const CComRef<IBinDocument> document = OpenDocument(source);
    CComRef<IBinNode> root;
    document->GetRoot(root.Out());
    if (!root) throw std::bad_alloc();
    const TreeView view = {options.depth == 0 ? std::numeric_limits<std::uint64_t>::max() : options.depth,
                           options.isFull ? std::numeric_limits<std::size_t>::max() : kUsualCharacters};
    COutput output;
    PrintTree(root.Get(), view, output);
    output.Finish();
    return ExitCode::Done;
}

}  // namespace

void AddShowVerb(CLI::App& app, Action& chosen) {
    CLI::App* verb = app.add_subcommand("show", "Show a binary document as an indented tree");
    const auto options = std::make_shared<ShowOptions>();
    verb->add_option("IN.bdoc", options->documentName, "The binary document to read")->required();
    verb->add_option("--depth", options->depth, "Show this many levels; the root is level 1")
        ->check([](const std::string& text) {
            return text.find_first_not_of("0") == std::string::npos ? std::string("must be 1 or more") : "";
        })
        ->type_name("N");
    verb->add_flag("--full", options->isFull, "Show texts whole that are longer than 200 characters");
    verb->callback([options, &chosen] { chosen = [options] { return Show(*options); }; });
}
