#include "foundation/clock.h"

#include "foundation/platform.h"

namespace Foundation {
namespace {

class MonotonicClock : public Clock {
public:
    int64_t NowNs() override { return MonotonicNs(); }
    void WaitUntil(Signal& signal, int64_t until_ns) override { signal.WaitUntil(until_ns); }
};

}  // namespace

Clock& SystemClock() {
    static MonotonicClock clock;
    return clock;
}

}  // namespace Foundation
