#include "cleanup/edit/editcuts.h"
#include "cli/parsing.h"
#include "cli/side.h"
#include "cli/texts.h"

using namespace Foundation;

namespace Orvane {
namespace {

struct CutArguments : SideArguments {
    int splice_ms = 5;
    int number = 0;
};

Json CutJson(const FileHistoryEntry& entry, const CutAndSpliceCorrection& cut) {
    Json json = RangeJson(entry, cut);
    json["splice_length"] = cut.splice_length;
    return json;
}

int List(CommandContext& context, const CutArguments& arguments) {
    OpenSide side;
    if (int code = OpenTheSide(context, arguments, Access::Read, side)) return code;
    const int32_t rate = side.entry->SampleRate();
    context.result["cuts"] = Json::array();
    Table table({Table::Align::Right});
    int number = 0;
    for (const CutAndSpliceCorrection& cut : side.entry->decided.cuts) {
        context.result["cuts"].push_back(CutJson(*side.entry, cut));
        table.Add({std::to_string(++number), "at " + FormatTime(to_ticks(rate, cut.start_time)),
                   fmt::format("{:.3f} s", static_cast<double>(cut.Length()) / rate),
                   fmt::format("frames {} to {}", cut.absolute_start_time, cut.absolute_end_time)});
    }
    context.Text(table.Empty() ? "No cuts\n" : table.Text());
    return CLI_DONE;
}

int Add(CommandContext& context, const CutArguments& arguments) {
    OpenSide side;
    if (int code = OpenTheSide(context, arguments, Access::Change, side)) return code;
    int64_t start = 0, end = 0;
    if (int code = RangeOf(context, arguments, side, start, end)) return code;
    if (start == 0 && end == side.total) return context.Usage("The cut would leave nothing of the side");
    if (Outcome done = CutSelection(*side.entry, start, end, arguments.splice_ms); !done) return context.End(done);
    const CutAndSpliceCorrection* made = nullptr;
    for (const CutAndSpliceCorrection& cut : side.entry->decided.cuts) {
        if (cut.start_time <= start) made = &cut;
    }
    const int32_t rate = side.entry->SampleRate();
    context.result["cut"] = CutJson(*side.entry, *made);
    context.Line("Cut at {}: {:.3f} s", FormatTime(to_ticks(rate, made->start_time)),
                 static_cast<double>(made->Length()) / rate);
    return context.Save();
}

int Remove(CommandContext& context, const CutArguments& arguments) {
    OpenSide side;
    if (int code = OpenTheSide(context, arguments, Access::Change, side)) return code;
    int code = CLI_DONE;
    CutAndSpliceCorrection* cut = FindNumbered(context, side.entry->decided.cuts, arguments.number, "cut", code);
    if (!cut) return code;
    const Outcome deleted = DeleteCut(*side.entry, *cut);
    return deleted ? context.Save() : context.End(deleted);
}

}  // namespace

void AddCutCommands(CommandTree& tree) {
    CLI::App* group = tree.AddGroup("cut", "stretches taken out of a side");
    auto arguments = std::make_shared<CutArguments>();
    CLI::App* list = tree.AddCommand(group, "list", "the cuts of a side", "cut list records.mcf 1 --side 1",
                                     [arguments](CommandContext& context) { return List(context, *arguments); });
    AddSideArguments(list, *arguments);
    CLI::App* add = tree.AddCommand(group, "add", "take a stretch out; the file itself stays as it is",
                                    "cut add records.mcf 1 --side 1 --from 12:01 --to 12:04.5 --splice 25",
                                    [arguments](CommandContext& context) { return Add(context, *arguments); });
    AddSideArguments(add, *arguments);
    AddRangeArguments(add, *arguments, true);
    add->add_option("--splice", arguments->splice_ms, "milliseconds over which the two sides are joined")
        ->check(Between(0, 1000))
        ->option_text("MS")
        ->capture_default_str();
    CLI::App* remove = tree.AddCommand(group, "remove", "put a stretch back", "cut remove records.mcf 1 1 --side 1",
                                       [arguments](CommandContext& context) { return Remove(context, *arguments); });
    AddSideArguments(remove, *arguments);
    NumberArgument(remove, "NUMBER", arguments->number, "its number in the list")->required();
}

}  // namespace Orvane
