// Converting an XML file to a document, against parsing it and keeping nothing.
#include <expat.h>
#include <fcntl.h>
#include <unistd.h>

#include <memory>

#include "contenders.h"
#include "measure.h"

namespace {

struct Counts {
    std::uint64_t elements = 0;
    std::uint64_t attributes = 0;
    std::uint64_t textBytes = 0;
};

void CountElement(void* counts, const XML_Char*, const XML_Char** attributes) {
    Counts& sums = *static_cast<Counts*>(counts);
    ++sums.elements;
    for (; *attributes; attributes += 2) ++sums.attributes;
}

void CountEnd(void*, const XML_Char*) {}

void CountText(void* counts, const XML_Char*, int length) {
    static_cast<Counts*>(counts)->textBytes += static_cast<std::uint64_t>(length);
}

bool ParseAndCount(const std::string& path, Counts& counts) {
    constexpr int kPieceBytes = 64 * 1024;
    const int handle = open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (handle < 0) return false;
    const XML_Parser parser = XML_ParserCreate(nullptr);
    XML_SetUserData(parser, &counts);
    XML_SetElementHandler(parser, CountElement, CountEnd);
    XML_SetCharacterDataHandler(parser, CountText);
    bool isGoing = true;
    bool isDone = false;
    while (isGoing) {
        void* buffer = XML_GetBuffer(parser, kPieceBytes);
        const ssize_t length = buffer ? read(handle, buffer, kPieceBytes) : -1;
        isGoing = length >= 0 && XML_ParseBuffer(parser, static_cast<int>(length), length == 0) == XML_STATUS_OK;
        if (length == 0) {
            isDone = isGoing;
            isGoing = false;
        }
    }
    XML_ParserFree(parser);
    close(handle);
    return isDone;
}

}  // namespace

void RegisterConvert() {
    for (const char* set : {"files", "series"}) {
        for (const CaseFile& file : CasesOf(set)) {
            Register("convert", "parvel", file.Label(), [file](benchmark::State& state) {
                const std::string path = ScratchPath("converted.bdoc");
                const CaseFile paths{"", "", file.xml, path};
                Measure(
                    state, [&] { return &paths; },
                    [](const CaseFile& to) { return TransXml2Bin(to.XmlPath().c_str(), to.DocumentPath().c_str()); });
            });
            if (file.set != "files") continue;
            Register("convert", "expat", file.Label(), [file](benchmark::State& state) {
                Measure(
                    state, [] { return std::make_unique<Counts>(); },
                    [&file](Counts& counts) { return ParseAndCount(file.xml, counts) && counts.elements > 0; });
            });
        }
    }
}
