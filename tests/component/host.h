#pragma once

#include <gtest/gtest.h>

#include <array>
#include <string>
#include <vector>

#include "scene.h"

// What the tests of the tree share: a scene, and short ways to ask it.
namespace tessera::test {

// A string argument.
class Text {
public:
    Text(const std::u16string& text) : text_(SysAllocStringLen(text.data(), static_cast<UINT>(text.size()))) {}
    ~Text() { SysFreeString(text_); }
    Text(const Text&) = delete;
    Text& operator=(const Text&) = delete;
    operator BSTR() const { return text_; }

private:
    BSTR text_;
};

// The content of a string that a method handed out, which is freed.
inline std::u16string Take(BSTR text) {
    const std::u16string out(text ? text : u"", SysStringLen(text));
    SysFreeString(text);
    return out;
}

using Ids = std::vector<int>;
using Corners = std::array<float, 6>;  // minima, then maxima
using Array16 = std::array<double, 16>;

inline constexpr float kFar = 9.99999944e27F;
inline constexpr Corners kEmptyBox = {kFar, kFar, kFar, -kFar, -kFar, -kFar};
inline constexpr Corners kUnitBox = {-1, -1, -1, 1, 1, 1};
inline constexpr Array16 kIdentity = {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1};

inline Array16 Moved(double x, double y, double z) {
    Array16 m = kIdentity;
    m[12] = x, m[13] = y, m[14] = z;
    return m;
}

class HostTest : public ::testing::Test {
protected:
    Ids Children(int node = 0) {
        Ids ids;
        int id = 0;
        for (HRESULT status = scene->GetFirstChild(node, &id, &error); status == STATUS_OK;
             status = scene->GetNextChild(node, &id, &error))
            ids.push_back(id);
        return ids;
    }
    bool Exists(int node) { return scene->GetNodeType(node, nullptr, &error) == STATUS_OK; }
    bool PartExists(int part) { return scene->EndTriMesh(part, &error) == STATUS_OK || error == -1; }
    int Parent(int node) {
        int id = 99;
        scene->GetParent(node, &id);
        return id;
    }
    std::u16string Name(int node) {
        BSTR name = nullptr;
        scene->GetNodeName(node, &name, &error);
        return Take(name);
    }
    std::u16string Rename(int node, const std::u16string& name) {
        scene->SetNodeName(node, Text(name), &error);
        return Name(node);
    }
    Corners Box(int node) {
        Corners box{};
        scene->GetBoundBox(node, box.data(), box.data() + 3, &error);
        return box;
    }
    Array16 Transform(int node) {
        Array16 m{};
        scene->GetTransform(node, m.data(), &error);
        return m;
    }

    Scene scene;
    int error = 0;
};

inline void ExpectNear(const Array16& a, const Array16& b, double tolerance) {
    for (std::size_t i = 0; i < 16; ++i) EXPECT_NEAR(a[i], b[i], tolerance) << "element " << i;
}

inline void ExpectNear(const Corners& a, const Corners& b, float tolerance = 1e-5F) {
    for (std::size_t i = 0; i < 6; ++i) EXPECT_NEAR(a[i], b[i], tolerance) << "bound " << i;
}

}  // namespace tessera::test
