// The two abstract sources that all audio is pulled from: decoded samples and compressed frames.
#pragma once

#include <cstdint>
#include <vector>

#include "foundation/fileerror.h"
#include "foundation/refcount.h"

namespace Tesslib {

// The word handed down unchanged through every stage of a chain. Bits tested when a chain is built decide whether a
// stage exists; the same bits passed to Read make an existing stage pass audio through.
enum PCMFlags : uint32_t {
    PCM_NO_FADERS = 0x0001,
    PCM_USE_CACHE = 0x0002,     // reads may be served by PCMCache
    PCM_RAW_DOP = 0x0004,       // DSD as raw carrier words, untouched
    PCM_BEST_QUALITY = 0x0008,  // the long filters of rate conversion: saving sets it, playing leaves it clear
    PCM_FORCE_FRAMES = 0x0010,  // frames are copied whatever was done to the audio
    PCM_NO_CUTS = 0x0100,
    PCM_NO_FILTERS = 0x0200,  // no hum, rumble, denoise, equaliser
    PCM_NO_DENOISE = 0x0400,
    PCM_NO_CLICK_REPAIR = 0x0800,  // no repairs and no patches
    PCM_NO_EQUALISER = 0x1000,
    PCM_DENOISE_OFF = 0x2000,
    PCM_NORMALISE = 0x100000,  // the side's normalisation gain in place of the preamp
    PCM_NO_PREAMP = 0x200000,
    PCM_REPORT_IMPORT = 0x800000,  // the first Read logs the file's name
    PCM_NO_SWAP = 0x1000000,       // the recording's swap-channels mark is ignored
};

inline constexpr int64_t kEndless = INT64_MAX;  // the total of a stream without a limit

// A source of samples. Between stages samples are interleaved stereo pairs of 32-bit floats, left then right, nominal
// full scale 1.0; a position or a count is always one of pairs at the stream's own rate, from 0. Values beyond full
// scale are legal and are clipped only on conversion to integers.
//
// Read delivers up to `n_samples` pairs from `position`, which need not follow the last read. The result is the number
// delivered: less than asked only at the end, 0 only at or past the end; below 0 it is a StreamError, the reason is the
// thread's last error, and nothing in `buffer` is promised. Reading on from where the last read ended is fast, and
// allocates nothing once the largest block has been seen.
//
// A stage keeps a plain pointer to its input: whoever builds a chain keeps its stages alive and tears it down. Stages
// are for one thread at a time unless they say otherwise.
class PCMStream : public Foundation::RefCount {
public:
    PCMStream(PCMStream* source, int32_t samplerate) : source(source), samplerate(samplerate) {}

    virtual int32_t Read(int64_t position, float* buffer, int32_t n_samples, uint32_t flags) = 0;
    virtual int64_t GetTotalSamples(uint32_t flags) = 0;

    // True if this stage would change the samples of the range, so that they are no longer those of its file.
    virtual bool AltersAudio(int64_t /*position*/, int64_t /*n_samples*/, uint32_t /*flags*/) { return false; }
    virtual void SetSource(PCMStream* new_source) { source = new_source; }
    // Lets go of decoders and handles that are only needed while reading; the next Read opens them again.
    virtual void ReleaseResources() {
        if (source) source->ReleaseResources();
    }
    virtual int32_t GetSampleRate(uint32_t flags) { return source ? source->GetSampleRate(flags) : samplerate; }
    // For a stream that carries DSD the multiple of the 176400 Hz carrier, 0 for ordinary PCM.
    virtual int32_t GetDSDMultiple() { return source ? source->GetDSDMultiple() : 0; }
    virtual void SetDSDOutputRate(int32_t rate) {
        if (source) source->SetDSDOutputRate(rate);
    }

protected:
    PCMStream* source;   // null for a stage without a single input, such as a file
    int32_t samplerate;  // 0: asked of `source`
};

// One compressed frame.
struct FRAME {
    std::vector<uint8_t> framebuf;  // the whole frame, header included
    int32_t framenum = 0;
};

// Frames a sample rate's MPEG frame holds; the unit of the level overview too. An unknown rate is an assertion failure.
int32_t SamplesPerFrame(int32_t samplerate);

// A source of compressed frames. Frame n begins at sample n * samples_per_frame.
class FrameSource : public Foundation::RefCount {
public:
    FrameSource(int32_t codec, int32_t samplerate, int32_t n_channels, int32_t samples_per_frame)
        : codec(codec), samplerate(samplerate), n_channels(n_channels), samples_per_frame(samples_per_frame) {}

    virtual int32_t GetCurrentFrame() = 0;                    // the frame that the next ReadFrame delivers
    virtual int SeekToFrame(int32_t frame) = 0;               // 0, or ERR_LIMIT when there are no frames at all
    virtual int ReadFrame(FRAME& frame, uint32_t flags) = 0;  // 0, ERR_LIMIT at the end, or another StreamError
    virtual int32_t GetTotalFrames() = 0;
    virtual void ReleaseResources() {}
    virtual std::vector<uint8_t> GetExtraData() { return {}; }
    virtual bool GetVBRInfo(int32_t* info) {
        if (info) *info = 0;
        return false;
    }

    int32_t codec;  // 1 for MPEG audio
    int32_t samplerate;
    int32_t n_channels;
    int32_t samples_per_frame;
};

}  // namespace Tesslib
