// One recording file and everything that was decided about it; the only door to the file itself.
#pragma once

#include <atomic>
#include <memory>
#include <string>
#include <vector>

#include "collection/corrections.h"
#include "foundation/criticalsection.h"
#include "foundation/platform.h"
#include "foundation/refcount.h"
#include "foundation/simple_vector.h"
#include "tesslib/filestream.h"

namespace Orvane {

class AlbumSide;
struct AlbumInfo;

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

// Who has a recording open; one bit each.
enum RecordingUser : uint32_t {
    USER_PLAY = 0x0001,
    USER_EDIT = 0x0008,  // the shared stack of the entry
    USER_SAVE = 0x0010,
    USER_SCAN = 0x0020,
    USER_PROBE = 0x0100,
    USER_WAVEFORM = 0x4000,
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

enum FheFlags : uint8_t {
    FHE_FAILURE_REPORTED = 0x01,
    FHE_CORRECTIONS_CHANGED = 0x02,  // since the derived caches were built
    FHE_EXTERNAL_FILE = 0x04,
    FHE_SEVERAL_STREAMS = 0x08,
    FHE_CORRECTIONS_LOADED = 0x10,
    FHE_SHARED_LISTS = 0x20,  // the lists belong to another entry
    FHE_SPEED_CONVERSION = 0x40,
};
enum FheFlags2 : uint8_t {
    FHE_PRIVATE_COPY = 0x01,   // no locks are needed
    FHE_SWAP_CHANNELS = 0x04,  // left and right are exchanged in everything that is heard
};

// Which corrections a copy takes along.
enum CopyWhat : uint32_t {
    COPY_SETTINGS = 0,
    COPY_CORRECTIONS = 0x8,  // filters, curves, cuts, markers and click repairs
};

// The main thread owns the fields; background jobs work on private copies (Copy). active_users and the file object are
// guarded by the file history lock. Corrections lists change only inside a ListChange (see listchange.h).
class FileHistoryEntry : public Foundation::RefCount {
public:
    FileHistoryEntry(AlbumInfo* album, AlbumSide* side);
    ~FileHistoryEntry() override;

    // --- The file ---
    // The recording's full path: the external file, or the name made of artist, title, side, suffix and extension in
    // the collection's recordings folder.
    std::string GetPath() const;
    // Opens the file for `user`; a file already open only gets the user added. 0 or an OpenStatus, with the reason as
    // last error; `report` shows it, once, on the main thread. Stores what the file reports about itself. Any thread.
    int Open(uint32_t user, bool report);
    // Closes the file when its last user has gone; changed click lists are saved then.
    void Close(uint32_t user);
    bool IsOpen() const { return open_file.get() != nullptr; }

    // Compares size and time with what is on the disk and drops what was derived from an older file: the waveform, and
    // with another size the corrections too; for who only reads, these stay on the disk and are not used. A file that
    // is missing, as on a drive that is not there today, loses nothing, and an open file is left alone. True if
    // anything in the entry changed. Main thread.
    bool CheckFile();
    // Removes side files, in a collection that may be changed: bit 0 the four waveform files, bit 1 the corrections
    // file.
    void DeleteDerivedFiles(int what);
    // The path of a waveform side file of `extension` (".wfd"), in the folder `orvfiles` beside the recording.
    std::string WaveformPath(std::string_view extension) const { return WaveformPathFor(GetPath(), extension); }
    static std::string WaveformPathFor(std::string_view recording_path, std::string_view extension);

    // The paths of the recording and of all files that are named after it, in a fixed order, whether they are there or
    // not.
    std::vector<std::string> AllPaths() const;

    // --- The corrections file ---
    // The recording's full name and ".crd". Files of older versions carry ".crd" in the place of the extension and are
    // read when no other is there.
    std::string CorrectionsPath() const;
    // Reads the click lists on first use. 0, or a StreamError with its message as last error. With `report` messages
    // are shown, on the main thread. A file that holds no lists is put aside only where that is told and the collection
    // is open to be changed; for everybody else, private copies among them, it stays where it is. Under the file
    // history lock.
    int LoadCorrections(bool report);
    // Writes the click lists through a temporary file; an empty pair removes the file, unless one of the older name
    // would be read in its place. 0 or a StreamError.
    int SaveCorrections();

    // After a change of the cuts: filters and curves keep their place in the file, markers theirs on the edited
    // timeline.
    void RecomputeTimes();

    // --- Copies ---
    // A private copy for a background job, with its own lists and no file open. It keeps the id, the path and the rate
    // that the album's recordings must have, all as they are now, so that the job needs nothing else of the collection.
    // Its album must outlive it. Main thread, or a job during which the album does not change.
    Foundation::RefPtr<FileHistoryEntry> Copy(uint32_t what);

    int32_t SampleRate() const { return samplerate ? samplerate : Foundation::kTicksPerSecond; }
    int64_t TotalSamples() const { return open_file ? open_file->GetTotalSamples(0) : total_samples; }
    bool SwapChannels() const { return (flags2 & FHE_SWAP_CHANNELS) != 0; }
    void SetGeneration();  // renewed whenever derived files become stale

    const uint32_t id;
    uint32_t generation;
    AlbumInfo* album;
    AlbumSide* side;
    std::string extension;  // lower case, with the dot
    std::string name_suffix;
    Foundation::FileTime file_time = 0;
    ScanSettings click_scan;
    Foundation::LinkedList<MarkerCorrection> markers;
    CutList cuts;
    Foundation::LinkedList<FilterSetting> filters;  // in the order in which the user stacked them
    Foundation::LinkedList<FFTEq> fft_eqs;
    ClickRepairList click_repairs[2];                     // left, right
    Foundation::RefPtr<Tesslib::FileStream> open_file;    // null while closed
    Foundation::RefPtr<Tesslib::PCMStream> shared_stack;  // the stack of GetFileToPCM
    Foundation::RefPtr<Foundation::RefCount> waveform;    // the drawing's object, when one is open
    std::string comment;
    std::string original_name;  // source file of an import
    std::unique_ptr<RecordEq> record_eq_post;
    int64_t view_position[2] = {0, 0};             // the stretch that holds the noise sample, start and end in the file
    Foundation::simple_vector<int64_t> side_breaks;  // sorted recording times of breaks between sides
    int64_t file_size = 0;                           // of the file when last checked, which the corrections are of
    int64_t total_samples = 0;                       // when last open
    Foundation::FileTime crd_time = 0;
    std::atomic<uint32_t> active_users{0};
    int32_t samplerate = 0;  // 0: not yet known, counts as 44100
    int32_t bit_rate = 0;    // kbit/s
    int32_t stream_index = -1;
    int32_t normalise_gain = 0;  // tenths of a dB; heard with PCM_NORMALISE, and kept for this run only
    int16_t open_status = -1;
    int16_t view_mode = -1;
    int16_t speed_from;  // "Turntable Speed"
    int16_t speed_to;    // "Normal Playing Speed"
    uint8_t file_format = 0;
    uint8_t bits = 0;
    uint8_t channels = 2;
    uint8_t sample_format = 0;  // not 0 for DSD
    uint8_t flags = 0;
    uint8_t flags2 = 0;
    std::string external_file;  // full path, meaningful with FHE_EXTERNAL_FILE

    std::atomic<bool> generating{false};  // waveform data are being made
    std::atomic<int32_t> progress{0};     // of that, in percent
    bool waveform_ready = false;
    bool waveform_failure_reported = false;  // that its files cannot be made, since they last could

private:
    FileHistoryEntry(const FileHistoryEntry& original, uint32_t what);

    // The rate and format that the album's other recordings in use have; 0 while none is known.
    struct AlbumFormat {
        int32_t samplerate = 0;
        uint8_t sample_format = 0;
    };
    bool IsPrivate() const { return (flags2 & FHE_PRIVATE_COPY) != 0; }
    AlbumFormat FormatOfOthers() const;
    int OpenLocked();
    bool StoreFacts();
    // This is an entry of the collection that the program has open to be changed, on the thread that may.
    bool MayChange() const;
    void MarkChanged() const;
    std::string LegacyCorrectionsPath() const;
    int ReadCorrectionsFile(const std::string& path, bool report);
    // Moves the corrections file to the Trash, or where that refuses it to another name, which is told. False when both
    // fail. One of the older name stays when it may be that of another recording. The lists are empty.
    bool PutCorrectionsAside();

    bool corrections_stale = false;  // those on the disk are of another size of the file than this one
    std::string fixed_path;          // of a private copy
    AlbumFormat fixed_format;        // likewise
};

// Guards the opening and closing of all recordings and the loading of their corrections. Order of locks: a stack's lock
// comes before it.
Foundation::CriticalSection& FileHistoryLock();

}  // namespace Orvane
