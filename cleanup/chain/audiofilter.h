// The chain that every consumer pulls audio through: from a recording's file, by way of all that was decided about it,
// to samples. Playing, drawing, saving and burning agree because they read here.
#pragma once

#include <memory>
#include <vector>

#include "collection/filehistory.h"
#include "foundation/criticalsection.h"
#include "tesslib/stages.h"

namespace Orvane {

struct NoiseSample;

inline constexpr int32_t kChainChunk = 32768;  // longest piece the filter section works on at once

// How much audio before a jump the filters hear first, so that they give what a straight read gives to within -100 dB
// of full scale. The notches at 50 Hz remember longest.
inline constexpr int32_t kSettlingMs = 2500;

// A filter of the section between the two adaptors: separate left and right floats, changed in place. Read calls the
// input filter's Read on the same buffers first; its contract is that of PCMStream::Read. It runs under the stack's
// lock.
class PCMFilter {
public:
    explicit PCMFilter(int32_t samplerate) : samplerate(samplerate) {}
    PCMFilter(const PCMFilter&) = delete;
    PCMFilter& operator=(const PCMFilter&) = delete;
    virtual ~PCMFilter() = default;

    virtual bool AltersAudio(int64_t position, int64_t n_samples, uint32_t flags) = 0;
    virtual int32_t Read(int64_t position, float* left, float* right, int32_t n_samples, uint32_t flags) = 0;
    virtual int64_t GetTotalSamples(uint32_t flags) = 0;
    // True when a Read of this range is certain to leave every sample as it is, here and in all filters before: the
    // section is then bypassed, and the next Read that is not counts as a jump.
    virtual bool PassesThrough(int64_t position, int64_t n_samples, uint32_t flags) = 0;

protected:
    const int32_t samplerate;
};

// Streams to filters: the bottom of the filter section.
class PCMStreamToFilter : public PCMFilter {
public:
    PCMStreamToFilter(Tesslib::PCMStream* input_stream, Foundation::CriticalSection& lock, uint32_t flags);

    bool AltersAudio(int64_t, int64_t, uint32_t) override { return false; }
    int32_t Read(int64_t position, float* left, float* right, int32_t n_samples, uint32_t flags) override;
    int64_t GetTotalSamples(uint32_t flags) override;
    bool PassesThrough(int64_t, int64_t, uint32_t) override { return true; }
    void SetSource(Tesslib::PCMStream* new_source) { input_stream = new_source; }

private:
    Tesslib::PCMStream* input_stream;
    Foundation::CriticalSection& lock;
    std::vector<float> scratch;
};

// Filters to streams: the top of the section. `bottom` is the adaptor at the other end; `source` stays its input. After
// a jump the filters first hear kSettlingMs of what lies before it.
class PCMFilterToStream : public Tesslib::PCMStream {
public:
    PCMFilterToStream(Tesslib::PCMStream* source, PCMFilter* filter, PCMStreamToFilter* bottom,
                      Foundation::CriticalSection& lock, int32_t samplerate);

    int32_t Read(int64_t position, float* buffer, int32_t n_samples, uint32_t flags) override;
    int64_t GetTotalSamples(uint32_t flags) override;
    void SetSource(Tesslib::PCMStream* new_source) override;

private:
    void Settle(int64_t position, uint32_t flags);
    int32_t ReadChunk(int64_t position, int32_t n_samples, uint32_t flags);

    PCMFilter* filter;
    PCMStreamToFilter* bottom;
    Foundation::CriticalSection& lock;
    std::vector<float> left;
    std::vector<float> right;
    int64_t next_position = -1;  // where the filters' last read ended
    uint32_t last_flags = 0;     // of that read
};

// The whole chain above one open file. Which stages exist is decided once, by the flags given here; Read's flags then
// switch existing ones. Any thread may read; a lock shared by all stages makes one Read see one version of the lists.
class PCMStack : public Tesslib::PCMStream {
public:
    // `source` and `entry` outlive the stack. `output_samplerate` 0 keeps the recording's rate.
    PCMStack(FileHistoryEntry* entry, Tesslib::PCMStream* source, uint32_t flags, int32_t output_samplerate);
    ~PCMStack() override;

    int32_t Read(int64_t position, float* buffer, int32_t n_samples, uint32_t flags) override;
    int64_t GetTotalSamples(uint32_t flags) override;
    bool AltersAudio(int64_t position, int64_t n_samples, uint32_t flags) override;
    void ReleaseResources() override;
    int32_t GetSampleRate(uint32_t flags) override;

    Tesslib::PCMFader* Fader() const;  // null when the chain has none
    // Of the hiss filter, see Denoise; all 0 when the chain has none.
    NoiseSample GetNoiseSpectrum() const;

private:
    struct PCMStackData;
    std::unique_ptr<PCMStackData> idata;
};

// A recording's samples with a chain of their own. Holds the recording open.
class FileToPCM : public Tesslib::PCMStream {
public:
    FileToPCM(OpenRecording recording, uint32_t flags, int32_t output_samplerate);
    ~FileToPCM() override;

    int32_t Read(int64_t position, float* buffer, int32_t n_samples, uint32_t flags) override;
    int64_t GetTotalSamples(uint32_t flags) override { return stack->GetTotalSamples(flags); }
    bool AltersAudio(int64_t position, int64_t n_samples, uint32_t flags) override;
    void ReleaseResources() override { stack->ReleaseResources(); }
    int32_t GetSampleRate(uint32_t flags) override { return stack->GetSampleRate(flags); }
    int32_t GetDSDMultiple() override { return stack->GetDSDMultiple(); }

    PCMStack& Stack() { return *stack; }

private:
    OpenRecording recording;
    Foundation::RefPtr<PCMStack> stack;
    bool report_import;
};

// Opens the recording for `user` (a RecordingUser) and builds a chain above it. Unless the chain leaves click repairs
// out, they have been read: repairs that cannot be read are a failure, since nothing is heard or saved silently without
// them. The chain holds the recording open. Any thread.
Foundation::Result<Foundation::RefPtr<FileToPCM>> OpenFileToPCM(FileHistoryEntry& entry, uint32_t user, uint32_t flags,
                                                                int32_t output_samplerate);

// The entry's shared chain, at the recording's own rate and without faders. Everybody who asks gets the same one; it
// goes, and closes the recording, when the last has let go of it. Any thread.
Foundation::Result<Foundation::RefPtr<FileToPCM>> GetFileToPCM(FileHistoryEntry& entry);

}  // namespace Orvane
