// The interface's methods: settings of nodes and parts.
#include <new>

#include "component/tessera.h"
#include "scene/part.h"
#include "scene/part_instance.h"

namespace tessera {
namespace {

void GiveColor(const Color& color, float* red, float* green, float* blue) {
    Give(red, color.red);
    Give(green, color.green);
    Give(blue, color.blue);
}

}  // namespace

HRESULT CTessera::SetExternalColor(int nodeID, float r, float g, float b, int* errCode) {
    CNode* const node = NodeOf(nodeID, errCode);
    if (!node) return STATUS_FAIL;
    node->SetExternalColor({r, g, b});
    return STATUS_OK;
}

HRESULT CTessera::SetInternalColor(int nodeID, float r, float g, float b, int* errCode) {
    CNode* const node = NodeOf(nodeID, errCode);
    if (!node) return STATUS_FAIL;
    node->SetInternalColor({r, g, b});
    return STATUS_OK;
}

HRESULT CTessera::SetBackgroundColor(int nodeID, float r, float g, float b, int* errCode) {
    CNode* const node = NodeOf(nodeID, errCode);
    if (!node) return STATUS_FAIL;
    node->SetBackgroundColor({r, g, b});
    return STATUS_OK;
}

HRESULT CTessera::SetBorderColor(int nodeID, float r, float g, float b, int* errCode) {
    CNode* const node = NodeOf(nodeID, errCode);
    if (!node) return STATUS_FAIL;
    node->SetBorderColor({r, g, b});
    return STATUS_OK;
}

HRESULT CTessera::SetEdgeColor(int nodeID, float r, float g, float b, int* errCode) {
    CNode* const node = NodeOf(nodeID, errCode);
    if (!node) return STATUS_FAIL;
    node->SetEdgeColor({r, g, b});
    return STATUS_OK;
}

HRESULT CTessera::SetPointTolerance(int nodeID, float tolerance, int* errCode) {
    CNode* const node = NodeOf(nodeID, errCode);
    if (!node) return STATUS_FAIL;
    node->SetPointTolerance(tolerance);
    return STATUS_OK;
}

HRESULT CTessera::SetThresholdAngle(int nodeID, float tolerance, int* errCode) {
    CNode* const node = NodeOf(nodeID, errCode);
    if (!node) return STATUS_FAIL;
    node->SetThresholdAngle(tolerance);
    return STATUS_OK;
}

HRESULT CTessera::SetShadeMode(int nodeID, short qnrcode, int* errCode) {
    CNode* const node = NodeOf(nodeID, errCode);
    if (!node) return STATUS_FAIL;
    node->SetShadeMode(qnrcode);
    return STATUS_OK;
}

HRESULT CTessera::SetOptionsShadeMode(int nodeID, short qnrcode, int* errCode) {
    CNode* const node = NodeOf(nodeID, errCode);
    if (!node) return STATUS_FAIL;
    node->SetOptionsShadeMode(qnrcode);
    return STATUS_OK;
}

HRESULT CTessera::SetViewingType(int nodeID, short qnrcode, int* errCode) {
    CNode* const node = NodeOf(nodeID, errCode);
    if (!node) return STATUS_FAIL;
    node->SetViewingType(qnrcode);
    return STATUS_OK;
}

HRESULT CTessera::SetCamera(float* camPoint, float* targetPoint, int* errCode) {
    if (!camPoint || !targetPoint) return Refuse(errCode);
    const float view[6] = {camPoint[0], camPoint[1], camPoint[2], targetPoint[0], targetPoint[1], targetPoint[2]};
    m_root->SetCamera(view);
    Give(errCode, static_cast<int>(ErrDone));
    return STATUS_OK;
}

HRESULT CTessera::EnableDrawBoundBox(int nodeID, LONG status, int* errCode) {
    CNode* const node = NodeOf(nodeID, errCode);
    if (!node) return STATUS_FAIL;
    node->drawBoundBox = static_cast<int>(status);
    return STATUS_OK;
}

HRESULT CTessera::SetSimpleShadeMode(int nodeID, short qnrcode, int* errCode) {
    CNode* const node = NodeOf(nodeID, errCode);
    if (!node) return STATUS_FAIL;
    node->SetSimpleShadeMode(qnrcode);
    return STATUS_OK;
}

HRESULT CTessera::GetShadeMode(int nodeID, short* qnrcode, int* errCode) {
    CPartInstance* const instance = InstanceOf(nodeID, errCode);
    if (!instance) return STATUS_FAIL;
    Give(qnrcode, static_cast<short>(instance->Part() ? instance->Part()->shadeMode : 0));
    return STATUS_OK;
}

HRESULT CTessera::SetTransparency(int nodeID, float level, int* errCode) {
    CNode* const node = NodeOf(nodeID, errCode);
    if (!node) return STATUS_FAIL;
    node->SetTransparency(level);
    return STATUS_OK;
}

HRESULT CTessera::GetExternalColor(int nodeID, float* red, float* green, float* blu, int* errCode) {
    CPartInstance* const instance = InstanceOf(nodeID, errCode);
    if (!instance) return STATUS_FAIL;
    if (const CPart* part = instance->Part()) GiveColor(part->externalColor, red, green, blu);
    return STATUS_OK;
}

HRESULT CTessera::GetInternalColor(int nodeID, float* red, float* green, float* blu, int* errCode) {
    CPartInstance* const instance = InstanceOf(nodeID, errCode);
    if (!instance) return STATUS_FAIL;
    if (const CPart* part = instance->Part()) GiveColor(part->internalColor, red, green, blu);
    return STATUS_OK;
}

HRESULT CTessera::GetBackgroundColor(int nodeID, float* red, float* green, float* blu, int* errCode) {
    CPartInstance* const instance = InstanceOf(nodeID, errCode);
    if (!instance) return STATUS_FAIL;
    if (const CPart* part = instance->Part()) GiveColor(part->backgroundColor, red, green, blu);
    return STATUS_OK;
}

HRESULT CTessera::GetBorderColor(int nodeID, float* red, float* green, float* blu, int* errCode) {
    CPartInstance* const instance = InstanceOf(nodeID, errCode);
    if (!instance) return STATUS_FAIL;
    if (const CPart* part = instance->Part()) GiveColor(part->borderColor, red, green, blu);
    return STATUS_OK;
}

HRESULT CTessera::GetEdgeColor(int nodeID, float* red, float* green, float* blu, int* errCode) {
    CPartInstance* const instance = InstanceOf(nodeID, errCode);
    if (!instance) return STATUS_FAIL;
    if (const CPart* part = instance->Part()) GiveColor(part->edgeColor, red, green, blu);
    return STATUS_OK;
}

HRESULT CTessera::GetPointTolerance(int nodeID, float* pt, int* errCode) {
    CPartInstance* const instance = InstanceOf(nodeID, errCode);
    if (!instance) return STATUS_FAIL;
    Give(pt, instance->Part() ? instance->Part()->pointTolerance : 0.0f);
    return STATUS_OK;
}

HRESULT CTessera::GetThresholdAngle(int nodeID, float* pt, int* errCode) {
    CPartInstance* const instance = InstanceOf(nodeID, errCode);
    if (!instance) return STATUS_FAIL;
    Give(pt, instance->Part() ? instance->Part()->thresholdAngle : 0.0f);
    return STATUS_OK;
}

HRESULT CTessera::GetTransparency(int nodeID, float* tl, int* errCode) {
    CPartInstance* const instance = InstanceOf(nodeID, errCode);
    if (!instance) return STATUS_FAIL;
    Give(tl, instance->Part() ? instance->Part()->alpha : 0.901f);
    return STATUS_OK;
}

HRESULT CTessera::EnableDrawing(int nodeID, LONG status, int* errCode) {
    CNode* const node = NodeOf(nodeID, errCode);
    if (!node) return STATUS_FAIL;
    node->drawingEnabled = static_cast<int>(status);
    return STATUS_OK;
}

HRESULT CTessera::IsDrawingEnable(int nodeID, LONG* status, int* errCode) {
    CNode* const node = NodeOf(nodeID, errCode);
    if (!node) return STATUS_FAIL;
    Give(status, static_cast<LONG>(node->drawingEnabled));
    return STATUS_OK;
}

HRESULT CTessera::SetVolumePrecision(int nodeID, float precision, int* errCode) {
    CNode* const node = NodeOf(nodeID, errCode);
    if (!node) return STATUS_FAIL;
    node->SetVolumePrecision(precision);
    return STATUS_OK;
}

HRESULT CTessera::GetVolumePrecision(int nodeID, float* precision, int* errCode) {
    CPartInstance* const instance = InstanceOf(nodeID, errCode);
    if (!instance) return STATUS_FAIL;
    Give(precision, instance->Part() ? instance->Part()->volumePrecision : 0.0f);
    return STATUS_OK;
}

HRESULT CTessera::SetSelected(int nodeID, LONG status, int* errCode) {
    CNode* const node = NodeOf(nodeID, errCode);
    if (!node) return STATUS_FAIL;
    node->SetSelected(static_cast<int>(status));
    return STATUS_OK;
}

HRESULT CTessera::IsSelected(int nodeID, LONG* status, int* errCode) {
    CNode* const node = NodeOf(nodeID, errCode);
    if (!node) return STATUS_FAIL;
    Give(status, static_cast<LONG>(node->selected));
    return STATUS_OK;
}

HRESULT CTessera::SetZoomFactor(float zoomFactor, int* errCode) {
    m_root->SetZoomFactor(zoomFactor);
    Give(errCode, static_cast<int>(ErrDone));
    return STATUS_OK;
}

HRESULT CTessera::SetPickTolerance(float pickTol, int* errCode) {
    m_root->SetPickTolerance(pickTol);
    Give(errCode, static_cast<int>(ErrDone));
    return STATUS_OK;
}

HRESULT CTessera::SwitchWireFrameVisibility(int nodeID, LONG status, int* errCode) {
    CNode* const node = NodeOf(nodeID, errCode);
    if (!node) return STATUS_FAIL;
    node->SwitchWireFrameVisibility(static_cast<int>(status));
    m_root->InvalidateBoundBox();
    return STATUS_OK;
}

HRESULT CTessera::SwitchTriMeshVisibility(int nodeID, LONG status, int* errCode) {
    CNode* const node = NodeOf(nodeID, errCode);
    if (!node) return STATUS_FAIL;
    node->SwitchTriMeshVisibility(static_cast<int>(status));
    m_root->InvalidateBoundBox();
    return STATUS_OK;
}

HRESULT CTessera::UseVertexArray(LONG val) {
    useVertexArray = val != 0;
    m_root->UseVertexArray(useVertexArray ? 1 : 0);
    return STATUS_OK;
}

HRESULT CTessera::IsUsingVertexArray(LONG* val) {
    Give(val, static_cast<LONG>(useVertexArray));
    return STATUS_OK;
}

HRESULT CTessera::GetNodeCrossSectionStatus(int nodeID, LONG* status, int* errCode) {
    CNode* const node = NodeOf(nodeID, errCode);
    if (!node) return STATUS_FAIL;
    Give(status, static_cast<LONG>(node->crossSectionEnabled));
    return STATUS_OK;
}

HRESULT CTessera::GetNodeWireFrameVisibility(int nodeID, LONG* status, int* errCode) {
    CNode* const node = NodeOf(nodeID, errCode);
    if (!node) return STATUS_FAIL;
    Give(status, static_cast<LONG>(node->wireFrameVisible));
    return STATUS_OK;
}

HRESULT CTessera::GetNodeSurfaceVisibility(int nodeID, LONG* status, int* errCode) {
    CNode* const node = NodeOf(nodeID, errCode);
    if (!node) return STATUS_FAIL;
    Give(status, static_cast<LONG>(node->surfaceVisible));
    return STATUS_OK;
}

HRESULT CTessera::GetOptionsShadeMode(int nodeID, int* mode, int* errCode) {
    CPartInstance* const instance = InstanceOf(nodeID, errCode);
    if (!instance) return STATUS_FAIL;
    Give(mode, static_cast<int>(instance->Part() ? instance->Part()->optionsShadeMode : 0));
    return STATUS_OK;
}

HRESULT CTessera::SetVertexVisible(int nodeID, LONG status, int* errCode) {
    CNode* const node = NodeOf(nodeID, errCode);
    if (!node) return STATUS_FAIL;
    node->SetVertexVisible(static_cast<int>(status));
    return STATUS_OK;
}

HRESULT CTessera::GetVertexVisibility(int nodeID, LONG* status, int* errCode) {
    CNode* const node = NodeOf(nodeID, errCode);
    if (!node) return STATUS_FAIL;
    Give(status, static_cast<LONG>(node->vertexVisible));
    return STATUS_OK;
}

HRESULT CTessera::SetPrintingStatus(int nodeID, LONG printStatus, int* errCode) {
    CNode* const node = NodeOf(nodeID, errCode);
    if (!node) return STATUS_FAIL;
    node->SetPrintingStatus(static_cast<int>(printStatus));
    return STATUS_OK;
}

HRESULT CTessera::SwitchPointSetVisibility(int nodeID, LONG status, int* errCode) {
    CNode* const node = NodeOf(nodeID, errCode);
    if (!node) return STATUS_FAIL;
    node->SwitchPointSetVisibility(static_cast<int>(status));
    m_root->InvalidateBoundBox();
    return STATUS_OK;
}

HRESULT CTessera::GetNodePointSetVisibility(int nodeID, LONG* status, int* errCode) {
    CNode* const node = NodeOf(nodeID, errCode);
    if (!node) return STATUS_FAIL;
    Give(status, static_cast<LONG>(node->pointSetVisible));
    return STATUS_OK;
}

HRESULT CTessera::SetEnvtexture(int partID, BSTR texturefilename, int* errCode) try {
    CNode* const node = NodeOf(partID, errCode);
    if (!node) return STATUS_FAIL;
    node->SetEnvtexture(ToString(texturefilename));
    return STATUS_OK;
} catch (const std::bad_alloc&) {
    throw ComError(STATUS_OUT_OF_MEMORY);
}

HRESULT CTessera::GetEnvtexture(int partID, BSTR* texturefilename, int* errCode) {
    CNode* const node = NodeOf(partID, errCode);
    if (!node) return STATUS_FAIL;
    Give(texturefilename, ToBstr(node->envTexture.value_or(String())));
    return STATUS_OK;
}

}  // namespace tessera
