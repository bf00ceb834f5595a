// Looking attributes up by name, each of an element's in turn, on elements with few and with many.
#include <parvel/parvel.h>

#include <algorithm>
#include <pugixml.hpp>
#include <random>
#include <string>
#include <vector>

#include "contenders.h"
#include "measure.h"

namespace {

// Names as they come in interface descriptions and drawings.
const char* const kNames[] = {"name",      "c:type", "version",   "id",      "style",  "transfer-ownership",
                              "direction", "x",      "y",         "width",   "height", "fill-opacity",
                              "nullable",  "xml:id", "transform", "filename"};

std::vector<std::string> NamesOf(int count) {
    std::vector<std::string> names;
    for (int i = 0; i < count; ++i) {
        names.push_back(count <= static_cast<int>(std::size(kNames)) ? kNames[i] : "entry-" + std::to_string(i));
    }
    return names;
}

// One element with these attributes, as an XML file and its document.
CaseFile ElementWith(const std::vector<std::string>& names) {
    const std::string xml = ScratchPath("element.xml");
    pugi::xml_document tree;
    pugi::xml_node element = tree.append_child("element");
    for (const std::string& name : names) element.append_attribute(name.c_str()).set_value("value");
    tree.save_file(xml.c_str());
    const CaseFile file{"", "", xml, ScratchPath("element.bdoc")};
    TransXml2Bin(file.XmlPath().c_str(), file.DocumentPath().c_str());
    return file;
}

// The order in which they are asked for.
std::vector<std::string> Shuffled(std::vector<std::string> names) {
    std::shuffle(names.begin(), names.end(), std::mt19937(1));
    return names;
}

void AskParvel(benchmark::State& state, int count) {
    ParvelDocument document;
    if (!document.Load(ElementWith(NamesOf(count)))) return state.SkipWithError("cannot load");
    std::vector<std::basic_string<WCHAR>> names;
    for (const std::string& name : Shuffled(NamesOf(count))) names.emplace_back(name.begin(), name.end());
    IBinNode* element = document.Root();
    for ([[maybe_unused]] auto _ : state) {
        for (const auto& name : names) {
            const WCHAR* value = element->GetAttribute(name.c_str());
            if (!value || *value != u'v') state.SkipWithError("wrong value");
        }
    }
    element->Release();
    state.SetItemsProcessed(state.iterations() * count);
}

void AskPugixml(benchmark::State& state, int count) {
    PugixmlDocument document;
    if (!document.Load(ElementWith(NamesOf(count)))) return state.SkipWithError("cannot load");
    const std::vector<std::string> names = Shuffled(NamesOf(count));
    const pugi::xml_node element = document.Tree().document_element();
    for ([[maybe_unused]] auto _ : state) {
        for (const std::string& name : names) {
            const char* value = element.attribute(name.c_str()).value();
            if (*value != 'v') state.SkipWithError("wrong value");
        }
    }
    state.SetItemsProcessed(state.iterations() * count);
}

}  // namespace

void RegisterAttributes() {
    for (const int count : {1, 4, 16, 1000}) {
        const std::string label = "/count/" + std::to_string(count);
        benchmark::RegisterBenchmark(("attribute/parvel" + label).c_str(), AskParvel, count);
        benchmark::RegisterBenchmark(("attribute/pugixml" + label).c_str(), AskPugixml, count);
    }
}
