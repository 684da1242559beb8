#include "allocations.h"

#include <cstdlib>
#include <new>

namespace {

thread_local int64_t n_allocations = 0;

void* Allocate(std::size_t size) {
    ++n_allocations;
    if (void* memory = std::malloc(size ? size : 1)) return memory;
    throw std::bad_alloc();
}

}  // namespace

namespace Tesslib::Testing {

int64_t CountAllocations() {
    return n_allocations;
}

}  // namespace Tesslib::Testing

// The forms for arrays come down to these, or, under a sanitizer, are its own from end to end.
void* operator new(std::size_t size) {
    return Allocate(size);
}
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    ++n_allocations;
    return std::malloc(size ? size : 1);
}
void operator delete(void* memory) noexcept {
    std::free(memory);
}
void operator delete(void* memory, std::size_t) noexcept {
    std::free(memory);
}
