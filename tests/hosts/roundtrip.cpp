// parvel_roundtrip FOLDER < names: for each XML file named on standard input, one a line, converts it, loads the result
// and saves it unedited; the saved bytes must be the converted ones.
//
// A plain host of the library. FOLDER takes two working files. Prints a line for each file: "same: ", "refused: ",
// "unread: " or "DIFFERS: " and its name. Conversion may write what passes a limit of the reader: whether a document
// had to load is for the caller to find out.
#include <parvel/parvel.h>

#include <exception>
#include <iostream>

#include "test_files.h"

namespace {

namespace fs = std::filesystem;

Text LibraryPath(const fs::path& path) {
    return CTestFolder::Wide(path.u16string());
}

bool LoadAndSave(const fs::path& from, const fs::path& to) {
    IBinDocument* document = nullptr;
    if (KestQueryBinDocInterface(&IID_IBinDocument, &document) != 0) return false;
    const bool done =
        document->LoadFromFile(LibraryPath(from).c_str()) && document->SaveToFile(LibraryPath(to).c_str());
    document->Release();
    return done;
}

const char* WhatBecomesOf(const fs::path& xml, const fs::path& folder) {
    const fs::path converted = folder / "converted.bdoc";
    const fs::path saved = folder / "saved.bdoc";
    fs::remove(converted);
    fs::remove(saved);
    if (!TransXml2Bin(LibraryPath(xml).c_str(), LibraryPath(converted).c_str())) return "refused: ";
    if (!LoadAndSave(converted, saved)) return "unread: ";
    const auto bytes = ReadBytes(converted);
    return bytes.empty() || ReadBytes(saved) != bytes ? "DIFFERS: " : "same: ";
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::cerr << "usage: parvel_roundtrip FOLDER < names\n";
        return 4;
    }
    try {
        for (std::string name; std::getline(std::cin, name);) std::cout << WhatBecomesOf(name, argv[1]) << name << '\n';
    } catch (const std::exception& error) {
        std::cerr << "parvel_roundtrip: " << error.what() << '\n';
        return 5;
    }
    return 0;
}
