// Finds where tracks begin and end in the level overview of an album's recordings, without reading a sample.
#pragma once

#include <array>

#include "split/cuttimeline.h"
#include "split/trackbreaks.h"

namespace Orvane {

// Levels are those of the overview: byte * 4 + 1, 1 to 1021. Lengths are ticks of 1/44100 s.
struct BreakScanSettings {
    int start_level = 50;  // music begins at it: "Scan Start Level"
    int end_level = 30;    // music has ended below it: "Scan End Level"
    int64_t minimum_gap =
        15 * Foundation::kTicksPerSecond / 10;                 // a shorter quiet stretch is no gap: "Scan Minimum Gap"
    int64_t leadin = 3 * Foundation::kTicksPerSecond / 10;     // from the start to where music was found: "Scan Leadin"
    int64_t leadout = Foundation::kTicksPerSecond;             // from where it ended to the end: "Scan Leadout"
    int64_t minimum_track = 30 * Foundation::kTicksPerSecond;  // "Scan Minimum Track Length"
    int64_t music_indent = 5 * Foundation::kTicksPerSecond;    // past the landing of the needle: "Music Indent"
    int64_t adjustment_range = 45 * Foundation::kTicksPerSecond;  // "Scan Adjustment Range"

    static BreakScanSettings Load();
    static void RestoreDefaults();
    // Brings the settings of an older version up to date; for the dialog that edits them.
    static void Migrate();
};

// What a scan asks of the window. It is called on the main thread.
class ScanHost {
public:
    virtual ~ScanHost() = default;
    // Lets the interface live for a moment; called every quarter of a second of audio. False once the user has asked to
    // stop, which ends the scan with the tracks found so far.
    virtual bool GoOn() { return true; }
    // The row at `index` has got its times, or keeps those that it has.
    virtual void TrackFound(int /*index*/) {}
};

inline constexpr int64_t kScanEscaped = -1;
inline constexpr int64_t kOverviewEnded = 0x7FFFFFFFFFFFFF;

// One forward scan: the mean level of the last 15 blocks against a threshold.
struct ScanState {
    static constexpr int kRing = 15;

    int threshold;
    int64_t position_ns;  // of the end of the last block taken
    int64_t block_ns;
    int64_t position = 0;  // the same, in ticks
    int64_t block_count = 0;
    int running_total = 0;  // of the ring
    int samples_in_total = 0;
    std::array<int, kRing> ring{};
    int ring_index = 0;
    bool escape_pressed = false;

    ScanState(int threshold, int64_t from, const WaveformOverview& overview);
    // Takes a block. The mean, or -1 until the ring is full.
    int Take(uint8_t level);
};

// Main thread. The overview, the recordings and the host outlive it. All of an album's recordings are scanned as one.
class TrackScanner {
public:
    TrackScanner(const WaveformOverview& overview, std::span<FileHistoryEntry* const> recordings,
                 const BreakScanSettings& settings, ScanHost& host);

    // Positions in file time: where music begins or has ended, kScanEscaped, or kOverviewEnded. The result lies 15
    // blocks behind the change of level; none is found sooner. At the start of a recording, and within 70 seconds of
    // where the side's music ends, FindMusic first goes to the music indent of the recording, or of the side that
    // follows.
    int64_t FindMusic(int64_t from);
    int64_t FindGap(int64_t from);

    // Looks for the start and the end of the track at `index`, or of a further one when it is the number of tracks, and
    // sets them. With `adjust` the track's own times are moved to the gaps near them. `carry` is the file time at which
    // this track begins if it has been found already, otherwise negative; it is set for the next track. True to go on
    // with the next.
    bool ScanTrack(TrackList& tracks, int index, bool adjust, int64_t& carry);

    // Makes the breaks of a listing anew: fills its rows from the top, titles staying, and appends further ones as long
    // as there are tracks.
    void ScanAll(TrackList& tracks);
    // Moves the breaks of the set tracks to the gaps near them. The recording of the first one that was not come to,
    // null when all were.
    const FileHistoryEntry* AdjustAll(TrackList& tracks);
    bool Escaped() const { return escaped; }  // the user has ended a scan

    // What the listing leaves out although it is loud enough for music to begin: stretches with three seconds or more
    // of it, without a gap, in track time.
    struct Stretch {
        int64_t start, end;
    };
    std::vector<Stretch> MusicOutside(const TrackList& tracks) const;

private:
    struct Row;
    enum class EndFound { Yes, TooShort, NotNear, Stop };

    int64_t Scan(int64_t from, int threshold, bool until_quiet);
    int64_t SkipToMusic(int64_t from) const;
    bool FindStart(const Row& row, int64_t from, int64_t& carry, int64_t& start);
    EndFound FindEnd(const Row& row, int64_t start, int64_t& carry, int64_t& end);

    const WaveformOverview& overview;
    const CutTimeline timeline;
    const BreakScanSettings settings;
    ScanHost& host;
    bool escaped = false;
};

// How many sides lie before that of a recording in use; with null all of them.
uint16_t SidesBefore(const AlbumInfo& album, const FileHistoryEntry* recording);

}  // namespace Orvane
