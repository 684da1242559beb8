#include "save/save_track.h"

#include "foundation/lasterror.h"
#include "foundation/messages.h"
#include "foundation/path.h"
#include "foundation/platform.h"
#include "save/filenames.h"
#include "save/savedfiles.h"
#include "save/track_tags.h"
#include "save/trackstream.h"
#include "save/write_stream.h"

using namespace Foundation;
using namespace Tesslib;

namespace Orvane {
namespace {

constexpr int32_t kBlock = 0x4000;          // pairs moved at once
constexpr int64_t kReportNs = 250'000'000;  // progress is told no more often

constexpr std::string_view kNotRecorded =
    "<fg color='#ff0000'>This track has not yet been recorded (or starts beyond the end of the recording).</fg>  You "
    "can "
    "delete it in the <b>Split Tracks window</b> if you no longer want it.";
constexpr std::string_view kNoBreak =
    "<fg color=#ff0000>No track break has yet been defined for this track.</fg>  To add track breaks, click on the "
    "<b>Split Tracks</b> tab and then place a red marker at the end of each track.";

}  // namespace

const char* SaveStatusText(SaveTrackStatus status) {
    switch (status) {
        case SAVE_DONE:
            return "saved";
        case SAVE_ALREADY:
            return "already saved";
        case SAVE_PARTIAL:
            return "partially saved";
        case SAVE_SKIPPED:
        case SAVE_NO_BREAK:
            return "skipped";
        case SAVE_CANCELLED:
            return "cancelled";
        default:
            return "failed";
    }
}

SaveTrackStatus CheckTrack(const TrackToSave& job, const SaveSettings& settings, std::string& message) {
    const ALBUMTRACK& t = job.album.tracks[job.track];
    if (t.excluded) return SAVE_SKIPPED;
    if (GetFileFormatInfo(settings.Format()).traits & FORMAT_HOLDS_DSD) {
        message = "Orvane cannot save a PCM recording as a DSD file, sorry.";
        return SAVE_CANNOT_HOLD;
    }
    RefPtr<FileStream> writer = MakeWriter(settings.Format(), settings.options);
    if (!writer) {
        message = GetLastError().text;
        return SAVE_CANNOT_HOLD;
    }
    if (IsTooLong(job.filename)) {
        message = kFilenameTooLong;
        return SAVE_FAILED;
    }
    if (t.IsEmpty()) {
        message = kNoBreak;
        return SAVE_NO_BREAK;
    }
    const bool good = FileExists(job.filename) && ReadSignature(job.filename, settings.Format()) == job.signature;
    return good ? SAVE_ALREADY : SAVE_NEEDED;
}

int CopySamples(PCMStream& stream, FileStream& file, uint32_t flags, uint8_t channel_mode,
                const SaveProgress& progress) {
    std::vector<float> block(static_cast<size_t>(kBlock) * 2);
    int64_t total = stream.GetTotalSamples(flags);
    int64_t next_report = MonotonicNs() + kReportNs;
    for (int64_t position = 0;;) {
        int32_t n = stream.Read(position, block.data(), kBlock, flags);
        if (n < 0) return n;
        if (n == 0) return 0;
        if (channel_mode & (CHANNELS_LEFT_ONLY | CHANNELS_RIGHT_ONLY)) {
            int from = channel_mode & CHANNELS_LEFT_ONLY ? 0 : 1;
            for (int32_t i = 0; i < n; ++i) block[2 * i + 1 - from] = block[2 * i + from];
        } else if (channel_mode & CHANNELS_MONO) {
            MixToMono(block.data(), n, block.data());
        }
        if (int64_t written = file.Write(block.data(), n); written < 0) return static_cast<int>(written);
        position += n;
        if (!progress || MonotonicNs() < next_report) continue;
        if (!progress(position, total)) return 1;
        next_report = MonotonicNs() + kReportNs;
    }
}

SaveTrackStatus WriteTrack(const TrackToSave& job, const SaveSettings& settings, const SaveProgress& progress,
                           std::string& message) {
    const AlbumInfo& album = job.album;
    const bool ours = !ReadSignature(job.filename, settings.Format()).empty();
    RefPtr<FileStream> writer = MakeWriter(settings.Format(), settings.options);
    TrackFormat format = OutputFormat(album, settings, *writer);
    uint32_t flags = SaveFlags(settings.options);
    RefPtr<TrackPCMStream> stream = MakeTrackPCMStream(&album, job.track, flags, format.samplerate, 0);
    if (stream->MusicSamples(flags) <= 0) {
        message = kNotRecorded;
        return SAVE_NO_BREAK;
    }
    auto Fail = [&] {
        message = GetLastError().text;
        return SAVE_FAILED;
    };
    if (int error = CreateFolders(FolderOf(job.filename))) {
        FailCreateFolder(FolderOf(job.filename), error);
        return Fail();
    }
    if (writer->SetSBC(format.samplerate, format.bit_depth, format.n_channels) < 0) return Fail();
    writer->SetTagData(MakeVorbisTags(job.album, job.track, job.signature));
    int result = WriteStream(*stream, *writer, job.filename, ours ? OldFile::Drop : OldFile::Trash, flags,
                             album.channel_mode, progress);
    if (result != 0) return result > 0 ? SAVE_CANCELLED : Fail();
    // Rounding of times can cost a frame or two; more than a millisecond is missing music.
    bool partial = stream->WantedSamples() - stream->MusicSamples(flags) > format.samplerate / 1000;
    return partial ? SAVE_PARTIAL : SAVE_DONE;
}

}  // namespace Orvane
