// The inner loops of the autoregressive model, compiled once for each width of vector registers. Every form sums in
// the same 16 lanes and joins them in the same order, so that all give the same bits.
#pragma once

#include <span>

namespace Orvane {

// Arrays handed to a kernel may be read, and where said written, up to this many values past their ends.
constexpr int kArPadding = 32;

struct ArKernels {
    const char* name;

    // Burg's recursion. `forward` and `backward` both hold the `length` data and kArPadding zeros; they are used up.
    // Gives `degree` reflection coefficients and, in `coefficients`, the model itself. `coefficients` and `scratch`
    // have kArPadding initialised values before and degree + kArPadding from where they point. 0 < degree < length.
    void (*burg)(double* forward, double* backward, int length, int degree, double* reflections, double* coefficients,
                 double* scratch);

    // The model of the first `degree` reflection coefficients; arrays as for burg.
    void (*step_up)(const double* reflections, int degree, double* coefficients, double* scratch);

    // lags[l] = sum over k of c[k] c[k + l], l below n_lags. c has n values and n_lags + kArPadding zeros behind them;
    // lags is written in blocks of 16.
    void (*autocorrelation)(const double* c, int n, double* lags, int n_lags);

    // sums[i] = sum over l from 1 to degree of lags[l] (x[i - l] + x[i + l]), i below n; sums is written in blocks of
    // 16, and x is read up to kArPadding values past x[n - 1 + degree].
    void (*both_sides)(const double* x, const double* lags, int degree, double* sums, int n);

    // Solves T u = r, T the symmetric Toeplitz matrix of n x n with the given first row; `r` becomes u. False if T is
    // not positive definite to working precision. `row` and `r` have kArPadding values behind them and are used up;
    // `columns` holds n (n + kArPadding) values, `inverses` n.
    bool (*solve_toeplitz)(double* row, double* r, int n, double* columns, double* inverses);
};

// The widest form that this processor runs.
const ArKernels& BestArKernels();

// All forms that this processor runs, the plainest first.
std::span<const ArKernels* const> AllArKernels();

}  // namespace Orvane
