// Writes the records of a document's tree, in pre-order, as the binary layout has them.
#pragma once

class CBinaryDocument;
class COutputFile;

/// Nodes without a record are left out, and their parent's child count counts what is written.
void WriteTree(COutputFile& file, const CBinaryDocument& document);
