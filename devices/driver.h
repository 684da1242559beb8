// What a back-end brings: one stream in or out, driven by the system's own thread. The rest (blocks, queues, levels,
// losses, messages) is the same for all and stands in wavein.h and waveout.h.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "devices/wave.h"
#include "foundation/outcome.h"

namespace Tesslib {

// What is asked of a device. `key` is its stable name, empty for the usual one.
struct StreamRequest {
    std::string key;
    std::string name;  // for messages
    int32_t rate = 44100;
    int bits = 24;
    int channels = 2;
    int32_t block_frames = 1152;
    int hardware_frames = 0;  // size of the device's own buffer; 0: what suits it
};

// Where a driver leaves what it has captured. For its own thread only; nothing here waits, locks or allocates.
class CaptureSink {
public:
    // Frames in the form that the driver's Open has told; null for frames that are known to be lost.
    virtual void Frames(const void* data, int64_t n_frames) = 0;
    // The stream has ended by itself: the device is gone, or another has taken its place.
    virtual void Ended() = 0;

protected:
    ~CaptureSink() = default;
};

class CaptureDriver {
public:
    virtual ~CaptureDriver() = default;
    // Opens the device, bound to it, without starting; tells what it runs at. `sink` outlives the stream.
    virtual Foundation::Result<StreamFormat> Open(const StreamRequest& request, CaptureSink& sink) = 0;
    virtual Foundation::Outcome Start() = 0;
    // Ends and closes the stream: the sink is not called any more after the return. Again, or never opened: nothing.
    virtual void Stop() = 0;
    // False when the device has stopped delivering without a word.
    virtual bool IsActive() { return true; }
};

// Where a driver gets what it plays. For its own thread only; nothing here waits, locks or allocates.
class PlaybackSource {
public:
    // Fills `out` with the next frames, silence where there are none. `latency_frames` is how many frames handed over
    // earlier have not been heard yet.
    virtual void Take(void* out, int64_t n_frames, int64_t latency_frames) = 0;
    virtual void Ended() = 0;

protected:
    ~PlaybackSource() = default;
};

class PlaybackDriver {
public:
    virtual ~PlaybackDriver() = default;
    // Two channels, whatever the request says.
    virtual Foundation::Result<StreamFormat> Open(const StreamRequest& request, PlaybackSource& source) = 0;
    virtual Foundation::Outcome Start() = 0;
    // Halts and drops what the device holds: the source is not called any more after the return, and Start goes on.
    virtual void Halt() = 0;
    // Closes the stream. Again, or never opened: nothing.
    virtual void Stop() = 0;
    virtual bool IsActive() { return true; }
};

// A device's failures, in the words that all back-ends share. `name` is the device's.
Foundation::Outcome NoAudioDevices();
Foundation::Outcome DeviceInUse(std::string_view name);
Foundation::Outcome DeviceDisconnected(std::string_view name);
// `function` failed with `code`, for which the library has its own `words`.
Foundation::Outcome DeviceCallFailed(std::string_view name, int64_t code, std::string_view words,
                                     std::string_view function);

// An error number of an audio system as people look for it: decimal below 256, then four characters in quotes, and
// from 0x80000000 on as hexadecimal.
std::string DeviceErrorNumber(uint32_t code);

}  // namespace Tesslib
