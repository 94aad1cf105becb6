// Positions go in rounds. Each round rates all that are left, and takes those of the better half that are not next to
// one that goes in the same round; so the time grows little faster than the mesh.
#include "exchange/u3d/collapse.h"

#include <algorithm>
#include <cmath>

#include "exchange/u3d/corner_lists.h"

namespace tessera {
namespace {

constexpr std::uint32_t kNone = U3dCornerLists::kNone;
constexpr std::size_t kShapedFaces = 32;  // with more faces than these only lengths are rated
constexpr double kManyFaces = 64;
// The work of a reader, in faces that are listed anew while the mesh grows, to the faces that there are.
constexpr std::uint64_t kMostWork = 600, kFreeWork = 1000000;

struct Direction {
    double x = 0, y = 0, z = 0;
};

Direction Between(const Vec3& from, const Vec3& to) {
    return {static_cast<double>(to.x) - from.x, static_cast<double>(to.y) - from.y, static_cast<double>(to.z) - from.z};
}

Direction CrossOf(const Direction& a, const Direction& b) {
    return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}

double DotOf(const Direction& a, const Direction& b) { return a.x * b.x + a.y * b.y + a.z * b.z; }

class Collapse {
public:
    explicit Collapse(U3dMesh& mesh);
    bool Run(U3dSplits& splits);

private:
    struct Plane {
        Direction normal;  // of unit length, or none
        std::uint32_t second = 0, third = 0;
    };

    std::uint32_t At(std::uint32_t corner) const { return mesh_.positionFaces[corner]; }
    static std::uint32_t After(std::uint32_t corner) { return corner % 3 == 2 ? corner - 2 : corner + 1; }
    void Round();
    void Rate(std::uint32_t position);
    void GatherPlanes(std::uint32_t position);
    double Harm(std::uint32_t position, std::uint32_t target) const;
    void Take(std::uint32_t position);
    void Touch(std::uint32_t position, std::uint32_t number);
    void Renumber();
    void Undo();

    U3dMesh& mesh_;
    U3dCornerLists around_;
    U3dSplits result_;
    std::vector<std::uint32_t> left_, faces_, target_, lockedIn_, number_;
    std::vector<float> harm_, sorted_;
    std::vector<Plane> planes_;
    std::uint32_t round_ = 0, next_ = 0;
    std::uint64_t work_ = 0;
};

Collapse::Collapse(U3dMesh& mesh)
    : mesh_(mesh),
      around_(mesh.positions.size(), mesh.positionFaces.size()),
      faces_(mesh.positions.size()),
      target_(mesh.positions.size()),
      lockedIn_(mesh.positions.size()),
      number_(mesh.positions.size(), kNone),
      harm_(mesh.positions.size()),
      next_(static_cast<std::uint32_t>(mesh.positions.size())) {
    for (std::uint32_t corner = 0; corner < mesh.positionFaces.size(); ++corner) {
        around_.AddFirst(At(corner), corner);
        ++faces_[At(corner)];
    }
    left_.resize(mesh.positions.size());
    for (std::uint32_t i = 0; i < left_.size(); ++i) left_[i] = i;
    result_.splits.resize(left_.size());
    result_.settled.assign(left_.size(), kNone);
    result_.made.reserve(mesh.FaceCount());
}

void Collapse::GatherPlanes(std::uint32_t position) {
    planes_.clear();
    for (std::uint32_t c = around_.First(position); c != kNone; c = around_.Next(c)) {
        Plane plane;
        plane.second = At(After(c));
        plane.third = At(After(After(c)));
        const Vec3& p = mesh_.positions[position];
        const Direction normal =
            CrossOf(Between(p, mesh_.positions[plane.second]), Between(p, mesh_.positions[plane.third]));
        const double length = std::sqrt(DotOf(normal, normal));
        if (length > 0) plane.normal = {normal.x / length, normal.y / length, normal.z / length};
        planes_.push_back(plane);
    }
}

// How far the shape moves, in units of the mesh. A little is added for long edges, and more for those that turn a face
// over or gather many faces at the target.
double Collapse::Harm(std::uint32_t position, std::uint32_t target) const {
    constexpr double kLengthShare = 1e-3, kCrowdShare = 1.0 / 16, kTurned = 0.1;
    const Vec3& to = mesh_.positions[target];
    const Direction way = Between(mesh_.positions[position], to);
    const double length = std::sqrt(DotOf(way, way)), crowd = (faces_[position] + faces_[target]) / kManyFaces;
    double harm = planes_.size() > kShapedFaces ? length : 0;
    bool turns = false;
    if (planes_.size() <= kShapedFaces) {
        for (const Plane& plane : planes_) {
            if (plane.second == target || plane.third == target) continue;
            harm = std::max(harm, std::fabs(DotOf(plane.normal, way)));
            const Direction after =
                CrossOf(Between(to, mesh_.positions[plane.second]), Between(to, mesh_.positions[plane.third]));
            const double along = DotOf(after, plane.normal);
            turns = turns || along < 0 || along * along < kTurned * kTurned * DotOf(after, after);
        }
    }
    return harm + length * (kLengthShare + kCrowdShare * crowd * crowd + (turns ? 1 : 0));
}

// Where the faces close around the position each neighbour is second once; elsewhere the last one is third alone.
void Collapse::Rate(std::uint32_t position) {
    GatherPlanes(position);
    target_[position] = kNone;
    double least = 0;
    const auto consider = [&](std::uint32_t candidate) {
        const double harm = Harm(position, candidate);
        if (target_[position] != kNone && !(harm < least)) return;
        least = harm;
        target_[position] = candidate;
    };
    for (const Plane& plane : planes_) consider(plane.second);
    for (const Plane& plane : planes_) {
        const auto same = [&](const Plane& other) { return other.second == plane.third; };
        if (planes_.size() > kShapedFaces || std::none_of(planes_.begin(), planes_.end(), same)) consider(plane.third);
    }
    harm_[position] = static_cast<float>(least);
}

// The steps are made backwards, so the first that is seen here is the last in the file.
void Collapse::Touch(std::uint32_t position, std::uint32_t number) {
    lockedIn_[position] = round_;
    work_ += faces_[position];
    if (result_.settled[position] == kNone) result_.settled[position] = number;
}

void Collapse::Take(std::uint32_t position) {
    const std::uint32_t target = target_[position];
    number_[position] = --next_;
    U3dSplit& split = result_.splits[next_];
    split.from = target;
    Touch(position, next_);
    for (std::uint32_t c = around_.First(position), following; c != kNone; c = following) {
        following = around_.Next(c);
        const std::uint32_t second = After(c), third = After(second);
        Touch(At(second), next_);
        Touch(At(third), next_);
        if (At(second) == target || At(third) == target) {
            around_.Remove(At(second), second);
            around_.Remove(At(third), third);
            --faces_[At(second)];
            --faces_[At(third)];
            result_.made.push_back(c / 3);
            ++split.made;
        } else {
            mesh_.positionFaces[c] = target;
            around_.AddFirst(target, c);
            ++faces_[target];
            result_.moved.push_back(c);
            ++split.moved;
        }
    }
}

void Collapse::Round() {
    ++round_;
    sorted_.clear();
    for (const std::uint32_t position : left_) {
        if (lockedIn_[position] + 1 == round_) Rate(position);  // the faces around the others are as they were
        sorted_.push_back(harm_[position]);
    }
    const auto middle = sorted_.begin() + static_cast<std::ptrdiff_t>(sorted_.size() / 2);
    std::nth_element(sorted_.begin(), middle, sorted_.end());
    const float limit = *middle;
    std::size_t kept = 0;
    for (const std::uint32_t position : left_) {
        if (lockedIn_[position] == round_ || harm_[position] > limit)
            left_[kept++] = position;
        else
            Take(position);
    }
    left_.resize(kept);
}

void Collapse::Renumber() {
    std::vector<Vec3> positions(number_.size());
    std::vector<std::uint32_t> settled(number_.size());
    for (std::size_t i = 0; i < number_.size(); ++i) {
        positions[number_[i]] = mesh_.positions[i];
        settled[number_[i]] = result_.settled[i];
    }
    mesh_.positions.swap(positions);
    result_.settled.swap(settled);
    for (std::uint32_t& position : mesh_.positionFaces) position = number_[position];
    for (U3dSplit& split : result_.splits) split.from = split.from == kNone ? 0 : number_[split.from];
}

// Gives the corners back, the last position first.
void Collapse::Undo() {
    std::vector<std::uint32_t> taken(number_.size());
    for (std::uint32_t i = 0; i < number_.size(); ++i)
        if (number_[i] != kNone) taken[number_[i]] = i;
    for (; next_ < taken.size(); ++next_)
        for (std::uint32_t i = 0; i < result_.splits[next_].moved; ++i) {
            mesh_.positionFaces[result_.moved.back()] = taken[next_];
            result_.moved.pop_back();
        }
}

bool Collapse::Run(U3dSplits& splits) {
    const std::uint64_t most = kFreeWork + kMostWork * mesh_.FaceCount();
    while (!left_.empty() && work_ <= most) Round();
    if (!left_.empty()) {
        Undo();
        return false;
    }
    Renumber();
    splits = std::move(result_);
    return true;
}

}  // namespace

bool CollapseU3dMesh(U3dMesh& mesh, U3dSplits& splits) { return Collapse(mesh).Run(splits); }

}  // namespace tessera
