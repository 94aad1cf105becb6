// Meshes scanned row by row over the xy plane.
#pragma once

#include <cstdint>
#include <vector>

#include "component/bbox.h"

namespace tessera {

// Cells over a box in x and y. Cells are taken from a tenth of a cell before their start.
struct ScanGrid {
    double xmin = 0, ymin = 0, dx = 0, dy = 0;
    int columns = 0, rows = 0;

    // The middle of a cell.
    double X(int column) const { return (column + 0.5) * dx / columns + xmin; }
    double Y(int row) const { return (row + 0.5) * dy / rows + ymin; }
    // Cut to the grid and one beyond it on either side.
    int ColumnOf(double x) const { return Cell((x - xmin) * columns / dx, columns); }
    int RowOf(double y) const { return Cell((y - ymin) * rows / dy, rows); }

private:
    static int Cell(double scaled, int count);
};

// A stretch of columns that one triangle covers in a row: from low up to high, without high.
struct ScanSpan {
    std::uint32_t triangle;
    int low, high;
};

// Gives the triangles over each row. Those that stand upright are left out.
class ColumnScan {
public:
    // tolerance: of points that count as equal along x or y.
    ColumnScan(const ScanGrid& grid, double tolerance) : grid_(grid), tolerance_(tolerance) {}

    void Add(const Vec3 corner[3]);
    // After the last Add. Rows are asked for in ascending order.
    void Sort();
    const std::vector<ScanSpan>& SpansOf(int row);
    // Height of a triangle's plane.
    double Height(std::uint32_t triangle, double x, double y) const;

private:
    struct Edge {
        bool vertical;
        double x;                 // of a vertical edge
        double slope, intercept;  // of another
        double from, to;          // y at its ends
    };
    struct Triangle {
        double a, b, c, e;  // of the plane
        double low, high;   // y
        Edge edge[3];
        int row[3], column[3];  // of the top, the middle and the bottom corner
    };

    bool SpanOf(const Triangle& t, double y, int row, int& low, int& high) const;

    ScanGrid grid_;
    double tolerance_;
    std::vector<Triangle> triangles_;
    std::vector<std::uint32_t> byRow_;  // by the first row that may be met
    std::vector<int> firstRow_;
    std::size_t next_ = 0;
    std::vector<std::uint32_t> active_;
    std::vector<ScanSpan> spans_;
};

}  // namespace tessera
