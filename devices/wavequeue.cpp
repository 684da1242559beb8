#include "devices/wavequeue.h"

#include <utility>

namespace Tesslib {

void WaveBufferQueue::Push(WaveBuffer* buffer) {
    buffer->next = pushed.load(std::memory_order_relaxed);
    while (!pushed.compare_exchange_weak(buffer->next, buffer, std::memory_order_release, std::memory_order_relaxed)) {
    }
    event.Set();
}

WaveBuffer* WaveBufferQueue::Pop() {
    if (!in_order) {
        WaveBuffer* latest = pushed.exchange(nullptr, std::memory_order_acquire);
        while (latest) {
            WaveBuffer* before = std::exchange(latest->next, in_order);
            in_order = std::exchange(latest, before);
        }
    }
    WaveBuffer* first = in_order;
    if (first) in_order = std::exchange(first->next, nullptr);
    return first;
}

}  // namespace Tesslib
