#include "foundation/assert.h"

#include <atomic>
#include <cstdio>
#include <cstdlib>

#include "foundation/path.h"
#include "foundation/version.h"

namespace Foundation {
namespace {

std::atomic<AssertHook> assert_hook{nullptr};

}  // namespace

std::atomic<bool> in_fatal_error_handler{false};

AssertHook SetAssertHook(AssertHook hook) {
    return assert_hook.exchange(hook);
}

std::string AssertText(const char* condition, const char* file, int line) {
    return fmt::sprintf("Assert failed:\n%s\n%s, line %d [%d]", condition, FileNameOf(file), line, kVersionNumber);
}

void Assert(const char* condition, const char* file, int line) {
    if (AssertHook hook = assert_hook.load()) {
        if (hook(condition, file, line) == AssertAnswer::GoOn) return;
    } else {
        std::fprintf(stderr, "%s\n", AssertText(condition, file, line).c_str());
    }
    std::abort();
}

}  // namespace Foundation
