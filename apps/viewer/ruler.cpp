#include "ruler.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <numbers>

namespace tessera::viewer {

namespace {

using host::Vec3;

double Distance(const Vec3& a, const Vec3& b) { return std::hypot(a[0] - b[0], a[1] - b[1], a[2] - b[2]); }

std::string Text(const char* format, double value) {
    char text[64];
    std::snprintf(text, sizeof text, format, value);
    return text;
}

Measurement BetweenPoints(const Vec3& a, const Vec3& b) {
    Measurement m;
    m.text = Text("distance %.6g", Distance(a, b));
    const char* axes[] = {"\ndx %.5g", "  dy %.5g", "  dz %.5g"};
    for (std::size_t i = 0; i < 3; ++i) m.text += Text(axes[i], b[i] - a[i]);
    m.marks.points = {a, b};
    m.marks.lines = {{a, b}};
    return m;
}

Measurement BetweenFaces(const host::Found& a, const host::Found& b) {
    const Vec3 &u = *a.normal, &v = *b.normal;
    const double lengths = std::hypot(u[0], u[1], u[2]) * std::hypot(v[0], v[1], v[2]);
    const double cosine = lengths > 0 ? (u[0] * v[0] + u[1] * v[1] + u[2] * v[2]) / lengths : 1;
    Measurement m;
    const double degrees = std::acos(std::clamp(cosine, -1.0, 1.0)) * 180 / std::numbers::pi;
    m.text = Text("angle of faces %.4f deg", degrees);
    // Parallel faces, to the precision of normals in single precision, have a distance.
    if (lengths > 0 && (degrees < 0.05 || degrees > 179.95)) {
        double apart = 0;
        for (std::size_t i = 0; i < 3; ++i) apart += (b.point[i] - a.point[i]) * u[i];
        m.text += Text("  %.6g apart", std::abs(apart) / std::hypot(u[0], u[1], u[2]));
    }
    m.marks.points = {a.point, b.point};
    return m;
}

// Points and edges are found through what stands before them. A surface hides them unless it lets light through; one
// that falls away from the eye is somewhat nearer beside them.
bool IsSeen(ITessera& scene, const host::Cursor& cursor, const host::Found& found,
            const std::optional<host::Found>& surface) {
    if (!surface) return true;
    float opacity = 1;
    int err = 0;
    scene.GetTransparency(surface->node, &opacity, &err);
    const double depth = cursor.DepthOf(surface->point);
    return opacity < 0.95F || cursor.DepthOf(found.point) <= depth + 4 * cursor.ReachAt(depth);
}

}  // namespace

void Ruler::Use(Tool tool) {
    tool_ = tool;
    first_.reset();
}

const char* Ruler::Hint() const {
    switch (tool_) {
        case Tool::kDistance: return first_ ? "Click the second point" : "Click a point, an edge or a face";
        case Tool::kLength: return "Click a straight edge";
        case Tool::kRadius: return "Click a round edge";
        case Tool::kAngle: return first_ ? "Click the second face" : "Click a face";
        case Tool::kSelect: return "";
    }
    return "";
}

std::optional<host::Found> Ruler::Find(ITessera& scene, host::Cursor& cursor) const {
    const std::optional<host::Found> surface = cursor.Pick(scene, host::What::kInstance);
    std::vector<host::What> wanted;
    if (tool_ == Tool::kLength) wanted = {host::What::kSegment};
    if (tool_ == Tool::kRadius) wanted = {host::What::kArc};
    if (tool_ == Tool::kDistance) wanted = {host::What::kPoint, host::What::kEdge};
    for (const host::What what : wanted) {
        // What is hidden may lie nearer to the cursor than what is not, but seldom everywhere.
        for (const double reach : {1.0, 0.5, 0.2}) {
            host::Cursor narrow = cursor.Narrowed(reach);
            std::optional<host::Found> found = narrow.Pick(scene, what);
            if (!found) break;
            if (IsSeen(scene, cursor, *found, surface)) return found;
        }
    }
    const bool anyPlace = tool_ != Tool::kLength && tool_ != Tool::kRadius;
    return anyPlace ? surface : std::nullopt;
}

bool Ruler::Take(const host::Found& found) {
    switch (tool_) {
        case Tool::kSelect: return false;
        case Tool::kLength:
            if (!found.ends) return false;
            done_.push_back({Text("length %.6g", Distance((*found.ends)[0], (*found.ends)[1])), MarksOf(found)});
            return true;
        case Tool::kRadius:
            if (!found.center) return false;
            done_.push_back(
                {Text("radius %.6g", found.Radius()) + Text("  diameter %.6g", 2 * found.Radius()), MarksOf(found)});
            return true;
        case Tool::kDistance:
        case Tool::kAngle:
            if (tool_ == Tool::kAngle && !found.normal) return false;
            if (!first_) {
                first_ = found;
                return false;
            }
            done_.push_back(tool_ == Tool::kAngle ? BetweenFaces(*first_, found)
                                                  : BetweenPoints(first_->point, found.point));
            first_.reset();
            return true;
    }
    return false;
}

void Ruler::Clear() {
    first_.reset();
    done_.clear();
}

host::Marks Ruler::MarksOf(const host::Found& found) {
    host::Marks marks;
    if (found.ends) marks.lines.push_back({(*found.ends)[0], (*found.ends)[1]});
    if (!found.arc.empty()) marks.lines.push_back(found.arc);
    marks.points.push_back(found.center ? *found.center : found.point);
    return marks;
}

host::Marks Ruler::Marks() const {
    host::Marks all;
    for (const Measurement& m : done_) {
        all.points.insert(all.points.end(), m.marks.points.begin(), m.marks.points.end());
        all.lines.insert(all.lines.end(), m.marks.lines.begin(), m.marks.lines.end());
    }
    if (first_) all.points.push_back(first_->point);
    return all;
}

}  // namespace tessera::viewer
