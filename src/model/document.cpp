// The document's own operations: lifetime, root, options, saving; and the bookkeeping of its nodes.
#include "model/document.h"

#include <algorithm>
#include <cstring>
#include <new>

#include "export/kest_c2xml.h"
#include "model/node_access.h"
#include "model/rebuild.h"
#include "model/tree_writer.h"
#include "platform/file.h"

namespace {

constexpr WCHAR kRootName[] = WTEXT("root");
constexpr std::uint32_t kOption1Bit = 1;
constexpr std::uint32_t kNotListed = 0xFFFFFFFF;

}  // namespace

CBinaryDocument* CBinaryDocument::Create() {
    CBinaryDocument* document = new CBinaryDocument;
    document->m_refs = 1;
    return document;
}

// Nodes are not visited one by one: states go, and with the pool all slabs of which nobody keeps a node.
CBinaryDocument::~CBinaryDocument() {
    while (CNodeState* state = m_states) {
        CBinNode* node = state->node;
        delete state;
        node->m_parent = nullptr;
        node->m_offset = CBinNode::kNoRecord;
        node->m_links = links::kGone;
        if (node->IsGuest() && node->m_refs == 0) CNodePool::Free(node);
    }
    m_root = nullptr;
}

HRESULT CBinaryDocument::QueryInterface(const IID& iid, void** out) {
    if (iid != IID_IBinDocument || !out) return 1;
    *out = static_cast<IBinDocument*>(this);
    AddRef();
    return 0;
}

ULONG CBinaryDocument::AddRef() {
    return ++m_refs;
}

ULONG CBinaryDocument::Release() {
    const std::uint32_t refs = --m_refs;
    if (refs == 0) Destroy();
    return refs;
}

void CBinaryDocument::Destroy() {
    delete this;
}

void CBinaryDocument::GetRoot(IBinNode** out) {
    if (!out) return;
    *out = nullptr;
    try {
        if (!m_root) {
            const CNodeRef root = NewNode();
            root->BecomeElement(kRootName);
            UnlistDetached(root.get());
            m_root = root.get();
            m_modified = true;  // its name is not in the dictionary yet
        }
        m_root->AddRef();
        *out = m_root;
    } catch (const std::bad_alloc&) {
    }
}

void CBinaryDocument::ClearDictionary() {
    ReplaceWords(CWordDict());
}

// The words that records name are other ones now.
void CBinaryDocument::ReplaceWords(CWordDict&& words) {
    m_words = std::move(words);
    if (m_tree.copied) m_tree.copied->areDictionaryStart = false;
    for (CNodeState* state = m_states; state; state = state->next) state->isStored = false;
}

void CBinaryDocument::GiveUpRoot() {
    m_root = nullptr;
    m_modified = true;
    m_isBlockCurrent = false;
}

CNodeRef CBinaryDocument::NewNode() {
    MakeRoomForDetached();
    CBinNode* node = m_pool.Allocate();
    node->AddRef();
    ListDetached(node);
    return CNodeRef(node);
}

void CBinaryDocument::CreateNode(IBinNode** out) {
    if (!out) return;
    try {
        *out = NewNode().release();
    } catch (const std::bad_alloc&) {
        *out = nullptr;
    }
}

void CBinaryDocument::CreateElement(IBinNode** out, const WCHAR* name) {
    if (!out || !name || !*name) return;
    try {
        CNodeRef node = NewNode();
        node->BecomeElement(name);
        *out = node.release();
    } catch (const std::bad_alloc&) {
        *out = nullptr;
    }
}

void CBinaryDocument::SetOption(std::int32_t option, const std::uint32_t* value) {
    if (option != 1 || !value) return;
    m_optionValue = *value;
    m_optionFlags = *value != 0 ? m_optionFlags | kOption1Bit : m_optionFlags & ~kOption1Bit;
}

std::uint32_t CBinaryDocument::GetOption(std::int32_t) {
    return 0;
}

bool CBinaryDocument::Save() {
    return m_path[0] != 0 && SaveToFile(m_path);
}

bool CBinaryDocument::SaveToFile(const WCHAR* path) {
    try {
        Compact();
        COutputFile file;
        if (!file.Open(path)) return false;
        WriteDictionary(file, m_words);
        WriteTree(file, *this);
        file.Close();
        return true;
    } catch (const std::bad_alloc&) {
        return false;
    }
}

bool CBinaryDocument::ExportToXml(const WCHAR* path) {
    if (!m_root) return false;
    try {
        Compact();
    } catch (const std::bad_alloc&) {
        return false;
    }
    return CKestC2XML().Export(path, m_root, m_states == nullptr);
}

bool CBinaryDocument::IsModified() {
    return m_modified;
}

bool CBinaryDocument::SetModified(bool modified) {
    m_modified = modified;
    return modified;
}

void CBinaryDocument::Compact() {
    if (m_root && m_modified) {
        HoldDetachedNodes();
        CRebuild(*this).Run();
    } else if (m_tree.copied) {
        MakeAllNodes();  // what is saved are the records of the copies, as they stand
    }
    m_modified = false;
}

void CBinaryDocument::MakeAllNodes() {
    for (CBinNode* node = m_root; node; node = node->NextMadeInPreOrder(m_root)) node->MakeChildren();
}

// Nodes that hang on nothing keep what they show, although the words that they refer to may go.
void CBinaryDocument::HoldDetachedNodes() {
    if (!m_isDetachedWhole) ListMissingDetached();
    for (CBinNode* node : m_detached) node->HoldSubtree();
}

void CBinaryDocument::Replace(CWordDict&& words, CRecordTree&& tree) {
    m_words = std::move(words);
    m_tree = std::move(tree);
    m_isBlockCurrent = true;
}

void CBinaryDocument::ListDetached(CBinNode* node) {
    try {
        MakeRoomForDetached();
        m_detached.push_back(node);
        node->m_slot = static_cast<std::uint32_t>(m_detached.size() - 1);
    } catch (const std::bad_alloc&) {
        node->m_slot = kNotListed;
        m_isDetachedWhole = false;
    }
}

void CBinaryDocument::MakeRoomForDetached() {
    if (m_detached.size() == m_detached.capacity()) m_detached.reserve(m_detached.size() * 2 + 8);
}

void CBinaryDocument::ListMissingDetached() {
    const auto list = [this](CBinNode* node) {
        if (node->IsAttached() || node->m_slot != kNotListed) return;
        MakeRoomForDetached();
        ListDetached(node);
    };
    m_pool.ForEachHeld(list);
    for (CNodeState* state = m_states; state; state = state->next) {
        if (state->node->IsGuest() && state->node->m_refs > 0) list(state->node);
    }
    m_isDetachedWhole = true;
}

void CBinaryDocument::UnlistDetached(CBinNode* node) {
    if (node->m_slot == kNotListed) return;
    m_detached.back()->m_slot = node->m_slot;
    m_detached[node->m_slot] = m_detached.back();
    m_detached.pop_back();
}

void CBinaryDocument::DestroySubtree(CBinNode* top) {
    // What waits to be destroyed is chained through m_parent: no recursion, and no memory.
    top->m_parent = nullptr;
    for (CBinNode* waiting = top; waiting;) {
        CBinNode* node = waiting;
        waiting = node->m_parent;
        for (CBinNode* child = node->HasMadeChildren() ? node->FirstMadeChild() : nullptr; child;) {
            CBinNode* next = node->NextMadeChild(child);
            if (child->m_refs > 0) {
                child->m_parent = nullptr;
                ListDetached(child);
            } else {
                child->m_parent = waiting;
                waiting = child;
            }
            child = next;
        }
        DestroyNode(node);
    }
}

void CBinaryDocument::DestroyNode(CBinNode* node) {
    delete node->State();
    CNodePool::Free(node);
}

void CBinaryDocument::AddState(CNodeState* state) {
    state->previous = nullptr;
    state->next = m_states;
    if (m_states) m_states->previous = state;
    m_states = state;
}

void CBinaryDocument::RemoveState(CNodeState* state) {
    (state->previous ? state->previous->next : m_states) = state->next;
    if (state->next) state->next->previous = state->previous;
}
