#include "save/save_albums.h"

#include <algorithm>
#include <atomic>
#include <memory>

#include "cleanup/filter/filtersettings.h"
#include "collection/albumset.h"
#include "collection/tracktime.h"
#include "foundation/criticalsection.h"
#include "foundation/fileerror.h"
#include "foundation/hiddenfile.h"
#include "foundation/messages.h"
#include "foundation/path.h"
#include "foundation/progress.h"
#include "foundation/safefile.h"
#include "foundation/settings.h"
#include "foundation/workerthread.h"
#include "save/filenames.h"
#include "save/heldrepairs.h"
#include "save/keptfiles.h"
#include "save/savedfiles.h"
#include "save/signature.h"
#include "save/tracknames.h"

using namespace Foundation;

namespace Orvane {
namespace {

std::string Red(const std::string& text) {
    return "<fg color=#ff0000>" + text + "</fg>";
}

// What the workers of an album's job share. The album is only read; the rest is guarded by the lock.
class AlbumJob {
public:
    AlbumJob(AlbumInfo& album, const SaveSettings& settings, const std::vector<int>& tracks,
             const std::vector<std::string>& names, const KeptFiles& kept)
        : album(album), settings(settings), kept(kept), repairs(album, tracks, SaveFlags(settings.options)) {
        for (int track : tracks) {
            results.push_back({&album, track, names[static_cast<size_t>(track)], SAVE_NEEDED, {}});
            signatures.push_back(TrackFileSignature(album, track, repairs.Places(), settings));
            total_ticks += Ticks(track);
        }
    }

    // Saves tracks until none is left or the user has cancelled.
    void Work() {
        for (;;) {
            size_t next;
            {
                Locked guard(lock);
                if (Progress::Cancelled() || next_result == results.size()) return;
                next = next_result++;
            }
            SavedTrack& saved = results[next];
            Save({album, saved.track, saved.file, signatures[next]}, saved);
            std::string line = Line(saved);
            if (!line.empty()) Progress::Log(line);
        }
    }

    // Enters the files that are there now in the collection. Main thread.
    void NoteFiles() {
        for (size_t i = 0; i < results.size(); ++i) {
            const SaveTrackStatus status = results[i].status;
            if (status != SAVE_DONE && status != SAVE_PARTIAL && status != SAVE_ALREADY) continue;
            NoteSavedFile(album, results[i].file, signatures[i]);
        }
    }

    std::vector<SavedTrack> results;

private:
    int64_t Ticks(int track) const { return album.tracks[track].FadeEnd() - album.tracks[track].FadeStart(); }

    TrackResult Check(const TrackToSave& job) const {
        TrackResult checked = CheckTrack(job, settings);
        if (checked.status != SAVE_NEEDED && checked.status != SAVE_ALREADY) return checked;
        Outcome usable = repairs.Check(job.track);  // what cannot be read is not in the signature
        if (usable && checked.status == SAVE_NEEDED && kept.Has(job.filename)) {
            usable = Outcome::Fail(Kind::Refused, Msg::NeverWrittenOver, job.filename).About(job.filename);
        }
        return usable ? checked : TrackResult{SAVE_FAILED, usable};
    }

    void Save(const TrackToSave& job, SavedTrack& saved) {
        TrackResult track = Check(job);
        int64_t told = 0;  // of this track, in ticks
        auto Tell = [&](int64_t ticks) {
            Locked guard(lock);
            done_ticks += ticks - told;
            told = ticks;
            if (total_ticks > 0) Progress::SetPosition(static_cast<int>(MulDiv64(done_ticks, 1000, total_ticks)));
        };
        if (track.status == SAVE_NEEDED) {
            auto OnProgress = [&](int64_t done, int64_t total) {
                Tell(total > 0 ? MulDiv64(Ticks(saved.track), done, total) : 0);
                return Progress::Tick();
            };
            track = WriteTrack(job, settings, OnProgress);
        }
        saved.status = track.status;
        saved.reason = track.reason;
        Tell(Ticks(saved.track));
    }

    std::string Line(const SavedTrack& saved) const {
        std::string what =
            fmt::sprintf("Saving track: %s (%s)", album.tracks[saved.track].title, ClockText(Ticks(saved.track)));
        switch (saved.status) {
            case SAVE_DONE:
                return what + " - <fg color=#00a000>done</fg> \n";
            case SAVE_PARTIAL:
                return what + " - <fg color=#ff8000>partially saved</fg> \n";
            case SAVE_ALREADY:
                return what + " - Track already saved\n";
            case SAVE_SKIPPED:
                return {};
            case SAVE_CANCELLED:
                return what + " - " + Red("cancelled") + "\n";
            case SAVE_NO_BREAK:
                return what + " - " + saved.reason.Text() + "\n";
            default:
                return what + " - " + Red(saved.reason.Text()) + "\n";
        }
    }

    AlbumInfo& album;
    const SaveSettings& settings;
    const KeptFiles& kept;
    const HeldRepairs repairs;
    std::vector<std::string> signatures;  // of the results
    CriticalSection lock;
    size_t next_result = 0;
    int64_t total_ticks = 0;
    int64_t done_ticks = 0;
};

class SaveAlbumTrackThread : public WorkerThread {
public:
    explicit SaveAlbumTrackThread(AlbumJob& job) : job(job) {}

private:
    int Work() override {
        job.Work();
        return 0;
    }
    AlbumJob& job;
};

// Says which sides go without the hiss filter that they should have.
void WarnOfMissingNoiseSamples(const AlbumInfo& album) {
    for (int i = 0; i < album.sides.size(); ++i) {
        if (!album.sides[i] || !album.sides[i]->newest || !LacksNoiseSample(*album.sides[i]->newest)) continue;
        Progress::Log(FormatMsg(Msg::HissNotApplied, i + 1, i + 1) + "\n");
    }
}

// Copies the album's cover into the folder that its tracks share. A cover in another format is left out: it would have
// to be converted.
Outcome CopyAlbumArt(const AlbumInfo& album, const SaveSettings& settings) {
    if (album.art_file.empty() || album.tracks.empty() || !GetSetting("Generate Folder.jpg", 1)) return {};
    const std::string art = album.ArtPath();
    const std::string extension = ExtensionOf(art);
    if (extension != ".jpg" && extension != ".jpeg" && extension != ".jpe") return {};
    const std::string album_folder =
        ExpandTemplate(settings.TemplateOf(album), album, 0, NamePart::AlbumFolder, settings.Format());
    if (album_folder.empty()) return {};  // a folder of many albums
    const std::string folder = JoinPath(settings.output_folder, album_folder);
    const std::string target = JoinPath(folder, kFolderArt);
    FileInfo from, to;
    const bool there =
        GetFileInfo(art, from) == 0 && GetFileInfo(target, to) == 0 && from.size == to.size && from.time <= to.time;
    if (!there) {
        if (const int error = CreateFolders(folder)) return CannotCreateFolder(folder, error);
        // What is there may be the user's own picture.
        const std::string temporary = TemporaryName(target);
        if (const int error = CopyContents(art, temporary); error < 0) return Outcome::OfLastError(error);
        if (const int error = PutInPlace(temporary, target, OldFile::Trash)) return Outcome::OfLastError(error);
    }
    return SetHidden(target, GetSetting("Hide Folder.jpg", 1) != 0);
}

void Count(const SavedTrack& saved, SaveResult& result) {
    switch (saved.status) {
        case SAVE_DONE:
            ++result.n_saved;
            break;
        case SAVE_ALREADY:
            ++result.n_already_saved;
            break;
        case SAVE_PARTIAL:
            ++result.n_partially_saved;
            break;
        case SAVE_SKIPPED:
        case SAVE_NO_BREAK:
            ++result.n_skipped;
            break;
        case SAVE_NEEDED:
        case SAVE_CANCELLED:
            break;
        default:
            ++result.n_failed;
    }
}

// Whether no track of the album is still to be saved under its name.
bool WentWell(const AlbumInfo& album, const std::vector<SavedTrack>& tracks) {
    const auto is_settled = [](const SavedTrack& saved) {
        return saved.status != SAVE_NEEDED && saved.status != SAVE_CANCELLED && saved.status != SAVE_FAILED &&
               saved.status != SAVE_CANNOT_HOLD;
    };
    return static_cast<int>(tracks.size()) == album.tracks.size() &&
           std::all_of(tracks.begin(), tracks.end(), is_settled);
}

// Whether everything that the album's listing has times for is saved, and there is such a thing.
bool IsWhole(const AlbumInfo& album, const std::vector<SavedTrack>& tracks) {
    const auto is_done = [](const SavedTrack& saved) {
        return saved.status == SAVE_DONE || saved.status == SAVE_ALREADY;
    };
    const auto is_fine = [&](const SavedTrack& saved) {
        return is_done(saved) || saved.status == SAVE_SKIPPED || album.tracks[saved.track].IsEmpty();
    };
    return static_cast<int>(tracks.size()) == album.tracks.size() &&
           std::all_of(tracks.begin(), tracks.end(), is_fine) && std::any_of(tracks.begin(), tracks.end(), is_done);
}

}  // namespace

std::string SummaryText(const SaveResult& result) {
    std::string text = fmt::sprintf("<b>%d tracks saved in %s (%d already saved, %d partially saved, %d skipped).</b> ",
                                    result.n_saved, ClockText(result.duration), result.n_already_saved,
                                    result.n_partially_saved, result.n_skipped);
    if (result.n_failed) text += fmt::sprintf("<fg color=#ff0000>%d failed.</fg> ", result.n_failed);
    return text + fmt::sprintf(
                      "Tracks were saved to folder:\n\n<b>%s</b> \n\n<l><h>{browse_folder:%s}</h>View in "
                      "File Manager</l>",
                      result.folder, result.folder);
}

SaveResult SaveAlbums(const std::vector<AlbumInfo*>& albums, const SaveSettings& settings, int n_threads,
                      const std::vector<int>& only_tracks) {
    if (n_threads <= 0) n_threads = MaxThreads();
    SaveResult result;
    result.folder = settings.output_folder;
    std::vector<size_t> well;  // indices of albums
    int64_t started = MonotonicNs();
    const KeptFiles kept(albums);
    const auto names = TrackFileNames(albums, settings);
    for (size_t n_album = 0; n_album < albums.size() && !Progress::Cancelled(); ++n_album) {
        AlbumInfo* album = albums[n_album];
        std::vector<int> tracks = only_tracks;
        if (tracks.empty()) {
            for (int i = 0; i < album->tracks.size(); ++i) tracks.push_back(i);
        }
        int n = std::clamp<int>(static_cast<int>(tracks.size()), 1, n_threads);
        Progress::Log(
            fmt::sprintf("<u>Saving tracks for album: %s - %s (%d threads)</u>\n\n", album->artist, album->title, n));
        if (settings.options.save_corrections) WarnOfMissingNoiseSamples(*album);
        if (const Outcome copied = CopyAlbumArt(*album, settings); !copied) Progress::Log(Red(copied.Text()) + "\n");
        AlbumJob job(*album, settings, tracks, names[n_album], kept);
        ++album->running_jobs;
        std::vector<std::unique_ptr<SaveAlbumTrackThread>> workers;
        std::vector<WorkerThread*> running;
        for (int i = 0; i < n; ++i) {
            workers.push_back(std::make_unique<SaveAlbumTrackThread>(job));
            running.push_back(workers.back().get());
        }
        result.outcome = WorkerThread::LaunchAll(running);
        --album->running_jobs;
        if (!result.outcome) return result;
        job.NoteFiles();

        for (SavedTrack& saved : job.results) {
            if (saved.status == SAVE_NEEDED) saved.status = SAVE_CANCELLED;
            Count(saved, result);
            result.tracks.push_back(saved);
        }
        if (WentWell(*album, job.results)) well.push_back(n_album);
        if (IsWhole(*album, job.results) && GetSetting("Update Status On Save", 1)) {
            bool burned = album->status == STATUS_BURNED || album->status == STATUS_BURNED_AND_SAVED;
            SetStatus(*album, burned ? STATUS_BURNED_AND_SAVED : STATUS_SAVED, true);
        }
    }
    result.cancelled = Progress::Cancelled();
    // Another album may have been saved in the place of what one leaves behind, so they are all looked at at the end.
    for (const size_t i : well) {
        if (result.cancelled) break;
        for (Leftover& leftover : FindLeftovers(*albums[i], names[i], settings, kept)) {
            result.leftovers.push_back(std::move(leftover));
        }
    }
    result.duration = MulDiv64(MonotonicNs() - started, kTicksPerSecond, 1'000'000'000);
    Progress::Log(result.cancelled ? std::string(MessageText(Msg::Cancelled)) + "\n"
                                   : "\n" + SummaryText(result) + "\n");
    return result;
}

}  // namespace Orvane
