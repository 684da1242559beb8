#include "cleanup/filter/recordeq.h"

#include <cmath>
#include <cstdlib>
#include <numbers>

#include "foundation/text.h"

using namespace Foundation;

namespace Orvane {
namespace {

struct Corners {
    double shelf = 0, turnover = 0, corner = 0;  // Hz; 0: none
    bool inverse = false;
};

// The corner whose first-order fall reaches `rolloff` dB at 10 kHz; 0 for no fall at all.
double CornerOfRolloff(double rolloff) {
    const double r = std::abs(rolloff) / 10.0;
    return r > 0.0 ? std::sqrt(1e8 / (std::pow(10.0, r) - 1.0)) : 0.0;
}

Corners CornersOf(const RecordEq& eq) {
    if (!eq.use_time_constants) {
        return {double(eq.shelf), std::abs(double(eq.turnover)), CornerOfRolloff(eq.rolloff), eq.turnover < 0};
    }
    return {TimeConstantToFrequency(eq.t1), TimeConstantToFrequency(std::abs(eq.t2)), TimeConstantToFrequency(eq.t3),
            eq.t2 < 0};
}

double Log1Plus(double ratio) {
    return 10.0 * std::log10(ratio * ratio + 1.0);
}

// The settings commonly published for collectors; makers kept to them more or less, and sources differ by a
// few dB at 10 kHz before 1955. The time constants are those of the standards.
constexpr NamedRecordEq kNamed[] = {
    {"riaa", "*RIAA equalisation (vinyl)", 500, -13.7f, 50, 3180, 318, 75},
    {"flat", "Flat (acoustic recordings)", 0, 0.f, 0, 0, 0, 0},
    {"aes", "AES 1951", 400, -12.f, 0, 0, 0, 0},
    {"nab", "NAB 1942", 500, -16.f, 0, 0, 0, 0},
    {"bsi-78", "BSI 78 rpm (BS 1928:1955)", 353, -10.5f, 50, 3180, 450, 50},
    {"columbia-lp", "Columbia LP", 500, -16.f, 100, 1590, 318, 100},
    {"decca-ffrr-lp", "Decca and London ffrr LP", 500, -10.5f, 100, 0, 0, 0},
    {"capitol", "Capitol 1942", 400, -12.f, 0, 0, 0, 0},
    {"mercury", "Mercury 1947", 400, -12.f, 0, 0, 0, 0},
    {"mgm", "MGM", 500, -12.f, 0, 0, 0, 0},
    {"brunswick-78", "Brunswick 78 rpm", 500, 0.f, 0, 0, 0, 0},
    {"columbia-78-1925", "Columbia 78 rpm 1925", 200, -7.f, 0, 0, 0, 0},
    {"columbia-78-1938", "Columbia 78 rpm 1938", 300, -16.f, 0, 0, 0, 0},
    {"columbia-78-england", "Columbia 78 rpm (England)", 250, -7.f, 0, 0, 0, 0},
    {"decca-78-1934", "Decca 78 rpm 1934", 400, -12.f, 0, 0, 0, 0},
    {"decca-ffrr-78", "Decca and London ffrr 78 rpm 1949", 250, -5.f, 0, 0, 0, 0},
    {"early-78", "Early electrical 78 rpm", 500, -7.f, 0, 0, 0, 0},
    {"emi-78", "EMI 78 rpm 1931", 300, 0.f, 0, 0, 0, 0},
    {"hmv-78", "HMV 78 rpm 1931", 300, 0.f, 0, 0, 0, 0},
    {"parlophone-78", "Parlophone 78 rpm", 500, 0.f, 0, 0, 0, 0},
    {"victor-78-1925", "Victor 78 rpm 1925", 500, -7.f, 0, 0, 0, 0},
    {"victor-78-1938", "Victor 78 rpm 1938", 500, -7.f, 0, 0, 0, 0},
    {"victor-78-1947", "Victor 78 rpm 1947", 500, -12.f, 0, 0, 0, 0},
};

}  // namespace

double TimeConstantToFrequency(int32_t microseconds) {
    return microseconds == 0 ? 0.0 : 1e6 / (2.0 * std::numbers::pi * microseconds);
}

int32_t FrequencyToTimeConstant(int32_t hertz) {
    if (hertz == 0) return 0;
    if (hertz == 50) return 3180;
    if (hertz == 500) return 318;
    return static_cast<int32_t>(std::lround(1e6 / (2.0 * std::numbers::pi * hertz)));
}

double RecordEqDb(const RecordEq& eq, double frequency) {
    const Corners corners = CornersOf(eq);
    double db = 0.0;
    if (corners.corner != 0.0) db -= Log1Plus(frequency / corners.corner);
    if (corners.turnover != 0.0) db += Log1Plus(corners.turnover / frequency);
    if (corners.shelf != 0.0) db -= Log1Plus(corners.shelf / frequency);
    return corners.inverse ? -db : db;
}

std::unique_ptr<FFTCurve> BuildCurve(const RecordEq& eq, int from_rpm, int to_rpm, SpeedMode speed_mode) {
    auto curve = std::make_unique<FFTCurve>();
    if (eq.fft_curve) {
        *curve = *eq.fft_curve;
    } else {
        double speed = 1.0;
        if (speed_mode == SpeedMode::ToOverFrom) speed = double(to_rpm) / from_rpm;
        if (speed_mode == SpeedMode::FromOverTo) speed = double(from_rpm) / to_rpm;
        curve->name = eq.name;
        for (const float frequency : kCurveFrequencies) {
            curve->points.push_back({frequency, float(RecordEqDb(eq, frequency * speed))});
        }
    }
    for (FFTCurve::Point& point : curve->points) point.gain = float(point.gain + 0.1 * eq.level_a);
    return curve;
}

std::span<const NamedRecordEq> GetNamedRecordEqs() {
    return kNamed;
}

bool FindRecordEq(std::string_view name, RecordEq& eq) {
    for (const NamedRecordEq& named : kNamed) {
        if (!EqualNoCaseAscii(name, named.key) && !EqualNoCaseAscii(name, named.title)) continue;
        eq = RecordEq();
        eq.name = named.title;
        eq.turnover = named.turnover;
        eq.rolloff = named.rolloff;
        eq.shelf = named.shelf;
        eq.use_time_constants = named.t2 != 0;
        eq.t1 = named.t1;
        eq.t2 = named.t2;
        eq.t3 = named.t3;
        return true;
    }
    return false;
}

}  // namespace Orvane
