// The interface's methods: bound boxes.
#include <algorithm>

#include "component/tessera.h"

namespace tessera {

HRESULT CTessera::GetBoundBox(int nodeID, float* minPoint, float* maxPoint, int* errCode) {
    return GiveBox(nodeID, CMatrix(), minPoint, maxPoint, errCode);
}

HRESULT CTessera::GetBoundBoxRelativeFrame(int nodeID, double* refereceMatrix, float* minPoint, float* maxPoint,
                                           int* errCode) {
    if (!refereceMatrix) return Refuse(errCode);
    CMatrix reference;
    reference.SetFromArray(refereceMatrix, false);
    return GiveBox(nodeID, reference, minPoint, maxPoint, errCode);
}

HRESULT CTessera::GiveBox(int nodeID, const CMatrix& reference, float* minPoint, float* maxPoint, int* errCode) {
    CNode* const node = NodeOf(nodeID, errCode);
    if (!node) return STATUS_FAIL;
    const BBox box = node->GetBoundBox(Above(node), ExplodeAbove(node), false, reference);
    const float low[3] = {box.xmin, box.ymin, box.zmin}, high[3] = {box.xmax, box.ymax, box.zmax};
    if (minPoint) std::copy_n(low, 3, minPoint);
    if (maxPoint) std::copy_n(high, 3, maxPoint);
    return STATUS_OK;
}

}  // namespace tessera
