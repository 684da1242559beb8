// How the repair of a click ended, as the interpolator finds out and the scan has to know.
#pragma once

namespace Orvane {

// With Overshoot there is a result, held to full scale; the last two leave none. TooNearEdge: the audio at hand ends
// before the repair's context does.
enum class RepairResult { Repaired = 0, Overshoot = 2, TooNearEdge = 4, Singular = 5 };

}  // namespace Orvane
