// The component's one table of unit normals; triangle corners hold indices into it.
#pragma once

#include <cstdint>
#include <utility>
#include <vector>

#include "component/vector3.h"
#include "geometry/cell_grid.h"

namespace tessera {

// Index of the first normal of the block that ImportTriNormals read last.
extern std::uint32_t g_triNormalBase;

// Entries are never moved or removed, so indices stay valid until Clear.
class TriNormalTable {
public:
    std::uint32_t Count() const { return static_cast<std::uint32_t>(normals_.size()); }
    // Slots beyond the count read as (1, 0, 0): meshes may outlive a Clear.
    const Vec3& operator[](std::uint32_t index) const { return index < normals_.size() ? normals_[index] : kUnused; }
    const Vec3* Data() const { return normals_.data(); }

    // Replaces the content by a block of a stream (u32 count, then three f32 each), scaled to unit length.
    // Gives the position behind the block. The stream is trusted.
    const unsigned char* Read(const unsigned char* stream);
    // Adds all normals of another table, equal ones too; gives the index of the first one. They stay
    // unknown to a grid that is already built.
    std::uint32_t Append(const TriNormalTable& other);
    // Index of the first normal equal to v under the global tolerance: of those in v's cell once the
    // grid is built, of all before. Adds v if there is none.
    std::uint32_t LookUpOrAdd(const Vec3& v);
    void BuildGrid();
    void Clear() noexcept;

private:
    static constexpr Vec3 kUnused{1, 0, 0};

    void Index(double tolerance);

    std::vector<Vec3> normals_;
    CellGrid grid_;
    bool gridBuilt_ = false;
    std::vector<std::pair<std::uint32_t, std::uint32_t>> unknown_;  // ranges appended behind the grid's back
};

}  // namespace tessera
