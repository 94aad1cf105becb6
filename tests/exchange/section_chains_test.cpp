// The curves of a section, chained as they are described: two tables of buckets, searched in order.
#include <cmath>
#include <cstring>

#include "folder.h"

namespace tessera::test {
namespace {

using Curve = std::vector<Point>;

// A triangle that hangs from a stretch of the plane z = 0, and is cut there from b to a.
Soup Hung(const Point& a, const Point& b) { return {a[0], a[1], 0, b[0], b[1], 0, a[0], b[1], -1}; }

class SectionChains : public FolderTest {
protected:
    std::vector<Curve> Saved() {
        EXPECT_EQ(scene->SaveCrossSection(Name("s.xml"), &error), STATUS_OK);
        EXPECT_EQ(error, 1);
        std::string text = Content("s.xml");
        const std::string head = "<?xml version=\"1.0\" ?>\n<CrossSection>\n", tail = "</CrossSection>\n";
        EXPECT_EQ(text.substr(0, head.size()), head);
        EXPECT_EQ(text.substr(text.size() - tail.size()), tail);
        std::vector<Curve> curves;
        std::size_t at = head.size();
        const auto take = [&](const char* literal) {
            const bool there = text.compare(at, std::strlen(literal), literal) == 0;
            if (there) at += std::strlen(literal);
            return there;
        };
        while (take("\t<PolyLine>\n")) {
            curves.emplace_back();
            while (take("\t\t<P>")) {
                Point p;
                int read = 0;
                std::sscanf(text.c_str() + at, "%f,%f,%f%n", &p[0], &p[1], &p[2], &read);
                at += static_cast<std::size_t>(read);
                EXPECT_TRUE(take("</P>\n"));
                curves.back().push_back(p);
            }
            EXPECT_TRUE(take("\t</PolyLine>\n"));
        }
        EXPECT_EQ(at, text.size() - tail.size());
        return curves;
    }
};

// The described chaining, table by table.
class Plain {
public:
    Plain(const std::vector<std::pair<Point, Point>>& cuts, float tolerance) : tolerance_(tolerance) {
        for (const auto& [a, b] : cuts) records_.push_back({a, b, false});
        for (std::size_t i = 0; i < cuts.size(); ++i) {
            starts_[Bucket(cuts[i].first)].push_back(i);
            ends_[Bucket(cuts[i].second)].push_back(i);
        }
    }
    std::vector<Curve> Chains() {
        std::vector<Curve> chains;
        std::size_t first = 0;
        for (bool found = !records_.empty(); found;) {
            records_[first].used = true;
            Curve chain = {records_[first].start, records_[first].end};
            const Point head = chain.front();
            bool closed = false;
            while (!closed && Step(chain.back())) {
                chain.push_back(next_);
                closed = Equal(next_, head);
            }
            while (!closed && Step(chain.front())) chain.insert(chain.begin(), next_);
            chains.push_back(chain);
            found = false;
            for (const auto& bucket : starts_)
                for (const std::size_t i : bucket)
                    if (!found && !records_[i].used) found = true, first = i;
        }
        return chains;
    }

private:
    struct Record {
        Point start, end;
        bool used;
    };
    static std::size_t Bucket(const Point& p) {
        const int sum =
            static_cast<int>(std::ceil(p[0])) + static_cast<int>(std::ceil(p[1])) + static_cast<int>(std::ceil(p[2]));
        return static_cast<std::size_t>(std::abs(sum % 99));
    }
    bool Equal(const Point& a, const Point& b) const {
        const double t = tolerance_;
        for (std::size_t i = 0; i < 3; ++i)
            if (!(a[i] >= b[i] - t && a[i] <= b[i] + t)) return false;
        return true;
    }
    bool Step(const Point& tip) {
        const Point at = tip;
        for (const std::size_t i : starts_[Bucket(at)])
            if (Take(i, records_[i].start, records_[i].end, at)) return true;
        for (const std::size_t i : ends_[Bucket(at)])
            if (Take(i, records_[i].end, records_[i].start, at)) return true;
        return false;
    }
    bool Take(std::size_t i, const Point& here, const Point& there, const Point& tip) {
        if (records_[i].used || !Equal(here, tip)) return false;
        records_[i].used = true;
        next_ = there;
        return true;
    }

    float tolerance_;
    std::vector<Record> records_;
    std::vector<std::size_t> starts_[100], ends_[100];
    Point next_{};
};

TEST_F(SectionChains, ComeOutAsDescribed) {
    EXPECT_TRUE(Saved().empty());
    std::mt19937 random(11);
    for (int round = 0; round < 60; ++round) {
        // Ends on a lattice whose step is now and then within the tolerance, so that several cuts fit.
        const int sites = 3 + static_cast<int>(random() % 40);
        const float step = round % 3 == 0 ? 0.004F : round % 3 == 1 ? 0.37F : 7.0F;
        std::vector<std::pair<Point, Point>> cuts;
        const Placed placed = scene.AddEmptyPart();
        for (int i = 0; i < 2 * sites; ++i) {
            const auto site = [&] {
                return Point{step * static_cast<float>(random() % static_cast<unsigned>(sites)) - 3,
                             step * static_cast<float>(random() % 3), 0};
            };
            const Point a = site(), b = site();
            if (a == b) continue;
            cuts.emplace_back(b, a);
            scene.AddMeshTo(placed.part, Hung(a, b));
        }
        scene->SwitchCrossSectionPlane(placed.instance, 1, &error);
        scene.SetSectionPlane(placed.instance, {0, 0, 0}, {0, 0, 1});
        float low[3], high[3];
        scene->GetBoundBox(placed.instance, low, high, &error);
        const double diagonal = std::hypot(high[0] - low[0], high[1] - low[1], high[2] - low[2]);
        const float tolerance = 0.002 * diagonal <= 0.1F ? static_cast<float>(0.002 * diagonal) : 0.1F;
        std::vector<Curve> expected = Plain(cuts, tolerance).Chains(), saved = Saved();
        const auto rounded = [](std::vector<Curve>& curves) {
            for (Curve& c : curves)
                for (Point& p : c)
                    for (float& x : p) x = std::round(x * 1000);
        };
        rounded(expected);
        rounded(saved);
        EXPECT_EQ(saved, expected) << round;
        scene->Remove(placed.instance, &error);
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
    const std::vector<Curve> curves = Saved();
    EXPECT_EQ(gPointTolerance, before);
    ASSERT_EQ(curves.size(), 2U);
    EXPECT_EQ(curves[0], curves[1]);
    EXPECT_EQ(curves[0].size(), 9U);
    EXPECT_EQ(curves[0].front(), curves[0].back());
    for (const Point& p : curves[0]) EXPECT_FLOAT_EQ(std::max(std::abs(p[0]), std::abs(p[1])), 1);
    scene->EnableDrawing(frame, 0, &error);
    EXPECT_TRUE(Saved().empty());
    scene->SaveCrossSection(Name("none/x.xml"), &error);
    EXPECT_EQ(error, 1);
}

}  // namespace
}  // namespace tessera::test
