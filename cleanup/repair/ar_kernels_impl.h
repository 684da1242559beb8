// The bodies of the kernels of ar_kernels.h, for vectors of ORVANE_SIMD_WIDTH doubles. Included only by the
// ar_kernels_*.cpp files, each of which is compiled for one kind of processor: nothing here may have external
// linkage, and nothing of the standard library may be called but what leaves no code behind.
#pragma once

#include <cstring>
#include <utility>

#include "cleanup/repair/ar_kernels.h"

namespace Orvane {
namespace {

constexpr int kWidth = ORVANE_SIMD_WIDTH;
constexpr int kLanes = 16;
constexpr int kVectors = kLanes / kWidth;

typedef double Vector __attribute__((vector_size(kWidth * sizeof(double))));

inline Vector Load(const double* p) {
    Vector v;
    std::memcpy(&v, p, sizeof v);
    return v;
}

inline void Store(double* p, Vector v) {
    std::memcpy(p, &v, sizeof v);
}

template <int... I>
inline Vector LastThenFirst(Vector before, Vector v, std::integer_sequence<int, I...>) {
    return __builtin_shufflevector(before, v, (kWidth - 1 + I)...);
}

// v moved up by one place, its first place taken by the last of the vector before.
inline Vector MoveUp(Vector before, Vector v) {
    return LastThenFirst(before, v, std::make_integer_sequence<int, kWidth>());
}

template <int... I>
inline Vector Reverse(Vector v, std::integer_sequence<int, I...>) {
    return __builtin_shufflevector(v, v, (kWidth - 1 - I)...);
}

inline Vector LoadReversed(const double* p) {
    return Reverse(Load(p), std::make_integer_sequence<int, kWidth>());
}

// 16 running sums. Joined as l with l + 8, then l + 4, l + 2, l + 1, whatever the width.
struct Sums {
    Vector v[kVectors] = {};

    double Total() const {
        Vector t[kVectors];
        std::memcpy(t, v, sizeof t);
#pragma GCC unroll 8
        for (int half = kVectors / 2; half > 0; half /= 2) {
#pragma GCC unroll 8
            for (int q = 0; q < half; q++) t[q] += t[q + half];
        }
        return JoinLanes(t[0]);
    }

private:
    static double JoinLanes(Vector t) {
#if ORVANE_SIMD_WIDTH == 8
        auto four = __builtin_shufflevector(t, t, 0, 1, 2, 3) + __builtin_shufflevector(t, t, 4, 5, 6, 7);
#elif ORVANE_SIMD_WIDTH == 4
        auto four = t;
#endif
#if ORVANE_SIMD_WIDTH >= 4
        auto two = __builtin_shufflevector(four, four, 0, 1) + __builtin_shufflevector(four, four, 2, 3);
#else
        auto two = t;
#endif
        return two[0] + two[1];
    }
};

// The pair of sums that order m of Burg's recursion asks for, over j below `length` (forward is one place ahead).
double Energy(const double* forward, const double* backward, int length) {
    Sums sums;
    for (int j = 0; j < length; j += kLanes) {
#pragma GCC unroll 8
        for (int q = 0; q < kVectors; q++) {
            const Vector f = Load(forward + j + q * kWidth + 1), b = Load(backward + j + q * kWidth);
            sums.v[q] += f * f + b * b;
        }
    }
    return sums.Total();
}

double Product(const double* forward, const double* backward, int length) {
    Sums sums;
    for (int j = 0; j < length; j += kLanes) {
#pragma GCC unroll 8
        for (int q = 0; q < kVectors; q++) {
            sums.v[q] += Load(forward + j + q * kWidth + 1) * Load(backward + j + q * kWidth);
        }
    }
    return sums.Total();
}

// One order in one pass: both errors are updated, and the product that the next order needs is summed from the new
// values while they are in registers. The forward errors move down by one place, so that equal places of the two
// arrays belong together in the next order but for that one step.
inline double UpdateErrors(double* __restrict forward, double* __restrict backward, int length, double k) {
    Sums sums;
    Vector before = {};
    for (int j = 0; j < length; j += kLanes) {
#pragma GCC unroll 8
        for (int q = 0; q < kVectors; q++) {
            const Vector f = Load(forward + j + q * kWidth + 1), b = Load(backward + j + q * kWidth);
            const Vector new_f = f + k * b, new_b = b + k * f;
            Store(forward + j + q * kWidth, new_f);
            Store(backward + j + q * kWidth, new_b);
            sums.v[q] += new_f * MoveUp(before, new_b);
            before = new_b;
        }
    }
    return sums.Total();
}

// The model of order m from that of order m - 1: a'[i] = a[i] + k a[m - i], a'[m] = k; place 0 holds a[1].
inline void StepUp(const double* __restrict a, double* __restrict next, int m, double k) {
    for (int i = 0; i < m - 1; i += kWidth) {
        Store(next + i, Load(a + i) + k * LoadReversed(a + m - 1 - i - kWidth));
    }
    next[m - 1] = k;
}

inline void Swap(double*& a, double*& b) {
    double* kept = a;
    a = b;
    b = kept;
}

void Burg(double* forward, double* backward, int length, int degree, double* reflections, double* coefficients,
          double* scratch) {
    // The energy of the next order follows from this one's by subtraction. Each time it has fallen by this much it is
    // summed anew, so that no more than a few bits are ever lost to cancellation.
    constexpr double kWorthSummingAnew = 1.0 / 64;
    // The steps alternate between two arrays; begin so that the last one lands in `coefficients`.
    double* a = degree % 2 == 0 ? coefficients : scratch;
    double* next = degree % 2 == 0 ? scratch : coefficients;

    int n = length - 1;
    backward[n] = 0;
    double product = Product(forward, backward, n);
    double energy = Energy(forward, backward, n), summed_energy = energy;
    double k = 0;
    for (int m = 1; m <= degree; m++, n--) {
        const double previous_k = k;
        k = energy != 0 ? -2 * product / energy : 0;
        reflections[m - 1] = k;
        // One order late: it fills the time that the division takes.
        if (m > 1) {
            StepUp(a, next, m - 1, previous_k);
            Swap(a, next);
        }
        product = UpdateErrors(forward, backward, n, k);
        energy = (1 - k * k) * energy - forward[0] * forward[0] - backward[n - 1] * backward[n - 1];
        // Whole vectors are worked on: what has left the range must count as nothing.
        backward[n - 1] = 0;
        forward[n] = 0;
        if (!(energy > summed_energy * kWorthSummingAnew)) summed_energy = energy = Energy(forward, backward, n - 1);
    }
    StepUp(a, next, degree, k);
}

void StepUpAll(const double* reflections, int degree, double* coefficients, double* scratch) {
    double* a = degree % 2 == 0 ? coefficients : scratch;
    double* next = degree % 2 == 0 ? scratch : coefficients;
    for (int m = 1; m <= degree; m++) {
        StepUp(a, next, m, reflections[m - 1]);
        Swap(a, next);
    }
}

void Autocorrelation(const double* c, int n, double* lags, int n_lags) {
    for (int l = 0; l < n_lags; l += kLanes) {
        Sums sums;
        for (int k = 0; k + l < n; k++) {
#pragma GCC unroll 8
            for (int q = 0; q < kVectors; q++) sums.v[q] += c[k] * Load(c + k + l + q * kWidth);
        }
#pragma GCC unroll 8
        for (int q = 0; q < kVectors; q++) Store(lags + l + q * kWidth, sums.v[q]);
    }
}

void BothSides(const double* x, const double* lags, int degree, double* result, int n) {
    for (int i = 0; i < n; i += kLanes) {
        Sums sums;
        for (int l = 1; l <= degree; l++) {
#pragma GCC unroll 8
            for (int q = 0; q < kVectors; q++) {
                const double* place = x + i + q * kWidth;
                sums.v[q] += lags[l] * (Load(place - l) + Load(place + l));
            }
        }
#pragma GCC unroll 8
        for (int q = 0; q < kVectors; q++) Store(result + i + q * kWidth, sums.v[q]);
    }
}

// Schur's algorithm: T = sum of u u' / e over the columns u, each from the one before by a lattice step with
// a vector w; e is the column's first value. The forward substitution goes along.
bool SolveToeplitz(double* row, double* r, int n, double* columns, double* inverses) {
    const int stride = n + kArPadding;
    double* w = row;
    // Place 0 of a column is its diagonal value. Past the last row whole vectors carry values that mean nothing; they
    // stay finite, and meet only zeros in the end.
    std::memcpy(columns, row, static_cast<size_t>(stride) * sizeof(double));
    for (int k = 0;; k++) {
        double* u = columns + k * stride;
        if (!(u[0] > 0) || !(u[0] < 1e300)) return false;
        inverses[k] = 1 / u[0];
        const double y = r[k] * inverses[k];
        r[k] = y;
        const int left = n - k - 1;
        if (left == 0) break;
        double* next = u + stride;
        const double rho = w[k + 1] * inverses[k];
        double* rest = r + k + 1;
        double* lattice = w + k + 1;
        std::memset(next + left, 0, kArPadding * sizeof(double));
        for (int i = 0; i < left; i += kWidth) {
            const Vector old_u = Load(u + i), old_w = Load(lattice + i);
            Store(next + i, old_u - rho * old_w);
            Store(lattice + i, old_w - rho * old_u);
            Store(rest + i, Load(rest + i) - y * Load(u + 1 + i));
        }
    }
    std::memset(r + n, 0, kArPadding * sizeof(double));
    for (int k = n - 2; k >= 0; k--) {
        const double* u = columns + k * stride + 1;
        const int left = n - k - 1;
        Sums sums;
        for (int i = 0; i < left; i += kLanes) {
#pragma GCC unroll 8
            for (int q = 0; q < kVectors; q++) {
                sums.v[q] += Load(u + i + q * kWidth) * Load(r + k + 1 + i + q * kWidth);
            }
        }
        r[k] -= sums.Total() * inverses[k];
    }
    return true;
}

constexpr ArKernels MakeArKernels(const char* name) {
    return {name, Burg, StepUpAll, Autocorrelation, BothSides, SolveToeplitz};
}

}  // namespace
}  // namespace Orvane
