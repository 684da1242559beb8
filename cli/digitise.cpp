#include "cli/digitise.h"

#include "app/addrecording.h"
#include "cli/filetree.h"
#include "cli/scanning.h"
#include "cli/texts.h"
#include "collection/albumset.h"
#include "foundation/lasterror.h"
#include "foundation/messages.h"
#include "foundation/path.h"
#include "save/cuesheet.h"

using namespace Foundation;
using namespace Tesslib;

namespace Orvane {

const Digitise::Step Digitise::kSteps[] = {
    {"order", &Digitise::ReadOrder},    {"files", &Digitise::CheckFiles}, {"collection", &Digitise::OpenCollection},
    {"album", &Digitise::EnterAlbum},   {"sides", &Digitise::EnterSides}, {"declick", &Digitise::RepairClicks},
    {"tracks", &Digitise::EnterTracks}, {"store", &Digitise::StoreAlbum}, {"save", &Digitise::SaveTracks},
    {"cue", &Digitise::WriteSheet},
};

int Digitise::Run() {
    int code = CLI_DONE;
    for (const Step& step : kSteps) {
        code = Interrupted() ? context.Cancelled() : (this->*step.run)();
        if (code != CLI_DONE) {
            context.result["failed_step"] = step.name;
            break;
        }
    }
    if (album) Report();
    if (code != CLI_DONE && context.session.TakeBack()) {
        context.result.erase("collection");
        context.result.erase("album");
    }
    return code;
}

int Digitise::ReadOrder() {
    std::string problem;
    if (!order.titles_file.empty() && !ReadTitles(order.titles_file, titles, problem)) return context.Usage(problem);
    const bool one_a_side = order.no_split && !titles.empty() && !titles.front().timed;
    if (one_a_side && titles.size() != order.files.size()) {
        return context.Usage(
            fmt::format("{} has {} without times for {}: give each its times, START - END TITLE, or one title a side",
                        order.titles_file, CountText(static_cast<int64_t>(titles.size()), "title"),
                        CountText(static_cast<int64_t>(order.files.size()), "side")));
    }
    return TakeSaveChoices(context, order.save, settings);
}

int Digitise::CheckFiles() {
    int32_t samplerate = 0;
    for (const std::string& name : order.files) {
        const std::string path = AbsolutePath(name);
        int error = 0;
        const RefPtr<FileStream> file = CheckRecordingName(path) ? OpenForReading(path, error) : nullptr;
        if (!file) return context.FailLastError();
        const int32_t rate = file->GetSampleRate(0);
        if (samplerate && rate != samplerate) {
            return context.Fail(FormatMsg(Msg::WrongSampleRate, path, rate, samplerate));
        }
        samplerate = rate;
        if (file->EndsEarly()) context.Remark(fmt::format("{}: {}", name, kEndsEarly));
    }
    return CLI_DONE;
}

int Digitise::OpenCollection() {
    std::string path = order.collection;
    if (path.empty())
        path = JoinPath(settings.output_folder, SafeFileName(order.artist + " - " + order.title) + ".mcf");
    int code = FileExists(AbsolutePath(path)) ? context.Open(path, Access::Change) : context.Create(path);
    if (code == CLI_DONE) context.result["collection"] = context.Collection().path;
    return code;
}

AlbumInfo* Digitise::FindSameAlbum() {
    for (AlbumInfo& candidate : context.Collection().albums) {
        std::vector<FileHistoryEntry*> recordings = candidate.Recordings();
        bool same = candidate.artist == order.artist && candidate.title == order.title &&
                    recordings.size() == order.files.size();
        for (size_t i = 0; same && i < recordings.size(); ++i)
            same = recordings[i]->GetPath() == AbsolutePath(order.files[i]);
        if (same) return &candidate;
    }
    return nullptr;
}

int Digitise::EnterAlbum() {
    album = FindSameAlbum();
    new_album = album == nullptr;
    if (new_album) {
        std::unique_ptr<AlbumInfo> fresh = MakeAlbum();
        fresh->artist = order.artist;
        fresh->title = order.title;
        album = AddAlbum(std::move(fresh));
    }
    bool other_year = order.year != 0 && album->year != order.year;
    bool other_genre = !order.genre.empty() && album->genre != order.genre;
    if (!other_year && !other_genre) return CLI_DONE;
    Change change(CHANGE_DETAILS, album);
    if (other_year) album->year = static_cast<int16_t>(order.year);
    if (other_genre) album->genre = order.genre;
    return CLI_DONE;
}

int Digitise::EnterSides() {
    for (size_t i = 0; new_album && i < order.files.size(); ++i) {
        if (!AddRecording(*album, static_cast<int>(i) + 1, order.files[i], PlaceOfFile::WhereItIs))
            return context.FailLastError();
    }
    places = PlaceRecordings(*album);
    for (const RecordingPlace& place : places) {
        if (place.opened) continue;
        if (place.entry->Open(USER_PROBE, false) != OPEN_GOOD) return context.FailLastError();
        place.entry->Close(USER_PROBE);
    }
    return CLI_DONE;
}

int Digitise::RepairClicks() {
    if (order.no_declick) return FindOldRepairs();
    const DeclickResult result = Declick({places, ScanSettings().WithDefaults(), true});
    ReportDeclick(result, context.result["declick"]);
    for (const DeclickedSide& side : result.sides) declicked.push_back({side.side, WordsFor(side)});
    return context.End(result.outcome);
}

// Repairs that stand beside a recording are applied when its tracks are saved, whoever has made them.
int Digitise::FindOldRepairs() {
    const bool applied = FileOptions::Load(OptionsContext::SaveTracks).save_corrections;
    Json& sides = context.result["declick"]["sides"] = Json::array();
    for (const RecordingPlace& place : places) {
        if (place.entry->LoadCorrections(true) < 0) return context.FailLastError();
        int n = 0;
        for (const ClickRepairList& list : place.entry->click_repairs) {
            for (const ClickRepair& repair : list) n += repair.IsMarker() ? 0 : 1;
        }
        sides.push_back({{"side", place.side}, {"status", "left alone"}, {"repairs_there", n}, {"applied", applied}});
        if (n == 0) continue;
        declicked.push_back(
            {place.side, fmt::format("{} from before {}", CountText(n, "repair"), applied ? "applied" : "left out")});
        if (!applied) continue;
        context.Remark(fmt::format(
            "{} has {} from before, which the tracks get; --set \"Save Track Save Corrections=0\" leaves them out",
            FileNameOf(place.entry->GetPath()), CountText(n, "click repair")));
    }
    return CLI_DONE;
}

int Digitise::StoreAlbum() {
    changed = context.Collection().dirty;
    return context.Save();
}

int Digitise::SaveTracks() {
    if (!order.collection.empty() && order.save.output_folder.empty()) settings.AppendCollection(context.Collection());
    SaveTracksResult result = Orvane::SaveTracks({{album}, settings, order.save.threads});
    ReportSaved(context, result);
    saved = std::move(result.saved);
    const int code = context.End(result.outcome);
    changed |= saved.n_saved + saved.n_partially_saved > 0 || context.Collection().dirty;
    if (code == CLI_CANCELLED) return code;
    int stored = context.Save();
    return code ? code : stored;
}

// Beside the tracks, from where the recordings are found by their whole path.
int Digitise::WriteSheet() {
    if (order.no_cue || saved.tracks.empty()) return CLI_DONE;
    sheet = OwnCueSheetPath(*album, JoinPath(FolderOf(saved.tracks.front().file), FileNameOf(CueSheetPath(*album))));
    CueSheetOptions options = CueSheetOptions::FromStore();
    options.absolute_paths = true;
    const ListingWritten written = WriteCueSheet(*album, sheet, options);
    if (written == ListingWritten::Failed) return context.FailLastError();
    changed |= written == ListingWritten::Written;
    context.result["cue_sheet"] = sheet;
    return CLI_DONE;
}

void Digitise::Report() {
    Json& result = context.result;
    result["album"] = NumberOf(*album);
    result["artist"] = album->artist;
    result["title"] = album->title;
    result["new_album"] = new_album;
    result["changed"] = changed;
    result["sides"] = Json::array();
    Table sides({Table::Align::Right});
    for (size_t i = 0; i < places.size(); ++i) {
        const RecordingPlace& place = places[i];
        result["sides"].push_back({{"side", place.side},
                                   {"path", place.entry->GetPath()},
                                   {"start", place.start},
                                   {"end", place.end},
                                   {"seconds", Seconds(place.end - place.start)},
                                   {"samplerate", place.entry->SampleRate()},
                                   {"bits", place.entry->facts.bits},
                                   {"channels", place.entry->facts.channels}});
        std::vector<std::string> row = {std::to_string(place.side), FileNameOf(place.entry->GetPath()),
                                        ClockText(place.end - place.start), FormatText(*place.entry)};
        for (const SideWords& done : declicked) {
            if (done.side == place.side) row.push_back(done.words);
        }
        if (!tracks_found.empty()) {
            result["sides"].back()["tracks_found"] = tracks_found[i];
            row.push_back(tracks_found[i] ? CountText(tracks_found[i], "track") + " found" : "no track breaks found");
        }
        sides.Add(row);
    }
    context.Text(AlbumTitleText(*album) + "\n");
    if (!sides.Empty()) context.Text("\nSides\n" + sides.Text(2));
    if (!tracks_found.empty()) ReportLeftOut(context, left_out, result["split"]);
    if (saved.tracks.empty()) return;

    Table tracks({Table::Align::Right, Table::Align::Left, Table::Align::Right});
    FileTree tree(settings.output_folder);
    tree.Add(context.Collection().path, "the collection");
    if (!sheet.empty()) tree.Add(sheet, "the track breaks, for other programs");
    int64_t ticks = 0;
    for (size_t i = 0; i < saved.tracks.size(); ++i) {
        const SavedTrack& done = saved.tracks[i];
        const ALBUMTRACK& track = album->tracks[done.track];
        Json& json = result["tracks"][i];
        json["start"] = track.start;
        json["end"] = track.end;
        json["start_seconds"] = Seconds(track.start);
        json["end_seconds"] = Seconds(track.end);
        tracks.Add({std::to_string(done.track + 1), track.title, ClockText(track.FadeEnd() - track.FadeStart()),
                    SaveStatusText(done.status)});
        FileInfo info;
        if (GetFileInfo(done.file, info) == 0) tree.Add(done.file, SizeText(info.size));
        if (done.status == SAVE_DONE || done.status == SAVE_PARTIAL) ticks += track.FadeEnd() - track.FadeStart();
    }
    context.Text("\nTracks\n" + tracks.Text(2) + "\n");
    double seconds = result["seconds"].get<double>();
    double speed = seconds > 0 ? Seconds(ticks) / seconds : 0;
    result["times_real_time"] = speed;
    int n_saved = saved.n_saved + saved.n_partially_saved;
    if (!changed) {
        context.Line("{} already saved: nothing has changed.",
                     saved.n_already_saved == 1 ? "The track was" : "All tracks were");
    } else {
        context.Line("{} saved in {:.1f} seconds, {:.0f} times as fast as playing{}.", CountText(n_saved, "track"),
                     seconds, speed,
                     saved.n_already_saved ? fmt::format("; {} already saved", saved.n_already_saved) : "");
    }
    context.Text("\n" + tree.Text());
}

}  // namespace Orvane
