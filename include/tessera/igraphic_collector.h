// The receiver that a host supplies to be handed the geometry of the scene.
#pragma once

#include "platform.h"

namespace tessera {

inline constexpr IID IID_IGraphicDataCollector = {
    0x49EBF4FE, 0xC61E, 0x4572, {0xA7, 0x81, 0x8B, 0x32, 0xA9, 0xFE, 0xF4, 0xFB}};

// Handed to ITessera::ScanGraphicData and called once for each run of points, on the calling thread. It must not change
// the scene meanwhile.
class IGraphicDataCollector : public IUnknown {
public:
    // Receives one triangle strip of a mesh, or one run of a polyline. A run ends at a point whose stipple code is not
    // the next one's; the next run begins with that point again, or with the next one where that has StippleGap or
    // StippleGap2. So a run may have one point, or the polyline's last one twice.
    // points: count points of three doubles, in world coordinates. color: red, green and blue of the element's external
    // colour, red and blue below 0.15 taken as 0: what an import brings may be as dark, what is set is kept at 0.2 at
    // least. kind: 0 for a strip, the StippleCode of the point behind the first for a run of a polyline.
    // flag: always 1. Both arrays are valid during the call only. What the method returns is not looked at.
    virtual HRESULT AddPointRun(ULONG count, const double* points, const double* color, int kind, ULONG flag) = 0;

protected:
    ~IGraphicDataCollector() = default;
};

}  // namespace tessera
