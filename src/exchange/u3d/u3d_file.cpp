// The scene as the blocks that the file is made of: declarations by kind, then the contents of the meshes in the order
// in which a reader should meet them.
#include <algorithm>
#include <cmath>
#include <unordered_map>
#include <unordered_set>

#include "exchange/u3d/blocks.h"
#include "exchange/u3d/mesh_blocks.h"
#include "exchange/u3d/progressive_mesh.h"
#include "platform/output_file.h"

namespace tessera {
namespace {

constexpr std::size_t kLongestName = 0xffff;
constexpr std::uint64_t kLargestBlock = 0xfffff000;
constexpr std::uint32_t kHeaderSize = 24, kBlockHeadSize = 12, kUtf8 = 106;
constexpr std::uint32_t kPriorityStep = 256;
constexpr float kViewportSize = 500;
constexpr std::uint32_t kParallel = 2;
constexpr std::uint32_t kLit = 1, kFaceColorsUsed = 4;

using Names = std::unordered_set<std::string>;

// What is declared with a mesh, and its contents as data of blocks, in order.
struct MeshResource {
    std::string name;
    U3dBytes declaration;
    bool colored = false;
    std::string shader;
    U3dBlockType type = U3dBaseMesh;
    std::vector<U3dBytes> contents;
};

struct Shader {
    std::string name, material;
};

bool IsFinite(const float* values, std::size_t count) {
    for (std::size_t i = 0; i < count; ++i)
        if (!std::isfinite(values[i])) return false;
    return true;
}

// No faces at all, or three corners a face of the mesh, each within its array.
bool AreFacesGood(const std::vector<std::uint32_t>& faces, std::size_t corners, std::size_t count, bool optional) {
    if (faces.size() != corners && !(optional && faces.empty())) return false;
    for (const std::uint32_t index : faces)
        if (index >= count) return false;
    return true;
}

bool IsMeshGood(const U3dMesh& mesh) {
    const std::size_t corners = mesh.positionFaces.size();
    const std::uint64_t counts = mesh.positions.size() | mesh.normals.size() | mesh.colors.size() | corners;
    return corners % 3 == 0 && counts < kLargestBlock && U3dBaseMeshSize(mesh) < kLargestBlock &&
           AreFacesGood(mesh.positionFaces, corners, mesh.positions.size(), false) &&
           AreFacesGood(mesh.normalFaces, corners, mesh.normals.size(), true) &&
           AreFacesGood(mesh.colorFaces, corners, mesh.colors.size(), true) &&
           IsFinite(reinterpret_cast<const float*>(mesh.positions.data()), 3 * mesh.positions.size()) &&
           IsFinite(reinterpret_cast<const float*>(mesh.normals.data()), 3 * mesh.normals.size()) &&
           IsFinite(reinterpret_cast<const float*>(mesh.colors.data()), 4 * mesh.colors.size());
}

bool IsReference(const std::string& name) { return name.size() <= kLongestName; }

// Takes the name, unless it is the world's, too long, or there already.
bool Enter(Names& names, const std::string& name) {
    return !name.empty() && IsReference(name) && names.insert(name).second;
}

U3dBitStream NodeHead(const std::string& name, const std::string& parent, const U3dMatrix& matrix) {
    U3dBitStream node;
    node.Text(name);
    node.U32(1);  // one parent
    node.Text(parent);
    node.Raw(matrix.data(), sizeof matrix);
    return node;
}

void AppendNode(U3dBytes& out, const std::string& name, U3dBlockType type, U3dBitStream& node) {
    U3dBytes block;
    AppendU3dBlock(block, type, node.Finish());
    AppendU3dChain(out, name, U3dChainType::Node, 1, block);
}

void AppendPriority(U3dBytes& out, std::uint32_t priority) {
    U3dBitStream data;
    data.U32(priority);
    AppendU3dBlock(out, U3dPriorityUpdate, data.Finish());
}

void AppendMesh(U3dBytes& out, const MeshResource& mesh) {
    U3dBytes blocks;
    AppendU3dBlock(blocks, U3dMeshDeclaration, mesh.declaration);
    if (!mesh.shader.empty()) {
        U3dBitStream modifier;
        modifier.Text(mesh.name);
        modifier.U32(1);    // second in the chain
        modifier.U32(0xf);  // whatever is drawn
        modifier.U32(1);
        modifier.U32(1);
        modifier.Text(mesh.shader);
        AppendU3dBlock(blocks, U3dShadingModifier, modifier.Finish());
    }
    AppendU3dChain(out, mesh.name, U3dChainType::ModelResource, mesh.shader.empty() ? 1 : 2, blocks);
}

void AppendShader(U3dBytes& out, const Shader& shader, bool colored) {
    constexpr std::uint32_t kAlways = 0x617, kAlphaBlend = 0x606, kFirstPass = 1;
    U3dBitStream data;
    data.Text(shader.name);
    data.U32(colored ? kLit | kFaceColorsUsed : kLit);
    data.F32(0);  // nothing to compare opacity with
    data.U32(kAlways);
    data.U32(kAlphaBlend);
    data.U32(kFirstPass);
    data.U32(0);  // texture layers
    data.U32(0);
    data.Text(shader.material);
    AppendU3dBlock(out, U3dLitTextureShader, data.Finish());
}

U3dBytes Header(std::size_t declarations, std::uint64_t size) {
    U3dBitStream data;
    data.U32(0);  // version
    data.U32(0);  // profile
    data.U32(static_cast<std::uint32_t>(declarations));
    data.Raw(&size, sizeof size);
    data.U32(kUtf8);
    U3dBytes block;
    AppendU3dBlock(block, U3dFileHeader, data.Finish());
    return block;
}

class U3dFile : public IU3dScene {
public:
    HRESULT CreateViewResource(const std::string& name, const std::string& rootNode) override;
    HRESULT CreateViewNode(const std::string& name, const std::string& parent, const U3dMatrix& matrix,
                           const std::string& viewResource, const U3dProjection& projection) override;
    HRESULT CreateMeshResource(const std::string& name, U3dMesh mesh, std::uint32_t minimumResolution) override;
    HRESULT CreateMaterial(const std::string& name, const U3dMaterial& material) override;
    HRESULT CreateShader(const std::string& name, const std::string& material) override;
    HRESULT AttachShader(const std::string& mesh, const std::string& shader) override;
    HRESULT CreateModelNode(const std::string& name, const std::string& parent, const U3dMatrix& matrix,
                            const std::string& mesh, std::uint32_t visibility) override;
    HRESULT Write(const String& path) override;

private:
    U3dBytes Declarations() const;
    std::uint64_t ContentsSize() const;
    void PutContents(OutputFile& file) const;
    std::size_t MostBlocks() const;

    Names nodeNames_, shaderNames_, materialNames_, viewNames_;
    std::unordered_map<std::string, std::size_t> meshNumbers_;
    std::vector<MeshResource> meshes_;
    std::vector<Shader> shaders_;
    U3dBytes nodes_, materials_, views_;  // framed
};

HRESULT U3dFile::CreateViewResource(const std::string& name, const std::string& rootNode) {
    if (!IsReference(rootNode) || !Enter(viewNames_, name)) return STATUS_FAIL;
    constexpr std::uint32_t kExponentialFog = 1;
    constexpr float kFogEnd = 1000;
    U3dBitStream data;
    data.Text(name);
    data.U32(1);  // one pass
    data.Text(rootNode);
    data.U32(0);  // no fog; its values are the usual ones
    data.U32(kExponentialFog);
    for (int i = 0; i < 4; ++i) data.F32(0);
    data.F32(0);
    data.F32(kFogEnd);
    AppendU3dBlock(views_, U3dViewResource, data.Finish());
    return STATUS_OK;
}

HRESULT U3dFile::CreateViewNode(const std::string& name, const std::string& parent, const U3dMatrix& matrix,
                                const std::string& viewResource, const U3dProjection& projection) {
    const float size = projection.perspective ? projection.fieldOfView : projection.height;
    const float sizes[] = {size, projection.nearClip, projection.farClip};
    if (!IsFinite(matrix.data(), matrix.size()) || !IsFinite(sizes, 3) || !(size > 0)) return STATUS_FAIL;
    // Readers drop a whole file for a view that starts at its eye.
    if (!(projection.nearClip > 0 && projection.nearClip < projection.farClip)) return STATUS_FAIL;
    if (!IsReference(parent) || !IsReference(viewResource) || !Enter(nodeNames_, name)) return STATUS_FAIL;
    U3dBitStream node = NodeHead(name, parent, matrix);
    node.Text(viewResource);
    node.U32(projection.perspective ? 0 : kParallel);
    node.F32(projection.nearClip);
    node.F32(projection.farClip);
    node.F32(size);
    node.F32(kViewportSize);
    node.F32(kViewportSize);
    node.F32(0);
    node.F32(0);
    node.U32(0);  // backdrops
    node.U32(0);  // overlays
    AppendNode(nodes_, name, U3dViewNode, node);
    return STATUS_OK;
}

HRESULT U3dFile::CreateMeshResource(const std::string& name, U3dMesh mesh, std::uint32_t minimumResolution) {
    if (name.empty() || !IsReference(name) || meshNumbers_.count(name) != 0 || !IsMeshGood(mesh)) return STATUS_FAIL;
    if (minimumResolution > mesh.positions.size()) return STATUS_FAIL;
    MeshResource resource;
    resource.name = name;
    resource.colored = !mesh.colorFaces.empty();
    if (mesh.positions.empty()) mesh = U3dMesh();  // declared without contents, which would hold its arrays
    const U3dQuantization quantization = U3dQuantizationOf(mesh);
    const bool progressive =
        minimumResolution == 0 && U3dProgressiveMeshData(name, mesh, quantization, resource.contents);
    const auto resolution = static_cast<std::uint32_t>(progressive ? 0 : mesh.positions.size());
    resource.type = progressive ? U3dProgressiveMesh : U3dBaseMesh;
    resource.declaration = U3dMeshDeclarationData(name, mesh, resolution, quantization);
    if (resolution != 0) resource.contents.push_back(U3dBaseMeshData(name, mesh));
    meshNumbers_.emplace(name, meshes_.size());
    meshes_.push_back(std::move(resource));
    return STATUS_OK;
}

HRESULT U3dFile::CreateMaterial(const std::string& name, const U3dMaterial& material) {
    constexpr std::uint32_t kAmbientDiffuseSpecularOpacity = 0x27;
    const float scalars[] = {material.reflectivity, material.opacity};
    for (const auto* color : {&material.ambient, &material.diffuse, &material.specular, &material.emissive})
        if (!IsFinite(color->data(), color->size())) return STATUS_FAIL;
    if (!IsFinite(scalars, 2) || !Enter(materialNames_, name)) return STATUS_FAIL;
    U3dBitStream data;
    data.Text(name);
    data.U32(kAmbientDiffuseSpecularOpacity);
    for (const auto* color : {&material.ambient, &material.diffuse, &material.specular, &material.emissive})
        data.Raw(color->data(), sizeof *color);
    data.Raw(scalars, sizeof scalars);
    AppendU3dBlock(materials_, U3dMaterialResource, data.Finish());
    return STATUS_OK;
}

HRESULT U3dFile::CreateShader(const std::string& name, const std::string& material) {
    if (!IsReference(material) || !Enter(shaderNames_, name)) return STATUS_FAIL;
    shaders_.push_back({name, material});
    return STATUS_OK;
}

HRESULT U3dFile::AttachShader(const std::string& mesh, const std::string& shader) {
    const auto found = meshNumbers_.find(mesh);
    if (found == meshNumbers_.end() || shader.empty() || !IsReference(shader)) return STATUS_FAIL;
    meshes_[found->second].shader = shader;
    return STATUS_OK;
}

HRESULT U3dFile::CreateModelNode(const std::string& name, const std::string& parent, const U3dMatrix& matrix,
                                 const std::string& mesh, std::uint32_t visibility) {
    constexpr std::uint32_t kBothSides = 3;
    if (!IsFinite(matrix.data(), matrix.size()) || visibility > kBothSides) return STATUS_FAIL;
    if (!IsReference(parent) || !IsReference(mesh) || !Enter(nodeNames_, name)) return STATUS_FAIL;
    U3dBitStream node = NodeHead(name, parent, matrix);
    node.Text(mesh);
    node.U32(visibility);
    AppendNode(nodes_, name, U3dModelNode, node);
    return STATUS_OK;
}

// A shader takes the colours of faces where one of its meshes has any; a viewer would otherwise show the material's.
U3dBytes U3dFile::Declarations() const {
    U3dBytes out;
    AppendPriority(out, 0);
    out.insert(out.end(), nodes_.begin(), nodes_.end());
    Names colored;
    for (const MeshResource& mesh : meshes_) {
        AppendMesh(out, mesh);
        if (mesh.colored) colored.insert(mesh.shader);
    }
    for (const Shader& shader : shaders_) AppendShader(out, shader, colored.count(shader.name) != 0);
    out.insert(out.end(), materials_.begin(), materials_.end());
    out.insert(out.end(), views_.begin(), views_.end());
    return out;
}

std::size_t U3dFile::MostBlocks() const {
    std::size_t most = 0;
    for (const MeshResource& mesh : meshes_) most = std::max(most, mesh.contents.size());
    return most;
}

std::uint64_t U3dFile::ContentsSize() const {
    std::uint64_t size = MostBlocks() * std::uint64_t{kBlockHeadSize + 4};
    for (const MeshResource& mesh : meshes_)
        for (const U3dBytes& data : mesh.contents) size += kBlockHeadSize + data.size() + U3dPadding(data.size());
    return size;
}

// The first block of each mesh, then the second of each, and so on: a reader can show all of them early.
void U3dFile::PutContents(OutputFile& file) const {
    const std::size_t most = MostBlocks();
    for (std::size_t rank = 0; rank < most; ++rank) {
        U3dBytes priority;
        AppendPriority(priority, static_cast<std::uint32_t>(rank + 1) * kPriorityStep);
        file.Write(priority.data(), priority.size());
        for (const MeshResource& mesh : meshes_) {
            if (rank >= mesh.contents.size()) continue;
            const U3dBytes& data = mesh.contents[rank];
            const U3dBytes head = U3dBlockHead(mesh.type, data.size());
            constexpr std::uint32_t kZeros = 0;
            file.Write(head.data(), head.size());
            file.Write(data.data(), data.size());
            file.Write(&kZeros, U3dPadding(data.size()));
        }
    }
}

HRESULT U3dFile::Write(const String& path) {
    const U3dBytes declarations = Declarations();
    const std::uint64_t declared = kBlockHeadSize + kHeaderSize + declarations.size();
    if (declared > kLargestBlock) return STATUS_FAIL;
    OutputFile file(path);
    if (!file.IsOpen()) return STATUS_FAIL;
    const U3dBytes header = Header(declared, declared + ContentsSize());
    file.Write(header.data(), header.size());
    file.Write(declarations.data(), declarations.size());
    PutContents(file);
    return file.Commit() ? STATUS_OK : STATUS_FAIL;
}

}  // namespace

std::unique_ptr<IU3dScene> CreateU3dFile() { return std::make_unique<U3dFile>(); }

}  // namespace tessera
