#include "cleanup/scanforclicks.h"
#include "cli/commands.h"
#include "cli/declick.h"
#include "cli/texts.h"
#include "foundation/lasterror.h"
#include "foundation/messages.h"

namespace Orvane {
namespace {

struct DeclickArguments {
    std::string collection;
    std::vector<int> albums;
    int side = 0;
    int sensitivity = 3;
    int percussion = 2;
    int brass = 1;
    int passes = 1;
    std::string channels = "lr";
    bool equalise = false;
    bool keep_manual = true;
    bool keep_scans = false;
    bool if_new = false;
};

ScanSettings SettingsOf(const DeclickArguments& arguments) {
    ScanSettings settings;
    settings.sensitivity = static_cast<int8_t>(arguments.sensitivity);
    settings.percussion_protection = static_cast<int8_t>(arguments.percussion);
    settings.brass_protection = static_cast<int8_t>(arguments.brass);
    settings.passes = static_cast<int8_t>(arguments.passes);
    settings.channels = static_cast<uint8_t>((arguments.channels.find('l') != std::string::npos ? 1 : 0) |
                                             (arguments.channels.find('r') != std::string::npos ? 2 : 0));
    settings.options = static_cast<uint8_t>((arguments.keep_manual ? SCAN_KEEP_MANUAL : 0) |
                                            (arguments.keep_scans ? SCAN_KEEP_PREVIOUS : 0) |
                                            (arguments.equalise ? SCAN_EQUALISE : 0) | (arguments.if_new ? SCAN_IF_NEW : 0));
    return settings;
}

int Declick(CommandContext& context, const DeclickArguments& arguments) {
    if (int code = context.Open(arguments.collection, Access::Change)) return code;
    std::vector<RecordingPlace> places;
    for (int number : arguments.albums) {
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
    std::vector<DeclickedSide> sides;
    const int code = DeclickSides(context, places, SettingsOf(arguments), context.result, sides);
    for (const DeclickedSide& side : sides) context.Line("Side {}: {}", side.side, side.words);
    // What earlier passes have merged stays, whatever ended the scan.
    if (const int saved = context.Save()) return code ? code : saved;
    return code;
}

std::string WordsFor(ScanOutcome outcome, const ScanStats& stats) {
    switch (outcome) {
        case ScanOutcome::Done: break;
        case ScanOutcome::Skipped: return "scanned before with these settings";
        case ScanOutcome::Cancelled: return "cancelled";
        default: return "failed";
    }
    std::string words = CountText(stats.repaired, "click") + " repaired";
    if (stats.pp) words += fmt::format(", {} left alone as drums", stats.pp);
    if (stats.bp) words += fmt::format(", {} left alone as brass", stats.bp);
    return words;
}

const char* StatusFor(ScanOutcome outcome) {
    switch (outcome) {
        case ScanOutcome::Done: return "scanned";
        case ScanOutcome::Skipped: return "scanned before";
        case ScanOutcome::Cancelled: return "cancelled";
        default: return "failed";
    }
}

int CodeFor(CommandContext& context, ScanOutcome outcome) {
    switch (outcome) {
        case ScanOutcome::Done:
        case ScanOutcome::Skipped: return CLI_DONE;
        case ScanOutcome::TooSmall: return context.Fail("This file is too small to declick");
        case ScanOutcome::NoChannels: return context.Usage("No channels specified!");
        case ScanOutcome::Cancelled: return context.Cancelled();
        case ScanOutcome::Failed: break;
    }
    return context.FailLastError();
}

Json StatsJson(const ScanStats& stats) {
    return {{"repaired", stats.repaired}, {"not_repaired", stats.not_repaired}, {"pp", stats.pp}, {"bp", stats.bp}};
}

}  // namespace

int DeclickSides(CommandContext& context, const std::vector<RecordingPlace>& places, const ScanSettings& settings,
                 Json& figures, std::vector<DeclickedSide>& sides) {
    const int64_t started = MonotonicNs();
    int64_t ticks = 0;
    int code = CLI_DONE;
    ScanStats sum;
    figures["sides"] = Json::array();
    for (size_t i = 0; i < places.size() && code == CLI_DONE; ++i) {
        const RecordingPlace& place = places[i];
        const int share = 1000 / static_cast<int>(places.size());
        ScanRequest request;
        request.settings = settings;
        request.progress_base = static_cast<int>(i) * share;
        request.progress_range = share;
        ScanStats stats;
        ScanOutcome outcome;
        {
            ProgressJob job(fmt::format("Scanning side {} for clicks", place.side));
            outcome = ScanForClicks(place.entry, request, stats);
        }
        code = CodeFor(context, outcome);
        if (outcome == ScanOutcome::Done) ticks += place.end - place.start;
        Json json = {{"album", context.NumberOf(*place.entry->album)}, {"side", place.side}, {"status", StatusFor(outcome)}};
        json.update(StatsJson(stats));
        figures["sides"].push_back(json);
        sides.push_back({place.side, WordsFor(outcome, stats)});
        sum.repaired += stats.repaired;
        sum.not_repaired += stats.not_repaired;
        sum.pp += stats.pp;
        sum.bp += stats.bp;
    }
    const double seconds = static_cast<double>(MonotonicNs() - started) * 1e-9;
    figures.update(StatsJson(sum));
    figures["seconds"] = seconds;
    figures["times_real_time"] = seconds > 0 ? Seconds(ticks) / seconds : 0.0;
    return code;
}

void AddDeclickCommand(CommandTree& tree) {
    auto arguments = std::make_shared<DeclickArguments>();
    CLI::App* command = tree.AddCommand(&tree.app, "declick", "find clicks in the recordings of albums and repair them",
                                        "declick records.mcf 1 --side 2 --percussion 4",
                                        [arguments](CommandContext& context) { return Declick(context, *arguments); });
    CollectionArgument(command, arguments->collection);
    command->add_option("ALBUM", arguments->albums, "numbers in the album list")->required()->option_text(" ");
    NumberArgument(command, "--side", arguments->side, "only this side, from 1");
    auto Range = [&](const char* name, int& value, int low, int high, const char* description) {
        command->add_option(name, value, description)->check(CLI::Range(low, high))->option_text("NUMBER")->capture_default_str();
    };
    Range("--sensitivity", arguments->sensitivity, 0, 7, "0 finds nothing, 5 much, 7 the most");
    Range("--percussion", arguments->percussion, 0, 5, "protection of drums, 0 off, 5 the most");
    Range("--brass", arguments->brass, 0, 1, "protection of brass");
    Range("--passes", arguments->passes, 1, 9, "each pass listens to what the one before has left");
    command->add_option("--channels", arguments->channels, "l, r or lr")->check(CLI::IsMember({"l", "r", "lr", "rl"}))->option_text("lr");
    command->add_flag("--equalise", arguments->equalise, "the recording was made flat, without the replay curve");
    command->add_flag("--keep-manual,!--no-keep-manual", arguments->keep_manual, "keep repairs made by hand (as usual)");
    command->add_flag("--keep-scans", arguments->keep_scans, "keep what earlier scans have repaired");
    command->add_flag("--if-new", arguments->if_new, "leave sides alone that were scanned with these settings before");
}

}  // namespace Orvane
