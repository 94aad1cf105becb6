// Volume, centre of mass and projected area of a part, by scanning: the heights of all surfaces over each cell of a
// grid are paired from below. That stands open and inconsistently oriented meshes, which an integral over the triangles
// would not; a column with an odd number of surfaces does not count.
#include <algorithm>
#include <cmath>
#include <limits>

#include "geometry/trimesh.h"
#include "query/column_scan.h"
#include "scene/part.h"

namespace tessera {
namespace {

// A cell is this share of the diagonal in xy, up to a diagonal of so much, and then of one size.
constexpr double kCellShare = 0.00015, kLargestDiagonal = 50, kLargeCell = 0.15;
// Above this a precision counts twice.
constexpr float kBasePrecision = 1.0000001f;
// Cells along the sides for the projected area at precision 1.
constexpr double kProjectedCells = 1000;
// Surfaces at one place count once.
constexpr double kSameHeight = 1.000000013351432e-10;
// More columns or rows than this are no grid.
constexpr double kMostCells = 1 << 26;

// The heights over the columns of one row, kept from row to row without freeing.
class ColumnStore {
public:
    explicit ColumnStore(int columns) : counts_(static_cast<std::size_t>(columns) + 1) { Widen(6); }

    void Append(int column, double value) {
        std::uint32_t& count = counts_[static_cast<std::size_t>(column)];
        if (count == room_) Widen(2 * room_);
        values_[static_cast<std::size_t>(column) * room_ + count++] = value;
    }
    // The values of a column in ascending order, without repeats. Empties the column.
    const double* Take(int column, std::uint32_t& kept) {
        std::uint32_t& count = counts_[static_cast<std::size_t>(column)];
        double* const first = &values_[static_cast<std::size_t>(column) * room_];
        std::sort(first, first + count);
        kept = count > 0 ? 1 : 0;
        for (std::uint32_t i = 1; i < count; ++i)
            if (std::fabs(first[i] - first[kept - 1]) > kSameHeight) first[kept++] = first[i];
        count = 0;
        return first;
    }
    bool IsEmpty(int column) const { return counts_[static_cast<std::size_t>(column)] == 0; }

private:
    void Widen(std::uint32_t room) {
        std::vector<double> wider(counts_.size() * room);
        for (std::size_t c = 0; c < counts_.size(); ++c)
            for (std::uint32_t i = 0; i < counts_[c]; ++i) wider[c * room + i] = values_[c * room_ + i];
        values_.swap(wider);
        room_ = room;
    }

    std::vector<std::uint32_t> counts_;
    std::vector<double> values_;
    std::uint32_t room_ = 0;  // of a column
};

// Whole cells along a side; -1 where their number makes no sense.
int CellsAlong(double side, double cell) {
    const double cells = std::ceil(side / cell);
    if (!(cells <= kMostCells)) return -1;
    return cells < 1 ? 0 : static_cast<int>(cells);
}

}  // namespace

// Reloads what is spooled on the way. False if the part has no mesh.
bool CPart::ScanBox(BBox& box) const {
    bool found = false;
    for (const auto& element : elements_) {
        if (element->GetKind() != 0) continue;
        box.Union(element->GetBoundBox(CMatrix(), true, CMatrix()));
        found = true;
    }
    return found && box.valid != 0;
}

void CPart::AddMeshesTo(ColumnScan& scan) const {
    for (const auto& element : elements_) {
        if (element->GetKind() != 0) continue;
        auto& mesh = static_cast<CTriMesh&>(*element);
        const CTriMesh::ReadLock lock(mesh);
        for (const TriMeshTriangle& t : mesh.Triangles()) {
            const Vec3 corner[3] = {mesh.Vertices()[t.vertex[0]], mesh.Vertices()[t.vertex[1]],
                                    mesh.Vertices()[t.vertex[2]]};
            scan.Add(corner);
        }
    }
    scan.Sort();
}

// A grid too fine to be held gives no number.
double CPart::GetVolume() {
    if (cachedVolume > 1e-8) return cachedVolume;
    BBox box;
    if (!ScanBox(box)) return 0;
    const float dx = box.xmax - box.xmin, dy = box.ymax - box.ymin;
    const float diagonal = static_cast<float>(std::hypot(static_cast<double>(dx), static_cast<double>(dy)));
    const double precision = volumePrecision > kBasePrecision ? 2.0 * volumePrecision : volumePrecision;
    const double cell = (diagonal <= kLargestDiagonal ? diagonal * kCellShare : kLargeCell) / precision;
    const ScanGrid grid{box.xmin, box.ymin, dx, dy, CellsAlong(dx, cell), CellsAlong(dy, cell)};
    double volume = 0, moment[3] = {0, 0, 0};
    if (grid.columns < 0 || grid.rows < 0) volume = std::numeric_limits<double>::quiet_NaN();
    if (grid.columns > 0 && grid.rows > 0) {
        ColumnScan scan(grid, pointTolerance);
        AddMeshesTo(scan);
        ColumnStore store(grid.columns);
        for (int row = 0; row <= grid.rows; ++row) {
            const double y = grid.Y(row);
            int first = grid.columns, last = -1;
            for (const ScanSpan& span : scan.SpansOf(row)) {
                first = std::min(first, span.low);
                last = std::max(last, span.high - 1);
                for (int c = span.low; c < span.high; ++c)
                    store.Append(c, scan.Height(span.triangle, grid.X(c), y) * cell * cell);
            }
            for (int c = first; c <= last; ++c) {
                if (store.IsEmpty(c)) continue;
                std::uint32_t count = 0;
                const double* z = store.Take(c, count);
                if (count % 2 != 0) continue;
                for (std::uint32_t i = 0; i < count; i += 2) {
                    const double dv = z[i + 1] - z[i];  // heights are times the cell's area already
                    volume += dv;
                    moment[0] += dv * grid.X(c);
                    moment[1] += dv * y;
                    moment[2] += dv * ((z[i] + z[i + 1]) / (2 * cell * cell));
                }
            }
        }
    }
    for (int i = 0; i < 3; ++i) centerOfMass[i] = moment[i] / volume;
    cachedVolume = volume;
    return volume;
}

double CPart::GetProjectedSurfaceXY() const {
    BBox box;
    if (!ScanBox(box)) return 0;
    const double cells = std::ceil(static_cast<double>(volumePrecision) * kProjectedCells);
    if (!(cells <= kMostCells)) return std::numeric_limits<double>::quiet_NaN();
    const int n = cells < 1 ? 0 : static_cast<int>(cells);
    const float dx = box.xmax - box.xmin, dy = box.ymax - box.ymin;
    if (n == 0 || dx == 0 || dy == 0) return 0;
    const ScanGrid grid{box.xmin, box.ymin, dx, dy, n, n};
    ColumnScan scan(grid, pointTolerance);
    AddMeshesTo(scan);
    std::vector<int> coveredIn(static_cast<std::size_t>(n) + 1, -1);  // the last row that covers a column
    double count = 0;
    for (int row = 0; row <= n; ++row)
        for (const ScanSpan& span : scan.SpansOf(row))
            for (int c = span.low; c < std::min(span.high, n); ++c) {
                count += coveredIn[static_cast<std::size_t>(c)] != row ? 1 : 0;
                coveredIn[static_cast<std::size_t>(c)] = row;
            }
    return static_cast<float>(static_cast<double>(dx) / n * (static_cast<double>(dy) / n) * count);
}

double CPart::GetSurfaceArea() const {
    double area = 0;
    for (const auto& element : elements_) area += element->GetSurfaceArea();
    return area;
}

Vec3 CPart::GetCenterOfMass(const CMatrix& matrix) {
    if (!(cachedVolume > 1e-7)) GetVolume();
    return TransformPoint(
        {static_cast<float>(centerOfMass[0]), static_cast<float>(centerOfMass[1]), static_cast<float>(centerOfMass[2])},
        matrix);
}

}  // namespace tessera
