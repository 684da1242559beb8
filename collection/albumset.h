// What happens to albums as a set: order, list texts, status, adding and removing albums and tracks. Main thread.
// Every change is announced by events 1 and 2, between which it happens; a working copy of an album changes in silence.
#pragma once

#include <memory>
#include <string>

#include "collection/dataobjects.h"
#include "foundation/event.h"
#include "foundation/outcome.h"

namespace Orvane {

// First argument of EVENT_BEFORE_CHANGE and EVENT_AFTER_CHANGE; the second is the album, or null.
enum ChangeFlags : int {
    CHANGE_ALBUM_ADDED = 1,
    CHANGE_ALBUM_REMOVED = 2,
    CHANGE_DETAILS_AND_KEY = 4,  // the sort key too
    CHANGE_DETAILS = 8,
    CHANGE_STATUS = 16,
    CHANGE_SORTED = 32,
    CHANGE_SETTLED = 128,
    CHANGE_OPENED = 256,
    CHANGE_BATCH = 512,  // around a batch of changes: lists freeze their drawing between the two
    CHANGE_TRACK_INSERTED = 4096,
    CHANGE_TRACK_TIMES = 8192,
};

// Event 1 at its making, event 2 and the dirty mark at its end. With a working copy it does nothing.
class Change {
public:
    explicit Change(int flags, AlbumInfo* album = nullptr);
    ~Change();
    Change(const Change&) = delete;
    Change& operator=(const Change&) = delete;

private:
    const int flags;
    AlbumInfo* const album;
    const bool silent;
};

enum SortOrder : int { SORT_BY_ARTIST = 0, SORT_BY_TITLE = 1, SORT_BY_STATUS = 2, SORT_BY_DATE_RECORDED = 3 };

int GetSortOrder();  // the setting "Sort Album List By"
// Stores the order and sorts the live collection by it.
void SetSortOrder(int order);
// Puts a set's albums in order; true if any moved.
bool SortAlbumList(AlbumSet& set, int order);
// Sorts the live collection by the order of the settings; `what` goes along with the events.
void SortAlbums(bool fire_events, AlbumInfo* what = nullptr);
// The latest time of the recordings in use, 0 without any.
Foundation::FileTime DateRecorded(const AlbumInfo& album);

// A new album for the user to fill in, with the status and the tags that new ones get.
std::unique_ptr<AlbumInfo> MakeAlbum();

enum class Batch { Single, PartOfMany };  // who changes many fires CHANGE_BATCH and sorts once around them all

// Enters an album in the live collection and makes it the current one. `flags` are added to those of the events.
AlbumInfo* AddAlbum(std::unique_ptr<AlbumInfo> album, int flags = 0, Batch batch = Batch::Single);
// Takes an album out of the live collection. Event 4 before it stops whatever uses the album. An album taken out still
// knows its set, so that it can be entered again.
std::unique_ptr<AlbumInfo> RemoveAlbum(AlbumInfo* album);

// Gives an album other details. The files of its recordings are renamed to stay in step with artist and title; when
// that fails nothing has changed. Those of a working copy stay as they are.
Foundation::Outcome ChangeDetails(AlbumInfo& album, const AlbumDetails& details);

// True when it changed. With `resort` the list is sorted when its order is that of the status.
bool SetStatus(AlbumInfo& album, uint8_t status, bool resort);
std::string StatusText(int status);

enum class ListText { Full, Bare };  // in the bare form the release number stands behind a tab at the end

// The album's line in a list sorted by `order`. The status stands in front in the order by status; with `with_status`
// it stands at the end in the others.
std::string AlbumListText(const AlbumInfo& album, int order, ListText form = ListText::Full, bool with_status = false);

// Appends a track that starts at the end of the last one and ends `length` ticks later; of `track` only the texts and
// `excluded` count.
void AddTrack(AlbumInfo& album, ALBUMTRACK track, int64_t length = 0);
// With `close_gap` all later tracks move back by the deleted track's length.
ALBUMTRACK DeleteTrack(AlbumInfo& album, int index, bool close_gap);
// The reverse: with `open_gap` the track at `index` and all later ones move on by its length.
void InsertTrack(AlbumInfo& album, int index, ALBUMTRACK track, bool open_gap);

// Adds a track for each name of a single's title, which are separated by "|", or without one by "/", that no track has
// yet, as one action that can be undone. The number added.
int CreateSingleTracks(AlbumInfo& album);

}  // namespace Orvane
