#include "scene/part_instance.h"

#include <atomic>
#include <cstring>

#include "scene/assembly.h"
#include "scene/part.h"

namespace tessera {
namespace {

// Moves on with every change of geometry or placement; boxes of an earlier epoch are stale.
std::atomic<std::uint64_t> gBoxEpoch{0};

bool HasSameBits(const CMatrix& a, const CMatrix& b) {
    return &a == &b || std::memcmp(a.Forward(), b.Forward(), 16 * sizeof(double)) == 0;
}

bool IsSame(const CMatrix& a, const CMatrix& b) { return HasSameBits(a, b) || a.Equals(b); }

}  // namespace

CPartInstance::~CPartInstance() {
    if (part_) part_->Release();
}

void CPartInstance::LinkPart(CPart* part) {
    std::unique_lock<std::mutex> hold;
    if (parent) hold = parent->HoldChildren();
    part->AddReference();  // first, so that linking the part that is already here is harmless
    if (part_) part_->Release();
    part_ = part;
    InvalidateBoundBox();
}

void CPartInstance::InvalidateAllBoundBoxes() { ++gBoxEpoch; }

int CPartInstance::GetPartID() const { return part_ ? part_->id : 0; }

void CPartInstance::InvalidateBoundBox() {
    boxMatrix_.reset();
    boxReference_.reset();
}

void CPartInstance::SpoolToFile(const std::shared_ptr<SpoolFile>& file) {
    if (part_) part_->SpoolToFile(file);
}

int CPartInstance::Remove(int nodeId) {
    if (nodeId != id) return 0;
    delete this;
    return 1;
}

CPart* CPartInstance::FindOtherPartByName(const String& text, int partId) {
    return part_ && part_->id != partId && part_->name == text ? part_ : nullptr;
}

CMatrix CPartInstance::Placement(const CMatrix& M, const CMatrix& E) const {
    const CMatrix T = transform * M;
    return exploded ? T * (explodeTransform * E) : T;
}

// Draws ask for the same boxes frame after frame, and the box of a part can cost a pass over its vertices.
BBox CPartInstance::GetBoundBox(const CMatrix& M, const CMatrix& E, bool recompute, const CMatrix& reference) {
    if (!part_ || drawingEnabled == 0) return BBox();
    return BoxAt(Placement(M, E), recompute, reference);
}

const BBox& CPartInstance::BoxAt(const CMatrix& T, bool recompute, const CMatrix& reference) {
    const CMatrix& identity = CMatrix::Identity();
    if (!recompute && boxMatrix_ && boxEpoch_ == gBoxEpoch && IsSame(*boxMatrix_, T) &&
        IsSame(boxReference_ ? *boxReference_ : identity, reference))
        return boundBox;
    InvalidateBoundBox();
    auto matrix = std::make_unique<CMatrix>(T);
    if (!HasSameBits(reference, identity)) boxReference_ = std::make_unique<CMatrix>(reference);
    boundBox = part_->GetBoundBox(T, recompute, reference);
    boxEpoch_ = gBoxEpoch;
    boxMatrix_ = std::move(matrix);
    return boundBox;
}

}  // namespace tessera
