#include "tdpm_loader.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <filesystem>

#include "failure.h"
#include "text.h"

namespace tessera::host {

namespace {

constexpr int kVersion = 719;

using Normal = std::array<float, 3>;

bool IsUnit(const Normal& n) {
    const double x = n[0], y = n[1], z = n[2];
    return static_cast<float>(std::sqrt(x * x + y * y + z * z)) == 1;
}

// Scaling to unit length, as the engine does it to what it imports, leaves vectors a rounding away from unit, and
// scaling those again moves them again. The nearest vector that it leaves alone is taken in their place, so that a file
// that is read and written over and over stays as it is.
void Settle(Normal& n) {
    const double x = n[0], y = n[1], z = n[2], length = std::sqrt(x * x + y * y + z * z);
    if (static_cast<float>(length) == 1 || !(length >= 1e-6)) return;
    const Normal scaled = {static_cast<float>(x / length), static_cast<float>(y / length),
                           static_cast<float>(z / length)};
    const auto moved = [](float value, int steps) {
        for (; steps != 0; steps -= steps > 0 ? 1 : -1) value = std::nextafter(value, steps > 0 ? 2.0F : -2.0F);
        return value;
    };
    constexpr int kReach = 2;
    n = scaled;
    for (int reach = 0; reach <= kReach; ++reach) {
        for (int i = -reach; i <= reach; ++i) {
            for (int j = -reach; j <= reach; ++j) {
                for (int k = -reach; k <= reach; ++k) {
                    const Normal near = {moved(scaled[0], i), moved(scaled[1], j), moved(scaled[2], k)};
                    if (!IsUnit(near)) continue;
                    n = near;
                    return;
                }
            }
        }
    }
}

// One file on its way into a scene.
class TdpmLoader {
public:
    TdpmLoader(ITessera& scene, const TdpmFile& file, Progress* progress)
        : scene_(scene), file_(file), progress_(progress), idOfNode_(file.Nodes().size()) {
        loaded_.file = file.Name();
        loaded_.format = "3DG";
        loaded_.up = UprightOf(file);
        loaded_.parts.resize(file.Parts().size());
    }

    LoadedModel Load() {
        std::vector<std::vector<int>> children(file_.Nodes().size());
        std::vector<int> top;
        for (std::size_t i = 0; i < file_.Nodes().size(); ++i) {
            const int parent = file_.Nodes()[i].parent;
            (parent < 0 ? top : children[static_cast<std::size_t>(parent)]).push_back(static_cast<int>(i));
        }
        try {
            ImportNormals();
            std::vector<int> waiting;
            const bool own = top.size() == 1 && NodeAt(top[0]).part < 0;
            if (!own) loaded_.id = NewTop();
            Push(top, waiting);
            while (!waiting.empty()) {
                const int node = waiting.back();
                waiting.pop_back();
                AddNode(node);
                if (own && loaded_.id == 0) loaded_.id = idOfNode_[static_cast<std::size_t>(node)];
                Push(children[static_cast<std::size_t>(node)], waiting);
            }
        } catch (...) {
            int err = 0;
            if (loaded_.id != 0) scene_.Remove(loaded_.id, &err);
            throw;
        }
        std::erase_if(loaded_.parts, [](const LoadedPart& p) { return p.id == 0; });
        return std::move(loaded_);
    }

private:
    const TdpmNode& NodeAt(int i) const { return file_.Nodes()[static_cast<std::size_t>(i)]; }

    // The engine puts an assembly before its siblings and an instance behind them, so the last assembly goes first.
    void Push(const std::vector<int>& nodes, std::vector<int>& waiting) const {
        for (auto node = nodes.rbegin(); node != nodes.rend(); ++node)
            if (NodeAt(*node).part >= 0) waiting.push_back(*node);
        for (const int node : nodes)
            if (NodeAt(node).part < 0) waiting.push_back(node);
    }

    // The code is read after the call that is written beside it.
    void Require(HRESULT status, const int& errCode, const char* step) const {
        if (status >= 0 && errCode == ErrDone) return;
        std::string why = "the engine refused ";
        throw Failure(file_.Name(), why.append(step).append(" (").append(std::to_string(errCode)).append(")"));
    }

    void ImportNormals() {
        int err = ErrDone;
        const std::size_t bytes = sizeof(Normal) * file_.NormalCount();
        std::vector<unsigned char> block(file_.At(file_.NormalsAt()), file_.At(file_.NormalsAt()) + 4 + bytes);
        for (unsigned char* at = block.data() + 4; at != block.data() + block.size(); at += sizeof(Normal)) {
            Normal n;
            std::memcpy(&n, at, sizeof n);
            Settle(n);
            std::memcpy(at, &n, sizeof n);
        }
        unsigned char* place = block.data();
        Require(scene_.ImportTriNormals(&place, &err), err, "the normals");
        Require(scene_.SetTDGImportVer(kVersion), err, "the file's version");
    }

    int NewTop() {
        int id = 0;
        int err = ErrDone;
        Require(scene_.CreateAssembly(&id), err, "an assembly");
        Require(scene_.SetParent(id, 0, &err), err, "an assembly's place in the tree");
        const EngineText name(std::filesystem::path(file_.Name()).stem().string());
        Require(scene_.SetNodeName(id, name.Get(), &err), err, "a node's name");
        return id;
    }

    void AddNode(int index) {
        const TdpmNode& node = NodeAt(index);
        int id = 0;
        int err = ErrDone;
        int part = 0;
        LoadedPart* const entry = node.part < 0 ? nullptr : &loaded_.parts[static_cast<std::size_t>(node.part)];
        const bool firstUse = entry != nullptr && entry->id == 0;
        // A new part is lost unless an instance in the tree takes it before the next one is made.
        if (firstUse) Require(scene_.CreatePart(&part), err, "a part");
        Require(entry == nullptr ? scene_.CreateAssembly(&id) : scene_.CreatePartInstance(&id), err, "a node");
        if (entry != nullptr) {
            Require(scene_.SetPart(id, firstUse ? part : entry->id, &err), err, "an instance of a part");
        }
        const int parent = node.parent < 0 ? loaded_.id : idOfNode_[static_cast<std::size_t>(node.parent)];
        Require(scene_.SetParent(id, parent, &err), err, "a node's place in the tree");
        idOfNode_[static_cast<std::size_t>(index)] = id;
        SetNode(id, node);
        if (entry == nullptr) return;
        if (firstUse) {
            entry->id = part;
            AddPart(id, file_.Parts()[static_cast<std::size_t>(node.part)], *entry);
        }
        ++entry->instances;
    }

    // Before it has children, to which some of this would pass on.
    void SetNode(int id, const TdpmNode& node) {
        int err = ErrDone;
        const EngineText name(node.name), userName(node.userName), properties(node.properties);
        Placement transform = node.transform;
        Require(scene_.SetNodeName(id, name.Get(), &err), err, "a node's name");
        Require(scene_.SetUserName(id, userName.Get(), &err), err, "a node's user name");
        Require(scene_.SetPropertyString(id, properties.Get(), &err), err, "a node's properties");
        Require(scene_.SetTransform(id, transform.data(), &err), err, "a node's placement");
        Require(scene_.SetMirrorFlag(id, static_cast<LONG>(node.mirrored), &err), err, "a mirrored node");
        if (node.mirrored != 0) loaded_.mirrored.insert(id);
    }

    std::string NameOfPart(int instanceId) const {
        BSTR name = nullptr;
        int err = 0;
        return scene_.GetPartName(instanceId, &name, &err) < 0 ? std::string() : TakeText(name);
    }

    void AddPart(int instanceId, const TdpmPart& part, LoadedPart& entry) {
        if (progress_ != nullptr) {
            progress_->Show("building " + file_.Name(), static_cast<double>(part.elementsAt) /
                                                            static_cast<double>(file_.Parts().back().elementsEnd));
        }
        entry.opacity = part.alpha;
        entry.meshes = part.meshes;
        entry.triangles = part.triangles;
        entry.distinctPoints = part.vertices;
        int err = ErrDone;
        // Any number of parts may bear the name of a new one, but it can be given to one only.
        if (NameOfPart(instanceId) != part.name) {
            const EngineText name(part.name);
            Require(scene_.SetPartName(entry.id, name.Get(), &err), err, "a part's name");
        }
        entry.name = NameOfPart(instanceId);
        // The elements bring two of their colours themselves, and take the switches that are set before they come.
        const auto [r, g, b] = part.externalColor;
        Require(scene_.SetExternalColor(instanceId, r, g, b, &err), err, "a part's colour");
        const auto [ir, ig, ib] = part.internalColor;
        Require(scene_.SetInternalColor(instanceId, ir, ig, ib, &err), err, "a part's colour");
        Require(scene_.SetTransparency(instanceId, part.alpha, &err), err, "a part's opacity");
        Require(scene_.SwitchCrossSectionPlane(instanceId, static_cast<LONG>(part.sectionPlaneOn), &err), err,
                "a part's section plane");
        Require(scene_.EnableCrossSectionCapping(instanceId, static_cast<LONG>(part.cappingEnabled), &err), err,
                "a part's capping");
        // The engine moves a pointer that it does not write through.
        auto* place = const_cast<unsigned char*>(file_.At(part.elementsAt));
        Require(scene_.Import3DGPartElements(entry.id, &place, &err), err, "a part's elements");
        if (place != file_.At(part.elementsEnd)) throw Failure(file_.Name(), "the engine left a part's elements early");
        const auto [br, bg, bb] = part.borderColor;
        Require(scene_.SetBorderColor(instanceId, br, bg, bb, &err), err, "a part's colour");
        const auto [er, eg, eb] = part.edgeColor;
        Require(scene_.SetEdgeColor(instanceId, er, eg, eb, &err), err, "a part's colour");
    }

    ITessera& scene_;
    const TdpmFile& file_;
    Progress* progress_;
    std::vector<int> idOfNode_;
    LoadedModel loaded_;
};

}  // namespace

LoadedModel LoadTdpm(ITessera& scene, const TdpmFile& file, Progress* progress) {
    return TdpmLoader(scene, file, progress).Load();
}

void IncludeTdpm(const TdpmFile& file, Camera& camera) {
    std::vector<Placement> world(file.Nodes().size());
    std::vector<double> points;
    for (std::size_t n = 0; n < world.size(); ++n) {
        const TdpmNode& node = file.Nodes()[n];
        world[n] =
            node.parent < 0 ? node.transform : Product(node.transform, world[static_cast<std::size_t>(node.parent)]);
        if (node.part < 0) continue;
        for (const TdpmPoints& array : file.Parts()[static_cast<std::size_t>(node.part)].points) {
            points.resize(3 * array.count);
            for (std::size_t i = 0; i < array.count; ++i) {
                float p[3];
                std::memcpy(p, file.At(array.at + i * array.stride), sizeof p);
                std::copy(p, p + 3, points.begin() + static_cast<std::ptrdiff_t>(3 * i));
            }
            camera.Include(points.data(), array.count, world[n]);
        }
    }
}

UpAxis UprightOf(const TdpmFile& file) {
    const bool y = std::any_of(file.Nodes().begin(), file.Nodes().end(),
                               [](const TdpmNode& n) { return n.parent < 0 && n.properties == kUprightY; });
    return y ? UpAxis::kY : UpAxis::kZ;
}

}  // namespace tessera::host
