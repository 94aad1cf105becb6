// U3D files, read back by a decoder that shares nothing with their writer.
#include <algorithm>
#include <cmath>
#include <map>
#include <set>

#include "folder.h"
#include "u3d_decoder.h"

namespace tessera::test {
namespace {

using Mesh = U3dContent::Mesh;

class U3d : public FolderTest {
protected:
    U3dContent Export(bool compressed = false, std::vector<U3dView> views = {}) {
        const VARIANT_BOOL on = compressed ? VARIANT_TRUE : static_cast<VARIANT_BOOL>(1);  // 1 is not true here
        EXPECT_EQ(scene->ExportU3D(Name("x.u3d"), reinterpret_cast<float*>(views.data()),
                                   static_cast<ULONG>(views.size()), on),
                  STATUS_OK);
        const std::string content = Content("x.u3d");
        size_ = content.size();
        return DecodeU3d({content.begin(), content.end()});
    }
    // The triangles of a soup and of a mesh as triples of positions, each on a lattice of its own step. Every face
    // must be there once; its corners' normals must be near those of the shape, where it has one formula for all.
    static void ExpectSameFaces(const Soup& soup, const Mesh& mesh, float tolerance, bool oriented = true) {
        ASSERT_EQ(mesh.faces.size(), soup.size() / 9);
        std::vector<std::array<float, 3>> known;
        using Cell = std::array<std::int64_t, 3>;
        std::map<Cell, std::vector<std::size_t>> cells;
        const float step = std::max(4 * tolerance, 1e-5F);
        const auto find = [&](const float* p, bool add) -> std::size_t {
            Cell cell{};
            for (std::size_t k = 0; k < 3; ++k) cell[k] = static_cast<std::int64_t>(std::floor(p[k] / step));
            for (int i = 0; i < 27; ++i) {
                const auto near = cells.find(Cell{cell[0] + i % 3 - 1, cell[1] + i / 3 % 3 - 1, cell[2] + i / 9 - 1});
                if (near == cells.end()) continue;
                for (const std::size_t j : near->second) {
                    float d = 0;
                    for (std::size_t k = 0; k < 3; ++k) d = std::max(d, std::abs(known[j][k] - p[k]));
                    if (d <= tolerance) return j;
                }
            }
            if (add) {
                known.push_back({p[0], p[1], p[2]});
                cells[cell].push_back(known.size() - 1);
            }
            return add ? known.size() - 1 : SIZE_MAX;
        };
        std::multiset<std::array<std::size_t, 3>> wanted, got;
        const auto canonical = [&](std::array<std::size_t, 3> f) {
            if (!oriented) std::sort(f.begin(), f.end());
            std::rotate(f.begin(), std::min_element(f.begin(), f.end()), f.end());
            return f;
        };
        for (std::size_t i = 0; i < soup.size(); i += 9)
            wanted.insert(canonical({find(&soup[i], true), find(&soup[i + 3], true), find(&soup[i + 6], true)}));
        for (const U3dContent::Face& face : mesh.faces) {
            std::array<std::size_t, 3> f{};
            for (std::size_t k = 0; k < 3; ++k) f[k] = find(mesh.positions.at(face.positions[k]).data(), false);
            got.insert(canonical(f));
        }
        EXPECT_TRUE(wanted == got);
    }

    std::size_t size_ = 0;
};

TEST_F(U3d, HoldsInstancesMaterialsAndViews) {
    EXPECT_TRUE(Export().meshes.empty());
    const int frame = scene.AddAssembly();
    const Placed part = scene.AddEmptyPart(frame);
    scene->SetPartName(part.part, Text(u"gr\u00fcn"), &error);
    scene.AddCurveTo(part.part, {{0, 0, 0}, {1, 1, 1}});
    scene->BeginTriMesh(part.part, &error);
    scene->EndTriMesh(part.part, &error);
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
    const auto meshNamed = [&](const std::string& name) {
        return *std::find_if(file.meshes.begin(), file.meshes.end(), [&](const Mesh& m) { return m.name == name; });
    };
    std::set<std::string> resources;
    for (const U3dContent::Node& node : file.nodes) {
        resources.insert(node.resource);
        EXPECT_EQ(node.parent, "");
        EXPECT_EQ(node.visibility, 3U);
        EXPECT_EQ(node.name.rfind(node.resource + "_", 0), 0U);
    }
    EXPECT_EQ(resources.size(), 3U) << "each instance has a mesh of its own";
    EXPECT_EQ(file.nodes[0].resource.rfind("gr\xc3\xbcn_", 0), 0U);
    EXPECT_EQ(file.nodes[1].matrix, (U3dContent::Matrix{1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 1, 2, 10, 1}));
    const Mesh mesh = meshNamed(file.nodes[0].resource);
    Soup both = Cube().soup;
    const Soup second = Cube(1, {5, 0, 0}).soup;
    both.insert(both.end(), second.begin(), second.end());
    ExpectSameFaces(both, mesh, 0);
    EXPECT_EQ(mesh.colors.size(), 3U) << "the curve has one too";
    EXPECT_EQ(mesh.normals.size(), 72U);
    for (const U3dContent::Face& face : mesh.faces)
        for (std::size_t k = 0; k < 3; ++k) {
            EXPECT_EQ(face.colors[k], 0U);
            const auto& p = mesh.positions[face.positions[k]];
            const auto& n = mesh.normals[face.normals[k]];
            const float middle = p[0] > 2 ? 5.0F : 0;
            EXPECT_GT(n[0] * (p[0] - middle) + n[1] * p[1] + n[2] * p[2], 0.4F);
        }
    ASSERT_EQ(mesh.shaders.size(), 1U);
    EXPECT_EQ(mesh.shaders[0], mesh.name + "_shader");
    EXPECT_EQ(file.shaders[0].material, mesh.name + "_material");
    EXPECT_EQ(file.shaders[0].attributes, 5U) << "lit, in the colours of the faces";
    EXPECT_EQ(file.materials[0].attributes, 0x27U);
    EXPECT_EQ(file.materials[0].opacity, 0.5F);
    EXPECT_EQ(file.materials[2].opacity, 1);

    ASSERT_EQ(file.views.size(), 2U);
    EXPECT_EQ(file.views[0].matrix, (U3dContent::Matrix{1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 10, 1}));
    EXPECT_TRUE(file.views[0].perspective);
    EXPECT_FALSE(file.views[1].perspective);
    EXPECT_NEAR(file.views[1].matrix[6], std::sqrt(0.5), 1e-6) << "up is as long as what is across the sight";
    EXPECT_EQ(file.views[1].resource, "VR_side");
    EXPECT_EQ(file.viewResources[1].root, "");

    // What no reader could place or paint is left out or painted black.
    scene->SetExternalColor(part.instance, std::nanf(""), 0.5F, 0.5F, &error);
    double far[16] = {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 1e39, 0, 0, 1};
    scene->SetTransform(again, far, &error);
    const U3dView blind = {{1, 1, 1}, {1, 1, 1}, {0, 1, 0}, -1, u"blind"};
    const U3dContent odd = Export(false, {blind});
    EXPECT_TRUE(odd.views.empty());
    EXPECT_EQ(odd.nodes.size(), 2U);
    EXPECT_EQ(odd.meshes.size(), 2U);

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
        const U3dContent exact = Export(), small = Export(true);
        const std::size_t smallSize = size_;
        Export();
        ASSERT_EQ(exact.meshes.size(), 1U);
        ASSERT_EQ(small.meshes.size(), 1U);
        const Mesh& mesh = small.meshes[0];
        EXPECT_EQ(exact.meshes[0].minimum, exact.meshes[0].maximum);
        EXPECT_EQ(mesh.minimum, 0U);
        // What has no two sides is turned by the engine as it goes.
        ExpectSameFaces(m.soup, exact.meshes[0], 0, m.manifold);
        ExpectSameFaces(m.soup, mesh, mesh.positionQuant, m.manifold);
        if (m.triangles > 200) {
            EXPECT_LT(2 * smallSize, size_);
        }
        scene->Remove(placed.instance, &error);
    }
}

}  // namespace
}  // namespace tessera::test
