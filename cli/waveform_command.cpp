#include <map>

#include "cli/model_view.h"
#include "cli/parsing.h"
#include "cli/side.h"
#include "cli/texts.h"
#include "draw/sidepicture.h"
#include "foundation/event.h"
#include "foundation/lasterror.h"
#include "foundation/mainloop.h"
#include "foundation/path.h"
#include "foundation/progress.h"
#include "waveform/generatewaveform.h"
#include "waveform/waveformreader.h"

using namespace Foundation;

namespace Orvane {
namespace {

struct WaveformArguments : SideArguments {
    std::string png;
    int width = 2000;
};

// How the runs for the recordings ended.
class Outcomes {
public:
    Outcomes() { event::Subscribe(EVENT_WAVEFORM_PROGRESS, 0, OnProgress, this); }
    ~Outcomes() { event::Unsubscribe(EVENT_WAVEFORM_PROGRESS, OnProgress, this); }
    Outcomes(const Outcomes&) = delete;
    Outcomes& operator=(const Outcomes&) = delete;

    // Null for one that has not been made.
    const Outcome* Of(const FileHistoryEntry* entry) const {
        const auto found = ended.find(event::Arg(entry));
        return found != ended.end() ? &found->second : nullptr;
    }
    void Note(const FileHistoryEntry* entry, const Outcome& outcome) { ended[event::Arg(entry)] = outcome; }

private:
    static intptr_t OnProgress(void* context, int, EventArg entry, EventArg has_ended, EventArg outcome) {
        if (has_ended) static_cast<Outcomes*>(context)->ended[entry] = *reinterpret_cast<const Outcome*>(outcome);
        return 0;
    }
    std::map<EventArg, Outcome> ended;
};

// Makes the waveforms of all these, several at a time. False when it was cancelled.
bool MakeWaveforms(const std::vector<FileHistoryEntry*>& entries, Outcomes& outcomes) {
    const ProgressJob job("Making the waveforms");
    for (FileHistoryEntry* entry : entries) {
        if (const Outcome started = RequestWaveformData(*entry); !started) outcomes.Note(entry, started);
    }
    while (!NoBackgroundJobs(0)) {
        if (!Progress::Tick()) {
            WaitForWaveformThreads();
            return false;
        }
        GetMainLoop().RunOne(20);
        int64_t percent = 0;
        for (const FileHistoryEntry* entry : entries)
            percent += entry->waveform.ready ? 100 : entry->waveform.progress.load();
        Progress::SetPosition(static_cast<int>(percent * 10 / static_cast<int64_t>(entries.size())));
    }
    return true;
}

std::vector<PicturedTrack> TracksOn(const AlbumInfo& album, const RecordingPlace& place) {
    std::vector<PicturedTrack> tracks;
    for (int i = 0; i < album.tracks.size(); ++i) {
        const ALBUMTRACK& track = album.tracks[i];
        if (track.IsEmpty() || track.FadeEnd() <= place.start || track.FadeStart() >= place.end) continue;
        tracks.push_back({std::to_string(i + 1), track.title, track.start - place.start, track.end - place.start,
                          static_cast<int32_t>(track.start - track.FadeStart()), track.FadeOut()});
    }
    return tracks;
}

int DrawPicture(CommandContext& context, const WaveformArguments& arguments, const AlbumInfo& album,
                const RecordingPlace& place) {
    FileHistoryEntry& entry = *place.entry;
    const int32_t rate = entry.SampleRate();
    SidePicture picture;
    picture.title = fmt::format("{}, side {}", AlbumTitleText(album), place.side);
    picture.format = ClockText(place.end - place.start) + "  " + FormatText(entry);
    const OpenSide side{nullptr, &entry, entry.TotalSamples() - entry.decided.cuts.TotalLength()};
    int64_t first = 0, end = 0;
    if (int code = RangeOf(context, arguments, side, first, end)) return code;
    if (end == 0) end = side.total;
    if (end <= first) return context.Fail("There is nothing to draw: the side is empty");
    picture.from = to_ticks(rate, first);
    picture.to = std::max(picture.from + 1, to_ticks(rate, end));
    picture.album_start = place.start;
    picture.tracks = TracksOn(album, place);
    for (const CutAndSpliceCorrection& cut : entry.decided.cuts) picture.cuts.push_back(to_ticks(rate, cut.start_time));
    WaveformReader reader(entry);
    WaveformPicture waveform;
    Outcome drawn = reader.Open();
    const WaveformView view = WaveformView::Over(first, end - first, ColumnsIn(arguments.width));
    if (drawn) drawn = reader.Read(view, waveform);
    if (!drawn) return context.Fail(drawn.Text());
    if (waveform.n_known < view.width) {
        return context.Fail("The waveform is missing or older than its recording: " + entry.GetPath());
    }
    picture.columns = std::move(waveform.columns);
    const Canvas canvas = DrawSide(picture);
    if (const Outcome written = canvas.WritePng(arguments.png); !written) return context.Fail(written.Text());
    context.result["png"] = AbsolutePath(arguments.png);
    context.result["width"] = canvas.width;
    context.result["height"] = canvas.height;
    context.Line("Picture: {}", arguments.png);
    return CLI_DONE;
}

int Waveform(CommandContext& context, const WaveformArguments& arguments) {
    if (!arguments.png.empty() && ExtensionOf(arguments.png) != ".png") {
        return context.Usage("The name of a picture ends in .png");
    }
    if (int code = context.Open(arguments.collection, Access::Change)) return code;
    AlbumInfo* album = nullptr;
    if (int code = context.FindAlbum(arguments.album, album)) return code;
    if (arguments.side) {
        FileHistoryEntry* entry = nullptr;
        if (int code = context.FindRecording(*album, arguments.side, entry)) return code;
    }
    std::vector<RecordingPlace> places;
    for (const RecordingPlace& place : PlaceRecordings(*album)) {
        if (!arguments.side || place.side == arguments.side) places.push_back(place);
    }
    if (places.empty()) return context.Fail(AlbumName(*album) + " has no recordings");
    if (places.size() > 1 && !arguments.png.empty()) return context.Usage("--png draws one side: --side says which");
    for (const RecordingPlace& place : places) {
        if (!place.opened) return context.Fail(place.opened.Text());
    }

    const int64_t started = MonotonicNs();
    std::vector<FileHistoryEntry*> wanted;
    int64_t ticks = 0;
    for (const RecordingPlace& place : places) {
        if (IsWaveformReady(*place.entry)) continue;
        wanted.push_back(place.entry);
        ticks += to_ticks(place.entry->SampleRate(), place.entry->TotalSamples());
    }
    Outcomes outcomes;
    const bool cancelled = !wanted.empty() && !MakeWaveforms(wanted, outcomes);
    const double seconds = static_cast<double>(MonotonicNs() - started) * 1e-9;

    int code = cancelled ? context.Cancelled() : CLI_DONE;
    context.result["sides"] = Json::array();
    for (const RecordingPlace& place : places) {
        const Outcome* outcome = outcomes.Of(place.entry);
        const bool made = outcome && outcome->Ok();
        const bool there = std::find(wanted.begin(), wanted.end(), place.entry) == wanted.end();
        if (!made && !there && !code)
            code = context.Fail(fmt::format("The waveform of side {} could not be made: {}", place.side,
                                            outcome ? outcome->Plain() : ""));
        const char* status = made ? "made" : there ? "already there" : cancelled ? "cancelled" : "failed";
        context.result["sides"].push_back({{"side", place.side}, {"status", status}, {"path", place.entry->GetPath()}});
        context.Line("Side {}: {}", place.side, status);
    }
    context.result["seconds"] = seconds;
    context.result["times_real_time"] = seconds > 0 ? Seconds(ticks) / seconds : 0.0;
    if (!code && !arguments.png.empty()) code = DrawPicture(context, arguments, *album, places.front());
    // A recording that has changed is known by its new time and length from now on.
    const int saved = context.Save();
    return code ? code : saved;
}

}  // namespace

void AddWaveformCommand(CommandTree& tree) {
    auto arguments = std::make_shared<WaveformArguments>();
    CLI::App* command =
        tree.AddCommand(&tree.app, "waveform", "make the waveform files of sides, and draw a side with its tracks",
                        "waveform records.mcf 1 --side 2 --png side2.png",
                        [arguments](CommandContext& context) { return Waveform(context, *arguments); });
    CollectionArgument(command, arguments->collection);
    NumberArgument(command, "ALBUM", arguments->album, "its number in the album list")->required();
    NumberArgument(command, "--side", arguments->side, "only this side, from 1");
    command->add_option("--png", arguments->png, "a picture of the side")->option_text("FILE");
    AddRangeArguments(command, *arguments, false);
    command->add_option("--width", arguments->width, "the picture's width in pixels")
        ->check(Between(kLeastPictureWidth, kGreatestPictureWidth))
        ->option_text("PIXELS")
        ->capture_default_str();
}

}  // namespace Orvane
