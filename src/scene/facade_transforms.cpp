// The interface's methods: placement and explode displacement.
#include "component/tessera.h"

namespace tessera {
namespace {

// A matrix from outside: its inverse is computed, in single precision.
CMatrix FromHost(const double* values) {
    CMatrix matrix;
    matrix.SetFromArray(values, true);
    return matrix;
}

}  // namespace

HRESULT CTessera::RotateX(int nodeID, float val, int* errCode) {
    CNode* const node = NodeOf(nodeID, errCode);
    if (!node) return STATUS_FAIL;
    node->transform.RotateX(val);
    m_root->InvalidateBoundBox();
    return STATUS_OK;
}

HRESULT CTessera::RotateY(int nodeID, float val, int* errCode) {
    CNode* const node = NodeOf(nodeID, errCode);
    if (!node) return STATUS_FAIL;
    node->transform.RotateY(val);
    m_root->InvalidateBoundBox();
    return STATUS_OK;
}

HRESULT CTessera::RotateZ(int nodeID, float val, int* errCode) {
    CNode* const node = NodeOf(nodeID, errCode);
    if (!node) return STATUS_FAIL;
    node->transform.RotateZ(val);
    m_root->InvalidateBoundBox();
    return STATUS_OK;
}

HRESULT CTessera::Scale(int nodeID, float sx, float sy, float sz, int* errCode) {
    CNode* const node = NodeOf(nodeID, errCode);
    if (!node) return STATUS_FAIL;
    node->Scale(sx, sy, sz);
    m_root->InvalidateBoundBox();
    return STATUS_OK;
}

HRESULT CTessera::Translate(int nodeID, float tx, float ty, float tz, int* errCode) {
    CNode* const node = NodeOf(nodeID, errCode);
    if (!node) return STATUS_FAIL;
    node->transform.Translate(tx, ty, tz);
    m_root->InvalidateBoundBox();
    return STATUS_OK;
}

HRESULT CTessera::MirrorXY(int nodeID, int* errCode) {
    CNode* const node = NodeOf(nodeID, errCode);
    if (!node) return STATUS_FAIL;
    node->transform.MirrorXY();
    node->mirrored = !node->mirrored;
    m_root->InvalidateBoundBox();
    return STATUS_OK;
}

HRESULT CTessera::MirrorXZ(int nodeID, int* errCode) {
    CNode* const node = NodeOf(nodeID, errCode);
    if (!node) return STATUS_FAIL;
    node->transform.MirrorXZ();
    node->mirrored = !node->mirrored;
    m_root->InvalidateBoundBox();
    return STATUS_OK;
}

HRESULT CTessera::MirrorYZ(int nodeID, int* errCode) {
    CNode* const node = NodeOf(nodeID, errCode);
    if (!node) return STATUS_FAIL;
    node->transform.MirrorYZ();
    node->mirrored = !node->mirrored;
    m_root->InvalidateBoundBox();
    return STATUS_OK;
}

HRESULT CTessera::ApplyTransform(int nodeID, double* trasMat, int* errCode) {
    if (!trasMat) return Refuse(errCode);
    CNode* const node = NodeOf(nodeID, errCode);
    if (!node) return STATUS_FAIL;
    node->transform.Multiply(FromHost(trasMat));
    m_root->InvalidateBoundBox();
    return STATUS_OK;
}

HRESULT CTessera::ApplyExplodeTransform(int nodeID, double* trasMat, int* errCode) {
    if (!trasMat) return Refuse(errCode);
    CNode* const node = NodeOf(nodeID, errCode);
    if (!node) return STATUS_FAIL;
    node->explodeTransform.Multiply(FromHost(trasMat));
    m_root->InvalidateBoundBox();
    return STATUS_OK;
}

HRESULT CTessera::TranslateExplode(int nodeID, float tx, float ty, float tz, int* errCode) {
    CNode* const node = NodeOf(nodeID, errCode);
    if (!node) return STATUS_FAIL;
    node->explodeTransform.Translate(tx, ty, tz);
    m_root->InvalidateBoundBox();
    return STATUS_OK;
}

HRESULT CTessera::RotateExplode(int, float, float, float, float, int*) {
    m_root->InvalidateBoundBox();
    return STATUS_OK;
}

HRESULT CTessera::SetExplodeTransform(int nodeID, double* trasMat, int* errCode) {
    if (!trasMat) return Refuse(errCode);
    CNode* const node = NodeOf(nodeID, errCode);
    if (!node) return STATUS_FAIL;
    node->explodeTransform = FromHost(trasMat);
    m_root->InvalidateBoundBox();
    return STATUS_OK;
}

HRESULT CTessera::SetMirrorFlag(int nodeID, LONG flag, int* errCode) {
    CNode* const node = NodeOf(nodeID, errCode);
    if (!node) return STATUS_FAIL;
    node->mirrored = static_cast<int>(flag);
    if (node != m_root) m_root->InvalidateBoundBox();
    return STATUS_OK;
}

HRESULT CTessera::GetExplodeTransform(int partID, double* m, int* errCode) {
    CNode* const node = NodeOf(partID, errCode);
    if (!node) return STATUS_FAIL;
    if (m) node->explodeTransform.GetArray(m, false);
    return STATUS_OK;
}

HRESULT CTessera::GetTransform(int partID, double* m, int* errCode) {
    CNode* const node = NodeOf(partID, errCode);
    if (!node) return STATUS_FAIL;
    if (m) node->transform.GetArray(m, false);
    return STATUS_OK;
}

HRESULT CTessera::SetTransform(int nodeID, double* trasMat, int* errCode) {
    if (!trasMat) return Refuse(errCode);
    CNode* const node = NodeOf(nodeID, errCode);
    if (!node) return STATUS_FAIL;
    node->transform = FromHost(trasMat);
    // Boxes kept under a moved root hold until something else stales them.
    if (node != m_root) m_root->InvalidateBoundBox();
    return STATUS_OK;
}

HRESULT CTessera::ApplyExplodeToNodeMatrix(int nodeID, int* errCode) {
    CNode* const node = NodeOf(nodeID, errCode);
    if (!node) return STATUS_FAIL;
    node->ApplyExplodeToNodeMatrix();
    m_root->InvalidateBoundBox();
    return STATUS_OK;
}

}  // namespace tessera
