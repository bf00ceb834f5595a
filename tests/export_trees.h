// Trees for the tests of the export, and what comes of them: case by case; and at random, with names and texts that XML
// cannot hold among them.
#pragma once

#include "small_tree.h"
#include "test_files.h"

/// Whether XML can hold a text, and one of the names used here.
bool IsHeld(const Text& text);
bool IsGoodName(const Text& name);

/// The random tree of a seed, whose root has a good name.
SmallTree RandomDocument(unsigned seed);

/// What the rules of the export make of a tree whose root has a good name.
SmallTree Predicted(const SmallTree& tree);

/// A tree, and the file that is saved of it, behind its declaration.
struct ExportCase {
    const char* name;
    SmallTree tree;
    std::string file;
};
std::vector<ExportCase> ExportCases();

bool ExportFile(const SmallTree& tree, const Text& path);
