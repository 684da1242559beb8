// A recording's noise, as its hiss filter takes it.
#pragma once

#include "cleanup/filter/noisesample.h"
#include "collection/filehistory.h"

namespace Orvane {

// Measures the stretch from `start` to `end` (frames in the file): what comes out of the hum and rumble filters there.
// 0, or a StreamError with the reason as last error; a stretch that is shorter than a transform block is refused. Main
// thread.
[[nodiscard]] int MeasureRecordingNoise(FileHistoryEntry& entry, int64_t start, int64_t end, NoiseSample& noise);

}  // namespace Orvane
