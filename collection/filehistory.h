// One recording file and everything that was decided about it; the only door to the file itself.
#pragma once

#include <array>
#include <atomic>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "collection/correctionsfile.h"
#include "collection/recordingdata.h"
#include "foundation/criticalsection.h"
#include "foundation/outcome.h"
#include "foundation/refcount.h"
#include "tesslib/filestream.h"

namespace Orvane {

class AlbumSide;
struct AlbumInfo;

// Who has a recording open; one bit each.
enum RecordingUser : uint32_t {
    USER_PLAY = 0x0001,
    USER_EDIT = 0x0008,  // the shared stack of the entry
    USER_SAVE = 0x0010,
    USER_SCAN = 0x0020,
    USER_PROBE = 0x0100,
    USER_WAVEFORM = 0x4000,
};

// Which corrections a copy takes along.
enum CopyWhat : uint32_t {
    COPY_SETTINGS = 0,
    COPY_CORRECTIONS = 0x8,  // the click repairs too
};

class FileHistoryEntry;

// Holds the file of a recording open for one of its users, and the entry alive, until it is closed or goes. The album
// of the recording must outlive it. Movable; any thread.
class OpenRecording {
public:
    OpenRecording() = default;
    OpenRecording(OpenRecording&& other) noexcept
        : entry(std::exchange(other.entry, {})), user(std::exchange(other.user, 0)) {}
    OpenRecording& operator=(OpenRecording&& other) noexcept {
        std::swap(entry, other.entry);
        std::swap(user, other.user);
        return *this;
    }
    ~OpenRecording() { Close(); }

    explicit operator bool() const { return static_cast<bool>(entry); }
    FileHistoryEntry& Entry() const { return *entry; }
    Tesslib::FileStream& File() const;
    void Close();

private:
    friend class FileHistoryEntry;
    OpenRecording(FileHistoryEntry* entry, uint32_t user) : entry(entry), user(user) {}

    Foundation::RefPtr<FileHistoryEntry> entry;
    uint32_t user = 0;
};

// The main thread owns the fields; background jobs work on private copies (Copy). Opening, closing and the loading of
// corrections are for any thread: the file history lock guards them. Corrections lists change only inside a ListChange
// (see listchange.h). Entries live on the heap.
class FileHistoryEntry : public Foundation::RefCount {
public:
    FileHistoryEntry(AlbumInfo* album, AlbumSide* side);
    ~FileHistoryEntry() override;

    // --- The file ---
    // The recording's full path: the external file, or the name made of artist, title, side, suffix and extension in
    // the collection's recordings folder.
    std::string GetPath() const;
    // Opens the file for `user` (a RecordingUser); a file that is open already is shared. Each user may hold it several
    // times. It is closed when the last hold goes; changed click lists are saved then, and a failure is reported.
    // Stores what the file says about itself, and how this went in facts.open_status.
    Foundation::Result<OpenRecording> Open(uint32_t user);
    bool IsOpen() const { return active_users.load() != 0; }
    // Saves the repairs and closes the file under those who hold it: the program ends, and the album goes. Main thread.
    void CloseForGood();

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
    std::string CorrectionsPath() const { return CorrectionsFile::PathFor(GetPath()); }
    // Reads the click lists on first use; they stay while the recording is open. A file that holds no lists is put
    // aside if the collection may be changed, on the main thread.
    Foundation::Outcome LoadCorrections();
    bool CorrectionsLoaded() const { return corrections_file.IsLoaded(); }
    // Writes the click lists.
    Foundation::Outcome SaveCorrections();

    // What is heard: the settings that are tried, or else those decided on, which files, copies and signatures are made
    // of. Under the lock of a stack that watches their lists.
    const Foundation::LinkedList<FilterSetting>& FiltersInForce() const {
        return tried ? tried->filters : decided.filters;
    }
    const Foundation::LinkedList<FFTEq>& CurvesInForce() const { return tried ? tried->curves : decided.fft_eqs; }

    // --- Copies ---
    // A private copy for a background job, with its own lists and no file open. It keeps the id, the path and the rate
    // that the album's recordings must have, all as they are now, so that the job needs nothing else of the collection.
    // Its album must outlive it. Main thread, or a job during which the album does not change.
    Foundation::RefPtr<FileHistoryEntry> Copy(uint32_t what);

    int32_t SampleRate() const { return facts.samplerate ? facts.samplerate : Foundation::kTicksPerSecond; }
    int64_t TotalSamples() const { return facts.total_samples; }  // of the file, when last open
    bool SwapChannels() const { return decided.swap_channels; }
    void SetGeneration();  // renewed whenever derived files become stale

    const uint32_t id;
    uint32_t generation;
    AlbumInfo* album;
    AlbumSide* side;
    RecordingName name;
    RecordingFacts facts;
    RecordingDecisions decided;
    std::unique_ptr<TriedSettings> tried;  // changes inside a ListChange of the lists that it stands for
    ClickRepairs click_repairs;
    CorrectionsFile corrections_file;
    WaveformState waveform;
    std::array<int, 4> n_uses{};                 // what is being done to it; see recordinguse.h
    std::atomic<uint32_t> active_users{0};       // who has the file open: a mask of RecordingUser
    Tesslib::PCMStream* shared_stack = nullptr;  // the chain of GetFileToPCM while somebody holds it; see audiofilter.h

private:
    FileHistoryEntry(const FileHistoryEntry& original, const ClickRepairs& repairs);

    // The rate and format that the album's other recordings in use have; 0 while none is known.
    struct AlbumFormat {
        int32_t samplerate = 0;
        uint8_t sample_format = 0;
    };
    // What a private copy has for itself, as it was when it was made.
    struct PrivateCopy {
        std::string path;
        AlbumFormat format;
    };
    bool IsPrivate() const { return private_copy.has_value(); }
    AlbumFormat FormatOfOthers() const;
    friend class OpenRecording;
    Foundation::Outcome OpenLocked();
    void Close(uint32_t user);
    void CloseLocked();
    bool StoreFacts();
    // This is an entry of the collection that the program has open to be changed, on the thread that may.
    bool MayChange() const;
    void MarkChanged() const;
    std::optional<PrivateCopy> private_copy;
    Foundation::RefPtr<Tesslib::FileStream> open_file;  // null while closed
    std::array<int, 32> n_holds{};                      // of each user
    bool closed_for_good = false;
};

// Guards the opening and closing of all recordings and the loading of their corrections. Order of locks: a stack's lock
// comes before it.
Foundation::CriticalSection& FileHistoryLock();

}  // namespace Orvane
