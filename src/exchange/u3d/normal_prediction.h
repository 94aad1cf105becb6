// The normals that a reader of a progressive mesh expects from the faces around a position. All of it is in single
// precision, each operation rounded, as in the reader.
#pragma once

#include <vector>

#include "component/vector3.h"

namespace tessera {

// False for a face that has no normal.
bool U3dFaceNormal(const Vec3& a, const Vec3& b, const Vec3& c, Vec3& normal);
// count normals that stand for those of the faces, which come in the order of the reader.
void PredictU3dNormals(const std::vector<Vec3>& faceNormals, std::size_t count, std::vector<Vec3>& result);

}  // namespace tessera
