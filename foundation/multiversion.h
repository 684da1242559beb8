// Functions compiled once for each generation of processors; the right one is chosen when the program starts.
#pragma once

// In front of a function (not a template) whose loops gain from wider vectors. What it calls must be inlined into it to
// gain as well: mark that ORVANE_INLINE. Every version gives the same bits as long as the order of the operations on
// each value is written down: element by element, or with a fixed number of accumulators.
#if defined(__x86_64__) && !defined(ORVANE_NO_MULTIVERSION)
#define ORVANE_MULTIVERSION __attribute__((target_clones("avx512f", "avx2", "default")))
#else
#define ORVANE_MULTIVERSION
#endif

#define ORVANE_INLINE __attribute__((always_inline)) inline
