#pragma once

#include <tessera/tessera.h>

#include <array>
#include <atomic>
#include <vector>

namespace tessera::host {

// Reduces meshes for levels of detail with the meshoptimizer library: edges collapse in the order of least error
// (Garland and Heckbert, Surface Simplification Using Quadric Error Metrics, 1997). Made with one reference; ends with
// the last.
class MeshDecimator final : public IDecimator {
public:
    HRESULT QueryInterface(const IID& id, void** object) override;
    ULONG AddRef() override { return ++references_; }
    ULONG Release() override;

    HRESULT SetMesh(float* points, int pointFloats, int* indices, int indexCount) override;
    // As near to the target as the shape allows.
    HRESULT Decimate(int targetTriangles, float** stripData, int** stripLengths) override;
    HRESULT Finish() override;

private:
    ~MeshDecimator() = default;
    using Corner = std::array<float, 6>;  // normal, position
    std::vector<Corner> Corners(const std::vector<unsigned>& indices) const;

    std::atomic<ULONG> references_{1};
    std::vector<float> points_;  // three a vertex
    std::vector<unsigned> indices_;
};

}  // namespace tessera::host
