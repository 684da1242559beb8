// The kernels of ar_kernels.h for vectors of two doubles, which every processor of the family has.
#include "cleanup/repair/ar_kernels.h"

#define ORVANE_SIMD_WIDTH 2
#include "cleanup/repair/ar_kernels_impl.h"

namespace Orvane {

extern const ArKernels kArKernelsPlain;
constexpr ArKernels kArKernelsPlain = MakeArKernels("plain");

}  // namespace Orvane
