#include <algorithm>

#include "cli/side.h"
#include "cli/texts.h"
#include "collection/listchange.h"
#include "foundation/path.h"
#include "foundation/text.h"

namespace Orvane {
namespace {

struct FilterArguments : SideArguments {
    std::vector<std::string> values;
    int number = 0;
};

// A whole number within limits, or false.
bool ReadNumber(std::string_view text, int low, int high, int32_t& value) {
    if (text.empty() || text.find_first_not_of("0123456789", text[0] == '-') != text.npos) return false;
    const int64_t number = ParseInt(text[0] == '-' ? text.substr(1) : text) * (text[0] == '-' ? -1 : 1);
    if (number < low || number > high) return false;
    value = static_cast<int32_t>(number);
    return true;
}

constexpr const char* kKeys =
    "hum=50|60|off, harmonics=0|1, rumble=on|dc|off, hiss=0..8|off, quality=0..4, noise=START,END|FILE.vns, "
    "eq=B1,...,B10|off (steps of -12 to 12), preamp=LEFT,RIGHT (tenths of a dB)";

// One "key=value" into a setting, and for noise=START,END into the recording; false when it is none.
bool SetFilterValue(std::string_view key, std::string_view value, FilterSetting& setting, FileHistoryEntry& entry) {
    FilterValues& v = setting.values;
    const bool off = value == "off";
    if (key == "hum") {
        v.hum_mode = off ? FILTER_OFF : FILTER_ON;
        return off || ReadNumber(value, 1, 1000, v.mains_frequency);
    }
    if (key == "harmonics") return ReadNumber(value, 0, 1, v.filter_harmonics);
    if (key == "rumble") {
        v.rumble_mode = off ? FILTER_OFF : FILTER_ON;
        v.dc_offset_only = value == "dc" ? 1 : 0;
        return off || value == "on" || value == "dc";
    }
    if (key == "hiss") {
        v.hiss_mode = off ? FILTER_OFF : FILTER_ON;
        return off || ReadNumber(value, 0, 8, v.hiss_reduction);
    }
    if (key == "quality") return ReadNumber(value, 0, 4, v.hiss_quality);
    const std::vector<std::string_view> parts = Split(value, ',');
    if (key == "noise") {
        if (ExtensionOf(value) == ".vns") {
            setting.extra = AbsolutePath(value);
            return FileExists(setting.extra);
        }
        int64_t start = 0, end = 0;
        if (parts.size() != 2 || !ParseTimeArgument(parts[0], start) || !ParseTimeArgument(parts[1], end) || start >= end) return false;
        entry.view_position[0] = entry.cuts.ToAbsolute(to_samples(entry.SampleRate(), start));
        entry.view_position[1] = entry.cuts.ToAbsolute(to_samples(entry.SampleRate(), end));
        entry.noise_sample_changed = true;
        return true;
    }
    if (key == "eq") {
        v.eq_mode = off ? FILTER_OFF : FILTER_ON;
        if (off) return true;
        if (parts.size() != v.bands.size()) return false;
        for (size_t i = 0; i < parts.size(); ++i) {
            if (!ReadNumber(Trim(parts[i]), -12, 12, v.bands[i])) return false;
        }
        return true;
    }
    if (key == "preamp") {
        v.eq_mode = FILTER_ON;
        return parts.size() == 2 && ReadNumber(Trim(parts[0]), -300, 300, v.preamp_left) &&
               ReadNumber(Trim(parts[1]), -300, 300, v.preamp_right);
    }
    return false;
}

std::string ModeText(int32_t mode, const std::string& on) {
    return mode == FILTER_ON ? on : mode == FILTER_OFF ? "off" : "";
}

// What a setting does, in the words that made it.
std::string FilterText(const FilterValues& v) {
    std::string text;
    auto Add = [&](const char* key, const std::string& value) {
        if (!value.empty()) text += (text.empty() ? "" : " ") + std::string(key) + "=" + value;
    };
    Add("hum", ModeText(v.hum_mode, v.mains_frequency > 0 ? std::to_string(v.mains_frequency) : "on"));
    if (v.hum_mode == FILTER_ON && v.filter_harmonics >= 0) Add("harmonics", std::to_string(v.filter_harmonics));
    Add("rumble", ModeText(v.rumble_mode, v.dc_offset_only > 0 ? "dc" : "on"));
    Add("hiss", ModeText(v.hiss_mode, std::to_string(v.hiss_reduction)));
    if (v.hiss_mode == FILTER_ON) Add("quality", std::to_string(v.hiss_quality));
    std::string bands;
    for (int32_t band : v.bands) bands += (bands.empty() ? "" : ",") + std::to_string(band);
    Add("eq", ModeText(v.eq_mode, bands));
    if (v.preamp_left || v.preamp_right) Add("preamp", fmt::format("{},{}", v.preamp_left, v.preamp_right));
    return text;
}

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
    json["noise_file"] = setting.extra;
    return json;
}

int List(CommandContext& context, const FilterArguments& arguments) {
    OpenSide side;
    if (int code = OpenTheSide(context, arguments, Access::Read, side)) return code;
    context.result["filters"] = Json::array();
    Table table({Table::Align::Right});
    int number = 0;
    for (const FilterSetting& setting : side.entry->filters) {
        context.result["filters"].push_back(FilterJson(*side.entry, setting));
        table.Add({std::to_string(++number), RangeText(*side.entry, setting), FilterText(setting.values)});
    }
    context.Text(table.Empty() ? "No filters\n" : table.Text());
    return CLI_DONE;
}

int Add(CommandContext& context, const FilterArguments& arguments) {
    OpenSide side;
    if (int code = OpenTheSide(context, arguments, Access::Change, side)) return code;
    int64_t start = 0, end = 0;
    if (int code = RangeOf(context, arguments, side, start, end)) return code;
    auto setting = std::make_unique<FilterSetting>();
    for (const std::string& assignment : arguments.values) {
        const size_t equals = assignment.find('=');
        if (equals == std::string::npos ||
            !SetFilterValue(std::string_view(assignment).substr(0, equals), std::string_view(assignment).substr(equals + 1), *setting, *side.entry)) {
            return context.Usage(fmt::format("\"{}\" is no filter setting; there are {}", assignment, kKeys));
        }
    }
    SetRange(*setting, *side.entry, start, end);
    {
        ListChange change(&side.entry->filters);
        side.entry->filters.Append(setting.release());
    }
    side.entry->flags |= FHE_CORRECTIONS_CHANGED;
    MarkDirty();
    const FilterSetting& added = *side.entry->filters.Last();
    context.result["filter"] = FilterJson(*side.entry, added);
    context.Line("{}: {}", RangeText(*side.entry, added), FilterText(added.values));
    if (added.values.hiss_mode == FILTER_ON && added.extra.empty() && side.entry->view_position[0] == side.entry->view_position[1]) {
        context.Line("The hiss filter needs a noise sample: give noise=START,END of a stretch without music.");
    }
    return context.Save();
}

int Remove(CommandContext& context, const FilterArguments& arguments) {
    OpenSide side;
    if (int code = OpenTheSide(context, arguments, Access::Change, side)) return code;
    int code = CLI_DONE;
    FilterSetting* setting = FindNumbered(context, side.entry->filters, arguments.number, "filter", code);
    if (!setting) return code;
    {
        ListChange change(&side.entry->filters);
        side.entry->filters.Delete(setting);
    }
    side.entry->flags |= FHE_CORRECTIONS_CHANGED;
    MarkDirty();
    return context.Save();
}

}  // namespace

void AddFilterCommands(CommandTree& tree) {
    CLI::App* group = tree.AddGroup("filter", "hum, rumble, hiss and equaliser settings of a side");
    auto arguments = std::make_shared<FilterArguments>();
    CLI::App* list = tree.AddCommand(group, "list", "the settings, in the order in which they apply", "filter list records.mcf 1 --side 1",
                                     [arguments](CommandContext& context) { return List(context, *arguments); });
    AddSideArguments(list, *arguments);
    CLI::App* add = tree.AddCommand(group, "add", std::string("add a setting: ") + kKeys,
                                    "filter add records.mcf 1 --side 1 hum=50 rumble=on hiss=4 noise=0:01,0:03",
                                    [arguments](CommandContext& context) { return Add(context, *arguments); });
    AddSideArguments(add, *arguments);
    AddRangeArguments(add, *arguments, false);
    add->add_option("KEY=VALUE", arguments->values, "what it does")->required()->option_text(" ");
    CLI::App* remove = tree.AddCommand(group, "remove", "remove a setting", "filter remove records.mcf 1 2 --side 1",
                                       [arguments](CommandContext& context) { return Remove(context, *arguments); });
    AddSideArguments(remove, *arguments);
    NumberArgument(remove, "NUMBER", arguments->number, "its number in the list")->required();
}

}  // namespace Orvane
