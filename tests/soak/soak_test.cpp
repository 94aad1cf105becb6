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
    bool ReadUsed(std::uint64_t& used) const override { return used = std::uint64_t{1} << 62, true; }
};

struct Node {
    bool assembly = true;
    int part = 0, parent = 0;
    std::u16string name = u"No Name", properties = {};
    std::array<double, 16> matrix = {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1};
    std::vector<int> children = {};  // in the engine's order
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
    int AnyPart() { return std::next(sums_.begin(), Below(sums_.size()))->first; }
    int AnyAssembly() {
        for (;;)
            if (const int node = AnyNode(); nodes_[node].assembly) return node;
    }
    Soup Ball() {
        const int sides = 3 + static_cast<int>(Below(12));
        return Sphere(sides, 2 + sides / 2, 1 + static_cast<float>(Below(5))).soup;
    }
    static void Require(bool right, const char* what) {
        if (right) return;
        std::fprintf(stderr, "wrong: %s\n", what);
        std::abort();
    }
    std::u16string Say(HRESULT (ITessera::*get)(int, BSTR*, int*), int id) {
        BSTR text = nullptr;
        (scene_.operator->()->*get)(id, &text, &error_);
        const std::u16string said(text, SysStringLen(text));
        SysFreeString(text);
        return said;
    }
    // Over all corners of all triangles: any that is lost, doubled or moved shows.
    double SumOf(int instance) {
        double area = 0;
        scene_->GetSurfaceArea(instance, &area, &error_);
        Require(error_ == 1, "area");
        return area;
    }

    void Call() {
        switch (Below(16)) {
            case 0: return AddAssembly(AnyAssembly());
            case 1:
            case 2: return AddInstance(AnyAssembly());
            case 3: return Remove(nodes_.size() > 60 ? AnyNode() : 0x7ffffff);
            case 4: return Move(AnyNode(), AnyAssembly());
            case 5: return Rename(AnyNode());
            case 6: return Place(AnyNode());
            case 7: return Relink(AnyNode());
            case 8: return ReadAll();
            case 9: return AddElement();
            case 10: return Misuse();
            default: return Look(AnyNode());
        }
    }
    void AddAssembly(int parent) { Link(scene_.AddAssembly(parent), {.parent = parent}); }
    void AddInstance(int parent) {
        if (!sums_.empty() && Below(3) == 0) {
            const int part = AnyPart();
            return Link(scene_.AddInstance(part, parent), {.assembly = false, .part = part, .parent = parent});
        }
        const Placed placed = scene_.AddMesh(Ball(), parent);
        Link(placed.instance, {.assembly = false, .part = placed.part, .parent = parent});
        sums_[placed.part] = SumOf(placed.instance);
    }
    void Link(int id, const Node& node) {
        auto& siblings = nodes_[node.parent].children;
        siblings.insert(node.assembly ? siblings.begin() : siblings.end(), id);
        Named(id, (nodes_[id] = node).name);
    }
    // Numbered as the engine numbers it among the siblings.
    void Named(int id, const std::u16string& wanted) {
        std::u16string& name = nodes_[id].name = Say(&ITessera::GetNodeName, id);
        bool right = name.rfind(wanted, 0) == 0;
        for (const int sibling : nodes_[nodes_[id].parent].children)
            right = right && (sibling == id || nodes_[sibling].name != name);
        Require(right, "name");
    }
    void Remove(int id) {
        scene_->Remove(id, &error_);
        Require(error_ == (nodes_.count(id) > 0 ? 1 : 0), "removal");
        if (error_ != 1) return;
        std::erase(nodes_[nodes_[id].parent].children, id);
        Forget(id);
        nodes_[0];  // the root comes back empty
        DropParts();
    }
    void Forget(int id) {
        for (const int child : nodes_[id].children) Forget(child);
        nodes_.erase(id);
    }
    // Those without an instance.
    void DropParts() {
        std::set<int> used;
        for (const auto& [id, node] : nodes_) used.insert(node.part);
        std::erase_if(sums_, [&](const auto& sum) { return used.count(sum.first) == 0; });
    }
    void Move(int id, int parent) {
        for (int above = parent; above != 0; above = nodes_[above].parent)
            if (above == id) return;  // a host's mistake, with rules of its own
        if (id == 0) return;
        scene_->SetParent(id, parent, &error_);
        Node node = nodes_[id];
        std::erase(nodes_[node.parent].children, id);
        node.parent = parent;
        node.name.resize(std::min(node.name.find(u" ("), node.name.size()));
        Link(id, node);
    }
    void Rename(int id) {
        if (id == 0) return;
        const std::u16string name(1 + Below(3), static_cast<char16_t>(u'a' + Below(4)));
        BSTR text = SysAllocString(name.c_str());
        scene_->SetNodeName(id, text, &error_);
        scene_->SetPropertyString(id, text, &error_);
        SysFreeString(text);
        nodes_[id].properties = name;
        Named(id, name);
    }
    void Place(int id) {
        std::array<double, 16> m = Node().matrix;
        for (const std::size_t i : {12u, 13u, 14u}) m[i] = static_cast<double>(Number());
        scene_->SetTransform(id, m.data(), &error_);
        const float step = Number();
        scene_.Translate(id, step, 0, 0);
        m[12] += static_cast<double>(step);
        nodes_[id].matrix = m;
    }
    void Relink(int id) {
        if (nodes_[id].assembly) return;
        scene_->SetPart(id, nodes_[id].part = AnyPart(), &error_);
        DropParts();
    }
    void AddElement() {
        if (sums_.empty()) return;
        const int part = AnyPart();
        scene_.AddMeshTo(part, Ball());
        for (const auto& [id, node] : nodes_)
            if (node.part == part) return static_cast<void>(sums_[part] = SumOf(id));
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
    void Look(int id) {
        float eye[3] = {Number(), Number(), Number()}, view[3] = {Number(), Number(), Number()}, out[9];
        VARIANT_BOOL met = 0;
        LONG picked = 0;
        int node = 0;
        scene_->IntersectRay(eye, view, &met, out, out + 3, &node, &error_);
        scene_->PickEdge(eye, view, Node().matrix.data(), eye[0], eye[1], 10, &picked, out, &node, &error_);
        scene_->GetBoundBox(id, out, out + 3, &error_);
        scene_->SetShadeMode(id, static_cast<short>(Below(13)), &error_);
        scene_->SwitchCrossSectionPlane(id, static_cast<LONG>(Below(2)), &error_);
        scene_->GetCrossSectionLength(id, out, &error_);
        scene_->SetThresholdAngle(id, static_cast<float>(20 + Below(40)), &error_);
        if (Below(4) == 0) scene_.Draw(id);
    }
    void Misuse() {
        const int wrong[] = {-1, 0x7fffffff, AnyNode()}, id = wrong[Below(3)];
        scene_->EndTriMesh(id, &error_);
        scene_->AddTriangle3P(id, nullptr, &error_);
        scene_->SetTransform(id, nullptr, &error_);
        scene_->GetVolume(-5, nullptr, &error_);
        scene_->SetParent(id, 0x7fffffff, &error_);
        scene_->Import3DGPartElements(id, nullptr, &error_);
    }
    void Compare() {
        for (const auto& [id, node] : nodes_) {
            int type = -1, child = 0;
            double m[16];
            scene_->GetNodeType(id, &type, &error_);
            Require(type == (node.assembly ? 0 : 1), "kind of node");
            scene_->GetTransform(id, m, &error_);
            for (std::size_t i = 0; i < 16; ++i) Require(std::abs(m[i] - node.matrix[i]) < 1e-9, "matrix");
            Require(node.properties == Say(&ITessera::GetPropertyString, id), "properties");
            if (!node.assembly) {
                scene_->GetPartID(id, &child, &error_);
                Require(child == node.part && SumOf(id) == sums_.at(node.part), "part or triangles");
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
