#include "u3d_updates.h"

#include <algorithm>
#include <cmath>
#include <functional>
#include <iterator>
#include <set>

namespace tessera::host {

namespace {

using Mesh = U3dContent::Mesh;
using Face = U3dContent::Face;
using Vec3 = U3dContent::Vec3;
using Vec4 = U3dContent::Vec4;
using Corners = U3dContent::Corners;
using Set = std::set<std::uint32_t, std::greater<>>;  // every enumeration runs from the highest number down

Vec3 operator+(const Vec3& a, const Vec3& b) { return {a[0] + b[0], a[1] + b[1], a[2] + b[2]}; }
Vec3 operator-(const Vec3& a, const Vec3& b) { return {a[0] - b[0], a[1] - b[1], a[2] - b[2]}; }
Vec3 operator*(float f, const Vec3& a) { return {f * a[0], f * a[1], f * a[2]}; }
float Dot(const Vec3& a, const Vec3& b) { return a[0] * b[0] + a[1] * b[1] + a[2] * b[2]; }
Vec3 Cross(const Vec3& a, const Vec3& b) {
    return {a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]};
}

// False for a vector without direction, which stays as it is.
bool Normalise(Vec3& v) {
    if (std::all_of(v.begin(), v.end(), [](float f) { return std::fabs(f) < 1e-7f; })) return false;
    v = 1 / std::sqrt(Dot(v, v)) * v;
    return true;
}

Vec3 Slerp(const Vec3& from, Vec3 to, float t) {
    float cosine = Dot(from, to);
    if (cosine < 0) {
        to = -1.0f * to;
        cosine = -cosine;
    }
    if (!(1 - cosine > 1e-6f)) return (1 - t) * from + t * to;
    const float angle = std::acos(cosine), sine = std::sin(angle);
    return std::sin((1 - t) * angle) / sine * from + std::sin(t * angle) / sine * to;
}

// Where in `entries` the largest dot product with `v` is, the first such.
std::size_t Nearest(const std::vector<Vec3>& entries, const Vec3& v) {
    std::size_t best = 0;
    for (std::size_t k = 1; k < entries.size(); ++k) {
        if (Dot(entries[k], v) > Dot(entries[best], v)) best = k;
    }
    return best;
}

// `count` normals that are spread over the normals of the faces around a position, each then drawn to the middle of
// those nearest to it.
std::vector<Vec3> PredictNormals(const std::vector<Vec3>& around, std::size_t count) {
    if (around.empty() || count == 0) return std::vector<Vec3>(count);
    std::vector<Vec3> list{around[0]};
    while (list.size() < count) {
        Vec3 farthest = around[0];
        float smallest = 1;
        for (const Vec3& g : around) {
            const float nearness = Dot(g, list[Nearest(list, g)]);
            if (nearness < smallest) farthest = g;
            smallest = std::min(smallest, nearness);
        }
        list.push_back(farthest);
    }
    std::vector<int> chosen(count);
    for (const Vec3& g : around) {
        const std::size_t k = Nearest(list, g);
        list[k] = Slerp(list[k], g, 1 / static_cast<float>(++chosen[k]));
    }
    return list;
}

int CornerAt(const Face& face, std::uint32_t position) {
    return static_cast<int>(std::find(face.positions.begin(), face.positions.end(), position) - face.positions.begin());
}

// The updates of one progressive block: each adds one position and what goes with it.
class Updates {
public:
    Updates(U3dBitReader& in, Mesh& mesh) : in_(in), mesh_(mesh), around_(mesh.positions.size()) {
        for (std::uint32_t f = 0; f < mesh.faces.size(); ++f) Enter(f);
    }

    void AddPosition() {
        added_ = static_cast<std::uint32_t>(mesh_.positions.size());
        around_.resize(added_ + 1);
        split_ = ReadIndex(0x400 + added_, std::max(added_, 1u));
        ReadColors();
        in_.Require(in_.Compressed16(101) == 0, "specular colours");
        in_.Require(in_.Compressed16(123) == 0, "texture coordinates");
        std::vector<Face> made = ReadFaces();
        std::vector<Move> moves = ReadMoves(made);
        for (Move& move : moves) ReadMovedColor(move);
        for (Face& face : made) ReadFaceColors(face);
        for (const Move& move : moves) {
            Face& face = mesh_.faces[move.face];
            face.positions[move.corner] = added_;
            face.colors[move.corner] = move.color;
            around_[split_].erase(move.face);
            around_[added_].insert(move.face);
        }
        for (const Face& face : made) {
            mesh_.faces.push_back(face);
            Enter(static_cast<std::uint32_t>(mesh_.faces.size() - 1));
        }
        const auto d = ReadDifference(in_.Below(in_.Compressed8(20), 8, "signs"), 21, 3, mesh_.positionQuant);
        mesh_.positions.push_back((added_ == 0 ? Vec3{} : mesh_.positions[split_]) + Vec3{d[0], d[1], d[2]});
        if (mesh_.normalsExcluded) return;
        for (const std::uint32_t p : NeighboursOf(added_)) ReadNormals(p);
    }

private:
    struct Move {
        std::uint32_t face;
        int corner;
        std::uint32_t color;
    };

    void Enter(std::uint32_t face) {
        for (const std::uint32_t p : mesh_.faces[face].positions) around_[p].insert(face);
    }

    Set ColorsAt(std::uint32_t position) const {
        Set colors;
        for (const std::uint32_t f : around_[position]) {
            const Face& face = mesh_.faces[f];
            if (mesh_.colored[face.shading]) colors.insert(face.colors[CornerAt(face, position)]);
        }
        return colors;
    }

    Set NeighboursOf(std::uint32_t position) const {  // itself among them
        Set neighbours;
        for (const std::uint32_t f : around_[position]) {
            neighbours.insert(mesh_.faces[f].positions.begin(), mesh_.faces[f].positions.end());
        }
        return neighbours;
    }

    std::uint32_t ReadIndex(std::uint32_t context, std::size_t limit) {
        return in_.Below(in_.Compressed32(context), limit, "index");
    }
    std::uint32_t ReadMember(std::uint32_t context, const Set& set) {
        return *std::next(set.begin(), ReadIndex(context, set.size()));
    }
    std::uint32_t ReadChoice(std::uint32_t context, std::uint32_t first, std::uint32_t last) {
        const std::uint32_t choice = in_.Compressed8(context);
        in_.Require(choice >= first && choice <= last, "unknown choice " + std::to_string(choice));
        return choice;
    }
    Vec4 ReadDifference(std::uint32_t signs, std::uint32_t context, std::uint32_t count, float quant) {
        Vec4 difference{};
        for (std::uint32_t k = 0; k < count; ++k) {
            const float size = quant * static_cast<float>(in_.Compressed32(context + k));
            difference[k] = (signs >> k & 1) != 0 ? -size : size;
        }
        return difference;
    }

    void ReadColors() {
        firstColor_ = static_cast<std::uint32_t>(mesh_.colors.size());
        Vec4 mean{};
        const Set around = ColorsAt(split_);
        for (const std::uint32_t c : around) {
            for (int k = 0; k < 4; ++k) mean[k] += mesh_.colors[c][k];
        }
        for (float& f : mean) f = around.empty() ? 0 : f / static_cast<float>(around.size());
        for (std::uint32_t count = in_.Compressed16(99); count > 0; --count) {
            // The components come with blue first.
            const auto d = ReadDifference(in_.Below(in_.Compressed8(100), 16, "signs"), 60, 4, mesh_.colorQuant);
            mesh_.colors.push_back({mean[0] + d[2], mean[1] + d[1], mean[2] + d[0], mean[3] + d[3]});
        }
    }

    std::vector<Face> ReadFaces() {
        const std::size_t missing = mesh_.faceCount - mesh_.faces.size();
        const std::uint32_t count = in_.Below(in_.Compressed32(1), missing + 1, "number of new faces");
        std::vector<Face> made;
        Set near = NeighboursOf(split_);
        near.erase(split_);
        // Not made at once: a damaged file may tell of any number.
        while (made.size() < count) {
            Face& face = made.emplace_back();
            face.shading = ReadIndex(65, mesh_.colored.size());
            const bool left = ReadChoice(2, 1, 2) == 1, local = ReadChoice(3, 1, 2) == 1;
            const std::uint32_t third = local ? ReadMember(4, near) : ReadIndex(0x400 + added_, added_);
            in_.Require(third != split_, "a new face has one position twice");
            near.insert(third);
            face.positions = left ? Corners{split_, added_, third} : Corners{added_, split_, third};
        }
        return made;
    }

    std::vector<Move> ReadMoves(const std::vector<Face>& made) {
        std::vector<Move> moves;
        Set left, right, moved, stayed;
        for (const Face& face : made) (face.positions[0] == split_ ? left : right).insert(face.positions[2]);
        for (const std::uint32_t f : around_[split_]) {
            const Face& face = mesh_.faces[f];
            const int corner = CornerAt(face, split_);
            const std::uint32_t a = face.positions[(corner + 1) % 3], b = face.positions[(corner + 2) % 3];
            std::uint32_t guess = stayed.count(a) + stayed.count(b) != 0 ? 4 : 0;
            if (moved.count(a) + moved.count(b) != 0) guess = 3;
            if (left.count(b) != 0) guess = 1;
            if (right.count(b) + left.count(a) != 0) guess = 2;
            if (right.count(a) != 0) guess = 1;
            const bool goes = ReadChoice(15 + guess, 0, 1) == 1;
            if (goes) moves.push_back({f, corner, face.colors[corner]});
            (goes ? moved : stayed).insert({a, b});
        }
        return moves;
    }

    void ReadMovedColor(Move& move) {
        if (!mesh_.colored[mesh_.faces[move.face].shading] || ReadChoice(104, 1, 2) == 2) return;
        const std::uint32_t kind = ReadChoice(105, 1, 3);
        if (kind == 1) move.color = firstColor_ + ReadIndex(106, mesh_.colors.size() - firstColor_);
        if (kind == 2) move.color = ReadMember(107, ColorsAt(split_));
        if (kind == 3) move.color = ReadIndex(108, mesh_.colors.size());
    }

    void ReadFaceColors(Face& face) {
        if (!mesh_.colored[face.shading]) return;
        const std::uint32_t kept = ReadChoice(56, 0, 7);
        const Corners roles{split_, added_, face.positions[2]};
        for (int k = 0; k < 3; ++k) {
            if ((kept >> k & 1) == 0) {
                const bool local = ReadChoice(55, 2, 3) == 2;
                lastColors_[k] =
                    local ? ReadMember(119, ColorsAt(k == 2 ? roles[2] : split_)) : ReadIndex(120, mesh_.colors.size());
            }
            face.colors[CornerAt(face, roles[k])] = in_.Below(lastColors_[k], mesh_.colors.size(), "kept colour");
        }
    }

    void ReadNormals(std::uint32_t position) {
        std::vector<Vec3> flat;
        for (const std::uint32_t f : around_[position]) {
            const auto& [a, b, c] = mesh_.faces[f].positions;
            Vec3 u = mesh_.positions[b] - mesh_.positions[a], v = mesh_.positions[c] - mesh_.positions[a];
            if (!Normalise(u) || !Normalise(v)) continue;
            Vec3 normal = Cross(u, v);
            if (Normalise(normal)) flat.push_back(normal);
        }
        const std::uint32_t count = ReadIndex(40, around_[position].size() + 1);
        const auto first = static_cast<std::uint32_t>(mesh_.normals.size());
        for (const Vec3& v : PredictNormals(flat, count)) {
            const std::uint32_t signs = in_.Below(in_.Compressed8(41), 16, "signs");
            const auto d = ReadDifference(signs >> 1, 42, 3, mesh_.normalQuant);
            const Vec3 xyz{d[0], d[1], d[2]};
            const float w = std::sqrt(1 - std::min(1.0f, Dot(xyz, xyz)));
            mesh_.normals.push_back(((signs & 1) != 0 ? -w : w) * v + Cross(v, xyz));
        }
        for (const std::uint32_t f : around_[position]) {
            Face& face = mesh_.faces[f];
            face.normals[CornerAt(face, position)] = first + ReadIndex(45, count);
        }
    }

    U3dBitReader& in_;
    Mesh& mesh_;
    std::vector<Set> around_;  // for each position the faces that have a corner there
    Corners lastColors_{};     // of the last new face: at the split position, the added one, the third
    std::uint32_t split_ = 0, added_ = 0, firstColor_ = 0;
};

}  // namespace

void ReadUpdates(U3dBitReader& in, std::uint32_t count, Mesh& mesh) {
    Updates updates(in, mesh);
    for (std::uint32_t i = 0; i < count; ++i) updates.AddPosition();
}

}  // namespace tessera::host
