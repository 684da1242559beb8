// Cue sheets and listings.
#include "app/jobs/cuesheets.h"
#include "cli/commands.h"
#include "cli/model_view.h"
#include "cli/parsing.h"
#include "cli/texts.h"
#include "foundation/messages.h"
#include "save/export_track_listing.h"

using namespace Foundation;

namespace Orvane {
namespace {

struct ListingArguments {
    std::string collection;
    int album = 0;  // 0: all of them
    ListingFormat format = ListingFormat::TXT;
    std::string file;
    std::string out;
};

int ChooseAlbums(CommandContext& context, int number, std::vector<AlbumInfo*>& albums) {
    if (number == 0) {
        for (AlbumInfo& album : context.Collection().albums) albums.push_back(&album);
        return albums.empty() ? context.Fail(MessageText(Msg::EmptyCollection)) : CLI_DONE;
    }
    return context.FindAlbum(number, albums.emplace_back());
}

int ReportFile(CommandContext& context, const AlbumInfo& album, const Result<WrittenListing>& written) {
    if (!written) return context.End(written.GetOutcome());
    context.result["album"] = NumberOf(album);
    context.result["file"] = written->path;
    context.result["tracks"] = album.tracks.size();
    context.Line("{}: {} of {}", written->path, CountText(album.tracks.size(), "track"), AlbumName(album));
    return CLI_DONE;
}

// Of files for several albums, in one job.
int ReportFiles(CommandContext& context, const std::vector<AlbumListing>& listings) {
    Outcome first;
    int n_failed = 0;
    context.result["files"] = Json::array();
    for (const AlbumListing& listing : listings) {
        Json json = {{"album", NumberOf(*listing.album)}, {"file", listing.path}};
        if (listing.outcome) {
            context.Line("{}", listing.path);
        } else {
            json["error"] = listing.outcome.Plain();
            if (n_failed++ == 0) first = listing.outcome;
        }
        context.result["files"].push_back(json);
    }
    if (Interrupted()) return context.Cancelled();
    if (n_failed == 0) return CLI_DONE;
    return context.Fail(fmt::format("{} of {} could not be written: {}", n_failed,
                                    CountText(static_cast<int64_t>(listings.size()), "file"), first.Text()));
}

int WriteCue(CommandContext& context, const ListingArguments& arguments) {
    if (int code = context.Open(arguments.collection, Access::Read)) return code;
    std::vector<AlbumInfo*> albums;
    if (int code = ChooseAlbums(context, arguments.album, albums)) return code;
    if (arguments.album == 0) {
        ProgressJob job("Writing cue sheets");
        return ReportFiles(context, WriteCueSheets(albums));
    }
    const std::string path = arguments.file.empty() ? CueSheetPath(*albums[0]) : arguments.file;
    return ReportFile(context, *albums[0], WriteCueSheet(*albums[0], path, CueSheetOptions::FromStore()));
}

int ReadCue(CommandContext& context, const ListingArguments& arguments) {
    if (int code = context.Open(arguments.collection, Access::Change)) return code;
    AlbumInfo* album = nullptr;
    if (int code = context.FindAlbum(arguments.album, album)) return code;
    const int code = context.ChangeAndSave(*album, [&] { return ReadCueSheet(*album, arguments.file); });
    if (code) return code;
    context.result["album"] = NumberOf(*album);
    context.result["artist"] = album->artist;
    context.result["title"] = album->title;
    context.result["tracks"] = Json::array();
    Table table({Table::Align::Right, Table::Align::Left, Table::Align::Right, Table::Align::Right});
    for (int i = 0; i < album->tracks.size(); ++i) {
        const ALBUMTRACK& track = album->tracks[i];
        context.result["tracks"].push_back(TrackJson(track, i + 1));
        table.Add({std::to_string(i + 1), track.title, FormatTime(track.start), FormatTime(track.end)});
    }
    context.Line("{}: {}", AlbumName(*album), CountText(album->tracks.size(), "track"));
    context.Text(table.Text(2));
    const size_t n_recordings = album->Recordings().size();
    context.result["recordings"] = n_recordings;
    if (n_recordings == 0) context.Line("The album has no recordings: the tracks lie on no side yet.");
    return CLI_DONE;
}

int Listing(CommandContext& context, const ListingArguments& arguments) {
    if (int code = context.Open(arguments.collection, Access::Read)) return code;
    std::vector<AlbumInfo*> albums;
    if (int code = ChooseAlbums(context, arguments.album, albums)) return code;
    if (!arguments.out.empty()) {
        ProgressJob job("Writing listings");
        return ReportFiles(context, ExportListings(albums, arguments.format, arguments.out));
    }
    if (arguments.album == 0 && !GetListingFormatInfo(arguments.format).many_albums) {
        return context.Usage("A list in this format holds one album: give its number, or --out for one file each");
    }
    if (arguments.file.empty()) {
        const std::string text = ListingText(albums, arguments.format);
        context.result["text"] = text;
        context.Text(text);
        return CLI_DONE;
    }
    return ReportFile(context, *albums[0], ExportListing(albums, arguments.format, arguments.file));
}

}  // namespace

void AddListingCommands(CommandTree& tree) {
    std::shared_ptr<ListingArguments> arguments;
    const auto add = [&](CLI::App* parent, const char* name, const char* description, const char* example,
                         int (*run)(CommandContext&, const ListingArguments&), const char* about_album) {
        arguments = std::make_shared<ListingArguments>();
        CLI::App* command =
            tree.AddCommand(parent, name, description, example,
                            [run, arguments = arguments](CommandContext& context) { return run(context, *arguments); });
        CollectionArgument(command, arguments->collection);
        NumberArgument(command, "ALBUM", arguments->album, about_album);
        return command;
    };
    constexpr const char* kOneOrAll = "its number in the album list; without it all albums";
    CLI::App* group = tree.AddGroup("cue", "cue sheets: track breaks for other programs");
    CLI::App* command = add(group, "write", "write the track breaks of albums as cue sheets",
                            "cue write records.mcf 1 first.cue", WriteCue, kOneOrAll);
    command
        ->add_option("FILE", arguments->file, "the sheet; otherwise \"ARTIST - TITLE.cue\" beside the first recording")
        ->option_text(" ");
    command = add(group, "read", "take the details, tracks and track breaks of an album from a cue sheet",
                  "cue read records.mcf 1 first.cue", ReadCue, "its number in the album list");
    command->get_option("ALBUM")->required();
    command->add_option("FILE", arguments->file, "the sheet")->required()->option_text(" ");

    command = add(&tree.app, "listing", "a playlist or another listing of an album's tracks",
                  "listing records.mcf 1 --as m3u8 first.m3u8", Listing, kOneOrAll);
    std::map<std::string, ListingFormat> names;
    std::vector<std::string> words;  // a format's number, which the map would take as well, is none of them
    for (const ListingFormatInfo& info : ListingFormats()) {
        words.emplace_back(info.extension.substr(1));
        names[words.back()] = info.format;
    }
    command->add_option("--as", arguments->format, "m3u, m3u8, wpl, cdc, txt or csv")
        ->required()
        ->transform(CLI::CheckedTransformer(names, CLI::ignore_case))
        ->transform(OneOf(words))
        ->option_text("FORMAT");
    CLI::Option* file =
        command->add_option("FILE", arguments->file, "where an album's is written; otherwise it is printed");
    file->option_text(" ");
    command->add_option("--out", arguments->out, "a folder that gets a listing of its own for each album")
        ->excludes(file)
        ->option_text("DIR");
}

}  // namespace Orvane
