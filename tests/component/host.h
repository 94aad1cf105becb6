#pragma once

#include <gtest/gtest.h>

#include <array>
#include <memory>
#include <string>
#include <vector>

#include "scene.h"

// What the tests of the tree share: a scene, and short ways to ask it.
namespace tessera::test {

using T = ITessera;
using Ids = std::vector<int>;
using Corners = std::array<float, 6>;  // minima, then maxima
using Array16 = std::array<double, 16>;

inline constexpr float kFar = 9.99999944e27F;
inline constexpr Corners kEmptyBox = {kFar, kFar, kFar, -kFar, -kFar, -kFar};
inline constexpr Corners kUnitBox = {-1, -1, -1, 1, 1, 1};
inline constexpr Array16 kIdentity = {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1};

inline Array16 Moved(double x, double y, double z) { return {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, x, y, z, 1}; }

// A string argument.
inline std::unique_ptr<OLECHAR, void (*)(BSTR)> Text(const std::u16string& text) {
    return {SysAllocStringLen(text.data(), static_cast<UINT>(text.size())), SysFreeString};
}

class HostTest : public ::testing::Test {
protected:
    // The error code of a call that succeeds with 1 alone.
    int Code(HRESULT status) {
        EXPECT_EQ(status, error == 1 ? STATUS_OK : STATUS_FAIL);
        return error;
    }
    int SetParent(int node, int parent) {
        EXPECT_EQ(scene->SetParent(node, parent, &error), STATUS_OK);
        return error;
    }
    int SetPart(int instance, int part) { return Code(scene->SetPart(instance, part, &error)); }
    int Remove(int node) { return Code(scene->Remove(node, &error)); }
    int Loose(HRESULT (T::*create)(int*)) {
        int id = 0;
        (host->*create)(&id);
        return id;
    }
    int AddBareInstance(int parent = 0) {
        const int id = Loose(&T::CreatePartInstance);
        SetParent(id, parent);
        return id;
    }
    // What a method gives, or what there was before where it gives nothing.
    template <typename Value>
    Value Get(HRESULT (T::*get)(int, Value*, int*), int node, Value value = {}) {
        (host->*get)(node, &value, &error);
        return value;
    }
    Ids Children(int node = 0) {
        Ids ids;
        for (int id = Get(&T::GetFirstChild, node); error == 1; id = Get(&T::GetNextChild, node)) ids.push_back(id);
        return ids;
    }
    // Those that are in the tree.
    Ids Known(Ids ids) {
        std::erase_if(ids, [&](int id) { return scene->GetNodeType(id, nullptr, &error) != STATUS_OK; });
        return ids;
    }
    bool PartExists(int part) { return scene->EndTriMesh(part, &error) == STATUS_OK || error == -1; }
    int Parent(int node) {
        int id = 99;
        scene->GetParent(node, &id);
        return id;
    }
    std::u16string Say(HRESULT (T::*get)(int, BSTR*, int*), int node) {
        const std::unique_ptr<OLECHAR, void (*)(BSTR)> text(Get(get, node), SysFreeString);
        return {text ? text.get() : u"", SysStringLen(text.get())};
    }
    std::u16string Name(int node) { return Say(&T::GetNodeName, node); }
    std::u16string Rename(int node, const std::u16string& name) {
        scene->SetNodeName(node, Text(name).get(), &error);
        return Name(node);
    }
    Corners Box(int node) {
        Corners box{};
        scene->GetBoundBox(node, box.data(), box.data() + 3, &error);
        return box;
    }
    Array16 Transform(int node, HRESULT (T::*get)(int, double*, int*) = &T::GetTransform) {
        Array16 m{};
        (host->*get)(node, m.data(), &error);
        return m;
    }

    Scene scene;
    ITessera* const host = scene.operator->();
    int error = 0;
};

template <typename Numbers>
void ExpectNear(const Numbers& a, const Numbers& b, double tolerance = 1e-5) {
    for (std::size_t i = 0; i < a.size(); ++i) EXPECT_NEAR(a[i], b[i], tolerance) << "element " << i;
}

}  // namespace tessera::test
