// What the watcher costs a draw while memory is plentiful: frames with the watcher at work, which then only looks, and
// with one that never wakes, in turns.
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <memory>
#include <vector>

#include "component/memory_watcher.h"
#include "scene.h"

namespace {

using Clock = std::chrono::steady_clock;

constexpr int kInstances = 10000, kFrames = 40, kRounds = 9;

double Median(std::vector<double> values) {
    std::nth_element(values.begin(), values.begin() + values.size() / 2, values.end());
    return values[values.size() / 2];
}

// Milliseconds of each frame.
void Draw(double pace, std::vector<double>& frames) {
    tessera::MemoryWatcher::g_settings.pace = pace;
    tessera::test::Scene scene;
    const tessera::test::Placed first = scene.AddMesh(tessera::test::Sphere(8, 8));
    for (int i = 1; i < kInstances; ++i) scene.AddInstance(first.part);
    scene.Draw();
    for (int i = 0; i < kFrames; ++i) {
        const Clock::time_point start = Clock::now();
        scene.Draw();
        frames.push_back(std::chrono::duration<double, std::milli>(Clock::now() - start).count());
    }
}

}  // namespace

int main() {
    std::vector<double> frames[3];
    for (int round = 0; round < kRounds; ++round) {
        Draw(1, frames[0]);     // as it is
        Draw(0.01, frames[1]);  // looks a hundred times as often
        Draw(1e6, frames[2]);   // never
    }
    const char* const names[] = {"at work", "a hundred times as busy", "asleep"};
    for (int i = 0; i < 3; ++i) std::printf("%-24s %.3f ms a frame\n", names[i], Median(frames[i]));
    return 0;
}
