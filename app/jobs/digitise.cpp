#include "app/jobs/digitise.h"

#include <fmt/format.h>

#include <algorithm>

#include "app/addrecording.h"
#include "app/jobs/titles.h"
#include "app/session/lookup.h"
#include "app/texts.h"
#include "collection/albumset.h"
#include "collection/tracktime.h"
#include "foundation/clock.h"
#include "foundation/path.h"
#include "foundation/platform.h"
#include "foundation/progress.h"
#include "save/cuesheet.h"
#include "split/albumoverview.h"
#include "split/trackbreaks.h"
#include "tesslib/fileformats.h"

using namespace Foundation;
using namespace Tesslib;

namespace Orvane {
namespace {

Outcome Wrong(std::string text) {
    return Outcome::FailText(Kind::WrongOptions, std::move(text));
}

Outcome LastReason() {
    return Outcome::OfLastError(ERR_CONTENTS);
}

void SetTimes(ALBUMTRACK& track, int64_t start, int64_t end) {
    track.start = start;
    track.end = end;
}

class DigitiseJob {
public:
    DigitiseJob(Session& session, const DigitiseOptions& options) : session(session), options(options) {}

    DigitiseResult Run();

private:
    Outcome ReadOrder();
    Outcome CheckFiles();
    Outcome OpenCollection();
    Outcome EnterAlbum();
    Outcome EnterSides();
    Outcome RepairClicks();
    Outcome CountOldRepairs();
    Outcome EnterTracks();
    Outcome StoreAlbum();
    Outcome SaveTheTracks();
    Outcome WriteSheet();
    void Describe();

    AlbumInfo* FindSameAlbum() const;
    TrackList ListedTracks() const;
    std::string SideTitle(const RecordingPlace& place) const;
    void AddWholeSides(TrackList& tracks) const;
    Outcome Scan(TrackList& tracks, bool adjust);
    Outcome NameTracks(TrackList& tracks);
    void StoreTracks(const TrackList& tracks);

    Session& session;
    const DigitiseOptions& options;
    DigitiseResult result;
    std::optional<Job> job;  // from the opening of the collection on
    std::vector<TitleLine> titles;
    SaveSettings settings;
    AlbumInfo* album = nullptr;
    std::vector<RecordingPlace> places;
    std::vector<int64_t> tracks_found, repairs_there;  // on each side, where they were looked for
    std::optional<uint16_t> sides_adjusted;            // by a scan
};

DigitiseResult DigitiseJob::Run() {
    struct Step {
        DigitiseStep step;
        Outcome (DigitiseJob::*run)();
    };
    static constexpr Step kSteps[] = {
        {DigitiseStep::Order, &DigitiseJob::ReadOrder},           {DigitiseStep::Files, &DigitiseJob::CheckFiles},
        {DigitiseStep::Collection, &DigitiseJob::OpenCollection}, {DigitiseStep::Album, &DigitiseJob::EnterAlbum},
        {DigitiseStep::Sides, &DigitiseJob::EnterSides},          {DigitiseStep::Declick, &DigitiseJob::RepairClicks},
        {DigitiseStep::Tracks, &DigitiseJob::EnterTracks},        {DigitiseStep::Store, &DigitiseJob::StoreAlbum},
        {DigitiseStep::Save, &DigitiseJob::SaveTheTracks},        {DigitiseStep::Cue, &DigitiseJob::WriteSheet},
    };
    if (Job::InProgress()) {
        result.outcome = Outcome::Fail(Kind::Busy, Msg::JobInProgress);
        return std::move(result);
    }
    for (const Step& step : kSteps) {
        result.failed_step = step.step;
        result.outcome = Progress::Cancelled() ? Outcome::Cancelled() : (this->*step.run)();
        if (!result.outcome) break;
    }
    if (album) Describe();
    job.reset();
    if (!result.outcome && session.TakeBack()) {
        result.collection.clear();
        result.album = 0;
    }
    return std::move(result);
}

Outcome DigitiseJob::ReadOrder() {
    std::string problem;
    if (!options.titles_file.empty() && !ReadTitles(options.titles_file, titles, problem)) return Wrong(problem);
    const bool one_a_side = options.no_split && !titles.empty() && !titles.front().timed;
    if (one_a_side && titles.size() != options.files.size()) {
        return Wrong(
            fmt::format("{} has {} without times for {}: give each its times, START - END TITLE, or one title a side",
                        options.titles_file, CountText(static_cast<int64_t>(titles.size()), "title"),
                        CountText(static_cast<int64_t>(options.files.size()), "side")));
    }
    const Result<SaveSettings> made = MakeSaveSettings(options.save);
    if (made) settings = *made;
    return made.GetOutcome();
}

Outcome DigitiseJob::CheckFiles() {
    int32_t samplerate = 0;
    for (const std::string& name : options.files) {
        const std::string path = AbsolutePath(name);
        int error = 0;
        const RefPtr<FileStream> file = CheckRecordingName(path) ? OpenForReading(path, error) : nullptr;
        if (!file) return LastReason();
        const int32_t rate = file->GetSampleRate(0);
        if (samplerate && rate != samplerate) {
            return Outcome::Fail(Kind::Refused, Msg::WrongSampleRate, path, rate, samplerate);
        }
        samplerate = rate;
        if (file->EndsEarly()) result.ends_early.push_back(name);
    }
    return {};
}

Outcome DigitiseJob::OpenCollection() {
    std::string path = options.collection;
    if (path.empty()) {
        path = JoinPath(settings.output_folder, SafeFileName(options.artist + " - " + options.title) + ".mcf");
    }
    Outcome opened = FileExists(AbsolutePath(path)) ? session.Open(path, Access::Change) : session.Create(path);
    if (!opened) return opened;
    result.collection = session.Collection().path;
    job.emplace("Digitising", &session.Collection());
    return job->Refusal();
}

AlbumInfo* DigitiseJob::FindSameAlbum() const {
    for (AlbumInfo& candidate : session.Collection().albums) {
        const std::vector<FileHistoryEntry*> recordings = candidate.Recordings();
        bool same = candidate.artist == options.artist && candidate.title == options.title &&
                    recordings.size() == options.files.size();
        for (size_t i = 0; same && i < recordings.size(); ++i) {
            same = recordings[i]->GetPath() == AbsolutePath(options.files[i]);
        }
        if (same) return &candidate;
    }
    return nullptr;
}

Outcome DigitiseJob::EnterAlbum() {
    album = FindSameAlbum();
    result.new_album = album == nullptr;
    if (result.new_album) {
        std::unique_ptr<AlbumInfo> fresh = MakeAlbum();
        fresh->artist = options.artist;
        fresh->title = options.title;
        album = AddAlbum(std::move(fresh));
    }
    const bool other_year = options.year != 0 && album->year != options.year;
    const bool other_genre = !options.genre.empty() && album->genre != options.genre;
    if (!other_year && !other_genre) return {};
    const Change change(CHANGE_DETAILS, album);
    if (other_year) album->year = static_cast<int16_t>(options.year);
    if (other_genre) album->genre = options.genre;
    return {};
}

Outcome DigitiseJob::EnterSides() {
    for (size_t i = 0; result.new_album && i < options.files.size(); ++i) {
        if (!AddRecording(*album, static_cast<int>(i) + 1, options.files[i], PlaceOfFile::WhereItIs)) {
            return LastReason();
        }
    }
    places = PlaceRecordings(*album);
    for (const RecordingPlace& place : places) {
        if (!place.opened) return place.opened;
    }
    return {};
}

Outcome DigitiseJob::RepairClicks() {
    if (options.no_declick) return CountOldRepairs();
    result.declick = Declick(*job, {places, ScanSettings().WithDefaults(), true});
    return result.declick->outcome;
}

// Repairs that stand beside a recording are applied when its tracks are saved, whoever has made them.
Outcome DigitiseJob::CountOldRepairs() {
    result.old_repairs_applied = FileOptions::Load(OptionsContext::SaveTracks).save_corrections;
    for (const RecordingPlace& place : places) {
        if (Outcome loaded = place.entry->LoadCorrections(); !loaded) return loaded;
        int64_t n = 0;
        for (const ClickRepairList& list : place.entry->click_repairs) {
            for (const ClickRepair& repair : list) n += repair.IsMarker() ? 0 : 1;
        }
        repairs_there.push_back(n);
    }
    return {};
}

Outcome DigitiseJob::StoreAlbum() {
    result.changed = session.Collection().dirty;
    return session.Save();
}

Outcome DigitiseJob::SaveTheTracks() {
    if (!options.collection.empty() && options.save.output_folder.empty()) {
        settings.AppendCollection(session.Collection());
    }
    result.saved = SaveTracks(*job, {{album}, settings, options.save.threads});
    const SaveResult& saved = result.saved->saved;
    result.changed |= saved.n_saved + saved.n_partially_saved > 0 || session.Collection().dirty;
    if (result.saved->outcome.Is(Kind::Cancelled)) return result.saved->outcome;
    Outcome stored = session.Save();
    return result.saved->outcome ? stored : result.saved->outcome;
}

// Beside the tracks, from where the recordings are found by their whole path.
Outcome DigitiseJob::WriteSheet() {
    const std::vector<SavedTrack>& saved = result.saved->saved.tracks;
    if (options.no_cue || saved.empty()) return {};
    std::string sheet =
        OwnCueSheetPath(*album, JoinPath(FolderOf(saved.front().file), FileNameOf(CueSheetPath(*album))));
    CueSheetOptions sheet_options = CueSheetOptions::FromStore();
    sheet_options.absolute_paths = true;
    const Result<WrittenListing> written = WriteCueSheet(*album, sheet, sheet_options);
    if (!written) return written.GetOutcome();
    result.changed |= written->changed;
    result.cue_sheet = std::move(sheet);
    return {};
}

void DigitiseJob::Describe() {
    result.album = NumberOf(*album);
    result.artist = album->artist;
    result.title = album->title;
    result.year = album->year;
    for (size_t i = 0; i < places.size(); ++i) {
        const RecordingPlace& place = places[i];
        const RecordingFacts& facts = place.entry->facts;
        DigitiseResult::Side& side =
            result.sides.emplace_back(DigitiseResult::Side{place.side, place.entry->GetPath(), place.start, place.end,
                                                           place.entry->SampleRate(), facts.bits, facts.channels});
        if (i < tracks_found.size()) side.tracks_found = tracks_found[i];
        if (i < repairs_there.size()) side.repairs_there = repairs_there[i];
    }
    if (!result.saved) return;
    for (const SavedTrack& saved : result.saved->saved.tracks) {
        const ALBUMTRACK& track = album->tracks[saved.track];
        result.tracks.push_back({track.start, track.end, track.FadeStart(), track.FadeEnd(), track.title});
    }
}

// The tracks as the file of titles has them.
TrackList DigitiseJob::ListedTracks() const {
    TrackList tracks = album->tracks;
    tracks.resize(static_cast<int>(titles.size()));
    for (size_t i = 0; i < titles.size(); ++i) SetTimes(tracks[static_cast<int>(i)], titles[i].start, titles[i].end);
    return tracks;
}

std::string DigitiseJob::SideTitle(const RecordingPlace& place) const {
    return places.size() == 1 ? options.title : fmt::format("Side {}", place.side);
}

// A side on which no track was found becomes one: nothing that was recorded is left out unseen.
void DigitiseJob::AddWholeSides(TrackList& tracks) const {
    for (const RecordingPlace& place : places) {
        const int n_set = FirstUnsetTrack(tracks);
        int index = 0;
        while (index < n_set && tracks[index].end <= place.start) ++index;
        if (place.end == place.start || (index < n_set && tracks[index].start < place.end)) continue;
        ALBUMTRACK whole;
        whole.title = SideTitle(place);
        whole.start = whole.end = place.start;
        tracks.insert(tracks.begin() + index, std::move(whole));
        SetTrackEnd(tracks, index, place.end, Following::Stay, Alt::Up);
        for (int i = tracks.size() - 1; i > index; --i) {
            if (tracks[i].title == NumberedTrackTitle(i)) tracks[i].title = NumberedTrackTitle(i + 1);
        }
    }
}

// Runs the scan on a listing: anew, or to move its breaks to the gaps near them.
Outcome DigitiseJob::Scan(TrackList& tracks, bool adjust) {
    job->Phase("Looking for track breaks");
    const int64_t started = MonotonicNs();
    WaveformOverview overview;
    if (Outcome read = ReadAlbumOverview(*album, overview); !read) return read;
    JobScanHost host;
    TrackScanner scanner(overview, album->Recordings(), BreakScanSettings::Load(), host);
    if (adjust) {
        sides_adjusted = SidesBefore(*album, scanner.AdjustAll(tracks));
    } else {
        scanner.ScanAll(tracks);
        sides_adjusted = 0;
    }
    if (Outcome goes_on = job->GoOn(); !goes_on) return goes_on;
    result.n_found = FirstUnsetTrack(tracks);
    for (const RecordingPlace& place : places) {
        tracks_found.push_back(std::count_if(
            tracks.begin(), tracks.begin() + result.n_found,
            [&](const ALBUMTRACK& track) { return track.start >= place.start && track.start < place.end; }));
    }
    if (!adjust) AddWholeSides(tracks);
    result.left_out = scanner.MusicOutside(tracks);
    result.tracks_from = adjust ? TracksFrom::AdjustedListing : TracksFrom::Scan;
    result.split_seconds = static_cast<double>(MonotonicNs() - started) * 1e-9;
    return {};
}

// Titles without times go to the tracks in order. When there are more of the ones than of the others nobody can tell
// which belong together: the tracks are kept, and nothing is saved under a wrong name.
Outcome DigitiseJob::NameTracks(TrackList& tracks) {
    if (static_cast<int>(titles.size()) == tracks.size()) {
        for (int i = 0; i < tracks.size(); ++i) tracks[i].title = titles[static_cast<size_t>(i)].title;
        return {};
    }
    StoreTracks(tracks);
    if (Outcome stored = StoreAlbum(); !stored) return stored;
    return Outcome::Fail(Kind::Refused, Msg::TitlesAndTracksDiffer, CountText(tracks.size(), "track"),
                         options.titles_file, CountText(static_cast<int64_t>(titles.size()), "title"));
}

void DigitiseJob::StoreTracks(const TrackList& tracks) {
    const uint16_t n_adjusted = sides_adjusted.value_or(album->sides_adjusted);
    if (tracks == album->tracks && n_adjusted == album->sides_adjusted) return;
    const Change change(CHANGE_TRACK_TIMES | CHANGE_TRACK_INSERTED, album);
    album->tracks = tracks;
    album->sides_adjusted = n_adjusted;
}

Outcome DigitiseJob::EnterTracks() {
    const int64_t end = places.back().end;
    if (end <= 0) return Outcome::FailText(Kind::Contents, "The recordings hold no audio");
    const bool listed = !titles.empty();
    const bool timed = listed && titles.front().timed;
    if (timed && titles.back().start >= end) {
        return Wrong(fmt::format("{}, line {}: the recordings end at {} already", options.titles_file,
                                 titles.back().line, ClockText(end)));
    }
    if (timed && titles.back().end > end) {
        TitleLine& last = titles.back();
        last.end = end;
        result.last_title_cut = {last.line, end};
        if (last.end - last.start < kShortestTrack) {
            return Wrong(fmt::format("{}, line {}: {}", options.titles_file, last.line,
                                     FormatMsg(Msg::TracksHaveALength, kShortestTrack / kTicksPerSecond)));
        }
    }
    // The user may have worked on the tracks of an album that is there; only a listing with times takes their place.
    TrackList tracks = timed ? ListedTracks() : album->tracks;
    const bool anew = FirstUnsetTrack(tracks) == 0;
    result.tracks_from = timed ? TracksFrom::Listing : anew ? TracksFrom::WholeSides : TracksFrom::Kept;
    if (!options.no_split && (timed ? options.adjust : anew)) {
        if (Outcome scanned = Scan(tracks, timed); !scanned) return scanned;
    } else if (anew && !timed) {
        AddWholeSides(tracks);
    }
    if (listed) {
        if (Outcome named = NameTracks(tracks); !named) return named;
    }
    StoreTracks(tracks);
    return {};
}

}  // namespace

DigitiseResult Digitise(Session& session, const DigitiseOptions& options) {
    return DigitiseJob(session, options).Run();
}

}  // namespace Orvane
