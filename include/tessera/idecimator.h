// The mesh reducer that a host supplies for levels of detail.
#pragma once

#include "platform.h"

namespace tessera {

inline constexpr IID IID_IDecimator = {0x6D1A9C52, 0x3E0B, 0x4F87, {0x9A, 0x41, 0x0C, 0x75, 0xB2, 0xD8, 0x1E, 0x63}};

// Handed to ITessera::SetDecimator and called from ITessera::ComputeLODs: for each mesh SetMesh, then Decimate unless
// the mesh is too small to reduce, then Finish. What the methods return is not looked at. They must not change the
// scene.
class IDecimator : public IUnknown {
public:
    // Takes a mesh: pointFloats floats, three a vertex, in the part's own frame; indexCount indices, three a triangle.
    // Both arrays were made with new[] and belong to the decimator from here on, which frees them with delete[].
    virtual HRESULT SetMesh(float* points, int pointFloats, int* indices, int indexCount) = 0;
    // Reduces the mesh to about targetTriangles triangles, which may be 0, and gives the result as triangle strips.
    // stripData: six floats a vertex, its unit normal, then its position, strip after strip. stripLengths: the number
    // of vertices of each strip, closed by an entry of 0. Both are made with CoTaskMemAlloc; the engine copies and
    // frees them. A null in *stripData says that nothing was made.
    virtual HRESULT Decimate(int targetTriangles, float** stripData, int** stripLengths) = 0;
    // Ends the work on this mesh.
    virtual HRESULT Finish() = 0;

protected:
    ~IDecimator() = default;
};

}  // namespace tessera
