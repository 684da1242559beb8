#include <map>

#include "cli/commands.h"
#include "cli/console.h"
#include "cli/fields.h"
#include "cli/model_view.h"
#include "cli/texts.h"
#include "collection/albumset.h"
#include "collection/deletealbums.h"
#include "collection/tracktime.h"
#include "collection/undo_records.h"
#include "foundation/messages.h"
#include "foundation/path.h"

using namespace Foundation;

namespace Orvane {
namespace {

struct AlbumArguments {
    std::string collection;
    int album = 0;
    std::vector<std::string> assignments;       // of "set"
    std::map<std::string, std::string> values;  // of "add", by field
    std::string status;                         // of "status"
    bool recordings = false;                    // of "remove"
    bool art = false;
    bool keep_album = false;
};

int OpenAlbum(CommandContext& context, const AlbumArguments& arguments, Access access, AlbumInfo*& album) {
    if (int code = context.Open(arguments.collection, access)) return code;
    return context.FindAlbum(arguments.album, album);
}

int List(CommandContext& context, const AlbumArguments& arguments) {
    if (int code = context.Open(arguments.collection, Access::Read)) return code;
    Json albums = Json::array();
    Table table({Table::Align::Right});
    int number = 0;
    for (const AlbumInfo& album : context.Collection().albums) {
        Json json = AlbumHeadJson(album, ++number);
        json["tracks"] = album.tracks.size();
        json["sides"] = album.sides.size();
        albums.push_back(json);
        std::string text = AlbumListText(album, GetSortOrder(), ListText::Full, true);
        table.Add({std::to_string(number), text, CountText(album.tracks.size(), "track")});
    }
    context.result["albums"] = albums;
    context.Text(table.Empty() ? std::string(MessageText(Msg::EmptyCollection)) + "\n" : table.Text());
    return CLI_DONE;
}

std::string TrackLengthText(const ALBUMTRACK& track) {
    return track.IsEmpty() ? "" : ClockText(track.FadeEnd() - track.FadeStart());
}

// The album for reading, in the same parts as the JSON.
void ShowText(CommandContext& context, AlbumInfo& album) {
    context.Line("{}", AlbumTitleText(album));
    Table details;
    for (const Field<AlbumDetails>& field : AlbumFields()) {
        Json value = field.get(album);
        bool shown_above = field.name == "artist" || field.name == "title" || field.name == "year";
        if (shown_above || !value.is_string() || value.get<std::string>().empty()) continue;
        details.Add({field.name, value.get<std::string>()});
    }
    details.Add({"status", StatusText(album.status)});
    context.Text(details.Text(2));

    Table sides({Table::Align::Right});
    for (const RecordingPlace& place : PlaceRecordings(album)) {
        sides.Add({std::to_string(place.side), FileNameOf(place.entry->GetPath()), ClockText(place.end - place.start),
                   place.opened ? FormatText(*place.entry) : OpenStatusText(place.entry->facts.open_status)});
    }
    if (!sides.Empty()) context.Text("\nSides\n" + sides.Text(2));

    Table tracks({Table::Align::Right, Table::Align::Left, Table::Align::Right});
    for (int i = 0; i < album.tracks.size(); ++i) {
        const ALBUMTRACK& track = album.tracks[i];
        std::string times = track.IsEmpty() ? "" : FormatTime(track.start) + " - " + FormatTime(track.end);
        tracks.Add(
            {std::to_string(i + 1), track.title, TrackLengthText(track), times, track.excluded ? "left out" : ""});
    }
    if (!tracks.Empty()) context.Text("\nTracks\n" + tracks.Text(2));
}

int Show(CommandContext& context, const AlbumArguments& arguments) {
    AlbumInfo* album = nullptr;
    if (int code = OpenAlbum(context, arguments, Access::Read, album)) return code;
    std::vector<std::string> remarks;
    context.result = AlbumJson(*album, arguments.album, remarks);
    for (const std::string& remark : remarks) context.Remark(remark);
    ShowText(context, *album);
    return CLI_DONE;
}

int ReportAlbum(CommandContext& context, const AlbumInfo& album, const std::string& what) {
    if (int code = context.Save()) return code;
    int number = NumberOf(album);
    context.result = AlbumHeadJson(album, number);
    context.Line("{}: {}", what, AlbumName(album));
    return CLI_DONE;
}

int Add(CommandContext& context, const AlbumArguments& arguments) {
    if (int code = context.Open(arguments.collection, Access::Change)) return code;
    std::unique_ptr<AlbumInfo> album = MakeAlbum();
    for (const auto& [name, value] : arguments.values) {
        std::string problem = SetField(*album, name, value);
        if (!problem.empty()) return context.Usage(problem);
    }
    AlbumInfo* added = AddAlbum(std::move(album));
    CreateSingleTracks(*added);
    return ReportAlbum(context, *added, "Added");
}

int Set(CommandContext& context, const AlbumArguments& arguments) {
    AlbumInfo* album = nullptr;
    if (int code = OpenAlbum(context, arguments, Access::Change, album)) return code;
    AlbumDetails details = album->Details();
    if (std::string problem = Assign(details, arguments.assignments); !problem.empty()) return context.Usage(problem);
    const auto change = [&]() -> Outcome {
        const bool other_names = album->title != details.title || album->single != details.single;
        Outcome changed = ChangeDetails(*album, details);
        if (changed && other_names) CreateSingleTracks(*album);
        return changed;
    };
    if (int code = context.ChangeAndSave(*album, change)) return code;
    return ReportAlbum(context, *album, "Changed");
}

int Status(CommandContext& context, const AlbumArguments& arguments) {
    AlbumInfo* album = nullptr;
    if (int code = OpenAlbum(context, arguments, Access::Change, album)) return code;
    AlbumDetails details = album->Details();
    std::string problem = SetField(details, "status", arguments.status);
    if (!problem.empty()) return context.Usage(problem);
    SetStatus(*album, details.status, false);
    SortAlbums(true, album);
    if (int code = context.Save()) return code;
    context.result = AlbumHeadJson(*album, NumberOf(*album));
    context.Line("{}: {}", AlbumName(*album), StatusText(album->status));
    return CLI_DONE;
}

int Remove(CommandContext& context, const AlbumArguments& arguments) {
    AlbumInfo* album = nullptr;
    if (int code = OpenAlbum(context, arguments, Access::Change, album)) return code;
    Json json = AlbumHeadJson(*album, arguments.album);
    std::string name = AlbumName(*album);
    int options = (arguments.keep_album ? 0 : DELETE_ALBUMS) | (arguments.recordings ? DELETE_RECORDINGS : 0) |
                  (arguments.art ? DELETE_ALBUM_ART : 0);
    if (options == 0) return context.Usage("With --keep-album there is nothing to remove but --recordings and --art");
    DeleteAlbumsResult done;
    {
        ProgressJob job("Removing " + name);
        done = DeleteAlbums({album}, options);
    }
    context.result = json;
    context.result["deleted"] = done.n_deleted;
    context.result["trashed"] = done.trashed;
    context.result["kept"] = done.kept;
    if (int code = context.Save()) return code;
    if (done.cancelled) return context.Cancelled();
    if (!done.failed.empty()) return context.End(done.failed.front());
    context.Line("Removed: {}{}", arguments.keep_album ? "what was asked for of " : "", name);
    for (const std::string& file : done.trashed) context.Line("  in the Trash: {}", file);
    for (const std::string& file : done.kept) context.Line("  stays where it is: {}", file);
    if (!arguments.recordings) context.Line("  its recordings stay where they are");
    return CLI_DONE;
}

}  // namespace

void AddAlbumCommands(CommandTree& tree) {
    CLI::App* group = tree.AddGroup("album", "the albums of a collection");
    std::shared_ptr<AlbumArguments> arguments;
    auto CommandOf = [&](CLI::App* parent, const char* name, const char* description, const std::string& example,
                         int (*run)(CommandContext&, const AlbumArguments&)) {
        arguments = std::make_shared<AlbumArguments>();
        CLI::App* command =
            tree.AddCommand(parent, name, description, example,
                            [run, arguments = arguments](CommandContext& context) { return run(context, *arguments); });
        CollectionArgument(command, arguments->collection);
        return command;
    };
    auto Command = [&](const char* name, const char* description, const char* example,
                       int (*run)(CommandContext&, const AlbumArguments&)) {
        return CommandOf(group, name, description, std::string("album ") + name + " " + example, run);
    };
    Command("list", "the albums with their numbers", "records.mcf", List);

    CLI::App* command = Command("show", "everything about an album", "records.mcf 1 --json", Show);
    NumberArgument(command, "ALBUM", arguments->album, "its number in the list")->required();

    command =
        Command("add", "enter a new album", "records.mcf --artist \"The Examples\" --title First --year 1977", Add);
    for (const Field<AlbumDetails>& field : AlbumFields()) {
        auto keep = [arguments, name = field.name](const std::string& value) { arguments->values[name] = value; };
        std::string option = "--" + field.name;
        command->add_option_function<std::string>(option, keep, "takes " + field.values)->option_text("VALUE");
    }

    command = Command("set", "change details of an album", "records.mcf 1 year=1978 genre=Folk", Set);
    NumberArgument(command, "ALBUM", arguments->album, "its number in the list")->required();
    std::string keys;
    for (const Field<AlbumDetails>& field : AlbumFields()) keys += "\n" + field.name + ": " + field.values;
    command->add_option("KEY=VALUE", arguments->assignments, "details, by these keys:" + keys)
        ->required()
        ->option_text(" ");

    command = Command("remove", "take an album out of the collection; its files stay where they are unless asked for",
                      "records.mcf 1 --recordings", Remove);
    NumberArgument(command, "ALBUM", arguments->album, "its number in the list")->required();
    command->add_flag("--recordings", arguments->recordings,
                      "all its recordings go to the Trash, but for files that lie outside of the collection's folder");
    command->add_flag("--art", arguments->art, "its cover goes to the Trash, likewise");
    command->add_flag("--keep-album", arguments->keep_album, "the album itself stays");

    command = CommandOf(&tree.app, "status", "set the status of an album", "status records.mcf 1 Cleaned", Status);
    NumberArgument(command, "ALBUM", arguments->album, "its number in the list")->required();
    command->add_option("STATUS", arguments->status, "0 to 7, 10 to 14, or the name of a status")
        ->required()
        ->option_text(" ");
}

}  // namespace Orvane
