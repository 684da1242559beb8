// The interpolator's speed: the literal form beside the shipped one for six widths of a click, and where the time of
// the shipped one goes. "flops" counts the multiplications and additions that the shipped form's loops make.
#include <benchmark/benchmark.h>

#include "audiosignals.h"
#include "cleanup/repair/ar_kernels.h"
#include "cleanup/repair/interpolator.h"
#include "cleanup/repair/repairsamples.h"
#include "interpolator_literal.h"

namespace {

using namespace Orvane;

struct Job {
    std::vector<float> signal;
    int n, click_start, click_end, fade;
    // The sizes of the decimated problem.
    int gap, order, after;
};

// Twenty places in music, so that models of both orders are met as in a scan.
std::vector<Job> Jobs(int n) {
    static const std::vector<float> audio = OrvaneTest::Music(1, 200000);
    const int context = RepairContext(n, false), dec = n < 60 ? 1 : n < 120 ? 2 : 3, fade = n > 60 ? 6 : 0;
    const int len = (2 * context + n) / dec, first = context / dec, last = (context + n + 1) / dec - 1;
    const int gap = last - first + 1 - (dec > 1 ? 2 * (fade / dec) : 0);
    const int order =
        std::min({std::max(std::min(std::max(6 * gap, 75), 240 / dec), 3 * gap / 2), (len - gap) / 4, 240});
    std::vector<Job> jobs;
    for (int i = 0; i < 20; i++) {
        const auto begin = audio.begin() + i * 9000;
        jobs.push_back({{begin, begin + 2 * context + n}, n, context, context + n, fade, gap, order, len - last - 1});
    }
    return jobs;
}

double BurgFlops(double length, double order) {
    return 6 * (order * length - order * order / 2) + order * order;
}

void Literal(benchmark::State& state) {
    const auto jobs = Jobs(static_cast<int>(state.range(0)));
    std::vector<float> out;
    size_t next = 0;
    for (auto _ : state) {
        const Job& job = jobs[next++ % jobs.size()];
        benchmark::DoNotOptimize(OrvaneOracle::Interpolate(job.signal, job.click_start, job.click_end, job.fade, false,
                                                           out, [](auto&&...) {}));
    }
}

void Shipped(benchmark::State& state) {
    const auto jobs = Jobs(static_cast<int>(state.range(0)));
    std::vector<float> out(jobs[0].n + 4);
    Interpolator interpolator;
    size_t next = 0;
    for (auto _ : state) {
        const Job& job = jobs[next++ % jobs.size()];
        benchmark::DoNotOptimize(interpolator.Interpolate(job.signal, job.click_start, job.click_end, job.fade, false,
                                                          out, [](auto&&...) {}));
    }
}

void Burg(benchmark::State& state) {
    const auto jobs = Jobs(static_cast<int>(state.range(0)));
    const Job& job = jobs[0];
    const std::vector<double> data(job.signal.begin(), job.signal.begin() + job.after);
    std::vector<double> model(job.order);
    for (auto _ : state) {
        BurgDouble(data, model);
        benchmark::DoNotOptimize(model.data());
    }
    state.counters["order"] = job.order;
    state.counters["flops"] =
        benchmark::Counter(BurgFlops(job.after, job.order), benchmark::Counter::kIsIterationInvariantRate);
}

// Burg's recursion for a click of 30 samples, in each form that this processor runs.
void BurgForm(benchmark::State& state) {
    const ArKernels& kernels = *AllArKernels()[state.range(0)];
    const Job job = Jobs(30)[0];
    std::vector<double> data(job.signal.begin(), job.signal.begin() + job.after), steps(job.order);
    data.resize(data.size() + kArPadding);
    std::vector<double> model(job.order + 2 * kArPadding), scratch(model.size());
    for (auto _ : state) {
        std::vector<double> forward = data, backward = data;
        kernels.burg(forward.data(), backward.data(), job.after, job.order, steps.data(), model.data() + kArPadding,
                     scratch.data() + kArPadding);
        benchmark::DoNotOptimize(model.data());
    }
    state.SetLabel(kernels.name);
    state.counters["flops"] =
        benchmark::Counter(BurgFlops(job.after, job.order), benchmark::Counter::kIsIterationInvariantRate);
}

void Solve(benchmark::State& state) {
    const auto jobs = Jobs(static_cast<int>(state.range(0)));
    const Job& job = jobs[0];
    const std::vector<double> data(job.signal.begin(), job.signal.begin() + job.after);
    std::vector<double> model(job.order), gap(job.gap), x(2 * job.order + job.gap, 0.1);
    BurgDouble(data, model);
    GapSolver solver;
    for (auto _ : state) benchmark::DoNotOptimize(solver.Solve(x, job.order, model, gap));
    const double n = job.gap, order = job.order;
    state.counters["unknowns"] = n;
    state.counters["flops"] =
        benchmark::Counter(order * order + 3 * n * order + 4 * n * n, benchmark::Counter::kIsIterationInvariantRate);
}

void Widths(benchmark::internal::Benchmark* b) {
    for (int n : {8, 30, 60, 120, 300, 412}) b->Arg(n);
}

BENCHMARK(Literal)->Apply(Widths)->Unit(benchmark::kMicrosecond);
BENCHMARK(Shipped)->Apply(Widths)->Unit(benchmark::kMicrosecond);
BENCHMARK(Burg)->Apply(Widths)->Unit(benchmark::kMicrosecond);
BENCHMARK(BurgForm)->DenseRange(0, static_cast<int>(AllArKernels().size()) - 1)->Unit(benchmark::kMicrosecond);
BENCHMARK(Solve)->Apply(Widths)->Unit(benchmark::kMicrosecond);

}  // namespace

BENCHMARK_MAIN();
