#include "cli/commands.h"
#include "cli/texts.h"
#include "foundation/path.h"
#include "save/export_track_listing.h"

namespace Orvane {
namespace {

struct ListingArguments {
    std::string collection;
    int album = 0;
    ListingFormat format = ListingFormat::TXT;
    std::string file;
};

int Listing(CommandContext& context, const ListingArguments& arguments) {
    if (int code = context.Open(arguments.collection, Access::Read)) return code;
    AlbumInfo* album = nullptr;
    if (int code = context.FindAlbum(arguments.album, album)) return code;
    context.result["album"] = arguments.album;
    context.result["tracks"] = album->tracks.size();
    if (arguments.file.empty()) {
        const std::string text = ListingText({album}, arguments.format);
        context.result["text"] = text;
        context.Text(text);
        return CLI_DONE;
    }
    std::string path = arguments.file;
    if (ExportListing({album}, arguments.format, path) == ListingWritten::Failed) return context.FailLastError();
    context.result["file"] = path;
    context.Line("{}: {} of {}", path, CountText(album->tracks.size(), "track"), context.AlbumName(*album));
    return CLI_DONE;
}

}  // namespace

void AddListingCommand(CommandTree& tree) {
    auto arguments = std::make_shared<ListingArguments>();
    CLI::App* command = tree.AddCommand(&tree.app, "listing", "a playlist or another listing of an album's tracks",
                                        "listing records.mcf 1 --as m3u8 first.m3u8",
                                        [arguments](CommandContext& context) { return Listing(context, *arguments); });
    CollectionArgument(command, arguments->collection);
    NumberArgument(command, "ALBUM", arguments->album, "its number in the album list")->required();
    std::map<std::string, ListingFormat> names;
    for (const ListingFormatInfo& info : ListingFormats()) names[std::string(info.extension.substr(1))] = info.format;
    command->add_option("--as", arguments->format, "m3u, m3u8, wpl, cdc, txt or csv")
        ->required()
        ->transform(CLI::CheckedTransformer(names, CLI::ignore_case))
        ->option_text("FORMAT");
    command->add_option("FILE", arguments->file, "where it is written; otherwise it is printed")->option_text(" ");
}

}  // namespace Orvane
