#pragma once

#include <optional>
#include <string>
#include <vector>

#include "cursor.h"
#include "scene_picture.h"

namespace tessera::viewer {

// What a click on the model does.
enum class Tool { kSelect, kDistance, kLength, kRadius, kAngle };

// One thing that was measured.
struct Measurement {
    std::string text;
    host::Marks marks;
};

// Measures what is clicked at: the distance of two points, the length of an edge that runs straight, the radius of a
// round one, the angle of two faces. Lengths are in units of the file.
class Ruler {
public:
    Tool Using() const { return tool_; }
    void Use(Tool tool);
    // What is to be clicked at next.
    const char* Hint() const;
    // What a click at the cursor would take. Points come before edges, edges before faces.
    std::optional<host::Found> Find(ITessera& scene, host::Cursor& cursor) const;
    // Takes what was found under a click; true where that completes a measurement.
    bool Take(const host::Found& found);
    void Clear();

    const std::vector<Measurement>& Done() const { return done_; }
    void Remove(std::size_t index) { done_.erase(done_.begin() + static_cast<std::ptrdiff_t>(index)); }
    // Of all measurements and of what a half taken one has so far.
    host::Marks Marks() const;
    static host::Marks MarksOf(const host::Found& found);

private:
    Tool tool_ = Tool::kSelect;
    std::optional<host::Found> first_;  // of two
    std::vector<Measurement> done_;
};

}  // namespace tessera::viewer
