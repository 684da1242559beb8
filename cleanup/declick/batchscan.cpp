#include "cleanup/declick/batchscan.h"

#include <algorithm>
#include <numeric>

#include "collection/dataobjects.h"
#include "foundation/messages.h"
#include "foundation/progress.h"

using namespace Foundation;

namespace Orvane {
namespace {

constexpr int kWholeBar = 1000;

// What a scan of the side takes, in arbitrary units: an idea of the time, so that what is left can be told.
double Weight(const FileHistoryEntry& entry, const ScanSettings& settings, bool only_if_new) {
    if (only_if_new && ScannedBefore(entry, settings)) return 0;
    return static_cast<double>(entry.TotalSamples()) / entry.SampleRate();
}

// The place of each side's album among the albums, from 1; the last is their number.
std::vector<int> AlbumNumbers(std::span<const SideToScan> sides) {
    std::vector<int> numbers;
    for (size_t i = 0; i < sides.size(); ++i) {
        const bool same = i > 0 && sides[i].entry->album == sides[i - 1].entry->album;
        numbers.push_back(i == 0 ? 1 : numbers.back() + (same ? 0 : 1));
    }
    return numbers;
}

}  // namespace

std::vector<ScannedSide> ScanSides(std::span<const SideToScan> sides, const ScanSettings& settings, bool only_if_new) {
    std::vector<ScannedSide> scanned;
    const std::vector<int> albums = AlbumNumbers(sides);
    std::vector<double> weights;
    for (const SideToScan& side : sides) weights.push_back(Weight(*side.entry, settings, only_if_new));
    const double all = std::max(1e-9, std::accumulate(weights.begin(), weights.end(), 0.0));

    ScanRequest request;
    request.settings = settings;
    request.settings.options |= SCAN_BATCH | (only_if_new ? SCAN_BATCH_IF_NEW : 0);
    double done = 0;
    for (size_t i = 0; i < sides.size(); ++i) {
        const AlbumInfo& album = *sides[i].entry->album;
        Progress::Log(FormatMsg(Msg::ScanningSide, album.artist, album.title, albums[i], albums.back(), sides[i].side));
        request.progress_base = static_cast<int>(done / all * kWholeBar);
        request.progress_range = static_cast<int>(weights[i] / all * kWholeBar);
        ScanResult result = ScanForClicks(*sides[i].entry, request);
        const bool cancelled = result.outcome.Is(Kind::Cancelled) || Progress::Cancelled();
        if (!result.outcome && !result.outcome.Is(Kind::Cancelled)) {
            Progress::Log("\n<fg color=#ff0000>" + result.outcome.Text() + "</fg>\n");
        }
        scanned.push_back({sides[i], std::move(result)});
        done += weights[i];
        if (cancelled) {
            Progress::Log(FormatMsg(Msg::Cancelled) + "\n");
            break;
        }
    }
    return scanned;
}

}  // namespace Orvane
