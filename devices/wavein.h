// Capture, whatever back-end drives it: blocks of one size out of whatever the driver delivers, their way to the client
// and back, levels, losses and failures.
#pragma once

#include <array>
#include <atomic>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "devices/driver.h"
#include "devices/lossdetector.h"
#include "devices/wavequeue.h"
#include "foundation/clock.h"
#include "foundation/thread.h"
#include "tesslib/samples.h"

namespace Tesslib {

class WaveIn;

// Hands blocks to the client, and watches that they keep coming.
class WaveInThread : public Foundation::Thread {
public:
    explicit WaveInThread(WaveIn& owner) : owner(owner) {}

private:
    int Run() override;

    WaveIn& owner;
};

class WaveIn final : public AbstractWaveIn, private CaptureSink {
public:
    WaveIn(std::unique_ptr<CaptureDriver> driver, const WaveInSettings& settings,
           Foundation::Clock& clock = Foundation::SystemClock());
    ~WaveIn() override;

    Foundation::Outcome Open(std::string_view device_key, std::string_view device_name) override;
    bool Close(bool wait) override;
    void GetStatus(float* left, float* right, uint32_t* buffered_kb, uint32_t* percent_full,
                   uint32_t* overflows) override;
    void ReleaseBuffer(WaveBuffer* buffer) override;
    void EnableLevels(bool on) override;
    void KeepAllChannels(bool on) override { keep_all_channels = on; }
    StreamFormat GetFormat() const override { return format; }
    Foundation::Outcome GetFailure() const override;
    bool NextLoss(LostFrames& loss) override;

private:
    friend class WaveInThread;

    // In the driver's context.
    void Frames(const void* data, int64_t n_frames) override;
    void Ended() override;
    void Deliver();
    void NoteLoss(LostFrames loss);

    // On the delivery thread.
    void HandOver(WaveBuffer* buffer);
    void CheckAlive();
    void Fail();

    void StopStream();
    void EndStream();

    const WaveInSettings settings;
    Foundation::Clock& clock;
    const std::unique_ptr<CaptureDriver> driver;
    std::string device_name;
    StreamFormat format;
    uint32_t frame_bytes = 0;                   // of the device's form
    uint32_t float_buffer_bytes = 0;            // of a whole block of all channels
    std::optional<SampleDecoder> int_to_float;  // absent when the device delivers floats
    std::vector<std::unique_ptr<WaveBuffer>> buffers;
    WaveBuffer end_marker, failure_marker;  // signs in `filled`
    WaveBufferQueue filled;                 // for the delivery thread
    WaveBufferQueue free_buffers;           // for the driver
    Foundation::Signal came_home;           // a buffer was released
    std::optional<WaveInThread> delivery_thread;

    // The driver's alone while the stream runs.
    WaveBuffer* filling = nullptr;
    uint32_t filled_bytes = 0;
    int64_t n_frames_kept = 0;  // in blocks so far
    LostFrames dropped;         // for want of a free buffer, since the last one
    std::optional<LossDetector> loss_detector;
    LostFrames loss_carried;  // that found no room in `losses`

    // Losses for the client: written by the driver, read by NextLoss.
    static constexpr uint32_t kLosses = 64;
    std::array<LostFrames, kLosses> losses;
    std::atomic<uint32_t> losses_written{0}, losses_read{0};

    std::atomic<int32_t> in_client{0};  // blocks delivered, or on their way, and not yet released
    std::atomic<uint32_t> overflows{0};
    std::atomic<float> peak_left{0}, peak_right{0};
    std::atomic<bool> reset_peaks{false}, levels_enabled{true}, keep_all_channels{false};
    std::atomic<int64_t> last_delivery_ns{0};
    std::atomic<bool> stopping{false};  // Close was called
    std::atomic<bool> ended{false};     // nothing more comes from the driver
    std::atomic<bool> failed{false};    // the client has been told
    std::mutex stop_mutex;
    std::mutex release_mutex;
    mutable std::mutex failure_mutex;
    Foundation::Outcome failure;
};

}  // namespace Tesslib
