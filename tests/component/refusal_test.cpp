// How each method answers ids: the three kinds of call, and those that answer in a way of their own.
#include <variant>

#include "component/host.h"

namespace tessera::test {
namespace {

// Where results go; a call that is refused must leave all of it alone.
struct Results {
    int i[6] = {-77, -77, -77, -77, -77, -77};
    short s = -77;
    float f[9] = {-77, -77, -77, -77, -77, -77, -77, -77, -77};
    Array16 m = Moved(7, 7, 7);  // also the matrix of those methods that read one
    BSTR text = nullptr;

    bool operator==(const Results&) const = default;
};

using Method =
    std::variant<HRESULT (ITessera::*)(int, int*), HRESULT (ITessera::*)(int, int, int*),
                 HRESULT (ITessera::*)(int, short, int*), HRESULT (ITessera::*)(int, float, int*),
                 HRESULT (ITessera::*)(int, float, float, float, int*), HRESULT (ITessera::*)(int, BSTR, int*),
                 HRESULT (ITessera::*)(int, int*, int*), HRESULT (ITessera::*)(int, short*, int*),
                 HRESULT (ITessera::*)(int, float*, int*), HRESULT (ITessera::*)(int, float*, float*, int*),
                 HRESULT (ITessera::*)(int, float*, float*, float*, int*), HRESULT (ITessera::*)(int, double*, int*),
                 HRESULT (ITessera::*)(int, BSTR*, int*)>;

// Calls a method with an id, with results where it has any and harmless values for the rest. int and LONG are one type.
struct Ask {
    ITessera* t;
    int id;
    Results& r;
    int* error;

    HRESULT operator()(HRESULT (ITessera::*m)(int, int*)) const { return (t->*m)(id, error); }
    HRESULT operator()(HRESULT (ITessera::*m)(int, int, int*)) const { return (t->*m)(id, 1, error); }
    HRESULT operator()(HRESULT (ITessera::*m)(int, short, int*)) const { return (t->*m)(id, 1, error); }
    HRESULT operator()(HRESULT (ITessera::*m)(int, float, int*)) const { return (t->*m)(id, 0.5F, error); }
    HRESULT operator()(HRESULT (ITessera::*m)(int, float, float, float, int*)) const {
        return (t->*m)(id, 1, 1, 1, error);
    }
    HRESULT operator()(HRESULT (ITessera::*m)(int, BSTR, int*)) const { return (t->*m)(id, nullptr, error); }
    HRESULT operator()(HRESULT (ITessera::*m)(int, int*, int*)) const { return (t->*m)(id, r.i, error); }
    HRESULT operator()(HRESULT (ITessera::*m)(int, short*, int*)) const { return (t->*m)(id, &r.s, error); }
    HRESULT operator()(HRESULT (ITessera::*m)(int, float*, int*)) const { return (t->*m)(id, r.f, error); }
    HRESULT operator()(HRESULT (ITessera::*m)(int, float*, float*, int*)) const {
        return (t->*m)(id, r.f, r.f + 3, error);
    }
    HRESULT operator()(HRESULT (ITessera::*m)(int, float*, float*, float*, int*)) const {
        return (t->*m)(id, r.f, r.f + 3, r.f + 6, error);
    }
    HRESULT operator()(HRESULT (ITessera::*m)(int, double*, int*)) const { return (t->*m)(id, r.m.data(), error); }
    HRESULT operator()(HRESULT (ITessera::*m)(int, BSTR*, int*)) const { return (t->*m)(id, &r.text, error); }
};

using T = ITessera;

// clang-format off
const Method kNodeCalls[] = {
    &T::SetExternalColor, &T::SetInternalColor, &T::SetBackgroundColor, &T::SetBorderColor, &T::SetEdgeColor,
    &T::SetPointTolerance, &T::SetThresholdAngle, &T::SetShadeMode, &T::SetOptionsShadeMode, &T::SetViewingType,
    &T::RotateX, &T::RotateY, &T::RotateZ, &T::Scale, &T::Translate, &T::Draw, &T::DrawExplode, &T::DrawSimple,
    &T::GetBoundBox, &T::SetCrossSectionPlane, &T::EnableCrossSection, &T::EnableDrawBoundBox, &T::SetNodeName,
    &T::GetNodeName, &T::GetNodeType, &T::SetSimpleShadeMode, &T::SetTransparency, &T::EnableDrawing,
    &T::IsDrawingEnable, &T::SetVolumePrecision, &T::SetSelected, &T::IsSelected, &T::MirrorXY, &T::MirrorXZ,
    &T::MirrorYZ, &T::SetUserName, &T::GetNodeUserName, &T::SetDateAsNow, &T::GetNumberOfPartInstance,
    &T::SwitchCrossSectionPlane, &T::SwitchWireFrameVisibility, &T::SwitchTriMeshVisibility,
    &T::SwitchPointSetVisibility, &T::GetNodeCrossSectionStatus, &T::GetNodeWireFrameVisibility,
    &T::GetNodeSurfaceVisibility, &T::GetNodePointSetVisibility, &T::EnableTransparentXSection,
    &T::SetVertexVisible, &T::GetVertexVisibility, &T::SetPropertyString, &T::GetPropertyString,
    &T::EnableCrossSectionCapping, &T::ApplyTransform, &T::SetTransform, &T::GetTransform, &T::SetPrintingStatus,
    &T::GetCrossSectionPlane, &T::ApplyExplodeTransform, &T::SetExplodeTransform, &T::GetExplodeTransform,
    &T::GetFullNodeName, &T::TranslateExplode, &T::SetMirrorFlag, &T::SetEnvtexture, &T::GetEnvtexture,
    &T::ApplyExplodeToNodeMatrix,
};
const Method kInstanceCalls[] = {
    &T::GetShadeMode, &T::GetOptionsShadeMode, &T::GetExternalColor, &T::GetInternalColor, &T::GetBackgroundColor,
    &T::GetBorderColor, &T::GetEdgeColor, &T::GetPointTolerance, &T::GetThresholdAngle, &T::GetTransparency,
    &T::GetVolumePrecision, &T::GetPartID, &T::GetPartOfPInstance, &T::GetPartName,
};
const Method kOpenMeshCalls[] = {
    &T::AddTriangle3P, &T::AddTriangle3P3N, &T::AddTriangle3P4N, &T::SetTriMeshExternalColor,
    &T::SetTriMeshInternalColor, &T::SetTriMeshEdgeColor, &T::SetTriMeshBorderColor, &T::EndTriMesh,
};
// clang-format on

class Refusal : public HostTest {
protected:
    Refusal() {
        assembly = scene.AddAssembly();
        placed = scene.AddMesh(Cube(), assembly);
        scene->CreateAssembly(&loose);
        scene->CreatePartInstance(&looseInstance);
        scene->SetPart(looseInstance, placed.part, &error);
        scene->CreatePart(&loosePart);
    }

    void Expect(const Method& method, int id, HRESULT status, int code, std::ptrdiff_t row = -1) {
        const Results untouched;
        Results results, unwatched;
        int got = 55;
        SCOPED_TRACE("row " + std::to_string(row) + ", id " + std::to_string(id));
        EXPECT_EQ(std::visit(Ask{scene.operator->(), id, results, &got}, method), status);
        EXPECT_EQ(got, code);
        EXPECT_TRUE(status == STATUS_OK || results == untouched);
        EXPECT_EQ(std::visit(Ask{scene.operator->(), id, unwatched, nullptr}, method), status);
        SysFreeString(results.text);
        SysFreeString(unwatched.text);
    }

    int assembly = 0, loose = 0, looseInstance = 0, loosePart = 0;
    Placed placed;
};

TEST_F(Refusal, NodeCallsTakeEveryNodeOfTheTree) {
    for (const Method& m : kNodeCalls) {
        for (const int id : {0, assembly, placed.instance}) Expect(m, id, STATUS_OK, 1, &m - kNodeCalls);
        for (const int id : {-1, 777, placed.part, loose, looseInstance, loosePart})
            Expect(m, id, STATUS_FAIL, 0, &m - kNodeCalls);
    }
}

TEST_F(Refusal, MethodsOfManyArgumentsRefuseAsTheOthers) {
    Results results;
    double* const m = results.m.data();
    for (const int id : {777, placed.instance}) {
        const HRESULT expected = id == 777 ? STATUS_FAIL : STATUS_OK;
        EXPECT_EQ(scene->GetBoundBoxRelativeFrame(id, m, results.f, results.f + 3, &error), expected);
        EXPECT_EQ(error, id == 777 ? 0 : 1);
        EXPECT_EQ(scene->GetNodeIDFromName(id, nullptr, results.i, &error), expected);
        EXPECT_EQ(scene->GetLastModifiedDate(id, results.i, nullptr, nullptr, nullptr, nullptr, nullptr, &error),
                  expected);
        EXPECT_EQ(error, id == 777 ? 0 : 1);
        EXPECT_TRUE(id != 777 || results == Results());
    }
    for (const auto& [part, code] : {std::pair{777, 0}, {placed.part, -1}}) {
        EXPECT_EQ(scene->AddTriangles3P3N(part, m, 3, nullptr, m, 3, nullptr, nullptr, 0, nullptr, 0, 0, &error),
                  STATUS_FAIL);
        EXPECT_EQ(error, code);
    }
}

TEST_F(Refusal, InstanceCallsTakeInstancesOnly) {
    for (const Method& m : kInstanceCalls) {
        Expect(m, placed.instance, STATUS_OK, 1, &m - kInstanceCalls);
        for (const int id : {0, assembly, -1, 777, placed.part, loose, looseInstance, loosePart})
            Expect(m, id, STATUS_FAIL, 0, &m - kInstanceCalls);
    }
}

TEST_F(Refusal, PartCallsTakePartsOfTheTreeInTheRightState) {
    const int strangers[] = {0, assembly, placed.instance, -1, 777, loosePart};
    for (const int id : strangers) {
        Expect(&T::BeginTriMesh, id, STATUS_FAIL, 0);
        Expect(&T::SetPartName, id, STATUS_OK, 0);
    }
    Expect(&T::SetPartName, placed.part, STATUS_OK, 1);
    for (const Method& m : kOpenMeshCalls) {
        for (const int id : strangers) Expect(m, id, STATUS_FAIL, 0, &m - kOpenMeshCalls);
        Expect(m, placed.part, STATUS_FAIL, -1, &m - kOpenMeshCalls);
    }
    ASSERT_EQ(scene->BeginTriMesh(placed.part, &error), STATUS_OK);
    Expect(&T::BeginTriMesh, placed.part, STATUS_FAIL, -1);
    for (const Method& m : kOpenMeshCalls) {
        Results results;
        EXPECT_EQ(std::visit(Ask{scene.operator->(), placed.part, results, &error}, m), STATUS_OK);
        EXPECT_EQ(error, 1) << &m - kOpenMeshCalls;
    }
    // An empty mesh is thrown away, and the next can begin.
    for (int i = 0; i < 2; ++i) {
        EXPECT_EQ(scene->BeginTriMesh(placed.part, &error), STATUS_OK);
        EXPECT_EQ(scene->EndTriMesh(placed.part, &error), STATUS_OK);
    }
}

TEST_F(Refusal, CallsWithoutAnIdAlwaysSucceed) {
    float points[6] = {0, 0, 9, 0, 0, 0};
    error = 0;
    for (const HRESULT status :
         {scene->SetCamera(points, points + 3, &error), scene->SetZoomFactor(2, &error),
          scene->SetPickTolerance(1, &error), scene->ForceHiddenLineDrawing(VARIANT_FALSE, &error)}) {
        EXPECT_EQ(status, STATUS_OK);
        EXPECT_EQ(error, 1);
    }
    LONG value = 9;
    for (const LONG given : {5, 0}) {
        EXPECT_EQ(scene->UseVertexArray(given), STATUS_OK);
        EXPECT_EQ(scene->IsUsingVertexArray(&value), STATUS_OK);
        EXPECT_EQ(value, given ? 1 : 0);
    }
    EXPECT_EQ(scene->LODsAvailable(&value), STATUS_OK);
    EXPECT_EQ(value, 0);
    // Left alone: errCode and results of methods that do nothing.
    LONG picked = 9;
    int code = 55, out = 66;
    // clang-format off
    const HRESULT idle[] = {scene->RotateExplode(777, 1, 2, 3, 4, &code), scene->Save(nullptr),
        scene->Load(nullptr), scene->Import(nullptr), scene->EndTDGImport(), scene->GetFirstNoteID(&out, &code),
        scene->GetNextNoteID(&out, &code), scene->DeleteNote(1, &code), scene->SetNoteMessage(1, nullptr, &code),
        scene->SetNoteText(1, nullptr, &code), scene->SetNoteURL(1, nullptr, &code), scene->SetNoteArrowPosition(1,
        nullptr, &code), scene->SetNoteTextPosition(1, nullptr, &code), scene->SetNoteTextColor(1, 2, &code),
        scene->SetNoteFont(1, {}, &code), scene->EnableNoteCrossSection(1, 1, &code), scene->SetTDGImportVer(3),
        scene->ResetAcceleration(), scene->PickNote(nullptr, nullptr, 0, 0, 0, 0, 0, 0, &picked, nullptr, &out,
        &out, &code)};
    // clang-format on
    for (const HRESULT& status : idle) EXPECT_EQ(status, STATUS_OK) << &status - idle;
    EXPECT_EQ((Ids{code, out, picked}), (Ids{55, 66, 0}));
}

}  // namespace
}  // namespace tessera::test
