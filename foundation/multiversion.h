// Functions compiled once for each generation of processors; the right one is chosen when the program starts.
#pragma once

// In front of a function (not a template) whose loops gain from wider vectors. What it calls must be inlined into it to
// gain as well: mark that ORVANE_INLINE. Every version gives the same bits as long as the order of the operations on
// each value is written down: element by element, or with a fixed number of accumulators.
#if defined(__x86_64__) && !defined(ORVANE_NO_MULTIVERSION)
#define ORVANE_MULTIVERSION __attribute__((target_clones("avx512f", "avx2", "default")))
// For functions that are called only where HasFusedMultiplyAdd().
#define ORVANE_MULTIVERSION_FUSED __attribute__((target_clones("avx512f", "arch=haswell", "default")))
#else
#define ORVANE_MULTIVERSION
#define ORVANE_MULTIVERSION_FUSED
#endif

#define ORVANE_INLINE __attribute__((always_inline)) inline

// Whether fma() is one instruction in the functions above; elsewhere it is a slow library call.
inline bool HasFusedMultiplyAdd() {
#if defined(__FMA__) || defined(__aarch64__)
    return true;
#elif defined(__x86_64__) && !defined(ORVANE_NO_MULTIVERSION)
    return __builtin_cpu_supports("avx2") && __builtin_cpu_supports("fma");
#else
    return false;
#endif
}
