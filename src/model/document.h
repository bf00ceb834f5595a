// One binary document in memory: its dictionary, its root, its nodes' memory, and what it remembers of its file.
#pragma once

#include <cstdint>
#include <vector>

#include "model/attr_pair.h"
#include "model/node.h"
#include "model/node_pool.h"
#include "model/record_tree.h"
#include "model/word_dict.h"
#include "parvel/parvel.h"

class CBinaryDocument final : public IBinDocument {
public:
    /// A new, empty document with one reference. Throws std::bad_alloc.
    static CBinaryDocument* Create();

    HRESULT PARVEL_CALL QueryInterface(const IID& iid, void** out) override;
    ULONG PARVEL_CALL AddRef() override;
    ULONG PARVEL_CALL Release() override;
    bool PARVEL_CALL LoadFromFile(const WCHAR* path) override;
    bool PARVEL_CALL LoadFromBuffer(const void* bytes) override;
    void PARVEL_CALL GetRoot(IBinNode** out) override;
    void PARVEL_CALL Clone(IBinDocument** out) override;
    void PARVEL_CALL ClearDictionary() override;
    void PARVEL_CALL CreateNode(IBinNode** out) override;
    void PARVEL_CALL CreateElement(IBinNode** out, const WCHAR* name) override;
    void PARVEL_CALL SetOption(std::int32_t option, const std::uint32_t* value) override;
    std::uint32_t PARVEL_CALL GetOption(std::int32_t option) override;
    bool PARVEL_CALL Save() override;
    bool PARVEL_CALL SaveToFile(const WCHAR* path) override;
    bool PARVEL_CALL ExportToXml(const WCHAR* path) override;
    bool PARVEL_CALL IsModified() override;
    bool PARVEL_CALL SetModified(bool modified) override;
    void PARVEL_CALL Destroy() override;
    bool IsEqual(IBinDocument** other) override;

    // What follows is for nodes, pairs, the rebuild and the writer.

    const WCHAR* GetWord(std::uint32_t index) const { return m_words.GetWord(index); }
    CWordDict& Words() { return m_words; }
    const CWordDict& Words() const { return m_words; }
    CRecordTree& Tree() { return m_tree; }
    const CRecordTree& Tree() const { return m_tree; }
    unsigned char* Block() const { return m_tree.bytes.get(); }
    CNodePool& Pool() { return m_pool; }
    CAttrPairPool& Pairs() { return m_pairs; }
    CBinNode* Root() const { return m_root; }

    /// The root moves into another document: this one has none until GetRoot makes one.
    void GiveUpRoot();

    /// A new bare node. Throws std::bad_alloc.
    CNodeRef NewNode();

    /// Brings every pending edit into the records and makes a dictionary of exactly the texts that the tree uses.
    /// Throws std::bad_alloc, and then every node shows what it showed.
    void Compact();
    /// Puts a rebuilt dictionary and tree in place of the present ones.
    void Replace(CWordDict&& words, CRecordTree&& tree);

    /// No node is edited, moved, or has other children than its record tells.
    bool IsUnedited() const { return !m_states; }

    /// In a tree of copies: adds the texts of a range of records to the dictionary, as copying their nodes does. False,
    /// with nothing done, when a copy would leave one of them out, for want of a name, or make more of it, for its own
    /// value.
    bool TakeTextsOf(std::uint32_t begin, std::uint32_t end);

    /// Makes the nodes of the whole tree. Throws std::bad_alloc.
    void MakeAllNodes();

    /// The block no longer says what is to be written: the tree is written node by node.
    void LeaveBlock() { m_isBlockCurrent = false; }
    bool IsBlockCurrent() const { return m_isBlockCurrent; }

    /// Nodes that somebody holds and that hang on nothing. After MakeRoomForDetached, which throws std::bad_alloc, one
    /// more is listed for certain; otherwise, without memory, it is looked for when the list is needed.
    void ListDetached(CBinNode* node);
    void UnlistDetached(CBinNode* node);
    void MakeRoomForDetached();

    /// Destroys a detached node that nobody holds, with all below it that nobody holds; what is held is detached.
    void DestroySubtree(CBinNode* top);
    /// Destroys one node alone.
    void DestroyNode(CBinNode* node);

    void AddState(CNodeState* state);
    void RemoveState(CNodeState* state);

private:
    CBinaryDocument() = default;
    ~CBinaryDocument();

    bool StandsInRecords() const;
    void ShareTreeOf(const CBinaryDocument& source);
    bool ReadFile(const WCHAR* path, CWordDict& words, CRecordTree& tree);
    bool TakeLoaded(bool isWhole, CRecordTree&& tree, CWordDict&& words);
    void AdoptTree(CRecordTree&& tree, CWordDict&& words);
    void HoldKeptNodes();
    void HoldDetachedNodes();
    void ListMissingDetached();
    void ReplaceWords(CWordDict&& words);

    static constexpr std::size_t kPathUnits = 260;

    std::uint32_t m_refs = 0;
    CWordDict m_words;
    CBinNode* m_root = nullptr;
    std::uint32_t m_optionFlags = 0;
    std::uint32_t m_optionValue = 0;
    WCHAR m_path[kPathUnits] = {};
    bool m_modified = false;
    bool m_isBlockCurrent = false;
    std::int64_t m_fileSize = 0;  // of the last file that LoadFromFile has opened
    CRecordTree m_tree;           // records of all nodes that have none of their own
    CNodePool m_pool{this};
    CAttrPairPool m_pairs{this};
    CNodeState* m_states = nullptr;
    std::vector<CBinNode*> m_detached;
    bool m_isDetachedWhole = true;  // false when there was no memory to list a node
};
