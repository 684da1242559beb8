// The values that a recording's entry is made of: what it is called, what its file says about itself, and what was
// decided about it. All of them copy plainly.
#pragma once

#include <atomic>
#include <cstdint>
#include <optional>
#include <string>

#include "collection/corrections.h"
#include "foundation/platform.h"
#include "foundation/simple_vector.h"

namespace Orvane {

enum ScanOptions : uint8_t {
    SCAN_KEEP_MANUAL = 0x01,
    SCAN_KEEP_PREVIOUS = 0x02,
    SCAN_SELECTION_ONLY = 0x04,
    SCAN_BATCH_IF_NEW = 0x08,  // only scan if not scanned before with these settings, in a batch
    SCAN_BATCH = 0x10,         // the settings belong to a batch scan
    SCAN_EQUALISE = 0x20,      // the recording was made flat and needs the replay curve
    SCAN_IF_NEW = 0x40,        // as 0x08, outside a batch
};

// Settings of a click scan. -1 stands for the default.
struct ScanSettings {
    int32_t total_clicks = 0;           // repairs found by earlier scans; not stored in the collection
    int8_t sensitivity = -1;            // 0 to 7, default 3
    int8_t percussion_protection = -1;  // 0 to 5, default 2
    int8_t brass_protection = -1;       // 0 or 1, default 1
    int8_t passes = -1;                 // 1 to 9, default 1
    uint8_t channels = 3;               // bit 0 left, bit 1 right
    uint8_t options = SCAN_KEEP_MANUAL;

    ScanSettings WithDefaults() const;
    // Equal but for the options that only say when and where to scan.
    bool SameScan(const ScanSettings& other) const;
};

// The part of a recording's file name that is its own, not its album's.
struct RecordingName {
    bool IsExternal() const { return !external_file.empty(); }

    std::string extension;      // lower case, with the dot
    std::string suffix;         // what follows the album and the side
    std::string external_file;  // the full path of a file outside the recordings folder; empty for one in it
};

enum OpenStatus : int16_t {
    OPEN_GOOD = 0,
    OPEN_CANCELLED = -1,
    OPEN_MISSING = -2,
    OPEN_IN_USE = -3,
    OPEN_NO_MP3 = -6,
    OPEN_BAD_RATE = -7,
};
// The short text beside the recording in a list: "(missing)", "(in use)", "(no mp3)", "cancelled", "(bad sr)", "(bad
// file)".
const char* OpenStatusText(int status);

// What the file said about itself when it was last looked at.
struct RecordingFacts {
    Foundation::FileTime file_time = 0;
    int64_t file_size = 0;      // bytes; the corrections belong to a file of this size
    int64_t total_samples = 0;  // when last open
    int32_t samplerate = 0;     // 0: not yet known, counts as 44100
    int32_t bit_rate = 0;       // kbit/s
    int32_t stream_index = -1;  // in a file of several streams
    bool several_streams = false;
    int16_t open_status = -1;  // an OpenStatus
    uint8_t file_format = 0;
    uint8_t bits = 0;
    uint8_t channels = 2;
    uint8_t sample_format = 0;  // not 0 for DSD
    std::string original_name;  // the file that it was imported from
};

// Frames in the file, the end exclusive.
struct FrameRange {
    int64_t start = 0;
    int64_t end = 0;

    bool operator==(const FrameRange&) const = default;
};

// The disc was recorded at one speed and is heard at another.
struct SpeedConversion {
    bool on = false;
    int16_t from = 0;  // revolutions a minute: "Turntable Speed",
    int16_t to = 0;    // "Normal Playing Speed"
};

// What was decided about a recording and is kept in the collection file; its click repairs have a file of their own.
struct RecordingDecisions {
    // After a change of the cuts: filters and curves keep their place in the file, markers theirs on the edited
    // timeline.
    void RecomputeTimes();

    std::string comment;
    Foundation::LinkedList<MarkerCorrection> markers;
    CutList cuts;
    Foundation::LinkedList<FilterSetting> filters;  // in the order in which the user stacked them
    Foundation::LinkedList<FFTEq> fft_eqs;
    std::optional<RecordEq> record_eq_post;
    Foundation::simple_vector<int64_t> side_breaks;  // sorted recording times of breaks between sides
    ScanSettings click_scan;                         // the last scan
    FrameRange noise_stretch;                        // holds nothing but the record's noise; empty when not chosen
    SpeedConversion speed;
    bool swap_channels = false;  // left and right are exchanged in everything that is heard
    int16_t view_mode = -1;
    int32_t normalise_gain = 0;  // tenths of a dB; heard with PCM_NORMALISE, and kept for this run only
};

// Settings that the chain uses in place of those decided on, while they are tried (cleanup/edit/settingstrial.h).
struct TriedSettings {
    void RecomputeTimes(const CutList& cuts);  // as those decided on, when the cuts have changed

    Foundation::LinkedList<FilterSetting> filters;
    Foundation::LinkedList<FFTEq> curves;
};

// The making of a recording's waveform files.
struct WaveformState {
    std::atomic<bool> generating{false};
    std::atomic<int32_t> progress{0};  // percent
    bool ready = false;
};

}  // namespace Orvane
