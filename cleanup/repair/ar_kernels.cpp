#include "cleanup/repair/ar_kernels.h"

#include <vector>

namespace Orvane {

extern const ArKernels kArKernelsPlain;
#ifdef __x86_64__
extern const ArKernels kArKernelsAvx2;
extern const ArKernels kArKernelsAvx512;
#endif

std::span<const ArKernels* const> AllArKernels() {
    static const std::vector<const ArKernels*> all = [] {
        std::vector<const ArKernels*> found = {&kArKernelsPlain};
#ifdef __x86_64__
        if (__builtin_cpu_supports("avx2")) found.push_back(&kArKernelsAvx2);
        if (__builtin_cpu_supports("avx512f")) found.push_back(&kArKernelsAvx512);
#endif
        return found;
    }();
    return all;
}

const ArKernels& BestArKernels() {
    static const ArKernels& best = *AllArKernels().back();
    return best;
}

}  // namespace Orvane
