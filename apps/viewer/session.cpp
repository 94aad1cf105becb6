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

double Determinant(const host::Vec3& a, const host::Vec3& b, const host::Vec3& c) {
    return a[0] * (b[1] * c[2] - b[2] * c[1]) - a[1] * (b[0] * c[2] - b[2] * c[0]) + a[2] * (b[0] * c[1] - b[1] * c[0]);
}

void Widen(host::Box& box, const host::Box& other) {
    for (std::size_t i = 0; i < 3; ++i) {
        box.min[i] = std::min(box.min[i], other.min[i]);
        box.max[i] = std::max(box.max[i], other.max[i]);
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
        complaints.push_back(failure.what());
        source_.reset();
        queue_.pop_front();
        return false;
    }
    for (const host::LoadedPart& part : models_.back().parts) triangles_[part.id] = part.triangles;
    reduced_ = false;
    Refresh();
    ApplySection();
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

host::Box Session::BoxOf(const std::set<int>& nodes) const {
    host::Box sum, box;
    bool any = false;
    for (const int node : nodes) {
        if (!host::BoxOf(*scene_, node, box)) continue;
        if (any) Widen(sum, box);
        if (!any) sum = box;
        any = true;
    }
    return any ? sum : box_;
}

NodeFacts Session::FactsOf(int node) const {
    NodeFacts facts;
    facts.path = host::PathOf(*scene_, node);
    host::BoxOf(*scene_, node, facts.box);
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
        if (!std::isfinite(volume) || volume == 0) continue;
        volumes += volume;
        areas += area * own * own;
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
        for (const int instance : host::InstancesOf(*scene_, node)) scene_->EnableDrawing(instance, 1, &err);
        // What stands above was perhaps hidden by hand.
        for (int above = node; above > 0 && scene_->GetParent(above, &above) >= 0;) {
            if (above > 0) scene_->EnableDrawing(above, 1, &err);
        }
    }
    ApplyExplosion();
}

void Session::ShowAll() {
    std::vector<const TreeNode*> waiting{&tree_};
    int err = 0;
    while (!waiting.empty()) {
        const TreeNode* node = waiting.back();
        waiting.pop_back();
        scene_->EnableDrawing(node->id, 1, &err);
        for (const TreeNode& child : node->children) waiting.push_back(&child);
    }
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

void Session::ApplyExplosion() {
    moves_.clear();
    host::Box whole;
    box_ = host::BoxOf(*scene_, 0, whole) ? whole : host::Box{{-1, -1, -1}, {1, 1, 1}};
    Spread(tree_, {});
}

// Moves the children of an assembly away from its middle, and theirs from theirs. `moved` is what moves all of them.
void Session::Spread(const TreeNode& node, const host::Vec3& moved) {
    host::Box whole;
    const bool several = node.children.size() > 1 && host::BoxOf(*scene_, node.id, whole);
    int err = 0;
    for (const TreeNode& child : node.children) {
        host::Box own;
        double matrix[16] = {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1};
        if (!host::BoxOf(*scene_, child.id, own)) continue;
        host::Vec3 sum = moved;
        for (std::size_t i = 0; i < 3; ++i) {
            if (several) matrix[12 + i] = explosion * (Middle(own, i) - Middle(whole, i));
            sum[i] += matrix[12 + i];
            own.min[i] += sum[i];
            own.max[i] += sum[i];
        }
        scene_->SetExplodeTransform(child.id, matrix, &err);
        if (several) moves_.push_back({child.id, {matrix[12], matrix[13], matrix[14]}});
        if (!child.assembly) Widen(box_, own);
        Spread(child, sum);
    }
}

// A displacement in the world as the frame of a node's parent has it.
host::Vec3 Session::InParentOf(int node, const host::Vec3& move) const {
    host::Placement above = {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1};
    int err = 0;
    for (int up = node; scene_->GetParent(up, &up) >= 0 && up > 0;) {
        host::Placement own;
        scene_->GetTransform(up, own.data(), &err);
        above = host::Product(above, own);
    }
    // By Cramer's rule on x m = move.
    const auto& m = above;
    const host::Vec3 a{m[0], m[1], m[2]}, b{m[4], m[5], m[6]}, c{m[8], m[9], m[10]};
    const double whole = Determinant(a, b, c);
    if (whole == 0) return {};
    return {Determinant(move, b, c) / whole, Determinant(a, move, c) / whole, Determinant(a, b, move) / whole};
}

std::optional<host::Found> Session::Find(const Ruler& ruler, host::Cursor& cursor) const {
    // Picks know nothing of explode matrices: the parts are put to where they are seen for as long as it takes.
    std::vector<std::pair<int, host::Placement>> kept;
    int err = 0;
    for (const auto& [node, move] : moves_) {
        if (explosion == 0) break;
        host::Placement placement;
        if (scene_->GetTransform(node, placement.data(), &err) < 0) continue;
        kept.push_back({node, placement});
        const host::Vec3 inParent = InParentOf(node, move);
        for (std::size_t i = 0; i < 3; ++i) placement[12 + i] += inParent[i];
        scene_->SetTransform(node, placement.data(), &err);
    }
    std::optional<host::Found> found = ruler.Find(*scene_, cursor);
    for (auto& [node, placement] : kept) scene_->SetTransform(node, placement.data(), &err);
    return found;
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
