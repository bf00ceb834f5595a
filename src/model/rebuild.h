// The rebuild of a document before it is saved: new records of the whole tree in one block, over a new dictionary that
// holds exactly the texts the tree uses, in the order in which a pre-order walk first meets them.
//
// Everything is made beside the present tree and put in place at the end: when memory runs out, nothing has changed but
// that a pending value may already stand in the text child that a rebuild makes of it. Nodes that exist go on existing;
// what was never made is carried over record by record.
#pragma once

#include <memory>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "model/grow_array.h"
#include "model/node.h"
#include "model/word_map.h"

class CBinaryDocument;

class CRebuild {
public:
    explicit CRebuild(CBinaryDocument& document);

    /// Rebuilds the document, which must have a root. Throws std::bad_alloc.
    void Run();

private:
    // A made node whose record is in the new block.
    struct Placed {
        CBinNode* node;
        std::uint32_t offset;
    };
    // A made node whose new record is its own: one that is not written because a node above it is no element, or an
    // element of which not all children are written.
    struct Apart {
        CBinNode* node;
        std::unique_ptr<unsigned char[]> record;
    };
    void MakeNodesWithoutRecord();
    void EmitNode(CBinNode& node, bool isWritten);
    void EmitSlice(const unsigned char* record, const unsigned char* end);
    void EmitUnedited(const unsigned char* element);
    void EmitCopied(const unsigned char* element);
    void EmitElement(const unsigned char* record, const CNodeState* state);
    std::uint32_t EmitAttrs(const unsigned char* record, const CNodeState* state);
    std::uint32_t EmitAttrList(const CAttrList& attrs);
    void MapEntries(const unsigned char* element, unsigned char* target);
    bool IsInOrder(const unsigned char* record);
    std::uint32_t MapName(std::uint32_t word);
    void KeepApart(CBinNode& node, std::size_t offset, std::uint32_t childCount);
    void Commit();
    static void ClearEdits(CBinNode& node);
    static void DropIdleState(CBinNode& node);

    CBinaryDocument& m_document;
    CWordDict& m_oldWords;
    CWordDict m_newWords;
    CWordMap m_map;
    CGrowArray<unsigned char> m_casing;                              // of each old word, once known
    std::unordered_map<std::uint32_t, std::uint32_t> m_foldedNames;  // new words of names in mixed case
    // Pairs of old words that are known to be in ascending order, since elements of one kind have the same attributes:
    // all of them, and those met last.
    std::unordered_set<std::uint64_t> m_allAscending;
    static constexpr std::size_t kKnownPairs = 256;
    std::uint64_t m_ascending[kKnownPairs] = {};
    CGrowArray<unsigned char> m_records;
    CGrowArray<Placed> m_placed;
    std::vector<Apart> m_apart;
};
