#include "app/session/lookup.h"

#include <fmt/format.h>

#include <algorithm>

#include "app/texts.h"
#include "collection/recordingplaces.h"
#include "collection/tracktime.h"

using namespace Foundation;

namespace Orvane {
namespace {

Outcome Missing(std::string text) {
    return Outcome::FailText(Kind::Refused, std::move(text));
}

}  // namespace

Result<AlbumInfo*> FindAlbum(const AlbumSet& set, int number) {
    int position = 0;
    for (AlbumInfo& album : set.albums) {
        if (++position == number) return &album;
    }
    return Missing(
        fmt::format("There is no album {} in {}: it has {}", number, set.path, CountText(position, "album")));
}

Result<int> FindTrack(const AlbumInfo& album, int number) {
    if (number >= 1 && number <= album.tracks.size()) return number - 1;
    return Missing(fmt::format("There is no track {} in {}: it has {}", number, AlbumName(album),
                               CountText(album.tracks.size(), "track")));
}

Result<FileHistoryEntry*> FindRecording(const AlbumInfo& album, int side) {
    const bool there = side >= 1 && side <= album.sides.size() && album.sides[side - 1];
    FileHistoryEntry* entry = there ? album.sides[side - 1]->newest : nullptr;
    if (entry) return entry;
    return Missing(fmt::format("Side {} of {} has no recording", side, AlbumName(album)));
}

int NumberOf(const AlbumInfo& album) {
    int number = 0;
    for (const AlbumInfo& candidate : album.set->albums) {
        ++number;
        if (&candidate == &album) return number;
    }
    return 0;
}

std::string AlbumName(const AlbumInfo& album) {
    return fmt::format("album {} ({} - {})", NumberOf(album), album.artist, album.title);
}

Result<SideInUse> FindSide(AlbumInfo& album, int side) {
    Result<FileHistoryEntry*> found = FindRecording(album, side);
    if (!found) return found.GetOutcome();
    PlaceRecordings(album);
    FileHistoryEntry* entry = *found;
    if (entry->TotalSamples() <= 0) return Outcome::Fail(Kind::CannotOpen, Msg::CannotFindFile, entry->GetPath());
    return SideInUse{entry, entry->TotalSamples() - entry->decided.cuts.TotalLength()};
}

Result<FrameRange> RangeOnSide(const SideInUse& side, int64_t from, int64_t to) {
    if (from < 0 && to < 0) return FrameRange{};
    const int32_t rate = side.entry->SampleRate();
    const int64_t start = from < 0 ? 0 : to_samples(rate, from);
    const int64_t end = to < 0 ? side.total : std::min(side.total, to_samples(rate, to));
    if (start < end) return FrameRange{start, end};
    return Outcome::FailText(Kind::WrongOptions, fmt::format("The range is empty: the side ends at {}",
                                                             ClockText(to_ticks(rate, side.total))));
}

}  // namespace Orvane
