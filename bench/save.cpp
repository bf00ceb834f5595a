// Saving a document as it was loaded and after one edit, and exporting it.
#include <fcntl.h>
#include <unistd.h>

#include <fstream>
#include <iterator>
#include <memory>

#include "contenders.h"
#include "measure.h"

namespace {

std::basic_string<WCHAR> Wide(const std::string& path) {
    return {path.begin(), path.end()};
}

template <class Contender>
std::unique_ptr<Contender> Loaded(const CaseFile& file) {
    auto contender = std::make_unique<Contender>();
    contender->Load(file);
    return contender;
}

void SaveUnedited(benchmark::State& state, const CaseFile& file) {
    EnsureDocument(file);
    const auto path = Wide(ScratchPath("saved.bdoc"));
    const auto document = Loaded<ParvelDocument>(file);
    Measure(
        state, [&] { return document.get(); },
        [&](ParvelDocument& subject) { return subject->SaveToFile(path.c_str()); });
}

bool WriteAtOnce(const std::string& path, const std::string& bytes) {
    const int handle = open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
    const bool isDone = write(handle, bytes.data(), bytes.size()) == static_cast<ssize_t>(bytes.size());
    return close(handle) == 0 && isDone;
}

// What saving comes down to at best: the same bytes in one call.
void WriteSameBytes(benchmark::State& state, const CaseFile& file) {
    EnsureDocument(file);
    std::ifstream document(file.document, std::ios::binary);
    const std::string bytes{std::istreambuf_iterator<char>(document), std::istreambuf_iterator<char>()};
    const std::string path = ScratchPath("written.bdoc");
    Measure(
        state, [&] { return &bytes; }, [&](const std::string& subject) { return WriteAtOnce(path, subject); });
}

void EditAndSave(benchmark::State& state, const CaseFile& file) {
    EnsureDocument(file);
    const auto path = Wide(ScratchPath("edited.bdoc"));
    Measure(
        state, [&] { return Loaded<ParvelDocument>(file); },
        [&](ParvelDocument& subject) {
            IBinNode* root = subject.Root();
            const bool isDone = root->SetAttribute(u"edited", u"yes") && subject->SaveToFile(path.c_str());
            root->Release();
            return isDone;
        });
}

void EditAndSavePugixml(benchmark::State& state, const CaseFile& file, unsigned int format) {
    const std::string path = ScratchPath("edited.xml");
    Measure(
        state, [&] { return Loaded<PugixmlDocument>(file); },
        [&](PugixmlDocument& subject) {
            subject.Tree().document_element().append_attribute("edited").set_value("yes");
            return subject.Tree().save_file(path.c_str(), "\t", format);
        });
}

void Export(benchmark::State& state, const CaseFile& file) {
    EnsureDocument(file);
    const auto path = Wide(ScratchPath("exported.xml"));
    Measure(
        state, [&] { return Loaded<ParvelDocument>(file); },
        [&](ParvelDocument& subject) { return subject->ExportToXml(path.c_str()); });
}

void BuildBelow(pugi::xml_node from, pugi::xml_node to) {
    for (const pugi::xml_attribute attribute : from.attributes()) {
        to.append_attribute(attribute.name()).set_value(attribute.value());
    }
    for (const pugi::xml_node child : from.children()) {
        if (child.type() == pugi::node_element) {
            BuildBelow(child, to.append_child(child.name()));
        } else {
            to.append_child(child.type()).set_value(child.value());
        }
    }
}

// What a host would do instead of exporting: make the same tree call by call, and save it.
void BuildAndSavePugixml(benchmark::State& state, const CaseFile& file) {
    const std::string path = ScratchPath("built.xml");
    const auto source = Loaded<PugixmlDocument>(file);
    Measure(
        state, [&] { return source.get(); },
        [&](PugixmlDocument& subject) {
            pugi::xml_document built;
            const pugi::xml_node root = subject.Tree().document_element();
            BuildBelow(root, built.append_child(root.name()));
            return built.save_file(path.c_str());
        });
}

void BuildBelow(const xmlNode* from, xmlNode* to) {
    for (const xmlAttr* attribute = from->properties; attribute; attribute = attribute->next) {
        xmlNewProp(to, attribute->name, attribute->children ? attribute->children->content : nullptr);
    }
    for (const xmlNode* child = from->children; child; child = child->next) {
        if (child->type == XML_ELEMENT_NODE) {
            BuildBelow(child, xmlNewChild(to, nullptr, child->name, nullptr));
        } else if (child->type == XML_TEXT_NODE || child->type == XML_CDATA_SECTION_NODE) {
            xmlAddChild(to, xmlNewText(child->content));
        }
    }
}

void BuildAndSaveLibxml2(benchmark::State& state, const CaseFile& file) {
    const std::string path = ScratchPath("built.xml");
    const auto source = Loaded<Libxml2Document>(file);
    Measure(
        state, [&] { return source.get(); },
        [&](Libxml2Document& subject) {
            const xmlDocPtr built = xmlNewDoc(nullptr);
            const xmlNode* root = xmlDocGetRootElement(subject.Tree());
            xmlNode* copy = xmlNewNode(nullptr, root->name);
            xmlDocSetRootElement(built, copy);
            BuildBelow(root, copy);
            const bool isSaved = xmlSaveFormatFileEnc(path.c_str(), built, "UTF-8", 1) > 0;
            xmlFreeDoc(built);
            return isSaved;
        });
}

}  // namespace

void RegisterSave() {
    for (const char* set : {"files", "series"}) {
        for (const CaseFile& file : CasesOf(set)) {
            const std::string label = file.Label();
            Register("save", "parvel", label, [file](benchmark::State& state) { SaveUnedited(state, file); });
            Register("edit_save", "parvel", label, [file](benchmark::State& state) { EditAndSave(state, file); });
            Register("export", "parvel", label, [file](benchmark::State& state) { Export(state, file); });
            if (file.set != "files") continue;
            Register("save", "one_write", label, [file](benchmark::State& state) { WriteSameBytes(state, file); });
            for (const bool isIndented : {true, false}) {
                const unsigned int format = isIndented ? pugi::format_default : pugi::format_raw;
                Register("edit_save", isIndented ? "pugixml" : "pugixml_raw", label,
                         [file, format](benchmark::State& state) { EditAndSavePugixml(state, file, format); });
            }
            Register("export", "pugixml", label, [file](benchmark::State& state) { BuildAndSavePugixml(state, file); });
            Register("export", "libxml2", label, [file](benchmark::State& state) { BuildAndSaveLibxml2(state, file); });
        }
    }
}
