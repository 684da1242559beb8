// Preset files of equalisers: whatever the text, each curve read can be kept as a preset and gives finite gains.
#include "cleanup/filter/curvefile.h"

#include <cmath>

#include "cleanup/filter/eqcurves.h"
#include "cleanup/filter/presets.h"
#include "foundation/assert.h"
#include "foundation/lasterror.h"
#include "foundation/text.h"

using namespace Foundation;
using namespace Orvane;

namespace {

void CheckPoints(const FFTCurve& curve) {
    ORVANE_ASSERT(!curve.points.empty() && ValidUtf8(curve.name) == curve.name);
    float last = 0;
    for (const FFTCurve::Point& point : curve.points) {
        ORVANE_ASSERT(point.freq > 0 && point.freq >= last && std::isfinite(point.freq) && std::isfinite(point.gain));
        last = point.freq;
    }
}

void CheckGains(const std::vector<const FFTCurve*>& curves) {
    CurveGains gains(44100, 4096);
    gains.SetCurves(curves, 0);
    for (const float gain : gains.GetGains()) ORVANE_ASSERT(std::isfinite(gain) && gain >= 0);
}

void CheckPreset(const FFTCurve& curve) {
    FFTEq eq;
    eq.curve = curve;
    const std::vector<Preset<FFTEq>> kept = ParsePresets<FFTEq>(PresetLine("kept", eq));
    ORVANE_ASSERT(kept.size() == 1 && kept[0].name == "kept");
    ORVANE_ASSERT(kept[0].settings.curve.points.size() == curve.points.size());
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    const std::vector<FFTCurve> curves = ParseCurveFile(text, "eq.xml");
    ORVANE_ASSERT(!curves.empty() || !Foundation::GetLastError().text.empty());
    std::vector<const FFTCurve*> all;
    for (const FFTCurve& curve : curves) {
        CheckPoints(curve);
        CheckPreset(curve);
        if (all.size() < 3) all.push_back(&curve);
    }
    CheckGains(all);
    return 0;
}
