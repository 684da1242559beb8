// The objects a collection is made of: the set, its albums, their tracks and sides.
#pragma once

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "collection/albumdetails.h"
#include "collection/filehistory.h"
#include "foundation/filelock.h"
#include "foundation/linked_list.h"
#include "foundation/simple_vector.h"

namespace Orvane {

struct AlbumSet;

enum TrackFlags : uint16_t { TRACK_FADE_IN = 1, TRACK_FADE_OUT = 2 };

inline constexpr int64_t kLongestFade = 20 * Foundation::kTicksPerSecond;

// The length that a fade gets for the one asked for: 0.1 to 20 seconds. Ticks.
constexpr int32_t HeldFadeLength(int64_t wanted) {
    return static_cast<int32_t>(std::clamp<int64_t>(wanted, Foundation::kTicksPerSecond / 10, kLongestFade));
}

// One track. Times are ticks of 1/44100 s from the start of the album, on its concatenated sides, whatever the rate of
// the recordings. A fade lies outside of start and end.
struct ALBUMTRACK {
    std::string title;
    std::string artist;  // for compilations; empty: the album's. The same for the strings below.
    std::string genre;
    std::string grouping;
    std::string composer;
    std::string conductor;
    std::string alias;
    std::string comment;
    std::string custom_tags;
    int64_t start = 0;
    int64_t end = 0;
    int32_t fade_in = 0;
    int32_t fade_out = 0;
    uint16_t filter_flags = 0;  // TrackFlags
    int16_t reserved_word = 0;  // written and never read back
    bool excluded = false;      // left out of saving

    bool operator==(const ALBUMTRACK&) const = default;

    int64_t FadeStart() const;
    int64_t FadeEnd() const { return end + FadeOut(); }
    int32_t FadeIn() const { return filter_flags & TRACK_FADE_IN ? fade_in : 0; }  // 0 when off
    int32_t FadeOut() const { return filter_flags & TRACK_FADE_OUT ? fade_out : 0; }
    bool IsEmpty() const { return start == end; }  // a listing line that has no audio yet
};

class AlbumSide {
public:
    AlbumSide() = default;
    AlbumSide(const AlbumSide&) = delete;
    AlbumSide& operator=(const AlbumSide&) = delete;

    // Enters a recording at the end of the history and makes it the one in use.
    void AddRecording(Foundation::RefPtr<FileHistoryEntry> entry);
    // The 1-based position in the history, 0 for none.
    int PositionOf(const FileHistoryEntry* entry) const;
    // Moves an entry, whose file's time has changed, before the first that has a later file.
    void SortByTime(const FileHistoryEntry* entry);

    std::vector<Foundation::RefPtr<FileHistoryEntry>>
        history;                         // all recordings of the side, in the order of the collection file
    FileHistoryEntry* newest = nullptr;  // the one in use; in the history, or null
    FileHistoryEntry* latest_take = nullptr;
    uint32_t pending = 0;
};

// A file that a track was saved as.
struct SavedFile {
    std::string path;       // full
    std::string signature;  // of the track as it was saved, which the file carries

    bool operator==(const SavedFile&) const = default;
};

enum AlbumFlags : uint8_t {
    ALBUM_WORKING_COPY = 0x08,  // changes raise no events and do not mark the collection dirty
    ALBUM_LISTING_IMPORTED = 0x10,
};

// An album: its details, its tracks and the sides that they were recorded from.
struct AlbumInfo : Foundation::LinkedListEntry, AlbumDetails {
    AlbumInfo();
    AlbumInfo(const AlbumInfo&) = delete;
    AlbumInfo& operator=(const AlbumInfo&) = delete;
    ~AlbumInfo() override;

    const AlbumDetails& Details() const { return *this; }
    void TakeDetails(const AlbumDetails& details) { static_cast<AlbumDetails&>(*this) = details; }
    bool IsWorkingCopy() const { return (flags & ALBUM_WORKING_COPY) != 0; }

    // The side of `index` (0 is side 1). With `create` it is made when absent, the gap before it filled with null
    // entries; below 0 means a further side. `append_me` is placed there instead of a new one: only into an empty slot.
    // Null for a side that is not there, and beyond the set's limit of sides.
    AlbumSide* GetSide(int index, bool create, std::unique_ptr<AlbumSide> append_me = nullptr);
    // The sides' recordings in use, in order: what the album's time line is made of.
    std::vector<FileHistoryEntry*> Recordings() const;

    // The full path of `art_file`; empty without one.
    std::string ArtPath() const;

    Foundation::simple_vector<ALBUMTRACK> tracks{16};
    Foundation::simple_vector<AlbumSide*> sides{16};  // owned; an entry may be null: a side that was skipped
    std::vector<SavedFile> saved_files;               // what is known of earlier saves
    int32_t running_jobs = 0;
    std::atomic<int32_t> open_fhe_count{0};
    int32_t samplerate = 44100;
    uint16_t sides_adjusted = 0;
    uint8_t lookup_state = 0;
    uint8_t sample_format = 0;
    uint8_t flags = 0;
    AlbumSet* set = nullptr;  // the set it is in or comes from; gives the folders
};

inline constexpr int kMaxAlbumSides = 30;

// One collection. There is one live set, in gAlbumSet; others may be read for a move or a copy.
struct AlbumSet {
    explicit AlbumSet(std::string_view path = {});

    // Names the collection file, which decides the folders beside it.
    void SetPath(std::string_view new_path);

    int SideLimit() const { return max_album_sides ? max_album_sides : kMaxAlbumSides; }

    std::string current_artist;  // of the current album when the file was read
    std::string current_title;
    int32_t max_album_sides = 0;  // 0: the default of 30

    std::string path;               // the collection file
    std::string recordings_folder;  // beside the file, with its name
    std::string side_folder;        // "orvfiles" beside the file
    AlbumInfo* current_album = nullptr;
    bool dirty = false;                // the live set has unsaved changes
    bool has_unsaved_renames = false;  // its journal tells of renames (see renamejournal.h)
    int running_jobs = 0;  // that work on it and have their call still on the stack; it stays open meanwhile
    // Held from opening to the end, where nobody else may work on the collection.
    std::unique_ptr<Foundation::FileLock> lock;

    Foundation::LinkedList<AlbumInfo>
        albums;  // dies first: a recording that is still open saves its repairs by the paths above
};

extern AlbumSet* gAlbumSet;  // null while no collection is open; main thread
extern bool gClosing;        // the collection is being torn down on the way out: recordings may still be open

// Marks the live collection as changed, or as saved, and has the title rebuilt. They do nothing when none is open.
void MarkDirty();
void ClearDirty();

// Called whenever what the title bar tells has changed: the collection, its album, or the dirty flag. Main thread.
void TitleChanged();
void SetTitleHook(void (*hook)());  // who rebuilds it

}  // namespace Orvane
