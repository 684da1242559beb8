#include "split/albumoverview.h"

#include <algorithm>

#include "foundation/progress.h"
#include "waveform/generatewaveform.h"

using namespace Foundation;
using namespace Tesslib;

namespace Orvane {
namespace {

// Reports how far the reading of a file is; once the user has cancelled, the file ends.
class ReportingPCMStream : public PCMStream {
public:
    ReportingPCMStream(PCMStream* file, int first_per_mille, int per_mille)
        : PCMStream(file, 0),
          first_per_mille(first_per_mille),
          per_mille(per_mille),
          total(file->GetTotalSamples(kWaveformFlags)) {}

    int32_t Read(int64_t position, float* buffer, int32_t n_samples, uint32_t flags) override {
        if (total > 0) Progress::SetPosition(first_per_mille + static_cast<int>(position * per_mille / total));
        return Progress::Tick() ? source->Read(position, buffer, n_samples, flags) : 0;
    }
    int64_t GetTotalSamples(uint32_t) override { return total; }

private:
    const int first_per_mille;
    const int per_mille;
    const int64_t total;
};

}  // namespace

Outcome ReadAlbumOverview(const AlbumInfo& album, WaveformOverview& overview) {
    overview = {};
    const std::vector<FileHistoryEntry*> recordings = album.Recordings();
    // The length is known only once the recording has been open, which also drops a waveform of an older file.
    const auto is_drawn = [](FileHistoryEntry* recording) {
        return recording->Open(USER_PROBE).Ok() && IsWaveformFileFresh(recording->GetPath(), ".wft");
    };
    if (std::all_of(recordings.begin(), recordings.end(), is_drawn)) {
        if (ReadSideOverview(overview, recordings, 0) && overview.loaded) return {};
        overview = {};
    }
    const int share = 1000 / std::max(1, static_cast<int>(recordings.size()));
    for (size_t i = 0; i < recordings.size(); ++i) {
        const Result<OpenRecording> recording = recordings[i]->Open(USER_SCAN);
        if (!recording) return recording.GetOutcome();
        const auto stream = MakeRef<ReportingPCMStream>(&recording->File(), static_cast<int>(i) * share, share);
        const Outcome added = overview.AddRecording(*stream);
        if (Progress::Cancelled()) return Outcome::Cancelled();
        if (!added) return added;
    }
    overview.loaded = true;
    return {};
}

}  // namespace Orvane
