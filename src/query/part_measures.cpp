// Volume, centre of mass and projected area of a part, by scanning: the heights of all surfaces over each cell of a
// grid are paired from below. That stands open and inconsistently oriented meshes, which an integral over the triangles
// would not; a column with an odd number of surfaces does not count.
#include <algorithm>
#include <cmath>
#include <limits>
#include <new>
#include <span>

#include "geometry/trimesh.h"
#include "query/column_scan.h"
#include "scene/part.h"

namespace tessera {
namespace {

// A cell is this share of the diagonal in xy, up to a diagonal of so much, and then of one size.
constexpr double kCellShare = 0.00015, kLargestDiagonal = 50, kLargeCell = 0.15;
// Above this a precision counts twice.
constexpr double kBasePrecision = 1.0000001;
// Cells along the sides for the projected area at precision 1.
constexpr double kProjectedCells = 1000;
// Surfaces at one place count once.
constexpr double kSameHeight = 1.000000013351432e-10;
// More columns or rows than this are no grid, and more cells take days.
constexpr double kMostCells = 1 << 26, kMostInAll = 1099511627776.0;

// The heights over the columns of one row, column after column; the memory is kept from row to row.
class RowHeights {
public:
    // Empties all and makes room for the surfaces of a row. Raises std::bad_alloc where there is none.
    void Open(std::span<const ScanSpan> spans) {
        first_ = std::numeric_limits<int>::max(), last_ = -1;
        for (const ScanSpan& span : spans) {
            first_ = std::min(first_, span.low);
            last_ = std::max(last_, span.high - 1);
        }
        if (last_ < first_) return;
        // Where each span begins and ends tells how many cover a column, and these where its heights begin.
        ends_.assign(static_cast<std::size_t>(last_ - first_) + 2, 0);
        for (const ScanSpan& span : spans) {
            if (span.high <= span.low) continue;
            ++ends_[At(span.low)];
            --ends_[At(span.high)];
        }
        std::uint32_t covering = 0;
        std::uint64_t all = 0;
        for (std::uint32_t& end : ends_) {
            covering += end;
            end = static_cast<std::uint32_t>(all);
            all += covering;
        }
        if (all > std::numeric_limits<std::uint32_t>::max()) throw std::bad_alloc();
        heights_.resize(all);
    }
    void Append(int column, double height) { heights_[ends_[At(column)]++] = height; }
    // Where there may be any.
    int First() const { return first_; }
    int Last() const { return last_; }
    // Those of a column in ascending order, without repeats. Columns are taken in their order, once all is appended.
    std::span<const double> Take(int column) {
        double* const first = heights_.data() + (column == first_ ? 0 : ends_[At(column) - 1]);
        double* const last = heights_.data() + ends_[At(column)];
        std::sort(first, last);
        double* kept = first == last ? first : first + 1;
        for (double* z = kept; z < last; ++z)
            if (std::fabs(*z - kept[-1]) > kSameHeight) *kept++ = *z;
        return {first, kept};
    }

private:
    std::size_t At(int column) const { return static_cast<std::size_t>(column - first_); }

    int first_ = 0, last_ = -1;
    std::vector<std::uint32_t> ends_;  // per column and one more, of what it has so far
    std::vector<double> heights_;
};

// Whole cells along a side; -1 where their number makes no sense.
int CellsAlong(double side, double cell) {
    if (side == 0) return 0;
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
    try {
        ScanVolume();
    } catch (const std::bad_alloc&) {
        cachedVolume = centerOfMass[0] = centerOfMass[1] = centerOfMass[2] = std::numeric_limits<double>::quiet_NaN();
    }
    return cachedVolume;
}

void CPart::ScanVolume() {
    cachedVolume = 0;
    BBox box;
    if (!ScanBox(box)) return;
    const float dx = box.xmax - box.xmin, dy = box.ymax - box.ymin;
    const float diagonal = static_cast<float>(std::hypot(static_cast<double>(dx), static_cast<double>(dy)));
    const double precision = volumePrecision > kBasePrecision ? 2.0 * volumePrecision : volumePrecision;
    const double cell = (diagonal <= kLargestDiagonal ? diagonal * kCellShare : kLargeCell) / precision;
    const ScanGrid grid{box.xmin, box.ymin, dx, dy, CellsAlong(dx, cell), CellsAlong(dy, cell)};
    double volume = 0, moment[3] = {0, 0, 0};
    const bool held =
        grid.columns >= 0 && grid.rows >= 0 && static_cast<double>(grid.columns) * grid.rows <= kMostInAll;
    if (!held) volume = std::numeric_limits<double>::quiet_NaN();
    if (held && grid.columns > 0 && grid.rows > 0) {
        ColumnScan scan(grid, pointTolerance);
        AddMeshesTo(scan);
        RowHeights heights;
        for (int row = 0; row <= grid.rows; ++row) {
            const double y = grid.Y(row);
            const std::vector<ScanSpan>& spans = scan.SpansOf(row);
            heights.Open(spans);
            for (const ScanSpan& span : spans)
                for (int c = span.low; c < span.high; ++c)
                    heights.Append(c, scan.Height(span.triangle, grid.X(c), y) * cell * cell);
            for (int c = heights.First(); c <= heights.Last(); ++c) {
                const std::span<const double> z = heights.Take(c);
                if (z.size() % 2 != 0) continue;
                for (std::size_t i = 0; i < z.size(); i += 2) {
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
}

double CPart::GetProjectedSurfaceXY() const {
    try {
        return ScanProjected();
    } catch (const std::bad_alloc&) {
        return std::numeric_limits<double>::quiet_NaN();
    }
}

double CPart::ScanProjected() const {
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
