// For loops over samples or bins that the compiler turns into vector code.
#pragma once

// Compiles a function once for every processor and once for those with AVX2, chosen when the program is loaded. Such a
// function adds up nothing across its loop, or lane by lane in an order that is written down, so that both forms give
// the same bits. Sanitizers start too late for the choice, and run the plain form.
#if defined(__x86_64__) && !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__) && !defined(__clang__)
#define ORVANE_VECTORISED __attribute__((target_clones("avx2", "default")))
#else
#define ORVANE_VECTORISED
#endif
