#include <algorithm>

#include "cli/commands.h"
#include "cli/parsing.h"
#include "cli/saving.h"
#include "cli/texts.h"
#include "foundation/messages.h"
#include "foundation/path.h"

using namespace Foundation;

namespace Orvane {
namespace {

struct Arguments {
    std::string collection;
    std::vector<int> albums;
    SaveArguments save;
};

// The albums of these numbers, each once; all of them without any.
int ChooseAlbums(CommandContext& context, const std::vector<int>& numbers, std::vector<AlbumInfo*>& albums) {
    for (int number : numbers) {
        AlbumInfo* album = nullptr;
        if (int code = context.FindAlbum(number, album)) return code;
        if (std::find(albums.begin(), albums.end(), album) == albums.end()) albums.push_back(album);
    }
    if (!numbers.empty()) return CLI_DONE;
    for (AlbumInfo& album : context.Collection().albums) albums.push_back(&album);
    return albums.empty() ? context.Fail(MessageText(Msg::EmptyCollection)) : CLI_DONE;
}

// Why the tracks of these albums cannot be saved, one and all; empty where there is something.
std::string NothingToSave(const std::vector<AlbumInfo*>& albums) {
    const auto any = [&](auto&& has) { return std::any_of(albums.begin(), albums.end(), has); };
    const auto has_break = [](const AlbumInfo* album) {
        return std::any_of(album->tracks.begin(), album->tracks.end(), [](const auto& t) { return !t.IsEmpty(); });
    };
    const char* missing = nullptr;
    if (!any([](const AlbumInfo* album) { return !album->tracks.empty(); })) {
        missing = "tracks";
    } else if (!any([](const AlbumInfo* album) { return !album->Recordings().empty(); })) {
        missing = "recordings";
    } else if (!any(has_break)) {
        missing = "track breaks";
    } else {
        return {};
    }
    if (albums.size() > 1) return fmt::format("There is nothing to save: no album has {} yet", missing);
    return fmt::format("There is nothing to save: {} has no {} yet", AlbumName(*albums[0]), missing);
}

void PrintResults(CommandContext& context, const SaveTracksResult& done) {
    const SaveResult& result = done.saved;
    Table table;
    for (const SavedTrack& saved : result.tracks) {
        std::string status = SaveStatusText(saved.status);
        bool told = saved.status == SAVE_DONE || saved.status == SAVE_ALREADY || saved.status == SAVE_PARTIAL;
        table.Add({status, told ? saved.file
                                : fmt::format("{}: {}", saved.album->tracks[saved.track].title,
                                              PlainText(NotSavedText(saved)))});
    }
    context.Text(table.Text());
    context.Line("{} saved in {} ({} already saved, {} partially saved, {} skipped, {} failed)",
                 CountText(result.n_saved, "track"), ClockText(static_cast<int64_t>(done.seconds * kTicksPerSecond)),
                 result.n_already_saved, result.n_partially_saved, result.n_skipped, result.n_failed);
}

int Save(CommandContext& context, const Arguments& arguments) {
    SaveSettings settings;
    if (int code = TakeSaveChoices(context, arguments.save, settings)) return code;
    if (int code = context.Open(arguments.collection, Access::Change)) return code;
    std::vector<AlbumInfo*> albums;
    if (int code = ChooseAlbums(context, arguments.albums, albums)) return code;
    if (std::string problem = NothingToSave(albums); !problem.empty()) return context.Fail(problem);
    if (arguments.save.output_folder.empty()) settings.AppendCollection(context.Collection());
    const SaveTracksResult result = SaveTracks({albums, settings, arguments.save.threads});
    ReportSaved(context, result);
    PrintResults(context, result);
    const int saved = context.End(result.outcome);
    if (saved == CLI_CANCELLED) return saved;
    int written = context.Save();
    return saved ? saved : written;
}

}  // namespace

void AddSaveCommand(CommandTree& tree) {
    auto arguments = std::make_shared<Arguments>();
    CLI::App* command = tree.AddCommand(&tree.app, "save", "save the tracks of albums as audio files, tagged",
                                        "save records.mcf 1 3 --format flac --out ~/Music",
                                        [arguments](CommandContext& context) { return Save(context, *arguments); });
    CollectionArgument(command, arguments->collection);
    command->add_option("ALBUM", arguments->albums, "numbers in the album list; without any all albums are saved")
        ->check(Between(1, 1000000))
        ->option_text("...");
    SaveOptions(command, arguments->save);
}

}  // namespace Orvane
