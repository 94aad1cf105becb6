// The interface's methods: picks.
#include <algorithm>
#include <cfenv>
#include <cmath>

#include "component/tessera.h"
#include "platform/debug_output.h"
#include "query/pick_frame.h"

namespace tessera {

// A pick as the host asks for it.
struct PickQuery {
    const float* eye;
    const float* view;  // null where the kind needs none
    const double* screen;
    float x, y, diagonal;
};

namespace {

constexpr float kNoView[3] = {1, 0, 0};
constexpr double kPickWidth = 9.0;  // of the tolerance, over the host's diagonal

Vec3 PointOf(const float* p) { return {p[0], p[1], p[2]}; }

void Give(float* out, const Vec3& p) {
    if (!out) return;
    out[0] = p.x;
    out[1] = p.y;
    out[2] = p.z;
}

PickView ViewOf(const PickQuery& query) {
    PickView view;
    view.eye = PointOf(query.eye);
    view.view = SafeNormal(query.view[0], query.view[1], query.view[2]);
    if (query.screen) view.screen.SetFromArray(query.screen, false);
    view.x = query.x;
    view.y = query.y;
    view.tolerance = static_cast<float>(kPickWidth / query.diagonal);
    return view;
}

// A trapping or rounding mode that a fault has left behind would outlive the pick.
void ResetFloatingPoint() { std::fesetenv(FE_DFL_ENV); }

// The points, after a first float from which hosts get their number by rounding up. The host frees the block.
float* ArcBlock(const std::vector<Vec3>& points) {
    const std::size_t n = points.size();
    auto* const block = static_cast<float*>(CoTaskMemAlloc((n + 1) * 3 * sizeof(float)));
    if (!block) return nullptr;
    std::fill_n(block, 3 * n + 3, 0.0f);
    block[0] = static_cast<float>(n) - 0.2f;
    for (std::size_t i = 0; i < n; ++i) Give(block + 1 + 3 * i, points[i]);
    return block;
}

}  // namespace

bool CTessera::Pick(PickKind kind, const PickView& view, PickHit& hit) {
    return m_root->Pick(kind, view, CMatrix(), CMatrix(), hit);
}

bool CTessera::__PickTriangle(const PickView& view, PickHit& hit) noexcept {
    try {
        return Pick(PickKind::Surface, view, hit);
    } catch (...) {
        WriteDebugText("CTessera::__PickTriangle EXCEPTION_EXECUTE_HANDLER error\n");
        ResetFloatingPoint();
        return false;
    }
}

bool CTessera::PickAndGive(PickKind kind, const PickQuery& query, LONG* picked, float* pPicked, int* nodePicked,
                           PickHit& hit) {
    Give(picked, LONG{0});
    if (!query.eye || !query.view || (!query.screen && kind != PickKind::Ray)) return false;
    const PickView view = ViewOf(query);
    const bool found = kind == PickKind::Surface ? __PickTriangle(view, hit) : Pick(kind, view, hit);
    Give(picked, LONG{found});
    if (found) Give(pPicked, hit.point);
    if (found || hit.nodeId == -1) Give(nodePicked, hit.nodeId);
    return true;
}

HRESULT CTessera::PickPoint(float* pOfView, double* trans2Screen, float xScreen, float yScreen, float diagonal,
                            LONG* picked, float* pPicked, int* nodePicked, int* errCode) {
    PickHit hit;
    const PickQuery query{pOfView, kNoView, trans2Screen, xScreen, yScreen, diagonal};
    if (!PickAndGive(PickKind::Point, query, picked, pPicked, nodePicked, hit)) return Refuse(errCode);
    Give(errCode, static_cast<int>(ErrDone));
    return STATUS_OK;
}

HRESULT CTessera::PickEdge(float* pOfView, float* vectView, double* trans2Screen, float xScreen, float yScreen,
                           float diagonal, LONG* picked, float* pPicked, int* nodePicked, int* errCode) {
    PickHit hit;
    const PickQuery query{pOfView, vectView, trans2Screen, xScreen, yScreen, diagonal};
    if (!PickAndGive(PickKind::Edge, query, picked, pPicked, nodePicked, hit)) return Refuse(errCode);
    Give(errCode, static_cast<int>(ErrDone));
    return STATUS_OK;
}

HRESULT CTessera::PickCrossSectionPoint(float* pOfView, float* vectView, double* trans2Screen, float xScreen,
                                        float yScreen, float diagonal, LONG* picked, float* pPicked, int* nodePicked,
                                        int* errCode) {
    PickHit hit;
    const PickQuery query{pOfView, vectView, trans2Screen, xScreen, yScreen, diagonal};
    if (!PickAndGive(PickKind::SectionPoint, query, picked, pPicked, nodePicked, hit)) return Refuse(errCode);
    Give(errCode, static_cast<int>(ErrDone));
    return STATUS_OK;
}

HRESULT CTessera::PickCrossSectionEdge(float* pOfView, float* vectView, double* trans2Screen, float xScreen,
                                       float yScreen, float diagonal, LONG* picked, float* pPicked, int* nodePicked,
                                       int* errCode) {
    PickHit hit;
    const PickQuery query{pOfView, vectView, trans2Screen, xScreen, yScreen, diagonal};
    if (!PickAndGive(PickKind::SectionEdge, query, picked, pPicked, nodePicked, hit)) return Refuse(errCode);
    Give(errCode, static_cast<int>(ErrDone));
    return STATUS_OK;
}

HRESULT CTessera::PickSegment(float* pOfView, float* vectView, double* trans2Screen, float xScreen, float yScreen,
                              float diagonal, LONG* picked, float* pPicked, float* pStart, float* pEnd, int* nodePicked,
                              int* errCode) {
    PickHit hit;
    LONG found = 0;
    Give(picked, found);
    const PickQuery query{pOfView, vectView, trans2Screen, xScreen, yScreen, diagonal};
    if (!PickAndGive(PickKind::Segment, query, &found, pPicked, nodePicked, hit)) return Refuse(errCode);
    Give(picked, found);
    Give(errCode, static_cast<int>(ErrDone));
    if (!found) return STATUS_OK;
    Give(pStart, hit.start);
    Give(pEnd, hit.end);
    return STATUS_OK;
}

HRESULT CTessera::PickArc(float* pOfView, float* vectView, double* trans2Screen, float xScreen, float yScreen,
                          float diagonal, LONG* picked, float* pPicked, float* center, float** pointsOfArc,
                          int* nodePicked, int* errCode) {
    PickHit hit;
    LONG found = 0;
    Give(picked, found);
    const PickQuery query{pOfView, vectView, trans2Screen, xScreen, yScreen, diagonal};
    if (!PickAndGive(PickKind::Arc, query, &found, pPicked, nodePicked, hit)) return Refuse(errCode);
    Give(picked, found);
    Give(errCode, static_cast<int>(ErrDone));
    if (!found) return STATUS_OK;
    Give(center, hit.center);
    if (pointsOfArc) *pointsOfArc = ArcBlock(hit.arc);
    return STATUS_OK;
}

HRESULT CTessera::PickPartInstance(float* pOfView, float* vectView, double* trans2Screen, float xScreen, float yScreen,
                                   float diagonal, LONG* picked, float* pPicked, int* nodePicked, int* errCode) {
    return PickSurface({pOfView, vectView, trans2Screen, xScreen, yScreen, diagonal}, picked, pPicked, nullptr,
                       nodePicked, errCode, "CTessera::PickPartInstance error\n");
}

// errCode tells a miss here.
HRESULT CTessera::PickPartInstance2(float* pOfView, float* vectView, double* trans2Screen, float xScreen, float yScreen,
                                    float diagonal, LONG* picked, float* pPicked, float* normPicked, int* nodePicked,
                                    int* errCode) {
    LONG found = 0;
    int error = 0;
    const HRESULT status = PickSurface({pOfView, vectView, trans2Screen, xScreen, yScreen, diagonal}, &found, pPicked,
                                       normPicked, nodePicked, &error, "CTessera::PickPartInstance2 error\n");
    Give(picked, found);
    Give(errCode, found ? error : static_cast<int>(ErrNotFound));
    return status;
}

HRESULT CTessera::PickSurface(const PickQuery& query, LONG* picked, float* pPicked, float* normPicked, int* nodePicked,
                              int* errCode, const char* failure) {
    try {
        PickHit hit;
        LONG found = 0;
        Give(picked, found);
        if (normPicked) hit.normal = PointOf(normPicked);  // kept where an edge or a point is hit
        if (!PickAndGive(PickKind::Surface, query, &found, pPicked, nodePicked, hit)) return Refuse(errCode);
        Give(picked, found);
        if (found) Give(normPicked, hit.normal);
        Give(errCode, static_cast<int>(ErrDone));
    } catch (...) {
        WriteDebugText(failure);
        ResetFloatingPoint();
        Give(errCode, static_cast<int>(ErrNotFound));
    }
    return STATUS_OK;
}

HRESULT CTessera::IntersectRay(float* pOfView, float* vectView, VARIANT_BOOL* picked, float* pPicked, float* normPicked,
                               int* nodePicked, int* errCode) {
    PickHit hit;
    LONG found = 0;
    Give(picked, VARIANT_FALSE);
    if (normPicked) hit.normal = PointOf(normPicked);
    const PickQuery query{pOfView, vectView, nullptr, 0, 0, 1};
    if (!PickAndGive(PickKind::Ray, query, &found, pPicked, nodePicked, hit)) return Refuse(errCode);
    Give(picked, found ? VARIANT_TRUE : VARIANT_FALSE);
    if (found) Give(normPicked, hit.normal);
    Give(errCode, static_cast<int>(ErrDone));
    return STATUS_OK;
}

}  // namespace tessera
