#include "devices/waveout.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <utility>

#include "foundation/assert.h"
#include "foundation/messages.h"

namespace Tesslib {

using Foundation::Kind;
using Foundation::kNsPerMs;
using Foundation::Msg;
using Foundation::Outcome;
using Foundation::Result;

namespace {

constexpr int kBlocksToStart = 4;  // so that sound once begun does not stop at once
constexpr int64_t kLongestWaitNs = 100 * kNsPerMs;
constexpr int64_t kLongestDrainNs = 3000 * kNsPerMs;
constexpr int64_t kLongestStallNs = 3000 * kNsPerMs;  // of a device that is there

}  // namespace

WaveOut::WaveOut(std::unique_ptr<PlaybackDriver> driver, const WaveOutSettings& settings, Foundation::Clock& clock)
    : settings(settings), clock(clock), driver(std::move(driver)) {
    ORVANE_ASSERT(settings.progress);
}

WaveOut::~WaveOut() {
    Close(true);
}

Outcome WaveOut::Open(std::string_view device_key, std::string_view name, int most_in_flight) {
    ORVANE_ASSERT(max_in_flight == 0 && most_in_flight > 0);
    device_name = name;
    StreamRequest request;
    request.key = device_key;
    request.name = name;
    request.rate = settings.sample_rate;
    request.bits = settings.bits;
    request.hardware_frames = settings.hardware_buffer_size;
    Result<StreamFormat> opened = driver->Open(request, *this);
    if (!opened) return opened.GetOutcome();
    format = *opened;
    frame_bytes = static_cast<uint32_t>(format.channels * format.bits / 8);
    float_to_int.reset();
    if (format.bits < 32) float_to_int.emplace(format.bits, false, false, false);
    max_in_flight = most_in_flight;
    ended = false;
    return {};
}

Outcome WaveOut::Start() {
    if (running) return {};
    running = true;
    seen_playing_ns = clock.NowNs();
    return driver->Start();
}

void WaveOut::Close(bool abort) {
    if (max_in_flight == 0) return;
    if (!abort && in_flight > 0 && !Start()) abort = true;
    const int64_t give_up_ns = clock.NowNs() + kLongestDrainNs;
    while (!abort && in_flight > 0 && clock.NowNs() < give_up_ns && !ended) {
        if (!Progress()) {
            abort = true;
            break;
        }
        clock.WaitUntil(free_buffers.event, std::min(give_up_ns, clock.NowNs() + kLongestWaitNs));
    }
    driver->Stop();
    running = false;
    max_in_flight = 0;
    if (!abort) Progress();
    TakeBackAll();
    blocks.clear();
    while (free_buffers.Pop()) continue;
}

Outcome WaveOut::Write(const float* samples, uint32_t n_bytes) {
    if (max_in_flight == 0) return Outcome::Fail(Kind::Refused, Msg::DeviceNotOpen);
    do {
        if (!Progress()) {
            Close(true);
            return Outcome::Cancelled();
        }
    } while (in_flight >= max_in_flight && WaitForRoom());
    if (ended) return DeviceDisconnected(device_name);

    const auto n_values = static_cast<int32_t>(n_bytes / sizeof(float));
    Block* block = FreeBlock(static_cast<uint32_t>(n_values / 2) * frame_bytes);
    block->n_frames = n_values / 2;
    block->taken = 0;
    if (float_to_int) {
        float_to_int->Encode(samples, n_values, block->Bytes());
    } else {
        std::memcpy(block->Bytes(), samples, n_bytes);
    }
    float peaks[2] = {0, 0};
    if (levels_enabled) {
        for (int32_t i = 0; i < n_values; ++i) peaks[i & 1] = std::max(peaks[i & 1], std::abs(samples[i]));
    }
    std::copy_n(peaks, 2, block->peaks);
    ++in_flight;
    queued.Push(block);
    return in_flight >= std::min(kBlocksToStart, max_in_flight) ? Start() : Outcome();
}

bool WaveOut::Progress() {
    const float peaks[2] = {peak_left, peak_right};
    return settings.progress(settings.client, played_frames, peaks);
}

bool WaveOut::WaitForRoom() {
    const int64_t played = played_frames;
    if (std::exchange(seen_played, played) != played) seen_playing_ns = clock.NowNs();
    if (clock.NowNs() - seen_playing_ns >= kLongestStallNs || !driver->IsActive()) ended = true;
    if (ended) return false;
    clock.WaitUntil(free_buffers.event, clock.NowNs() + kLongestWaitNs);
    return true;
}

WaveOut::Block* WaveOut::FreeBlock(uint32_t n_bytes) {
    while (auto* block = static_cast<Block*>(free_buffers.Pop())) {
        if (block->capacity >= n_bytes) return block;
        std::erase_if(blocks, [block](const auto& owned) { return owned.get() == block; });
    }
    // Room for slightly larger blocks to come.
    Block* block = blocks.emplace_back(std::make_unique<Block>()).get();
    const size_t n_floats = (n_bytes + n_bytes / 25 + sizeof(float) - 1) / sizeof(float);
    block->data = std::make_unique<float[]>(n_floats);
    block->capacity = static_cast<uint32_t>(n_floats * sizeof(float));
    return block;
}

int WaveOut::Reset() {
    if (max_in_flight == 0) return 0;
    if (running) driver->Halt();
    running = false;
    const int dropped = in_flight;
    TakeBackAll();
    return dropped;
}

// The driver does not run.
void WaveOut::TakeBackAll() {
    while (WaveBuffer* block = queued.Pop()) free_buffers.Push(block);
    while (hearing_first) {
        Block* block = std::exchange(hearing_first, hearing_first->later);
        free_buffers.Push(block);
    }
    taking = hearing_last = nullptr;
    counted_of_first = 0;
    n_handed_over = 0;
    in_flight = 0;
}

void WaveOut::EnableLevels(bool on) {
    levels_enabled = on;
    if (!on) peak_left = peak_right = 0;
}

void WaveOut::Take(void* out, int64_t n_frames, int64_t latency_frames) {
    CountHeard(n_handed_over - latency_frames);
    auto* bytes = static_cast<uint8_t*>(out);
    while (n_frames > 0) {
        if (!taking) {
            taking = static_cast<Block*>(queued.Pop());
            if (!taking) {
                std::memset(bytes, 0, static_cast<size_t>(n_frames * frame_bytes));
                n_handed_over += n_frames;
                return;
            }
            taking->handed_over = n_handed_over;
            taking->later = nullptr;
            (hearing_first ? hearing_last->later : hearing_first) = taking;
            hearing_last = taking;
        }
        const int64_t n = std::min(n_frames, taking->n_frames - taking->taken);
        std::memcpy(bytes, taking->Bytes() + taking->taken * frame_bytes, static_cast<size_t>(n * frame_bytes));
        bytes += n * frame_bytes;
        n_frames -= n;
        n_handed_over += n;
        taking->taken += n;
        if (taking->taken == taking->n_frames) taking = nullptr;
    }
}

// `heard` is a count of frames handed over.
void WaveOut::CountHeard(int64_t heard) {
    while (Block* block = hearing_first) {
        const int64_t of_this = std::clamp<int64_t>(heard - block->handed_over, 0, block->taken);
        if (of_this > counted_of_first) played_frames += of_this - std::exchange(counted_of_first, of_this);
        if (of_this < block->n_frames) return;
        if (levels_enabled) {
            peak_left = block->peaks[0];
            peak_right = block->peaks[1];
        }
        hearing_first = block->later;
        counted_of_first = 0;
        --in_flight;
        free_buffers.Push(block);
    }
}

void WaveOut::Ended() {
    ended = true;
    free_buffers.event.Set();
}

}  // namespace Tesslib
