#include "session.h"

#include <algorithm>
#include <cmath>

#include "failure.h"
#include "mesh_decimator.h"
#include "scene_file.h"
#include "scene_walk.h"
#include "text.h"

namespace tessera::viewer {

namespace {

double Middle(const host::Box& box, std::size_t axis) { return (box.min[axis] + box.max[axis]) / 2; }

void Widen(std::optional<host::Box>& box, const std::optional<host::Box>& other) {
    if (!box) box = other;
    for (std::size_t i = 0; other && i < 3; ++i) {
        box->min[i] = std::min(box->min[i], other->min[i]);
        box->max[i] = std::max(box->max[i], other->max[i]);
    }
}

host::SceneFormat FormatOf(const std::string& path) {
    const std::size_t dot = path.find_last_of("./");
    std::string extension = dot == std::string::npos || path[dot] == '/' ? "" : path.substr(dot + 1);
    for (char& c : extension) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    if (extension == "3dg") return host::SceneFormat::kTdpm;
    if (extension == "wrl") return host::SceneFormat::kVrml2;
    if (extension == "u3d") return host::SceneFormat::kU3d;
    if (extension == "xml") return host::SceneFormat::kSectionXml;
    throw host::Failure(path, "the name must end in .3dg, .wrl, .u3d or .xml");
}

}  // namespace

Session::Session() : scene_(host::CreateScene()) { Refresh(); }

void Session::Open(const std::string& path) { queue_.push_back(path); }

bool Session::Load() {
    if (queue_.empty()) return false;
    try {
        if (!source_) source_ = host::ModelSource::Open(queue_.front());
        if (!source_->WaitFor(5)) return false;
        source_->Finish(silent_);
        models_.push_back(source_->AddTo(*scene_, silent_));
        source_.reset();
        queue_.pop_front();
    } catch (const host::Failure& failure) {
        complaints.emplace_back(failure.what());
        source_.reset();
        queue_.pop_front();
        return false;
    }
    for (const host::LoadedPart& part : models_.back().parts) triangles_[part.id] = part.triangles;
    reduced_ = false;
    Refresh();
    return true;
}

void Session::Close() {
    queue_.clear();
    source_.reset();
    models_.clear();
    triangles_.clear();
    selected_.clear();
    scene_->ResetSceneGraph();
    section = {};
    explosion = 0;
    reduced_ = false;
    Refresh();
}

// The tree as the scene has it. Depth is bounded by the readers, which refuse deeper ones.
TreeNode Session::ReadTree(int node) const {
    TreeNode entry;
    entry.id = node;
    int type = 0, err = 0;
    scene_->GetNodeType(node, &type, &err);
    entry.assembly = type == 0;
    BSTR name = nullptr;
    if (node != 0 && scene_->GetNodeName(node, &name, &err) >= 0) entry.name = host::TakeText(name);
    if (entry.assembly) {
        for (const int child : host::ChildrenOf(*scene_, node)) {
            entry.children.push_back(ReadTree(child));
            entry.triangles += entry.children.back().triangles;
        }
        return entry;
    }
    int part = 0;
    if (scene_->GetPartID(node, &part, &err) >= 0) {
        const auto known = triangles_.find(part);
        if (known != triangles_.end()) entry.triangles = known->second;
    }
    return entry;
}

void Session::Refresh() {
    tree_ = ReadTree(0);
    ApplyExplosion();
}

const TreeNode* Session::Find(int node) const {
    std::vector<const TreeNode*> waiting{&tree_};
    while (!waiting.empty()) {
        const TreeNode* at = waiting.back();
        waiting.pop_back();
        if (at->id == node) return at;
        for (const TreeNode& child : at->children) waiting.push_back(&child);
    }
    return nullptr;
}

host::Box Session::BoxOf(const std::set<int>& nodes) const {
    std::optional<host::Box> sum;
    for (const int node : nodes) {
        if (const TreeNode* found = Find(node)) Widen(sum, found->seen);
    }
    return sum.value_or(box_);
}

NodeFacts Session::FactsOf(int node) const {
    NodeFacts facts;
    facts.path = host::PathOf(*scene_, node);
    if (const TreeNode* found = Find(node)) facts.box = found->rest.value_or(host::Box());
    for (const int instance : host::InstancesOf(*scene_, node)) {
        int part = 0, err = 0;
        if (scene_->GetPartID(instance, &part, &err) < 0) continue;
        ++facts.instances;
        const auto known = triangles_.find(part);
        if (known != triangles_.end()) facts.triangles += known->second;
    }
    return facts;
}

void Session::Measure(int node, NodeFacts& facts) const {
    double volumes = 0, areas = 0;
    host::Vec3 moment{};
    for (const int instance : host::InstancesOf(*scene_, node)) {
        double volume = 0, area = 0;
        float center[3] = {0, 0, 0};
        int err = 0, parent = 0;
        const double own = host::ScaleOf(*scene_, instance);
        scene_->GetParent(instance, &parent);
        scene_->GetVolume(instance, &volume, &err);
        scene_->GetSurfaceArea(instance, &area, &err);
        scene_->GetCenterOfMass(instance, center, center + 1, center + 2, &err);
        // The engine has the scale of the instance itself in its volume already, and none in its area.
        volume *= std::pow(own / host::ScaleOf(*scene_, parent), 3);
        if (std::isfinite(area)) areas += area * own * own;
        if (!std::isfinite(volume) || volume == 0) continue;  // open, or nothing
        volumes += volume;
        for (std::size_t i = 0; i < 3; ++i) moment[i] += volume * center[i];
    }
    facts.volume = volumes;
    facts.area = areas;
    for (std::size_t i = 0; i < 3; ++i) facts.center[i] = volumes > 0 ? moment[i] / volumes : 0;
}

void Session::Select(int node, bool add) {
    const bool was = selected_.count(node) != 0;
    if (!add) ClearSelection();
    int err = 0;
    scene_->SetSelected(node, add && was ? 0 : 1, &err);
    if (add && was) {
        selected_.erase(node);
        for (const int other : selected_) scene_->SetSelected(other, 1, &err);
    } else {
        selected_.insert(node);
    }
}

void Session::ClearSelection() {
    int err = 0;
    for (const int node : selected_) scene_->SetSelected(node, 0, &err);
    selected_.clear();
}

bool Session::IsShown(int node) const {
    LONG shown = 0;
    int err = 0;
    return scene_->IsDrawingEnable(node, &shown, &err) >= 0 && shown != 0;
}

void Session::Show(int node, bool shown) {
    int err = 0;
    scene_->EnableDrawing(node, shown ? 1 : 0, &err);
    ApplyExplosion();
}

void Session::HideSelected() {
    int err = 0;
    for (const int node : selected_) scene_->EnableDrawing(node, 0, &err);
    ClearSelection();
    ApplyExplosion();
}

void Session::Isolate() {
    if (selected_.empty()) return;
    int err = 0;
    for (const int instance : host::InstancesOf(*scene_, 0)) scene_->EnableDrawing(instance, 0, &err);
    for (const int node : selected_) {
        ShowBelow(node);
        // What stands above was perhaps hidden by hand.
        for (int above = node; above > 0 && scene_->GetParent(above, &above) >= 0;) {
            if (above > 0) scene_->EnableDrawing(above, 1, &err);
        }
    }
    ApplyExplosion();
}

void Session::ShowBelow(int node) {
    const TreeNode* top = Find(node);
    std::vector<const TreeNode*> waiting;
    if (top != nullptr) waiting.push_back(top);
    int err = 0;
    while (!waiting.empty()) {
        const TreeNode* at = waiting.back();
        waiting.pop_back();
        scene_->EnableDrawing(at->id, 1, &err);
        for (const TreeNode& child : at->children) waiting.push_back(&child);
    }
}

void Session::ShowAll() {
    ShowBelow(0);
    ApplyExplosion();
}

host::Rgb Session::ColorOf(int node) const {
    host::Rgb color{};
    int err = 0;
    const std::vector<int> instances = host::InstancesOf(*scene_, node);
    if (!instances.empty()) scene_->GetExternalColor(instances[0], &color[0], &color[1], &color[2], &err);
    return color;
}

void Session::SetColor(int node, const host::Rgb& color) {
    int err = 0;
    scene_->SetExternalColor(node, color[0], color[1], color[2], &err);
    scene_->SetInternalColor(node, color[0], color[1], color[2], &err);
}

float Session::TransparencyOf(int node) const {
    float opacity = 1;
    int err = 0;
    const std::vector<int> instances = host::InstancesOf(*scene_, node);
    if (!instances.empty()) scene_->GetTransparency(instances[0], &opacity, &err);
    // From here on the engine counts it as opaque.
    return opacity >= 0.95F ? 0 : 1 - opacity;
}

void Session::SetTransparency(int node, float level) {
    int err = 0;
    scene_->SetTransparency(node, 1 - level, &err);
}

void Session::SetTexture(const std::string& name) {
    int err = 0;
    const host::EngineText text(name);
    for (const int instance : host::InstancesOf(*scene_, 0)) scene_->SetEnvtexture(instance, text.Get(), &err);
}

host::Section Session::Plane() const {
    host::Vec3 normal = section.normal;
    if (section.axis < 3)
        normal = {section.axis == 0 ? 1.0 : 0, section.axis == 1 ? 1.0 : 0, section.axis == 2 ? 1.0 : 0};
    const double length = std::hypot(normal[0], normal[1], normal[2]);
    host::Section plane;
    double reach = 0;
    for (std::size_t i = 0; i < 3; ++i) {
        plane.normal[i] = length > 0 ? normal[i] / length : (i == 2 ? 1 : 0);
        reach += std::abs(plane.normal[i]) * (box_.max[i] - box_.min[i]) / 2;
    }
    for (std::size_t i = 0; i < 3; ++i) {
        // Off the very middle, where symmetrical models tend to have faces in the plane.
        plane.point[i] = Middle(box_, i) + plane.normal[i] * reach * (2 * section.place - 1 + 1e-4);
        if (section.flipped) plane.normal[i] = -plane.normal[i];
    }
    return plane;
}

void Session::ApplySection() {
    const host::Section plane = Plane();
    float point[3], normal[3];
    std::copy(plane.point.begin(), plane.point.end(), point);
    std::copy(plane.normal.begin(), plane.normal.end(), normal);
    int err = 0;
    scene_->EnableCrossSection(0, section.on ? 1 : 0, &err);
    scene_->SwitchCrossSectionPlane(0, section.on ? 1 : 0, &err);
    scene_->EnableCrossSectionCapping(0, section.on && section.capped ? 1 : 0, &err);
    if (section.on) scene_->SetCrossSectionPlane(0, point, normal, &err);
}

// Parts go apart from where they are at rest, so they are put there first.
void Session::ApplyExplosion() {
    Settle(tree_);
    Spread(tree_, {});
    box_ = tree_.seen.value_or(host::Box{{-1, -1, -1}, {1, 1, 1}});
    ApplySection();
}

// The engine's own box of an assembly counts what is hidden as a cube about the origin, so instances are united here.
void Session::Settle(TreeNode& node) {
    double unmoved[16] = {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1};
    int err = 0;
    scene_->SetExplodeTransform(node.id, unmoved, &err);
    node.rest.reset();
    for (TreeNode& child : node.children) {
        Settle(child);
        Widen(node.rest, child.rest);
    }
    host::Box own;
    if (!IsShown(node.id)) node.rest.reset();
    if (!node.assembly && IsShown(node.id) && host::BoxOf(*scene_, node.id, own)) node.rest = own;
}

// Moves the children of an assembly away from its middle, and theirs from theirs. `moved` is what moves all of them.
void Session::Spread(TreeNode& node, const host::Vec3& moved) {
    node.seen.reset();
    if (!node.rest) return;
    if (!node.assembly) {
        node.seen = node.rest;
        for (std::size_t i = 0; i < 3; ++i) node.seen->min[i] += moved[i], node.seen->max[i] += moved[i];
        return;
    }
    for (TreeNode& child : node.children) {
        host::Vec3 sum = moved;
        if (child.rest && node.children.size() > 1 && explosion > 0) {
            double matrix[16] = {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1};
            for (std::size_t i = 0; i < 3; ++i) {
                matrix[12 + i] = explosion * (Middle(*child.rest, i) - Middle(*node.rest, i));
                sum[i] += matrix[12 + i];
            }
            int err = 0;
            scene_->SetExplodeTransform(child.id, matrix, &err);
        }
        Spread(child, sum);
        Widen(node.seen, child.seen);
    }
}

void Session::Reduce() {
    if (reduced_) return;
    auto* const decimator = new host::MeshDecimator;
    int err = 0;
    scene_->SetDecimator(decimator);
    decimator->Release();
    scene_->ComputeLODs(0, 2, 0, 0, 0, 0, 0, &err);
    reduced_ = true;
}

void Session::Save(const std::string& path, const host::Camera& camera) {
    const host::SceneFormat format = FormatOf(path);
    if (format == host::SceneFormat::kSectionXml && !section.on) {
        throw host::Failure(path, "a section file needs a section");
    }
    host::U3dOptions u3d;
    u3d.views.push_back({"view", camera});
    host::WriteScene(*scene_, format, path, u3d);
}

}  // namespace tessera::viewer
