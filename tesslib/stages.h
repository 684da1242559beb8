// The general-purpose stages of a chain: faders, joins, cuts to length, a block cache and the cheap rate changer.
#pragma once

#include <vector>

#include "tesslib/audiostream.h"

namespace Tesslib {

// Where a track fades, in samples of the stream the fader stands in.
struct FADERS {
    int64_t fade_in_start = 0;
    int32_t fade_in_length = 0;   // 0: none
    int64_t fade_out_end = 0;     // silence is reached here
    int32_t fade_out_length = 0;  // 0: none
    bool linear = false;          // a straight line instead of the curve
};

// The gain of a fader of `length` at `distance` from its silent end, both in the same unit; about 1 at its full length.
float FaderGain(int64_t distance, int32_t length, bool linear);

class PCMFader : public PCMStream {
public:
    PCMFader() : PCMStream(nullptr, 0) {}
    PCMFader(PCMStream* source, uint32_t flags);

    void SetFaders(const FADERS* new_faders);  // null clears them

    int32_t Read(int64_t position, float* buffer, int32_t n_samples, uint32_t flags) override;
    int64_t GetTotalSamples(uint32_t flags) override { return source->GetTotalSamples(flags); }
    bool AltersAudio(int64_t position, int64_t n_samples, uint32_t flags) override;

private:
    enum Region { None, FadeIn, FadeOut };
    float GainAt(int64_t position, Region region) const;
    void Fade(float* pairs, int64_t first, int64_t end, Region region) const;

    FADERS faders;
    int64_t cached_position = -1;
    Region cached_region = None;
};

// Joins streams end to end. A stream that says it has samples and then delivers none is heard as silence, so that one
// damaged part does not end the whole. `streams` stays the caller's.
class MergePCMStreams : public PCMStream {
public:
    MergePCMStreams(const std::vector<Foundation::RefPtr<PCMStream>>& streams, uint32_t flags);

    int32_t Read(int64_t position, float* buffer, int32_t n_samples, uint32_t flags) override;
    int64_t GetTotalSamples(uint32_t flags) override;
    bool AltersAudio(int64_t position, int64_t n_samples, uint32_t flags) override;
    void ReleaseResources() override;

private:
    const std::vector<Foundation::RefPtr<PCMStream>>& streams;
    int64_t stream_start = 0;  // of `current`, by the lengths that `walked_flags` gave
    int current = 0;
    int last_used = -1;
    uint32_t walked_flags = 0;
};

class MergeFrameSources : public FrameSource {
public:
    explicit MergeFrameSources(const std::vector<Foundation::RefPtr<FrameSource>>& sources);

    int32_t GetCurrentFrame() override { return current_frame; }
    int SeekToFrame(int32_t frame) override;
    int ReadFrame(FRAME& frame, uint32_t flags) override;
    int32_t GetTotalFrames() override;
    void ReleaseResources() override;
    std::vector<uint8_t> GetExtraData() override;

private:
    const std::vector<Foundation::RefPtr<FrameSource>>& sources;
    int32_t current_frame = 0;
    int current = 0;
    int last_used = -1;
};

// The stretch `start` to `end` of a stream, from position 0. It does not pad.
class ChopPCMStream : public PCMStream {
public:
    ChopPCMStream(PCMStream* source, int64_t start, int64_t end, uint32_t flags);

    int32_t Read(int64_t position, float* buffer, int32_t n_samples, uint32_t flags) override;
    int64_t GetTotalSamples(uint32_t /*flags*/) override { return length; }
    bool AltersAudio(int64_t position, int64_t n_samples, uint32_t flags) override;

private:
    int64_t start;
    int64_t length;
};

// The frames that cover samples `start` to `end` (negative: no limit).
class ChopFrameSource : public FrameSource {
public:
    ChopFrameSource(FrameSource* source, int64_t start, int64_t end, uint32_t flags);

    int32_t GetCurrentFrame() override;
    int SeekToFrame(int32_t frame) override;
    int ReadFrame(FRAME& frame, uint32_t flags) override;
    int32_t GetTotalFrames() override;
    void ReleaseResources() override { source->ReleaseResources(); }
    std::vector<uint8_t> GetExtraData() override { return source->GetExtraData(); }

private:
    FrameSource* source;
    uint32_t construction_flags;
    int32_t first_frame;
    int32_t last_frame;
    int32_t current_frame = -1;
};

// Keeps the last block read, for consumers such as drawing whose reads overlap.
class PCMCache : public PCMStream {
public:
    PCMCache(PCMStream* source, int32_t cache_size, uint32_t flags);

    int32_t Read(int64_t position, float* buffer, int32_t n_samples, uint32_t flags) override;
    int64_t GetTotalSamples(uint32_t flags) override { return source->GetTotalSamples(flags); }

private:
    int32_t cache_size;
    std::vector<float> cache;
    std::vector<uint8_t> filled;  // for each position of the cache whether it holds a sample of the input
    int64_t first = 0;
    int32_t count = 0;
    uint32_t last_flags = 0;
};

// Changes the rate without filtering, for places where quality does not matter: the only stage whose samples depend on
// how a stretch is cut into reads.
class PCMConvert : public PCMStream {
public:
    PCMConvert(PCMStream* source, int32_t output_frequency);

    int32_t Read(int64_t position, float* buffer, int32_t n_samples, uint32_t flags) override;
    int64_t GetTotalSamples(uint32_t flags) override;
    int32_t GetSampleRate(uint32_t /*flags*/) override { return convert_to; }

private:
    int32_t Down(float* buffer, int32_t n_samples, int32_t available);
    int32_t Up(float* buffer, int32_t n_samples, int32_t available);

    int64_t next_position = -1;
    std::vector<float> input;
    int32_t input_first = 0;  // where the leftover pairs start in `input`
    float prev_left = 0;
    float prev_right = 0;
    int32_t convert_from;
    int32_t convert_to;
    int32_t phase = 0;
    int32_t carry = 0;  // how many leftover pairs there are
};

// A stream over samples in memory: what tests and small jobs read from.
class MemoryPCMStream : public PCMStream {
public:
    MemoryPCMStream(std::vector<float> interleaved, int32_t samplerate)
        : PCMStream(nullptr, samplerate), samples(std::move(interleaved)) {}

    int32_t Read(int64_t position, float* buffer, int32_t n_samples, uint32_t flags) override;
    int64_t GetTotalSamples(uint32_t /*flags*/) override { return static_cast<int64_t>(samples.size() / 2); }

private:
    std::vector<float> samples;
};

}  // namespace Tesslib
