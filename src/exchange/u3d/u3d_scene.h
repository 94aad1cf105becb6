// What a scene is told to hold before it is written as U3D (ECMA-363).
#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "component/vector3.h"
#include "platform/text.h"

namespace tessera {

// A mesh whose corners name positions, normals and colours apart from each other.
struct U3dMesh {
    std::vector<Vec3> positions, normals;
    std::vector<std::array<float, 4>> colors;  // red, green, blue, opacity
    // Three a triangle.
    std::vector<std::uint32_t> positionFaces, normalFaces, colorFaces;

    std::size_t FaceCount() const { return positionFaces.size() / 3; }
};

struct U3dMaterial {
    std::array<float, 3> ambient{1, 1, 1}, diffuse{1, 1, 1}, specular{0, 0, 0}, emissive{0, 0, 0};
    float reflectivity = 0.1f, opacity = 1;
};

// How a view sees: field of view in degrees, or the height of a parallel view in units of the scene; and between which
// distances.
struct U3dProjection {
    bool perspective = true;
    float fieldOfView = 40, height = 40;
    float nearClip = 1, farClip = 1e6f;
};

// By rows, for points as row vectors: the translation stands in 12 to 14.
using U3dMatrix = std::array<float, 16>;

// The scene that goes into one file. Names are UTF-8; within one kind of object each must be new. An empty name of a
// parent or of a root node is the world. A negative status means that nothing was added.
class IU3dScene {
public:
    virtual ~IU3dScene() = default;

    virtual HRESULT CreateViewResource(const std::string& name, const std::string& rootNode) = 0;
    virtual HRESULT CreateViewNode(const std::string& name, const std::string& parent, const U3dMatrix& matrix,
                                   const std::string& viewResource, const U3dProjection& projection) = 0;
    // minimumResolution: the number of positions at which a reader may show the mesh at the earliest; the mesh's own
    // number keeps it at full resolution and as exact as it is, and 0 writes it as a progressive mesh with quantised
    // positions and normals. An index beyond its array, and coordinates that are not finite, are refused.
    virtual HRESULT CreateMeshResource(const std::string& name, U3dMesh mesh, std::uint32_t minimumResolution) = 0;
    virtual HRESULT CreateMaterial(const std::string& name, const U3dMaterial& material) = 0;
    virtual HRESULT CreateShader(const std::string& name, const std::string& material) = 0;
    // One shader for the whole mesh.
    virtual HRESULT AttachShader(const std::string& mesh, const std::string& shader) = 0;
    // visibility: 1 the front of faces, 2 the back, 3 both.
    virtual HRESULT CreateModelNode(const std::string& name, const std::string& parent, const U3dMatrix& matrix,
                                    const std::string& mesh, std::uint32_t visibility) = 0;
    // Writes all of it; without success there is no file, or the one that was there before.
    virtual HRESULT Write(const String& path) = 0;
};

// A writer of the format.
std::unique_ptr<IU3dScene> CreateU3dFile();

}  // namespace tessera
