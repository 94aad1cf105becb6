#include "model_loader.h"

#include <algorithm>
#include <limits>

#include "failure.h"
#include "text.h"

namespace tessera::host {

const char* const kUprightY = "upright=y";

Scene CreateScene() {
    ITessera* scene = nullptr;
    if (CreateTessera(&scene) < 0 || scene == nullptr) throw Failure("the engine does not start");
    return Scene(scene);
}

bool BoxOf(ITessera& scene, int nodeId, Box& box) {
    float low[3] = {};
    float high[3] = {};
    int err = 0;
    if (scene.GetBoundBox(nodeId, low, high, &err) < 0 || err != ErrDone) return false;
    box.min = {low[0], low[1], low[2]};
    box.max = {high[0], high[1], high[2]};
    return low[0] <= high[0] && low[1] <= high[1] && low[2] <= high[2];
}

Placement Product(const Placement& a, const Placement& b) {
    Placement c{};
    for (std::size_t i = 0; i < 16; ++i)
        for (std::size_t k = 0; k < 4; ++k) c[i] += a[i / 4 * 4 + k] * b[k * 4 + i % 4];
    return c;
}

void IncludeModel(const Model& model, Camera& camera) {
    std::vector<Placement> world(model.nodes.size());
    for (std::size_t n = 0; n < model.nodes.size(); ++n) {
        const ModelNode& node = model.nodes[n];
        world[n] =
            node.parent < 0 ? node.transform : Product(node.transform, world[static_cast<std::size_t>(node.parent)]);
        if (node.part < 0) continue;
        for (const ModelMesh& mesh : model.parts[static_cast<std::size_t>(node.part)].meshes) {
            camera.Include(mesh.points, mesh.vertices, world[n]);
        }
    }
}

const LoadedPart* LoadedModel::FindPart(int partId) const {
    const auto part = std::find_if(parts.begin(), parts.end(), [&](const LoadedPart& p) { return p.id == partId; });
    return part == parts.end() ? nullptr : &*part;
}

std::uint64_t LoadedModel::TrianglesPlaced() const {
    std::uint64_t sum = 0;
    for (const LoadedPart& part : parts) sum += part.triangles * static_cast<std::uint64_t>(part.instances);
    return sum;
}

void ModelLoader::Require(HRESULT status, const int& errCode, const char* step) const {
    if (status < 0 || errCode != ErrDone) {
        throw Failure(file_, std::string("the engine refused ") + step + " (" + std::to_string(errCode) + ")");
    }
}

void ModelLoader::Name(int nodeId, int parentId, const std::string& name) {
    const int times = given_[{parentId, name}]++;
    const EngineText text(times == 0 ? name : name + " (" + std::to_string(times) + ")");
    int err = 0;
    Require(scene_.SetNodeName(nodeId, text.Get(), &err), err, "a node's name");
}

LoadedModel ModelLoader::Add(ModelImport& import) {
    const Model& model = import.Result();
    file_ = model.file;
    given_.clear();
    LoadedModel loaded{model.file, model.format, model.up, 0, {}, {}, model.lines, model.points};
    std::vector<int> idOfNode;
    std::vector<int> idOfPart(model.parts.size(), 0);
    loaded.parts.resize(model.parts.size());
    for (const ModelNode& node : model.nodes) {
        int id = 0;
        int err = ErrDone;
        const int parent = node.parent < 0 ? 0 : idOfNode.at(static_cast<std::size_t>(node.parent));
        const auto part = static_cast<std::size_t>(node.part);
        const bool firstUse = node.part >= 0 && idOfPart.at(part) == 0;
        // A new part is lost unless an instance in the tree takes it before the next one is made.
        if (firstUse) Require(scene_.CreatePart(&idOfPart[part]), err, "a part");
        Require(node.part < 0 ? scene_.CreateAssembly(&id) : scene_.CreatePartInstance(&id), err, "a node");
        if (node.part >= 0) {
            Require(scene_.SetPart(id, idOfPart[part], &err), err, "an instance of a part");
        }
        Require(scene_.SetParent(id, parent, &err), err, "a node's place in the tree");
        Name(id, parent, node.name);
        Placement transform = node.transform;
        Require(scene_.SetTransform(id, transform.data(), &err), err, "a node's placement");
        if (node.mirrored) {
            Require(scene_.SetMirrorFlag(id, 1, &err), err, "a mirrored node");
            loaded.mirrored.insert(id);
        }
        if (node.part >= 0) {
            LoadedPart& entry = loaded.parts[part];
            if (firstUse) {
                entry.id = idOfPart[part];
                AddPart(import, model.parts[part], id, entry);
            }
            ++entry.instances;
        }
        idOfNode.push_back(id);
    }
    loaded.id = idOfNode.at(0);
    if (model.up == UpAxis::kY) {
        int err = 0;
        Require(scene_.SetPropertyString(loaded.id, EngineText(kUprightY).Get(), &err), err, "a model's property");
    }
    Box box;
    if (!BoxOf(scene_, loaded.id, box)) throw Failure(file_, "none of its triangles has an area");
    return loaded;
}

void ModelLoader::AddPart(ModelImport& import, const ModelPart& part, int instanceId, LoadedPart& loaded) {
    loaded.opacity = part.opacity;
    loaded.meshes = part.meshes.size();
    loaded.triangles = part.triangles;
    loaded.distinctPoints = part.distinctPoints;
    int err = 0;
    const EngineText name(part.name);
    Require(scene_.SetPartName(loaded.id, name.Get(), &err), err, "a part's name");
    BSTR kept = nullptr;
    if (scene_.GetPartName(instanceId, &kept, &err) >= 0) loaded.name = TakeText(kept);
    for (const ModelMesh& mesh : part.meshes) {
        Require(scene_.BeginTriMesh(loaded.id, &err), err, "a mesh");
        AddMesh(mesh, loaded.id);
        import.Discard(mesh);
        Require(scene_.EndTriMesh(loaded.id, &err), err, "the end of a mesh");
    }
    if (part.opacity < 1) {
        Require(scene_.SetTransparency(instanceId, part.opacity, &err), err, "a part's opacity");
    }
}

void ModelLoader::AddMesh(const ModelMesh& mesh, int partId) {
    int err = 0;
    const auto [red, green, blue] = mesh.color;
    Require(scene_.SetTriMeshExternalColor(partId, red, green, blue, &err), err, "a mesh's colour");
    Require(scene_.SetTriMeshInternalColor(partId, red, green, blue, &err), err, "a mesh's colour");
    // The engine counts coordinates here, not points.
    const std::uint64_t coordinates = mesh.vertices * 3;
    if (std::max(coordinates, mesh.triangles) > std::numeric_limits<ULONG>::max()) {
        throw Failure(file_, "a mesh has more vertices than the engine takes");
    }
    const auto count = static_cast<ULONG>(coordinates);
    const bool normals = mesh.normals != nullptr;
    Require(scene_.AddTriangles3P3N(partId, mesh.points, count, mesh.corners, mesh.normals, normals ? count : 0,
                                    normals ? mesh.corners : nullptr, nullptr, 0, nullptr,
                                    static_cast<ULONG>(mesh.triangles), normals ? VARIANT_TRUE : VARIANT_FALSE, &err),
            err, "a mesh's triangles");
}

}  // namespace tessera::host
