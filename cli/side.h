// The side that a command works on, and the commands' times on it.
#pragma once

#include "cli/commands.h"
#include "cli/texts.h"

namespace Orvane {

// What every command on one side takes.
struct SideArguments {
    std::string collection;
    int album = 0;
    int side = 0;
    int64_t from = -1;  // ticks on the side's own time line, its cuts taken out; -1: not given
    int64_t to = -1;
};

void AddSideArguments(CLI::App* command, SideArguments& arguments);
void AddRangeArguments(CLI::App* command, SideArguments& arguments, bool required);
// An option for channels, as bits: l or 0, r or 1, lr.
CLI::Option* ChannelsOption(CLI::App* command, const std::string& name, int& channels, const std::string& description);

// A side's recording, known by its length and rate, in an open collection.
struct OpenSide {
    AlbumInfo* album = nullptr;
    FileHistoryEntry* entry = nullptr;
    int64_t total = 0;  // frames, with its cuts taken out
};
int OpenTheSide(CommandContext& context, const SideArguments& arguments, Access access, OpenSide& side);

// The range in frames of the side's time line; without one it is 0 to 0, the whole recording.
int RangeOf(CommandContext& context, const SideArguments& arguments, const OpenSide& side, int64_t& start,
            int64_t& end);

// Gives a setting its range on both time lines.
void SetRange(BaseCorrection& correction, const FileHistoryEntry& entry, int64_t start, int64_t end);

// "0:10 - 0:20.5" of a correction's edited times, or "all of it".
std::string RangeText(const FileHistoryEntry& entry, const BaseCorrection& correction);
Json RangeJson(const FileHistoryEntry& entry, const BaseCorrection& correction);

// The entry of a list by its number, from 1; null and noted when there is none.
template <class T>
T* FindNumbered(CommandContext& context, const Foundation::LinkedList<T>& list, int number, const char* what,
                int& code) {
    int i = 0;
    for (T& e : list) {
        if (++i == number) return &e;
    }
    code = context.Fail(fmt::format("The side has {}; there is no number {}", CountText(i, what), number));
    return nullptr;
}

}  // namespace Orvane
