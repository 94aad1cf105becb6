#include "scene_flattener.h"

#include <assimp/material.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <unordered_set>

#include "failure.h"

namespace tessera::host {

namespace {

// The engine walks its tree by recursion.
constexpr int kMostLevels = 1000;
// Above this the engine drops triangles.
constexpr float kLargestCoordinate = 1e20F;
// A light steel for what has no material.
constexpr std::array<float, 3> kPlainColor = {0.62F, 0.68F, 0.75F};

float ScreenValue(float linear) {
    if (linear <= 0.0031308F) return std::max(0.0F, 12.92F * linear);
    return std::min(1.0F, 1.055F * std::pow(linear, 1 / 2.4F) - 0.055F);
}

bool IsTriangle(const aiFace& face) { return face.mNumIndices == 3; }

bool IsFinite(const aiVector3D& v) { return std::isfinite(v.x) && std::isfinite(v.y) && std::isfinite(v.z); }

bool IsFinite(const aiMatrix4x4& m) {
    return std::all_of(&m.a1, &m.a1 + 16, [](float value) { return std::isfinite(value); });
}

std::string Text(const aiString& text) { return {text.C_Str(), text.length}; }

// Names a mesh in a message; not every one has a name.
std::string Called(const aiMesh& mesh) {
    return mesh.mName.length == 0 ? "its mesh" : "mesh \"" + Text(mesh.mName) + "\"";
}

}  // namespace

nlohmann::json SceneFlattener::Run() {
    CountPrimitives();
    CheckNodes();
    const std::vector<const aiNode*> kept = NodesWithTriangles();
    if (kept.empty()) {
        throw Failure(points_ + lines_ > 0 ? "no triangles in it, only " + std::to_string(points_) + " points and " +
                                                 std::to_string(lines_) + " lines"
                                           : "no triangles in it");
    }
    // A name that the reader made up says less than the file's.
    const std::string rootName = Text(scene_.mRootNode->mName);
    const bool namedByFile =
        format_ == FileFormat::kGlb || format_ == FileFormat::kGltf || format_ == FileFormat::kCollada;
    const bool named = namedByFile && !rootName.empty() && rootName != "ROOT" && rootName[0] != '<';

    std::vector<Visit> waiting{{scene_.mRootNode, -1, 0}};
    while (!waiting.empty()) {
        const Visit visit = waiting.back();
        waiting.pop_back();
        if (!std::binary_search(kept.begin(), kept.end(), visit.node)) continue;
        const int index = static_cast<int>(nodes_.size());
        AddNode(visit, visit.parent < 0 && !named ? title_ : Text(visit.node->mName));
        for (unsigned i = visit.node->mNumChildren; i-- > 0;) waiting.push_back({visit.node->mChildren[i], index, 0});
    }
    const bool yUp = format_ == FileFormat::kGlb || format_ == FileFormat::kGltf || format_ == FileFormat::kCollada;
    return {{"format", FormatName(format_)},
            {"yUp", yUp},
            {"lines", lines_},
            {"points", points_},
            {"parts", std::move(parts_)},
            {"nodes", std::move(nodes_)}};
}

void SceneFlattener::CountPrimitives() {
    triangles_.assign(scene_.mNumMeshes, 0);
    for (unsigned m = 0; m < scene_.mNumMeshes; ++m) {
        const aiMesh& mesh = *scene_.mMeshes[m];
        for (unsigned f = 0; f < mesh.mNumFaces; ++f) {
            const unsigned corners = mesh.mFaces[f].mNumIndices;
            if (corners == 3) ++triangles_[m];
            if (corners == 2) ++lines_;
            if (corners == 1) ++points_;
        }
        if (mesh.mNumFaces == 0) points_ += mesh.mNumVertices;
    }
}

void SceneFlattener::CheckNodes() {
    std::vector<Visit> waiting{{scene_.mRootNode, -1, 1}};
    while (!waiting.empty()) {
        const Visit visit = waiting.back();
        waiting.pop_back();
        if (visit.level > kMostLevels) {
            throw Failure("its hierarchy is nested deeper than " + std::to_string(kMostLevels) + " levels");
        }
        if (!IsFinite(visit.node->mTransformation)) {
            throw Failure("the placement of node \"" + Text(visit.node->mName) + "\" is not a number");
        }
        for (unsigned i = 0; i < visit.node->mNumMeshes; ++i) {
            if (visit.node->mMeshes[i] >= scene_.mNumMeshes) throw Failure("a node shows a mesh that is not there");
        }
        for (unsigned i = 0; i < visit.node->mNumChildren; ++i) {
            waiting.push_back({visit.node->mChildren[i], -1, visit.level + 1});
        }
    }
}

// Sorted by address. The engine gives an assembly without geometry a box of its own, so empty ones must not get in.
std::vector<const aiNode*> SceneFlattener::NodesWithTriangles() const {
    std::unordered_set<const aiNode*> kept;
    std::vector<const aiNode*> waiting{scene_.mRootNode};
    while (!waiting.empty()) {
        const aiNode* node = waiting.back();
        waiting.pop_back();
        const bool shows = std::any_of(node->mMeshes, node->mMeshes + node->mNumMeshes,
                                       [this](unsigned mesh) { return triangles_[mesh] > 0; });
        for (const aiNode* up = node; shows && up != nullptr && kept.insert(up).second;) up = up->mParent;
        waiting.insert(waiting.end(), node->mChildren, node->mChildren + node->mNumChildren);
    }
    std::vector<const aiNode*> sorted(kept.begin(), kept.end());
    std::sort(sorted.begin(), sorted.end());
    return sorted;
}

void SceneFlattener::AddNode(const Visit& visit, const std::string& name) {
    const aiNode& node = *visit.node;
    const std::vector<Meshes> groups = GroupByOpacity(node);
    const std::string shown = name.empty() && !groups.empty() ? PartName(groups[0], title_) : name;
    if (visit.parent >= 0 && node.mNumChildren == 0 && groups.size() == 1) {
        AddInstance(groups[0], visit.parent, shown, node.mTransformation);
        return;
    }
    const int index = static_cast<int>(nodes_.size());
    AddEntry(shown, visit.parent, -1, node.mTransformation);
    for (const Meshes& group : groups) AddInstance(group, index, shown, aiMatrix4x4());
}

void SceneFlattener::AddInstance(const Meshes& meshes, int parent, const std::string& name,
                                 const aiMatrix4x4& transform) {
    const int part = PartOf(meshes, name);
    AddEntry(name, parent, part, transform);
}

void SceneFlattener::AddEntry(const std::string& name, int parent, int part, const aiMatrix4x4& transform) {
    const aiMatrix4x4& m = transform;
    nodes_.push_back(
        {{"name", name},
         {"parent", parent},
         {"part", part},
         {"mirrored", m.Determinant() < 0},
         {"transform",
          {m.a1, m.b1, m.c1, m.d1, m.a2, m.b2, m.c2, m.d2, m.a3, m.b3, m.c3, m.d3, m.a4, m.b4, m.c4, m.d4}}});
}

// Opacity belongs to a whole part, so meshes of one node that differ in it go into parts of their own.
std::vector<SceneFlattener::Meshes> SceneFlattener::GroupByOpacity(const aiNode& node) const {
    std::vector<Meshes> groups;
    for (unsigned i = 0; i < node.mNumMeshes; ++i) {
        const unsigned mesh = node.mMeshes[i];
        if (triangles_[mesh] == 0) continue;
        const float opacity = Opacity(*scene_.mMeshes[mesh]);
        auto group = std::find_if(groups.begin(), groups.end(), [&](const Meshes& g) { return g.opacity == opacity; });
        if (group == groups.end()) group = groups.insert(groups.end(), {{}, opacity});
        group->indices.push_back(mesh);
    }
    return groups;
}

int SceneFlattener::PartOf(const Meshes& meshes, const std::string& nodeName) {
    const auto [entry, isNew] = partOfMeshes_.try_emplace(meshes.indices, static_cast<int>(parts_.size()));
    if (!isNew) return entry->second;
    nlohmann::json written = nlohmann::json::array();
    for (const unsigned mesh : meshes.indices) written.push_back(WriteMesh(mesh));
    parts_.push_back({{"name", PartName(meshes, nodeName)},
                      {"opacity", meshes.opacity},
                      {"distinctPoints", countPoints_ ? DistinctPoints(meshes.indices) : 0},
                      {"meshes", std::move(written)}});
    return entry->second;
}

std::string SceneFlattener::PartName(const Meshes& meshes, const std::string& nodeName) const {
    std::string name = Text(scene_.mMeshes[meshes.indices[0]]->mName);
    // The importer numbers the meshes that one mesh of a glTF file falls into: "nut-0", "nut-1" and so on.
    const bool numbered = format_ == FileFormat::kGlb || format_ == FileFormat::kGltf;
    const std::size_t dash = name.rfind('-');
    if (numbered && dash != std::string::npos && dash > 0 && dash + 1 < name.size() &&
        name.find_first_not_of("0123456789", dash + 1) == std::string::npos) {
        name.resize(dash);
    }
    return name.empty() ? nodeName : name;
}

nlohmann::json SceneFlattener::WriteMesh(unsigned index) {
    const aiMesh& mesh = *scene_.mMeshes[index];
    if (mesh.mVertices == nullptr) throw Failure(Called(mesh) + " has no vertices");
    nlohmann::json written = {
        {"vertices", mesh.mNumVertices}, {"triangles", triangles_[index]}, {"color", Color(mesh)}};
    written["cornersAt"] = WriteCorners(mesh);
    written["pointsAt"] = WriteVectors(mesh.mVertices, mesh.mNumVertices, &mesh);
    if (KeepsNormals() && mesh.HasNormals()) {
        written["normalsAt"] = WriteVectors(mesh.mNormals, mesh.mNumVertices, nullptr);
    }
    return written;
}

// Coordinates of a mesh are `checked`, normals are not: the engine makes its own where a normal is unusable.
std::uint64_t SceneFlattener::WriteVectors(const aiVector3D* vectors, unsigned count, const aiMesh* checked) {
    const std::uint64_t place = writer_.Begin(std::uint64_t{count} * 3 * sizeof(double));
    std::vector<double> chunk;
    constexpr unsigned kChunk = 8192;
    for (unsigned start = 0; start < count; start += kChunk) {
        const unsigned end = std::min(count, start + kChunk);
        chunk.clear();
        for (unsigned i = start; i < end; ++i) {
            const aiVector3D& v = vectors[i];
            if (checked != nullptr &&
                !(std::max({std::abs(v.x), std::abs(v.y), std::abs(v.z)}) < kLargestCoordinate && IsFinite(v))) {
                throw Failure("vertex " + std::to_string(i) + " of " + Called(*checked) +
                              " has a coordinate that is not a number or too large");
            }
            chunk.insert(chunk.end(), {v.x, v.y, v.z});
        }
        writer_.Write(chunk.data(), chunk.size() * sizeof(double));
    }
    return place;
}

std::uint64_t SceneFlattener::WriteCorners(const aiMesh& mesh) {
    const std::uint64_t place = writer_.Begin(std::uint64_t{mesh.mNumFaces} * 3 * sizeof(std::uint32_t));
    std::vector<std::uint32_t> chunk;
    constexpr unsigned kChunk = 8192;
    for (unsigned f = 0; f < mesh.mNumFaces; ++f) {
        const aiFace& face = mesh.mFaces[f];
        if (!IsTriangle(face)) continue;
        for (const unsigned corner : {face.mIndices[0], face.mIndices[1], face.mIndices[2]}) {
            if (corner >= mesh.mNumVertices) {
                throw Failure("a triangle of " + Called(mesh) + " names vertex " + std::to_string(corner) + " of " +
                              std::to_string(mesh.mNumVertices));
            }
            chunk.push_back(corner);
        }
        if (chunk.size() >= kChunk) {
            writer_.Write(chunk.data(), chunk.size() * sizeof(std::uint32_t));
            chunk.clear();
        }
    }
    writer_.Write(chunk.data(), chunk.size() * sizeof(std::uint32_t));
    return place;
}

std::uint64_t SceneFlattener::DistinctPoints(const std::vector<unsigned>& meshes) const {
    std::vector<std::array<std::uint32_t, 3>> points;
    for (const unsigned m : meshes) {
        const aiMesh& mesh = *scene_.mMeshes[m];
        std::vector<bool> used(mesh.mNumVertices, false);
        for (unsigned f = 0; f < mesh.mNumFaces; ++f) {
            const aiFace& face = mesh.mFaces[f];
            for (unsigned k = 0; IsTriangle(face) && k < 3; ++k) used[face.mIndices[k]] = true;
        }
        for (unsigned i = 0; i < mesh.mNumVertices; ++i) {
            // The sum makes one zero of the two.
            const aiVector3D v = mesh.mVertices[i] + aiVector3D(0, 0, 0);
            if (used[i]) {
                points.push_back({std::bit_cast<std::uint32_t>(v.x), std::bit_cast<std::uint32_t>(v.y),
                                  std::bit_cast<std::uint32_t>(v.z)});
            }
        }
    }
    std::sort(points.begin(), points.end());
    return static_cast<std::uint64_t>(std::unique(points.begin(), points.end()) - points.begin());
}

std::array<float, 3> SceneFlattener::Color(const aiMesh& mesh) const {
    if (mesh.mMaterialIndex >= scene_.mNumMaterials) return kPlainColor;
    const aiMaterial& material = *scene_.mMaterials[mesh.mMaterialIndex];
    const std::string name = Text(const_cast<aiMaterial&>(material).GetName());
    const bool hasMaterials = format_ != FileFormat::kStlBinary && format_ != FileFormat::kStlText &&
                              format_ != FileFormat::kPly && format_ != FileFormat::kOff;
    aiColor4D color;
    if (!hasMaterials || name == AI_DEFAULT_MATERIAL_NAME || name == "%%%DEFAULT") return kPlainColor;
    const bool base = material.Get(AI_MATKEY_BASE_COLOR, color) == AI_SUCCESS;
    if (!base && material.Get(AI_MATKEY_COLOR_DIFFUSE, color) != AI_SUCCESS) return kPlainColor;
    // glTF states colours in linear light.
    if (base) return {ScreenValue(color.r), ScreenValue(color.g), ScreenValue(color.b)};
    return {std::clamp(color.r, 0.0F, 1.0F), std::clamp(color.g, 0.0F, 1.0F), std::clamp(color.b, 0.0F, 1.0F)};
}

float SceneFlattener::Opacity(const aiMesh& mesh) const {
    if (mesh.mMaterialIndex >= scene_.mNumMaterials) return 1;
    const aiMaterial& material = *scene_.mMaterials[mesh.mMaterialIndex];
    float opacity = 1;
    aiString mode;
    // A glTF material that is declared opaque ignores the alpha of its colour.
    if (material.Get("$mat.gltf.alphaMode", 0, 0, mode) == AI_SUCCESS && Text(mode) == "OPAQUE") return 1;
    if (material.Get(AI_MATKEY_OPACITY, opacity) != AI_SUCCESS || !std::isfinite(opacity)) return 1;
    return std::clamp(opacity, 0.0F, 1.0F);
}

}  // namespace tessera::host
