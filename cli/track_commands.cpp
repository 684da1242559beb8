#include <algorithm>

#include "cli/commands.h"
#include "cli/fields.h"
#include "cli/model_view.h"
#include "cli/texts.h"
#include "collection/albumset.h"
#include "collection/tracktime.h"
#include "split/splitdialog.h"
#include "split/trackorder.h"

using namespace Foundation;

namespace Orvane {
namespace {

struct TrackArguments {
    std::string collection;
    int album = 0;
    int track = 0;
    int to = 0;  // of "move"
    std::vector<std::string> assignments;
    std::string title;
    std::string artist;
    int64_t start = -1;
    int64_t end = -1;
    int64_t length = 0;
    bool close_gap = false;
};

int OpenAlbum(CommandContext& context, const TrackArguments& arguments, Access access, AlbumInfo*& album) {
    if (int code = context.Open(arguments.collection, access)) return code;
    return context.FindAlbum(arguments.album, album);
}

int ReportTrack(CommandContext& context, const AlbumInfo& album, int index, const char* what) {
    if (int code = context.Save()) return code;
    const ALBUMTRACK& track = album.tracks[index];
    context.result = TrackJson(track, index + 1);
    context.result["album"] = NumberOf(album);
    std::string times = track.IsEmpty() ? "no times yet" : FormatTime(track.start) + " - " + FormatTime(track.end);
    context.Line("{}: track {} of {}: {} ({})", what, index + 1, AlbumName(album), track.title, times);
    return CLI_DONE;
}

int List(CommandContext& context, const TrackArguments& arguments) {
    AlbumInfo* album = nullptr;
    if (int code = OpenAlbum(context, arguments, Access::Read, album)) return code;
    context.result["album"] = arguments.album;
    ReportTracks(context, *album);
    return CLI_DONE;
}

int Add(CommandContext& context, const TrackArguments& arguments) {
    bool timed = arguments.start >= 0 || arguments.end >= 0;
    if (timed && (arguments.start < 0 || arguments.end <= arguments.start || arguments.length)) {
        return context.Usage("A track has a --start and an --end behind it, or a --length, or neither");
    }
    AlbumInfo* album = nullptr;
    if (int code = OpenAlbum(context, arguments, Access::Change, album)) return code;
    ALBUMTRACK track;
    track.title = arguments.title;
    track.artist = arguments.artist;
    if (!timed && !arguments.length) {
        AddTrack(*album, track);
        return ReportTrack(context, *album, album->tracks.size() - 1, "Added");
    }
    const int n_set = FirstUnsetTrack(album->tracks);
    track.start = timed ? arguments.start : n_set ? album->tracks[n_set - 1].end : 0;
    track.end = timed ? arguments.end : track.start + arguments.length;
    // The lengths of a listing need only be near the truth.
    Outcome outcome = CheckWithin(timed ? track.end : track.start + kShortestTrack, EndOfRecordings(*album));
    if (!outcome) return context.Usage(outcome.Text());
    int index = PlaceForTrack(album->tracks, track);
    InsertTrack(*album, index, track, false);
    SettleUnsetTracks(album->tracks);
    outcome = CheckListing(album->tracks);
    if (!outcome) return context.Usage(outcome.Text());
    return ReportTrack(context, *album, index, "Added");
}

// Changes one track by `assignments` and reports it.
int ChangeTrack(CommandContext& context, const TrackArguments& arguments, const std::vector<std::string>& assignments) {
    AlbumInfo* album = nullptr;
    if (int code = OpenAlbum(context, arguments, Access::Change, album)) return code;
    int index = 0;
    if (int code = context.FindTrack(*album, arguments.track, index)) return code;
    ALBUMTRACK track = album->tracks[index];
    std::string problem = Assign(track, assignments);
    SplitDialog dialog(*album);
    dialog.end = EndOfRecordings(*album);
    if (!problem.empty()) return context.Usage(problem);
    if (const Outcome edited = dialog.EditTrack(index, track); !edited) return context.Usage(edited.Text());
    return ReportTrack(context, *album, dialog.Selected(), "Changed");
}

int Set(CommandContext& context, const TrackArguments& arguments) {
    return ChangeTrack(context, arguments, arguments.assignments);
}

int Fade(CommandContext& context, const TrackArguments& arguments) {
    std::vector<std::string> assignments;
    for (const std::string& assignment : arguments.assignments) {
        if (!assignment.starts_with("in=") && !assignment.starts_with("out=")) {
            return context.Usage(fmt::format("\"{}\" is none of in=TIME and out=TIME", assignment));
        }
        assignments.push_back("fade_" + assignment);
    }
    return ChangeTrack(context, arguments, assignments);
}

int Move(CommandContext& context, const TrackArguments& arguments) {
    AlbumInfo* album = nullptr;
    if (int code = OpenAlbum(context, arguments, Access::Change, album)) return code;
    int from = 0, to = 0;
    if (int code = context.FindTrack(*album, arguments.track, from)) return code;
    if (int code = context.FindTrack(*album, arguments.to, to)) return code;
    SplitDialog(*album).MoveTrackInList(from, to);
    return ReportTrack(context, *album, to, "Moved");
}

int Remove(CommandContext& context, const TrackArguments& arguments) {
    AlbumInfo* album = nullptr;
    if (int code = OpenAlbum(context, arguments, Access::Change, album)) return code;
    int index = 0;
    if (int code = context.FindTrack(*album, arguments.track, index)) return code;
    const ALBUMTRACK removed = SplitDialog(*album).DeleteTrack(index, arguments.close_gap);
    if (int code = context.Save()) return code;
    context.result = TrackJson(removed, arguments.track);
    context.result["album"] = arguments.album;
    context.Line("Removed: track {} of {}: {}", arguments.track, AlbumName(*album), removed.title);
    return CLI_DONE;
}

}  // namespace

void AddTrackCommands(CommandTree& tree) {
    CLI::App* group = tree.AddGroup("track", "the tracks of an album");
    std::shared_ptr<TrackArguments> arguments;
    auto Command = [&](CLI::App* parent, const std::string& name, const char* description, const std::string& example,
                       int (*run)(CommandContext&, const TrackArguments&)) {
        arguments = std::make_shared<TrackArguments>();
        CLI::App* command =
            tree.AddCommand(parent, name, description, example,
                            [run, arguments = arguments](CommandContext& context) { return run(context, *arguments); });
        CollectionArgument(command, arguments->collection);
        NumberArgument(command, "ALBUM", arguments->album, "its number in the album list")->required();
        return command;
    };
    auto TrackArgument = [&](CLI::App* command) {
        NumberArgument(command, "TRACK", arguments->track, "its number in the track list")->required();
    };

    Command(group, "list", "the tracks with their times on the album's time line", "track list records.mcf 1", List);

    CLI::App* command = Command(group, "add", "enter a new track, at its place in time or at the end",
                                "track add records.mcf 1 --title Overture --start 0:06 --end 3:41.5", Add);
    command->add_option("--title", arguments->title, "its title")->required()->option_text("TEXT");
    command->add_option("--artist", arguments->artist, "its artist, where it is not the album's")->option_text("TEXT");
    TimeOption(command, "--start", arguments->start, "where it begins");
    TimeOption(command, "--end", arguments->end, "where it ends");
    TimeOption(command, "--length", arguments->length, "its length, behind the last track that has times");

    command = Command(group, "set", "change a track", "track set records.mcf 1 2 title=Reprise end=7:02", Set);
    TrackArgument(command);
    std::string keys;
    for (const Field<ALBUMTRACK>& field : TrackFields()) keys += "\n" + field.name + ": " + field.values;
    command->add_option("KEY=VALUE", arguments->assignments, "details, by these keys:" + keys)
        ->required()
        ->option_text(" ");

    command = Command(group, "move", "move a title to another row; times and fades stay on their rows",
                      "track move records.mcf 1 3 2", Move);
    TrackArgument(command);
    NumberArgument(command, "TO", arguments->to, "the row it goes to")->required();

    command = Command(group, "remove", "take a track out of the listing", "track remove records.mcf 1 2", Remove);
    TrackArgument(command);
    command->add_flag("--close-gap", arguments->close_gap, "move all later tracks back by its length");

    command =
        Command(&tree.app, "fade", "fade a track in and out, over 0.1 to 20 seconds; a length of 0 takes the fade away",
                "fade records.mcf 1 2 in=0.5 out=4", Fade);
    TrackArgument(command);
    command->add_option("FADE", arguments->assignments, "in=TIME, out=TIME or both")
        ->required()
        ->expected(1, 2)
        ->option_text(" ");
}

}  // namespace Orvane
