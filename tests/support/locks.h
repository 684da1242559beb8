// Counts the mutexes that the program under test takes.
#pragma once

#include <cstdint>

namespace OrvaneTest {

// Mutexes locked on this thread so far; always 0 under a sanitizer, which has the lock functions to itself.
int64_t CountLocks();

}  // namespace OrvaneTest
