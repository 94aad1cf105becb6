// U3D files, read back by a decoder that shares nothing with their writer.
#include <algorithm>
#include <cmath>
#include <map>
#include <set>

#include "folder.h"
#include "u3d_file.h"

namespace tessera::test {
namespace {

using host::DecodeU3d;
using host::U3dContent;
using Mesh = U3dContent::Mesh;

class U3d : public FolderTest {
protected:
    U3dContent Export(bool compressed = false, std::vector<U3dView> views = {}) {
        const VARIANT_BOOL on = compressed ? VARIANT_TRUE : static_cast<VARIANT_BOOL>(1);  // 1 is not true here
        const ULONG count = static_cast<ULONG>(views.size());
        EXPECT_EQ(scene->ExportU3D(Name("x.u3d"), reinterpret_cast<float*>(views.data()), count, on), STATUS_OK);
        const std::string content = Content("x.u3d");
        return DecodeU3d({content.begin(), content.end()});
    }
    // Every face of the soup must be there once, as a triple of positions that a tolerance tells apart.
    static void ExpectSameFaces(const Soup& soup, const Mesh& mesh, double tolerance, bool oriented = true) {
        // By their place along an askew axis, where few are near each other.
        std::multimap<double, std::pair<const float*, int>> known;
        const auto find = [&](const float* p, bool add) {
            const double at = p[0] + 0.618 * p[1] + 0.377 * p[2];
            for (auto i = known.lower_bound(at - 2 * tolerance); i != known.end() && i->first <= at + 2 * tolerance;
                 ++i) {
                const auto& [q, id] = i->second;
                if (std::max({std::abs(q[0] - p[0]), std::abs(q[1] - p[1]), std::abs(q[2] - p[2])}) <= tolerance)
                    return id;
            }
            return add ? known.insert({at, {p, static_cast<int>(known.size())}})->second.second : -1;
        };
        std::multiset<std::array<int, 3>> wanted, got;
        const auto canonical = [&](std::array<int, 3> f) {
            if (!oriented) std::sort(f.begin(), f.end());
            std::rotate(f.begin(), std::min_element(f.begin(), f.end()), f.end());
            return f;
        };
        for (std::size_t i = 0; i < soup.size(); i += 9)
            wanted.insert(canonical({find(&soup[i], true), find(&soup[i + 3], true), find(&soup[i + 6], true)}));
        for (const U3dContent::Face& face : mesh.faces) {
            std::array<int, 3> f{};
            for (std::size_t k = 0; k < 3; ++k) f[k] = find(mesh.positions.at(face.positions[k]).data(), false);
            got.insert(canonical(f));
        }
        EXPECT_TRUE(wanted == got);
    }
};

TEST_F(U3d, HoldsInstancesMaterialsAndViews) {
    EXPECT_TRUE(Export().meshes.empty());
    const int frame = scene.AddAssembly();
    const Placed part = scene.AddEmptyPart(frame);
    scene->SetPartName(part.part, Text(u"gr\u00fcn"), &error);
    scene.AddCurveTo(part.part, {{0, 0, 0}, {1, 1, 1}});
    scene.AddMeshTo(part.part, {});
    scene.AddMeshTo(part.part, Cube().soup);
    scene.AddMeshTo(part.part, Cube(1, {5, 0, 0}).soup);
    scene.SetTransparency(part.instance, 0.5F);
    const int again = scene.AddInstance(part.part, frame), hidden = scene.AddInstance(part.part, frame);
    scene->EnableDrawing(hidden, 0, &error);
    scene.AddMesh(SingleTriangle());
    scene.Translate(frame, 0, 0, 7);
    scene.Translate(again, 1, 2, 3);
    const U3dView views[] = {{{0, 0, 10}, {0, 0, 0}, {0, 2, 0}, -1, u"front"},
                             {{10, 0, 0}, {0, 0, 0}, {1, 0, 1}, 65536, u"side"}};
    const U3dContent file = Export(false, {std::begin(views), std::end(views)});

    ASSERT_EQ(file.meshes.size(), 3U);
    ASSERT_EQ(file.nodes.size(), 3U);
    std::map<std::string, Mesh> meshes;
    for (const Mesh& mesh : file.meshes) meshes[mesh.name] = mesh;
    std::set<std::string> resources;
    for (const U3dContent::Node& node : file.nodes) {
        resources.insert(node.resource);
        EXPECT_TRUE(node.parent.empty() && node.visibility == 3 && node.name.starts_with(node.resource + "_"));
    }
    EXPECT_EQ(resources.size(), 3U) << "each instance has a mesh of its own";
    EXPECT_TRUE(file.nodes[0].resource.starts_with("gr\xc3\xbcn_"));
    EXPECT_EQ(file.nodes[1].matrix, (U3dContent::Matrix{1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 1, 2, 10, 1}));
    const Mesh& mesh = meshes.at(file.nodes[0].resource);
    Soup both = Cube().soup;
    for (const float each : Cube(1, {5, 0, 0}).soup) both.push_back(each);
    ExpectSameFaces(both, mesh, 0);
    EXPECT_EQ(mesh.colors.size(), 3U) << "the curve has one too";
    EXPECT_EQ(mesh.normals.size(), 72U);
    for (const U3dContent::Face& face : mesh.faces)
        for (std::size_t k = 0; k < 3; ++k) {
            const auto &p = mesh.positions[face.positions[k]], &n = mesh.normals[face.normals[k]];
            const float outwards = n[0] * (p[0] - (p[0] > 2 ? 5.0F : 0)) + n[1] * p[1] + n[2] * p[2];
            EXPECT_TRUE(face.colors[k] == 0 && outwards > 0.4F);
        }
    EXPECT_EQ(mesh.shaders, (std::vector<std::string>{mesh.name + "_shader"}));
    EXPECT_EQ(file.shaders[0].material, mesh.name + "_material");
    EXPECT_EQ(file.shaders[0].attributes, 5U) << "lit, in the colours of the faces";
    EXPECT_EQ(file.materials[0].attributes, 0x27U);
    EXPECT_TRUE(file.materials[0].opacity == 0.5F && file.materials[2].opacity == 1);

    ASSERT_EQ(file.views.size(), 2U);
    EXPECT_EQ(file.views[0].matrix, (U3dContent::Matrix{1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 10, 1}));
    EXPECT_TRUE(file.views[0].perspective && !file.views[1].perspective);
    EXPECT_NEAR(file.views[1].matrix[6], std::sqrt(0.5), 1e-6) << "up is as long as what is across the sight";
    EXPECT_EQ(file.views[1].resource + file.viewResources[1].root, "VR_side");

    // What no reader could place or paint is left out or painted black.
    scene->SetExternalColor(part.instance, std::nanf(""), 0.5F, 0.5F, &error);
    double far[16] = {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 1e39, 0, 0, 1};
    scene->SetTransform(again, far, &error);
    const U3dContent odd = Export(false, {{{1, 1, 1}, {1, 1, 1}, {0, 1, 0}, -1, u"blind"}});
    EXPECT_TRUE(odd.views.empty() && odd.nodes.size() == 2 && odd.meshes.size() == 2);

    const std::string before = Content("x.u3d");
    U3dView twice[] = {views[0], views[0]};
    EXPECT_THROW(scene->ExportU3D(Name("x.u3d"), reinterpret_cast<float*>(twice), 2, 0), IFXException);
    EXPECT_EQ(scene->ExportU3D(Name("none/x.u3d"), nullptr, 3, 0), STATUS_OK);
    EXPECT_EQ(Content("x.u3d"), before);
    EXPECT_EQ(FilesLeft(), 1U);
}

// The format changes its coding where an array has 16,383 entries.
TEST_F(U3d, IsExactUnlessCompressed) {
    std::vector<TestMesh> meshes = MeshSuite();
    meshes.push_back(Sheet(1, 8190));   // 16,382 positions
    meshes.push_back(Sheet(128, 126));  // 16,383
    meshes.push_back(Cylinder(2730));   // 5,460 and 10,920 faces by two: normals across the border
    meshes.push_back(Sphere(200, 100));
    for (const TestMesh& m : meshes) {
        SCOPED_TRACE(m.name);
        const Placed placed = scene.AddMesh(m);
        const U3dContent small = Export(true);
        const std::size_t smallSize = Content("x.u3d").size();
        const U3dContent exact = Export();
        ASSERT_TRUE(exact.meshes.size() == 1 && small.meshes.size() == 1);
        const Mesh &whole = exact.meshes[0], &mesh = small.meshes[0];
        EXPECT_TRUE(whole.minimum == whole.maximum && mesh.minimum == 0);
        // What has no two sides is turned by the engine as it goes.
        ExpectSameFaces(m.soup, whole, 0, m.manifold);
        ExpectSameFaces(m.soup, mesh, mesh.positionQuant, m.manifold);
        EXPECT_TRUE(m.triangles <= 200 || 2 * smallSize < Content("x.u3d").size());
        scene->Remove(placed.instance, &error);
    }
}

}  // namespace
}  // namespace tessera::test
