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
inline double Distance3(const Point& a, const Point& b) { return std::sqrt(Dot3(Minus(a, b), Minus(a, b))); }

struct Lens {
    Point eye, view;
    double screen[16] = {};
    float diagonal = 1280;

    // A window of 90 degrees, -1 to 1 each way, or, in parallel, of two units of length.
    Lens(const Point& from, const Point& target, bool parallel = false) : eye(from), view(Minus(target, from)) {
        const double length = std::sqrt(Dot3(view, view));
        double f[3], r[3], u[3];
        for (int i = 0; i < 3; ++i) f[i] = view[i] / length;
        const double away[3] = {std::fabs(f[2]) > 0.9 ? 1.0 : 0.0, 0.0, std::fabs(f[2]) > 0.9 ? 0.0 : 1.0};
        for (int i = 0; i < 3; ++i) r[i] = f[(i + 1) % 3] * away[(i + 2) % 3] - f[(i + 2) % 3] * away[(i + 1) % 3];
        const double size = std::hypot(r[0], r[1], r[2]);
        for (double& x : r) x /= size;
        for (int i = 0; i < 3; ++i) u[i] = r[(i + 1) % 3] * f[(i + 2) % 3] - r[(i + 2) % 3] * f[(i + 1) % 3];
        for (int i = 0; i < 3; ++i) {
            screen[4 * i] = r[i];
            screen[4 * i + 1] = u[i];
            screen[4 * i + 3] = parallel ? 0 : f[i];
            screen[12] -= eye[i] * r[i];
            screen[13] -= eye[i] * u[i];
            screen[15] -= parallel ? 0 : eye[i] * f[i];
        }
        if (parallel) screen[15] = 1;
    }
    // The same screen, with the line of sight through a point.
    Lens Towards(const Point& p) const {
        Lens aimed = *this;
        const double depth = Dot3(Minus(p, eye), view) / Dot3(view, view);
        for (std::size_t i = 0; i < 3; ++i) {
            if (screen[15] == 1 && screen[3] == 0 && screen[7] == 0 && screen[11] == 0)
                aimed.eye[i] = static_cast<float>(p[i] - depth * view[i]);
            else
                aimed.view[i] = p[i] - eye[i];
        }
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

    Answer Pick(Method method, Lens lens, float x, float y) {
        Answer a;
        EXPECT_EQ((host->*method)(lens.eye.data(), lens.view.data(), lens.screen, x, y, lens.diagonal, &a.picked,
                                  a.point.data(), &a.node, &a.error),
                  STATUS_OK);
        return a;
    }
    Answer PickPoint(Lens lens, float x, float y) {
        Answer a;
        host->PickPoint(lens.eye.data(), lens.screen, x, y, lens.diagonal, &a.picked, a.point.data(), &a.node,
                        &a.error);
        return a;
    }
    Answer PickPoint(const Lens& lens, const Point& at) { return PickPoint(lens, lens.On(at)[0], lens.On(at)[1]); }
    Answer PickEdge(const Lens& lens, const Point& at) {
        return Pick(&ITessera::PickEdge, lens.Towards(at), lens.On(at)[0], lens.On(at)[1]);
    }
    Answer PickSurface(const Lens& lens, const Point& at) {
        Answer a;
        a.normal = {7, 7, 7};
        Lens aimed = lens.Towards(at);
        host->PickPartInstance2(aimed.eye.data(), aimed.view.data(), aimed.screen, lens.On(at)[0], lens.On(at)[1],
                                lens.diagonal, &a.picked, a.point.data(), a.normal.data(), &a.node, &a.error);
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
        Lens lens = from.Towards(at);
        Answer a;
        host->PickSegment(lens.eye.data(), lens.view.data(), lens.screen, lens.On(at)[0], lens.On(at)[1], lens.diagonal,
                          &a.picked, a.point.data(), a.start.data(), a.end.data(), &a.node, &a.error);
        return a;
    }
    Answer PickArc(const Lens& from, const Point& at) {
        Lens lens = from.Towards(at);
        Answer a;
        float* block = nullptr;
        host->PickArc(lens.eye.data(), lens.view.data(), lens.screen, lens.On(at)[0], lens.On(at)[1], lens.diagonal,
                      &a.picked, a.point.data(), a.center.data(), &block, &a.node, &a.error);
        if (!block) return a;
        for (int i = 0, n = static_cast<int>(std::ceil(block[0])); i < n; ++i)
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
