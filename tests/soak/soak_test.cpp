// Random calls, good and bad, while every mesh goes to disk and back all the time. After each thousand the whole scene
// must be what a model kept beside it says.
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <iterator>
#include <map>
#include <random>
#include <set>

#include "component/memory_watcher.h"
#include "platform/process_memory.h"
#include "scene.h"

namespace tessera::test {
namespace {

class AlwaysShort final : public ProcessMemory {
public:
    std::uint64_t Physical() const override { return 0; }
    bool ReadUsed(std::uint64_t& used) const override {
        used = std::uint64_t{1} << 62;
        return true;
    }
};

struct Node {
    bool assembly = true;
    int part = 0;
    std::u16string name = u"No Name", properties = {};
    std::array<double, 16> matrix = {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1};
    std::vector<int> children = {};  // in the engine's order
    int parent = 0;
};

class Soak {
public:
    explicit Soak(unsigned seed) : random_(seed) { nodes_[0] = {}; }

    void Run(std::chrono::seconds time) {
        const auto end = std::chrono::steady_clock::now() + time;
        for (; std::chrono::steady_clock::now() < end; Compare())
            for (int i = 0; i < 1000; ++i, ++calls_) Call();
        std::printf("%d calls, %zu nodes at the end\n", calls_, nodes_.size());
    }

private:
    unsigned Below(std::size_t n) { return static_cast<unsigned>(random_() % n); }
    float Number() { return static_cast<float>(Below(2001)) / 100 - 10; }
    int AnyNode() { return std::next(nodes_.begin(), Below(nodes_.size()))->first; }
    int AnyAssembly() {
        for (;;)
            if (const int node = AnyNode(); nodes_[node].assembly) return node;
    }
    static void Require(bool right, const char* what) {
        if (right) return;
        std::fprintf(stderr, "wrong: %s\n", what);
        std::abort();
    }

    void Call() {
        switch (Below(16)) {
            case 0: return AddAssembly();
            case 1:
            case 2: return AddInstance();
            case 3: return Remove(nodes_.size() > 60 ? AnyNode() : 0x7ffffff);
            case 4: return Move();
            case 5: return Rename();
            case 6: return Place();
            case 7: return Relink();
            case 8: return ReadAll();
            case 9: return AddElement();
            case 10: return Misuse();
            default: return Look();
        }
    }
    void Enter(int id, int parent, bool assembly, int part) {
        Node& node = nodes_[id];
        node = {};
        node.assembly = assembly, node.part = part, node.parent = parent;
        auto& siblings = nodes_[parent].children;
        siblings.insert(assembly ? siblings.begin() : siblings.end(), id);
        Fresh(id, node.name);
    }
    // Numbered as the engine numbers it among the siblings.
    void Fresh(int id, const std::u16string& wanted) {
        std::set<std::u16string> taken;
        for (const int sibling : nodes_[nodes_[id].parent].children)
            if (sibling != id) taken.insert(nodes_[sibling].name);
        BSTR name = nullptr;
        scene_->GetNodeName(id, &name, &error_);
        nodes_[id].name = {name, SysStringLen(name)};
        Require(nodes_[id].name.rfind(wanted, 0) == 0 && taken.count(nodes_[id].name) == 0, "name");
        SysFreeString(name);
    }
    void AddAssembly() {
        const int parent = AnyAssembly();
        Enter(scene_.AddAssembly(parent), parent, true, 0);
    }
    void AddInstance() {
        const int parent = AnyAssembly();
        if (!sums_.empty() && Below(3) == 0) {
            const int part = std::next(sums_.begin(), Below(sums_.size()))->first;
            return Enter(scene_.AddInstance(part, parent), parent, false, part);
        }
        const Placed placed = scene_.AddMesh(Ball(), parent);
        Enter(placed.instance, parent, false, placed.part);
        sums_[placed.part] = SumOf(placed.instance);
    }
    Soup Ball() {
        const int sides = 3 + static_cast<int>(Below(12));
        return Sphere(sides, 2 + sides / 2, 1 + static_cast<float>(Below(5))).soup;
    }
    void Remove(int id) {
        scene_->Remove(id, &error_);
        Require(error_ == (nodes_.count(id) > 0 ? 1 : 0), "removal");
        if (error_ != 1) return;
        if (id != 0) {
            auto& siblings = nodes_[nodes_[id].parent].children;
            siblings.erase(std::find(siblings.begin(), siblings.end(), id));
            Forget(id);
        } else {
            const std::vector<int> children = nodes_[0].children;
            for (const int child : children) Forget(child);
            nodes_[0].children.clear();
            nodes_[0].matrix = Node().matrix;
        }
        std::set<int> used;
        for (const auto& [key, node] : nodes_) used.insert(node.part);
        std::erase_if(sums_, [&](const auto& sum) { return used.count(sum.first) == 0; });
    }
    void Forget(int id) {
        const std::vector<int> children = nodes_[id].children;
        for (const int child : children) Forget(child);
        nodes_.erase(id);
    }
    void Move() {
        const int id = AnyNode(), parent = AnyAssembly();
        for (int above = parent; above != 0; above = nodes_[above].parent)
            if (above == id) return;  // a host's mistake, with rules of its own
        if (id == 0) return;
        auto& former = nodes_[nodes_[id].parent].children;
        scene_->SetParent(id, parent, &error_);
        former.erase(std::find(former.begin(), former.end(), id));
        nodes_[id].parent = parent;
        auto& siblings = nodes_[parent].children;
        siblings.insert(nodes_[id].assembly ? siblings.begin() : siblings.end(), id);
        std::u16string base = nodes_[id].name;
        if (const std::size_t open = base.find(u" ("); open != std::u16string::npos) base.resize(open);
        Fresh(id, base);
    }
    void Rename() {
        const int id = AnyNode();
        if (id == 0) return;
        const std::u16string name(1 + Below(3), static_cast<char16_t>(u'a' + Below(4)));
        BSTR text = SysAllocString(name.c_str());
        scene_->SetNodeName(id, text, &error_);
        scene_->SetPropertyString(id, text, &error_);
        SysFreeString(text);
        nodes_[id].properties = name;
        Fresh(id, name);
    }
    void Place() {
        const int id = AnyNode();
        std::array<double, 16> m = Node().matrix;
        for (const std::size_t i : {12u, 13u, 14u}) m[i] = static_cast<double>(Number());
        scene_->SetTransform(id, m.data(), &error_);
        const float step = Number();
        scene_.Translate(id, step, 0, 0);
        m[12] += static_cast<double>(step);
        nodes_[id].matrix = m;
    }
    void Relink() {
        const int id = AnyNode();
        if (nodes_[id].assembly || sums_.empty()) return;
        const int part = std::next(sums_.begin(), Below(sums_.size()))->first, former = nodes_[id].part;
        scene_->SetPart(id, part, &error_);
        nodes_[id].part = part;
        for (const auto& [key, node] : nodes_)
            if (node.part == former) return;
        sums_.erase(former);
    }
    void AddElement() {
        if (sums_.empty()) return;
        const int part = std::next(sums_.begin(), Below(sums_.size()))->first;
        scene_.AddMeshTo(part, Ball());
        for (const auto& [id, node] : nodes_)
            if (node.part == part) return static_cast<void>(sums_[part] = SumOf(id));
    }
    // Over all corners of all triangles: any that is lost, doubled or moved shows.
    double SumOf(int instance) {
        double area = 0;
        scene_->GetSurfaceArea(instance, &area, &error_);
        Require(error_ == 1, "area");
        return area;
    }
    void ReadAll() {
        if (calls_ % 7 != 0) return;
        BSTR nowhere = SysAllocString(u"/dev/null");
        scene_->WriteTDPM(nowhere, &error_);
        Require(error_ == 1, "writing");
        scene_->WriteVRML_2(nowhere);
        scene_->SaveCrossSection(nowhere, &error_);
        SysFreeString(nowhere);
        scene_.Draw();
    }
    void Look() {
        const int id = AnyNode();
        float eye[3] = {Number(), Number(), Number()}, view[3] = {Number(), Number(), Number()}, out[9];
        VARIANT_BOOL met = 0;
        LONG picked = 0;
        int node = 0;
        double identity[16] = {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1};
        scene_->IntersectRay(eye, view, &met, out, out + 3, &node, &error_);
        scene_->PickEdge(eye, view, identity, eye[0], eye[1], 10, &picked, out, &node, &error_);
        scene_->GetBoundBox(id, out, out + 3, &error_);
        scene_->SetShadeMode(id, static_cast<short>(Below(13)), &error_);
        scene_->SwitchCrossSectionPlane(id, static_cast<LONG>(Below(2)), &error_);
        scene_->GetCrossSectionLength(id, out, &error_);
        scene_->SetThresholdAngle(id, static_cast<float>(20 + Below(40)), &error_);
        if (Below(4) == 0) scene_.Draw(id);
    }
    void Misuse() {
        const int wrong[] = {-1, 0x7fffffff, AnyNode()};
        const int id = wrong[Below(3)];
        scene_->EndTriMesh(id, &error_);
        scene_->AddTriangle3P(id, nullptr, &error_);
        scene_->SetTransform(id, nullptr, &error_);
        scene_->GetVolume(-5, nullptr, &error_);
        scene_->GetFirstChild(id, nullptr, nullptr);
        scene_->SetParent(id, 0x7fffffff, &error_);
        scene_->Import3DGPartElements(id, nullptr, &error_);
    }
    void Compare() {
        for (const auto& [id, node] : nodes_) {
            int type = -1, child = 0;
            scene_->GetNodeType(id, &type, &error_);
            Require(type == (node.assembly ? 0 : 1), "kind of node");
            double m[16];
            scene_->GetTransform(id, m, &error_);
            for (std::size_t i = 0; i < 16; ++i) Require(std::abs(m[i] - node.matrix[i]) < 1e-9, "matrix");
            BSTR text = nullptr;
            scene_->GetPropertyString(id, &text, &error_);
            Require(node.properties == std::u16string(text, SysStringLen(text)), "properties");
            SysFreeString(text);
            if (!node.assembly) {
                scene_->GetPartID(id, &child, &error_);
                Require(child == node.part, "part");
                Require(SumOf(id) == sums_.at(node.part), "triangles");
                continue;
            }
            scene_->GetFirstChild(id, &child, &error_);
            for (const int expected : node.children) {
                Require(error_ == 1 && child == expected, "children");
                scene_->GetNextChild(id, &child, &error_);
            }
            Require(error_ != 1, "end of the children");
        }
    }

    std::mt19937 random_;
    Scene scene_;
    int calls_ = 0, error_ = 0;
    std::map<int, Node> nodes_;
    std::map<int, double> sums_;  // of each part's triangles
};

}  // namespace
}  // namespace tessera::test

int main(int argc, char** argv) {
    const tessera::test::AlwaysShort memory;
    tessera::MemoryWatcher::g_settings = {&memory, 1e-4};
    tessera::test::Soak(argc > 2 ? static_cast<unsigned>(std::atoi(argv[2])) : 1)
        .Run(std::chrono::seconds(argc > 1 ? std::atoi(argv[1]) : 60));
    return 0;
}
