// The keys of a cue sheet that hold a text of an album or a track, for its writer and its reader.
#pragma once

#include <string>
#include <string_view>

#include "collection/dataobjects.h"

namespace Orvane {

enum class CueKeyForm {
    Statement,  // KEY "value"
    Rem,        // REM KEY "value"
    RemLines,   // likewise, of a text that may have several lines
};

template <class Record>
struct CueKey {
    std::string_view name;
    std::string Record::*text;
    CueKeyForm form;
};

// In the order of a sheet. The first stands before the year.
inline constexpr CueKey<AlbumDetails> kCueAlbumKeys[] = {
    {"GENRE", &AlbumDetails::genre, CueKeyForm::Rem},
    {"TITLE", &AlbumDetails::title, CueKeyForm::Statement},
    {"PERFORMER", &AlbumDetails::artist, CueKeyForm::Statement},
    {"SONGWRITER", &AlbumDetails::composer, CueKeyForm::Statement},
    {"ARTWORK", &AlbumDetails::art_file, CueKeyForm::Rem},
    {"ALBUM_NOTES", &AlbumDetails::notes, CueKeyForm::RemLines},
    {"ARTIST_ALIAS", &AlbumDetails::alias, CueKeyForm::Rem},
    {"ORV_COMMENT", &AlbumDetails::comment, CueKeyForm::RemLines},
    {"CONDUCTOR", &AlbumDetails::conductor, CueKeyForm::Rem},
    {"GROUPING", &AlbumDetails::grouping, CueKeyForm::Rem},
    {"LABEL", &AlbumDetails::label, CueKeyForm::Rem},
};
inline constexpr CueKey<ALBUMTRACK> kCueTrackKeys[] = {
    {"TITLE", &ALBUMTRACK::title, CueKeyForm::Statement},
    {"PERFORMER", &ALBUMTRACK::artist, CueKeyForm::Statement},
    {"SONGWRITER", &ALBUMTRACK::composer, CueKeyForm::Statement},
    {"ARTIST_ALIAS", &ALBUMTRACK::alias, CueKeyForm::Rem},
    {"ORV_COMMENT", &ALBUMTRACK::comment, CueKeyForm::RemLines},
    {"CONDUCTOR", &ALBUMTRACK::conductor, CueKeyForm::Rem},
    {"GENRE", &ALBUMTRACK::genre, CueKeyForm::Rem},
    {"GROUPING", &ALBUMTRACK::grouping, CueKeyForm::Rem},
};

enum class CueQuotes { Keep, Convert };

// A text as it stands between the quotes of a sheet. The format has no way to write a double quote; Convert makes them
// single ones.
std::string CueValue(std::string_view text, CueKeyForm form, CueQuotes quotes);

// The beginning of the line that names a recording's file.
std::string CueFileStatement(std::string_view path);

// The first line of a sheet that Orvane wrote.
inline constexpr std::string_view kCueSignature = "REM COMMENT \"Orvane\"";

inline constexpr int64_t kCueFrame = 588;  // ticks: a 75th of a second
inline constexpr int kMostCueTracks = 999;

}  // namespace Orvane
