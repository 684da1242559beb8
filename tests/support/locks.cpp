#include "locks.h"

#include <dlfcn.h>
#include <pthread.h>

namespace {

thread_local int64_t n_locks = 0;

}  // namespace

namespace OrvaneTest {

int64_t CountLocks() {
    return n_locks;
}

}  // namespace OrvaneTest

#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
extern "C" int pthread_mutex_lock(pthread_mutex_t* mutex) noexcept {
    using Lock = int (*)(pthread_mutex_t*);
    static const auto lock = reinterpret_cast<Lock>(dlsym(RTLD_NEXT, "pthread_mutex_lock"));
    ++n_locks;
    return lock(mutex);
}
#endif
