// Curves and point sets from a graphic stream.
#include "exchange/graphic_stream.h"
#include "geometry/point_set.h"
#include "geometry/polyline.h"

namespace tessera {

void CPolyLine::ReadStream(GraphicStream& stream) {
    externalColor = internalColor = borderColor = edgeColor = stream.ReadColor();
    points_.resize(stream.ReadCount());
    for (PolyLinePoint& p : points_) {
        p.position = stream.ReadVec3();
        p.stipple = stream.ReadByte();
    }
}

void CPointSet::ReadStream(GraphicStream& stream) {
    externalColor = internalColor = borderColor = edgeColor = stream.ReadColor();
    points_.resize(stream.ReadCount());
    stream.Read(points_.data(), sizeof(Vec3) * points_.size());
}

}  // namespace tessera
