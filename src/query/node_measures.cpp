// The way of the measures down the tree. Hidden nodes count.
#include "scene/assembly.h"
#include "scene/part.h"
#include "scene/part_instance.h"

namespace tessera {

double CAssembly::GetVolume() {
    double sum = 0;
    for (CNode* child : children_) sum += child->GetVolume();
    return sum;
}

double CAssembly::GetSurfaceArea() {
    double sum = 0;
    for (CNode* child : children_) sum += child->GetSurfaceArea();
    return sum;
}

double CAssembly::GetProjectedSurfaceXY() {
    double sum = 0;
    for (CNode* child : children_) sum += child->GetProjectedSurfaceXY();
    return sum;
}

// An assembly without volume has no centre: the numbers are then not finite.
Vec3 CAssembly::GetCenterOfMass(const CMatrix& M, const CMatrix& E) {
    const CMatrix T = transform * M, X = explodeTransform * E;
    double volume = 0;
    Vec3 moment;
    for (CNode* child : children_) {
        const double v = child->GetVolume();
        const Vec3 p = child->GetCenterOfMass(T, X);
        volume += v;
        moment = {static_cast<float>(moment.x + v * p.x), static_cast<float>(moment.y + v * p.y),
                  static_cast<float>(moment.z + v * p.z)};
    }
    const double scale = 1 / volume;
    return {static_cast<float>(moment.x * scale), static_cast<float>(moment.y * scale),
            static_cast<float>(moment.z * scale)};
}

double CPartInstance::GetVolume() { return part_ ? part_->GetVolume() : 0; }
double CPartInstance::GetSurfaceArea() { return part_ ? part_->GetSurfaceArea() : 0; }
double CPartInstance::GetProjectedSurfaceXY() { return part_ ? part_->GetProjectedSurfaceXY() : 0; }

Vec3 CPartInstance::GetCenterOfMass(const CMatrix& M, const CMatrix& E) {
    return part_ ? part_->GetCenterOfMass(Placement(M, E)) : Vec3();
}

}  // namespace tessera
