#pragma once

#include <tessera/tessera.h>

#include <string>
#include <vector>

namespace tessera::host {

// The children of an assembly, in order; none for an instance. The engine keeps one position an assembly, so all are
// listed before anything else is asked.
std::vector<int> ChildrenOf(ITessera& scene, int nodeId);

// All part instances at and below a node, in the order of the tree.
std::vector<int> InstancesOf(ITessera& scene, int nodeId);

// The path of names that finds the node again, in UTF-8.
std::string PathOf(ITessera& scene, int nodeId);

// The node at a path of names in UTF-8, or below 0.
int NodeAt(ITessera& scene, const std::string& path);

// How much longer a line of an instance's part is in the world; where the scale differs from axis to axis, the cube
// root of how much larger a volume is.
double ScaleOf(ITessera& scene, int nodeId);

}  // namespace tessera::host
