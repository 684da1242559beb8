#include "cli/commands.h"
#include "cli/model_view.h"
#include "cli/texts.h"
#include "save/cuesheet.h"

namespace Orvane {
namespace {

struct CueArguments {
    std::string collection;
    int album = 0;
    std::string file;
};

int Write(CommandContext& context, const CueArguments& arguments) {
    if (int code = context.Open(arguments.collection, Access::Read)) return code;
    AlbumInfo* album = nullptr;
    if (int code = context.FindAlbum(arguments.album, album)) return code;
    std::string path = arguments.file.empty() ? CueSheetPath(*album) : arguments.file;
    const ListingWritten written = WriteCueSheet(*album, path, CueSheetOptions::FromStore());
    if (written == ListingWritten::Failed) return context.FailLastError();
    context.result["album"] = arguments.album;
    context.result["file"] = path;
    context.result["tracks"] = album->tracks.size();
    context.Line("{}: {} of {}", path, CountText(album->tracks.size(), "track"), context.AlbumName(*album));
    return CLI_DONE;
}

int Read(CommandContext& context, const CueArguments& arguments) {
    if (int code = context.Open(arguments.collection, Access::Change)) return code;
    AlbumInfo* album = nullptr;
    if (int code = context.FindAlbum(arguments.album, album)) return code;
    if (!ReadCueSheet(*album, arguments.file)) return context.FailLastError();
    if (int code = context.Save()) return code;
    context.result["album"] = context.NumberOf(*album);
    context.result["artist"] = album->artist;
    context.result["title"] = album->title;
    context.result["tracks"] = Json::array();
    Table table({Table::Align::Right, Table::Align::Left, Table::Align::Right, Table::Align::Right});
    for (int i = 0; i < album->tracks.size(); ++i) {
        const ALBUMTRACK& track = album->tracks[i];
        context.result["tracks"].push_back(TrackJson(track, i + 1));
        table.Add({std::to_string(i + 1), track.title, FormatTime(track.start), FormatTime(track.end)});
    }
    context.Line("{}: {}", context.AlbumName(*album), CountText(album->tracks.size(), "track"));
    context.Text(table.Text(2));
    return CLI_DONE;
}

}  // namespace

void AddCueCommands(CommandTree& tree) {
    CLI::App* group = tree.AddGroup("cue", "cue sheets: track breaks for other programs");
    const auto add = [&](const char* name, const char* description, const char* example,
                         int (*run)(CommandContext&, const CueArguments&), const char* about_file) {
        auto arguments = std::make_shared<CueArguments>();
        CLI::App* command =
            tree.AddCommand(group, name, description, std::string("cue ") + name + " " + example,
                            [run, arguments](CommandContext& context) { return run(context, *arguments); });
        CollectionArgument(command, arguments->collection);
        NumberArgument(command, "ALBUM", arguments->album, "its number in the album list")->required();
        return command->add_option("FILE", arguments->file, about_file)->option_text(" ");
    };
    add("write", "write the track breaks of an album as a cue sheet", "records.mcf 1 first.cue", Write,
        "the sheet; otherwise \"ARTIST - TITLE.cue\" beside the first recording");
    add("read", "take the details, tracks and track breaks of an album from a cue sheet", "records.mcf 1 first.cue",
        Read, "the sheet")
        ->required();
}

}  // namespace Orvane
