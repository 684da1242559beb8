// Sound in and sound out as the rest of the program sees them, whatever system carries them.
//
// Samples towards the program and from it are 32-bit floats, left and right interleaved, full scale 1.0. A position or
// a count of frames is in frames of the device, at the rate the stream was opened with.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "foundation/outcome.h"

namespace Tesslib {

// One block of sound on its way. The device's own form of the samples, while it is being filled, and the floats that it
// is delivered in share `data`.
struct WaveBuffer {
    std::unique_ptr<float[]> data;  // null: no sound, but a sign in a queue
    uint32_t capacity = 0;          // bytes of `data`
    uint32_t length = 0;            // bytes that the device fills
    uint32_t bytes_recorded = 0;    // valid bytes; of floats when the client has it
    int64_t first_frame = 0;        // frames delivered before this one since the device was opened
    void* user = nullptr;           // the client's while it holds the buffer; null on delivery
    WaveBuffer* next = nullptr;     // of the queue it stands in

    uint8_t* Bytes() { return reinterpret_cast<uint8_t*>(data.get()); }
};

// What a stream runs at.
struct StreamFormat {
    int32_t rate = 0;         // Hz, at this interface
    int32_t device_rate = 0;  // Hz, at which the device itself runs; the sound server converts where they differ
    int bits = 0;             // 16 or 24 (integers), 32 (floats)
    int channels = 0;
};
// "no conversion", or "48 to 44.1 kHz by the sound server".
std::string ConversionText(const StreamFormat& format);

// A stretch that the device did not deliver, and where: it lay before the frame of this number.
struct LostFrames {
    int64_t before_frame = 0;
    int64_t n_frames = 0;
};

// Called on the delivery thread, which has a raised priority. The client owns `buffer` until it hands it to
// ReleaseBuffer. A null buffer says that the device has failed, and GetFailure why; nothing comes after it.
using WaveInCallback = void (*)(void* client, WaveBuffer* buffer);

struct WaveInSettings {
    int32_t sample_rate = 44100;   // Hz, at which the device is opened
    int32_t nominal_rate = 44100;  // Hz of the material that the client makes of it
    int bits = 24;
    uint32_t samples_per_buffer = 2 * 1152;  // twice the frames of a block
    int n_buffers = 383;
    bool quad_dop = false;         // four channels where the device has them
    int hardware_buffer_size = 0;  // frames; 0: what suits the device
    void* client = nullptr;
    WaveInCallback callback = nullptr;
};

// A capture device: made, opened once, closed once, destroyed. It is bound to the device it was opened with and never
// moves to another. One thread opens, asks and closes; ReleaseBuffer is for any thread.
class AbstractWaveIn {
public:
    virtual ~AbstractWaveIn() = default;

    // Capture has begun when it returns. `device_key` is the device's stable name at its back-end, empty for the usual
    // one; `device_name` is for messages. After a failure the object is good for Close and its destructor only.
    virtual Foundation::Outcome Open(std::string_view device_key, std::string_view device_name) = 0;
    // Ends capture; what was captured up to now is still delivered. Without `wait` it never blocks: true once the
    // client has given every buffer back, and to be called again until then. With `wait` it blocks until then and
    // frees the buffers. True on a device that was never opened.
    virtual bool Close(bool wait) = 0;
    // Any pointer may be null. `left` and `right` are the peaks since they were last asked for. `buffered_kb` is what
    // the client holds, as floats at the nominal rate; `percent_full` the part of the buffers it holds; `overflows`
    // goes up with each block that leaves no more than five free buffers.
    virtual void GetStatus(float* left, float* right, uint32_t* buffered_kb, uint32_t* percent_full,
                           uint32_t* overflows) = 0;
    // Exactly once for each buffer delivered.
    virtual void ReleaseBuffer(WaveBuffer* buffer) = 0;
    // Whether peaks are taken; switching off zeroes them. On at first.
    virtual void EnableLevels(bool on) = 0;
    // Whether more than two channels are passed on as they are; otherwise the first two of each frame are kept.
    virtual void KeepAllChannels(bool on) = 0;

    // What the device runs at, once open.
    virtual StreamFormat GetFormat() const = 0;
    // Why the device failed, once the client has been told that it has. Any thread.
    virtual Foundation::Outcome GetFailure() const = 0;
    // The next stretch that was lost, in their order; false when there is none that has not been asked for.
    virtual bool NextLoss(LostFrames& loss) = 0;
};

// Called from Write and Close with the frames heard so far and the peaks of the left and right channel of the block
// last heard. False ends the playing.
using WaveOutProgress = bool (*)(void* client, int64_t played_frames, const float peaks[2]);

struct WaveOutSettings {
    int32_t sample_rate = 44100;
    int bits = 24;
    int hardware_buffer_size = 0;  // frames; 0: what suits the device
    void* client = nullptr;
    WaveOutProgress progress = nullptr;
};

// A playback device: made, opened, closed, destroyed; one run of playing each. One thread uses it; Wake is for any.
class AbstractWaveOut {
public:
    virtual ~AbstractWaveOut() = default;

    // At most `max_in_flight` blocks wait to be heard. Sound begins when a few of them are there, or with Close.
    virtual Foundation::Outcome Open(std::string_view device_key, std::string_view device_name, int max_in_flight) = 0;
    // Lets what is queued be heard, for three seconds at most, or with `abort` drops it. Calls the progress callback
    // as it goes, and once more at the end unless aborted.
    virtual void Close(bool abort) = 0;
    // Queues `n_bytes` of floats, waiting while too many blocks are in flight. Cancelled when the progress callback
    // has ended the playing, and the device is then closed; Refused when it is not open.
    virtual Foundation::Outcome Write(const float* samples, uint32_t n_bytes) = 0;
    // Blocks that have not been heard to their end.
    virtual int QueuedBuffers() const = 0;
    // Drops all that has not been heard, in the device too, and tells how many blocks were in flight. They never count
    // as played.
    virtual int Reset() = 0;
    // Sets the count of frames heard; after Reset, or before the first Write.
    virtual void SetPosition(int64_t frames) = 0;
    virtual void EnableLevels(bool on) = 0;

    // Makes a Write or Close that waits ask the progress callback at once.
    virtual void Wake() = 0;
    virtual StreamFormat GetFormat() const = 0;
};

}  // namespace Tesslib
