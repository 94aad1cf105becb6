#pragma once

#include <tessera/tessera.h>

#include <array>
#include <cstdint>
#include <deque>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "model_source.h"
#include "scene_picture.h"

namespace tessera::viewer {

// A node of the scene as the tree shows it.
struct TreeNode {
    int id = 0;
    bool assembly = false;
    std::string name;
    std::uint64_t triangles = 0;  // at and below it
    std::vector<TreeNode> children;
    // Of what is shown at and below it: as the model has it, and where it is seen.
    std::optional<host::Box> rest, seen;
};

// The plane that models are cut by.
struct SectionPlane {
    bool on = false;
    int axis = 0;  // of the normal; 3 for `normal`
    host::Vec3 normal{0, 0, 1};
    float place = 0.5F;  // from one end of the model to the other, along the normal
    bool flipped = false;
    bool capped = true;
    bool shown = false;  // as a square, with the lines of the cut
};

// What a person is told of a node.
struct NodeFacts {
    std::string path;
    host::Box box;
    std::uint64_t triangles = 0, instances = 0;
    // Filled on demand, as they take time. In the units of the file, part by part as each stands in the world.
    std::optional<double> volume, area;
    host::Vec3 center{};
};

// Models in a scene and what a person has done with them: all of a viewer but its window. Files are read beside the
// caller, one at a time.
class Session {
public:
    Session();

    // Queues a file. What becomes of it Load tells.
    void Open(const std::string& path);
    // Goes on with what is queued for at most a moment. True when a model has come into the scene. A file that cannot
    // be read leaves the scene as it was and a line in Complaints.
    bool Load();
    bool IsLoading() const { return source_ != nullptr || !queue_.empty(); }
    // What is being read, and how much of it is, below 0 where that isn't known.
    std::string LoadingPath() const { return queue_.empty() ? std::string() : queue_.front(); }
    double LoadingFraction() const { return source_ ? source_->Fraction() : 0; }
    std::vector<std::string> complaints;

    // Takes all models out.
    void Close();
    bool IsEmpty() const { return models_.empty(); }

    ITessera& Scene() const { return *scene_; }
    const TreeNode& Tree() const { return tree_; }
    const std::vector<host::LoadedModel>& Models() const { return models_; }
    host::UpAxis Up() const { return models_.empty() ? host::UpAxis::kZ : models_[0].up; }
    // Of all that is shown, as it is drawn.
    const host::Box& ShownBox() const { return box_; }
    // Of what is shown of these, where it is seen.
    host::Box BoxOf(const std::set<int>& nodes) const;
    NodeFacts FactsOf(int node) const;
    // Adds volume, area and centre of mass.
    void Measure(int node, NodeFacts& facts) const;

    // ---- Selection: instances and assemblies; an assembly stands for all below it ----
    const std::set<int>& Selected() const { return selected_; }
    void Select(int node, bool add);
    void ClearSelection();

    // ---- What is shown ----
    bool IsShown(int node) const;
    void Show(int node, bool shown);
    void HideSelected();
    // Hides all but what is selected.
    void Isolate();
    void ShowAll();

    // ---- How it is shown ----
    // The external colour, and how much of what is behind shows through, 0 to 1, of all below a node.
    host::Rgb ColorOf(int node) const;
    void SetColor(int node, const host::Rgb& color);
    float TransparencyOf(int node) const;
    void SetTransparency(int node, float level);
    void SetTexture(const std::string& name);
    SectionPlane section;
    void ApplySection();
    host::Section Plane() const;
    // How far the children of each assembly stand apart, in distances from its middle.
    float explosion = 0;
    void ApplyExplosion();
    // Makes levels of detail, for once; until then nothing is drawn reduced.
    void Reduce();
    bool IsReduced() const { return reduced_; }

    // Writes what is shown in the format that the file's name asks for: .3dg, .wrl, .u3d or .xml. Throws Failure.
    void Save(const std::string& path, const host::Camera& camera);

private:
    TreeNode ReadTree(int node) const;
    void ShowBelow(int node);
    void Settle(TreeNode& node);
    void Spread(TreeNode& node, const host::Vec3& moved);
    const TreeNode* Find(int node) const;
    void Refresh();

    host::Scene scene_;
    std::deque<std::string> queue_;
    std::unique_ptr<host::ModelSource> source_;
    host::Progress silent_{false};
    std::vector<host::LoadedModel> models_;
    std::map<int, std::uint64_t> triangles_;  // of parts
    TreeNode tree_;
    std::set<int> selected_;
    host::Box box_;
    bool reduced_ = false;
};

}  // namespace tessera::viewer
