#include "foundation/assert.h"

#include <atomic>
#include <cstdio>
#include <cstdlib>

namespace Tesslib {
namespace {

std::atomic<AssertHook> assert_hook{nullptr};

}  // namespace

std::atomic<bool> in_fatal_error_handler{false};

AssertHook SetAssertHook(AssertHook hook) {
    return assert_hook.exchange(hook);
}

void Assert(const char* condition, const char* file, int line) {
    if (AssertHook hook = assert_hook.load()) {
        if (hook(condition, file, line) == AssertAnswer::GoOn) return;
    } else {
        std::fprintf(stderr, "Assert failed: %s\n%s, line %d\n", condition, file, line);
    }
    std::abort();
}

}  // namespace Tesslib
