// parvel_bench_count FOLDER convert, parvel_bench_count FOLDER use: a fixed set of operations on inputs that this
// program makes itself, for counting their instructions. scripts/bench-count.py runs both in this order under
// callgrind, which writes one profile an operation. The conversion has a process of its own, since its parser salts its
// hash tables: its count differs a little each time, and so would all that came after it on the same heap.
#include <parvel/parvel.h>
#include <unistd.h>
#include <valgrind/callgrind.h>

#include <cstdio>
#include <fstream>
#include <string>

namespace {

using Text = std::basic_string<WCHAR>;

constexpr int kSections = 300;

// A sequence that looks random and is always the same.
unsigned int Next() {
    static unsigned int state = 12345;
    state = state * 1664525 + 1013904223;
    return state >> 16;
}

// Elements with attributes, small nested ones, and paragraphs, some with characters to escape.
void WriteInput(const char* path) {
    std::ofstream xml(path, std::ios::binary);
    xml << "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<book version=\"1\">\n";
    for (int section = 0; section < kSections; ++section) {
        xml << " <section id=\"s" << section << "\" kind=\"k" << Next() % 7 << "\" Width=\"" << Next() % 1000
            << "\" height=\"" << Next() % 1000 << "\">\n";
        for (int item = 0; item < 10; ++item) {
            xml << "  <item><name>n" << Next() % 500 << "</name><value>" << Next() % 100 << "</value></item>\n";
        }
        xml << "  <p>";
        for (int word = 0; word < 40; ++word)
            xml << "word" << Next() % 3000 << (word % 13 ? " " : " &amp; \u00e9t\u00e9 ");
        xml << "</p>\n <![CDATA[raw <text>]]></section>\n";
    }
    xml << "</book>\n";
}

IBinDocument* NewDocument() {
    IBinDocument* document = nullptr;
    KestQueryBinDocInterface(&IID_IBinDocument, &document);
    return document;
}

IBinNode* RootOf(IBinDocument* document) {
    IBinNode* root = nullptr;
    document->GetRoot(&root);
    return root;
}

std::size_t WalkBelow(IBinNode* node) {
    std::size_t found = (node->GetName() != nullptr) + (node->GetValue() != nullptr);
    for (std::int32_t i = 0; i < node->GetAttrCount(); ++i) {
        IAttrPair* pair = nullptr;
        node->GetAttrPair(i, &pair);
        found += (pair->GetName() != nullptr) + (pair->GetValue() != nullptr);
        pair->Release();
    }
    for (std::int32_t i = 0; i < node->GetChildCount(); ++i) {
        IBinNode* child = nullptr;
        node->GetChild(i, &child);
        found += WalkBelow(child);
        child->Release();
    }
    return found;
}

bool LookUpAttributes(IBinNode* root) {
    std::size_t found = 0;
    for (std::int32_t i = 0; i < kSections; ++i) {
        IBinNode* child = nullptr;
        root->GetChild(i, &child);
        for (const WCHAR* name : {u"height", u"id", u"kind", u"none"}) found += child->GetAttribute(name) != nullptr;
        child->Release();
    }
    return found == kSections * 3;
}

bool AppendAndRemove(IBinDocument* document, IBinNode* root) {
    constexpr int kCount = 1000;
    bool isDone = true;
    for (int i = 0; i < kCount; ++i) {
        IBinNode* child = nullptr;
        document->CreateElement(&child, u"added");
        isDone = child->SetAttribute(u"state", u"new") && root->AppendChild(&child) && isDone;
        child->Release();
    }
    for (int i = 0; i < kCount; ++i) {
        IBinNode* child = nullptr;
        root->GetChild(i % 2 ? 0 : root->GetChildCount() - 1, &child);
        isDone = child->RemoveFromParent() && isDone;
        child->Release();
    }
    return isDone;
}

bool ParseScript() {
    Text list = u"(";
    for (int i = 0; i < 10'000; ++i) list += i % 3 ? u"item " : u"\"quoted \\\"item\\\"\" ";
    list.back() = u')';
    IScriptResultParser* parser = nullptr;
    const bool isDone = GetScriptResultParser(list.c_str(), &parser) && parser->GetItemCount() == 10'000;
    parser->Release();
    return isDone;
}

int failedCount = 0;

// Counts what one operation executes. One that fails has no count.
template <class Operation>
void Count(const char* name, Operation&& operation) {
    CALLGRIND_ZERO_STATS;
    if (operation()) {
        CALLGRIND_DUMP_STATS_AT(name);
    } else {
        std::fprintf(stderr, "parvel_bench_count: %s failed\n", name);
        ++failedCount;
    }
}

void CountConversion() {
    WriteInput("in.xml");
    Count("convert", [] { return TransXml2Bin(u"in.xml", u"in.bdoc"); });
}

void CountUse() {
    IBinDocument* document = NewDocument();
    Count("load", [&] { return document->LoadFromFile(u"in.bdoc"); });
    IBinNode* root = RootOf(document);
    Count("walk, first", [&] { return WalkBelow(root) > 0; });
    Count("walk, again", [&] { return WalkBelow(root) > 0; });
    Count("look up attributes", [&] { return LookUpAttributes(root); });
    Count("save, unedited", [&] { return document->SaveToFile(u"saved.bdoc"); });
    Count("export", [&] { return document->ExportToXml(u"out.xml"); });
    IBinDocument* other = NewDocument();
    other->LoadFromFile(u"in.bdoc");
    Count("compare documents", [&] { return document->IsEqual(&other); });
    other->Release();
    IBinDocument* copy = nullptr;
    Count("clone document", [&] { return document->Clone(&copy), copy != nullptr; });
    copy->Release();
    Count("save, one edit",
          [&] { return root->SetAttribute(u"edited", u"yes") && document->SaveToFile(u"saved.bdoc"); });
    Count("append and remove", [&] { return AppendAndRemove(document, root); });
    root->Release();
    Count("release walked", [&] { return document->Release() == 0; });

    document = NewDocument();
    document->LoadFromFile(u"in.bdoc");
    Count("release untouched", [&] { return document->Release() == 0; });
    Count("parse script list", ParseScript);
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 3 || chdir(argv[1]) != 0) return 4;
    if (std::string(argv[2]) == "convert") {
        CountConversion();
    } else {
        CountUse();
    }
    return failedCount == 0 ? 0 : 5;
}
