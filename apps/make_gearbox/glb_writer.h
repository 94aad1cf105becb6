#pragma once

#include <array>
#include <cstdint>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "solid.h"

namespace gearbox {

// Collects an assembly and writes it as one GLB file (glTF 2.0, binary).
class GlbWriter {
public:
    GlbWriter();

    // Colour channels as seen on a screen, 0 to 1. Each of these returns the index of what it made.
    int Material(const std::string& name, const std::array<double, 3>& color, double opacity, double metallic);
    int Mesh(const std::string& name, const IndexedMesh& mesh, int material);
    // `mesh` -1 for a node without one. The transform is column-major, as glTF has it; `parent` -1 for the top node.
    int Node(const std::string& name, int parent, int mesh, const std::array<double, 16>& transform);

    // Writes a file that appears whole or not at all. Throws std::runtime_error.
    void Write(const std::string& path) const;
    std::size_t Triangles() const { return triangles_; }

private:
    template <class Value>
    int Accessor(const std::vector<Value>& values, int componentType, const char* type, int target);

    nlohmann::ordered_json document_;
    std::string binary_;
    std::size_t triangles_ = 0;
};

}  // namespace gearbox
