#include <algorithm>

#include "cli/commands.h"
#include "cli/model_view.h"
#include "cli/scanning.h"
#include "cli/texts.h"
#include "collection/checktrackbreaks.h"
#include "collection/tracktime.h"
#include "foundation/platform.h"
#include "split/splitdialog.h"
#include "split/trackorder.h"

using namespace Foundation;

namespace Orvane {
namespace {

struct SplitArguments {
    std::string collection;
    int album = 0;
    bool adjust = false;
    int64_t at = -1;  // ticks
    bool alt = false;
};

constexpr int64_t kBreakTolerance = kShortestTrack;  // a break named by its time may be as far from it

// Opens an album whose track breaks are to be changed, and puts them in order where an old file or a crash has left
// them in disorder: the rules for breaks count on it.
int OpenAlbum(CommandContext& context, const SplitArguments& arguments, AlbumInfo*& album) {
    if (int code = context.Open(arguments.collection, Access::Change)) return code;
    if (int code = context.FindAlbum(arguments.album, album)) return code;
    CheckTrackBreaks(*album, CHECK_FIX);
    return CLI_DONE;
}

int Report(CommandContext& context, const AlbumInfo& album) {
    if (int code = context.Save()) return code;
    context.result["album"] = NumberOf(album);
    ReportTracks(context, album);
    return CLI_DONE;
}

int RunSplit(CommandContext& context, const SplitArguments& arguments) {
    AlbumInfo* album = nullptr;
    if (int code = OpenAlbum(context, arguments, album)) return code;
    const SplitResult result = Split({album, arguments.adjust});
    if (int code = context.End(result.outcome)) return code;
    if (result.advice) context.Remark(FormatMsg(*result.advice));
    context.result["found"] = result.n_set;
    context.result["seconds"] = result.seconds;
    if (int code = Report(context, *album)) return code;
    ReportLeftOut(context, result.left_out, context.result);
    return CLI_DONE;
}

int Insert(CommandContext& context, const SplitArguments& arguments) {
    AlbumInfo* album = nullptr;
    if (int code = OpenAlbum(context, arguments, album)) return code;
    SplitDialog dialog(*album);
    dialog.end = EndOfRecordings(*album);
    Outcome outcome = CheckWithin(arguments.at, dialog.end);
    if (!outcome) return context.Fail(outcome.Text());
    dialog.SelectAt(arguments.at);
    outcome = dialog.InsertTrackBreak(arguments.at, arguments.alt ? Alt::Down : Alt::Up);
    if (!outcome) return context.Fail(outcome.Text());
    return Report(context, *album);
}

int Remove(CommandContext& context, const SplitArguments& arguments) {
    AlbumInfo* album = nullptr;
    if (int code = OpenAlbum(context, arguments, album)) return code;
    SplitDialog dialog(*album);
    dialog.hit_tolerance = kBreakTolerance;
    // A row that only bears a number has no title to keep.
    const int n_tracks = album->tracks.size();
    dialog.remove_empty_last_row = n_tracks > 0 && album->tracks.back().title == NumberedTrackTitle(n_tracks);
    const Alt alt = arguments.alt ? Alt::Down : Alt::Up;
    if (!dialog.DeleteTrackBreak(BreakHit::ByPosition, 0, arguments.at, MakeUndo::No, alt)) {
        return context.Fail(
            fmt::format("No track of {} ends within a second of {}", AlbumName(*album), FormatTime(arguments.at)));
    }
    return Report(context, *album);
}

int Clear(CommandContext& context, const SplitArguments& arguments) {
    AlbumInfo* album = nullptr;
    if (int code = context.Open(arguments.collection, Access::Change)) return code;
    if (int code = context.FindAlbum(arguments.album, album)) return code;
    SplitDialog(*album).DeleteAllTrackBreaks();
    return Report(context, *album);
}

}  // namespace

void ReportLeftOut(CommandContext& context, const std::vector<TrackScanner::Stretch>& left_out, Json& figures) {
    figures["left_out"] = Json::array();
    for (const TrackScanner::Stretch& stretch : left_out) {
        figures["left_out"].push_back({{"start", stretch.start},
                                       {"end", stretch.end},
                                       {"start_seconds", Seconds(stretch.start)},
                                       {"end_seconds", Seconds(stretch.end)}});
        context.Line("In no track: the music from {} to {}.  \"break insert\" and \"track set\" can add it.",
                     ClockText(stretch.start), ClockText(stretch.end));
    }
}

void AddSplitCommands(CommandTree& tree) {
    std::shared_ptr<SplitArguments> arguments;
    auto Command = [&](CLI::App* parent, const char* name, const char* description, const char* example,
                       int (*run)(CommandContext&, const SplitArguments&)) {
        arguments = std::make_shared<SplitArguments>();
        CLI::App* command =
            tree.AddCommand(parent, name, description, example,
                            [run, arguments = arguments](CommandContext& context) { return run(context, *arguments); });
        CollectionArgument(command, arguments->collection);
        NumberArgument(command, "ALBUM", arguments->album, "its number in the album list")->required();
        return command;
    };
    CLI::App* command = Command(&tree.app, "split", "find the track breaks of an album in its recordings",
                                "split records.mcf 1 --adjust", RunSplit);
    command->add_flag("--adjust", arguments->adjust, "move the breaks that there are to the gaps near them");

    CLI::App* group = tree.AddGroup("break", "track breaks");
    auto BreakCommand = [&](const char* name, const char* description, const char* example, const char* alt,
                            int (*run)(CommandContext&, const SplitArguments&)) {
        command = Command(group, name, description, example, run);
        TimeOption(command, "--at", arguments->at, "where, on the album's time line")->required();
        command->add_flag("--alt", arguments->alt, alt);
    };
    Command(group, "clear", "take away all track breaks of an album; its titles stay", "break clear records.mcf 1",
            Clear);
    BreakCommand("insert", "end a track; titles stay on their rows, and the times behind it move down a row",
                 "break insert records.mcf 1 --at 3:41.5", "put in a row: the titles behind it move down too", Insert);
    BreakCommand("remove", "join a track with the next; titles stay on their rows, and the times move up a row",
                 "break remove records.mcf 1 --at 3:41.5", "take out a row: its title goes and the others move up",
                 Remove);
}

}  // namespace Orvane
