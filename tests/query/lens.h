#pragma once

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <vector>

#include "scene.h"

// A camera for picks, and the picks in the form that tests like.
namespace tessera::test {

inline double Dot3(const Point& a, const Point& b) {
    return double{a[0]} * b[0] + double{a[1]} * b[1] + double{a[2]} * b[2];
}
inline Point Minus(const Point& a, const Point& b) { return {a[0] - b[0], a[1] - b[1], a[2] - b[2]}; }
inline Point Cross(const Point& a, const Point& b) {
    return {a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]};
}
inline double Distance3(const Point& a, const Point& b) { return std::sqrt(Dot3(Minus(a, b), Minus(a, b))); }

struct Lens {
    Point eye, view;
    bool parallel;
    double screen[16] = {};
    float diagonal = 1280;

    // A window of 90 degrees, -1 to 1 each way, or, in parallel, of two units of length.
    Lens(const Point& from, const Point& target, bool inParallel = false)
        : eye(from), view(Minus(target, from)), parallel(inParallel) {
        const auto unit = [](const Point& p) {
            const double size = std::sqrt(Dot3(p, p));
            return Point{static_cast<float>(p[0] / size), static_cast<float>(p[1] / size),
                         static_cast<float>(p[2] / size)};
        };
        const Point f = unit(view), r = unit(Cross(f, std::fabs(f[2]) > 0.9 ? Point{1, 0, 0} : Point{0, 0, 1}));
        const Point u = Cross(r, f), *const columns[4] = {&r, &u, nullptr, parallel ? nullptr : &f};
        screen[15] = parallel ? 1 : 0;
        for (std::size_t i = 0; i < 16; ++i)
            if (const Point* axis = columns[i % 4]) screen[i] = i < 12 ? (*axis)[i / 4] : -Dot3(eye, *axis);
    }
    // The same screen, with the line of sight through a point.
    Lens Towards(const Point& p) const {
        Lens aimed = *this;
        const double depth = Dot3(Minus(p, eye), view) / Dot3(view, view);
        for (std::size_t i = 0; i < 3; ++i)
            (parallel ? aimed.eye : aimed.view)[i] =
                parallel ? static_cast<float>(p[i] - depth * view[i]) : p[i] - eye[i];
        return aimed;
    }
    std::array<float, 2> On(const Point& p) const {
        double s[4];
        for (int c = 0; c < 4; ++c)
            s[c] = p[0] * screen[c] + p[1] * screen[4 + c] + p[2] * screen[8 + c] + screen[12 + c];
        return {static_cast<float>(s[0] / s[3]), static_cast<float>(s[1] / s[3])};
    }
};

struct Answer {
    LONG picked = 9;
    Point point{}, normal{}, start{}, end{}, center{};
    std::vector<Point> arc;
    int node = -9, error = -9;
};

class PickTest : public ::testing::Test {
protected:
    using Method = HRESULT (ITessera::*)(float*, float*, double*, float, float, float, LONG*, float*, int*, int*);

    Answer Pick(Method method, Lens l, float x, float y) {
        Answer a;
        EXPECT_EQ((host->*method)(l.eye.data(), l.view.data(), l.screen, x, y, l.diagonal, &a.picked, a.point.data(),
                                  &a.node, &a.error),
                  STATUS_OK);
        return a;
    }
    Answer PickPoint(Lens l, float x, float y) {
        Answer a;
        host->PickPoint(l.eye.data(), l.screen, x, y, l.diagonal, &a.picked, a.point.data(), &a.node, &a.error);
        return a;
    }
    Answer PickPoint(const Lens& l, const Point& at) { return PickPoint(l, l.On(at)[0], l.On(at)[1]); }
    Answer PickEdge(const Lens& l, const Point& at) {
        return Pick(&ITessera::PickEdge, l.Towards(at), l.On(at)[0], l.On(at)[1]);
    }
    Answer PickSurface(const Lens& from, const Point& at) {
        Answer a;
        a.normal = {7, 7, 7};
        Lens l = from.Towards(at);
        const auto [x, y] = l.On(at);
        host->PickPartInstance2(l.eye.data(), l.view.data(), l.screen, x, y, l.diagonal, &a.picked, a.point.data(),
                                a.normal.data(), &a.node, &a.error);
        return a;
    }
    Answer Ray(Point eye, Point direction) {
        Answer a;
        VARIANT_BOOL picked = 9;
        host->IntersectRay(eye.data(), direction.data(), &picked, a.point.data(), a.normal.data(), &a.node, &a.error);
        a.picked = picked;
        return a;
    }
    Answer PickSegment(const Lens& from, const Point& at) {
        Answer a;
        Lens l = from.Towards(at);
        const auto [x, y] = l.On(at);
        host->PickSegment(l.eye.data(), l.view.data(), l.screen, x, y, l.diagonal, &a.picked, a.point.data(),
                          a.start.data(), a.end.data(), &a.node, &a.error);
        return a;
    }
    Answer PickArc(const Lens& from, const Point& at) {
        Answer a;
        Lens l = from.Towards(at);
        const auto [x, y] = l.On(at);
        float* block = nullptr;
        host->PickArc(l.eye.data(), l.view.data(), l.screen, x, y, l.diagonal, &a.picked, a.point.data(),
                      a.center.data(), &block, &a.node, &a.error);
        for (int i = 0, n = block ? static_cast<int>(std::ceil(block[0])) : 0; i < n; ++i)
            a.arc.push_back({block[1 + 3 * i], block[2 + 3 * i], block[3 + 3 * i]});
        CoTaskMemFree(block);
        return a;
    }

    Scene scene;
    ITessera* const host = scene.operator->();
    int error = 0;
};

inline void ExpectPoint(const Point& p, const Point& q, double tolerance = 1e-5) {
    EXPECT_LT(Distance3(p, q), tolerance)
        << p[0] << " " << p[1] << " " << p[2] << ", not " << q[0] << " " << q[1] << " " << q[2];
}

}  // namespace tessera::test
