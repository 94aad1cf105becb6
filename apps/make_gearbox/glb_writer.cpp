#include "glb_writer.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <fstream>
#include <stdexcept>

namespace gearbox {

namespace {

constexpr int kFloat = 5126;
constexpr int kUnsignedInt = 5125;
constexpr int kArrayBuffer = 34962;
constexpr int kElementArrayBuffer = 34963;

double Linear(double screen) { return screen <= 0.04045 ? screen / 12.92 : std::pow((screen + 0.055) / 1.055, 2.4); }

void AppendWord(std::string& bytes, std::uint32_t value) {
    for (int shift = 0; shift < 32; shift += 8) bytes += static_cast<char>(value >> shift & 0xFF);
}

void AppendChunk(std::string& file, std::uint32_t type, std::string content, char filler) {
    content.append((4 - content.size() % 4) % 4, filler);
    AppendWord(file, static_cast<std::uint32_t>(content.size()));
    AppendWord(file, type);
    file += content;
}

}  // namespace

GlbWriter::GlbWriter() {
    document_["asset"] = {{"version", "2.0"}, {"generator", "make_gearbox"}};
    document_["scene"] = 0;
    document_["scenes"] = {{{"nodes", nlohmann::ordered_json::array()}}};
}

int GlbWriter::Material(const std::string& name, const std::array<double, 3>& color, double opacity, double metallic) {
    nlohmann::ordered_json material;
    material["name"] = name;
    material["pbrMetallicRoughness"] = {
        {"baseColorFactor", {Linear(color[0]), Linear(color[1]), Linear(color[2]), opacity}},
        {"metallicFactor", metallic},
        {"roughnessFactor", 0.4}};
    if (opacity < 1) material["alphaMode"] = "BLEND";
    document_["materials"].push_back(material);
    return static_cast<int>(document_["materials"].size()) - 1;
}

template <class Value>
int GlbWriter::Accessor(const std::vector<Value>& values, int componentType, const char* type, int target) {
    const std::size_t bytes = values.size() * sizeof(Value);
    document_["bufferViews"].push_back(
        {{"buffer", 0}, {"byteOffset", binary_.size()}, {"byteLength", bytes}, {"target", target}});
    binary_.append(reinterpret_cast<const char*>(values.data()), bytes);
    document_["accessors"].push_back({{"bufferView", document_["bufferViews"].size() - 1},
                                      {"componentType", componentType},
                                      {"count", values.size()},
                                      {"type", type}});
    return static_cast<int>(document_["accessors"].size()) - 1;
}

int GlbWriter::Mesh(const std::string& name, const IndexedMesh& mesh, int material) {
    const int points = Accessor(mesh.points, kFloat, "VEC3", kArrayBuffer);
    std::array<float, 3> low = mesh.points.at(0);
    std::array<float, 3> high = low;
    for (const auto& point : mesh.points) {
        for (std::size_t i = 0; i < 3; ++i) {
            low[i] = std::min(low[i], point[i]);
            high[i] = std::max(high[i], point[i]);
        }
    }
    document_["accessors"][static_cast<std::size_t>(points)]["min"] = low;
    document_["accessors"][static_cast<std::size_t>(points)]["max"] = high;
    const int normals = Accessor(mesh.normals, kFloat, "VEC3", kArrayBuffer);
    const int corners = Accessor(mesh.corners, kUnsignedInt, "SCALAR", kElementArrayBuffer);
    document_["meshes"].push_back({{"name", name},
                                   {"primitives",
                                    {{{"attributes", {{"POSITION", points}, {"NORMAL", normals}}},
                                      {"indices", corners},
                                      {"material", material}}}}});
    triangles_ += mesh.corners.size() / 3;
    return static_cast<int>(document_["meshes"].size()) - 1;
}

int GlbWriter::Node(const std::string& name, int parent, int mesh, const std::array<double, 16>& transform) {
    nlohmann::ordered_json node;
    node["name"] = name;
    node["matrix"] = transform;
    if (mesh >= 0) node["mesh"] = mesh;
    const int index = document_.contains("nodes") ? static_cast<int>(document_["nodes"].size()) : 0;
    document_["nodes"].push_back(node);
    auto& siblings =
        parent < 0 ? document_["scenes"][0]["nodes"] : document_["nodes"][static_cast<std::size_t>(parent)]["children"];
    siblings.push_back(index);
    return index;
}

void GlbWriter::Write(const std::string& path) const {
    nlohmann::ordered_json document = document_;
    document["buffers"] = {{{"byteLength", binary_.size()}}};
    std::string chunks;
    AppendChunk(chunks, 0x4E4F534A, document.dump(), ' ');
    AppendChunk(chunks, 0x004E4942, binary_, '\0');
    std::string file = "glTF";
    AppendWord(file, 2);
    AppendWord(file, static_cast<std::uint32_t>(chunks.size() + 12));
    file += chunks;

    const std::string temporary = path + ".part";
    std::ofstream stream(temporary, std::ios::binary);
    stream.write(file.data(), static_cast<std::streamsize>(file.size()));
    stream.close();
    if (!stream || std::rename(temporary.c_str(), path.c_str()) != 0) {
        std::remove(temporary.c_str());
        throw std::runtime_error(path + ": cannot be written");
    }
}

}  // namespace gearbox
