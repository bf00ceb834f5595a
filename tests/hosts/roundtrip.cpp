// parvel_roundtrip FOLDER < names: for each XML file named on standard input, one a line, converts it, loads the result
// and saves it unedited; the saved bytes must be the converted ones.
//
// A plain host of the library. FOLDER takes two working files. Prints the refused files, those whose documents do not
// load, the differing ones, and the sums; ends with 1 when any file differs, or when none was converted. Conversion may
// write what passes a limit of the reader: whether a document had to load is for the caller to find out.
#include <parvel/parvel.h>

#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <string>

namespace {

namespace fs = std::filesystem;

struct Sums {
    std::uint64_t files = 0;
    std::uint64_t xmlBytes = 0;
    std::uint64_t documentBytes = 0;
    std::uint64_t refused = 0;
    std::uint64_t unread = 0;
    std::uint64_t wrong = 0;
};

std::string ReadFile(const fs::path& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

std::basic_string<WCHAR> LibraryPath(const fs::path& path) {
    const std::u16string text = path.u16string();
    return {text.begin(), text.end()};
}

bool LoadAndSave(const fs::path& from, const fs::path& to) {
    IBinDocument* document = nullptr;
    if (KestQueryBinDocInterface(&IID_IBinDocument, &document) != 0) return false;
    const bool done =
        document->LoadFromFile(LibraryPath(from).c_str()) && document->SaveToFile(LibraryPath(to).c_str());
    document->Release();
    return done;
}

void CheckFile(const fs::path& xml, const fs::path& folder, Sums& sums) {
    const fs::path converted = folder / "converted.bdoc";
    const fs::path saved = folder / "saved.bdoc";
    fs::remove(converted);
    fs::remove(saved);
    if (!TransXml2Bin(LibraryPath(xml).c_str(), LibraryPath(converted).c_str())) {
        ++sums.refused;
        std::cout << "refused: " << xml.string() << '\n';
        return;
    }
    ++sums.files;
    sums.xmlBytes += fs::file_size(xml);
    if (!LoadAndSave(converted, saved)) {
        ++sums.unread;
        std::cout << "unread: " << xml.string() << '\n';
        return;
    }
    const std::string bytes = ReadFile(converted);
    sums.documentBytes += bytes.size();
    if (bytes.empty() || ReadFile(saved) != bytes) {
        ++sums.wrong;
        std::cout << "DIFFERS: " << xml.string() << '\n';
    }
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::cerr << "usage: parvel_roundtrip FOLDER < names\n";
        return 4;
    }
    Sums sums;
    try {
        for (std::string name; std::getline(std::cin, name);) CheckFile(name, argv[1], sums);
    } catch (const std::exception& error) {
        std::cerr << "parvel_roundtrip: " << error.what() << '\n';
        return 5;
    }
    std::cout << sums.files << " files, " << sums.xmlBytes << " bytes of XML, " << sums.documentBytes
              << " bytes of binary documents: " << sums.wrong << " wrong, " << sums.unread << " unread; "
              << sums.refused << " files refused\n";
    return sums.files > 0 && sums.wrong == 0 ? 0 : 1;
}
