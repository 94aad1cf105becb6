#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <vector>

namespace tessera::host {

// What a U3D file holds, as its blocks state it.
struct U3dContent {
    using Vec3 = std::array<float, 3>;
    using Vec4 = std::array<float, 4>;
    using Matrix = std::array<float, 16>;  // for row vectors, row by row
    using Corners = std::array<std::uint32_t, 3>;

    struct Node {
        std::string name, parent;  // the parent "" is the world
        Matrix matrix{};
        std::string resource;  // empty for a group
        std::uint32_t visibility = 0;
        std::vector<std::string> shaders;  // of a shading modifier in the node's chain
    };
    struct View {
        std::string name, parent;
        Matrix matrix{};
        std::string resource;
        bool perspective = true;
        float nearClip = 0, farClip = 0;
        float projection = 0;  // vertical field of view in degrees, or height in world units
        Vec4 viewport{};       // width, height, x, y
    };
    struct Face {
        std::uint32_t shading = 0;
        Corners positions{}, normals{}, colors{};
    };
    struct Block {  // one continuation of a mesh; a base mesh starts at 0
        std::uint32_t priority = 0, start = 0, end = 0;
    };
    struct Mesh {
        std::string name;
        bool normalsExcluded = false;
        std::uint32_t faceCount = 0, positionCount = 0, normalCount = 0, colorCount = 0;  // as declared
        std::vector<bool> colored;  // for each shading description: its faces have diffuse colour indices
        std::uint32_t minimum = 0, maximum = 0;
        std::array<std::uint32_t, 3> quality{};
        float positionQuant = 0, normalQuant = 0, colorQuant = 0;
        float crease = 0, update = 0, tolerance = 0;
        std::vector<std::string> shaders;  // of a shading modifier in the mesh's chain
        std::vector<Block> blocks;
        std::vector<Vec3> positions, normals;
        std::vector<Vec4> colors;  // red, green, blue, alpha
        std::vector<Face> faces;
    };
    struct Material {
        std::string name;
        std::uint32_t attributes = 0;
        Vec3 ambient{}, diffuse{}, specular{}, emissive{};
        float reflectivity = 0, opacity = 0;
    };
    struct Shader {
        std::string name;
        std::uint32_t attributes = 0;
        std::string material;
    };
    struct ViewResource {
        std::string name, root;
    };

    // In the order of the file.
    std::vector<Node> nodes;
    std::vector<View> views;
    std::vector<Mesh> meshes;
    std::vector<Shader> shaders;
    std::vector<Material> materials;
    std::vector<ViewResource> viewResources;
};

// Knows triangle meshes with diffuse colours, base and progressive, with their materials, shaders, model and view
// nodes; the engine's own writer of the format shares nothing with it. Throws std::runtime_error that names the byte,
// for a breach of the format and for what it does not know. Not `exact`, it passes over metadata and blocks of other
// kinds, takes groups and lights for nodes that show nothing, and allows what widespread writers do otherwise.
U3dContent DecodeU3d(const std::vector<unsigned char>& bytes, bool exact = true);

}  // namespace tessera::host
