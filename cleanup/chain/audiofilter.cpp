#include "cleanup/chain/audiofilter.h"

#include <algorithm>
#include <utility>

#include "cleanup/chain/clickrepair.h"
#include "cleanup/chain/cutandsplice.h"
#include "cleanup/filter/denoise.h"
#include "cleanup/filter/equaliser.h"
#include "cleanup/filter/humrumblefilter.h"
#include "foundation/messages.h"
#include "foundation/progress.h"
#include "tesslib/josconvert.h"

using namespace Foundation;
using namespace Tesslib;

namespace Orvane {

PCMStreamToFilter::PCMStreamToFilter(PCMStream* input_stream, CriticalSection& lock, uint32_t flags)
    : PCMFilter(input_stream->GetSampleRate(flags)), input_stream(input_stream), lock(lock) {}

int32_t PCMStreamToFilter::Read(int64_t position, float* left, float* right, int32_t n_samples, uint32_t flags) {
    Locked guard(lock);
    int32_t total = 0;
    while (total < n_samples) {
        int32_t chunk = std::min(n_samples - total, kChainChunk);
        if (scratch.size() < static_cast<size_t>(chunk) * 2) scratch.resize(static_cast<size_t>(chunk) * 2);
        int32_t n = input_stream->Read(position + total, scratch.data(), chunk, flags);
        if (n < 0) return n;
        if (n == 0) break;
        const float* pair = scratch.data();
        for (int32_t i = 0; i < n; ++i) {
            left[total + i] = pair[2 * i];
            right[total + i] = pair[2 * i + 1];
        }
        total += n;
    }
    return total;
}

int64_t PCMStreamToFilter::GetTotalSamples(uint32_t flags) {
    ORVANE_ASSERT(input_stream);
    Locked guard(lock);
    return input_stream->GetTotalSamples(flags);
}

PCMFilterToStream::PCMFilterToStream(PCMStream* source, PCMFilter* filter, PCMStreamToFilter* bottom,
                                     CriticalSection& lock, int32_t samplerate)
    : PCMStream(source, samplerate), filter(filter), bottom(bottom), lock(lock) {}

int32_t PCMFilterToStream::ReadChunk(int64_t position, int32_t n_samples, uint32_t flags) {
    if (left.size() < static_cast<size_t>(n_samples)) {
        left.resize(n_samples);
        right.resize(n_samples);
    }
    const int32_t n = filter->Read(position, left.data(), right.data(), n_samples, flags);
    next_position = n < 0 ? -1 : position + n;
    last_flags = flags;
    return n;
}

// What cannot be read here is none of what was asked for: the filters then start where it ends.
void PCMFilterToStream::Settle(int64_t position, uint32_t flags) {
    int64_t at = std::max<int64_t>(0, position - MulDiv64(kSettlingMs, samplerate, 1000));
    if (filter->PassesThrough(at, position - at, flags)) return;
    while (at < position) {
        const int32_t n = ReadChunk(at, static_cast<int32_t>(std::min<int64_t>(position - at, kChainChunk)), flags);
        if (n <= 0) return;
        at += n;
    }
}

int32_t PCMFilterToStream::Read(int64_t position, float* buffer, int32_t n_samples, uint32_t flags) {
    if (flags & PCM_NO_FILTERS) return source->Read(position, buffer, n_samples, flags);
    Locked guard(lock);
    if (filter->PassesThrough(position, n_samples, flags)) return source->Read(position, buffer, n_samples, flags);
    if (position != next_position || flags != last_flags) Settle(position, flags);
    int32_t total = 0;
    while (total < n_samples) {
        const int32_t n = ReadChunk(position + total, std::min(n_samples - total, kChainChunk), flags);
        if (n < 0) return n;
        if (n == 0) break;
        float* pair = buffer + 2 * static_cast<int64_t>(total);
        for (int32_t i = 0; i < n; ++i) {
            pair[2 * i] = left[i];
            pair[2 * i + 1] = right[i];
        }
        total += n;
    }
    return total;
}

int64_t PCMFilterToStream::GetTotalSamples(uint32_t flags) {
    Locked guard(lock);
    return filter->GetTotalSamples(flags);
}

void PCMFilterToStream::SetSource(PCMStream* new_source) {
    source = new_source;
    bottom->SetSource(new_source);
}

struct PCMStack::PCMStackData {
    CriticalSection cs;
    FileHistoryEntry* entry = nullptr;
    PCMStream* top = nullptr;
    PCMCutAndSplice* cut_instance_repaired = nullptr;    // reads without PCM_NO_CLICK_REPAIR come from the first, those
    PCMCutAndSplice* cut_instance_unrepaired = nullptr;  // with it from the second: neither loses a prepared cross-fade
    PCMStream* first_above_cuts = nullptr;               // the stage that reads from one of them; null: it is the top
    uint32_t last_flags = 0;
    std::vector<RefPtr<PCMStream>> stages;            // every stream stage of the stack, newest last
    std::vector<std::unique_ptr<PCMFilter>> filters;  // bottom first
    PCMFader* fader = nullptr;
    const Denoise* denoise = nullptr;

    bool Swaps(uint32_t flags) const { return !(flags & PCM_NO_SWAP) && entry->SwapChannels(); }

    void ChooseCuts(uint32_t flags) {
        if (cut_instance_repaired && ((flags ^ last_flags) & PCM_NO_CLICK_REPAIR)) {
            PCMStream* chosen = flags & PCM_NO_CLICK_REPAIR ? cut_instance_unrepaired : cut_instance_repaired;
            if (first_above_cuts) {
                first_above_cuts->SetSource(chosen);
            } else {
                top = chosen;
            }
        }
        last_flags = flags;
    }

    template <class Stage, class... Args>
    Stage* Add(Args&&... args) {
        Stage* stage = new Stage(std::forward<Args>(args)...);
        stages.emplace_back(stage);
        top = stage;
        return stage;
    }

    template <class Filter, class... Args>
    Filter* AddFilter(Args&&... args) {
        filters.push_back(std::make_unique<Filter>(std::forward<Args>(args)...));
        return static_cast<Filter*>(filters.back().get());
    }

    // True if the samples reach the top as the source makes them, cuts aside.
    bool PassesSourceThrough(uint32_t flags) const {
        const bool filters = !(flags & PCM_NO_FILTERS) && !entry->FiltersInForce().empty();
        const bool curves = !(flags & PCM_DENOISE_OFF) && !entry->CurvesInForce().empty();
        if (filters || curves) return false;
        if (flags & PCM_NO_CLICK_REPAIR) return true;
        return entry->click_repairs.IsEmpty();
    }

    // Hum and rumble, hiss and curves, equaliser: between the two adaptors.
    void AddFilterSection(uint32_t flags) {
        const int32_t rate = top->GetSampleRate(flags);
        PCMStreamToFilter* bottom = AddFilter<PCMStreamToFilter>(top, cs, flags);
        PCMFilter* last = AddFilter<HumRumbleFilter>(bottom, entry, cs, rate);
        if (!(flags & (PCM_NO_DENOISE | PCM_DENOISE_OFF))) {
            Denoise* added = AddFilter<Denoise>(last, entry, cs, rate);
            denoise = added;
            last = added;
        }
        if (!(flags & PCM_NO_EQUALISER)) last = AddFilter<Equaliser>(last, entry, cs, rate);
        Add<PCMFilterToStream>(top, last, bottom, cs, rate);
    }
};

PCMStack::PCMStack(FileHistoryEntry* entry, PCMStream* source, uint32_t flags, int32_t output_samplerate)
    : PCMStream(source, 0), idata(std::make_unique<PCMStackData>()) {
    PCMStackData& d = *idata;
    d.entry = entry;
    d.top = source;
    if (flags & PCM_USE_CACHE) d.Add<PCMCache>(d.top, 2048, flags);
    if (!(flags & (PCM_NO_CLICK_REPAIR | PCM_RAW_DOP))) d.Add<PCMClickRepair>(d.top, entry, d.cs);
    if (!(flags & PCM_NO_CUTS)) {
        PCMStream* input = d.top;
        d.cut_instance_unrepaired = d.Add<PCMCutAndSplice>(input, entry, d.cs);
        d.cut_instance_repaired = d.Add<PCMCutAndSplice>(input, entry, d.cs);
    }
    size_t stages_with_cuts = d.stages.size();
    if (!(flags & (PCM_NO_FILTERS | PCM_RAW_DOP))) d.AddFilterSection(flags);
    if (!(flags & (PCM_NO_FADERS | PCM_RAW_DOP))) d.fader = d.Add<PCMFader>(d.top, flags);
    int32_t rate = d.top->GetSampleRate(flags);
    if (output_samplerate && rate != output_samplerate && !(flags & PCM_RAW_DOP)) {
        // DSD can be made into any rate, unless corrections, which are at the recording's, come between.
        if (d.top->GetDSDMultiple() && d.PassesSourceThrough(flags)) {
            d.top->SetDSDOutputRate(output_samplerate);
        } else {
            d.Add<JOSConvert>(d.top, output_samplerate, flags);
        }
    }
    if (d.cut_instance_repaired && d.stages.size() > stages_with_cuts) {
        d.first_above_cuts = d.stages[stages_with_cuts].get();
    }
    samplerate = d.top->GetSampleRate(flags);
}

PCMStack::~PCMStack() = default;

int32_t PCMStack::Read(int64_t position, float* buffer, int32_t n_samples, uint32_t flags) {
    Locked guard(idata->cs);
    idata->ChooseCuts(flags);
    int32_t n = idata->top->Read(position, buffer, n_samples, flags);
    if (n > 0 && idata->Swaps(flags)) {
        for (int32_t i = 0; i < n; ++i) std::swap(buffer[2 * i], buffer[2 * i + 1]);
    }
    return n;
}

int64_t PCMStack::GetTotalSamples(uint32_t flags) {
    Locked guard(idata->cs);
    return idata->top->GetTotalSamples(flags);
}

bool PCMStack::AltersAudio(int64_t position, int64_t n_samples, uint32_t flags) {
    Locked guard(idata->cs);
    if (idata->Swaps(flags)) return true;
    for (auto stage = idata->stages.rbegin(); stage != idata->stages.rend(); ++stage) {
        if ((*stage)->AltersAudio(position, n_samples, flags)) return true;
    }
    for (const auto& filter : idata->filters) {
        if (filter->AltersAudio(position, n_samples, flags)) return true;
    }
    return false;
}

void PCMStack::ReleaseResources() {
    Locked guard(idata->cs);
    idata->top->ReleaseResources();
}

int32_t PCMStack::GetSampleRate(uint32_t flags) {
    return idata->top->GetSampleRate(flags);
}

NoiseSample PCMStack::GetNoiseSpectrum() const {
    return idata->denoise ? idata->denoise->GetNoiseSpectrum() : NoiseSample(samplerate);
}

PCMFader* PCMStack::Fader() const {
    return idata->fader;
}

FileToPCM::FileToPCM(OpenRecording opened, uint32_t flags, int32_t output_samplerate)
    : PCMStream(nullptr, 0),
      recording(std::move(opened)),
      stack(MakeRef<PCMStack>(&recording.Entry(), &recording.File(), flags, output_samplerate)),
      report_import((flags & PCM_REPORT_IMPORT) != 0) {
    source = stack.get();
}

FileToPCM::~FileToPCM() {
    FileHistoryEntry& entry = recording.Entry();
    {
        const Locked lock(FileHistoryLock());
        if (entry.shared_stack == this) entry.shared_stack = nullptr;
    }
    stack = nullptr;  // before the file that it reads
}

int32_t FileToPCM::Read(int64_t position, float* buffer, int32_t n_samples, uint32_t flags) {
    if (report_import) {
        Progress::Log(FormatMsg(Msg::SourceFileNote, recording.File().Filename()));
        report_import = false;
    }
    return stack->Read(position, buffer, n_samples, flags);
}

bool FileToPCM::AltersAudio(int64_t position, int64_t n_samples, uint32_t flags) {
    return stack->AltersAudio(position, n_samples, flags);
}

Result<RefPtr<FileToPCM>> OpenFileToPCM(FileHistoryEntry& entry, uint32_t user, uint32_t flags,
                                        int32_t output_samplerate) {
    Result<OpenRecording> recording = entry.Open(user);
    if (!recording) return recording.GetOutcome();
    if (!(flags & (PCM_NO_CLICK_REPAIR | PCM_RAW_DOP))) {
        if (Outcome loaded = entry.LoadCorrections(); !loaded) return loaded;
    }
    return MakeRef<FileToPCM>(std::move(*recording), flags, output_samplerate);
}

namespace {

// The shared chain, unless nobody holds it or its last holder is letting go of it at this moment.
RefPtr<FileToPCM> SharedChain(const FileHistoryEntry& entry) {
    const Locked lock(FileHistoryLock());
    auto* chain = static_cast<FileToPCM*>(entry.shared_stack);
    return chain ? RefPtr<FileToPCM>::IfAlive(chain) : nullptr;
}

}  // namespace

Result<RefPtr<FileToPCM>> GetFileToPCM(FileHistoryEntry& entry) {
    if (RefPtr<FileToPCM> chain = SharedChain(entry)) return chain;
    // Made outside of the lock, which comes behind that of the lists.
    Result<RefPtr<FileToPCM>> made = OpenFileToPCM(entry, USER_EDIT, PCM_NO_FADERS | PCM_USE_CACHE, entry.SampleRate());
    if (!made) return made;
    const Locked lock(FileHistoryLock());
    if (RefPtr<FileToPCM> chain = SharedChain(entry)) return chain;
    entry.shared_stack = made->get();
    return made;
}

}  // namespace Orvane
