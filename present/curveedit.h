// The editing of an equalisation curve, point by point. Pure: a copy is edited, and kept by ChangeSetting.
#pragma once

#include <vector>

#include "collection/corrections.h"
#include "foundation/outcome.h"

namespace Orvane {

// A point of the drawn curve.
struct CurveDot {
    double frequency;  // Hz
    double gain;       // dB
};

class CurveEdit {
public:
    explicit CurveEdit(FFTCurve edited) : curve(std::move(edited)) {}
    const FFTCurve& Curve() const { return curve; }

    // As typed. Refused, and nothing changes, when the frequency is not above 0 or does not lie between those of the
    // neighbours, or the gain is beyond the curve's axis.
    Foundation::Outcome SetPoint(int index, double frequency, double gain);
    // Its index.
    Foundation::Result<int> InsertPoint(double frequency, double gain);
    // As dragged: held between the neighbours, and to the axis.
    void DragPoint(int index, double frequency, double gain);
    // A curve without points does nothing.
    void RemovePoint(int index);

    // The smooth line through the points, which ends at both of them, with `steps` dots an interval. Fewer than six
    // points are joined by straight lines.
    std::vector<CurveDot> DrawnLine(int steps) const;

private:
    Foundation::Outcome Check(double frequency, double gain, double before, double behind) const;
    double Before(int index) const;
    double Behind(int index) const;

    FFTCurve curve;
};

// Refused when a curve from elsewhere has points that an edit would not let through.
Foundation::Outcome CheckCurve(const FFTCurve& curve);

}  // namespace Orvane
