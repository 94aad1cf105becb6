// The interface's methods: building meshes, curves and point sets.
#include <new>

#include "component/tessera.h"
#include "geometry/point_set.h"
#include "geometry/polyline.h"
#include "geometry/trimesh.h"
#include "scene/part.h"

namespace tessera {

HRESULT CTessera::BeginTriMesh(int partID, int* errCode) try {
    CPart* const part = PartOf(partID, errCode);
    if (!part) return STATUS_FAIL;
    if (part->IsBuilding()) return Refuse(errCode, ErrState);
    triNormals.BuildGrid();
    part->BeginTriMesh();
    return STATUS_OK;
} catch (const std::bad_alloc&) {
    throw ComError(STATUS_OUT_OF_MEMORY);
}

HRESULT CTessera::AddTriangle3P(int partID, float* p, int* errCode) try {
    CPart* const part = MeshOpenIn(partID, errCode);
    if (!part) return STATUS_FAIL;
    if (!p) return Refuse(errCode);
    part->OpenMesh()->AddTriangle3P(p);
    return STATUS_OK;
} catch (const std::bad_alloc&) {
    throw ComError(STATUS_OUT_OF_MEMORY);
}

HRESULT CTessera::EndTriMesh(int partID, int* errCode) try {
    CPart* const part = MeshOpenIn(partID, errCode);
    if (!part) return STATUS_FAIL;
    part->EndTriMesh();
    m_root->InvalidateBoundBox();
    return STATUS_OK;
} catch (const std::bad_alloc&) {
    throw ComError(STATUS_OUT_OF_MEMORY);
}

HRESULT CTessera::AddTriangle3P3N(int partID, float* points, float* normals, int* errCode) try {
    CPart* const part = MeshOpenIn(partID, errCode);
    if (!part) return STATUS_FAIL;
    if (!points || !normals) return Refuse(errCode);
    part->OpenMesh()->AddTriangle3P3N(points, normals);
    return STATUS_OK;
} catch (const std::bad_alloc&) {
    throw ComError(STATUS_OUT_OF_MEMORY);
}

HRESULT CTessera::AddTriangle3P4N(int partID, float* points, float* normals, float* triNorm, int* errCode) try {
    CPart* const part = MeshOpenIn(partID, errCode);
    if (!part) return STATUS_FAIL;
    if (!points || !normals || !triNorm) return Refuse(errCode);
    part->OpenMesh()->AddTriangle3P4N(points, normals, triNorm);
    return STATUS_OK;
} catch (const std::bad_alloc&) {
    throw ComError(STATUS_OUT_OF_MEMORY);
}

HRESULT CTessera::SetTriMeshExternalColor(int partID, float red, float green, float blue, int* errCode) {
    CPart* const part = MeshOpenIn(partID, errCode);
    if (!part) return STATUS_FAIL;
    part->SetTriMeshExternalColor({red, green, blue});
    return STATUS_OK;
}

HRESULT CTessera::SetTriMeshInternalColor(int partID, float red, float green, float blue, int* errCode) {
    CPart* const part = MeshOpenIn(partID, errCode);
    if (!part) return STATUS_FAIL;
    part->SetTriMeshInternalColor({red, green, blue});
    return STATUS_OK;
}

HRESULT CTessera::SetTriMeshEdgeColor(int partID, float red, float green, float blue, int* errCode) {
    CPart* const part = MeshOpenIn(partID, errCode);
    if (!part) return STATUS_FAIL;
    part->SetTriMeshEdgeColor({red, green, blue});
    return STATUS_OK;
}

HRESULT CTessera::SetTriMeshBorderColor(int partID, float red, float green, float blue, int* errCode) {
    CPart* const part = MeshOpenIn(partID, errCode);
    if (!part) return STATUS_FAIL;
    part->SetTriMeshBorderColor({red, green, blue});
    return STATUS_OK;
}

HRESULT CTessera::AddTriangles3P3N(int partID, double* VerticesCoordinates, ULONG numVertices,
                                   ULONG* TriangleVetexIndexes, double* NormalsCoordinates, ULONG numNormals,
                                   ULONG* TriangleNormalsIndexes, double* /*ColorsValues*/, ULONG /*numColors*/,
                                   ULONG* /*TriangleColorsIndexes*/, ULONG NumTriangles, VARIANT_BOOL hasNormals,
                                   int* errCode) try {
    CPart* const part = MeshOpenIn(partID, errCode);
    if (!part) return STATUS_FAIL;
    if (!VerticesCoordinates || !TriangleVetexIndexes) return Refuse(errCode);
    const bool given = hasNormals == VARIANT_TRUE && NormalsCoordinates && TriangleNormalsIndexes;
    part->OpenMesh()->AddTriangles3P3N(VerticesCoordinates, numVertices, TriangleVetexIndexes, NormalsCoordinates,
                                       numNormals, TriangleNormalsIndexes, NumTriangles, given);
    return STATUS_OK;
} catch (const std::bad_alloc&) {
    throw ComError(STATUS_OUT_OF_MEMORY);
}

HRESULT CTessera::BeginPolyLine(int partID, int* errCode) try {
    CPart* const part = PartOf(partID, errCode);
    if (!part) return STATUS_FAIL;
    if (part->IsBuilding()) return Refuse(errCode, ErrState);
    part->BeginPolyLine();
    return STATUS_OK;
} catch (const std::bad_alloc&) {
    throw ComError(STATUS_OUT_OF_MEMORY);
}

HRESULT CTessera::AddPolyLinePoint(int partID, float* point, int* errCode) try {
    CPart* const part = PolyLineOpenIn(partID, errCode);
    if (!part) return STATUS_FAIL;
    if (!point) return Refuse(errCode);
    part->OpenPolyLine()->AddPoint({point[0], point[1], point[2]});
    return STATUS_OK;
} catch (const std::bad_alloc&) {
    throw ComError(STATUS_OUT_OF_MEMORY);
}

HRESULT CTessera::EndPolyLine(int partID, int* errCode) try {
    CPart* const part = PolyLineOpenIn(partID, errCode);
    if (!part) return STATUS_FAIL;
    part->EndPolyLine();
    m_root->InvalidateBoundBox();
    return STATUS_OK;
} catch (const std::bad_alloc&) {
    throw ComError(STATUS_OUT_OF_MEMORY);
}

HRESULT CTessera::SetLineStipple(int partID, int code, int* errCode) {
    return SetPolyLineStipple(partID, code, errCode);
}

HRESULT CTessera::SetPolyLineStipple(int partID, int stipType, int* errCode) {
    CPart* const part = PolyLineOpenIn(partID, errCode);
    if (!part) return STATUS_FAIL;
    part->OpenPolyLine()->SetStipple(static_cast<std::uint8_t>(stipType));
    return STATUS_OK;
}

HRESULT CTessera::SetPolyLineColor(int partID, float red, float green, float blue, int* errCode) {
    CPart* const part = PolyLineOpenIn(partID, errCode);
    if (!part) return STATUS_FAIL;
    part->SetPolyLineColor({red, green, blue});
    return STATUS_OK;
}

HRESULT CTessera::BeginPointSet(int partID, int* errCode) try {
    CPart* const part = PartOf(partID, errCode);
    if (!part) return STATUS_FAIL;
    if (part->IsBuilding()) return Refuse(errCode, ErrState);
    part->BeginPointSet();
    return STATUS_OK;
} catch (const std::bad_alloc&) {
    throw ComError(STATUS_OUT_OF_MEMORY);
}

HRESULT CTessera::AddPointSetPoint(int partID, float* point, int* errCode) try {
    CPart* const part = PointSetOpenIn(partID, errCode);
    if (!part) return STATUS_FAIL;
    if (!point) return Refuse(errCode);
    part->OpenPointSet()->AddPoint({point[0], point[1], point[2]});
    return STATUS_OK;
} catch (const std::bad_alloc&) {
    throw ComError(STATUS_OUT_OF_MEMORY);
}

HRESULT CTessera::EndPointSet(int partID, int* errCode) try {
    CPart* const part = PointSetOpenIn(partID, errCode);
    if (!part) return STATUS_FAIL;
    part->EndPointSet();
    m_root->InvalidateBoundBox();
    return STATUS_OK;
} catch (const std::bad_alloc&) {
    throw ComError(STATUS_OUT_OF_MEMORY);
}

// Unlike its siblings it answers as done where no point set is open.
HRESULT CTessera::SetPointSetColor(int partID, float red, float green, float blue, int* errCode) {
    CPart* const part = PartOf(partID, errCode);
    if (!part) return STATUS_FAIL;
    part->SetPointSetColor({red, green, blue});
    return STATUS_OK;
}

}  // namespace tessera
