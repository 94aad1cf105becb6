#include "progress.h"

#include <unistd.h>

#include <algorithm>
#include <cstdio>

namespace tessera::host {

namespace {

constexpr int kBarLength = 30;
constexpr auto kSilentFor = std::chrono::milliseconds(500);
constexpr auto kBetweenUpdates = std::chrono::milliseconds(80);

}  // namespace

Progress::Progress(bool enabled)
    : enabled_(enabled && ::isatty(STDERR_FILENO) != 0), started_(std::chrono::steady_clock::now()), last_(started_) {}

void Progress::Show(const std::string& label, double fraction) {
    const auto now = std::chrono::steady_clock::now();
    if (!enabled_ || now - started_ < kSilentFor || now - last_ < kBetweenUpdates) return;
    last_ = now;
    drawn_ = true;
    std::string bar(kBarLength, '.');
    if (fraction >= 0) {
        const int filled = static_cast<int>(std::min(fraction, 1.0) * kBarLength);
        std::fill_n(bar.begin(), filled, '#');
        std::fprintf(stderr, "\r\033[K[%s] %3d %% %s", bar.c_str(), static_cast<int>(std::min(fraction, 1.0) * 100),
                     label.c_str());
    } else {
        // A mark that wanders says that work goes on.
        const auto step = std::chrono::duration_cast<std::chrono::milliseconds>(now - started_).count() / 100;
        bar[static_cast<std::size_t>(step % kBarLength)] = '#';
        std::fprintf(stderr, "\r\033[K[%s]       %s", bar.c_str(), label.c_str());
    }
    std::fflush(stderr);
}

void Progress::Clear() {
    if (!drawn_) return;
    std::fputs("\r\033[K", stderr);
    std::fflush(stderr);
    drawn_ = false;
}

}  // namespace tessera::host
