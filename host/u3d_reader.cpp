#include "u3d_reader.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstddef>
#include <fstream>
#include <iterator>
#include <map>
#include <nlohmann/json.hpp>
#include <set>
#include <utility>
#include <vector>

#include "failure.h"
#include "file_format.h"
#include "u3d_file.h"

namespace tessera::host {

namespace {

// The engine walks its tree by recursion.
constexpr int kMostLevels = 1000;
constexpr U3dContent::Matrix kInPlace = {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1};

struct Look {
    std::array<float, 3> color{};
    float opacity = 1;

    bool operator<(const Look& other) const {
        return std::pair(color, opacity) < std::pair(other.color, other.opacity);
    }
};

float Fraction(float value) { return std::isfinite(value) ? std::clamp(value, 0.0F, 1.0F) : 0.0F; }

bool IsMirrored(const U3dContent::Matrix& m) {
    return m[0] * (m[5] * m[10] - m[6] * m[9]) - m[1] * (m[4] * m[10] - m[6] * m[8]) +
               m[2] * (m[4] * m[9] - m[5] * m[8]) <
           0;
}

std::string Title(const std::string& path) {
    const std::string name = path.substr(path.rfind('/') + 1);
    const std::size_t dot = name.rfind('.');
    return dot == std::string::npos || dot == 0 ? name : name.substr(0, dot);
}

// Turns what a file holds into the form in which models pass to the process that shows them.
class U3dFlattener {
public:
    U3dFlattener(const U3dContent& content, bool countPoints, ModelWriter& writer)
        : content_(content), countPoints_(countPoints), writer_(writer) {
        for (const auto& mesh : content.meshes) meshes_[mesh.name] = &mesh;
        for (const auto& shader : content.shaders) shaders_[shader.name] = &shader;
        for (const auto& material : content.materials) materials_[material.name] = &material;
        for (const auto& node : content.nodes) children_[node.parent].push_back(&node);
    }

    nlohmann::json Run(const std::string& title) {
        CountShown();
        AddEntry(title, -1, -1, kInPlace);
        std::vector<Visit> waiting;
        std::size_t reached = 0;
        Enter("", 0, 1, waiting);
        while (!waiting.empty()) {
            const Visit visit = waiting.back();
            waiting.pop_back();
            ++reached;
            if (visit.level > kMostLevels) {
                throw Failure("its hierarchy is nested deeper than " + std::to_string(kMostLevels) + " levels");
            }
            AddNode(visit, waiting);
        }
        if (reached < content_.nodes.size()) throw Failure("damaged: its nodes hang under each other in a circle");
        return {{"format", FormatName(FileFormat::kU3d)},
                {"yUp", false},
                {"lines", 0},
                {"points", 0},
                {"parts", std::move(parts_)},
                {"nodes", std::move(nodes_)}};
    }

private:
    struct Visit {
        const U3dContent::Node* node;
        int parent, level;
    };

    bool IsShown(const U3dContent::Node& node) const {
        const auto mesh = meshes_.find(node.resource);
        return node.visibility != 0 && mesh != meshes_.end() && !mesh->second->faces.empty();
    }

    // The engine gives an assembly without geometry a box of its own, so only what shows something gets in.
    void CountShown() {
        std::map<std::string, const U3dContent::Node*> byName;
        for (const auto& node : content_.nodes) byName[node.name] = &node;
        for (const auto& node : content_.nodes) {
            if (!IsShown(node)) continue;
            for (auto up = byName.find(node.name); up != byName.end() && kept_.insert(up->first).second;) {
                up = byName.find(up->second->parent);
            }
        }
        if (kept_.empty()) throw Failure("no triangles in it");
    }

    void Enter(const std::string& name, int parent, int level, std::vector<Visit>& waiting) const {
        const auto below = children_.find(name);
        if (below == children_.end()) return;
        for (auto child = below->second.rbegin(); child != below->second.rend(); ++child) {
            waiting.push_back({*child, parent, level});
        }
    }

    void AddNode(const Visit& visit, std::vector<Visit>& waiting) {
        const U3dContent::Node& node = *visit.node;
        int under = visit.parent;
        U3dContent::Matrix placement = node.matrix;
        if (!std::all_of(placement.begin(), placement.end(), [](float value) { return std::isfinite(value); })) {
            throw Failure("the placement of node \"" + node.name + "\" is not a number");
        }
        if (kept_.count(node.name) != 0) {
            const std::vector<int> parts = IsShown(node) ? PartsOf(node) : std::vector<int>();
            const bool leaf = children_.find(node.name) == children_.end();
            if (!leaf || parts.size() != 1) {
                under = AddEntry(node.name, under, -1, placement);
                placement = kInPlace;
            }
            for (const int part : parts) AddEntry(node.name, under, part, placement);
        }
        Enter(node.name, under, visit.level + 1, waiting);
    }

    int AddEntry(const std::string& name, int parent, int part, const U3dContent::Matrix& placement) {
        nodes_.push_back({{"name", name},
                          {"parent", parent},
                          {"part", part},
                          {"mirrored", IsMirrored(placement)},
                          {"transform", placement}});
        return static_cast<int>(nodes_.size()) - 1;
    }

    Look LookOf(const U3dContent::Mesh& mesh, const U3dContent::Face& face,
                const std::vector<std::string>& shaders) const {
        Look look{{0.75F, 0.75F, 0.75F}, 1};
        const U3dContent::Shader* shader = nullptr;
        if (face.shading < shaders.size()) shader = shaders_.at(shaders[face.shading]);
        if (shader != nullptr) {
            const U3dContent::Material& material = *materials_.at(shader->material);
            if ((material.attributes & 2) != 0) look.color = material.diffuse;
            if ((material.attributes & 0x20) != 0) look.opacity = material.opacity;
        }
        if (mesh.colored[face.shading] && (shader == nullptr || (shader->attributes & 4) != 0)) {
            const auto& color = mesh.colors[face.colors[0]];
            std::copy_n(color.begin(), 3, look.color.begin());
        }
        for (float& value : look.color) value = Fraction(value);
        look.opacity = Fraction(look.opacity);
        return look;
    }

    // Opacity belongs to a whole part, so faces of a mesh that differ in it go into parts of their own.
    std::vector<int> PartsOf(const U3dContent::Node& node) {
        const U3dContent::Mesh& mesh = *meshes_.at(node.resource);
        const std::vector<std::string>& shaders = node.shaders.empty() ? mesh.shaders : node.shaders;
        const auto [known, isNew] = partsOf_.try_emplace({node.resource, shaders});
        if (!isNew) return known->second;
        std::map<Look, std::vector<std::uint32_t>> groups;
        for (std::uint32_t f = 0; f < mesh.faces.size(); ++f) groups[LookOf(mesh, mesh.faces[f], shaders)].push_back(f);
        std::map<float, nlohmann::json> written;
        std::map<float, std::vector<std::uint32_t>> faces;
        for (const auto& [look, group] : groups) {
            written[look.opacity].push_back(WriteMesh(mesh, group, look.color));
            faces[look.opacity].insert(faces[look.opacity].end(), group.begin(), group.end());
        }
        for (auto& [opacity, meshes] : written) {
            known->second.push_back(static_cast<int>(parts_.size()));
            parts_.push_back({{"name", mesh.name},
                              {"opacity", opacity},
                              {"distinctPoints", countPoints_ ? DistinctPoints(mesh, faces[opacity]) : 0},
                              {"meshes", std::move(meshes)}});
        }
        return known->second;
    }

    // Each corner is a vertex of its own: faces share positions here, but not normals.
    nlohmann::json WriteMesh(const U3dContent::Mesh& mesh, const std::vector<std::uint32_t>& faces,
                             const std::array<float, 3>& color) {
        std::vector<double> points, normals;
        std::vector<std::uint32_t> corners;
        points.reserve(9 * faces.size());
        for (const std::uint32_t f : faces) {
            for (int k = 0; k < 3; ++k) {
                const auto& point = mesh.positions[mesh.faces[f].positions[k]];
                for (const float value : point) {
                    if (!(std::fabs(value) < 1e20F)) throw Failure("a position of \"" + mesh.name + "\" is too large");
                }
                points.insert(points.end(), point.begin(), point.end());
                corners.push_back(static_cast<std::uint32_t>(corners.size()));
                if (mesh.normalsExcluded) continue;
                const auto& normal = mesh.normals[mesh.faces[f].normals[k]];
                normals.insert(normals.end(), normal.begin(), normal.end());
            }
        }
        nlohmann::json written = {{"vertices", corners.size()}, {"triangles", faces.size()}, {"color", color}};
        const auto write = [&](const char* name, const auto& array) {
            written[name] = writer_.Begin(array.size() * sizeof array[0]);
            writer_.Write(array.data(), array.size() * sizeof array[0]);
        };
        write("cornersAt", corners);
        write("pointsAt", points);
        if (!mesh.normalsExcluded) write("normalsAt", normals);
        return written;
    }

    static std::size_t DistinctPoints(const U3dContent::Mesh& mesh, const std::vector<std::uint32_t>& faces) {
        std::vector<std::array<std::uint32_t, 3>> points;
        for (const std::uint32_t f : faces) {
            for (const std::uint32_t position : mesh.faces[f].positions) {
                std::array<std::uint32_t, 3>& bits = points.emplace_back();
                // The sum makes one zero of the two.
                for (int k = 0; k < 3; ++k) bits[k] = std::bit_cast<std::uint32_t>(mesh.positions[position][k] + 0.0F);
            }
        }
        std::sort(points.begin(), points.end());
        return static_cast<std::size_t>(std::unique(points.begin(), points.end()) - points.begin());
    }

    const U3dContent& content_;
    bool countPoints_;
    ModelWriter& writer_;
    std::map<std::string, const U3dContent::Mesh*> meshes_;
    std::map<std::string, const U3dContent::Shader*> shaders_;
    std::map<std::string, const U3dContent::Material*> materials_;
    std::map<std::string, std::vector<const U3dContent::Node*>> children_;  // by their parent's name
    std::set<std::string> kept_;                                            // nodes that show something, or hold such
    std::map<std::pair<std::string, std::vector<std::string>>, std::vector<int>> partsOf_;
    nlohmann::json parts_ = nlohmann::json::array();
    nlohmann::json nodes_ = nlohmann::json::array();
};

}  // namespace

nlohmann::json ReadU3d(const std::string& path, bool countPoints, ModelWriter& writer) {
    std::ifstream file(path, std::ios::binary);
    const std::vector<unsigned char> bytes{std::istreambuf_iterator<char>(file), {}};
    if (!file) throw Failure("cannot be read");
    const U3dContent content = DecodeU3d(bytes, false);
    return U3dFlattener(content, countPoints, writer).Run(Title(path));
}

}  // namespace tessera::host
