// The program's texts by number, and the filling in of their printf-style arguments.
#pragma once

#include <fmt/printf.h>

#include <string>
#include <string_view>

namespace Tesslib {

// Numbers below 30000 are stable: users and logs know them. Texts that never had a number of their own follow from
// 30000 up.
enum class Msg : int {
    SaveReadOnlyCollection = 154,
    FatalError = 159,
    SaveChangedFile = 148,
    SavedNowClosing = 160,
    Cancelled = 170,
    CannotRenameFile = 183,
    NotACollection = 186,
    CannotFindFile = 247,
    BusyClose = 298,
    BusyHibernate = 300,
    RecordingInUse = 335,
    NewerCollection = 351,
    TrackBreaksCorrected = 390,
    BadCrdHeader = 459,
    RecordingOpenNote = 469,
    Done = 488,
    NewerCrdVersion = 514,
    CollectionNameTaken = 524,
    CollectionRenamed = 525,
    WrongSampleRate = 527,
    NoCollectionOpen = 599,
    EmptyCollection = 601,
    AlbumListHeader = 615,
    Autosaving = 658,
    AlbumsDeleted = 737,
    SourceFileNote = 867,
    CollectionSaved = 874,
    Custom = 1243,
    CreateSingleTracks = 1355,
    BackgroundJobs = 1577,
    CrdRepaired = 1755,
    TryAgain = 1805,
    ErrorWriting = 20006,
    CannotCreateFolder = 20018,
    ErrorReading = 20058,
    CannotOpenFile = 20068,
    CannotOpenForWriting = 20071,

    ControlledAccess = 30000,
    BadChunk,
    UnexpectedEnd,
    FileIsEmpty,
    UnsupportedRiff,
    FileSizeLimit,
    UnsupportedBitDepth,
    UnsupportedChannels,
    CrdUnreadableKept,
};

// The text of a message before its arguments are filled in. A number that the table lacks is an assertion failure.
std::string_view MessageText(Msg id);

template <class... Args>
std::string FormatMessage(Msg id, const Args&... args) {
    return fmt::sprintf(MessageText(id), args...);
}

// A message in plain words: tags dropped, links reduced to their text, runs of line breaks to one space.
std::string PlainText(std::string_view markup);

}  // namespace Tesslib
