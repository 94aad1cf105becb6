#include "component/tessera.h"

#include <new>

#include "component/memory_watcher.h"
#include "scene/part.h"

namespace tessera {
namespace {

constexpr int kInterfaceVersion = 8;

}  // namespace

HRESULT CreateTessera(ITessera** component) {
    if (!component) return STATUS_FAIL;
    *component = nullptr;
    try {
        *component = new CTessera;
    } catch (const std::bad_alloc&) {
        return STATUS_OUT_OF_MEMORY;
    }
    return STATUS_OK;
}

CTessera::CTessera() : rootOwner_(new CAssembly), m_root(rootOwner_.get()), index_(m_root) {
    m_root->SetName(FromAscii("/"));
    g_triNormalBase = 0;
    MemoryWatcher::Start(m_root, &spoolFiles);
}

CTessera::~CTessera() {
    MemoryWatcher::Stop();
    ClearTree();
    g_triNormalBase = 0;
    if (decimator) decimator->Release();
    rootOwner_.reset();
    delete m_lastAssembly;
    delete m_lastPartInstance;
    delete m_lastPart;
}

HRESULT CTessera::QueryInterface(const IID& id, void** object) {
    if (!object) return STATUS_FAIL;
    *object = nullptr;
    if (!(id == IID_IUnknown) && !(id == IID_ITessera)) return static_cast<HRESULT>(0x80004002u);  // no such interface
    *object = static_cast<ITessera*>(this);
    AddRef();
    return STATUS_OK;
}

ULONG CTessera::AddRef() { return ++references_; }

ULONG CTessera::Release() {
    const ULONG left = --references_;
    if (left == 0) delete this;
    return left;
}

HRESULT CTessera::Refuse(int* errCode, ErrCode code) {
    Give(errCode, static_cast<int>(code));
    return STATUS_FAIL;
}

CNode* CTessera::NodeOf(int id, int* errCode) {
    CNode* const node = index_.Node(id);
    Give(errCode, static_cast<int>(node ? ErrDone : ErrNotFound));
    return node;
}

CPartInstance* CTessera::InstanceOf(int id, int* errCode) {
    CNode* const node = index_.Node(id);
    const bool isInstance = node && node->GetNodeType() == 1;
    Give(errCode, static_cast<int>(isInstance ? ErrDone : ErrNotFound));
    return isInstance ? static_cast<CPartInstance*>(node) : nullptr;
}

CPart* CTessera::PartOf(int id, int* errCode) {
    CPartInstance* const instance = index_.InstanceOfPart(id);
    CPart* const part = instance ? instance->Part() : nullptr;
    Give(errCode, static_cast<int>(part ? ErrDone : ErrNotFound));
    return part;
}

CPart* CTessera::MeshOpenIn(int id, int* errCode) {
    CPart* const part = PartOf(id, errCode);
    return !part || part->OpenMesh() ? part : NothingOpen(errCode);
}

CPart* CTessera::PolyLineOpenIn(int id, int* errCode) {
    CPart* const part = PartOf(id, errCode);
    return !part || part->OpenPolyLine() ? part : NothingOpen(errCode);
}

CPart* CTessera::PointSetOpenIn(int id, int* errCode) {
    CPart* const part = PartOf(id, errCode);
    return !part || part->OpenPointSet() ? part : NothingOpen(errCode);
}

CPart* CTessera::NothingOpen(int* errCode) {
    Give(errCode, static_cast<int>(ErrState));
    return nullptr;
}

HRESULT CTessera::CreateAssembly(int* newID) try {
    if (m_lastAssembly) index_.Forget(m_lastAssembly);
    delete m_lastAssembly;
    m_lastAssembly = nullptr;
    m_lastAssembly = new CAssembly;
    m_lastAssembly->id = ++m_lastId;
    Give(newID, m_lastId);
    return STATUS_OK;
} catch (const std::bad_alloc&) {
    throw ComError(STATUS_OUT_OF_MEMORY);
}

HRESULT CTessera::CreatePartInstance(int* newID) try {
    delete m_lastPartInstance;
    m_lastPartInstance = nullptr;
    m_lastPartInstance = new CPartInstance;
    m_lastPartInstance->id = ++m_lastId;
    Give(newID, m_lastId);
    return STATUS_OK;
} catch (const std::bad_alloc&) {
    throw ComError(STATUS_OUT_OF_MEMORY);
}

HRESULT CTessera::CreatePart(int* newID) try {
    delete m_lastPart;
    m_lastPart = nullptr;
    m_lastPart = new CPart(&triNormals, &textures);
    m_lastPart->id = ++m_lastId;
    m_lastPart->SetEnvtexture(FromAscii("KMDefault"));
    Give(newID, m_lastId);
    return STATUS_OK;
} catch (const std::bad_alloc&) {
    throw ComError(STATUS_OUT_OF_MEMORY);
}

HRESULT CTessera::SetPart(int partInstanceID, int partID, int* errCode) try {
    CPartInstance* instance = m_lastPartInstance;
    if (!instance || instance->id != partInstanceID) instance = InstanceOf(partInstanceID, nullptr);
    if (!instance) return Refuse(errCode, ErrState);
    CPart* part = nullptr;
    if (m_lastPart && m_lastPart->id == partID) {
        part = m_lastPart;
        Give(errCode, static_cast<int>(ErrDone));
    } else {
        part = PartOf(partID, errCode);
    }
    if (!part) return STATUS_FAIL;
    index_.LinkPart(instance, part);
    if (part == m_lastPart) m_lastPart = nullptr;
    return STATUS_OK;
} catch (const std::bad_alloc&) {
    throw ComError(STATUS_OUT_OF_MEMORY);
}

// Status is 0 on every path; errCode alone tells what came of it. A loose object that is linked leaves its
// last-created field, so that the next creation does not delete it.
HRESULT CTessera::SetParent(int sonID, int parentID, int* errCode) try {
    const auto end = [errCode](ErrCode code) {
        Give(errCode, static_cast<int>(code));
        return STATUS_OK;
    };
    if (sonID == parentID) return end(ErrSameNode);
    CAssembly* parent = m_lastAssembly;
    if (!parent || parent->id != parentID) {
        CNode* const node = NodeOf(parentID, nullptr);
        if (!node) return end(ErrNotFound);
        if (node->GetNodeType() == 1) return end(ErrKind);
        parent = static_cast<CAssembly*>(node);
    }
    CNode* son = nullptr;
    if (m_lastPartInstance && m_lastPartInstance->id == sonID)
        son = m_lastPartInstance;
    else if (m_lastAssembly && m_lastAssembly->id == sonID)
        son = m_lastAssembly;
    else
        son = index_.Node(sonID);
    if (!son || son == m_root) return end(ErrState);
    Link(son, parent);
    m_root->InvalidateBoundBox();
    return end(ErrDone);
} catch (const std::bad_alloc&) {
    throw ComError(STATUS_OUT_OF_MEMORY);
}

// All that needs memory comes first: without it nothing has changed.
void CTessera::Link(CNode* son, CAssembly* parent) {
    // A node moved under its own descendant closes a ring that hangs on nothing: out of the tree, and of the index.
    bool ring = false;
    for (const CNode* p = parent; p && !ring; p = p->parent) ring = p == son;
    std::list<CNode*> place{son};
    dropped_.reserve(dropped_.size() + 1);
    const bool stays = son->parent == parent;  // and is counted there
    String name = stays ? parent->UniqueName(son, son->Name()) : String();
    parent->ExpectChild(son);
    try {
        if (!stays) name = parent->UniqueName(son, son->Name());
        parent->ExpectName(name);
        if (!ring) index_.Add(son);
    } catch (...) {
        parent->ExpectNoChild(son);
        throw;
    }
    if (ring) {
        index_.Forget(son);
        dropped_.push_back(son);
    }
    if (son == m_lastPartInstance) m_lastPartInstance = nullptr;
    if (son == m_lastAssembly) m_lastAssembly = nullptr;
    if (son->parent) son->parent->DetachChild(son->id);
    parent->AddChild(place);
    son->TakeName(std::move(name));
}

void CTessera::DeleteDropped() {
    for (CNode* node : dropped_) {
        node->parent->DetachChild(node->id);
        delete node;
    }
    dropped_.clear();
}

void CTessera::ClearTree() {
    index_.Clear();
    m_root->ClearTree();
    DeleteDropped();
    triNormals.Clear();
    ForgetSpoolFiles();
    if (m_lastAssembly) index_.Add(m_lastAssembly);
}

CMatrix CTessera::Above(const CNode* node) {
    CMatrix product;
    for (const CAssembly* p = node->parent; p; p = p->parent) product.Multiply(p->transform);
    return product;
}

CMatrix CTessera::ExplodeAbove(const CNode* node) {
    CMatrix product;
    for (const CAssembly* p = node->parent; p; p = p->parent) product.Multiply(p->explodeTransform);
    return product;
}

HRESULT CTessera::Remove(int nodeID, int* errCode) {
    reducedLast = true;
    CNode* const node = NodeOf(nodeID, errCode);
    if (!node) return STATUS_FAIL;
    if (node == m_root) {
        ClearTree();
        return STATUS_OK;
    }
    index_.Forget(node);
    m_root->Remove(nodeID);
    if (m_root->FirstChild() == 0) {
        triNormals.Clear();
        ForgetSpoolFiles();
    }
    m_root->InvalidateBoundBox();
    return STATUS_OK;
}

HRESULT CTessera::ResetSceneGraph() {
    ClearTree();
    g_triNormalBase = 0;
    reducedLast = true;
    lodsAvailable = false;
    accumulated = 0;
    return STATUS_OK;
}

HRESULT CTessera::GetIdRoot(int* idroot) {
    Give(idroot, m_root->id);
    return STATUS_OK;
}

// No errCode: what failed stands in parentID, -1 for no parent and -2 for no such node.
HRESULT CTessera::GetParent(int idNode, int* parentID) {
    const CNode* node = nullptr;
    if (m_lastAssembly && m_lastAssembly->id == idNode)
        node = m_lastAssembly;
    else if (m_lastPartInstance && m_lastPartInstance->id == idNode)
        node = m_lastPartInstance;
    else
        node = NodeOf(idNode, nullptr);
    const CAssembly* const parent = node ? node->parent : nullptr;
    Give(parentID, parent ? parent->id : node ? -1 : -2);
    return parent ? STATUS_OK : STATUS_FAIL;
}

HRESULT CTessera::GetFirstChild(int nodeID, int* childID, int* errCode) {
    CNode* const node = NodeOf(nodeID, errCode);
    if (!node) return STATUS_FAIL;
    if (node->GetNodeType() != 0) return Refuse(errCode, ErrKind);
    if (node->FirstChild() == 0) return Refuse(errCode, ErrState);
    Give(childID, node->NextChild()->id);
    return STATUS_OK;
}

HRESULT CTessera::GetNextChild(int nodeID, int* childID, int* errCode) {
    CNode* const node = NodeOf(nodeID, errCode);
    if (!node) return STATUS_FAIL;
    if (node->GetNodeType() != 0) return Refuse(errCode, ErrKind);
    const CNode* const child = node->NextChild();
    if (!child) return Refuse(errCode, ErrState);
    Give(childID, child->id);
    return STATUS_OK;
}

HRESULT CTessera::IsEmpty(LONG* retVal) {
    Give(retVal, static_cast<LONG>(m_root->HasChildren() ? 0 : 1));
    return STATUS_OK;
}

HRESULT CTessera::GetNodeType(int nodeID, int* nodeType, int* errCode) {
    CNode* const node = NodeOf(nodeID, errCode);
    if (!node) return STATUS_FAIL;
    Give(nodeType, node->GetNodeType() == 1 ? 1 : 0);
    return STATUS_OK;
}

HRESULT CTessera::GetVersion(int* versionNum) {
    Give(versionNum, kInterfaceVersion);
    return STATUS_OK;
}

// Unlike GetPartID this fails for an instance without a part.
HRESULT CTessera::GetPartOfPInstance(int piID, int* partID, int* errCode) {
    CPartInstance* const instance = InstanceOf(piID, errCode);
    if (!instance) return STATUS_FAIL;
    Give(partID, instance->GetPartID());
    return instance->Part() ? STATUS_OK : Refuse(errCode);
}

}  // namespace tessera
