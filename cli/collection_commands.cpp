#include "cli/commands.h"
#include "cli/model_view.h"
#include "cli/texts.h"
#include "collection/steering_reader.h"
#include "foundation/lasterror.h"
#include "foundation/path.h"
#include "foundation/settings.h"
#include "foundation/version.h"

using namespace Foundation;

namespace Orvane {
namespace {

int New(CommandContext& context, const std::string& path) {
    std::string wanted = ExtensionOf(path).empty() ? path + ".mcf" : path;
    if (int code = context.Create(wanted)) return code;
    context.result["collection"] = context.Collection().path;
    context.Line("{} is ready: an empty collection", context.Collection().path);
    return CLI_DONE;
}

// The version that the collection's file was written in.
int FileVersion(const std::string& path) {
    AlbumSet ignored(path);
    CollectionFacts facts;
    std::unique_ptr<TextFileReader> reader = OpenTextFile(path);
    if (reader) ReadCollection(*reader, ignored, facts, [] { return true; });
    return facts.version;
}

struct Counts {
    int tracks = 0;
    int sides = 0;
    int recordings = 0;
    int64_t ticks = 0;  // of the recordings in use
};

Counts CountAlbum(AlbumInfo& album, Json& missing) {
    Counts counts;
    counts.tracks = album.tracks.size();
    for (const RecordingPlace& place : PlaceRecordings(album)) counts.ticks += place.end - place.start;
    for (const AlbumSide* side : album.sides) {
        if (!side) continue;
        ++counts.sides;
        for (const auto& entry : side->history) {
            ++counts.recordings;
            FileInfo info;
            if (GetFileInfo(entry->GetPath(), info) != 0) missing.push_back(entry->GetPath());
        }
    }
    return counts;
}

int Info(CommandContext& context, const std::string& path) {
    if (int code = context.Open(path, Access::Read)) return code;
    AlbumSet& set = context.Collection();
    Json missing = Json::array();
    Counts total;
    for (AlbumInfo& album : set.albums) {
        Counts counts = CountAlbum(album, missing);
        total.tracks += counts.tracks;
        total.sides += counts.sides;
        total.recordings += counts.recordings;
        total.ticks += counts.ticks;
    }
    int version = FileVersion(set.path);
    context.result["collection"] = set.path;
    context.result["version"] = version;
    context.result["program"] = ProgramNameAndVersion();
    context.result["albums"] = set.albums.size();
    context.result["tracks"] = total.tracks;
    context.result["sides"] = total.sides;
    context.result["recordings"] = total.recordings;
    context.result["duration_seconds"] = Seconds(total.ticks);
    context.result["recordings_folder"] = set.recordings_folder;
    context.result["side_folder"] = set.side_folder;
    context.result["output_folder"] = GetStringSetting("Output Directory", MusicFolder());
    context.result["missing"] = missing;

    Table table;
    table.Add({"Collection", set.path});
    table.Add({"Version", fmt::format("{} (read by {})", version, ProgramNameAndVersion())});
    table.Add({"Albums", fmt::format("{}, with {} on {}", set.albums.size(), CountText(total.tracks, "track"),
                                     CountText(total.sides, "side"))});
    table.Add({"Recordings", fmt::format("{}, {} in use", total.recordings, ClockText(total.ticks))});
    table.Add({"Recordings folder", set.recordings_folder});
    table.Add({"Side files", set.side_folder});
    table.Add({"Saved tracks", context.result["output_folder"].get<std::string>()});
    for (const Json& file : missing) table.Add({"Missing", file.get<std::string>()});
    context.Text(table.Text());
    return CLI_DONE;
}

}  // namespace

void AddCollectionCommands(CommandTree& tree) {
    auto new_path = std::make_shared<std::string>();
    CLI::App* command = tree.AddCommand(&tree.app, "new", "make an empty collection", "new records.mcf",
                                        [new_path](CommandContext& context) { return New(context, *new_path); });
    CollectionArgument(command, *new_path);

    auto info_path = std::make_shared<std::string>();
    command =
        tree.AddCommand(&tree.app, "info", "tell what a collection holds, where things lie and what is missing",
                        "info records.mcf", [info_path](CommandContext& context) { return Info(context, *info_path); });
    CollectionArgument(command, *info_path);
}

}  // namespace Orvane
