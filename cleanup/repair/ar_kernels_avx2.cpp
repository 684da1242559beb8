// The kernels of ar_kernels.h for AVX2.
#include "cleanup/repair/ar_kernels.h"

#ifdef __AVX2__

#define ORVANE_SIMD_WIDTH 4
#include "cleanup/repair/ar_kernels_impl.h"

namespace Orvane {

extern const ArKernels kArKernelsAvx2;
constexpr ArKernels kArKernelsAvx2 = MakeArKernels("avx2");

}  // namespace Orvane

#endif
