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
    if (int code = context.FindRecording(*side.album, arguments.side, side.entry)) return code;
    PlaceRecordings(*side.album);
    if (side.entry->TotalSamples() <= 0) return context.Fail("Cannot find file: " + side.entry->GetPath());
    side.total = side.entry->TotalSamples() - side.entry->decided.cuts.TotalLength();
    return CLI_DONE;
}

int RangeOf(CommandContext& context, const SideArguments& arguments, const OpenSide& side, int64_t& start,
            int64_t& end) {
    start = end = 0;
    if (arguments.from < 0 && arguments.to < 0) return CLI_DONE;
    const int32_t rate = side.entry->SampleRate();
    start = arguments.from < 0 ? 0 : to_samples(rate, arguments.from);
    end = arguments.to < 0 ? side.total : std::min(side.total, to_samples(rate, arguments.to));
    if (start >= end)
        return context.Usage(
            fmt::format("The range is empty: the side ends at {}", ClockText(to_ticks(rate, side.total))));
    return CLI_DONE;
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
