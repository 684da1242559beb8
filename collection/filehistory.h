// One recording file and everything that was decided about it; the only door to the file itself.
#pragma once

#include <atomic>
#include <optional>
#include <string>
#include <vector>

#include "collection/recordingdata.h"
#include "foundation/criticalsection.h"
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

// How the lists of a recording stand to the file that keeps them.
struct CorrectionsFile {
    Foundation::FileTime time = 0;
    bool loaded = false;  // the lists hold what the file holds
    bool stale = false;   // the file is of another size of the recording than the one that is there
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

    // --- Copies ---
    // A private copy for a background job, with its own lists and no file open. It keeps the id, the path and the rate
    // that the album's recordings must have, all as they are now, so that the job needs nothing else of the collection.
    // Its album must outlive it. Main thread, or a job during which the album does not change.
    Foundation::RefPtr<FileHistoryEntry> Copy(uint32_t what);

    int32_t SampleRate() const { return facts.samplerate ? facts.samplerate : Foundation::kTicksPerSecond; }
    int64_t TotalSamples() const { return open_file ? open_file->GetTotalSamples(0) : facts.total_samples; }
    bool SwapChannels() const { return decided.swap_channels; }
    void SetGeneration();  // renewed whenever derived files become stale

    const uint32_t id;
    uint32_t generation;
    AlbumInfo* album;
    AlbumSide* side;
    RecordingName name;
    RecordingFacts facts;
    RecordingDecisions decided;
    ClickRepairs click_repairs;
    CorrectionsFile corrections_file;
    WaveformState waveform;
    Foundation::RefPtr<Tesslib::FileStream> open_file;    // null while closed
    Foundation::RefPtr<Tesslib::PCMStream> shared_stack;  // the stack of GetFileToPCM
    std::atomic<uint32_t> active_users{0};
    bool failure_reported = false;  // that the file cannot be opened, since it last could

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

    std::optional<PrivateCopy> private_copy;
};

// Guards the opening and closing of all recordings and the loading of their corrections. Order of locks: a stack's lock
// comes before it.
Foundation::CriticalSection& FileHistoryLock();

}  // namespace Orvane
