#include "corpus.h"

#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <stdexcept>

namespace fs = std::filesystem;

namespace {

const fs::path kCorpus = PARVEL_BENCH_CORPUS;
const fs::path kDocuments = PARVEL_BENCH_DOCUMENTS;

// Removed with what is in it when the process ends.
struct ScratchFolder {
    fs::path path;

    ScratchFolder() {
        const fs::path memory = "/dev/shm";
        path = (fs::is_directory(memory) ? memory : kDocuments) / ("parvel-bench-" + std::to_string(getpid()));
        fs::create_directories(path);
    }
    ~ScratchFolder() {
        std::error_code ignored;
        fs::remove_all(path, ignored);
    }
};

}  // namespace

std::vector<CaseFile> CasesOf(const std::string& set) {
    std::vector<CaseFile> cases;
    for (const fs::directory_entry& entry : fs::directory_iterator(kCorpus / set)) {
        const std::string name = entry.path().filename().string();
        cases.push_back({set, name, entry.path().string(), (kDocuments / set / (name + ".bdoc")).string()});
    }
    if (cases.empty()) throw std::runtime_error("no files to measure on; run scripts/bench-corpus.py");
    std::sort(cases.begin(), cases.end(), [](const CaseFile& a, const CaseFile& b) { return a.name < b.name; });
    return cases;
}

void EnsureDocument(const CaseFile& file) {
    if (fs::exists(file.document)) {
        const auto made = fs::last_write_time(file.document);
        if (made > fs::last_write_time(file.xml) && made > fs::last_write_time(PARVEL_BENCH_LIBRARY)) return;
    }
    fs::create_directories(fs::path(file.document).parent_path());
    if (!TransXml2Bin(file.XmlPath().c_str(), file.DocumentPath().c_str())) {
        throw std::runtime_error("cannot convert " + file.xml);
    }
}

std::string ScratchPath(const std::string& name) {
    static const ScratchFolder folder;
    return (folder.path / name).string();
}
