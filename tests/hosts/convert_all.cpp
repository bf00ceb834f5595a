// parvel_convert_all FOLDER < names: for each XML file named on standard input, one a line, writes what the library
// makes of it to FOLDER: <n>.bdoc, and from that again <n>.xml, with n counting the lines from 1.
//
// Prints for each file n and what became of it: "converted", "exported" or "refused".
#include <parvel/parvel.h>

#include <exception>
#include <iostream>

#include "hosts/dom_repair.h"
#include "platform/program.h"
#include "test_files.h"

namespace {

namespace fs = std::filesystem;

Text LibraryPath(const fs::path& path) {
    return CTestFolder::Wide(path.u16string());
}

fs::path Utf8Path(const std::string& bytes) {
    return fs::path(std::u8string(bytes.begin(), bytes.end()));
}

bool Export(const fs::path& from, const fs::path& to) {
    IBinDocument* document = nullptr;
    if (KestQueryBinDocInterface(&IID_IBinDocument, &document) != 0) return false;
    const bool done =
        document->LoadFromFile(LibraryPath(from).c_str()) && document->ExportToXml(LibraryPath(to).c_str());
    document->Release();
    return done;
}

const char* ConvertOne(const fs::path& xml, const fs::path& stem) {
    const fs::path document = fs::path(stem).concat(".bdoc");
    if (!TransXml2Bin(LibraryPath(xml).c_str(), LibraryPath(document).c_str())) return "refused";
    return Export(document, fs::path(stem).concat(".xml")) ? "exported" : "converted";
}

}  // namespace

int main(int argc, char** argv) {
    const CProgram program(argc, argv);
    RepairDom();
    if (program.Arguments().size() != 1) {
        std::cerr << "usage: parvel_convert_all FOLDER < names\n";
        return 4;
    }
    try {
        const fs::path folder = Utf8Path(program.Arguments()[0]);
        std::string name;
        for (int n = 1; std::getline(std::cin, name); ++n) {
            std::cout << n << ' ' << ConvertOne(Utf8Path(name), folder / std::to_string(n)) << '\n';
        }
    } catch (const std::exception& error) {
        std::cerr << "parvel_convert_all: " << error.what() << '\n';
        return 5;
    }
    return 0;
}
