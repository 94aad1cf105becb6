// The interface's methods: levels of detail.
#include <GL/gl.h>

#include <cmath>

#include "component/tessera.h"
#include "geometry/lod_group.h"
#include "render/draw_state.h"

namespace tessera {
namespace {

constexpr float kMostAcceleration = 220;
// What DrawLODExplode takes an acceleration for, by its whole part.
constexpr float kPresets[] = {-1, 10, 110, 200, 220, -2};

}  // namespace

HRESULT CTessera::SetDecimator(IUnknown* given) {
    if (decimator) decimator->Release();
    decimator = nullptr;
    if (!given) return STATUS_FAIL;
    void* found = nullptr;
    const HRESULT status = given->QueryInterface(IID_IDecimator, &found);
    if (status >= 0) decimator = static_cast<IDecimator*>(found);
    return status;
}

// The node is looked for and no more: levels are always made for the whole tree.
HRESULT CTessera::ComputeLODs(int nodeID, int, float, float, float, float, float, int* errCode) {
    Give(errCode, static_cast<int>(ErrNotFound));
    if (!decimator) return STATUS_OK;
    g_lodsPresent = false;
    CNode* const node = NodeOf(nodeID, errCode);
    if (!node) return STATUS_OK;
    IDecimator* const used = decimator;  // which may ask for another meanwhile
    used->AddRef();
    m_root->ComputeLODs(used);
    used->Release();
    if (node != m_root) lodsAvailable = g_lodsPresent;
    return STATUS_OK;
}

HRESULT CTessera::LODsAvailable(LONG* value) {
    Give(value, static_cast<LONG>(lodsAvailable));
    return STATUS_OK;
}

HRESULT CTessera::SetUseDisplayAcc(int nodeID, LONG accStatus, int* errCode) {
    CNode* const node = NodeOf(nodeID, errCode);
    if (!node) return STATUS_FAIL;
    sceneBox = SceneBox();
    node->SetUseDisplayAcc(accStatus != 0, 1.0f, sceneBox);
    return STATUS_OK;
}

HRESULT CTessera::ResetAcceleration() {
    accumulated = 0;
    return STATUS_OK;
}

// A value near 0 moves nothing, and a negative one counts only while reduction shows.
void CTessera::Accelerate(float acc) {
    if (acc >= 0.001f || (reducedLast && std::fabs(acc) >= 1e-6f)) accumulated += acc;
    if (accumulated > kMostAcceleration) accumulated = kMostAcceleration;
}

HRESULT CTessera::DrawLOD(int nodeID, int mode, float acc, int* errCode) {
    CNode* const node = NodeOf(nodeID, errCode);
    if (!node) return STATUS_FAIL;
    const HostState state;
    glEnable(GL_NORMALIZE);
    Accelerate(acc);
    gReducedDrawn = false;
    sceneBox = SceneBox();
    m_root->SetUseDisplayAcc(true, accumulated, sceneBox);
    if (node == m_root) {
        for (int pass = 0; pass < 3; ++pass) m_root->DrawNode(CMatrix::Identity(), mode, pass, 0);
        reducedLast = gReducedDrawn;
    } else {
        const CMatrix above = Above(node);
        const ModelviewScope scope(above);
        for (int pass = 0; pass < 2; ++pass) node->DrawSubtree(above, mode, pass, 0);
    }
    m_root->SetUseDisplayAcc(false, accumulated, sceneBox);
    return STATUS_OK;
}

HRESULT CTessera::DrawLODExplode(int nodeID, int mode, float acc, int* errCode) {
    CNode* const node = NodeOf(nodeID, errCode);
    if (!node) return STATUS_FAIL;
    const HostState state;
    glEnable(GL_NORMALIZE);
    Accelerate(acc);
    const float whole = std::floor(acc + 0.01f);
    if (whole >= 0 && whole < static_cast<float>(std::size(kPresets))) accumulated = kPresets[static_cast<int>(whole)];
    gReducedDrawn = false;
    sceneBox = SceneBox();
    m_root->SetUseDisplayAcc(true, accumulated, sceneBox);
    DrawExploded(node, mode);
    m_root->SetUseDisplayAcc(false, accumulated, sceneBox);
    reducedLast = gReducedDrawn;
    return STATUS_OK;
}

}  // namespace tessera
