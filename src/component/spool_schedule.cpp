#include "component/spool_schedule.h"

namespace tessera {
namespace {

// A process may grow beyond the machine's memory by this, as part of what counts as used is counted twice.
constexpr double kFactor = 1.4;
// What a process of 32 bits can have at most before allocations fail.
constexpr std::uint64_t kNarrowLimit = 2100000000;
// A pass that writes less has found nothing.
constexpr std::uint64_t kNothing = 0x2800;
// The limit rises by this where nothing is left to write, and in a process of 32 bits up to that.
constexpr std::uint64_t kStep = 0x3200000;
constexpr std::int32_t kHighestNarrow = 0x73333333;

}  // namespace

SpoolSchedule::SpoolSchedule(std::uint64_t physical, bool narrow)
    : narrow_(narrow), limit_(Sum(static_cast<std::uint64_t>(static_cast<double>(physical) * kFactor))) {}

bool SpoolSchedule::IsDue(std::uint64_t used) const {
    return Sum(used) >= limit_ || (narrow_ && Sum(used) > kNarrowLimit);
}

void SpoolSchedule::Passed(std::uint64_t used, std::uint64_t written) {
    if (Sum(used) < limit_) {
        pause_ = kSlow;
    } else if (written >= kNothing) {
        pause_ = kFast;
    } else if (!narrow_ || static_cast<std::int32_t>(limit_) < kHighestNarrow) {
        limit_ = Sum(limit_ + kStep);
    }
}

}  // namespace tessera
