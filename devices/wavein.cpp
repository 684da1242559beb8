#include "devices/wavein.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <utility>

#include "foundation/assert.h"

namespace Tesslib {

using Foundation::kNsPerMs;
using Foundation::Outcome;
using Foundation::Result;

namespace {

constexpr int kBuffersForWarning = 5;                                // fewer free ones count as an overflow
constexpr int64_t kLongestSilenceNs = 3 * Foundation::kNsPerSecond;  // of a device that is there
constexpr int64_t kLookNs = 100 * kNsPerMs;

}  // namespace

int WaveInThread::Run() {
    Foundation::SetThreadPriority(Foundation::ThreadPriority::Highest);
    for (;;) {
        WaveBuffer* buffer = owner.filled.Pop();
        if (buffer == &owner.end_marker) break;
        if (buffer) {
            owner.HandOver(buffer);
        } else {
            owner.CheckAlive();
            owner.clock.WaitUntil(owner.filled.event, owner.clock.NowNs() + kLookNs);
        }
    }
    owner.clock.Leave();
    return 0;
}

WaveIn::WaveIn(std::unique_ptr<CaptureDriver> driver, const WaveInSettings& settings, Foundation::Clock& clock)
    : settings(settings), clock(clock), driver(std::move(driver)) {
    ORVANE_ASSERT(settings.callback && settings.n_buffers > 0 && settings.samples_per_buffer >= 2);
}

WaveIn::~WaveIn() {
    Close(true);
}

Outcome WaveIn::Open(std::string_view device_key, std::string_view name) {
    ORVANE_ASSERT(buffers.empty());
    device_name = name;
    StreamRequest request;
    request.key = device_key;
    request.name = name;
    request.rate = settings.sample_rate;
    request.bits = settings.bits;
    request.block_frames = static_cast<int32_t>(settings.samples_per_buffer / 2);
    request.hardware_frames = settings.hardware_buffer_size;
    request.channels = settings.quad_dop ? 4 : 2;
    Result<StreamFormat> opened = driver->Open(request, *this);
    if (!opened && settings.quad_dop) {
        request.channels = 2;
        opened = driver->Open(request, *this);
    }
    if (!opened) return opened.GetOutcome();
    format = *opened;

    const uint32_t block_values = static_cast<uint32_t>(format.channels * request.block_frames);
    frame_bytes = static_cast<uint32_t>(format.channels * format.bits / 8);
    float_buffer_bytes = block_values * static_cast<uint32_t>(sizeof(float));
    if (format.bits < 32) int_to_float.emplace(format.bits, false, false);
    loss_detector.emplace(format.rate, request.block_frames);
    for (int i = 0; i < settings.n_buffers; ++i) {
        auto& buffer = buffers.emplace_back(std::make_unique<WaveBuffer>());
        // A mono device is delivered as pairs.
        const uint32_t room = std::max(block_values, settings.samples_per_buffer);
        buffer->data = std::make_unique<float[]>(room);
        buffer->capacity = room * static_cast<uint32_t>(sizeof(float));
        buffer->length = frame_bytes * static_cast<uint32_t>(request.block_frames);
        free_buffers.Push(buffer.get());
    }
    last_delivery_ns = clock.NowNs();
    clock.Join();
    delivery_thread.emplace(*this);
    delivery_thread->Start();
    Outcome started = driver->Start();
    if (!started) Close(true);
    return started;
}

bool WaveIn::Close(bool wait) {
    if (buffers.empty()) return true;
    if (!stopping.exchange(true)) StopStream();
    if (!wait) return in_client == 0;
    while (in_client > 0) clock.WaitUntil(came_home, clock.NowNs() + kLookNs);
    // Who gave back the last one may still be inside.
    { std::lock_guard hold(release_mutex); }
    filled.Push(&end_marker);
    delivery_thread->Wait();
    delivery_thread.reset();
    buffers.clear();
    keep_all_channels = false;
    return true;
}

// Also on the delivery thread, which may find that the device has gone while the client closes it.
void WaveIn::StopStream() {
    std::lock_guard hold(stop_mutex);
    driver->Stop();
    EndStream();
}

// What has come of a block is delivered: the driver has stopped, or this is its own last call.
void WaveIn::EndStream() {
    if (ended.exchange(true)) return;
    if (filling) Deliver();
    if (dropped.n_frames > 0) NoteLoss(std::exchange(dropped, {}));
    if (!stopping) filled.Push(&failure_marker);
}

void WaveIn::Ended() {
    EndStream();
}

void WaveIn::Frames(const void* data, int64_t n_frames) {
    if (ended || n_frames <= 0) return;
    const int64_t now_ns = clock.NowNs();
    last_delivery_ns.store(now_ns, std::memory_order_relaxed);
    const int64_t first = n_frames_kept + filled_bytes / frame_bytes;
    if (!data) {
        loss_detector->AlreadyCounted(n_frames);
        NoteLoss({first, n_frames});
        return;
    }
    if (const auto loss = loss_detector->Delivered(n_frames, first, now_ns)) NoteLoss(*loss);

    const auto* bytes = static_cast<const uint8_t*>(data);
    while (n_frames > 0) {
        if (!filling) {
            filling = free_buffers.Pop();
            if (!filling) {
                ++overflows;
                dropped.before_frame = n_frames_kept;
                dropped.n_frames += n_frames;
                return;
            }
            if (dropped.n_frames > 0) NoteLoss(std::exchange(dropped, {}));
        }
        const int64_t room = (filling->length - filled_bytes) / frame_bytes;
        const int64_t n = std::min(room, n_frames);
        const auto n_bytes = static_cast<uint32_t>(n * frame_bytes);
        std::memcpy(filling->Bytes() + filled_bytes, bytes, n_bytes);
        filled_bytes += n_bytes;
        bytes += n_bytes;
        n_frames -= n;
        if (n == room) Deliver();
    }
}

void WaveIn::Deliver() {
    WaveBuffer* buffer = std::exchange(filling, nullptr);
    const uint32_t n_frames = std::exchange(filled_bytes, 0) / frame_bytes;
    buffer->user = nullptr;
    buffer->first_frame = n_frames_kept;
    n_frames_kept += n_frames;
    if (++in_client >= settings.n_buffers - kBuffersForWarning && !stopping) ++overflows;

    float* values = buffer->data.get();
    int channels = format.channels;
    if (int_to_float) int_to_float->Decode(buffer->Bytes(), static_cast<int32_t>(n_frames * channels), values);
    if (channels == 1) {
        ExpandMono(values, static_cast<int32_t>(n_frames));
        channels = 2;
    } else if (channels > 2 && !keep_all_channels) {
        for (uint32_t i = 1; i < n_frames; ++i) std::copy_n(values + i * channels, 2, values + 2 * i);
        channels = 2;
    }
    buffer->bytes_recorded = n_frames * static_cast<uint32_t>(channels * sizeof(float));
    if (levels_enabled && n_frames > 0) {
        if (reset_peaks.exchange(false)) peak_left = peak_right = 0;
        float left = peak_left, right = peak_right;
        for (const float* end = values + n_frames * channels; values < end; values += channels) {
            left = std::max(left, std::abs(values[0]));
            right = std::max(right, std::abs(values[1]));
        }
        peak_left = left;
        peak_right = right;
    }
    filled.Push(buffer);
}

void WaveIn::NoteLoss(LostFrames loss) {
    if (loss_carried.n_frames > 0) loss = {loss_carried.before_frame, loss_carried.n_frames + loss.n_frames};
    const uint32_t written = losses_written;
    if (written - losses_read == kLosses) {
        loss_carried = loss;
        return;
    }
    loss_carried = {};
    losses[written % kLosses] = loss;
    losses_written = written + 1;
}

bool WaveIn::NextLoss(LostFrames& loss) {
    const uint32_t read = losses_read;
    if (read == losses_written) return false;
    loss = losses[read % kLosses];
    losses_read = read + 1;
    return true;
}

void WaveIn::HandOver(WaveBuffer* buffer) {
    if (buffer == &failure_marker) {
        Fail();
    } else if (failed) {
        ReleaseBuffer(buffer);
    } else {
        settings.callback(settings.client, buffer);
    }
}

void WaveIn::CheckAlive() {
    if (ended || stopping) return;
    if (clock.NowNs() - last_delivery_ns < kLongestSilenceNs && driver->IsActive()) return;
    StopStream();
}

void WaveIn::Fail() {
    {
        std::lock_guard hold(failure_mutex);
        failure = DeviceDisconnected(device_name);
    }
    peak_left = peak_right = 0;
    failed = true;
    settings.callback(settings.client, nullptr);
}

Outcome WaveIn::GetFailure() const {
    std::lock_guard hold(failure_mutex);
    return failure;
}

void WaveIn::GetStatus(float* left, float* right, uint32_t* buffered_kb, uint32_t* percent_full,
                       uint32_t* overflow_count) {
    if (left) *left = peak_left;
    if (right) *right = peak_right;
    if (left || right) reset_peaks = true;
    const uint64_t held = static_cast<uint64_t>(std::max(0, in_client.load()));
    if (buffered_kb) {
        *buffered_kb = static_cast<uint32_t>(static_cast<uint64_t>(float_buffer_bytes) * settings.nominal_rate * held /
                                             (static_cast<uint64_t>(settings.sample_rate) * 1024));
    }
    if (percent_full) *percent_full = buffers.empty() ? 0 : static_cast<uint32_t>(held * 100 / buffers.size());
    if (overflow_count) *overflow_count = overflows;
}

void WaveIn::ReleaseBuffer(WaveBuffer* buffer) {
    std::lock_guard hold(release_mutex);
    if (!ended) free_buffers.Push(buffer);
    --in_client;
    came_home.Set();
}

void WaveIn::EnableLevels(bool on) {
    levels_enabled = on;
    if (!on) peak_left = peak_right = 0;
}

}  // namespace Tesslib
