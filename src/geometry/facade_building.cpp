// The interface's methods: building meshes.
#include "component/tessera.h"
#include "geometry/trimesh.h"
#include "scene/part.h"

namespace tessera {

HRESULT CTessera::BeginTriMesh(int partID, int* errCode) {
    CPart* const part = PartOf(partID, errCode);
    if (!part) return STATUS_FAIL;
    if (part->IsBuilding()) return Refuse(errCode, ErrState);
    triNormals.BuildGrid();
    part->BeginTriMesh();
    return STATUS_OK;
}

HRESULT CTessera::AddTriangle3P(int partID, float* p, int* errCode) {
    CPart* const part = MeshOpenIn(partID, errCode);
    if (!part) return STATUS_FAIL;
    if (!p) return Refuse(errCode);
    part->OpenMesh()->AddTriangle3P(p);
    return STATUS_OK;
}

HRESULT CTessera::EndTriMesh(int partID, int* errCode) {
    CPart* const part = MeshOpenIn(partID, errCode);
    if (!part) return STATUS_FAIL;
    part->EndTriMesh();
    m_root->InvalidateBoundBox();
    return STATUS_OK;
}

HRESULT CTessera::AddTriangle3P3N(int partID, float* points, float* normals, int* errCode) {
    CPart* const part = MeshOpenIn(partID, errCode);
    if (!part) return STATUS_FAIL;
    if (!points || !normals) return Refuse(errCode);
    part->OpenMesh()->AddTriangle3P3N(points, normals);
    return STATUS_OK;
}

HRESULT CTessera::AddTriangle3P4N(int partID, float* points, float* normals, float* triNorm, int* errCode) {
    CPart* const part = MeshOpenIn(partID, errCode);
    if (!part) return STATUS_FAIL;
    if (!points || !normals || !triNorm) return Refuse(errCode);
    part->OpenMesh()->AddTriangle3P4N(points, normals, triNorm);
    return STATUS_OK;
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
                                   int* errCode) {
    CPart* const part = MeshOpenIn(partID, errCode);
    if (!part) return STATUS_FAIL;
    if (!VerticesCoordinates || !TriangleVetexIndexes) return Refuse(errCode);
    const bool given = hasNormals == VARIANT_TRUE && NormalsCoordinates && TriangleNormalsIndexes;
    part->OpenMesh()->AddTriangles3P3N(VerticesCoordinates, numVertices, TriangleVetexIndexes, NormalsCoordinates,
                                       numNormals, TriangleNormalsIndexes, NumTriangles, given);
    return STATUS_OK;
}

}  // namespace tessera
