// How each method answers ids: the three kinds of call, and those that answer in a way of their own.
#include <functional>

#include "component/host.h"

namespace tessera::test {
namespace {

// Stands for the arguments of any method: where its results go, which a call that is refused must leave alone, and
// harmless values for what it reads; or nulls for all of it. int and LONG are one type.
struct Any {
    bool null = false;
    int i[6] = {-77, -77, -77, -77, -77, -77};
    short s = -77;
    float f[9] = {-77, -77, -77, -77, -77, -77, -77, -77, -77};
    Array16 m = Moved(7, 7, 7);
    BSTR text = nullptr;

    bool operator==(const Any&) const = default;
    operator int() { return 1; }
    operator short() { return 1; }
    operator float() { return 0.5F; }
    operator int*() { return null ? nullptr : i; }
    operator short*() { return null ? nullptr : &s; }
    operator float*() { return null ? nullptr : f; }
    operator double*() { return null ? nullptr : m.data(); }
    operator BSTR() { return nullptr; }
    operator BSTR*() { return null ? nullptr : &text; }
};

struct Method {
    std::function<HRESULT(T*, int, Any&, int*)> call;

    Method(HRESULT (T::*m)(int, int*)) : call([m](T* t, int id, Any&, int* e) { return (t->*m)(id, e); }) {}
    template <typename A>
    Method(HRESULT (T::*m)(int, A, int*)) : call([m](T* t, int id, Any& a, int* e) { return (t->*m)(id, a, e); }) {}
    template <typename A, typename B>
    Method(HRESULT (T::*m)(int, A, B, int*))
        : call([m](T* t, int id, Any& a, int* e) { return (t->*m)(id, a, a, e); }) {}
    template <typename A, typename B, typename C>
    Method(HRESULT (T::*m)(int, A, B, C, int*))
        : call([m](T* t, int id, Any& a, int* e) { return (t->*m)(id, a, a, a, e); }) {}
};

// clang-format off
const Method kNodeCalls[] = {
    &T::SetExternalColor, &T::SetInternalColor, &T::SetBackgroundColor, &T::SetBorderColor, &T::SetEdgeColor,
    &T::SetPointTolerance, &T::SetThresholdAngle, &T::SetShadeMode, &T::SetOptionsShadeMode, &T::SetViewingType,
    &T::RotateX, &T::RotateY, &T::RotateZ, &T::Scale, &T::Translate, &T::Draw, &T::DrawExplode, &T::DrawSimple,
    &T::GetBoundBox, &T::EnableCrossSection, &T::EnableDrawBoundBox, &T::SetNodeName,
    &T::GetNodeName, &T::GetNodeType, &T::SetSimpleShadeMode, &T::SetTransparency, &T::EnableDrawing,
    &T::IsDrawingEnable, &T::SetVolumePrecision, &T::SetSelected, &T::IsSelected, &T::MirrorXY, &T::MirrorXZ,
    &T::MirrorYZ, &T::SetUserName, &T::GetNodeUserName, &T::SetDateAsNow, &T::GetNumberOfPartInstance,
    &T::SwitchCrossSectionPlane, &T::SwitchWireFrameVisibility, &T::SwitchTriMeshVisibility,
    &T::SwitchPointSetVisibility, &T::GetNodeCrossSectionStatus, &T::GetNodeWireFrameVisibility,
    &T::GetNodeSurfaceVisibility, &T::GetNodePointSetVisibility, &T::EnableTransparentXSection,
    &T::SetVertexVisible, &T::GetVertexVisibility, &T::SetPropertyString, &T::GetPropertyString,
    &T::EnableCrossSectionCapping, &T::GetTransform, &T::SetPrintingStatus, &T::GetCrossSectionPlane,
    &T::GetExplodeTransform, &T::GetFullNodeName, &T::TranslateExplode, &T::SetMirrorFlag, &T::SetEnvtexture,
    &T::GetEnvtexture, &T::ApplyExplodeToNodeMatrix,
    // These read from where they are told to.
    &T::SetCrossSectionPlane, &T::ApplyTransform, &T::SetTransform, &T::ApplyExplodeTransform, &T::SetExplodeTransform,
};
constexpr int kReading = 5;
const Method kInstanceCalls[] = {
    &T::GetShadeMode, &T::GetOptionsShadeMode, &T::GetExternalColor, &T::GetInternalColor, &T::GetBackgroundColor,
    &T::GetBorderColor, &T::GetEdgeColor, &T::GetPointTolerance, &T::GetThresholdAngle, &T::GetTransparency,
    &T::GetVolumePrecision, &T::GetPartID, &T::GetPartOfPInstance, &T::GetPartName,
};
// What begins an element, and what can be done then; the last ends it.
const struct {
    Method begin;
    std::vector<Method> calls;
} kElements[] = {
    {&T::BeginTriMesh, {&T::AddTriangle3P, &T::AddTriangle3P3N, &T::AddTriangle3P4N, &T::SetTriMeshExternalColor,
        &T::SetTriMeshInternalColor, &T::SetTriMeshEdgeColor, &T::SetTriMeshBorderColor, &T::EndTriMesh}},
    {&T::BeginPolyLine, {&T::AddPolyLinePoint, &T::SetPolyLineColor, &T::SetLineStipple, &T::EndPolyLine}},
    {&T::BeginPointSet, {&T::AddPointSetPoint, &T::EndPointSet}},
};
// clang-format on

class Refusal : public HostTest {
protected:
    Refusal() { SetPart(looseInstance, placed.part); }
    void Expect(const Method& method, int id, HRESULT status, int code, std::ptrdiff_t row = -1) {
        Any given, nulls{.null = true};
        int got = 55;
        SCOPED_TRACE("row " + std::to_string(row) + ", id " + std::to_string(id));
        EXPECT_EQ(method.call(host, id, given, &got), status);
        EXPECT_EQ(got, code);
        EXPECT_TRUE(status == STATUS_OK || given == Any());
        const bool reads = &method >= std::end(kNodeCalls) - kReading && &method < std::end(kNodeCalls);
        EXPECT_EQ(method.call(host, id, nulls, nullptr), reads ? STATUS_FAIL : status);
        SysFreeString(given.text);
    }

    const int assembly = scene.AddAssembly();
    const Placed placed = scene.AddMesh(Cube(), assembly);
    const int loose = Loose(&T::CreateAssembly), loosePart = Loose(&T::CreatePart);
    const int looseInstance = Loose(&T::CreatePartInstance);
};

TEST_F(Refusal, NodeCallsTakeNodesAndInstanceCallsInstances) {
    for (const Method& m : kNodeCalls)
        for (const int id : {0, assembly, placed.instance}) Expect(m, id, STATUS_OK, 1, &m - kNodeCalls);
    for (const Method& m : kInstanceCalls) {
        Expect(m, placed.instance, STATUS_OK, 1, &m - kInstanceCalls);
        for (const int id : {0, assembly}) Expect(m, id, STATUS_FAIL, 0, &m - kInstanceCalls);
    }
    EXPECT_EQ(Name(assembly), u"");  // what a null gives
    for (const int id : {-1, 777, placed.part, loose, looseInstance, loosePart}) {
        for (const Method& m : kNodeCalls) Expect(m, id, STATUS_FAIL, 0, &m - kNodeCalls);
        for (const Method& m : kInstanceCalls) Expect(m, id, STATUS_FAIL, 0, &m - kInstanceCalls);
    }
}

TEST_F(Refusal, MethodsOfManyArgumentsRefuseAsTheOthers) {
    Any a;
    for (const auto& [id, code] : {std::pair{777, 0}, {placed.instance, 1}}) {
        EXPECT_EQ(Code(scene->GetBoundBoxRelativeFrame(id, a, a, a, &error)), code);
        EXPECT_EQ(scene->GetNodeIDFromName(id, nullptr, a, &error), code ? STATUS_OK : STATUS_FAIL);
        EXPECT_EQ(Code(scene->GetLastModifiedDate(id, a, nullptr, nullptr, nullptr, nullptr, nullptr, &error)), code);
        EXPECT_EQ(a == Any(), code == 0);
    }
    for (const auto& [part, code] : {std::pair{777, 0}, {placed.part, -1}})
        EXPECT_EQ(Code(scene->AddTriangles3P3N(part, a, 3, nullptr, a, 3, nullptr, nullptr, 0, nullptr, 0, 0, &error)),
                  code);
}

TEST_F(Refusal, PartCallsTakePartsOfTheTreeInTheRightState) {
    const auto expectRefused = [&](const auto& element, int id, int code) {
        for (const Method& m : element.calls) Expect(m, id, STATUS_FAIL, code, &m - element.calls.data());
    };
    for (const int id : {0, assembly, placed.instance, -1, 777, loosePart}) {
        Expect(&T::SetPartName, id, STATUS_OK, 0);
        for (const auto& element : kElements) Expect(element.begin, id, STATUS_FAIL, 0), expectRefused(element, id, 0);
    }
    const int part = placed.part;
    Expect(&T::SetPartName, part, STATUS_OK, 1);
    Any a;
    for (const auto& open : kElements) {
        for (const auto& element : kElements) expectRefused(element, part, -1);
        EXPECT_EQ(Code(open.begin.call(host, part, a, &error)), 1);
        for (const auto& element : kElements) {
            Expect(element.begin, part, STATUS_FAIL, -1);
            if (&element != &open) expectRefused(element, part, -1);
        }
        Expect(&T::SetPointSetColor, part, STATUS_OK, 1);  // asks for no state
        for (const Method& m : open.calls) EXPECT_EQ(Code(m.call(host, part, a, &error)), 1) << &m - &open.calls[0];
    }
}

TEST_F(Refusal, CallsWithoutAnIdAlwaysSucceed) {
    float points[6] = {0, 0, 9, 0, 0, 0};
    EXPECT_EQ((Ids{Code(scene->SetCamera(points, points + 3, &error)), Code(scene->SetZoomFactor(2, &error)),
                   Code(scene->SetPickTolerance(1, &error)), Code(scene->ForceHiddenLineDrawing(0, &error))}),
              Ids(4, 1));
    LONG value = 9;
    for (const LONG given : {5, 0}) {
        EXPECT_TRUE(scene->UseVertexArray(given) == STATUS_OK && scene->IsUsingVertexArray(&value) == STATUS_OK);
        EXPECT_EQ(value, given ? 1 : 0);
    }
    EXPECT_TRUE(scene->LODsAvailable(&(value = 9)) == STATUS_OK && value == 0);
    // Left alone: errCode and results of methods that do nothing.
    LONG picked = 9;
    int code = 55, out = 66;
    EXPECT_EQ(host->RotateExplode(777, 1, 2, 3, 4, &code) | host->Save(nullptr) | host->Load(nullptr) |
                  host->Import(nullptr) | host->EndTDGImport() | host->GetFirstNoteID(&out, &code) |
                  host->GetNextNoteID(&out, &code) | host->DeleteNote(1, &code) |
                  host->SetNoteMessage(1, nullptr, &code) | host->SetNoteText(1, nullptr, &code) |
                  host->SetNoteURL(1, nullptr, &code) | host->SetNoteArrowPosition(1, nullptr, &code) |
                  host->SetNoteTextPosition(1, nullptr, &code) | host->SetNoteTextColor(1, 2, &code) |
                  host->SetNoteFont(1, {}, &code) | host->EnableNoteCrossSection(1, 1, &code) |
                  host->SetTDGImportVer(3) | host->ResetAcceleration() |
                  host->PickNote(nullptr, nullptr, 0, 0, 0, 0, 0, 0, &picked, nullptr, &out, &out, &code),
              STATUS_OK);
    EXPECT_EQ((Ids{code, out, picked}), (Ids{55, 66, 0}));
}

}  // namespace
}  // namespace tessera::test
