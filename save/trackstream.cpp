#include "save/trackstream.h"

#include <algorithm>

#include "foundation/outcome.h"
#include "foundation/settings.h"

using namespace Foundation;
using namespace Tesslib;

namespace Orvane {
namespace {

// Stands for a recording that cannot be opened. Its length is not known, so it never ends: whatever lies in it or
// behind it fails with the reason kept here.
class UnopenedPCMStream : public PCMStream {
public:
    UnopenedPCMStream(int32_t samplerate, Outcome reason) : PCMStream(nullptr, samplerate), reason(std::move(reason)) {}

    int32_t Read(int64_t, float*, int32_t, uint32_t) override { return reason.ToStreamError(); }
    int64_t GetTotalSamples(uint32_t) override { return kEndless / 4; }

private:
    Outcome reason;
};

}  // namespace

int32_t SilentPCMStream::Read(int64_t, float* buffer, int32_t n_samples, uint32_t) {
    std::fill(buffer, buffer + 2 * static_cast<size_t>(n_samples), 0.0f);
    return n_samples;
}

void GetTrackSilence(const AlbumInfo& album, int track, int trim_seconds, int32_t& start, int32_t& end) {
    start = end = 0;
    if (trim_seconds < 0) return;
    start = GetSetting("Silence At Start", 0);
    end = GetSetting("Silence At End", 0);
    if (GetSetting("Detect Gapless Tracks", 0)) {
        const ALBUMTRACK& t = album.tracks[track];
        if (track > 0) {
            const ALBUMTRACK& before = album.tracks[track - 1];
            bool faded = (t.filter_flags & TRACK_FADE_IN) || (before.filter_flags & TRACK_FADE_OUT);
            if (t.start == before.end && !faded) start = 0;
        }
        if (track + 1 < album.tracks.size()) {
            const ALBUMTRACK& next = album.tracks[track + 1];
            bool faded = (t.filter_flags & TRACK_FADE_OUT) || (next.filter_flags & TRACK_FADE_IN);
            if (t.end == next.start && !faded) end = 0;
        }
    }
    end = std::max(0, end - trim_seconds * 10);
}

TrackPCMStream::TrackPCMStream(const AlbumInfo& album, int track, uint32_t flags, int32_t wanted_rate, int trim_seconds)
    : PCMStream(nullptr, wanted_rate) {
    std::vector<FileHistoryEntry*> recordings = album.Recordings();
    if (!samplerate) samplerate = recordings.empty() ? album.samplerate : recordings.front()->SampleRate();

    int32_t start_tenths, end_tenths;
    GetTrackSilence(album, track, trim_seconds, start_tenths, end_tenths);
    silence_at_start = MulDiv(start_tenths, samplerate, 10);
    silence_at_end = MulDiv(end_tenths, samplerate, 10);

    const ALBUMTRACK& t = album.tracks[track];
    int64_t offset = 0;
    for (FileHistoryEntry* recording : recordings) {
        AddRecording(recording, t, flags, offset);
        // What lies behind recordings that cannot be opened is never read.
        offset = std::min(offset + file_streams.back()->GetTotalSamples(flags), kEndless / 64);
    }
    if (file_streams.empty()) file_streams.emplace_back(new MemoryPCMStream({}, samplerate));
    merged = MakeRef<MergePCMStreams>(file_streams, flags);
    int64_t start = to_samples(samplerate, t.FadeStart());
    int64_t end = to_samples(samplerate, t.FadeEnd());
    wanted_samples = end - start;
    chopped = MakeRef<ChopPCMStream>(merged.get(), start, end, flags);
    source = chopped.get();
}

void TrackPCMStream::AddRecording(FileHistoryEntry* recording, const ALBUMTRACK& track, uint32_t flags,
                                  int64_t offset) {
    const Result<RefPtr<FileToPCM>> chain =
        OpenFileToPCM(*recording->Copy(COPY_CORRECTIONS), USER_SAVE, flags, samplerate);
    if (!chain) {
        file_streams.emplace_back(new UnopenedPCMStream(samplerate, chain.GetOutcome()));
        return;
    }
    const RefPtr<FileToPCM>& stream = *chain;
    if (PCMFader* fader = stream->Stack().Fader()) {
        // The fader stands before the conversion of the rate, in frames of the recording.
        const int32_t rate = fader->GetSampleRate(flags);
        const int64_t start = MulDiv64(offset, rate, samplerate);
        FADERS faders;
        faders.fade_in_length = static_cast<int32_t>(to_samples(rate, track.FadeIn()));
        faders.fade_out_length = static_cast<int32_t>(to_samples(rate, track.FadeOut()));
        faders.fade_in_start = to_samples(rate, track.start) - start - faders.fade_in_length;
        faders.fade_out_end = to_samples(rate, track.end) - start + faders.fade_out_length;
        fader->SetFaders(&faders);
    }
    file_streams.push_back(stream);
}

int64_t TrackPCMStream::GetTotalSamples(uint32_t flags) {
    return silence_at_start + chopped->GetTotalSamples(flags) + silence_at_end;
}

int32_t TrackPCMStream::Read(int64_t position, float* buffer, int32_t n_samples, uint32_t flags) {
    auto Silence = [&](int32_t at, int64_t n) { std::fill_n(buffer + 2 * static_cast<size_t>(at), 2 * n, 0.0f); };
    int32_t done = 0;
    if (position < silence_at_start) {
        done = static_cast<int32_t>(std::min<int64_t>(n_samples, silence_at_start - position));
        Silence(0, done);
    }
    int64_t music = chopped->GetTotalSamples(flags);
    int64_t at = position + done - silence_at_start;
    if (done < n_samples && at < music) {
        int32_t wanted = static_cast<int32_t>(std::min<int64_t>(n_samples - done, music - at));
        int32_t n = chopped->Read(at, buffer + 2 * static_cast<size_t>(done), wanted, flags);
        if (n < 0) return n;
        done += n;
        at += n;
        if (n < wanted) return done;
    }
    if (done < n_samples && at >= music) {
        int64_t n = std::clamp<int64_t>(music + silence_at_end - at, 0, n_samples - done);
        Silence(done, n);
        done += static_cast<int32_t>(n);
    }
    return done;
}

RefPtr<TrackPCMStream> MakeTrackPCMStream(const AlbumInfo* album, int track, uint32_t flags, int32_t samplerate,
                                          int trim_seconds) {
    ORVANE_ASSERT(album);
    return MakeRef<TrackPCMStream>(*album, track, flags, samplerate, trim_seconds);
}

}  // namespace Orvane
