#include "cleanup/repair/ar_max_entropy.h"

#include <algorithm>

#include "cleanup/repair/ar_kernels.h"
#include "foundation/assert.h"

namespace Orvane {
namespace {

// Zeros before and behind, as the kernels ask for them.
using CoefficientArray = double[kArPadding + kBurgMaxDegree + kArPadding];

void Grow(std::vector<double>& v, size_t size) {
    if (v.size() < size) v.resize(size);
}

}  // namespace

void BurgDouble(std::span<const double> data, std::span<double> coefficients, std::span<double> reflections) {
    const int length = static_cast<int>(data.size()), degree = static_cast<int>(coefficients.size());
    ORVANE_ASSERT(length <= 600);
    ORVANE_ASSERT(degree <= 240);
    ORVANE_ASSERT(degree > 0 && degree < length);
    double forward[kBurgMaxLength + kArPadding], backward[kBurgMaxLength + kArPadding];
    for (double* errors : {forward, backward}) {
        std::fill_n(std::copy(data.begin(), data.end(), errors), kArPadding, 0.0);
    }
    CoefficientArray model = {}, scratch = {};
    double steps[kBurgMaxDegree];
    BestArKernels().burg(forward, backward, length, degree, steps, model + kArPadding, scratch + kArPadding);
    std::copy_n(model + kArPadding, degree, coefficients.begin());
    if (!reflections.empty()) std::copy_n(steps, degree, reflections.begin());
}

void BurgFloat(std::span<const float> data, std::span<float> coefficients) {
    const int length = static_cast<int>(data.size()), degree = static_cast<int>(coefficients.size());
    ORVANE_ASSERT(degree > 0 && degree < length);
    std::vector<double> forward(data.begin(), data.end());
    forward.resize(data.size() + kArPadding);
    std::vector<double> backward = forward, steps(coefficients.size());
    std::vector<double> model(coefficients.size() + 2 * kArPadding), scratch(model.size());
    BestArKernels().burg(forward.data(), backward.data(), length, degree, steps.data(), model.data() + kArPadding,
                         scratch.data() + kArPadding);
    std::transform(model.begin() + kArPadding, model.begin() + kArPadding + degree, coefficients.begin(),
                   [](double a) { return static_cast<float>(a); });
}

void ModelFromReflections(std::span<const double> reflections, std::span<double> coefficients) {
    const int degree = static_cast<int>(coefficients.size());
    ORVANE_ASSERT(degree <= kBurgMaxDegree && reflections.size() >= coefficients.size());
    CoefficientArray model = {}, scratch = {};
    BestArKernels().step_up(reflections.data(), degree, model + kArPadding, scratch + kArPadding);
    std::copy_n(model + kArPadding, degree, coefficients.begin());
}

bool GapSolver::Solve(std::span<const double> x, int first, std::span<const double> model, std::span<double> gap) {
    const int order = static_cast<int>(model.size()), n = static_cast<int>(gap.size());
    ORVANE_ASSERT(n > 0 && first >= order && first + n + order <= static_cast<int>(x.size()));
    const ArKernels& kernels = BestArKernels();

    // Each gap column of the prediction-error matrix is the whole error filter, so the normal matrix has the filter's
    // autocorrelation on its diagonals, and the right side is that autocorrelation run over the context.
    const int n_lags = std::max(order + 1, n);
    Grow(filter, static_cast<size_t>(order + 1 + n_lags + kArPadding));
    filter[0] = 1;
    std::fill(std::copy(model.begin(), model.end(), filter.begin() + 1), filter.end(), 0.0);
    Grow(lags, static_cast<size_t>(n_lags + kArPadding));
    kernels.autocorrelation(filter.data(), order + 1, lags.data(), n_lags);

    const size_t used = static_cast<size_t>(n + 2 * order);
    Grow(context, used + kArPadding);
    std::fill_n(std::copy_n(x.begin() + (first - order), used, context.begin()), kArPadding, 0.0);
    Grow(solution, static_cast<size_t>(n + kArPadding));
    kernels.both_sides(context.data() + order, lags.data(), order, solution.data(), n);

    Grow(row, static_cast<size_t>(n + kArPadding));
    std::copy_n(lags.begin(), n, row.begin());
    if (!SolvePadded(n)) return false;
    std::transform(solution.begin(), solution.begin() + n, gap.begin(), [](double u) { return -u; });
    return true;
}

bool GapSolver::SolveToeplitz(std::span<const double> first_row, std::span<double> right_side) {
    ORVANE_ASSERT(!first_row.empty() && first_row.size() == right_side.size());
    const int n = static_cast<int>(first_row.size());
    Grow(row, static_cast<size_t>(n + kArPadding));
    Grow(solution, static_cast<size_t>(n + kArPadding));
    std::copy_n(first_row.begin(), n, row.begin());
    std::copy_n(right_side.begin(), n, solution.begin());
    if (!SolvePadded(n)) return false;
    std::copy_n(solution.begin(), n, right_side.begin());
    return true;
}

bool GapSolver::SolvePadded(int n) {
    std::fill_n(row.begin() + n, kArPadding, 0.0);
    std::fill_n(solution.begin() + n, kArPadding, 0.0);
    Grow(columns, static_cast<size_t>(n) * static_cast<size_t>(n + kArPadding));
    Grow(inverses, static_cast<size_t>(n));
    if (!BestArKernels().solve_toeplitz(row.data(), solution.data(), n, columns.data(), inverses.data())) return false;
    // A gap beside values that are not finite numbers has no solution either.
    return std::all_of(solution.begin(), solution.begin() + n, [](double u) { return u - u == 0; });
}

void GapSolver::Release() {
    *this = GapSolver();
}

}  // namespace Orvane
