// What is fuzzed. Each target takes any bytes and gives them to one part of the library; when a promise of that part
// does not hold, the process says which and aborts.
//
// clang's libFuzzer drives one target per program (entry.cpp). The ordinary tests run all targets over fuzz/seeds, and
// over what comes of these at random.
#pragma once

#include <cstdint>
#include <span>

using FuzzBytes = std::span<const std::uint8_t>;

/// A script's result, all its items and values, beside a plain transcription of the rules.
void FuzzScript(FuzzBytes bytes);

/// A binary document: loaded beside a plain reader, walked, saved, loaded again, rebuilt, cloned.
void FuzzDocument(FuzzBytes bytes);

/// Edits that the bytes choose, on several documents, beside the plain model.
void FuzzEdits(FuzzBytes bytes);

/// An XML file: loaded into the DOM, converted with and without folding; what comes out is the DOM's tree.
void FuzzXml(FuzzBytes bytes);

/// A binary document that is exported: what comes out is XML that another parser reads.
void FuzzExport(FuzzBytes bytes);

/// An ini file and the look-up in it.
void FuzzIni(FuzzBytes bytes);

struct FuzzTarget {
    const char* name;   // of its program, without "fuzz_"
    const char* seeds;  // its folder in fuzz/seeds
    void (*run)(FuzzBytes bytes);
    int rounds;  // of random inputs that the ordinary tests run beside the seeds
};

inline constexpr FuzzTarget kFuzzTargets[] = {
    {"script", "script", FuzzScript, 60'000},  {"document", "document", FuzzDocument, 6'000},
    {"edits", "edits", FuzzEdits, 500},        {"xml", "xml", FuzzXml, 6'000},
    {"export", "document", FuzzExport, 6'000}, {"ini", "ini", FuzzIni, 20'000},
};
