// The program's texts by number, and the filling in of their printf-style arguments.
#pragma once

#include <fmt/printf.h>

#include <string>
#include <string_view>

// One copy of the formatter for the whole program, in messages.cpp. Otherwise every file that formats a text compiles
// its own, which takes longer than the rest of the file.
extern template void fmt::detail::vprintf<char, fmt::printf_context>(fmt::detail::buffer<char>&,
                                                                     fmt::basic_string_view<char>,
                                                                     fmt::basic_format_args<fmt::printf_context>);

namespace Foundation {

// Numbers below 30000 are stable: users and logs know them. Texts that never had a number of their own follow from
// 30000 up. Behind each stand the arguments of its text, in order.
enum class Msg : int {
    SaveReadOnlyCollection = 154,  // file
    FatalError = 159,              // operation
    SaveChangedFile = 148,         // file
    SavedNowClosing = 160,
    Cancelled = 170,
    CannotRenameFile = 183,  // file, new name, error, its text
    NotACollection = 186,    // file
    CannotFindFile = 247,    // file
    BusyClose = 298,
    BusyHibernate = 300,
    RecordingInUse = 335,   // file
    NewerCollection = 351,  // file
    TrackBreaksCorrected = 390,
    EnableFader = 400,
    AdjustFader = 401,
    DeleteAllTrackBreaks = 403,
    EditTrackDetails = 404,
    DeleteTrack = 405,
    AdjustTrackStart = 407,
    MoveTrackBreak = 408,
    InsertTrackBreak = 409,
    DeleteTrackBreaks = 410,
    MoveTrackInList = 411,
    EditAlbumDetails = 414,
    MergingCorrections = 444,
    ScanResult = 445,  // clicks, file, repaired, PP, BP
    NoChannelSelected = 448,
    NoRoomForRepair = 449,
    TooSmallToDeclick = 455,
    ClicksFoundSoFar = 458,  // count
    BadCrdHeader = 459,      // file
    NoChannelsSpecified = 462,
    RecordingOpenNote = 469,
    UndoTargetDeleted = 475,  // file or album
    AdjustRepairWidth = 476,
    ManualRepair = 477,
    DeleteRepair = 478,
    ScanPass = 485,      // number
    ClicksInPass = 486,  // count
    Done = 488,
    UndoOtherAlbum = 490,  // artist, title
    UndoOtherWindow = 511,
    NewerCrdVersion = 514,      // file
    CollectionNameTaken = 524,  // name
    CollectionRenamed = 525,
    WrongSampleRate = 527,  // file, its rate, the album's rate
    SelectionTooLargeToPatch = 532,
    NothingSelected = 534,
    PatchDialogOpen = 535,
    AlreadyPatched = 574,
    NoCollectionOpen = 599,
    EmptyCollection = 601,
    AlbumListHeader = 615,  // shown, all, links
    HissNotApplied = 630,   // side, side
    AdjustTrackBreaks = 657,
    Autosaving = 658,
    AlbumsDeleted = 737,  // count
    ScanningSide = 743,   // artist, title, album, albums, side; ends with a line break
    HissWithoutRumble = 866,
    SourceFileNote = 867,  // file; ends with a line break
    SelectionTooShortToCut = 871,
    CollectionSaved = 874,
    CustomSettings = 971,
    DefaultSettings = 988,
    UndoMenu = 1021,  // description
    RedoMenu = 1022,  // description
    StrongScan = 1079,
    NoiseSpectrumTitle = 1214,  // artist, title
    Custom = 1243,
    ImportTrackListing = 1147,
    CreateSingleTracks = 1355,
    BackgroundJobs = 1577,
    CrdRepaired = 1755,  // file, count
    TryAgain = 1805,
    ErrorWriting = 20006,          // error, file, its text
    CannotCreateFolder = 20018,    // folder, error, its text
    ErrorReading = 20058,          // error, file, its text
    CannotOpenFile = 20068,        // file, error, its text
    CannotOpenForWriting = 20071,  // file, error, its text

    NoPermission = 30000,  // program
    BadChunk,              // chunk, file
    UnexpectedEnd,         // file
    FileIsEmpty,           // file
    InUseBy,               // file, who has it
    UnsupportedRiff,       // file
    FileSizeLimit,         // gigabytes, file
    UnsupportedBitDepth,   // bits, file
    UnsupportedChannels,   // channels, file
    CrdUnreadable,         // file
    CrdUnreadableKept,     // file, name it is kept under
    DamagedAudio,          // file, what is wrong
    LibraryError,          // error, function, file
    FormatNotHandled,      // format
    NotAudio,              // file
    NegativeTrackStart,    // track, time
    NegativeTrackLength,   // track, time
    OrphanedEmptyTrack,    // track, time
    EmbeddedEmptyTrack,    // track, time
    TrackTooShort,         // track, time
    OverlappingTrack,      // track, time
    NoRoomForTrackBreak,   // time
    NoSideBreaks,
    ScanForTrackBreaks,
    ScanNeedsWaveform,
    NoTrackBreaksFound,
    MoreTrackBreaksThanTracks,
    FewerTrackBreaksThanTracks,
    NumberedTrack,      // number
    TracksHaveALength,  // seconds
    UndoTip,            // description
    RedoTip,            // description
    NothingToUndo,
    NothingToRedo,
    AlbumInUse,  // artist, title
    RepairNotMade,
    RepairGone,
    PatchKeepsItsWidth,
    CutTakesTrack,  // track
    NothingTried,
    RepairsOfAScan,  // count
    OneRepairOfAScan,
    ClickScan,
    RepairMarkers,
    PatchSelection,
    CutSelection,
    TruncateRecording,
    DeleteCut,
    AddFilter,
    ChangeFilter,
    RemoveFilter,
    MoveFilter,
    AddCurve,
    ChangeCurve,
    RemoveCurve,
    MoveCurve,
    CannotDeleteFile,  // file, error, its text
    JobFailedLine,     // the reason; a line of a job's log
    InFileAtLine,      // the reason, file, line
    CueMissing,        // what is missing
    CueEmpty,          // what is empty
    CueTrackNumber,    // number, highest
    CueTrackOrder,
    CueIncompleteIndex,
    CueFileExtension,    // extension
    CueIndexBehindEnd,   // file
    CueSheetsGenerated,  // count
    NoRecordings,        // artist, title
    NoTracks,            // artist, title
    NotForListings,      // file
    DefineNoiseSample,
    NoTrackBreakYet,   // a line of a job's log
    TrackNotRecorded,  // likewise
    CannotSaveAsDsd,
    FilenameTooLong,
    NeverWrittenOver,  // file
    CannotHoldRate,    // format, Hz, the nearest
    CannotHoldBits,    // format, bits, the nearest
    OtherExtension,
    LeftoverTracks,      // number, files
    ReviewSave,          // the summary
    SelectionSaved,      // file, folder, file
    CrdOfOtherFile,      // file
    CrdOfOtherFileKept,  // file, name it is kept under
    NoAudioDevices,
    DeviceInUse,         // device
    DeviceDisconnected,  // device
    DeviceError,         // device, error, function
    NoConversion,
    ServerConversion,  // kHz of the device, kHz of the stream
    DeviceNotOpen,
    BadTurntable,    // word, the whole
    LibraryMissing,  // what it is for, the system's words
    NoSuchDevice,    // device
    NoSoundServer,   // error in words
    LevelNoSound,
    LevelChannelDead,  // side
    LevelClipped,
    LevelInverted,
    LevelSwapped,
    LevelMono,
    LevelOffset,   // dB
    LevelHum,      // Hz, dB
    LevelUnequal,  // side, dB
    LevelTooLow,
    LevelTooHigh,
    LevelGood,
    SideLeft,
    SideRight,
    JobInProgress,
    CollectionExists,       // file
    TitlesAndTracksDiffer,  // number of tracks, file of titles, number of titles; numbers in words
    FadeOutLabel,           // track's title
    FadeInLabel,            // track's title
    ZoomTrackTitle,         // track's title, time
    CurveOutOfOrder,        // frequency, the one before, the one behind
    CurveFrequencyTooLow,   // frequency
    CurveGainTooHigh,       // gain, the least, the greatest
    RecordingScanned,       // file
    RecordingRead,          // file
};

// The text of a message before its arguments are filled in. A number that the table lacks is an assertion failure.
std::string_view MessageText(Msg id);

template <class... Args>
std::string FormatMsg(Msg id, const Args&... args) {
    return fmt::sprintf(MessageText(id), args...);
}

// A message in plain words: tags dropped, links reduced to their text, runs of line breaks to one space. See markup.h.
std::string PlainText(std::string_view markup);

}  // namespace Foundation
