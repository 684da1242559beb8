#include "cli/side.h"

#include "cleanup/edit/editaccess.h"
#include "cli/model_view.h"
#include "cli/texts.h"

using namespace Foundation;

namespace Orvane {

void AddSideArguments(CLI::App* command, SideArguments& arguments) {
    CollectionArgument(command, arguments.collection);
    NumberArgument(command, "ALBUM", arguments.album, "its number in the album list")->required();
    NumberArgument(command, "--side", arguments.side, "the side, from 1")->required();
}

void AddRangeArguments(CLI::App* command, SideArguments& arguments, bool required) {
    TimeOption(command, "--from", arguments.from, "where it begins on the side")->required(required);
    TimeOption(command, "--to", arguments.to, "where it ends")->required(required);
}

CLI::Option* ChannelsOption(CLI::App* command, const std::string& name, int& channels, const std::string& description) {
    auto read = [&channels](const std::string& text) {
        channels = 0;
        for (const char c : text) {
            const int channel = c == 'l' || c == '0' ? CHANNEL_LEFT : c == 'r' || c == '1' ? CHANNEL_RIGHT : 0;
            if (!channel) throw CLI::ValidationError("\"" + text + "\" names no channel: l or 0, r or 1, lr");
            channels |= channel;
        }
    };
    return command->add_option_function<std::string>(name, read, description)->option_text("l|r|lr");
}

int OpenTheSide(CommandContext& context, const SideArguments& arguments, Access access, OpenSide& side) {
    if (int code = context.Open(arguments.collection, access)) return code;
    if (int code = context.FindAlbum(arguments.album, side.album)) return code;
    const Result<SideInUse> found = FindSide(*side.album, arguments.side);
    if (!found) return context.End(found.GetOutcome());
    side.entry = found->entry;
    side.total = found->total;
    return CLI_DONE;
}

int RangeOf(CommandContext& context, const SideArguments& arguments, const OpenSide& side, int64_t& start,
            int64_t& end) {
    const Result<FrameRange> range = RangeOnSide({side.entry, side.total}, arguments.from, arguments.to);
    start = range ? range->start : 0;
    end = range ? range->end : 0;
    return context.End(range.GetOutcome());
}

void SetRange(BaseCorrection& correction, const FileHistoryEntry& entry, int64_t start, int64_t end) {
    correction.start_time = start;
    correction.end_time = end;
    if (start == 0 && end == 0) return;
    correction.absolute_start_time = entry.decided.cuts.ToAbsolute(start);
    correction.absolute_end_time = entry.decided.cuts.ToAbsolute(end);
}

std::string RangeText(const FileHistoryEntry& entry, const BaseCorrection& correction) {
    if (correction.start_time == 0 && correction.end_time == 0) return "all of it";
    const int32_t rate = entry.SampleRate();
    return ClockText(to_ticks(rate, correction.start_time)) + " - " + ClockText(to_ticks(rate, correction.end_time));
}

Json RangeJson(const FileHistoryEntry& entry, const BaseCorrection& correction) {
    const int32_t rate = entry.SampleRate();
    return {{"start_time", correction.start_time},
            {"end_time", correction.end_time},
            {"absolute_start_time", correction.absolute_start_time},
            {"absolute_end_time", correction.absolute_end_time},
            {"start_seconds", Seconds(to_ticks(rate, correction.start_time))},
            {"end_seconds", Seconds(to_ticks(rate, correction.end_time))}};
}

}  // namespace Orvane
