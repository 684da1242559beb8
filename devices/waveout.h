// Playback, whatever back-end drives it: blocks on their way to the driver, what has been heard of them, levels.
#pragma once

#include <atomic>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "devices/driver.h"
#include "devices/wavequeue.h"
#include "foundation/clock.h"
#include "tesslib/samples.h"

namespace Tesslib {

class WaveOut final : public AbstractWaveOut, private PlaybackSource {
public:
    WaveOut(std::unique_ptr<PlaybackDriver> driver, const WaveOutSettings& settings,
            Foundation::Clock& clock = Foundation::SystemClock());
    ~WaveOut() override;

    Foundation::Outcome Open(std::string_view device_key, std::string_view device_name, int max_in_flight) override;
    void Close(bool abort) override;
    Foundation::Outcome Write(const float* samples, uint32_t n_bytes) override;
    int QueuedBuffers() const override { return in_flight; }
    int Reset() override;
    void SetPosition(int64_t frames) override { played_frames = frames; }
    void EnableLevels(bool on) override;
    void Wake() override { free_buffers.event.Set(); }
    StreamFormat GetFormat() const override { return format; }

private:
    // A block in the device's form.
    struct Block : WaveBuffer {
        int64_t n_frames = 0;
        int64_t taken = 0;        // frames the driver has
        int64_t handed_over = 0;  // frames the driver had before this block
        float peaks[2] = {0, 0};
        Block* later = nullptr;  // among those being heard
    };

    // In the driver's context.
    void Take(void* out, int64_t n_frames, int64_t latency_frames) override;
    void Ended() override;
    void CountHeard(int64_t heard);

    bool Progress();
    bool WaitForRoom();  // a look at the device every time; false when it is gone
    Foundation::Outcome Start();
    Block* FreeBlock(uint32_t n_bytes);
    void TakeBackAll();

    const WaveOutSettings settings;
    Foundation::Clock& clock;
    const std::unique_ptr<PlaybackDriver> driver;
    std::string device_name;
    StreamFormat format;
    uint32_t frame_bytes = 0;
    std::optional<SampleEncoder> float_to_int;  // absent when the device takes floats
    int max_in_flight = 0;                      // 0: not open
    bool running = false;
    int64_t seen_played = 0;      // what had been played when last looked at ...
    int64_t seen_playing_ns = 0;  // ... and when that last went on
    std::vector<std::unique_ptr<Block>> blocks;
    WaveBufferQueue queued;        // for the driver
    WaveBufferQueue free_buffers;  // for Write

    // The driver's alone while it runs.
    Block* taking = nullptr;         // partly taken
    Block* hearing_first = nullptr;  // taken, in part at least, and not heard to the end
    Block* hearing_last = nullptr;
    int64_t counted_of_first = 0;  // frames of hearing_first that are in played_frames
    int64_t n_handed_over = 0;     // frames since the start, silence included

    std::atomic<int64_t> played_frames{0};
    std::atomic<int> in_flight{0};
    std::atomic<float> peak_left{0}, peak_right{0};
    std::atomic<bool> levels_enabled{true};
    std::atomic<bool> ended{false};
};

}  // namespace Tesslib
