#include "scene_section.h"

#include "failure.h"
#include "scene_walk.h"

namespace tessera::cli {

// The engine measures in a part's own units, and from the node that it is asked for: all instances but one are hidden
// in turn, so that each is measured where it stands.
std::vector<double> SectionLengths(ITessera& scene, const std::vector<int>& instances, host::Progress& progress) {
    int err = 0;
    for (const int node : host::InstancesOf(scene, 0)) scene.EnableDrawing(node, 0, &err);
    std::vector<double> lengths;
    for (const int node : instances) {
        progress.Show("measuring sections",
                      static_cast<double>(lengths.size()) / static_cast<double>(instances.size()));
        float length = 0;
        scene.EnableDrawing(node, 1, &err);
        if (scene.GetCrossSectionLength(0, &length, &err) < 0) throw host::Failure("the engine measures no sections");
        scene.EnableDrawing(node, 0, &err);
        lengths.push_back(length * host::ScaleOf(scene, node));
    }
    for (const int node : host::InstancesOf(scene, 0)) scene.EnableDrawing(node, 1, &err);
    progress.Clear();
    return lengths;
}

}  // namespace tessera::cli
