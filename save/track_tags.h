// What a saved track says about itself: the values, the track's own before the album's, under the names of each format.
#pragma once

#include <string>

#include "collection/dataobjects.h"
#include "tesslib/vorbistags.h"

namespace Orvane {

std::string TagTitle(const AlbumInfo& album,
                     int track);  // with composer and conductor in front where the user wants it

// The Vorbis comments of a track, the private one with `signature` last.
Tesslib::VorbisTags MakeVorbisTags(const AlbumInfo& album, int track, const std::string& signature);

}  // namespace Orvane
