#include "devices/lossdetector.h"

#include <algorithm>
#include <cmath>

#include "foundation/clock.h"

namespace Tesslib {
namespace {

constexpr double kClockTolerance = 500e-6;
constexpr int64_t kSettleNs = Foundation::kNsPerSecond;  // devices start in fits
constexpr double kThresholdOfBlock = 0.7;
// Told within two seconds, a delivery's delay included.
constexpr double kLeastStepNs = 1.9e9;
constexpr double kMostStepNs = 10e9;
constexpr double kFadeNs = 600e9;

}  // namespace

LossDetector::LossDetector(int32_t rate, int32_t block_frames)
    : rate(rate), threshold(kThresholdOfBlock * block_frames) {}

std::optional<LostFrames> LossDetector::Delivered(int64_t n_frames, int64_t frame, int64_t now_ns) {
    const auto frames_in = [this](int64_t ns) { return static_cast<double>(ns) * rate / Foundation::kNsPerSecond; };
    delivered += n_frames;
    if (first_ns < 0) first_ns = last_ns = now_ns;
    const double lag = frames_in(now_ns - first_ns) - static_cast<double>(delivered);
    longest_step *= 1 - std::min(1.0, static_cast<double>(now_ns - last_ns) / kFadeNs);
    last_ns = now_ns;

    const double excess = lag - usual_lag;
    if (now_ns - first_ns <= kSettleNs || excess <= threshold) {
        if (now_ns - first_ns <= kSettleNs) {
            usual_lag = lag;
        } else {
            usual_lag = std::min(lag, usual_lag + kClockTolerance * frames_in(now_ns - usual_ns));
        }
        usual_ns = now_ns;
        if (step_ns >= 0) longest_step = std::max(longest_step, static_cast<double>(now_ns - step_ns));
        step_ns = -1;
        return {};
    }
    if (step_ns < 0) {
        step_ns = now_ns;
        step_frame = frame;
        least_excess = excess;
    }
    least_excess = std::min(least_excess, excess);
    const double needed_ns = std::clamp(2 * longest_step, kLeastStepNs, kMostStepNs);
    if (static_cast<double>(now_ns - step_ns) < needed_ns) return {};
    step_ns = -1;
    usual_lag += least_excess;
    usual_ns = now_ns;
    return LostFrames{step_frame, std::llround(least_excess)};
}

}  // namespace Tesslib
