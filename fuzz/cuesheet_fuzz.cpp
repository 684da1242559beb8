// Cue sheets: whatever the bytes, tracks that are read are in order, and written they are read as the same.
#include "save/cuesheet_reader.h"

#include "foundation/assert.h"

using namespace Foundation;
using namespace Orvane;

namespace {

// Reads a sheet over files of ten minutes each: its own, or with `is_ours` those that it has been written with.
bool Read(std::string_view bytes, bool is_ours, CueSheet& sheet, std::vector<CueFile>& files, CueTracks& tracks) {
    const auto reader = ReadTextFrom(bytes, Encoding::Detect, NotUtf8::Windows1252);
    Result<CueSheet> read = ParseCueSheet(*reader, "/music/sheet.cue");
    ORVANE_ASSERT(read || !read.GetOutcome().Text().empty());
    if (!read) return false;
    sheet = std::move(*read);
    std::vector<CueFile> named;
    for (const CueSheet::File& file : sheet.files) {
        const int64_t start = static_cast<int64_t>(named.size()) * 600 * kTicksPerSecond;
        named.push_back({file.path, start, start + 600 * kTicksPerSecond});
    }
    if (files.empty()) files = named;
    // Written again, a file in which no track starts is left out and the others keep their numbers.
    for (size_t i = 0; i < named.size(); ++i) {
        const size_t number = std::max<size_t>(1, static_cast<size_t>(sheet.files[i].number));
        if (is_ours) named[i] = files[std::min(number, files.size()) - 1];
    }
    Result<CueTracks> placed = PlaceCueTracks(sheet, named, CueTracks());
    ORVANE_ASSERT(placed || !placed.GetOutcome().Text().empty());
    if (!placed) return false;
    tracks = std::move(*placed);
    return true;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    CueSheet sheet;
    std::vector<CueFile> files;
    CueTracks tracks;
    if (!Read({reinterpret_cast<const char*>(data), size}, false, sheet, files, tracks)) return 0;
    int64_t end = 0;
    for (const ALBUMTRACK& track : tracks) {
        ORVANE_ASSERT(track.start >= end && track.end >= track.start);
        ORVANE_ASSERT(track.fade_in >= 0 && track.fade_out >= 0);
        end = track.end;
    }

    AlbumInfo album;
    TakeCueTexts(sheet.details, album);
    album.tracks = tracks;
    CueSheet sheet_again;
    CueTracks again;
    ORVANE_ASSERT(Read(CueSheetText(album, files, {}), true, sheet_again, files, again));
    ORVANE_ASSERT(again.size() == tracks.size());
    for (int i = 0; i < tracks.size(); ++i) {
        ORVANE_ASSERT(again[i].end == tracks[i].end && again[i].IsEmpty() == tracks[i].IsEmpty());
        ORVANE_ASSERT(std::abs(again[i].start - tracks[i].start) < 588);
        ORVANE_ASSERT(again[i].FadeIn() == tracks[i].FadeIn() && again[i].FadeOut() == tracks[i].FadeOut());
    }
    return 0;
}
