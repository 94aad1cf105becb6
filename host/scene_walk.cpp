#include "scene_walk.h"

#include <cmath>

#include "text.h"

namespace tessera::host {

std::vector<int> ChildrenOf(ITessera& scene, int nodeId) {
    std::vector<int> children;
    int child = 0;
    int err = 0;
    for (HRESULT status = scene.GetFirstChild(nodeId, &child, &err); status >= 0 && err == ErrDone;
         status = scene.GetNextChild(nodeId, &child, &err)) {
        children.push_back(child);
    }
    return children;
}

std::vector<int> InstancesOf(ITessera& scene, int nodeId) {
    std::vector<int> waiting{nodeId};
    std::vector<int> instances;
    while (!waiting.empty()) {
        const int node = waiting.back();
        waiting.pop_back();
        int type = 0;
        int err = 0;
        if (scene.GetNodeType(node, &type, &err) < 0) continue;
        if (type != 0) {
            instances.push_back(node);
            continue;
        }
        const std::vector<int> children = ChildrenOf(scene, node);
        waiting.insert(waiting.end(), children.rbegin(), children.rend());
    }
    return instances;
}

std::string PathOf(ITessera& scene, int nodeId) {
    BSTR path = nullptr;
    int err = 0;
    return scene.GetFullNodeName(nodeId, &path, &err) < 0 ? std::string() : TakeText(path);
}

int NodeAt(ITessera& scene, const std::string& path) {
    int node = -1;
    int err = 0;
    scene.GetNodeIDFromPath(EngineText(path).Get(), &node, &err);
    return err == ErrDone ? node : -1;
}

double ScaleOf(ITessera& scene, int nodeId) {
    double scale = 1;
    for (int node = nodeId; node >= 0;) {
        double m[16];
        int err = 0;
        if (scene.GetTransform(node, m, &err) < 0) break;
        scale *= std::cbrt(std::abs(m[0] * (m[5] * m[10] - m[6] * m[9]) - m[1] * (m[4] * m[10] - m[6] * m[8]) +
                                    m[2] * (m[4] * m[9] - m[5] * m[8])));
        if (scene.GetParent(node, &node) < 0) break;
    }
    return scale;
}

}  // namespace tessera::host
