// The names of saved tracks, made from a template of keywords in square brackets.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "collection/dataobjects.h"

namespace Orvane {

// Which part of the expanded template is wanted.
enum class NamePart {
    WholePath = 0,
    AlbumFolder = 1,  // the folder that all tracks of the album share
    Folder = 2,       // everything before the last separator
    FileName = 3,
};

struct TrackNameTemplate {
    std::string_view text;
    std::string_view label;
};
const std::vector<TrackNameTemplate>& AlbumTemplates();
const std::vector<TrackNameTemplate>& SinglesTemplates();

// The template in force for an album: "Albums Track Name Template" or, for a single, "Singles Track Name Template".
// While the user has chosen none for albums, "Prepend Artist To Track Folders" decides what folders are called.
std::string TemplateFor(const AlbumInfo& album);

// Expands a template for the track of `track` (an index). Folders in the result are separated as the platform does it;
// the extension is not part of it. `unknown_keyword` gets the position of the first unknown keyword, or npos.
// With `sanitise` false values stand as they are (listings). `file_format` is for [File Type].
std::string ExpandTemplate(std::string_view text, const AlbumInfo& album, int track, NamePart part, int file_format,
                           bool sanitise = true, size_t* unknown_keyword = nullptr);

// Why a template cannot be used, as a message in mark-up; empty when it can.
std::string TemplateProblem(std::string_view text);

// A value made fit for a file name.
std::string SanitiseValue(std::string_view value);

// The value of one keyword (without its brackets); false if there is no such keyword.
bool KeywordValue(std::string_view keyword, const AlbumInfo& album, int track, int file_format, std::string& value);

// A template with a plain word for each keyword whose value depends on the side that a track lies on.
std::string WithoutSideKeywords(std::string_view text);

// The 0-based side whose recording holds the start of a track; 0 when that is not known. The lengths of the recordings
// must be known (see PlaceRecordings).
int SideOfTrack(const AlbumInfo& album, int track);

}  // namespace Orvane
