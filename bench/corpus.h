// The files that are measured on: made by scripts/bench-corpus.py, converted here when first needed.
#pragma once

#include <parvel/parvel.h>

#include <string>
#include <vector>

struct CaseFile {
    std::string set;   // files, series or small
    std::string name;  // mime.xml
    std::string xml;   // path of the XML file
    std::string document;

    /// The case's part of a benchmark's name: files/mime.xml
    std::string Label() const { return set + '/' + name; }
    std::basic_string<WCHAR> XmlPath() const { return {xml.begin(), xml.end()}; }
    std::basic_string<WCHAR> DocumentPath() const { return {document.begin(), document.end()}; }
};

/// All files of a set, by name. Throws std::runtime_error when there are none.
std::vector<CaseFile> CasesOf(const std::string& set);

/// Converts the XML file, unless that was done with this build of the library. Throws std::runtime_error.
void EnsureDocument(const CaseFile& file);

/// A path for something to write, in memory where the system offers that. One process uses it at a time.
std::string ScratchPath(const std::string& name);
