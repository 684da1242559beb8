#include "save/filenames.h"

#include <algorithm>
#include <limits>
#include <unordered_set>

#include "collection/albumset.h"
#include "collection/recordingplaces.h"
#include "foundation/messages.h"
#include "foundation/path.h"
#include "foundation/settings.h"
#include "foundation/text.h"
#include "save/savedfiles.h"
#include "save/tracknames.h"

using namespace Foundation;
using namespace Tesslib;

namespace Orvane {
namespace {

// Bytes of a name, and of a path, that the system takes with the temporary file's mark.
constexpr size_t kMaxFileName = 251;
constexpr size_t kMaxPath = 4091;
constexpr int kMaxForeignPath = 259;  // characters

// All albums of the collection, or just `albums` where they are in none. What has not been recorded yet comes last.
std::vector<AlbumInfo*> InOrderOfRecording(std::vector<AlbumInfo*> albums) {
    if (AlbumSet* set = albums.empty() ? nullptr : albums.front()->set) {
        albums.clear();
        for (AlbumInfo& album : set->albums) albums.push_back(&album);
    }
    const auto recorded = [](const AlbumInfo* album) {
        const FileTime time = DateRecorded(*album);
        return time ? time : std::numeric_limits<FileTime>::max();
    };
    std::stable_sort(albums.begin(), albums.end(),
                     [&](const AlbumInfo* a, const AlbumInfo* b) { return recorded(a) < recorded(b); });
    return albums;
}

// Names made without what depends on sides: only tracks that share one can share a file.
using SidelessNames = std::unordered_set<std::string>;

std::string SidelessName(const AlbumInfo& album, int track, const SaveSettings& settings) {
    return LowerAscii(ExpandTemplate(WithoutSideKeywords(settings.TemplateOf(album)), album, track, NamePart::WholePath,
                                     settings.Format()));
}

// Those of all tracks; none where the template has no sides.
SidelessNames SidelessNamesOf(const AlbumInfo& album, const SaveSettings& settings) {
    SidelessNames names;
    const std::string name_template = settings.TemplateOf(album);
    if (WithoutSideKeywords(name_template) == name_template) return names;
    for (int track = 0; track < album.tracks.size(); ++track) names.insert(SidelessName(album, track, settings));
    return names;
}

struct UnsureAlbum {
    const AlbumInfo* album;
    SidelessNames names;
};

// Has the lengths of the sides found for the names of `wanted`, and for those of `albums` that could be the same; a big
// collection may lie on a server, so nothing else is opened. Returns the albums of which a recording is missing.
std::vector<UnsureAlbum> FindSides(const std::vector<AlbumInfo*>& albums, const std::vector<AlbumInfo*>& wanted,
                                   const SaveSettings& settings) {
    std::vector<UnsureAlbum> unsure;
    SidelessNames wanted_names;
    for (const AlbumInfo* album : wanted) wanted_names.merge(SidelessNamesOf(*album, settings));
    if (wanted_names.empty()) return unsure;
    for (AlbumInfo* album : albums) {
        if (album->Recordings().size() < 2) continue;  // on the only side, however long it is
        SidelessNames names = SidelessNamesOf(*album, settings);
        const auto is_wanted = [&](const std::string& name) { return wanted_names.count(name) != 0; };
        if (std::none_of(names.begin(), names.end(), is_wanted)) continue;
        if (EndOfRecordings(*album) == kUnknownEnd) unsure.push_back({album, std::move(names)});
    }
    return unsure;
}

}  // namespace

bool IsTooLong(const std::string& filename) {
    if (FileNameOf(filename).size() > kMaxFileName || filename.size() > kMaxPath) return true;
    return !GetSetting("Permit Long Filenames", 1) && CharacterCount(filename) > kMaxForeignPath;
}

std::vector<std::vector<std::string>> TrackFileNames(const std::vector<AlbumInfo*>& albums,
                                                     const SaveSettings& settings) {
    const std::string_view extension = GetFileFormatInfo(settings.Format()).extension;
    const auto path_of = [&](const std::string& name) {
        return JoinPath(settings.output_folder, name + std::string(extension));
    };
    std::vector<std::vector<std::string>> names(albums.size());
    std::unordered_set<std::string> taken;
    const std::vector<AlbumInfo*> all = InOrderOfRecording(albums);
    const std::vector<UnsureAlbum> unsure = FindSides(all, albums, settings);
    for (const AlbumInfo* album : all) {
        const auto wanted = std::find(albums.begin(), albums.end(), album);
        // Whether the file there may be that of a track whose name is not known now.
        const auto may_be_others = [&](int track, const std::string& path) {
            const auto shares = [&](const UnsureAlbum& other) {
                return other.album != album && other.names.count(SidelessName(*album, track, settings)) != 0;
            };
            return wanted != albums.end() && std::any_of(unsure.begin(), unsure.end(), shares) && FileExists(path) &&
                   !IsSavedFileOf(*album, path, settings.Format());
        };
        std::vector<std::string> of_album;
        const std::string name_template = settings.TemplateOf(*album);
        for (int track = 0; track < album->tracks.size(); ++track) {
            std::string name = ExpandTemplate(name_template, *album, track, NamePart::WholePath, settings.Format());
            if (name.empty()) name = fmt::sprintf("%02d", track + 1);
            std::string unique = name;
            for (int i = 2; !taken.insert(LowerAscii(unique)).second || may_be_others(track, path_of(unique)); ++i) {
                unique = fmt::sprintf("%s (%d)", name, i);
            }
            of_album.push_back(path_of(unique));
        }
        if (wanted != albums.end()) names[static_cast<size_t>(wanted - albums.begin())] = std::move(of_album);
    }
    return names;
}

std::vector<std::string> TrackFileNames(AlbumInfo& album, const SaveSettings& settings) {
    return TrackFileNames(std::vector{&album}, settings).front();
}

}  // namespace Orvane
