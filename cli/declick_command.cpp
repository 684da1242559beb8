#include <algorithm>

#include "cleanup/filter/presets.h"
#include "cli/declick.h"
#include "cli/parsing.h"
#include "cli/side.h"
#include "cli/texts.h"
#include "foundation/messages.h"
#include "foundation/settings.h"

using namespace Foundation;

namespace Orvane {
namespace {

struct DeclickArguments : ScanArguments {
    std::string collection;
    std::vector<int> albums;
    int side = 0;
    bool if_new = false;
};

int RunDeclick(CommandContext& context, const DeclickArguments& arguments) {
    ScanSettings settings;
    if (int code = ReadScanSettings(context, arguments, settings)) return code;
    // Where nobody can be asked the command itself says that it is wanted.
    if (const Outcome question = CheckScan(settings); context.CanAsk() && !question) {
        if (!context.Agreed(question, kStrongScanWarning)) return context.Cancelled();
    }
    if (int code = context.Open(arguments.collection, Access::Change)) return code;
    std::vector<int> albums = arguments.albums;
    std::sort(albums.begin(), albums.end());
    albums.erase(std::unique(albums.begin(), albums.end()), albums.end());
    std::vector<RecordingPlace> places;
    for (const int number : albums) {
        AlbumInfo* album = nullptr;
        if (int code = context.FindAlbum(number, album)) return code;
        if (arguments.side) {
            FileHistoryEntry* entry = nullptr;
            if (int code = context.FindRecording(*album, arguments.side, entry)) return code;
        }
        for (const RecordingPlace& place : PlaceRecordings(*album)) {
            if (!arguments.side || place.side == arguments.side) places.push_back(place);
        }
    }
    const DeclickResult result = Declick({places, settings, arguments.if_new});
    ReportDeclick(result, context.result);
    for (const DeclickedSide& side : result.sides) {
        const std::string album = albums.size() > 1 ? fmt::format("Album {}, side", side.album) : "Side";
        context.Line("{} {}: {}", album, side.side, WordsFor(side));
    }
    const int code = context.End(result.outcome);
    if (!arguments.preset.empty()) SetStringSetting("Last Used Scan Preset", arguments.preset);
    const int saved = context.SaveAllTheSame();
    return code ? code : saved;
}

struct OutcomeText {
    const char* status;
    const char* words;
};

OutcomeText TextOf(const ScanResult& result) {
    if (result.skipped) return {"scanned before", "scanned before with these settings"};
    if (result.outcome) return {"scanned", ""};
    if (result.outcome.Is(Kind::Cancelled)) return {"cancelled", "cancelled"};
    return {"failed", "failed"};
}

Json StatsJson(const ScanStats& stats) {
    return {{"repaired", stats.repaired}, {"not_repaired", stats.not_repaired}, {"pp", stats.pp}, {"bp", stats.bp}};
}

}  // namespace

std::string WordsFor(const DeclickedSide& side) {
    const ScanResult& result = side.result;
    if (!result.outcome || result.skipped) return TextOf(result).words;
    std::string words = CountText(result.stats.repaired, "click") + " repaired";
    if (result.stats.pp) words += fmt::format(", {} left alone as drums", result.stats.pp);
    if (result.stats.bp) words += fmt::format(", {} left alone as brass", result.stats.bp);
    return words;
}

void AddScanOptions(CLI::App* command, ScanArguments& arguments) {
    auto Number = [&](const char* name, std::optional<int>& value, int low, int high, const char* description) {
        command->add_option(name, value, description)->check(Between(low, high))->option_text("NUMBER");
    };
    Number("--sensitivity", arguments.sensitivity, 0, 7, "0 finds nothing, 3 as usual, 5 much, 7 the most");
    Number("--percussion", arguments.percussion, 0, 5, "protection of drums: 0 off, 2 as usual, 5 the most");
    Number("--brass", arguments.brass, 0, 1, "protection of brass: 1 as usual");
    Number("--passes", arguments.passes, 1, 9, "each pass listens to what the one before has left; 1 as usual");
    ChannelsOption(command, "--channels", arguments.channels, "left, right or both (as usual)");
    auto Flag = [&](const char* name, std::optional<bool>& value, const char* description) {
        // Counted below 0 when it is the form with "no".
        command->add_flag_function(
            name, [&value](int64_t count) { value = count > 0; }, description);
    };
    Flag("--equalise,!--no-equalise", arguments.equalise, "the recording was made flat, without the replay curve");
    Flag("--keep-manual,!--no-keep-manual", arguments.keep_manual, "keep repairs made by hand (as usual)");
    Flag("--keep-scans,!--no-keep-scans", arguments.keep_scans, "keep what earlier scans have repaired");
}

int ReadScanSettings(CommandContext& context, const ScanArguments& arguments, ScanSettings& settings) {
    settings = ScanSettings().WithDefaults();
    if (!arguments.preset.empty() && !FindPreset(arguments.preset, settings)) {
        return context.Usage(fmt::format("There is no preset \"{}\" (see \"preset list\")", arguments.preset));
    }
    auto Take = [](const std::optional<int>& given, int8_t& value) {
        if (given) value = static_cast<int8_t>(*given);
    };
    Take(arguments.sensitivity, settings.sensitivity);
    Take(arguments.percussion, settings.percussion_protection);
    Take(arguments.brass, settings.brass_protection);
    Take(arguments.passes, settings.passes);
    if (arguments.channels) settings.channels = static_cast<uint8_t>(arguments.channels);
    auto TakeOption = [&](const std::optional<bool>& given, uint8_t option) {
        if (given) settings.options = static_cast<uint8_t>((settings.options & ~option) | (*given ? option : 0));
    };
    TakeOption(arguments.equalise, SCAN_EQUALISE);
    TakeOption(arguments.keep_manual, SCAN_KEEP_MANUAL);
    TakeOption(arguments.keep_scans, SCAN_KEEP_PREVIOUS);
    return CLI_DONE;
}

void ReportDeclick(const DeclickResult& result, Json& figures) {
    figures["sides"] = Json::array();
    for (const DeclickedSide& side : result.sides) {
        Json json = {{"album", side.album}, {"side", side.side}, {"status", TextOf(side.result).status}};
        json.update(StatsJson(side.result.stats));
        if (!side.error.empty()) json["error"] = side.error;
        figures["sides"].push_back(json);
    }
    figures.update(StatsJson(result.total));
    figures["seconds"] = result.seconds;
    figures["times_real_time"] = result.times_real_time;
}

void AddDeclickCommand(CommandTree& tree) {
    auto arguments = std::make_shared<DeclickArguments>();
    CLI::App* command =
        tree.AddCommand(&tree.app, "declick", "find clicks in the recordings of albums and repair them",
                        "declick records.mcf 1 --side 2 --percussion 4",
                        [arguments](CommandContext& context) { return RunDeclick(context, *arguments); });
    CollectionArgument(command, arguments->collection);
    command->add_option("ALBUM", arguments->albums, "numbers in the album list")
        ->required()
        ->check(Between(1, 1000000))
        ->option_text(" ");
    NumberArgument(command, "--side", arguments->side, "only this side, from 1");
    command->add_option("--preset", arguments->preset, "settings kept under a name; options given change them")
        ->option_text("NAME");
    AddScanOptions(command, *arguments);
    command->add_flag("--if-new", arguments->if_new, "leave sides alone that were scanned with these settings before");
}

}  // namespace Orvane
