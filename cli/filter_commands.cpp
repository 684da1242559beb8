#include "cleanup/edit/editfilters.h"
#include "cleanup/filter/filtersettings.h"
#include "cleanup/filter/measurenoise.h"
#include "cleanup/filter/presets.h"
#include "cli/cleanup_values.h"
#include "cli/side.h"
#include "cli/texts.h"
#include "collection/dataobjects.h"
#include "foundation/path.h"

using namespace Foundation;

namespace Orvane {
namespace {

struct FilterArguments : SideArguments {
    std::string preset;
    std::vector<std::string> values;
    std::string noise_file;
    int number = 0;
};

Json FilterJson(const FileHistoryEntry& entry, const FilterSetting& setting) {
    const FilterValues& v = setting.values;
    Json json = RangeJson(entry, setting);
    json["hiss_mode"] = v.hiss_mode;
    json["hiss_reduction"] = v.hiss_reduction;
    json["hiss_quality"] = v.hiss_quality;
    json["hum_mode"] = v.hum_mode;
    json["mains_frequency"] = v.mains_frequency;
    json["filter_harmonics"] = v.filter_harmonics;
    json["rumble_mode"] = v.rumble_mode;
    json["dc_offset_only"] = v.dc_offset_only;
    json["eq_mode"] = v.eq_mode;
    json["bands"] = v.bands;
    json["preamp_left"] = v.preamp_left;
    json["preamp_right"] = v.preamp_right;
    json["name"] = setting.name;
    json["preset"] = setting.preset;
    json["noise_file"] = setting.extra;
    return json;
}

int List(CommandContext& context, const FilterArguments& arguments) {
    OpenSide side;
    if (int code = OpenTheSide(context, arguments, Access::Read, side)) return code;
    context.result["filters"] = Json::array();
    Table table({Table::Align::Right});
    int number = 0;
    for (const FilterSetting& setting : side.entry->decided.filters) {
        context.result["filters"].push_back(FilterJson(*side.entry, setting));
        table.Add({std::to_string(++number), RangeText(*side.entry, setting), FilterText(setting)});
    }
    context.Text(table.Empty() ? "No filters\n" : table.Text());
    const FileHistoryEntry& entry = *side.entry;
    context.result["view_position"] = {entry.decided.noise_stretch.start, entry.decided.noise_stretch.end};
    if (entry.decided.noise_stretch.start < entry.decided.noise_stretch.end) {
        auto Clock = [&](int64_t position) {
            return ClockText(to_ticks(entry.SampleRate(), entry.decided.cuts.ToEdited(position)));
        };
        context.Line("Noise sample: {} - {}", Clock(entry.decided.noise_stretch.start),
                     Clock(entry.decided.noise_stretch.end));
    }
    return CLI_DONE;
}

// Puts the question that is due.
Outcome EditAsking(CommandContext& context, FileHistoryEntry& entry, const SettingsEdit<FilterSetting>& edit) {
    Outcome done = EditSettings(entry, edit);
    if (!done.Is(Kind::NeedsAnswer)) return done;
    return context.Agreed(done) ? EditSettings(entry, edit, Answered::Yes) : Outcome::Cancelled();
}

int Add(CommandContext& context, const FilterArguments& arguments) {
    OpenSide side;
    if (int code = OpenTheSide(context, arguments, Access::Change, side)) return code;
    int64_t start = 0, end = 0;
    if (int code = RangeOf(context, arguments, side, start, end)) return code;
    FilterSetting setting;
    if (!arguments.preset.empty() && !FindPreset(arguments.preset, setting)) {
        return context.Usage(fmt::format("There is no preset \"{}\" (see \"preset list\")", arguments.preset));
    }
    if (arguments.preset.empty() && arguments.values.empty()) {
        return context.Usage(fmt::format("Say what it does, or give a --preset: {}", kFilterKeys));
    }
    NoiseStretch noise;
    if (int code = SetFilterValues(context, arguments.values, setting, side.entry, &noise)) return code;
    SetRange(setting, *side.entry, start, end);
    if (noise.end > 0) {
        if (Outcome done = DefineNoiseSample(*side.entry, noise.start, noise.end); !done) return context.End(done);
    }
    if (Outcome done = EditAsking(context, *side.entry, AddSetting(setting)); !done) return context.End(done);
    const FilterSetting& added = *side.entry->decided.filters.Last();
    context.result["filter"] = FilterJson(*side.entry, added);
    context.Line("{}: {}", RangeText(*side.entry, added), FilterText(added));
    if (added.values.hiss_mode == FILTER_ON && LacksNoiseSample(*side.entry)) {
        context.Line("The hiss filter needs a noise sample: give noise=START,END of a stretch without music.");
    }
    return context.Save();
}

int Remove(CommandContext& context, const FilterArguments& arguments) {
    OpenSide side;
    if (int code = OpenTheSide(context, arguments, Access::Change, side)) return code;
    int code = CLI_DONE;
    if (!FindNumbered(context, side.entry->decided.filters, arguments.number, "filter", code)) return code;
    const Outcome removed = EditAsking(context, *side.entry, RemoveSetting<FilterSetting>(arguments.number - 1));
    return removed ? context.Save() : context.End(removed);
}

// Keeps the noise of a stretch, or of the one that is set, for other recordings.
int Noise(CommandContext& context, const FilterArguments& arguments) {
    OpenSide side;
    if (int code = OpenTheSide(context, arguments, Access::Read, side)) return code;
    int64_t start = 0, end = 0;
    if (int code = RangeOf(context, arguments, side, start, end)) return code;
    if (ExtensionOf(arguments.noise_file) != ".vns")
        return context.Usage("The name of a noise sample file ends in .vns");
    const FileHistoryEntry& entry = *side.entry;
    const bool given = start < end;
    start = given ? entry.decided.cuts.ToAbsolute(start) : entry.decided.noise_stretch.start;
    end = given ? entry.decided.cuts.ToAbsolute(end) : entry.decided.noise_stretch.end;
    if (start >= end) return context.Usage("The side has no noise sample yet: give --from and --to");
    NoiseSample noise(entry.SampleRate());
    const std::string path = AbsolutePath(arguments.noise_file);
    if (MeasureRecordingNoise(*side.entry, start, end, noise) < 0 || WriteNoiseFile(path, noise) < 0) {
        return context.FailLastError();
    }
    context.result["file"] = path;
    context.result["absolute_start_time"] = start;
    context.result["absolute_end_time"] = end;
    context.Line("{}: the noise of {:.1f} s", path, static_cast<double>(end - start) / entry.SampleRate());
    return CLI_DONE;
}

}  // namespace

void AddFilterCommands(CommandTree& tree) {
    CLI::App* group = tree.AddGroup("filter", "hum, rumble, hiss and equaliser settings of a side");
    auto arguments = std::make_shared<FilterArguments>();
    CLI::App* list = tree.AddCommand(group, "list", "the settings, in the order in which they apply",
                                     "filter list records.mcf 1 --side 1",
                                     [arguments](CommandContext& context) { return List(context, *arguments); });
    AddSideArguments(list, *arguments);
    CLI::App* add = tree.AddCommand(group, "add", std::string("add a setting: ") + kFilterKeys,
                                    "filter add records.mcf 1 --side 1 hum=50 rumble=on hiss=4 noise=0:01,0:03",
                                    [arguments](CommandContext& context) { return Add(context, *arguments); });
    AddSideArguments(add, *arguments);
    AddRangeArguments(add, *arguments, false);
    add->add_option("--preset", arguments->preset, "a setting kept under a name; what is given besides changes it")
        ->option_text("NAME");
    add->add_option("KEY=VALUE", arguments->values, "what it does")->option_text(" ");
    CLI::App* remove = tree.AddCommand(group, "remove", "remove a setting", "filter remove records.mcf 1 2 --side 1",
                                       [arguments](CommandContext& context) { return Remove(context, *arguments); });
    AddSideArguments(remove, *arguments);
    NumberArgument(remove, "NUMBER", arguments->number, "its number in the list")->required();
    CLI::App* noise = tree.AddCommand(group, "noise", "write the noise of a stretch without music to a file",
                                      "filter noise records.mcf 1 quiet.vns --side 1 --from 0:01 --to 0:03",
                                      [arguments](CommandContext& context) { return Noise(context, *arguments); });
    AddSideArguments(noise, *arguments);
    AddRangeArguments(noise, *arguments, false);
    noise->add_option("FILE", arguments->noise_file, "the file, .vns")->required()->option_text(" ");
}

}  // namespace Orvane
