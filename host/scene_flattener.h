#pragma once

#include <assimp/scene.h>

#include <array>
#include <cstdint>
#include <map>
#include <nlohmann/json.hpp>
#include <string>
#include <utility>
#include <vector>

#include "file_format.h"
#include "model_stream.h"

namespace tessera::host {

// Writes an imported scene as a model: nodes without triangles under them are left out, nodes that show the same
// meshes share a part, and what cannot be drawn rightly is refused. Throws Failure.
class SceneFlattener {
public:
    SceneFlattener(const aiScene& scene, FileFormat format, std::string fileTitle, bool countPoints,
                   ModelWriter& writer)
        : scene_(scene), format_(format), title_(std::move(fileTitle)), countPoints_(countPoints), writer_(writer) {}

    // Writes the arrays and returns the description.
    nlohmann::json Run();

private:
    struct Meshes {
        std::vector<unsigned> indices;
        float opacity = 1;
    };
    struct Visit {
        const aiNode* node;
        int parent;  // -1 for the first
        int level;
    };

    void CountPrimitives();
    void CheckNodes();
    std::vector<const aiNode*> NodesWithTriangles() const;
    void AddNode(const Visit& visit, const std::string& name);
    void AddInstance(const Meshes& meshes, int parent, const std::string& name, const aiMatrix4x4& transform);
    void AddEntry(const std::string& name, int parent, int part, const aiMatrix4x4& transform);
    std::vector<Meshes> GroupByOpacity(const aiNode& node) const;
    int PartOf(const Meshes& meshes, const std::string& nodeName);
    std::string PartName(const Meshes& meshes, const std::string& nodeName) const;
    nlohmann::json WriteMesh(unsigned index);
    std::uint64_t WriteVectors(const aiVector3D* vectors, unsigned count, const aiMesh* checked);
    std::uint64_t WriteCorners(const aiMesh& mesh);
    std::uint64_t DistinctPoints(const std::vector<unsigned>& meshes) const;
    std::array<float, 3> Color(const aiMesh& mesh) const;
    float Opacity(const aiMesh& mesh) const;
    bool KeepsNormals() const { return format_ != FileFormat::kStlBinary && format_ != FileFormat::kStlText; }

    const aiScene& scene_;
    FileFormat format_;
    std::string title_;
    bool countPoints_;
    ModelWriter& writer_;

    std::vector<std::uint64_t> triangles_;  // of each mesh
    std::uint64_t lines_ = 0;
    std::uint64_t points_ = 0;
    std::map<std::vector<unsigned>, int> partOfMeshes_;
    nlohmann::json parts_ = nlohmann::json::array();
    nlohmann::json nodes_ = nlohmann::json::array();
};

}  // namespace tessera::host
