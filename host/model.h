#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "camera.h"

namespace tessera::host {

// By rows, for points as row vectors: the translation stands in 12 to 14.
using Placement = std::array<double, 16>;

// First a, then b.
Placement Product(const Placement& a, const Placement& b);

// One mesh as the engine takes it. The arrays lie in memory that the Model owns.
struct ModelMesh {
    double* points = nullptr;          // three a vertex
    double* normals = nullptr;         // three a vertex, or null
    std::uint32_t* corners = nullptr;  // three vertices a triangle
    std::uint64_t vertices = 0;
    std::uint64_t triangles = 0;
    std::array<float, 3> color{};  // as it is to look on a screen
};

// What one or more nodes of a model show.
struct ModelPart {
    std::string name;
    float opacity = 1;
    std::uint64_t triangles = 0;
    std::uint64_t distinctPoints = 0;  // only when the reader was asked to count them
    std::vector<ModelMesh> meshes;
};

struct ModelNode {
    std::string name;
    int parent = -1;        // index of a node before this one, -1 for the first
    int part = -1;          // index of the part that it shows, -1 for an assembly
    Placement transform{};  // in the parent
    bool mirrored = false;  // the transform's determinant is negative
};

// A model as read from a file. Text is UTF-8.
struct Model {
    std::string file;
    std::string format;
    UpAxis up = UpAxis::kZ;
    std::vector<ModelPart> parts;
    std::vector<ModelNode> nodes;
    // Read but not shown.
    std::uint64_t lines = 0;
    std::uint64_t points = 0;
};

}  // namespace tessera::host
