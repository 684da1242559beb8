#include "collection/albumset.h"

#include <algorithm>
#include <array>

#include "collection/renames.h"
#include "collection/sort_list.h"
#include "collection/undo_records.h"
#include "foundation/messages.h"
#include "foundation/settings.h"
#include "foundation/text.h"

using namespace Foundation;

namespace Orvane {
namespace {

constexpr std::array<const char*, 8> kStatusNames = {"(No status)", "Newly Added",  "Recorded",     "Split into Tracks",
                                                     "Cleaned",     "Burned to CD", "Tracks Saved", "Burned and Saved"};

// Below 0, 0 or above 0.
int CompareByNames(const AlbumInfo& a, const AlbumInfo& b, bool title_first) {
    const int by_artist = CompareNoCase(a.artist, b.artist);
    const int by_title = CompareNoCase(a.title, b.title);
    const int first = title_first ? by_title : by_artist;
    if (first) return first;
    const int second = title_first ? by_artist : by_title;
    return second ? second : a.year - b.year;
}

bool ComesBefore(const AlbumInfo& a, const AlbumInfo& b, int order) {
    if (order == SORT_BY_STATUS && a.status != b.status) {
        const int by_status = StatusText(a.status).compare(StatusText(b.status));
        if (by_status) return by_status < 0;
    }
    if (order == SORT_BY_DATE_RECORDED) {
        const FileTime time_a = DateRecorded(a);
        const FileTime time_b = DateRecorded(b);
        if (time_a != time_b) return time_a > time_b;
    }
    return CompareByNames(a, b, order == SORT_BY_TITLE) < 0;
}

void MoveTracks(AlbumInfo& album, int first, int64_t ticks) {
    for (int i = first; i < album.tracks.size(); ++i) {
        album.tracks[i].start += ticks;
        album.tracks[i].end += ticks;
    }
}

bool SameSortKey(const AlbumDetails& a, const AlbumDetails& b) {
    return a.artist == b.artist && a.title == b.title && a.year == b.year && a.status == b.status;
}

}  // namespace

Change::Change(int flags, AlbumInfo* album) : flags(flags), album(album), silent(album && album->IsWorkingCopy()) {
    if (!silent) event::Fire(EVENT_BEFORE_CHANGE, flags, event::Arg(album));
}

Change::~Change() {
    if (silent) return;
    if (album && album->set == gAlbumSet) MarkDirty();
    event::Fire(EVENT_AFTER_CHANGE, flags, event::Arg(album));
}

int GetSortOrder() {
    return GetSetting("Sort Album List By", SORT_BY_ARTIST);
}

void SetSortOrder(int order) {
    SetSetting("Sort Album List By", order);
    SortAlbums(true);
}

FileTime DateRecorded(const AlbumInfo& album) {
    FileTime latest = 0;
    for (const FileHistoryEntry* entry : album.Recordings()) latest = std::max(latest, entry->facts.file_time);
    return latest;
}

bool SortAlbumList(AlbumSet& set, int order) {
    set.albums.sorted = true;
    return SortList(set.albums, [order](const auto& a, const auto& b) { return ComesBefore(a, b, order); });
}

void SortAlbums(bool fire_events, AlbumInfo* what) {
    if (!gAlbumSet) return;
    if (!fire_events) {
        SortAlbumList(*gAlbumSet, GetSortOrder());
        return;
    }
    event::Fire(EVENT_BEFORE_CHANGE, CHANGE_SORTED, event::Arg(what));
    SortAlbumList(*gAlbumSet, GetSortOrder());
    event::Fire(EVENT_AFTER_CHANGE, CHANGE_SORTED, event::Arg(what));
}

std::unique_ptr<AlbumInfo> MakeAlbum() {
    auto album = std::make_unique<AlbumInfo>();
    album->status = STATUS_NEW;
    album->custom_tags = GetStringSetting("Default Custom Album Tags");
    return album;
}

AlbumInfo* AddAlbum(std::unique_ptr<AlbumInfo> album, int flags, Batch batch) {
    ORVANE_ASSERT(gAlbumSet);
    AlbumInfo* added = album.release();
    added->set = gAlbumSet;
    const bool single = batch == Batch::Single;
    if (single) event::Fire(EVENT_BEFORE_CHANGE, CHANGE_BATCH, event::Arg(added));
    {
        const Change change(CHANGE_ALBUM_ADDED | flags, added);
        gAlbumSet->albums.Append(added);
        gAlbumSet->albums.sorted = false;
        gAlbumSet->current_album = added;
    }
    if (single) {
        SortAlbums(true, added);
        event::Fire(EVENT_AFTER_CHANGE, CHANGE_BATCH, event::Arg(added));
    }
    return added;
}

std::unique_ptr<AlbumInfo> RemoveAlbum(AlbumInfo* album) {
    ORVANE_ASSERT(gAlbumSet && album->set == gAlbumSet);
    event::Fire(EVENT_ALBUM_CLOSING, event::Arg(album));
    const Change change(CHANGE_ALBUM_REMOVED, album);
    LinkedList<AlbumInfo>& albums = gAlbumSet->albums;
    if (gAlbumSet->current_album == album) {
        AlbumInfo* following = albums.Next(album);
        gAlbumSet->current_album = following ? following : albums.Previous(album);
    }
    return std::unique_ptr<AlbumInfo>(albums.Remove(album));
}

Outcome ChangeDetails(AlbumInfo& album, const AlbumDetails& details) {
    if (album.IsWorkingCopy()) {
        album.TakeDetails(details);
        return {};
    }
    if (album.artist != details.artist || album.title != details.title) {
        if (Outcome renamed = RenameAlbumFiles(album, details.artist, details.title); !renamed) return renamed;
    }
    const bool same_key = SameSortKey(album, details);
    const Change batch(CHANGE_BATCH, &album);
    {
        const Change change(same_key ? CHANGE_DETAILS : CHANGE_DETAILS_AND_KEY, &album);
        album.TakeDetails(details);
    }
    if (!same_key) SortAlbums(true, &album);
    event::Fire(EVENT_AFTER_CHANGE, CHANGE_SETTLED, event::Arg(&album));
    return {};
}

bool SetStatus(AlbumInfo& album, uint8_t status, bool resort) {
    if (album.status == status) return false;
    const Change batch(CHANGE_BATCH, &album);
    {
        const Change change(CHANGE_STATUS, &album);
        album.status = status;
    }
    if (resort && !album.IsWorkingCopy() && GetSortOrder() == SORT_BY_STATUS) SortAlbums(true, &album);
    return true;
}

std::string StatusText(int status) {
    if (status < STATUS_CUSTOM_1) return status >= 0 && status < 8 ? kStatusNames[static_cast<size_t>(status)] : "";
    const int number = status - 9;
    const std::string name = GetStringSetting("Custom Status " + std::to_string(number));
    return name.empty() ? FormatMsg(Msg::Custom) + " " + std::to_string(number) : name;
}

std::string AlbumListText(const AlbumInfo& album, int order, ListText form, bool with_status) {
    std::string text;
    if (order == SORT_BY_STATUS) text = StatusText(album.status) + " => ";
    text += order == SORT_BY_TITLE ? album.title + " - " + album.artist : album.artist + " - " + album.title;
    std::string release;
    if (!album.release_number.empty() && GetSetting("Show Discogs Release Number", 1)) {
        release = "[r" + album.release_number + "]";
    }
    if (!release.empty() && form == ListText::Full) text += " " + release;
    if (album.year) text += " (" + std::to_string(album.year) + ")";
    if (with_status && order != SORT_BY_STATUS && album.status > 0) text += " => " + StatusText(album.status);
    if (!release.empty() && form == ListText::Bare) text += " \t" + release;
    return text;
}

void AddTrack(AlbumInfo& album, ALBUMTRACK track, int64_t length) {
    const Change change(CHANGE_TRACK_INSERTED, &album);
    track.start = album.tracks.empty() ? 0 : album.tracks.back().end;
    track.end = track.start + length;
    track.fade_in = track.fade_out = 0;
    track.filter_flags = 0;
    album.tracks.push_back(std::move(track));
}

ALBUMTRACK DeleteTrack(AlbumInfo& album, int index, bool close_gap) {
    const Change change(CHANGE_TRACK_TIMES, &album);
    ALBUMTRACK deleted = album.tracks[index];
    album.tracks.erase(album.tracks.begin() + index);
    if (close_gap) MoveTracks(album, index, deleted.start - deleted.end);
    // Rows without times ride along at the end of the track before them.
    const int64_t end = index > 0 ? album.tracks[index - 1].end : 0;
    for (int i = index; !deleted.IsEmpty() && i < album.tracks.size() && album.tracks[i].IsEmpty(); ++i) {
        album.tracks[i].start = album.tracks[i].end = end;
    }
    return deleted;
}

void InsertTrack(AlbumInfo& album, int index, ALBUMTRACK track, bool open_gap) {
    const Change change(CHANGE_TRACK_INSERTED, &album);
    if (open_gap) MoveTracks(album, index, track.end - track.start);
    album.tracks.insert(album.tracks.begin() + index, std::move(track));
}

int CreateSingleTracks(AlbumInfo& album) {
    if (!album.IsSingle()) return 0;
    const char separator = album.title.find('|') != album.title.npos ? '|' : '/';
    const std::vector<std::string_view> names = Split(album.title, separator);
    if (names.size() < 2) return 0;
    int n_added = 0;
    const int first = album.tracks.size();
    auto undo = std::make_unique<UndoUpdateTrackInfo>(album, FormatMsg(Msg::CreateSingleTracks), first,
                                                      first + static_cast<int>(names.size()) - 1);
    for (std::string_view name : names) {
        name = Trim(name);
        const bool there = std::any_of(album.tracks.begin(), album.tracks.end(),
                                       [&](const auto& track) { return CompareNoCase(track.title, name) == 0; });
        if (name.empty() || there) continue;
        ALBUMTRACK track;
        track.title = name;
        AddTrack(album, std::move(track));
        ++n_added;
    }
    if (n_added && !album.IsWorkingCopy()) AddUndo(std::move(undo));
    return n_added;
}

}  // namespace Orvane
