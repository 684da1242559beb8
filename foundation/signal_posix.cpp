#include <cerrno>
#include <ctime>

#include "foundation/signal.h"

namespace Foundation {

Signal::Signal() {
    sem_init(&semaphore, 0, 0);
}

Signal::~Signal() {
    sem_destroy(&semaphore);
}

void Signal::Set() {
    times_set.fetch_add(1);
    if (!set.exchange(true)) sem_post(&semaphore);
}

bool Signal::WaitUntil(int64_t until_ns) {
    constexpr int64_t kSecond = 1000000000;
    const timespec until{until_ns / kSecond, until_ns % kSecond};
    int result;
    do {
        result = sem_clockwait(&semaphore, CLOCK_MONOTONIC, &until);
    } while (result != 0 && errno == EINTR);
    return result == 0 && set.exchange(false);
}

void Signal::Wait() {
    while (sem_wait(&semaphore) != 0) continue;
    set.exchange(false);
}

bool Signal::Take() {
    return sem_trywait(&semaphore) == 0 && set.exchange(false);
}

}  // namespace Foundation
