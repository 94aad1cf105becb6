// The curves of a section, chained as they are described: two tables of buckets, searched in order.
#include <algorithm>
#include <cmath>
#include <numeric>

#include "folder.h"
#include "geometry/polyline.h"
#include "query/section_loop.h"

namespace tessera::test {
namespace {

using Curve = std::vector<Point>;
using Cut = std::pair<Point, Point>;

std::string Xml(const std::vector<Curve>& curves) {
    std::string text = "<?xml version=\"1.0\" ?>\n<CrossSection>\n";
    for (const Curve& curve : curves) {
        text += "\t<PolyLine>\n";
        for (const Point& p : curve) {
            char line[200];
            std::snprintf(line, sizeof line, "\t\t<P>%.3f,%.3f,%.3f</P>\n", double{p[0]}, double{p[1]}, double{p[2]});
            text += line;
        }
        text += "\t</PolyLine>\n";
    }
    return text + "</CrossSection>\n";
}

// The described chaining: whatever meets a tip is looked for among all cuts.
class Plain {
public:
    Plain(const std::vector<Cut>& cuts, float tolerance, int divisor)
        : tolerance_(tolerance), divisor_(divisor), cuts_(cuts), used_(cuts.size()) {}
    // From a cut on, and then back from its start. before: how many points came in front of it.
    Curve Grow(std::size_t first, bool repeats, int& before) {
        Curve chain = {cuts_[first].first, cuts_[first].second};
        Point next;
        bool closed = false;
        used_[first] = true;
        while (!closed && Step(chain.back(), next)) {
            chain.push_back(next);
            closed = Equal(next, chain.front());
        }
        for (before = 0; !closed && Step(chain.front(), next);)
            if (repeats || !Equal(next, chain.front())) chain.insert(chain.begin(), next), ++before;
        return chain;
    }
    // All of them: the oldest cut first, and then by the buckets of the starts.
    std::vector<Curve> Chains() {
        std::vector<std::size_t> order(cuts_.size());
        std::iota(order.begin(), order.end(), std::size_t{0});
        std::stable_sort(order.begin(), order.end(),
                         [&](std::size_t a, std::size_t b) { return Bucket(cuts_[a].first) < Bucket(cuts_[b].first); });
        order.insert(order.begin(), 0);
        std::vector<Curve> chains;
        int before = 0;
        for (const std::size_t i : order)
            if (!used_[i]) chains.push_back(Grow(i, true, before));
        return chains;
    }

private:
    int Bucket(const Point& p) const {
        return std::abs(static_cast<int>(std::ceil(p[0]) + std::ceil(p[1]) + std::ceil(p[2])) % divisor_);
    }
    bool Equal(const Point& a, const Point& b) const {
        const double t = tolerance_;
        for (std::size_t i = 0; i < 3; ++i)
            if (!(a[i] >= b[i] - t && a[i] <= b[i] + t)) return false;
        return true;
    }
    bool Step(const Point& tip, Point& next) {
        for (const bool byStart : {true, false})
            for (std::size_t i = 0; i < cuts_.size(); ++i) {
                const Point& p = byStart ? cuts_[i].first : cuts_[i].second;
                if (used_[i] || !Equal(p, tip) || Bucket(p) != Bucket(tip)) continue;
                used_[i] = true;
                next = byStart ? cuts_[i].second : cuts_[i].first;
                return true;
            }
        return false;
    }

    float tolerance_;
    int divisor_;
    std::vector<Cut> cuts_;
    std::vector<bool> used_;
};

class SectionChains : public FolderTest {
protected:
    std::string Saved() {
        EXPECT_EQ(scene->SaveCrossSection(Name("s.xml"), &error), STATUS_OK);
        EXPECT_EQ(error, 1);
        return Content("s.xml");
    }
};

TEST_F(SectionChains, ComeOutAsDescribed) {
    EXPECT_EQ(Saved(), Xml({}));
    std::mt19937 random(11);
    for (int round = 0; round < 60; ++round) {
        // Ends on a lattice whose step is now and then within the tolerance, so that several cuts fit.
        const unsigned sites = 3 + random() % 40;
        const float step = round % 3 == 0 ? 0.004F : round % 3 == 1 ? 0.37F : 7.0F;
        std::vector<Cut> cuts;
        const Placed placed = scene.AddEmptyPart();
        for (unsigned i = 0; i < 2 * sites; ++i) {
            const auto site = [&] {
                return Point{step * static_cast<float>(random() % sites) - 3, step * static_cast<float>(random() % 3)};
            };
            const Point a = site(), b = site();
            if (a == b) continue;
            // A triangle that hangs from the plane z = 0, and is cut there from b to a.
            scene.AddMeshTo(placed.part, {a[0], a[1], 0, b[0], b[1], 0, a[0], b[1], -1});
            cuts.emplace_back(b, a);
        }
        scene->SwitchCrossSectionPlane(placed.instance, 1, &error);
        scene.SetSectionPlane(placed.instance, {0, 0, 0}, {0, 0, 1});
        float low[3], high[3];
        scene->GetBoundBox(placed.instance, low, high, &error);
        const double diagonal = std::hypot(high[0] - low[0], high[1] - low[1], high[2] - low[2]);
        const float tolerance = std::min(static_cast<float>(0.002 * diagonal), 0.1F);
        EXPECT_EQ(Saved(), Xml(Plain(cuts, tolerance, 99).Chains())) << round;
        scene->Remove(placed.instance, &error);
    }
}

// The one that a pick asks for: cuts may be put first, and the one put first last is where it begins.
TEST_F(SectionChains, GrowFromTheCutThatWasPicked) {
    const float near[] = {-0.5F, 0, 7e-10F, 0.5F, 1};
    for (unsigned seed = 0; seed < 300; ++seed) {
        std::mt19937 random(seed);
        std::vector<Cut> cuts;
        SectionTables tables(kLoopDivisor);
        SectionCut first;
        for (int i = 0; i < 40; ++i) {
            float v[4];
            for (float& each : v) each = near[random() % 5];
            const SectionCut cut{{v[0], v[1], 0}, {v[2], v[3], 0}};
            cuts.insert(i % 9 == 0 ? cuts.begin() : cuts.end(), Cut{{v[0], v[1], 0}, {v[2], v[3], 0}});
            if (i % 9 == 0)
                tables.PutFirst(first = cut);
            else
                tables.Append(cut);
        }
        tables.Index();
        CPolyLine curve;
        int segment = 0, before = 0;
        TraceLoop(tables, first, curve, segment);
        std::vector<Curve> traced(1);
        for (const auto& p : curve.Points()) traced[0].push_back({p.position.x, p.position.y, p.position.z});
        EXPECT_EQ(Xml(traced), Xml({Plain(cuts, gPointTolerance, 59).Grow(0, false, before)})) << seed;
        EXPECT_EQ(segment, before) << seed;
    }
}

TEST_F(SectionChains, AreWrittenOncePerInstanceInThePartsFrame) {
    const int frame = scene.AddAssembly();
    const Placed cube = scene.AddMesh(Cube(), frame);
    const int again = scene.AddInstance(cube.part, frame);
    scene.Translate(again, 100, 0, 0);
    scene->SwitchCrossSectionPlane(frame, 1, &error);
    scene.SetSectionPlane(frame, {0, 0, 0.3F}, {0, 0, 1});
    scene->EnableDrawing(again, 0, &error);  // the instance alone still comes out
    const float before = gPointTolerance;
    // With the diagonals of the faces, which the plane cuts too.
    const float z = 0.3F;
    const Curve square = {{1, -1, z}, {z, -1, z}, {-1, -1, z}, {-1, z, z}, {-1, 1, z},
                          {z, 1, z},  {1, 1, z},  {1, z, z},   {1, -1, z}};
    EXPECT_EQ(Saved(), Xml({square, square}));
    EXPECT_EQ(gPointTolerance, before);
    scene->EnableDrawing(frame, 0, &error);
    EXPECT_EQ(Saved(), Xml({}));
    scene->SaveCrossSection(Name("none/x.xml"), &error);
    EXPECT_EQ(error, 1);
}

}  // namespace
}  // namespace tessera::test
