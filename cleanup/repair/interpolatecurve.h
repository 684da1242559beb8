// A smooth curve through equally spaced points: a cubic Bezier piece for each interval, its inner points taken from
// control values that a banded approximate inverse of the spline's equations gives. Pure.
#pragma once

#include <span>

#include "foundation/assert.h"

namespace Orvane {

constexpr int kInterpolateCurveMinPoints = 6;

// The control value of point i; d holds at least 6 points.
template <class Real>
Real CurveControlValue(std::span<const Real> d, int i) {
    const int n = static_cast<int>(d.size());
    if (i == 0 || i == n - 1) return d[i];
    if (i > 2 && i < n - 3) {
        return Real(0.1) * d[i - 2] - Real(0.45) * d[i - 1] + Real(1.7) * d[i] - Real(0.45) * d[i + 1] +
               Real(0.1) * d[i + 2];
    }
    // The second and third point from either end, counted from that end.
    const bool at_front = i <= 2;
    const auto at = [&](int place) { return d[at_front ? place : n - 1 - place]; };
    if ((at_front ? i : n - 1 - i) == 1) {
        return Real(1.6077) * at(1) - Real(0.26794) * at(0) - Real(0.43062) * at(2) + Real(0.11483) * at(3) -
               Real(0.028708) * at(4) + Real(0.004785) * at(5);
    }
    return Real(0.07177) * at(0) - Real(0.43062) * at(1) + Real(1.7225) * at(2) - Real(0.45933) * at(3) +
           Real(0.11483) * at(4) - Real(0.019139) * at(5);
}

// Draws the curve through the points `d` (6 or more) with `steps` values an interval into `out`, which holds
// (d.size() - 1) * steps of them. Each interval begins with its own first point; the last point is not drawn.
template <class Real>
void InterpolateCurve(std::span<const Real> d, int steps, std::span<Real> out) {
    const int n = static_cast<int>(d.size());
    ORVANE_ASSERT(n >= kInterpolateCurveMinPoints && steps > 0);
    ORVANE_ASSERT(static_cast<int>(out.size()) >= (n - 1) * steps);
    Real* place = out.data();
    Real before = CurveControlValue(d, 0);
    for (int i = 1; i < n; i++) {
        const Real control = CurveControlValue(d, i);
        const Real p1 = Real(0.6667) * before + Real(0.3333) * control;
        const Real p2 = Real(0.3333) * before + Real(0.6667) * control;
        const Real start = d[i - 1], c0 = 3 * start, c1 = 3 * p1, c2 = 3 * p2;
        *place++ = start;
        for (int k = 1; k < steps; k++) {
            const Real t = static_cast<Real>(k) / static_cast<Real>(steps);
            *place++ = start + (c1 - c0 + ((c0 - 6 * p1 + c2) + (c1 - start - c2 + d[i]) * t) * t) * t;
        }
        before = control;
    }
}

}  // namespace Orvane
