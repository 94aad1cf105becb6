// The interface's methods: drawing.
#include <GL/gl.h>

#include "component/tessera.h"
#include "render/draw_state.h"

namespace tessera {

// The root is drawn in the opaque, the transparent and the vertex pass; a node below it without the last.
HRESULT CTessera::Draw(int nodeID, int mode, int* errCode) {
    CNode* const node = NodeOf(nodeID, errCode);
    if (!node) return STATUS_FAIL;
    const HostState state;
    glEnable(GL_NORMALIZE);
    glCullFace(GL_BACK);
    if (node == m_root) {
        for (int pass = 0; pass < 3; ++pass) m_root->DrawNode(CMatrix::Identity(), mode, pass, 0);
        return STATUS_OK;
    }
    const CMatrix above = Above(node);
    const ModelviewScope scope(above);
    for (int pass = 0; pass < 2; ++pass) node->DrawSubtree(above, mode, pass, 0);
    return STATUS_OK;
}

HRESULT CTessera::DrawSimple(int nodeID, int* errCode) {
    CNode* const node = NodeOf(nodeID, errCode);
    if (!node) return STATUS_FAIL;
    const HostState state;
    const CMatrix above = Above(node);
    const ModelviewScope scope(above);
    node->DrawNodeSimple(above);
    return STATUS_OK;
}

BBox CTessera::SceneBox() {
    const CMatrix& identity = CMatrix::Identity();
    return m_root->GetBoundBox(identity, identity, false, identity);
}

HRESULT CTessera::DrawExplode(int nodeID, int mode, int* errCode) {
    CNode* const node = NodeOf(nodeID, errCode);
    if (!node) return STATUS_FAIL;
    const HostState state;
    m_root->SetUseDisplayAcc(false, 10.0f, SceneBox());
    DrawExploded(node, mode);
    return STATUS_OK;
}

// Selected instances come last, over a fresh depth buffer, the transparent pass ahead of the opaque one.
void CTessera::DrawExploded(CNode* node, int mode) {
    glEnable(GL_NORMALIZE);
    const CMatrix identity;
    if (node != m_root) {
        const CMatrix above = Above(node), explode = ExplodeAbove(node);
        for (int pass = 0; pass < 2; ++pass) node->DrawSubtreeExplode(above, mode, pass, 0, explode);
        return;
    }
    gSelectedSeen = gTransparentSeen = false;
    m_root->DrawNodeExplode(identity, mode, 0, 0, identity);
    if (gTransparentSeen) m_root->DrawNodeExplode(identity, mode, 1, 0, identity);
    m_root->DrawNodeExplode(identity, mode, 2, 0, identity);
    if (!gSelectedSeen) return;
    glClear(GL_DEPTH_BUFFER_BIT);
    if (gTransparentSeen) m_root->DrawNodeExplode(identity, DrawKindHighlight, 1, 0, identity);
    m_root->DrawNodeExplode(identity, DrawKindHighlight, 0, 0, identity);
}

HRESULT CTessera::ForceHiddenLineDrawing(VARIANT_BOOL flag, int* errCode) {
    gForceHiddenLine = flag == VARIANT_TRUE;
    Give(errCode, static_cast<int>(ErrDone));
    return STATUS_OK;
}

HRESULT CTessera::ClearTextures(int* errCode) {
    textures.Clear();
    Give(errCode, static_cast<int>(ErrDone));
    return STATUS_OK;
}

}  // namespace tessera
