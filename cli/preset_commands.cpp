// Settings kept under a name for other recordings.
#include "cleanup/filter/curvefile.h"
#include "cleanup/filter/presets.h"
#include "cli/cleanup_values.h"
#include "cli/declick.h"
#include "cli/parsing.h"
#include "cli/texts.h"
#include "foundation/lasterror.h"

namespace Orvane {
namespace {

struct PresetArguments : ScanArguments {
    std::string kind;
    std::string name;
    std::vector<std::string> values;
    std::string source;
    bool replace = false;
};

std::string TextOf(const ScanSettings& s) {
    return fmt::format("sensitivity {}, percussion {}, brass {}, passes {}, channels {}{}{}{}", s.sensitivity,
                       s.percussion_protection, s.brass_protection, s.passes, s.channels & 1 ? "l" : "",
                       s.channels & 2 ? "r" : "", s.options & SCAN_KEEP_PREVIOUS ? ", keep scans" : "",
                       s.options & SCAN_EQUALISE ? ", equalise" : "");
}

std::string TextOf(const FilterSetting& setting) {
    return FilterText(setting);
}

std::string TextOf(const FFTEq& eq) {
    return CountText(static_cast<int64_t>(eq.curve.points.size()), "point");
}

template <class T>
void ListKind(CommandContext& context, const PresetArguments& arguments, const char* kind, Table& table) {
    if (!arguments.kind.empty() && arguments.kind != kind) return;
    for (const Preset<T>& preset : ListPresets<T>()) {
        const std::string text = TextOf(preset.settings);
        context.result["presets"].push_back(
            {{"kind", kind}, {"name", preset.name}, {"fixed", preset.fixed}, {"settings", text}});
        table.Add({kind, preset.name, text});
    }
}

int List(CommandContext& context, const PresetArguments& arguments) {
    context.result["presets"] = Json::array();
    Table table;
    ListKind<ScanSettings>(context, arguments, "scan", table);
    ListKind<FilterSetting>(context, arguments, "filter", table);
    ListKind<FFTEq>(context, arguments, "curve", table);
    context.Text(table.Empty() ? "No presets\n" : table.Text());
    return CLI_DONE;
}

template <class T>
int Keep(CommandContext& context, const PresetArguments& arguments, const T& settings) {
    if (!SavePreset(arguments.name, settings)) return context.FailLastError();
    context.result["name"] = arguments.name;
    context.Line("{}: {}", arguments.name, TextOf(settings));
    return CLI_DONE;
}

int KeepScan(CommandContext& context, const PresetArguments& arguments) {
    ScanSettings settings;
    if (int code = ReadScanSettings(context, arguments, settings)) return code;
    return Keep(context, arguments, settings);
}

int KeepFilter(CommandContext& context, const PresetArguments& arguments) {
    FilterSetting setting;
    if (int code = SetFilterValues(context, arguments.values, setting, nullptr, nullptr)) return code;
    return Keep(context, arguments, setting);
}

int KeepCurve(CommandContext& context, const PresetArguments& arguments) {
    FFTEq eq;
    if (int code = FindCurve(context, arguments.source, eq)) return code;
    return Keep(context, arguments, eq);
}

// Every curve of an equaliser's preset file, under its own name.
int Import(CommandContext& context, const PresetArguments& arguments) {
    const std::vector<FFTCurve> curves = ReadCurveFile(arguments.source);
    if (curves.empty()) return context.FailLastError();
    context.result["imported"] = Json::array();
    context.result["kept"] = Json::array();
    for (const FFTCurve& curve : curves) {
        FFTEq eq;
        if (!arguments.replace && FindPreset(curve.name, eq)) {
            context.result["kept"].push_back(curve.name);
            context.Line("{}: there is one of that name already (--replace takes its place)", curve.name);
            continue;
        }
        eq.curve = curve;
        if (!SavePreset(curve.name, eq)) return context.FailLastError();
        context.result["imported"].push_back(curve.name);
        context.Line("{}: {}", curve.name, TextOf(eq));
    }
    return CLI_DONE;
}

int Remove(CommandContext& context, const PresetArguments& arguments) {
    const bool removed = arguments.kind == "scan"     ? RemovePreset<ScanSettings>(arguments.name)
                         : arguments.kind == "filter" ? RemovePreset<FilterSetting>(arguments.name)
                                                      : RemovePreset<FFTEq>(arguments.name);
    return removed ? CLI_DONE : context.FailLastError();
}

}  // namespace

void AddPresetCommands(CommandTree& tree) {
    CLI::App* group = tree.AddGroup("preset", "cleanup settings kept under a name for other recordings");
    auto arguments = std::make_shared<PresetArguments>();
    auto Command = [&](const char* name, const char* description, const char* example,
                       int (*run)(CommandContext&, const PresetArguments&)) {
        return tree.AddCommand(group, name, description, example,
                               [arguments, run](CommandContext& context) { return run(context, *arguments); });
    };
    auto Kind = [&](CLI::App* command) {
        return command->add_option("KIND", arguments->kind, "scan, filter or curve")
            ->transform(OneOf({"scan", "filter", "curve"}))
            ->option_text(" ");
    };
    auto Name = [&](CLI::App* command) {
        command->add_option("NAME", arguments->name, "what it is called")->required()->option_text(" ");
    };
    Kind(Command("list", "the presets that there are", "preset list curve", List));
    CLI::App* scan =
        Command("scan", "keep the settings of a click scan", "preset scan Jazz --percussion 4 --passes 2", KeepScan);
    Name(scan);
    AddScanOptions(scan, *arguments);
    CLI::App* filter = Command("filter", "keep a filter setting", "preset filter Cellar hum=50 rumble=on", KeepFilter);
    Name(filter);
    filter->add_option("KEY=VALUE", arguments->values, kFilterKeys)->required()->option_text(" ");
    CLI::App* curve = Command("curve", "keep an equalisation curve", "preset curve \"My 78s\" curves.xml", KeepCurve);
    Name(curve);
    curve->add_option("CURVE", arguments->source, "a name, or a preset file of an equaliser")
        ->required()
        ->option_text(" ");
    CLI::App* import = Command("import", "keep every curve of an equaliser's preset file under its own name",
                               "preset import curves.xml", Import);
    import->add_option("FILE", arguments->source, "the file, XML")->required()->option_text(" ");
    import->add_flag("--replace", arguments->replace, "take the place of presets of the same names");
    CLI::App* remove = Command("remove", "remove a preset", "preset remove scan Jazz", Remove);
    Kind(remove)->required();
    Name(remove);
}

}  // namespace Orvane
