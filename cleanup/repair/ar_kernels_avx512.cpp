// The kernels of ar_kernels.h for AVX-512.
#include "cleanup/repair/ar_kernels.h"

#ifdef __AVX512F__

#define ORVANE_SIMD_WIDTH 8
#include "cleanup/repair/ar_kernels_impl.h"

namespace Orvane {

extern const ArKernels kArKernelsAvx512;
constexpr ArKernels kArKernelsAvx512 = MakeArKernels("avx512");

}  // namespace Orvane

#endif
