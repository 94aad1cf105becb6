#include "query/column_scan.h"

#include <algorithm>
#include <cmath>
#include <numeric>

namespace tessera {
namespace {

constexpr double kCellStart = 0.9;
// A normal this flat or flatter belongs to an upright triangle.
constexpr double kUpright = 0.00001;

}  // namespace

int ScanGrid::Cell(double scaled, int count) {
    const double cell = std::ceil(scaled - kCellStart);
    if (!(cell > -1)) return -1;
    return cell > count ? count + 1 : static_cast<int>(cell);
}

void ColumnScan::Add(const Vec3 corner[3]) {
    const Vec3 n = FacetNormal(corner[0], corner[1], corner[2]);
    const double lean = std::fabs(static_cast<double>(n.z));
    if (lean <= tolerance_ || lean <= kUpright) return;
    Triangle t;
    t.a = n.x, t.b = n.y, t.c = n.z;
    t.e = -Dot(n, corner[0]);
    int order[3] = {0, 1, 2};  // from the top
    std::stable_sort(order, order + 3, [&](int p, int q) { return corner[p].y > corner[q].y; });
    t.high = corner[order[0]].y;
    t.low = corner[order[2]].y;
    for (int i = 0; i < 3; ++i) {
        t.row[i] = grid_.RowOf(corner[order[i]].y);
        t.column[i] = grid_.ColumnOf(corner[order[i]].x);
    }
    for (int k = 0; k < 3; ++k) {
        const Vec3 &p = corner[k], &q = corner[(k + 1) % 3];
        const double dx = static_cast<double>(q.x) - p.x, dy = static_cast<double>(q.y) - p.y;
        Edge& edge = t.edge[k];
        edge = {std::fabs(dx) <= tolerance_, p.x, 0, p.y, p.y, q.y};
        if (edge.vertical || std::fabs(dy) <= tolerance_) continue;
        edge.slope = dy / dx;
        edge.intercept = p.y - p.x * edge.slope;
    }
    triangles_.push_back(t);
}

void ColumnScan::Sort() {
    firstRow_.reserve(triangles_.size());
    for (const Triangle& t : triangles_) {
        const double row = std::floor((t.low - grid_.ymin) * grid_.rows / grid_.dy) - 1;
        firstRow_.push_back(row > 0 ? static_cast<int>(std::min(row, grid_.rows + 1.0)) : 0);
    }
    byRow_.resize(triangles_.size());
    std::iota(byRow_.begin(), byRow_.end(), 0u);
    std::stable_sort(byRow_.begin(), byRow_.end(),
                     [&](std::uint32_t p, std::uint32_t q) { return firstRow_[p] < firstRow_[q]; });
}

const std::vector<ScanSpan>& ColumnScan::SpansOf(int row) {
    const double y = grid_.Y(row);
    while (next_ < byRow_.size() && firstRow_[byRow_[next_]] <= row) active_.push_back(byRow_[next_++]);
    spans_.clear();
    std::size_t kept = 0;
    for (const std::uint32_t i : active_) {
        const Triangle& t = triangles_[i];
        if (t.high < y) continue;
        active_[kept++] = i;
        int low, high;
        if (y >= t.low && SpanOf(t, y, row, low, high)) spans_.push_back({i, low, high});
    }
    active_.resize(kept);
    return spans_;
}

// In a row that two corners share the stretch runs between these; else between the two edges that the row crosses.
bool ColumnScan::SpanOf(const Triangle& t, double y, int row, int& low, int& high) const {
    if (row == t.row[1] && row == t.row[2]) {
        low = t.column[1], high = t.column[2];
    } else if (row == t.row[0] && row == t.row[1]) {
        low = t.column[0], high = t.column[1];
    } else {
        int found = 0, column[2] = {0, 0};
        for (const Edge& edge : t.edge) {
            if (found == 2) break;
            if (!((edge.from > y && y >= edge.to) || (edge.from <= y && y < edge.to))) continue;
            column[found++] = grid_.ColumnOf(edge.vertical ? edge.x : (y - edge.intercept) / edge.slope);
        }
        if (found < 2) return false;
        low = column[0], high = column[1];
    }
    if (low > high) std::swap(low, high);
    low = std::max(low, 0);
    high = std::min(high, grid_.columns + 1);
    return low < high;
}

double ColumnScan::Height(std::uint32_t triangle, double x, double y) const {
    const Triangle& t = triangles_[triangle];
    return -(t.a * x + t.b * y + t.e) / t.c;
}

}  // namespace tessera
