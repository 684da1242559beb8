#include "present/curveedit.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "cleanup/repair/interpolatecurve.h"
#include "foundation/messages.h"

using namespace Foundation;

namespace Orvane {
namespace {

constexpr double kHighest = 200000;  // Hz; above anything that is recorded
constexpr double kNearest = 1.0001;  // the least ratio of two neighbours, when one is dragged

}  // namespace

double CurveEdit::Before(int index) const {
    return index > 0 ? static_cast<double>(curve.points[static_cast<size_t>(index - 1)].freq) : 0;
}

double CurveEdit::Behind(int index) const {
    const auto next = static_cast<size_t>(index + 1);
    return next < curve.points.size() ? static_cast<double>(curve.points[next].freq) : kHighest;
}

// Written so that what is not a number is refused.
Outcome CurveEdit::Check(double frequency, double gain, double before, double behind) const {
    if (!(frequency > 0)) return Outcome::Fail(Kind::Refused, Msg::CurveFrequencyTooLow, frequency);
    if (!(frequency > before && frequency < behind)) {
        return Outcome::Fail(Kind::Refused, Msg::CurveOutOfOrder, frequency, before, behind);
    }
    if (!(gain >= curve.axis_min && gain <= curve.axis_max)) {
        return Outcome::Fail(Kind::Refused, Msg::CurveGainTooHigh, gain, curve.axis_min, curve.axis_max);
    }
    return {};
}

Outcome CurveEdit::SetPoint(int index, double frequency, double gain) {
    const Outcome checked = Check(frequency, gain, Before(index), Behind(index));
    if (checked) curve.points[static_cast<size_t>(index)] = {static_cast<float>(frequency), static_cast<float>(gain)};
    return checked;
}

Result<int> CurveEdit::InsertPoint(double frequency, double gain) {
    const auto place = std::find_if(curve.points.begin(), curve.points.end(), [&](const FFTCurve::Point& point) {
        return static_cast<double>(point.freq) >= frequency;
    });
    const auto index = static_cast<int>(place - curve.points.begin());
    const double behind = place != curve.points.end() ? static_cast<double>(place->freq) : kHighest;
    if (Outcome checked = Check(frequency, gain, Before(index), behind); !checked) return checked;
    curve.points.insert(place, {static_cast<float>(frequency), static_cast<float>(gain)});
    return index;
}

void CurveEdit::DragPoint(int index, double frequency, double gain) {
    FFTCurve::Point& point = curve.points[static_cast<size_t>(index)];
    const double least = std::max(Before(index), 1.0) * kNearest, most = Behind(index) / kNearest;
    if (least <= most) point.freq = static_cast<float>(std::clamp(frequency, least, most));
    point.gain =
        static_cast<float>(std::clamp(gain, static_cast<double>(curve.axis_min), static_cast<double>(curve.axis_max)));
}

void CurveEdit::RemovePoint(int index) {
    curve.points.erase(curve.points.begin() + index);
}

std::vector<CurveDot> CurveEdit::DrawnLine(int steps) const {
    std::vector<CurveDot> line;
    const size_t n = curve.points.size();
    if (static_cast<int>(n) < kInterpolateCurveMinPoints) {
        for (const FFTCurve::Point& point : curve.points) line.push_back({point.freq, point.gain});
        return line;
    }
    // Over the axis of pitch, along which the points need not stand in equal steps.
    std::vector<double> pitch, gain, drawn_pitch((n - 1) * static_cast<size_t>(steps)), drawn_gain(drawn_pitch.size());
    for (const FFTCurve::Point& point : curve.points) {
        pitch.push_back(std::log(static_cast<double>(point.freq)));
        gain.push_back(point.gain);
    }
    InterpolateCurve<double>(pitch, steps, drawn_pitch);
    InterpolateCurve<double>(gain, steps, drawn_gain);
    for (size_t i = 0; i < drawn_pitch.size(); ++i) line.push_back({std::exp(drawn_pitch[i]), drawn_gain[i]});
    line.push_back({curve.points.back().freq, curve.points.back().gain});
    return line;
}

Outcome CheckCurve(const FFTCurve& curve) {
    CurveEdit edit(curve);
    for (size_t i = 0; i < curve.points.size(); ++i) {
        const FFTCurve::Point& point = curve.points[i];
        if (Outcome checked = edit.SetPoint(static_cast<int>(i), point.freq, point.gain); !checked) return checked;
    }
    return {};
}

}  // namespace Orvane
