// parvel: the command-line tool.
#include <algorithm>
#include <cstdio>
#include <exception>
#include <new>
#include <string>
#include <utility>
#include <vector>

#include "escape.h"
#include "fault.h"
#include "platform/program.h"
#include "verbs.h"

namespace {

constexpr const char* kFooter =
    "A file name of - means standard input or output.\n"
    "\n"
    "Exit codes:\n"
    "  0  done\n"
    "  1  differs, or not found\n"
    "  2  bad input\n"
    "  3  cannot read or write\n"
    "  4  wrong use\n"
    "  5  internal fault\n"
    "\n"
    "Examples:\n"
    "  parvel convert menu.xml menu.bdoc\n"
    "  parvel show --depth 3 menu.bdoc\n"
    "  parvel convert menu.xml - | parvel show -\n"
    "  parvel export menu.bdoc copy.xml\n"
    "  parvel result \"(1 2.5 (a b))\"\n";

int Complain(ExitCode code, const std::string& line) {
    std::fprintf(stderr, "%s\n", line.c_str());
    return static_cast<int>(code);
}

int Run(std::vector<std::string> arguments) {
    CLI::App app("Binary documents: made from XML, looked into, made XML again.", "parvel");
    app.set_version_flag("--version", "parvel " PARVEL_VERSION, "Print the version and exit");
    app.set_help_flag("-h,--help", "Print this help and exit");
    app.allow_windows_style_options(false);  // what starts with a slash is a path
    app.require_subcommand(0, 1);            // a word that is no verb is then told by name
    app.footer(kFooter);
    Action chosen;
    AddConvertVerb(app, chosen);
    AddShowVerb(app, chosen);
    AddExportVerb(app, chosen);
    AddResultVerb(app, chosen);

    try {
        std::reverse(arguments.begin(), arguments.end());  // as the parser wants them
        app.parse(std::move(arguments));
    } catch (const CLI::Success& request) {
        return app.exit(request);
    } catch (const CLI::ParseError& error) {
        return Complain(ExitCode::WrongUse, "parvel: " + EscapeBytes(error.what()) + "; see parvel --help");
    }
    if (!chosen) return Complain(ExitCode::WrongUse, "parvel: what to do is missing; see parvel --help");
    return static_cast<int>(chosen());
}

int RunAndComplain(const std::vector<std::string>& arguments) {
    try {
        return Run(arguments);
    } catch (const CReaderGone&) {
        return static_cast<int>(ExitCode::Done);
    } catch (const CFault& fault) {
        return Complain(fault.Code(), fault.what());
    } catch (const std::bad_alloc&) {
        return Complain(ExitCode::InternalFault, "parvel: out of memory; a smaller file may do");
    } catch (const std::exception& error) {
        return Complain(ExitCode::InternalFault, std::string("parvel: internal fault: ") + error.what());
    } catch (...) {
        return Complain(ExitCode::InternalFault, "parvel: internal fault");
    }
}

}  // namespace

int main(int argc, char** argv) {
    const CProgram program(argc, argv);
    return RunAndComplain(program.Arguments());
}
