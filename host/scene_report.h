#pragma once

#include <nlohmann/json_fwd.hpp>
#include <string>
#include <vector>

#include "model_loader.h"

namespace tessera::host {

// The tree of a scene with what is known of its parts, ready to print.
class SceneReport {
public:
    // Reads the scene as it stands. `models` are those that were put into it.
    SceneReport(ITessera& scene, const std::vector<LoadedModel>& models);

    std::string Text() const;
    nlohmann::json Json() const;

private:
    struct Entry {
        int id = 0;
        int parent = -1;
        int level = 0;
        bool assembly = false;
        bool mirrored = false;
        std::string name;
        const LoadedPart* part = nullptr;  // of an instance; owned by models_
        Box box;
    };

    void ReadTree();
    Entry ReadNode(int id, int parent, int level);
    nlohmann::json Totals() const;

    ITessera& scene_;
    const std::vector<LoadedModel>& models_;
    std::vector<Entry> entries_;  // parents before children
};

}  // namespace tessera::host
