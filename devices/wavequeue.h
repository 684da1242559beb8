// Blocks of sound on their way between two threads, one of which may be an audio driver's.
#pragma once

#include <atomic>

#include "devices/wave.h"
#include "foundation/signal.h"

namespace Tesslib {

// First in, first out. Any thread pushes; one pops. Neither waits, locks or allocates.
class WaveBufferQueue {
public:
    // The buffer stays the caller's, and stands in one queue at a time.
    void Push(WaveBuffer* buffer);
    // Null when there is none.
    WaveBuffer* Pop();

    Foundation::Signal event;  // set by every Push

private:
    // Pushed buffers hang on `pushed`, the latest first. Pop takes them all, turns them round and serves from there, so
    // that no buffer is looked at while another thread may change it.
    std::atomic<WaveBuffer*> pushed{nullptr};
    WaveBuffer* in_order = nullptr;
};

}  // namespace Tesslib
