#include "mesh_decimator.h"

#include <meshoptimizer.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <memory>

namespace tessera::host {

namespace {

constexpr unsigned kRestart = std::numeric_limits<unsigned>::max();

// Task memory with a copy of some values; null where there is no memory.
template <class Value>
Value* TaskCopy(const std::vector<Value>& values) {
    auto* const block = static_cast<Value*>(CoTaskMemAlloc(values.size() * sizeof(Value)));
    if (block) std::copy(values.begin(), values.end(), block);
    return block;
}

}  // namespace

HRESULT MeshDecimator::QueryInterface(const IID& id, void** object) {
    if (!object) return STATUS_FAIL;
    *object = nullptr;
    if (!(id == IID_IUnknown) && !(id == IID_IDecimator)) return static_cast<HRESULT>(0x80004002u);
    *object = static_cast<IDecimator*>(this);
    AddRef();
    return STATUS_OK;
}

ULONG MeshDecimator::Release() {
    const ULONG left = --references_;
    if (left == 0) delete this;
    return left;
}

HRESULT MeshDecimator::SetMesh(float* points, int pointFloats, int* indices, int indexCount) {
    const std::unique_ptr<float[]> ownedPoints(points);
    const std::unique_ptr<int[]> ownedIndices(indices);
    points_.assign(points, points + pointFloats);
    indices_.assign(indices, indices + indexCount);
    return STATUS_OK;
}

// Normal and position of each corner. A corner's normal is the mean, weighed by area, of the triangles at its vertex
// that lie within the crease angle of its own.
std::vector<MeshDecimator::Corner> MeshDecimator::Corners(const std::vector<unsigned>& indices) const {
    constexpr float kCosineOfCrease = 0.766F;  // 40 degrees
    std::vector<std::array<float, 3>> facets(indices.size() / 3);
    // The triangles at each vertex, one after the other; starts are moved on as these come in.
    std::vector<unsigned> starts(points_.size() / 3 + 2), around(indices.size());
    for (const unsigned v : indices) ++starts[v + 2];
    for (std::size_t v = 2; v < starts.size(); ++v) starts[v] += starts[v - 1];
    for (std::size_t t = 0; t < facets.size(); ++t) {
        const float *a = &points_[3 * indices[3 * t]], *b = &points_[3 * indices[3 * t + 1]],
                    *c = &points_[3 * indices[3 * t + 2]];
        const float u[3] = {b[0] - a[0], b[1] - a[1], b[2] - a[2]}, v[3] = {c[0] - a[0], c[1] - a[1], c[2] - a[2]};
        facets[t] = {u[1] * v[2] - u[2] * v[1], u[2] * v[0] - u[0] * v[2], u[0] * v[1] - u[1] * v[0]};
        for (std::size_t k = 0; k < 3; ++k) around[starts[indices[3 * t + k] + 1]++] = static_cast<unsigned>(t);
    }
    const auto length = [](const std::array<float, 3>& n) { return std::hypot(n[0], n[1], n[2]); };
    std::vector<Corner> corners(indices.size());
    for (std::size_t i = 0; i < indices.size(); ++i) {
        const std::array<float, 3>& own = facets[i / 3];
        std::array<float, 3> sum{};
        for (unsigned at = starts[indices[i]]; at < starts[indices[i] + 1]; ++at) {
            const std::array<float, 3>& n = facets[around[at]];
            const float dot = own[0] * n[0] + own[1] * n[1] + own[2] * n[2];
            if (dot < kCosineOfCrease * length(own) * length(n)) continue;
            for (std::size_t k = 0; k < 3; ++k) sum[k] += n[k];
        }
        const float size = length(sum);
        for (std::size_t k = 0; k < 3; ++k) {
            corners[i][k] = size > 0 ? sum[k] / size : (k == 2 ? 1.0F : 0);
            corners[i][3 + k] = points_[3 * std::size_t{indices[i]} + k];
        }
    }
    return corners;
}

HRESULT MeshDecimator::Decimate(int targetTriangles, float** stripData, int** stripLengths) {
    *stripData = nullptr;
    *stripLengths = nullptr;
    std::vector<unsigned> reduced(indices_.size());
    reduced.resize(meshopt_simplify(
        reduced.data(), indices_.data(), indices_.size(), points_.data(), points_.size() / 3, 3 * sizeof(float),
        3 * static_cast<std::size_t>(std::max(targetTriangles, 0)), std::numeric_limits<float>::max(), 0, nullptr));
    if (reduced.empty()) return STATUS_OK;
    const std::vector<Corner> corners = Corners(reduced);
    // Corners that agree in normal and position become one vertex.
    std::vector<unsigned> remap(corners.size());
    const std::size_t count = meshopt_generateVertexRemap(remap.data(), nullptr, corners.size(), corners.data(),
                                                          corners.size(), sizeof(Corner));
    std::vector<Corner> vertices(count);
    for (std::size_t i = 0; i < corners.size(); ++i) vertices[remap[i]] = corners[i];
    meshopt_optimizeVertexCacheStrip(remap.data(), remap.data(), remap.size(), count);
    std::vector<unsigned> strips(meshopt_stripifyBound(remap.size()));
    strips.resize(meshopt_stripify(strips.data(), remap.data(), remap.size(), count, kRestart));
    strips.push_back(kRestart);
    std::vector<float> data;
    std::vector<int> lengths;
    int length = 0;
    for (const unsigned v : strips) {
        if (v != kRestart) {
            data.insert(data.end(), vertices[v].begin(), vertices[v].end());
            ++length;
        } else if (length > 0) {
            lengths.push_back(length);
            length = 0;
        }
    }
    lengths.push_back(0);
    *stripData = TaskCopy(data);
    *stripLengths = TaskCopy(lengths);
    return STATUS_OK;
}

HRESULT MeshDecimator::Finish() {
    points_.clear();
    indices_.clear();
    return STATUS_OK;
}

}  // namespace tessera::host
