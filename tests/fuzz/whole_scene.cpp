#include "whole_scene.h"

#include "failure.h"
#include "tdpm_loader.h"

namespace tessera::test {

namespace {

void UseAll(ITessera& scene) {
    int error = 0, node = 0;
    LONG picked = 0;
    float low[3], high[3], numbers[12] = {};
    double volume = 0;
    scene.GetBoundBox(0, low, high, &error);
    // A grid of a few cells: the fuzzer is after faults, not after digits.
    scene.SetVolumePrecision(0, 0.002F, &error);
    scene.GetVolume(0, &volume, &error);
    scene.GetSurfaceArea(0, &volume, &error);
    scene.GetProjectedSurfaceXY(0, numbers, &error);
    float eye[3] = {high[0] + 1, high[1] + 2, high[2] + 3}, view[3], normal[3] = {1, 2, 3}, middle[3];
    for (int i = 0; i < 3; ++i) middle[i] = (low[i] + high[i]) / 2, view[i] = middle[i] - eye[i];
    scene.SwitchCrossSectionPlane(0, 1, &error);
    scene.SetCrossSectionPlane(0, middle, normal, &error);
    scene.GetCrossSectionLength(0, numbers, &error);
    VARIANT_BOOL met = VARIANT_FALSE;
    scene.IntersectRay(eye, view, &met, numbers, numbers + 3, &node, &error);
    double flat[16] = {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1};
    float* block = nullptr;
    scene.PickPoint(eye, flat, middle[0], middle[1], 10, &picked, numbers, &node, &error);
    scene.PickSegment(eye, view, flat, middle[0], middle[1], 10, &picked, numbers, numbers + 3, numbers + 6, &node,
                      &error);
    scene.PickArc(eye, view, flat, middle[0], middle[1], 10, &picked, numbers, numbers + 3, &block, &node, &error);
    CoTaskMemFree(block);
    scene.SetThresholdAngle(0, 20, &error);
    BSTR const nowhere = SysAllocString(u"/dev/null");
    scene.WriteTDPM(nowhere, &error);
    scene.WriteVRML(nowhere);
    scene.WriteVRML_2(nowhere);
    scene.SaveCrossSection(nowhere, &error);
    SysFreeString(nowhere);
}

}  // namespace

void LoadAndUseAll(std::vector<unsigned char> bytes) {
    try {
        const host::TdpmFile file("input", std::move(bytes));
        const host::Scene scene = host::CreateScene();
        host::LoadTdpm(*scene, file);
        UseAll(*scene);
    } catch (const host::Failure&) {
    }
}

}  // namespace tessera::test
