#include "exchange/u3d/progressive_mesh.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <functional>

#include "exchange/u3d/collapse.h"
#include "exchange/u3d/corner_lists.h"
#include "exchange/u3d/normal_prediction.h"

namespace tessera {
namespace {

constexpr std::uint32_t kNone = U3dCornerLists::kNone;
constexpr std::uint32_t kPositionsABlock = 4096;
constexpr std::size_t kMostColorsAtOnce = 0xfffe;
constexpr std::size_t kColorUpdates = 3;  // before there are faces, whose colours would be a prediction
constexpr std::uint32_t kMostFaces = 128;
constexpr float kLargestCoordinate = 1e18f, kLargestColor = 65536;
constexpr float kSmallestExtent = 1e-4f;  // readers see no direction in edges below 1e-7

// What the values of an update are packed with.
enum Context : std::uint32_t {
    kFaceCount = 1,
    kSide = 2,
    kThirdKind = 3,
    kThirdLocal = 4,
    kStayOrMove = 15,
    kPositionSigns = 20,
    kPositionSize = 21,
    kNormalCount = 40,
    kNormalSigns = 41,
    kNormalSize = 42,
    kNormalChoice = 45,
    kColorKind = 55,
    kColorFlags = 56,
    kColorSize = 60,
    kShading = 65,
    kColorCount = 99,
    kColorSigns = 100,
    kSpecularCount = 101,
    kKeepColor = 104,
    kColorGlobal = 120,
    kTextureCount = 123,
};
enum : std::uint8_t { kLeft = 1, kRight = 2 };
enum : std::uint8_t { kLocal = 1, kGlobal = 2, kGlobalColor = 3 };
enum : std::uint8_t { kStay = 0, kMove = 1, kKeep = 2 };

// What is known of a position while one update is written.
enum Mark : std::uint8_t { kThirdOfLeft = 1, kThirdOfRight = 2, kAtMoved = 4, kAtStayed = 8 };

std::uint32_t After(std::uint32_t corner) { return corner % 3 == 2 ? corner - 2 : corner + 1; }

void SortUnique(std::vector<std::uint32_t>& positions) {
    std::sort(positions.begin(), positions.end(), std::greater<>());
    positions.erase(std::unique(positions.begin(), positions.end()), positions.end());
}

class ProgressiveWriter {
public:
    ProgressiveWriter(const std::string& name, U3dMesh& mesh, const U3dSplits& splits,
                      const U3dQuantization& quantization);
    std::vector<U3dBytes> Write();

private:
    // A new face by its corners.
    struct NewFace {
        std::uint32_t atSplit, atNew, third;
    };
    // From an expected normal to the wanted one, in steps of the quantization; backward by more than a right angle.
    struct Turn {
        bool backward = false;
        int steps[3] = {};
    };

    std::uint32_t At(std::uint32_t corner) const { return mesh_.positionFaces[corner]; }
    void Update(std::uint32_t position);
    void PutColors(std::uint32_t position);
    void GatherSplit(std::uint32_t position, const U3dSplit& split);
    void PutNewFaces(std::uint32_t position, const U3dSplit& split);
    void PutThird(std::uint32_t position, std::uint32_t third);
    void PutMoves(const U3dSplit& split);
    std::uint32_t Guess(std::uint8_t second, std::uint8_t third) const;
    void PutFaceColors();
    void Apply(std::uint32_t position, const U3dSplit& split);
    void PutPosition(std::uint32_t position, const U3dSplit& split);
    void PutNormals(std::uint32_t position);
    void PutSettledNormals(std::uint32_t position);
    void PutPlainNormals(std::uint32_t position);
    void GatherWanted(std::uint32_t position);
    void PutNormal(const Vec3& predicted, const Vec3& wanted);
    Vec3 Turned(const Vec3& v, const Turn& turn) const;
    void Refine(const Vec3& predicted, const Vec3& wanted, Turn& turn) const;
    // Zero for a face without one.
    Vec3 NormalOf(std::uint32_t face) const;
    std::uint8_t& Marks(std::uint32_t position);

    const std::string& name_;
    U3dMesh& mesh_;
    const U3dQuantization quantization_;
    const U3dSplits& splits_;
    U3dCornerLists around_;                  // the highest face first
    std::vector<std::uint8_t> firstCorner_;  // of each face, in the order of the reader
    std::vector<std::uint8_t> marks_;
    std::vector<std::uint32_t> markedIn_;
    U3dBitStream block_;
    std::size_t made_, moved_, colors_ = 0;  // what is left of the splits' lists, and the colours written
    std::uint32_t update_ = 0;
    std::uint32_t lastColors_[3] = {};  // of the new face before, at its three corners
    std::vector<NewFace> newFaces_;
    std::vector<std::uint32_t> atSplit_, moving_, staying_, nearby_;
    std::vector<Vec3> wanted_, faceNormals_, predicted_;
    std::vector<std::uint32_t> choice_, place_;
};

ProgressiveWriter::ProgressiveWriter(const std::string& name, U3dMesh& mesh, const U3dSplits& splits,
                                     const U3dQuantization& quantization)
    : name_(name),
      mesh_(mesh),
      quantization_(quantization),
      splits_(splits),
      around_(mesh.positions.size(), mesh.positionFaces.size()),
      firstCorner_(mesh.FaceCount()),
      marks_(mesh.positions.size()),
      markedIn_(mesh.positions.size()),
      made_(splits_.made.size()),
      moved_(splits_.moved.size()) {}

std::uint8_t& ProgressiveWriter::Marks(std::uint32_t position) {
    if (markedIn_[position] != update_) marks_[position] = 0;
    markedIn_[position] = update_;
    return marks_[position];
}

std::vector<U3dBytes> ProgressiveWriter::Write() {
    std::vector<U3dBytes> blocks;
    const auto count = static_cast<std::uint32_t>(mesh_.positions.size());
    for (std::uint32_t start = 0; start < count; start += kPositionsABlock) {
        const std::uint32_t end = start + std::min(kPositionsABlock, count - start);
        std::fill(std::begin(lastColors_), std::end(lastColors_), 0);
        block_.Text(name_);
        block_.U32(0);
        block_.U32(start);
        block_.U32(end);
        for (std::uint32_t i = start; i < end; ++i) Update(i);
        blocks.push_back(block_.Finish());
        blocks.back().shrink_to_fit();
    }
    return blocks;
}

void ProgressiveWriter::Update(std::uint32_t position) {
    const U3dSplit& split = splits_.splits[position];
    update_ = position + 1;
    block_.Packed32(kU3dFixedContext + position, split.from);
    PutColors(position);
    block_.Packed16(kSpecularCount, 0);
    block_.Packed16(kTextureCount, 0);
    GatherSplit(position, split);
    PutNewFaces(position, split);
    PutMoves(split);
    if (!mesh_.colorFaces.empty()) PutFaceColors();
    Apply(position, split);
    PutPosition(position, split);
    if (!mesh_.normalFaces.empty()) PutNormals(position);
}

// All colours come with the first positions, as differences from zero; blue is first here.
void ProgressiveWriter::PutColors(std::uint32_t position) {
    const std::size_t count = position < kColorUpdates ? std::min(mesh_.colors.size() - colors_, kMostColorsAtOnce) : 0;
    block_.Packed16(kColorCount, static_cast<std::uint16_t>(count));
    for (const std::size_t end = colors_ + count; colors_ < end; ++colors_) {
        const std::array<float, 4>& color = mesh_.colors[colors_];
        const float ordered[] = {color[2], color[1], color[0], color[3]};
        std::uint32_t signs = 0;
        for (std::uint32_t k = 0; k < 4; ++k) signs |= ordered[k] < 0 ? 1u << k : 0;
        block_.Packed8(kColorSigns, static_cast<std::uint8_t>(signs));
        for (std::uint32_t k = 0; k < 4; ++k) {
            const double steps = std::fabs(ordered[k]) / static_cast<double>(quantization_.color);
            block_.Packed32(kColorSize + k, static_cast<std::uint32_t>(std::lround(steps)));
        }
    }
}

// The faces at the position that is split and the positions near it, before anything changes, and the new faces.
void ProgressiveWriter::GatherSplit(std::uint32_t position, const U3dSplit& split) {
    atSplit_.clear();
    nearby_.clear();
    newFaces_.clear();
    if (position != 0)
        for (std::uint32_t c = around_.First(split.from); c != kNone; c = around_.Next(c)) {
            atSplit_.push_back(c);
            nearby_.push_back(At(After(c)));
            nearby_.push_back(At(After(After(c))));
        }
    SortUnique(nearby_);
    for (std::uint32_t i = 0; i < split.made; ++i) {
        const std::uint32_t face = splits_.made[--made_];
        std::uint32_t corner = 3 * face;
        while (At(corner) != position) ++corner;
        std::uint32_t other = After(corner), third = After(other);
        if (At(other) != split.from) std::swap(other, third);
        newFaces_.push_back({other, corner, third});
    }
}

void ProgressiveWriter::PutNewFaces(std::uint32_t position, const U3dSplit& split) {
    block_.Packed32(kFaceCount, split.made);
    for (const NewFace& face : newFaces_) {
        const bool left = After(face.atSplit) == face.atNew;
        firstCorner_[face.atNew / 3] = static_cast<std::uint8_t>((left ? face.atSplit : face.atNew) % 3);
        block_.Packed32(kShading, 0);
        block_.Packed8(kSide, left ? kLeft : kRight);
        PutThird(position, At(face.third));
        std::uint8_t& marks = Marks(At(face.third));
        marks = static_cast<std::uint8_t>(marks | (left ? kThirdOfLeft : kThirdOfRight));
    }
}

void ProgressiveWriter::PutThird(std::uint32_t position, std::uint32_t third) {
    const auto found = std::lower_bound(nearby_.begin(), nearby_.end(), third, std::greater<>());
    const bool local = found != nearby_.end() && *found == third;
    block_.Packed8(kThirdKind, local ? kLocal : kGlobal);
    if (local) {
        block_.Packed32(kThirdLocal, static_cast<std::uint32_t>(found - nearby_.begin()));
    } else {
        block_.Packed32(kU3dFixedContext + position, third);
        nearby_.insert(found, third);
    }
}

std::uint32_t ProgressiveWriter::Guess(std::uint8_t second, std::uint8_t third) const {
    if ((second & kThirdOfRight) != 0) return 1;
    if ((third & kThirdOfRight) != 0) return 2;
    if ((second & kThirdOfLeft) != 0) return 2;
    if ((third & kThirdOfLeft) != 0) return 1;
    if (((second | third) & kAtMoved) != 0) return 3;
    return ((second | third) & kAtStayed) != 0 ? 4 : 0;
}

void ProgressiveWriter::PutMoves(const U3dSplit& split) {
    moving_.assign(splits_.moved.begin() + static_cast<std::ptrdiff_t>(moved_ - split.moved),
                   splits_.moved.begin() + static_cast<std::ptrdiff_t>(moved_));
    moved_ -= split.moved;
    std::sort(moving_.begin(), moving_.end());
    place_.clear();  // the moving corners, in the order of the reader
    staying_.clear();
    for (const std::uint32_t corner : atSplit_) {
        const bool moves = std::binary_search(moving_.begin(), moving_.end(), corner);
        std::uint8_t& second = Marks(At(After(corner)));
        std::uint8_t& third = Marks(At(After(After(corner))));
        block_.Packed8(kStayOrMove + Guess(second, third), moves ? kMove : kStay);
        second = static_cast<std::uint8_t>(second | (moves ? kAtMoved : kAtStayed));
        third = static_cast<std::uint8_t>(third | (moves ? kAtMoved : kAtStayed));
        (moves ? place_ : staying_).push_back(corner);
    }
    moving_.swap(place_);
}

// Faces have their final colours from the start, whatever moves.
void ProgressiveWriter::PutFaceColors() {
    for (std::size_t i = 0; i < moving_.size(); ++i) block_.Packed8(kKeepColor, kKeep);
    for (const NewFace& face : newFaces_) {
        const std::uint32_t colors[] = {mesh_.colorFaces[face.atSplit], mesh_.colorFaces[face.atNew],
                                        mesh_.colorFaces[face.third]};
        std::uint32_t same = 0;
        for (std::uint32_t k = 0; k < 3; ++k) same |= colors[k] == lastColors_[k] ? 1u << k : 0;
        block_.Packed8(kColorFlags, static_cast<std::uint8_t>(same));
        for (std::uint32_t k = 0; k < 3; ++k) {
            if ((same >> k & 1) != 0) continue;
            block_.Packed8(kColorKind, kGlobalColor);
            block_.Packed32(kColorGlobal, colors[k]);
            lastColors_[k] = colors[k];
        }
    }
}

void ProgressiveWriter::Apply(std::uint32_t position, const U3dSplit& split) {
    for (const std::uint32_t corner : moving_) mesh_.positionFaces[corner] = position;
    around_.Set(position, moving_);
    if (!moving_.empty()) around_.Set(split.from, staying_);
    for (const NewFace& face : newFaces_)
        for (const std::uint32_t corner : {face.atSplit, face.atNew, face.third}) around_.AddFirst(At(corner), corner);
}

// From here on the mesh has the position that the reader comes to, so that errors do not pile up.
void ProgressiveWriter::PutPosition(std::uint32_t position, const U3dSplit& split) {
    const Vec3 origin = position == 0 ? Vec3() : mesh_.positions[split.from];
    Vec3& target = mesh_.positions[position];
    std::uint32_t signs = 0, sizes[3];
    for (std::uint32_t k = 0; k < 3; ++k) {
        const double difference = static_cast<double>(target[k]) - origin[k];
        if (difference < 0) signs |= 1u << k;
        sizes[k] = static_cast<std::uint32_t>(
            std::llround(std::fabs(difference) / static_cast<double>(quantization_.position)));
        const float step = quantization_.position * static_cast<float>(sizes[k]);
        target[k] = difference < 0 ? origin[k] - step : origin[k] + step;
    }
    block_.Packed8(kPositionSigns, static_cast<std::uint8_t>(signs));
    for (std::uint32_t k = 0; k < 3; ++k) block_.Packed32(kPositionSize + k, sizes[k]);
}

void ProgressiveWriter::PutNormals(std::uint32_t position) {
    nearby_.clear();
    for (std::uint32_t c = around_.First(position); c != kNone; c = around_.Next(c))
        for (const std::uint32_t corner : {c, After(c), After(After(c))}) nearby_.push_back(At(corner));
    SortUnique(nearby_);
    for (const std::uint32_t near : nearby_) {
        if (splits_.settled[near] == position)
            PutSettledNormals(near);
        else
            PutPlainNormals(near);
    }
}

// A later update says more; until then one normal for all faces, as the reader expects it.
void ProgressiveWriter::PutPlainNormals(std::uint32_t position) {
    block_.Packed32(kNormalCount, 1);
    block_.Packed8(kNormalSigns, 0);
    for (std::uint32_t k = 0; k < 3; ++k) block_.Packed32(kNormalSize + k, 0);
    for (std::uint32_t c = around_.First(position); c != kNone; c = around_.Next(c)) block_.Packed32(kNormalChoice, 0);
}

Vec3 ProgressiveWriter::NormalOf(std::uint32_t face) const {
    const std::uint32_t a = 3 * face + firstCorner_[face], b = After(a), c = After(b);
    Vec3 normal;
    const bool has = U3dFaceNormal(mesh_.positions[At(a)], mesh_.positions[At(b)], mesh_.positions[At(c)], normal);
    return has ? normal : Vec3();
}

// The different normals that the faces shall have here, each face's choice of them, and the faces' own normals.
void ProgressiveWriter::GatherWanted(std::uint32_t position) {
    wanted_.clear();
    choice_.clear();
    faceNormals_.clear();
    for (std::uint32_t c = around_.First(position); c != kNone; c = around_.Next(c)) {
        const Vec3 own = NormalOf(c / 3);
        if (Length(own) > 0) faceNormals_.push_back(own);
        Vec3 normal = mesh_.normals[mesh_.normalFaces[c]];
        const double length = Length(normal);
        normal = length > 0 ? normal * static_cast<float>(1 / length) : own;
        std::uint32_t choice = 0;
        while (choice < wanted_.size() && Length(wanted_[choice] - normal) > quantization_.normal) ++choice;
        if (choice == wanted_.size()) wanted_.push_back(normal);
        choice_.push_back(choice);
    }
}

// Each expectation takes what is most like it of the wanted normals that are left.
void ProgressiveWriter::PutSettledNormals(std::uint32_t position) {
    GatherWanted(position);
    const std::size_t count = wanted_.size();
    PredictU3dNormals(faceNormals_, count, predicted_);
    block_.Packed32(kNormalCount, static_cast<std::uint32_t>(count));
    place_.assign(count, kNone);
    for (std::uint32_t k = 0; k < count; ++k) {
        std::size_t best = count;
        for (std::size_t i = 0; i < count; ++i) {
            if (place_[i] != kNone) continue;
            if (best == count || Dot(wanted_[i], predicted_[k]) > Dot(wanted_[best], predicted_[k])) best = i;
        }
        place_[best] = k;
        PutNormal(predicted_[k], wanted_[best]);
    }
    for (const std::uint32_t choice : choice_) block_.Packed32(kNormalChoice, place_[choice]);
}

// The turn that brings the expected normal to the wanted one: its axis, scaled by the sine of the angle.
void ProgressiveWriter::PutNormal(const Vec3& predicted, const Vec3& wanted) {
    const Vec3& v = predicted;
    const Vec3& t = wanted;
    Turn turn;
    turn.backward = Dot(v, t) < 0;
    const double axis[] = {static_cast<double>(t.y) * v.z - static_cast<double>(t.z) * v.y,
                           static_cast<double>(t.z) * v.x - static_cast<double>(t.x) * v.z,
                           static_cast<double>(t.x) * v.y - static_cast<double>(t.y) * v.x};
    for (std::size_t k = 0; k < 3; ++k)
        turn.steps[k] = static_cast<int>(std::lround(axis[k] / static_cast<double>(quantization_.normal)));
    constexpr double kNearlyRight = 0.3;
    if (std::fabs(Dot(v, t)) < kNearlyRight) Refine(v, t, turn);
    std::uint32_t signs = turn.backward ? 1 : 0;
    for (std::uint32_t k = 0; k < 3; ++k) signs |= turn.steps[k] < 0 ? 2u << k : 0;
    block_.Packed8(kNormalSigns, static_cast<std::uint8_t>(signs));
    for (std::uint32_t k = 0; k < 3; ++k)
        block_.Packed32(kNormalSize + k, static_cast<std::uint32_t>(std::abs(turn.steps[k])));
}

Vec3 ProgressiveWriter::Turned(const Vec3& v, const Turn& turn) const {
    const float step = quantization_.normal;
    const Vec3 axis{step * static_cast<float>(turn.steps[0]), step * static_cast<float>(turn.steps[1]),
                    step * static_cast<float>(turn.steps[2])};
    const float sine = axis.x * axis.x + axis.y * axis.y + axis.z * axis.z;
    const float along = std::sqrt(1.0f - std::min(1.0f, sine));
    const Vec3 across{v.y * axis.z - v.z * axis.y, v.z * axis.x - v.x * axis.z, v.x * axis.y - v.y * axis.x};
    return v * (turn.backward ? -along : along) + across;
}

// Near a right angle the cosine, which is not stored, follows from the sine with a large error. Of the steps around,
// some give a better one.
void ProgressiveWriter::Refine(const Vec3& predicted, const Vec3& wanted, Turn& turn) const {
    const Turn middle = turn;
    double least = Length(Turned(predicted, turn) - wanted);
    for (int i = 0; i < 27; ++i) {
        Turn other = middle;
        other.steps[0] += i % 3 - 1;
        other.steps[1] += i / 3 % 3 - 1;
        other.steps[2] += i / 9 - 1;
        const double error = Length(Turned(predicted, other) - wanted);
        if (error < least) turn = other;
        least = std::min(least, error);
    }
}

// Makes the faces of the arrays fewer: those with three different positions stay.
void DropFlatFaces(U3dMesh& mesh) {
    std::size_t kept = 0;
    std::vector<std::uint32_t>& p = mesh.positionFaces;
    for (std::size_t i = 0; i < p.size(); i += 3) {
        if (p[i] == p[i + 1] || p[i + 1] == p[i + 2] || p[i] == p[i + 2]) continue;
        for (auto* const faces : {&mesh.positionFaces, &mesh.normalFaces, &mesh.colorFaces})
            if (!faces->empty()) std::copy_n(&(*faces)[i], 3, &(*faces)[kept]);
        kept += 3;
    }
    for (auto* const faces : {&mesh.positionFaces, &mesh.normalFaces, &mesh.colorFaces})
        if (!faces->empty()) faces->resize(kept);
}

void DivideCrowdedPositions(U3dMesh& mesh) {
    struct Use {
        std::uint32_t faces = 0, as = 0;
    };
    std::vector<Use> uses(mesh.positions.size());
    for (std::uint32_t i = 0; i < uses.size(); ++i) uses[i].as = i;
    for (std::uint32_t& position : mesh.positionFaces) {
        Use& use = uses[position];
        if (use.faces == kMostFaces) {
            use = {0, static_cast<std::uint32_t>(mesh.positions.size())};
            mesh.positions.push_back(mesh.positions[position]);
        }
        ++use.faces;
        position = use.as;
    }
}

bool IsColoringSmall(const U3dMesh& mesh) {
    if (mesh.colors.size() > kMostColorsAtOnce * std::min(mesh.positions.size(), kColorUpdates)) return false;
    for (const std::array<float, 4>& color : mesh.colors)
        for (const float value : color)
            if (std::fabs(value) > kLargestColor) return false;
    return true;
}

bool IsExtentUsual(const U3dMesh& mesh) {
    float extent = 0;
    for (const Vec3& p : mesh.positions)
        for (std::size_t axis = 0; axis < 3; ++axis) {
            if (std::fabs(p[axis]) > kLargestCoordinate) return false;
            extent = std::max(extent, std::fabs(p[axis] - mesh.positions[0][axis]));
        }
    return extent >= kSmallestExtent;
}

}  // namespace

bool U3dProgressiveMeshData(const std::string& name, U3dMesh& mesh, const U3dQuantization& quantization,
                            std::vector<U3dBytes>& blocks) {
    if (!IsExtentUsual(mesh) || !IsColoringSmall(mesh)) return false;
    DropFlatFaces(mesh);
    DivideCrowdedPositions(mesh);
    U3dSplits splits;
    if (!CollapseU3dMesh(mesh, splits)) return false;
    blocks = ProgressiveWriter(name, mesh, splits, quantization).Write();
    return true;
}

}  // namespace tessera
