#include "save/save_track.h"

#include "foundation/fileerror.h"
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

TrackResult CheckTrack(const TrackToSave& job, const SaveSettings& settings) {
    const ALBUMTRACK& t = job.album.tracks[job.track];
    if (t.excluded) return {SAVE_SKIPPED, {}};
    if (GetFileFormatInfo(settings.Format()).traits & FORMAT_HOLDS_DSD) {
        return {SAVE_CANNOT_HOLD, Outcome::Fail(Kind::Refused, Msg::CannotSaveAsDsd)};
    }
    if (!MakeWriter(settings.Format(), settings.options)) return {SAVE_CANNOT_HOLD, Outcome::OfLastError(ERR_CONTENTS)};
    if (IsTooLong(job.filename)) {
        return {SAVE_FAILED, Outcome::Fail(Kind::Refused, Msg::FilenameTooLong).About(job.filename)};
    }
    if (t.IsEmpty()) return {SAVE_NO_BREAK, Outcome::Fail(Kind::Refused, Msg::NoTrackBreakYet)};
    const bool good = FileExists(job.filename) && ReadSignature(job.filename, settings.Format()) == job.signature;
    return {good ? SAVE_ALREADY : SAVE_NEEDED, {}};
}

TrackResult WriteTrack(const TrackToSave& job, const SaveSettings& settings, const SaveProgress& progress) {
    const AlbumInfo& album = job.album;
    const bool ours = !ReadSignature(job.filename, settings.Format()).empty();
    const RefPtr<FileStream> writer = MakeWriter(settings.Format(), settings.OptionsOf(album));
    const TrackFormat format = OutputFormat(album, settings, *writer);
    const uint32_t flags = SaveFlags(settings.options);
    const RefPtr<TrackPCMStream> stream = MakeTrackPCMStream(&album, job.track, flags, format.samplerate, 0);
    if (stream->MusicSamples(flags) <= 0) return {SAVE_NO_BREAK, Outcome::Fail(Kind::Refused, Msg::TrackNotRecorded)};
    const std::string folder = FolderOf(job.filename);
    if (const int error = CreateFolders(folder)) {
        return {SAVE_FAILED, CannotCreateFolder(folder, error)};
    }
    if (const int error = writer->SetSBC(format.samplerate, format.bit_depth, format.n_channels); error < 0) {
        return {SAVE_FAILED, Outcome::OfLastError(error)};
    }
    writer->SetTagData(MakeVorbisTags(job.album, job.track, job.signature));
    const Outcome written = WriteStream(*stream, *writer, job.filename, ours ? OldFile::Drop : OldFile::Trash, flags,
                                        album.channel_mode, progress);
    if (written.Is(Kind::Cancelled)) return {SAVE_CANCELLED, written};
    if (!written) return {SAVE_FAILED, written};
    // Rounding of times can cost a frame or two; more than a millisecond is missing music.
    const bool partial = stream->WantedSamples() - stream->MusicSamples(flags) > format.samplerate / 1000;
    return {partial ? SAVE_PARTIAL : SAVE_DONE, {}};
}

}  // namespace Orvane
