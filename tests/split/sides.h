// Albums whose recordings are nothing but a level overview, for tests of the scan.
#pragma once

#include <algorithm>
#include <vector>

#include "split/splitdialog.h"

namespace Orvane {

struct Stretch {
    double seconds;
    int level;  // the overview's byte, 0 to 254
};

class LevelAlbum {
public:
    // Adds a side; a last partial block counts from half a block on.
    FileHistoryEntry& AddSide(const std::vector<Stretch>& stretches, int32_t rate = kTicksPerSecond) {
        double seconds = 0;
        for (const Stretch& stretch : stretches) seconds += stretch.seconds;
        const std::span<uint8_t> bytes = overview.AddRecording(static_cast<int64_t>(seconds * rate), rate);
        double end = 0;
        size_t at = 0;
        for (const Stretch& stretch : stretches) {
            end += stretch.seconds;
            const auto until = std::min(bytes.size(), static_cast<size_t>(end * rate / overview.block + 0.5));
            for (; at < until; ++at) bytes[at] = static_cast<uint8_t>(stretch.level);
        }
        AlbumSide* side = album.GetSide(-1, true);
        RefPtr<FileHistoryEntry> entry(new FileHistoryEntry(&album, side));
        entry->samplerate = rate;
        side->AddRecording(entry);
        return *entry;
    }

    AlbumInfo album;
    WaveformOverview overview;
};

}  // namespace Orvane
