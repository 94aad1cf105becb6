#pragma once

#include <tessera/tessera.h>

#include <cstdint>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "model_import.h"

namespace tessera::host {

struct SceneRelease {
    void operator()(ITessera* scene) const { scene->Release(); }
};
using Scene = std::unique_ptr<ITessera, SceneRelease>;

// An empty scene. Throws Failure.
Scene CreateScene();

// The property string of a model's assembly where the model's world has Y up. It goes into 3DG files, which have no
// other place for it.
extern const char* const kUprightY;

// The box around all that a node shows, in the world. False where it shows nothing.
bool BoxOf(ITessera& scene, int nodeId, Box& box);

// What is known of a part beyond what the engine tells.
struct LoadedPart {
    int id = 0;
    std::string name;  // as the engine keeps it
    float opacity = 1;
    int instances = 0;
    std::uint64_t meshes = 0;
    std::uint64_t triangles = 0;  // as read; the engine drops triangles without an area
    std::uint64_t distinctPoints = 0;
};

struct LoadedModel {
    std::string file;
    std::string format;
    UpAxis up = UpAxis::kZ;
    int id = 0;  // the assembly that holds the model
    std::vector<LoadedPart> parts;
    std::set<int> mirrored;  // ids of nodes
    std::uint64_t lines = 0;
    std::uint64_t points = 0;

    const LoadedPart* FindPart(int id) const;
    std::uint64_t TrianglesPlaced() const;
};

// Tells a camera what of a model it must show. The model's arrays must still be there.
void IncludeModel(const Model& model, Camera& camera);

// Puts the models that imports deliver into a scene, each under an assembly of its own.
class ModelLoader {
public:
    explicit ModelLoader(ITessera& scene) : scene_(scene) {}

    // Takes over what a finished import has read, giving back its memory bit by bit. Throws Failure.
    LoadedModel Add(ModelImport& import);

private:
    void AddPart(ModelImport& import, const ModelPart& part, int instanceId, LoadedPart& loaded);
    void AddMesh(const ModelMesh& mesh, int partId);
    void Name(int nodeId, int parentId, const std::string& name);
    // The code is read after the call that is written beside it.
    void Require(HRESULT status, const int& errCode, const char* step) const;

    ITessera& scene_;
    std::string file_;
    // How often a name was given under one parent: numbering here saves the engine a search for each number.
    std::map<std::pair<int, std::string>, int> given_;
};

}  // namespace tessera::host
