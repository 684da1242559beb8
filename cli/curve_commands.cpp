#include "cleanup/edit/editfilters.h"
#include "cleanup/filter/presets.h"
#include "cleanup/filter/recordeq.h"
#include "cli/cleanup_values.h"
#include "cli/parsing.h"
#include "cli/side.h"
#include "cli/texts.h"
#include "collection/dataobjects.h"

using namespace Foundation;

namespace Orvane {
namespace {

struct CurveArguments : SideArguments {
    std::string source;
    std::string kept;
    int number = 0;
    KeptCurves Kept() const { return kept == "batch" ? KeptCurves::Batch : KeptCurves::Default; }
};

Json CurveJson(const FileHistoryEntry& entry, const FFTEq& eq) {
    Json json = RangeJson(entry, eq);
    json["name"] = eq.name;
    json["preset"] = eq.preset;
    json["enable"] = eq.enable;
    json["gain"] = eq.gain;
    json["points"] = Json::array();
    for (const FFTCurve::Point& point : eq.curve.points) json["points"].push_back({point.freq, point.gain});
    return json;
}

int List(CommandContext& context, const CurveArguments& arguments) {
    OpenSide side;
    if (int code = OpenTheSide(context, arguments, Access::Read, side)) return code;
    context.result["curves"] = Json::array();
    Table table({Table::Align::Right});
    int number = 0;
    for (const FFTEq& eq : side.entry->decided.fft_eqs) {
        context.result["curves"].push_back(CurveJson(*side.entry, eq));
        table.Add({std::to_string(++number), RangeText(*side.entry, eq), eq.name,
                   CountText(static_cast<int64_t>(eq.curve.points.size()), "point")});
    }
    context.Text(table.Empty() ? "No curves\n" : table.Text());
    return CLI_DONE;
}

int Names(CommandContext& context) {
    context.result["names"] = Json::array();
    Table table;
    for (const NamedRecordEq& named : GetNamedRecordEqs()) {
        context.result["names"].push_back({{"name", named.key}, {"title", named.title}});
        table.Add({named.key, named.title});
    }
    context.Text(table.Text());
    return CLI_DONE;
}

int Add(CommandContext& context, const CurveArguments& arguments) {
    OpenSide side;
    if (int code = OpenTheSide(context, arguments, Access::Change, side)) return code;
    int64_t start = 0, end = 0;
    if (int code = RangeOf(context, arguments, side, start, end)) return code;
    if (arguments.source.empty() == arguments.kept.empty())
        return context.Usage("Give a CURVE, or those that are --kept");
    std::vector<FFTEq> curves;
    if (!arguments.kept.empty()) {
        curves = ReadKeptCurves(arguments.Kept());
        if (curves.empty()) return context.Fail("There are no such curves yet (see \"curve keep\")");
    } else {
        FFTEq& eq = curves.emplace_back();
        if (int code = FindCurve(context, arguments.source, eq)) return code;
        eq.enable = side.entry->decided.fft_eqs.empty() ? CURVE_ON : CURVE_ADD;
    }
    context.result["curves"] = Json::array();
    for (FFTEq& eq : curves) {
        SetRange(eq, *side.entry, start, end);
        if (Outcome added = EditSettings(*side.entry, AddSetting(eq)); !added) return context.End(added);
        const FFTEq& added = *side.entry->decided.fft_eqs.Last();
        context.result["curves"].push_back(CurveJson(*side.entry, added));
        context.Line("{}: {}", RangeText(*side.entry, added), added.name);
    }
    context.result["curve"] = context.result["curves"].back();
    return context.Save();
}

// Keeps the curves of a side for others; the collection stays as it is.
int Keep(CommandContext& context, const CurveArguments& arguments) {
    OpenSide side;
    if (int code = OpenTheSide(context, arguments, Access::Read, side)) return code;
    if (!KeepCurves(arguments.Kept(), side.entry->decided.fft_eqs)) return context.FailLastError();
    const int n = side.entry->decided.fft_eqs.size();
    context.result["kept"] = n;
    context.Line("{} kept", CountText(n, "curve"));
    return CLI_DONE;
}

int Remove(CommandContext& context, const CurveArguments& arguments) {
    OpenSide side;
    if (int code = OpenTheSide(context, arguments, Access::Change, side)) return code;
    int code = CLI_DONE;
    if (!FindNumbered(context, side.entry->decided.fft_eqs, arguments.number, "curve", code)) return code;
    const Outcome removed = EditSettings(*side.entry, RemoveSetting<FFTEq>(arguments.number - 1));
    return removed ? context.Save() : context.End(removed);
}

}  // namespace

void AddCurveCommands(CommandTree& tree) {
    CLI::App* group = tree.AddGroup("curve", "equalisation curves of a side");
    auto arguments = std::make_shared<CurveArguments>();
    CLI::App* list = tree.AddCommand(group, "list", "the curves of a side", "curve list records.mcf 1 --side 1",
                                     [arguments](CommandContext& context) { return List(context, *arguments); });
    AddSideArguments(list, *arguments);
    tree.AddCommand(group, "names", "the record equalisations that are known by name", "curve names", Names);
    CLI::App* add = tree.AddCommand(
        group, "add", "add a curve: a known record equalisation, a preset, or the first of an equaliser's preset file",
        "curve add records.mcf 1 riaa --side 1",
        [arguments](CommandContext& context) { return Add(context, *arguments); });
    AddSideArguments(add, *arguments);
    AddRangeArguments(add, *arguments, false);
    add->add_option("CURVE", arguments->source, "riaa or another name, or a file")->option_text(" ");
    auto Kept = [&](CLI::App* command, const char* name, const char* description) {
        return command->add_option(name, arguments->kept, description)
            ->transform(OneOf({"default", "batch"}))
            ->option_text("default|batch");
    };
    Kept(add, "--kept", "all curves of a list that \"curve keep\" has kept");
    CLI::App* keep = tree.AddCommand(group, "keep", "keep the curves of a side, in their order, for other sides",
                                     "curve keep records.mcf 1 --side 1 --as default",
                                     [arguments](CommandContext& context) { return Keep(context, *arguments); });
    AddSideArguments(keep, *arguments);
    Kept(keep, "--as", "the default curves, or those of a batch")->required();
    CLI::App* remove = tree.AddCommand(group, "remove", "remove a curve", "curve remove records.mcf 1 1 --side 1",
                                       [arguments](CommandContext& context) { return Remove(context, *arguments); });
    AddSideArguments(remove, *arguments);
    NumberArgument(remove, "NUMBER", arguments->number, "its number in the list")->required();
}

}  // namespace Orvane
