// One finished track as a stream: cut out of its album's recordings, cleaned up, faded and padded with silence.
#pragma once

#include <vector>

#include "cleanup/chain/audiofilter.h"
#include "collection/dataobjects.h"
#include "tesslib/stages.h"

namespace Orvane {

// Digital silence without an end.
class SilentPCMStream : public Tesslib::PCMStream {
public:
    explicit SilentPCMStream(int32_t samplerate) : Tesslib::PCMStream(nullptr, samplerate) {}

    int32_t Read(int64_t position, float* buffer, int32_t n_samples, uint32_t flags) override;
    int64_t GetTotalSamples(uint32_t /*flags*/) override { return Tesslib::kEndless; }
    bool AltersAudio(int64_t, int64_t, uint32_t) override { return true; }
    void ReleaseResources() override {}
};

// How much silence a track gets, in tenths of a second: the settings "Silence At Start" and "Silence At End", less
// `trim_seconds` at the end, and none between tracks that run into each other when "Detect Gapless Tracks" is on. A
// negative `trim_seconds` asks for none at all.
void GetTrackSilence(const AlbumInfo& album, int track, int trim_seconds, int32_t& start, int32_t& end);

// Has its own chains over private copies of the recordings, so several may be read at once, each by one thread. A
// recording that cannot be opened shows on the first Read that needs it.
class TrackPCMStream : public Tesslib::PCMStream {
public:
    // `track` is an index into the album's tracks. `samplerate` 0 keeps the rate of the album's first recording.
    // Without any recording the stream has no samples. The album must not change while the stream is made.
    TrackPCMStream(const AlbumInfo& album, int track, uint32_t flags, int32_t samplerate, int trim_seconds);

    int32_t Read(int64_t position, float* buffer, int32_t n_samples, uint32_t flags) override;
    int64_t GetTotalSamples(uint32_t flags) override;
    void ReleaseResources() override { merged->ReleaseResources(); }
    int32_t GetSampleRate(uint32_t /*flags*/) override { return samplerate; }

    // The whole length the track's times ask for, silence aside; more than the stream has where the recording ends
    // first.
    int64_t WantedSamples() const { return wanted_samples; }
    int64_t MusicSamples(uint32_t flags) { return chopped->GetTotalSamples(flags); }

private:
    void AddRecording(FileHistoryEntry* recording, const ALBUMTRACK& track, uint32_t flags, int64_t offset);

    std::vector<Foundation::RefPtr<Tesslib::PCMStream>> file_streams;
    Foundation::RefPtr<Tesslib::MergePCMStreams> merged;
    Foundation::RefPtr<Tesslib::ChopPCMStream> chopped;
    int32_t silence_at_start = 0;
    int32_t silence_at_end = 0;
    int64_t wanted_samples = 0;
};

Foundation::RefPtr<TrackPCMStream> MakeTrackPCMStream(const AlbumInfo* album, int track, uint32_t flags,
                                                      int32_t samplerate, int trim_seconds);

}  // namespace Orvane
