// How each method answers ids: the three kinds of call, and those that answer in a way of their own.
#include "component/host.h"

namespace tessera::test {
namespace {

// Where results go; a call that is refused must leave all of it alone.
struct Results {
    int i[6] = {-77, -77, -77, -77, -77, -77};
    LONG l = -77;
    short s = -77;
    float f[6] = {-77, -77, -77, -77, -77, -77};
    Array16 m = Moved(7, 7, 7);
    BSTR text = nullptr;

    bool operator==(const Results&) const = default;
};

struct Call {
    const char* name;
    HRESULT (*run)(ITessera* t, int id, Results& r, int* error);
};

float g_points[9] = {0, 0, 0, 1, 0, 0, 0, 1, 0};
Array16 g_matrix = kIdentity;

const Call kNodeCalls[] = {
    {"SetExternalColor", [](ITessera* t, int id, Results&, int* e) { return t->SetExternalColor(id, 1, 1, 1, e); }},
    {"SetInternalColor", [](ITessera* t, int id, Results&, int* e) { return t->SetInternalColor(id, 1, 1, 1, e); }},
    {"SetBackgroundColor", [](ITessera* t, int id, Results&, int* e) { return t->SetBackgroundColor(id, 1, 1, 1, e); }},
    {"SetBorderColor", [](ITessera* t, int id, Results&, int* e) { return t->SetBorderColor(id, 1, 1, 1, e); }},
    {"SetEdgeColor", [](ITessera* t, int id, Results&, int* e) { return t->SetEdgeColor(id, 1, 1, 1, e); }},
    {"SetPointTolerance", [](ITessera* t, int id, Results&, int* e) { return t->SetPointTolerance(id, 1e-9F, e); }},
    {"SetThresholdAngle", [](ITessera* t, int id, Results&, int* e) { return t->SetThresholdAngle(id, 40, e); }},
    {"SetShadeMode", [](ITessera* t, int id, Results&, int* e) { return t->SetShadeMode(id, 1, e); }},
    {"SetOptionsShadeMode", [](ITessera* t, int id, Results&, int* e) { return t->SetOptionsShadeMode(id, 0, e); }},
    {"SetSimpleShadeMode", [](ITessera* t, int id, Results&, int* e) { return t->SetSimpleShadeMode(id, 9, e); }},
    {"SetViewingType", [](ITessera* t, int id, Results&, int* e) { return t->SetViewingType(id, 0, e); }},
    {"SetTransparency", [](ITessera* t, int id, Results&, int* e) { return t->SetTransparency(id, 1, e); }},
    {"SetVolumePrecision", [](ITessera* t, int id, Results&, int* e) { return t->SetVolumePrecision(id, 1, e); }},
    {"SetSelected", [](ITessera* t, int id, Results&, int* e) { return t->SetSelected(id, 0, e); }},
    {"IsSelected", [](ITessera* t, int id, Results& r, int* e) { return t->IsSelected(id, &r.l, e); }},
    {"EnableDrawing", [](ITessera* t, int id, Results&, int* e) { return t->EnableDrawing(id, 1, e); }},
    {"IsDrawingEnable", [](ITessera* t, int id, Results& r, int* e) { return t->IsDrawingEnable(id, &r.l, e); }},
    {"EnableDrawBoundBox", [](ITessera* t, int id, Results&, int* e) { return t->EnableDrawBoundBox(id, 0, e); }},
    {"SetVertexVisible", [](ITessera* t, int id, Results&, int* e) { return t->SetVertexVisible(id, 0, e); }},
    {"GetVertexVisibility",
     [](ITessera* t, int id, Results& r, int* e) { return t->GetVertexVisibility(id, &r.l, e); }},
    {"SetPrintingStatus", [](ITessera* t, int id, Results&, int* e) { return t->SetPrintingStatus(id, 0, e); }},
    {"SwitchWireFrameVisibility",
     [](ITessera* t, int id, Results&, int* e) { return t->SwitchWireFrameVisibility(id, 1, e); }},
    {"SwitchTriMeshVisibility",
     [](ITessera* t, int id, Results&, int* e) { return t->SwitchTriMeshVisibility(id, 1, e); }},
    {"SwitchPointSetVisibility",
     [](ITessera* t, int id, Results&, int* e) { return t->SwitchPointSetVisibility(id, 1, e); }},
    {"GetNodeWireFrameVisibility",
     [](ITessera* t, int id, Results& r, int* e) { return t->GetNodeWireFrameVisibility(id, &r.l, e); }},
    {"GetNodeSurfaceVisibility",
     [](ITessera* t, int id, Results& r, int* e) { return t->GetNodeSurfaceVisibility(id, &r.l, e); }},
    {"GetNodePointSetVisibility",
     [](ITessera* t, int id, Results& r, int* e) { return t->GetNodePointSetVisibility(id, &r.l, e); }},
    {"GetNodeCrossSectionStatus",
     [](ITessera* t, int id, Results& r, int* e) { return t->GetNodeCrossSectionStatus(id, &r.l, e); }},
    {"SetCrossSectionPlane",
     [](ITessera* t, int id, Results&, int* e) { return t->SetCrossSectionPlane(id, g_points, g_points + 3, e); }},
    {"GetCrossSectionPlane",
     [](ITessera* t, int id, Results& r, int* e) { return t->GetCrossSectionPlane(id, r.f, r.f + 3, e); }},
    {"EnableCrossSection", [](ITessera* t, int id, Results&, int* e) { return t->EnableCrossSection(id, 1, e); }},
    {"SwitchCrossSectionPlane",
     [](ITessera* t, int id, Results&, int* e) { return t->SwitchCrossSectionPlane(id, 0, e); }},
    {"EnableTransparentXSection",
     [](ITessera* t, int id, Results&, int* e) { return t->EnableTransparentXSection(id, 0, e); }},
    {"EnableCrossSectionCapping",
     [](ITessera* t, int id, Results&, int* e) { return t->EnableCrossSectionCapping(id, 0, e); }},
    {"RotateX", [](ITessera* t, int id, Results&, int* e) { return t->RotateX(id, 0, e); }},
    {"RotateY", [](ITessera* t, int id, Results&, int* e) { return t->RotateY(id, 0, e); }},
    {"RotateZ", [](ITessera* t, int id, Results&, int* e) { return t->RotateZ(id, 0, e); }},
    {"Scale", [](ITessera* t, int id, Results&, int* e) { return t->Scale(id, 1, 1, 1, e); }},
    {"Translate", [](ITessera* t, int id, Results&, int* e) { return t->Translate(id, 0, 0, 0, e); }},
    {"TranslateExplode", [](ITessera* t, int id, Results&, int* e) { return t->TranslateExplode(id, 0, 0, 0, e); }},
    {"MirrorXY", [](ITessera* t, int id, Results&, int* e) { return t->MirrorXY(id, e); }},
    {"MirrorXZ", [](ITessera* t, int id, Results&, int* e) { return t->MirrorXZ(id, e); }},
    {"MirrorYZ", [](ITessera* t, int id, Results&, int* e) { return t->MirrorYZ(id, e); }},
    {"SetMirrorFlag", [](ITessera* t, int id, Results&, int* e) { return t->SetMirrorFlag(id, 0, e); }},
    {"ApplyTransform", [](ITessera* t, int id, Results&, int* e) { return t->ApplyTransform(id, g_matrix.data(), e); }},
    {"SetTransform", [](ITessera* t, int id, Results&, int* e) { return t->SetTransform(id, g_matrix.data(), e); }},
    {"GetTransform", [](ITessera* t, int id, Results& r, int* e) { return t->GetTransform(id, r.m.data(), e); }},
    {"ApplyExplodeTransform",
     [](ITessera* t, int id, Results&, int* e) { return t->ApplyExplodeTransform(id, g_matrix.data(), e); }},
    {"SetExplodeTransform",
     [](ITessera* t, int id, Results&, int* e) { return t->SetExplodeTransform(id, g_matrix.data(), e); }},
    {"GetExplodeTransform",
     [](ITessera* t, int id, Results& r, int* e) { return t->GetExplodeTransform(id, r.m.data(), e); }},
    {"ApplyExplodeToNodeMatrix",
     [](ITessera* t, int id, Results&, int* e) { return t->ApplyExplodeToNodeMatrix(id, e); }},
    {"GetBoundBox", [](ITessera* t, int id, Results& r, int* e) { return t->GetBoundBox(id, r.f, r.f + 3, e); }},
    {"GetBoundBoxRelativeFrame",
     [](ITessera* t, int id, Results& r,
        int* e) { return t->GetBoundBoxRelativeFrame(id, g_matrix.data(), r.f, r.f + 3, e); }},
    {"Draw", [](ITessera* t, int id, Results&, int* e) { return t->Draw(id, 0, e); }},
    {"DrawExplode", [](ITessera* t, int id, Results&, int* e) { return t->DrawExplode(id, 0, e); }},
    {"DrawSimple", [](ITessera* t, int id, Results&, int* e) { return t->DrawSimple(id, e); }},
    {"SetNodeName", [](ITessera* t, int id, Results&, int* e) { return t->SetNodeName(id, nullptr, e); }},
    {"GetNodeName", [](ITessera* t, int id, Results& r, int* e) { return t->GetNodeName(id, &r.text, e); }},
    {"GetFullNodeName", [](ITessera* t, int id, Results& r, int* e) { return t->GetFullNodeName(id, &r.text, e); }},
    {"SetUserName", [](ITessera* t, int id, Results&, int* e) { return t->SetUserName(id, nullptr, e); }},
    {"GetNodeUserName", [](ITessera* t, int id, Results& r, int* e) { return t->GetNodeUserName(id, &r.text, e); }},
    {"SetPropertyString", [](ITessera* t, int id, Results&, int* e) { return t->SetPropertyString(id, nullptr, e); }},
    {"GetPropertyString", [](ITessera* t, int id, Results& r, int* e) { return t->GetPropertyString(id, &r.text, e); }},
    {"SetEnvtexture", [](ITessera* t, int id, Results&, int* e) { return t->SetEnvtexture(id, nullptr, e); }},
    {"GetEnvtexture", [](ITessera* t, int id, Results& r, int* e) { return t->GetEnvtexture(id, &r.text, e); }},
    {"SetDateAsNow", [](ITessera* t, int id, Results&, int* e) { return t->SetDateAsNow(id, e); }},
    {"GetLastModifiedDate",
     [](ITessera* t, int id, Results& r,
        int* e) { return t->GetLastModifiedDate(id, r.i, r.i + 1, r.i + 2, r.i + 3, r.i + 4, r.i + 5, e); }},
    {"GetNodeType", [](ITessera* t, int id, Results& r, int* e) { return t->GetNodeType(id, r.i, e); }},
    {"GetNumberOfPartInstance",
     [](ITessera* t, int id, Results& r, int* e) { return t->GetNumberOfPartInstance(id, r.i, e); }},
    {"GetNodeIDFromName",
     [](ITessera* t, int id, Results& r, int* e) { return t->GetNodeIDFromName(id, nullptr, r.i, e); }},
};

const Call kInstanceCalls[] = {
    {"GetShadeMode", [](ITessera* t, int id, Results& r, int* e) { return t->GetShadeMode(id, &r.s, e); }},
    {"GetOptionsShadeMode", [](ITessera* t, int id, Results& r, int* e) { return t->GetOptionsShadeMode(id, r.i, e); }},
    {"GetExternalColor",
     [](ITessera* t, int id, Results& r, int* e) { return t->GetExternalColor(id, r.f, r.f + 1, r.f + 2, e); }},
    {"GetInternalColor",
     [](ITessera* t, int id, Results& r, int* e) { return t->GetInternalColor(id, r.f, r.f + 1, r.f + 2, e); }},
    {"GetBackgroundColor",
     [](ITessera* t, int id, Results& r, int* e) { return t->GetBackgroundColor(id, r.f, r.f + 1, r.f + 2, e); }},
    {"GetBorderColor",
     [](ITessera* t, int id, Results& r, int* e) { return t->GetBorderColor(id, r.f, r.f + 1, r.f + 2, e); }},
    {"GetEdgeColor",
     [](ITessera* t, int id, Results& r, int* e) { return t->GetEdgeColor(id, r.f, r.f + 1, r.f + 2, e); }},
    {"GetPointTolerance", [](ITessera* t, int id, Results& r, int* e) { return t->GetPointTolerance(id, r.f, e); }},
    {"GetThresholdAngle", [](ITessera* t, int id, Results& r, int* e) { return t->GetThresholdAngle(id, r.f, e); }},
    {"GetTransparency", [](ITessera* t, int id, Results& r, int* e) { return t->GetTransparency(id, r.f, e); }},
    {"GetVolumePrecision", [](ITessera* t, int id, Results& r, int* e) { return t->GetVolumePrecision(id, r.f, e); }},
    {"GetPartID", [](ITessera* t, int id, Results& r, int* e) { return t->GetPartID(id, r.i, e); }},
    {"GetPartOfPInstance", [](ITessera* t, int id, Results& r, int* e) { return t->GetPartOfPInstance(id, r.i, e); }},
    {"GetPartName", [](ITessera* t, int id, Results& r, int* e) { return t->GetPartName(id, &r.text, e); }},
};

const Call kOpenMeshCalls[] = {
    {"AddTriangle3P", [](ITessera* t, int id, Results&, int* e) { return t->AddTriangle3P(id, g_points, e); }},
    {"AddTriangle3P3N",
     [](ITessera* t, int id, Results&, int* e) { return t->AddTriangle3P3N(id, g_points, g_points, e); }},
    {"AddTriangle3P4N",
     [](ITessera* t, int id, Results&, int* e) { return t->AddTriangle3P4N(id, g_points, g_points, g_points, e); }},
    {"AddTriangles3P3N",
     [](ITessera* t, int id, Results&, int* e) {
         return t->AddTriangles3P3N(id, nullptr, 0, nullptr, nullptr, 0, nullptr, nullptr, 0, nullptr, 0, 0, e);
     }},
    {"SetTriMeshExternalColor",
     [](ITessera* t, int id, Results&, int* e) { return t->SetTriMeshExternalColor(id, 9, 9, 9, e); }},
    {"SetTriMeshInternalColor",
     [](ITessera* t, int id, Results&, int* e) { return t->SetTriMeshInternalColor(id, 1, 1, 1, e); }},
    {"SetTriMeshEdgeColor",
     [](ITessera* t, int id, Results&, int* e) { return t->SetTriMeshEdgeColor(id, 1, 1, 1, e); }},
    {"SetTriMeshBorderColor",
     [](ITessera* t, int id, Results&, int* e) { return t->SetTriMeshBorderColor(id, 1, 1, 1, e); }},
    {"EndTriMesh", [](ITessera* t, int id, Results&, int* e) { return t->EndTriMesh(id, e); }},
};

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

    void Expect(const Call& call, int id, HRESULT status, int code) {
        const Results untouched;
        Results results;
        int got = 55;
        EXPECT_EQ(call.run(scene.operator->(), id, results, &got), status) << call.name << ' ' << id;
        EXPECT_EQ(got, code) << call.name << ' ' << id;
        if (status != STATUS_OK) EXPECT_TRUE(results == untouched) << call.name << ' ' << id;
        Results unwatched;
        EXPECT_EQ(call.run(scene.operator->(), id, unwatched, nullptr), status) << call.name << " without errCode";
        SysFreeString(results.text);
        SysFreeString(unwatched.text);
    }

    int assembly = 0, loose = 0, looseInstance = 0, loosePart = 0;
    Placed placed;
};

TEST_F(Refusal, NodeCallsTakeEveryNodeOfTheTree) {
    for (const Call& call : kNodeCalls) {
        for (const int id : {0, assembly, placed.instance}) Expect(call, id, STATUS_OK, 1);
        for (const int id : {-1, 777, placed.part, loose, looseInstance, loosePart}) Expect(call, id, STATUS_FAIL, 0);
    }
}

TEST_F(Refusal, InstanceCallsTakeInstancesOnly) {
    for (const Call& call : kInstanceCalls) {
        Expect(call, placed.instance, STATUS_OK, 1);
        for (const int id : {0, assembly, -1, 777, placed.part, loose, looseInstance, loosePart})
            Expect(call, id, STATUS_FAIL, 0);
    }
}

TEST_F(Refusal, PartCallsTakePartsOfTheTreeInTheRightState) {
    const Call begin = {"BeginTriMesh", [](ITessera* t, int id, Results&, int* e) { return t->BeginTriMesh(id, e); }};
    const Call name = {"SetPartName",
                       [](ITessera* t, int id, Results&, int* e) { return t->SetPartName(id, nullptr, e); }};
    const int strangers[] = {0, assembly, placed.instance, -1, 777, loosePart};
    for (const int id : strangers) {
        Expect(begin, id, STATUS_FAIL, 0);
        Expect(name, id, STATUS_OK, 0);
    }
    for (const Call& call : kOpenMeshCalls) {
        for (const int id : strangers) Expect(call, id, STATUS_FAIL, 0);
        Expect(call, placed.part, STATUS_FAIL, -1);
    }
    ASSERT_EQ(scene->BeginTriMesh(placed.part, &error), STATUS_OK);
    Expect(begin, placed.part, STATUS_FAIL, -1);
    for (const Call& call : kOpenMeshCalls) {
        int got = 55;
        Results results;
        EXPECT_EQ(call.run(scene.operator->(), placed.part, results, &got), STATUS_OK) << call.name;
        EXPECT_EQ(got, 1) << call.name;
    }
    Expect(name, placed.part, STATUS_OK, 1);
    // An empty mesh is thrown away, and the next can begin.
    for (int i = 0; i < 2; ++i) {
        EXPECT_EQ(scene->BeginTriMesh(placed.part, &error), STATUS_OK);
        EXPECT_EQ(scene->EndTriMesh(placed.part, &error), STATUS_OK);
    }
}

TEST_F(Refusal, CallsWithoutAnIdAlwaysSucceed) {
    error = 0;
    for (const HRESULT status :
         {scene->SetCamera(g_points, g_points + 3, &error), scene->SetZoomFactor(2, &error),
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
    const HRESULT idle[] = {scene->RotateExplode(777, 1, 2, 3, 4, &code),
                            scene->Save(nullptr),
                            scene->Load(nullptr),
                            scene->Import(nullptr),
                            scene->EndTDGImport(),
                            scene->GetFirstNoteID(&out, &code),
                            scene->GetNextNoteID(&out, &code),
                            scene->DeleteNote(1, &code),
                            scene->SetNoteMessage(1, nullptr, &code),
                            scene->SetNoteText(1, nullptr, &code),
                            scene->SetNoteURL(1, nullptr, &code),
                            scene->SetNoteArrowPosition(1, nullptr, &code),
                            scene->SetNoteTextPosition(1, nullptr, &code),
                            scene->SetNoteTextColor(1, 2, &code),
                            scene->SetNoteFont(1, {}, &code),
                            scene->EnableNoteCrossSection(1, 1, &code),
                            scene->SetTDGImportVer(3),
                            scene->ResetAcceleration(),
                            scene->PickNote(nullptr, nullptr, 0, 0, 0, 0, 0, 0, &picked, nullptr, &out, &out, &code)};
    for (const HRESULT& status : idle) EXPECT_EQ(status, STATUS_OK) << &status - idle;
    EXPECT_EQ((Ids{code, out, picked}), (Ids{55, 66, 0}));
}

}  // namespace
}  // namespace tessera::test
