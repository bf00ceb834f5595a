#include "model/tree_writer.h"

#include <algorithm>

#include "model/node_access.h"
#include "platform/file.h"

namespace {

// Records that lie in the document's block, as they stand but for the counts of short elements.
void WriteSlice(COutputFile& file, const CRecordTree& tree, std::uint32_t begin, std::uint32_t end) {
    const unsigned char* bytes = tree.bytes.get();
    const ShortElement* element = std::lower_bound(
        tree.shortElements.begin(), tree.shortElements.end(), begin,
        [](const ShortElement& shortElement, std::uint32_t offset) { return shortElement.offset < offset; });
    for (; element != tree.shortElements.end() && element->offset < end; ++element) {
        const std::uint32_t countOffset = element->offset + static_cast<std::uint32_t>(kChildCountOffset);
        file.Write(bytes + begin, countOffset - begin);
        file.Write(&element->writtenCount, sizeof(element->writtenCount));
        begin = countOffset + static_cast<std::uint32_t>(sizeof(element->writtenCount));
    }
    file.Write(bytes + begin, end - begin);
}

void WriteElement(COutputFile& file, const CBinNode& node) {
    const unsigned char* record = node.Record();
    const std::size_t size = static_cast<std::size_t>(GetRecordSize(record));
    const std::uint32_t writtenCount = node.WrittenChildCount();
    if (writtenCount == node.ListCount()) {
        file.Write(record, size);
        return;
    }
    file.Write(record, kChildCountOffset);
    file.Write(&writtenCount, sizeof(writtenCount));
    file.Write(record + kElementBytes, size - kElementBytes);
}

}  // namespace

void WriteTree(COutputFile& file, const CBinaryDocument& document) {
    const CRecordTree& tree = document.Tree();
    CBinNode* const root = document.Root();
    if (root && document.IsBlockCurrent()) {
        WriteSlice(file, tree, tree.begin, tree.end);
        return;
    }
    for (CBinNode* node = root; node;) {
        const unsigned char* record = node->Record();
        if (node->HasUnmadeChildren()) {
            const CBinNode::Slice slice = node->ChildRecords();
            const std::size_t size = static_cast<std::size_t>(GetRecordSize(record));
            if (record + size == document.Block() + slice.begin) {
                WriteSlice(file, tree, slice.begin - static_cast<std::uint32_t>(size), slice.end);
            } else {
                file.Write(record, size);
                WriteSlice(file, tree, slice.begin, slice.end);
            }
        } else if (IsElement(record)) {
            WriteElement(file, *node);
            node = node->NextMadeInPreOrder(root);
            continue;
        } else if (record) {
            file.Write(record, kTextBytes);
        }
        node = node->NextMadeBehind(root);
    }
}
