// The rebuild of a document before it is saved: new records of the whole tree in one block, over a new dictionary that
// holds exactly the texts the tree uses, in the order in which a pre-order walk first meets them.
//
// Two passes. The first goes through the tree, gives the words their new numbers and makes the records of what is
// edited; records of which nothing changes but those numbers are only noted as ranges. The second puts the new records
// together. All that can fail for want of memory comes before anything changes, but that a pending value may already
// stand in the text child that a rebuild makes of it. Nodes that exist go on existing.
#pragma once

#include <memory>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "model/grow_array.h"
#include "model/new_records.h"
#include "model/node.h"
#include "model/word_map.h"
#include "platform/hash.h"

class CBinaryDocument;

class CRebuild {
public:
    explicit CRebuild(CBinaryDocument& document);

    /// Rebuilds the document, which must have a root. Throws std::bad_alloc.
    void Run();

private:
    // A made node whose record is in the block, and where, from the root's record on.
    struct Placed {
        CBinNode* node;
        std::uint32_t place;
    };
    // A made node whose new record is its own: one that is not written because a node above it is no element, or an
    // element of which not all children are written.
    struct Apart {
        CBinNode* node;
        std::unique_ptr<unsigned char[]> record;
    };
    void MakeNodesWithoutRecord();
    void EmitNode(CBinNode& node, bool isWritten);
    void EmitSlice(std::uint32_t begin, std::uint32_t end);
    void EmitCopies(std::uint32_t begin, std::uint32_t end);
    std::uint32_t MapUnedited(const unsigned char* record);
    void EmitRecord(const unsigned char* record, const CNodeState* state);
    void EmitElement(const unsigned char* record, const CNodeState* state);
    void EmitCopied(const unsigned char* element);
    std::uint32_t EmitAttrs(const unsigned char* record, const CNodeState* state);
    std::uint32_t EmitAttrList(const CAttrList& attrs);
    void MapEntries(const unsigned char* element, unsigned char* target);
    bool IsInOrder(const unsigned char* record);
    bool IsNameFolded(std::uint32_t word);
    std::uint32_t MapName(std::uint32_t word);
    void KeepApart(CBinNode& node, std::size_t begin, std::uint32_t childCount);
    bool StaysInPlace() const;
    bool AreWordsInBlock() const;
    void Commit();
    static void ClearEdits(CBinNode& node);
    static void DropIdleState(CBinNode& node);

    CBinaryDocument& m_document;
    CWordDict& m_oldWords;
    bool m_isBlockOurs;  // nobody but this document reads its records
    CWordDict m_newWords;
    CWordMap m_map;
    CGrowArray<unsigned char> m_casing;                              // of each old word, once known
    std::unordered_map<std::uint32_t, std::uint32_t> m_foldedNames;  // new words of names in mixed case
    // Pairs of old words that are known to be in ascending order, since elements of one kind have the same attributes:
    // all of them, and those met last. The seed keeps the pairs of a hostile file from meeting in one place.
    struct PairHash {
        std::uint64_t seed;
        std::size_t operator()(std::uint64_t pair) const {
            return static_cast<std::size_t>(FoldedProduct(pair ^ seed, seed | 1));
        }
    };
    std::unordered_set<std::uint64_t, PairHash> m_allAscending{0, PairHash{RandomSeed()}};
    static constexpr std::size_t kKnownPairs = 256;
    std::uint64_t m_ascending[kKnownPairs] = {};
    CNewRecords m_records;
    CGrowArray<Placed> m_placed;
    std::vector<Apart> m_apart;
};
