#include "save/track_tags.h"

#include "foundation/settings.h"

using namespace Foundation;
using namespace Tesslib;

namespace Orvane {

std::string TagTitle(const AlbumInfo& album, int track) {
    const ALBUMTRACK& t = album.tracks[track];
    const std::string& composer = t.composer.empty() ? album.composer : t.composer;
    const std::string& conductor = t.conductor.empty() ? album.conductor : t.conductor;
    std::string title;
    if (!composer.empty() && GetSetting("Prepend Composer", 0)) title += composer + " - ";
    if (!conductor.empty() && GetSetting("Prepend Conductor", 0)) title += conductor + " - ";
    return title + t.title;
}

VorbisTags MakeVorbisTags(const AlbumInfo& album, int track, const std::string& signature) {
    const ALBUMTRACK& t = album.tracks[track];
    VorbisTags tags;
    auto Add = [&](const char* name, const std::string& of_track, const std::string& of_album = {}) {
        const std::string& value = of_track.empty() ? of_album : of_track;
        if (!value.empty()) tags.Add(name, value);
    };
    Add("ARTIST", t.artist, album.artist);
    Add("ALBUM", album.title);
    Add("ALBUMARTIST", album.artist);
    Add("TITLE", TagTitle(album, track));
    if (album.year) tags.Add("DATE", std::to_string(album.year));
    tags.Add("TRACKNUMBER", std::to_string(track + 1));
    Add("COMPOSER", t.composer, album.composer);
    Add("CONDUCTOR", t.conductor, album.conductor);
    Add("COMMENT", t.comment, album.comment);
    Add("GENRE", album.genre);
    Add("ORGANIZATION", album.label);
    if (GetSetting("Include Grouping Tag", 1)) Add("GROUPING", t.grouping, album.grouping);
    tags.Add(kPrivateTag, signature);
    return tags;
}

}  // namespace Orvane
