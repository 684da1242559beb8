// Click repairs, markers and patches by hand. Positions are frames of the recording's file, as the lists keep them.
#include "cleanup/edit/editrepairs.h"

#include "cleanup/edit/editaccess.h"
#include "cleanup/edit/patchselection.h"
#include "cleanup/repair/shownclicks.h"
#include "cli/parsing.h"
#include "cli/side.h"
#include "cli/texts.h"

using namespace Foundation;

namespace Orvane {
namespace {

struct RepairArguments : SideArguments {
    int channels = CHANNELS_BOTH;
    int64_t start = -1;
    int64_t end = -1;
    std::string type;
    std::string method = "best";
    int preamp = 0;
    bool replace = false;
};

constexpr const char* kMethods[] = {"apa", "ar", "fft"};  // in the order of PatchMethod

const char* KindOf(const ClickRepair& repair) {
    switch (repair.repair_type) {
        case REPAIR_MANUAL:
            return "manual";
        case REPAIR_PATCH:
            return "patch";
        case REPAIR_BP:
            return "BP";
        case REPAIR_PP:
            return "PP";
        default:
            return "scan";
    }
}

Json RepairJson(const FileHistoryEntry& entry, int channel, const ClickRepair& repair) {
    const int64_t start = entry.decided.cuts.ToEdited(repair.absolute_start_time);
    return {{"channel", channel},
            {"kind", KindOf(repair)},
            {"absolute_start_time", repair.absolute_start_time},
            {"absolute_end_time", repair.absolute_end_time},
            {"start_time", start},
            {"end_time", entry.decided.cuts.ToEdited(repair.absolute_end_time)},
            {"start_seconds", Seconds(to_ticks(entry.SampleRate(), start))},
            {"repair_type", repair.repair_type},
            {"cross_fade", repair.cross_fade},
            {"wiggles", repair.wiggles},
            {"min_sample", repair.min_sample},
            {"max_sample", repair.max_sample}};
}

// Without positions it is all of the recording.
bool Touches(const RepairArguments& arguments, const ClickRepair& repair) {
    return (arguments.end < 0 || repair.absolute_start_time < arguments.end) &&
           (arguments.start < 0 || repair.absolute_end_time > arguments.start);
}

// Puts what stands in the lists, touches the arguments' stretch and is to be shown into the result, channel by channel.
int Report(CommandContext& context, const RepairArguments& arguments, FileHistoryEntry& entry,
           const ShownClicks& shown) {
    if (const Outcome loaded = entry.LoadCorrections(); !loaded) return context.End(loaded);
    context.result["samplerate"] = entry.SampleRate();
    Json& lists = context.result["click_repairs"] = Json::array({Json::array(), Json::array()});
    Table table({Table::Align::Left, Table::Align::Right, Table::Align::Right, Table::Align::Right});
    int n_not_shown = 0;
    for (int channel = 0; channel < 2; ++channel) {
        if (!(arguments.channels & (1 << channel))) continue;
        for (const ClickRepair& repair : entry.click_repairs[channel]) {
            if (!Touches(arguments, repair)) continue;
            if (!shown.Shows(repair, entry.SampleRate())) {
                ++n_not_shown;
                continue;
            }
            const Json json = RepairJson(entry, channel, repair);
            table.Add({channel == 0 ? "left" : "right", fmt::format("{:.3f} s", json["start_seconds"].get<double>()),
                       std::to_string(repair.absolute_start_time), std::to_string(repair.Length()), KindOf(repair)});
            lists[static_cast<size_t>(channel)].push_back(json);
        }
    }
    context.Text(table.Empty() ? "No repairs\n" : table.Text());
    context.result["not_shown"] = n_not_shown;
    if (n_not_shown) {
        context.Line("{} not shown, by the settings \"Show Clicks\" and \"Show Wide Clicks Only\"", n_not_shown);
    }
    return CLI_DONE;
}

// An edit writes the lists when it lets go of the recording; what could not be written, which has been shown, is still
// marked as changed.
int CheckWritten(CommandContext& context, const FileHistoryEntry& entry) {
    return entry.click_repairs[0].dirty || entry.click_repairs[1].dirty ? context.FailShown() : CLI_DONE;
}

// The end of a command that has put something into the lists.
int ReportAndSave(CommandContext& context, const RepairArguments& arguments, FileHistoryEntry& entry) {
    if (int code = CheckWritten(context, entry)) return code;
    const int code = Report(context, arguments, entry, ShownClicks());
    const int saved = context.Save();
    return code ? code : saved;
}

int List(CommandContext& context, const RepairArguments& arguments) {
    OpenSide side;
    if (int code = OpenTheSide(context, arguments, Access::Read, side)) return code;
    return Report(context, arguments, *side.entry, ShownClicks::FromStore());
}

int Add(CommandContext& context, const RepairArguments& arguments) {
    OpenSide side;
    if (int code = OpenTheSide(context, arguments, Access::Change, side)) return code;
    if (arguments.end <= arguments.start) return context.Usage("There is nothing to repair: --end lies behind --start");
    const int32_t rate = side.entry->SampleRate();
    const int64_t most = to_samples(rate, kMaxRepair);
    if (arguments.end - arguments.start > most) {
        return context.Usage(fmt::format("A repair is {} frames long at most at {} Hz, not {}; \"patch\" takes more",
                                         most, rate, arguments.end - arguments.start));
    }
    const Outcome inserted = InsertRepair(*side.entry, arguments.channels, arguments.start, arguments.end);
    if (!inserted) return context.End(inserted);
    return ReportAndSave(context, arguments, *side.entry);
}

int Remove(CommandContext& context, const RepairArguments& arguments) {
    OpenSide side;
    if (int code = OpenTheSide(context, arguments, Access::Change, side)) return code;
    const int64_t end = arguments.end < 0 ? arguments.start + 1 : arguments.end;
    const Result<int> removed = DeleteRepairs(*side.entry, arguments.channels, arguments.start, end);
    if (!removed) return context.End(removed.GetOutcome());
    if (int code = CheckWritten(context, *side.entry)) return code;
    context.result["removed"] = *removed;
    if (*removed == 0) return context.Fail(fmt::format("There is no repair at {}", arguments.start));
    context.Line("{} removed", CountText(*removed, "repair"));
    return context.Save();
}

// Turns markers into repairs.
int Apply(CommandContext& context, const RepairArguments& arguments) {
    OpenSide side;
    if (int code = OpenTheSide(context, arguments, Access::Change, side)) return code;
    const int64_t start = std::max<int64_t>(0, arguments.start);
    const int64_t end = arguments.end < 0 ? INT64_MAX : arguments.end;
    int applied = 0;
    Outcome failure;
    for (const int16_t type : {REPAIR_PP, REPAIR_BP}) {
        if (!arguments.type.empty() && arguments.type != (type == REPAIR_PP ? "pp" : "bp")) continue;
        const Result<int> made = RepairMarkers(*side.entry, arguments.channels, type, start, end);
        if (made) {
            applied += *made;
        } else {
            failure = made.GetOutcome();
        }
    }
    if (applied == 0 && !failure) return context.End(failure);
    if (int code = CheckWritten(context, *side.entry)) return code;
    context.result["applied"] = applied;
    context.Line("{} made of markers", CountText(applied, "repair"));
    return context.Save();
}

int PatchSide(CommandContext& context, const RepairArguments& arguments) {
    OpenSide side;
    if (int code = OpenTheSide(context, arguments, Access::Change, side)) return code;
    PatchOptions options;
    options.channels = arguments.channels;
    options.preamp = arguments.preamp;
    options.replace = arguments.replace;
    for (size_t i = 0; i < std::size(kMethods); ++i) {
        if (arguments.method == kMethods[i]) options.method = static_cast<PatchMethod>(i);
    }
    Result<PatchMethod> used = PatchRecording(*side.entry, arguments.start, arguments.end, options);
    if (used.GetOutcome().Is(Kind::NeedsAnswer) && context.CanAsk()) {
        if (!context.Agreed(used.GetOutcome(), kAlreadyPatchedWarning)) return context.Cancelled();
        options.replace = true;
        used = PatchRecording(*side.entry, arguments.start, arguments.end, options);
    }
    if (!used) return context.End(used.GetOutcome());
    const char* method = kMethods[static_cast<size_t>(*used)];
    context.result["method"] = method;
    context.Line("Patched by {}", method);
    return ReportAndSave(context, arguments, *side.entry);
}

void PositionOptions(CLI::App* command, RepairArguments& arguments, bool start_required, bool end_required) {
    auto Position = [&](const char* name, int64_t& value, bool required, const char* description) {
        command->add_option(name, value, description)
            ->check(Between(0, INT64_MAX))
            ->option_text("FRAME")
            ->required(required);
    };
    Position("--start", arguments.start, start_required, "the first frame in the recording's file");
    Position("--end", arguments.end, end_required, "the frame behind the last");
}

}  // namespace

void AddRepairsCommands(CommandTree& tree) {
    CLI::App* group = tree.AddGroup("repairs", "click repairs of a side, and markers of what a scan left alone");
    auto arguments = std::make_shared<RepairArguments>();
    auto Command = [&](CLI::App* parent, const char* name, const char* description, const char* example, auto run) {
        CLI::App* command =
            tree.AddCommand(parent, name, description, example,
                            [arguments, run](CommandContext& context) { return run(context, *arguments); });
        AddSideArguments(command, *arguments);
        return command;
    };
    auto Channel = [&](CLI::App* command) {
        return ChannelsOption(command, "--channel", arguments->channels, "left, right or both; both without it");
    };
    auto OwnChannel = [&](CLI::App* command) {
        ChannelsOption(command, "--channel", arguments->channels, "left, right or both")->required();
    };
    CLI::App* list = Command(group, "list", "what stands in the lists of both channels",
                             "repairs list records.mcf 1 --side 1", List);
    Channel(list);
    PositionOptions(list, *arguments, false, false);
    CLI::App* add = Command(group, "add", "repair a stretch of up to 9 ms by hand",
                            "repairs add records.mcf 1 --side 1 --channel l --start 441000 --end 441040", Add);
    OwnChannel(add);
    PositionOptions(add, *arguments, true, true);
    CLI::App* remove =
        Command(group, "remove", "remove what touches a frame or a stretch; of a stereo patch both sides",
                "repairs remove records.mcf 1 --side 1 --channel l --start 441000", Remove);
    OwnChannel(remove);
    PositionOptions(remove, *arguments, true, false);
    CLI::App* apply = Command(group, "apply", "repair what a scan has only marked",
                              "repairs apply records.mcf 1 --side 1 --type pp --start 0 --end 441000", Apply);
    apply->add_option("--type", arguments->type, "only markers of drums, pp, or of brass, bp")
        ->transform(OneOf({"pp", "bp"}))
        ->option_text("pp|bp");
    Channel(apply);
    PositionOptions(apply, *arguments, false, false);

    CLI::App* patch = Command(&tree.app, "patch", "put synthesised audio over damage of up to a quarter of a second",
                              "patch records.mcf 1 --side 1 --start 441000 --end 446000 --method ar", PatchSide);
    PositionOptions(patch, *arguments, true, true);
    patch->add_option("--method", arguments->method, "apa, ar, fft, or the best of them")
        ->transform(OneOf({"apa", "ar", "fft", "best"}))
        ->option_text("apa|ar|fft|best")
        ->capture_default_str();
    ChannelsOption(patch, "--channels", arguments->channels, "left, right or both (as usual)");
    patch->add_option("--preamp", arguments->preamp, "tenths of a decibel by which the patch is louder, -120 to 120")
        ->check(Between(-120, 120))
        ->option_text("NUMBER");
    patch->add_flag("--replace", arguments->replace, "take the place of a patch that is there");
}

}  // namespace Orvane
