// Counts what the program under test takes from the heap.
#pragma once

#include <cstdint>

namespace Tesslib::Testing {

// Calls of operator new on this thread so far.
int64_t CountAllocations();

}  // namespace Tesslib::Testing
