#include "app/jobs/digitise.h"
#include "cli/commands.h"
#include "cli/declick.h"
#include "cli/filetree.h"
#include "cli/model_view.h"
#include "cli/parsing.h"
#include "cli/saving.h"
#include "cli/scanning.h"
#include "cli/texts.h"
#include "foundation/messages.h"
#include "foundation/path.h"

using namespace Foundation;

namespace Orvane {
namespace {

struct DigitiseArguments : DigitiseOptions {
    SaveArguments save_words;
};

const char* StepName(DigitiseStep step) {
    static constexpr const char* kNames[] = {"order",   "files",  "collection", "album", "sides",
                                             "declick", "tracks", "store",      "save",  "cue"};
    return kNames[static_cast<size_t>(step)];
}

const char* TracksFromText(TracksFrom from) {
    static constexpr const char* kTexts[] = {"listed", "whole sides", "kept", "scanned", "adjusted"};
    return kTexts[static_cast<size_t>(from)];
}

// What the user should know of a run that went on.
void ReportRemarks(CommandContext& context, const DigitiseOptions& options, const DigitiseResult& done) {
    for (const std::string& name : done.ends_early) context.Remark(fmt::format("{}: {}", name, kEndsEarly));
    for (const DigitiseResult::Side& side : done.sides) {
        if (side.repairs_there <= 0 || !done.old_repairs_applied) continue;
        context.Remark(fmt::format(
            "{} has {} from before, which the tracks get; --set \"Save Track Save Corrections=0\" leaves them out",
            FileNameOf(side.path), CountText(side.repairs_there, "click repair")));
    }
    if (done.last_title_cut) {
        context.Remark(fmt::format("{}, line {}: the recordings end at {}, and the last track with them",
                                   options.titles_file, done.last_title_cut->line,
                                   FormatTime(done.last_title_cut->end)));
    }
}

// What was done about the clicks of a side, for reading; empty for nothing.
std::string ClickWords(const DigitiseResult& done, const DigitiseResult::Side& side) {
    if (side.repairs_there > 0) {
        return fmt::format("{} from before {}", CountText(side.repairs_there, "repair"),
                           done.old_repairs_applied ? "applied" : "left out");
    }
    if (!done.declick) return {};
    for (const DeclickedSide& declicked : done.declick->sides) {
        if (declicked.side == side.side) return WordsFor(declicked);
    }
    return {};
}

void ReportSteps(CommandContext& context, const DigitiseResult& done) {
    Json& result = context.result;
    if (!done.collection.empty()) result["collection"] = done.collection;
    if (done.declick) ReportDeclick(*done.declick, result["declick"]);
    for (const DigitiseResult::Side& side : done.sides) {
        if (side.repairs_there < 0) continue;
        result["declick"]["sides"].push_back({{"side", side.side},
                                              {"status", "left alone"},
                                              {"repairs_there", side.repairs_there},
                                              {"applied", done.old_repairs_applied}});
    }
    if (done.tracks_from) {
        result["split"] = {{"status", TracksFromText(*done.tracks_from)}};
        if (*done.tracks_from == TracksFrom::Scan || *done.tracks_from == TracksFrom::AdjustedListing) {
            result["split"]["found"] = done.n_found;
            result["split"]["seconds"] = done.split_seconds;
        }
    }
    if (done.saved) ReportSaved(context, *done.saved);
    if (!done.cue_sheet.empty()) result["cue_sheet"] = done.cue_sheet;
}

void ReportSides(CommandContext& context, const DigitiseResult& done) {
    Json& result = context.result;
    if (done.album) result["album"] = done.album;
    result["artist"] = done.artist;
    result["title"] = done.title;
    result["new_album"] = done.new_album;
    result["changed"] = done.changed;
    result["sides"] = Json::array();
    Table sides({Table::Align::Right});
    bool scanned = false;
    for (const DigitiseResult::Side& side : done.sides) {
        result["sides"].push_back({{"side", side.side},
                                   {"path", side.path},
                                   {"start", side.start},
                                   {"end", side.end},
                                   {"seconds", Seconds(side.end - side.start)},
                                   {"samplerate", side.samplerate},
                                   {"bits", side.bits},
                                   {"channels", side.channels}});
        std::vector<std::string> row = {std::to_string(side.side), FileNameOf(side.path),
                                        ClockText(side.end - side.start),
                                        FormatText(side.samplerate, side.bits, side.channels)};
        if (std::string words = ClickWords(done, side); !words.empty()) row.push_back(std::move(words));
        if (side.tracks_found >= 0) {
            scanned = true;
            result["sides"].back()["tracks_found"] = side.tracks_found;
            row.push_back(side.tracks_found ? CountText(side.tracks_found, "track") + " found"
                                            : "no track breaks found");
        }
        sides.Add(row);
    }
    context.Text(fmt::format("{}: {}{}\n", done.artist, done.title, done.year ? fmt::format(" ({})", done.year) : ""));
    if (!sides.Empty()) context.Text("\nSides\n" + sides.Text(2));
    if (scanned) ReportLeftOut(context, done.left_out, result["split"]);
}

void ReportTracksSaved(CommandContext& context, const DigitiseResult& done) {
    Json& result = context.result;
    const SaveResult& saved = done.saved->saved;
    Table tracks({Table::Align::Right, Table::Align::Left, Table::Align::Right});
    FileTree tree(saved.folder);
    tree.Add(done.collection, "the collection");
    if (!done.cue_sheet.empty()) tree.Add(done.cue_sheet, "the track breaks, for other programs");
    int64_t ticks = 0;
    for (size_t i = 0; i < saved.tracks.size(); ++i) {
        const SavedTrack& one = saved.tracks[i];
        const DigitiseResult::Track& track = done.tracks[i];
        Json& json = result["tracks"][i];
        json["start"] = track.start;
        json["end"] = track.end;
        json["start_seconds"] = Seconds(track.start);
        json["end_seconds"] = Seconds(track.end);
        const int64_t length = track.fade_end - track.fade_start;
        tracks.Add({std::to_string(one.track + 1), track.title, ClockText(length), SaveStatusText(one.status)});
        FileInfo info;
        if (GetFileInfo(one.file, info) == 0) tree.Add(one.file, SizeText(info.size));
        if (one.status == SAVE_DONE || one.status == SAVE_PARTIAL) ticks += length;
    }
    context.Text("\nTracks\n" + tracks.Text(2) + "\n");
    const double seconds = done.saved->seconds;
    const double speed = seconds > 0 ? Seconds(ticks) / seconds : 0;
    result["times_real_time"] = speed;
    const int n_saved = saved.n_saved + saved.n_partially_saved;
    if (!done.changed) {
        context.Line("{} already saved: nothing has changed.",
                     saved.n_already_saved == 1 ? "The track was" : "All tracks were");
    } else {
        context.Line("{} saved in {:.1f} seconds, {:.0f} times as fast as playing{}.", CountText(n_saved, "track"),
                     seconds, speed,
                     saved.n_already_saved ? fmt::format("; {} already saved", saved.n_already_saved) : "");
    }
    context.Text("\n" + tree.Text());
}

int RunDigitise(CommandContext& context, const DigitiseArguments& arguments) {
    DigitiseOptions options = arguments;
    options.save = arguments.save_words;
    if (int code = TakeFormat(context, arguments.save_words, options.save)) {
        context.result["failed_step"] = StepName(DigitiseStep::Order);
        return code;
    }
    const DigitiseResult done = Digitise(context.session, options);
    ReportRemarks(context, options, done);
    ReportSteps(context, done);
    if (!done.artist.empty() || !done.sides.empty()) ReportSides(context, done);
    if (done.saved && !done.tracks.empty()) ReportTracksSaved(context, done);
    if (done.outcome) return CLI_DONE;
    context.result["failed_step"] = StepName(done.failed_step);
    if (!done.outcome.Is(Msg::TitlesAndTracksDiffer)) return context.End(done.outcome);
    return context.Fail(
        fmt::format("{}. The tracks are in {}, as album {}: put them right with \"break insert\" and "
                    "\"break remove\", or correct the titles, and run this again",
                    done.outcome.Plain(), done.collection, done.album));
}

}  // namespace

void AddDigitiseCommand(CommandTree& tree) {
    auto order = std::make_shared<DigitiseArguments>();
    CLI::App* command = tree.AddCommand(
        &tree.app, "digitise", "the whole job: recordings of sides in, saved tracks out",
        "digitise side1.wav side2.wav --artist \"The Examples\" --album First --titles first.txt --out ~/Music\n\n"
        "A file of titles has a line for each track, with times on the album's time line:\n"
        "  0:06 - 3:41.5 Turning Slowly\n"
        "  3:44 - 7:02 Needle Down\n"
        "or titles alone, one for each track that is found; with --no-split one a side.",
        [order](CommandContext& context) { return RunDigitise(context, *order); });
    command->add_option("FILE", order->files, "recordings, each of one side, in order")->required()->option_text("...");
    command->add_option("--artist", order->artist, "the album's artist")->required()->option_text("TEXT");
    command->add_option("--album", order->title, "the album's title")->required()->option_text("TEXT");
    command->add_option("--year", order->year, "the year of its release")->check(Between(0, 9999))->option_text("YEAR");
    command->add_option("--genre", order->genre, "its genre")->option_text("TEXT");
    command->add_option("--titles", order->titles_file, "a file with the titles of the tracks")->option_text("FILE");
    command->add_option("--collection", order->collection, "the collection to add to; otherwise one beside the tracks")
        ->option_text("C.mcf");
    command->add_flag("--no-declick", order->no_declick, "leave clicks as they are");
    command->add_flag("--no-split", order->no_split, "do not look for track breaks: each side is one track");
    command->add_flag("--no-cue", order->no_cue, "write no cue sheet beside the tracks");
    command->add_flag("--adjust", order->adjust, "move the times of the titles to the gaps near them");
    SaveOptions(command, order->save_words);
}

}  // namespace Orvane
