#include "save/export_track_listing.h"

#include <algorithm>

#include "collection/recordingplaces.h"
#include "collection/tracktime.h"
#include "foundation/messages.h"
#include "foundation/path.h"
#include "foundation/settings.h"
#include "foundation/text.h"
#include "save/export_csv.h"
#include "save/tracknames.h"

using namespace Foundation;

namespace Orvane {
namespace {

int64_t LengthOf(const ALBUMTRACK& track) {
    return track.FadeEnd() - track.FadeStart();
}

std::string ArtistOf(const AlbumInfo& album, const ALBUMTRACK& track) {
    return OneLine(track.artist.empty() ? album.artist : track.artist);
}

std::string AlbumName(const AlbumInfo& album) {
    return OneLine(album.artist + " - " + album.title);
}

// The place of a track in a playlist: a made-up one, from which programs take the names. The alias is the alternative.
std::string PlaylistPath(const AlbumInfo& album, const ALBUMTRACK& track) {
    const auto safe = [](const std::string& value) { return SanitiseValue(OneLine(value)); };
    std::string path = "C:\\" + safe(album.artist) + " - " + safe(album.title) + "\\";
    if (!track.artist.empty()) path += safe(track.artist) + " - ";
    path += safe(track.title);
    if (!track.alias.empty()) path += " (" + safe(track.alias) + ")";
    return path;
}

std::string XmlText(std::string_view value) {
    std::string text;
    for (char c : OneLine(value)) {
        switch (c) {
            case '&':
                text += "&amp;";
                break;
            case '<':
                text += "&lt;";
                break;
            case '>':
                text += "&gt;";
                break;
            case '"':
                text += "&quot;";
                break;
            default:
                text += c;
        }
    }
    return text;
}

std::unique_ptr<ExportTrackListing> MakeListing(const AlbumInfo& album, ListingFormat format) {
    switch (format) {
        case ListingFormat::M3U:
        case ListingFormat::M3U8:
            return std::make_unique<ExportM3UTrackListing>(album);
        case ListingFormat::WPL:
            return std::make_unique<ExportWPLTrackListing>(album);
        case ListingFormat::CDC:
            return std::make_unique<ExportCDCTrackListing>(album);
        case ListingFormat::TXT:
        case ListingFormat::CSV:
            break;
    }
    return std::make_unique<ExportTXTTrackListing>(album);
}

Result<WrittenListing> WriteListing(const KeptFiles& kept, const std::vector<AlbumInfo*>& albums, ListingFormat format,
                                    const std::string& path) {
    // A line break inside a value of a CSV file is no end of a line.
    const LineEnds line_ends = format == ListingFormat::CSV ? LineEnds::LF : LineEnds::CRLF;
    // Programs look for the first word of a playlist at the very start, so no mark stands before it.
    return WriteListingFile(kept, path, GetListingFormatInfo(format).extension, ListingText(albums, format),
                            Encoding::ANSI, line_ends);
}

}  // namespace

void ExportM3UTrackListing::WriteHeader() {
    text += "#EXTM3U\n";
}

void ExportM3UTrackListing::WriteTrack(int index) {
    const ALBUMTRACK& track = album.tracks[index];
    const int64_t seconds = (LengthOf(track) + kTicksPerSecond / 2) / kTicksPerSecond;
    text += fmt::sprintf("#EXTINF:%d,%s - %s\n", seconds, ArtistOf(album, track), OneLine(track.title));
    text += PlaylistPath(album, track) + "\n";
}

void ExportWPLTrackListing::WriteHeader() {
    text +=
        "<?wpl version=\"1.0\" encoding=\"utf-8\"?>\n<smil>\n    <head>\n"
        "        <meta name=\"Generator\" content=\"Orvane\" />\n";
    text += "        <title>" + XmlText(AlbumName(album)) + "</title>\n    </head>\n    <body>\n        <seq>\n";
}

void ExportWPLTrackListing::WriteTrack(int index) {
    text += "            <media src=\"" + XmlText(PlaylistPath(album, album.tracks[index])) + "\"/>\n";
}

void ExportWPLTrackListing::WriteFooter() {
    text += "        </seq>\n    </body>\n</smil>\n";
}

void ExportCDCTrackListing::WriteHeader() {
    int64_t ticks = 0;
    for (const ALBUMTRACK& track : album.tracks) ticks += LengthOf(track);
    text += fmt::sprintf("[CDINFO]\nArtist=%s\nTitle=%s\nPlaytime=%s\nTracks=%d\nType=Audio-CD\n",
                         OneLine(album.artist), OneLine(album.title), ClockText(ticks), album.tracks.size());
}

void ExportCDCTrackListing::WriteTrack(int index) {
    const ALBUMTRACK& track = album.tracks[index];
    text += fmt::sprintf("[Track%d]\nArtist=%s\nTitle=%s\nPlaytime=%s\nType=Audio\n", index + 1, ArtistOf(album, track),
                         OneLine(track.title), ClockText(LengthOf(track)));
}

void ExportCDCTrackListing::WriteFooter() {
    text += "[Parameters]\nAutoDelete=1\nLanguage=English\n";
}

ExportTXTTrackListing::ExportTXTTrackListing(const AlbumInfo& album)
    : ExportTrackListing(album),
      numbers(GetSetting("Export Track Numbers", 1) != 0),
      times(GetSetting("Export Track Times", 0) != 0),
      importable(GetSetting("Importable", 0) != 0),
      timed(!std::all_of(album.tracks.begin(), album.tracks.end(), [](const auto& t) { return t.IsEmpty(); })) {}

void ExportTXTTrackListing::WriteHeader() {
    text += importable ? "# " + AlbumName(album) + "\n" : AlbumName(album) + "\n------------------------------\n";
}

void ExportTXTTrackListing::WriteTrack(int index) {
    const ALBUMTRACK& track = album.tracks[index];
    if (importable) {
        if (timed) text += track.IsEmpty() ? "# " : FormatTime(track.start) + " - " + FormatTime(track.end) + " ";
        text += OneLine(track.title) + "\n";
        return;
    }
    if (numbers) text += fmt::sprintf("%d. ", index + 1);
    text += OneLine(track.title);
    if (times) text += " (" + ClockText(LengthOf(track)) + ")";
    text += "\n";
}

const std::vector<ListingFormatInfo>& ListingFormats() {
    static const std::vector<ListingFormatInfo> formats = {
        {ListingFormat::M3U, ".m3u", false}, {ListingFormat::M3U8, ".m3u8", false}, {ListingFormat::WPL, ".wpl", false},
        {ListingFormat::CDC, ".cdc", false}, {ListingFormat::TXT, ".txt", true},    {ListingFormat::CSV, ".csv", true},
    };
    return formats;
}

const ListingFormatInfo& GetListingFormatInfo(ListingFormat format) {
    return ListingFormats()[static_cast<size_t>(format)];
}

std::string ListingText(const std::vector<AlbumInfo*>& albums, ListingFormat format) {
    ORVANE_ASSERT(albums.size() == 1 || GetListingFormatInfo(format).many_albums);
    if (format == ListingFormat::CSV) {
        for (AlbumInfo* album : albums) PlaceRecordings(*album);  // tells the sides of the tracks
        return CSVListing(albums, CSVOptions::FromStore());
    }
    std::string text;
    for (const AlbumInfo* album : albums) {
        const auto listing = MakeListing(*album, format);
        listing->WriteHeader();
        for (int i = 0; i < album->tracks.size(); ++i) listing->WriteTrack(i);
        listing->WriteFooter();
        text += (text.empty() ? "" : "\n") + listing->text;
    }
    return text;
}

Result<WrittenListing> ExportListing(const std::vector<AlbumInfo*>& albums, ListingFormat format,
                                     const std::string& path) {
    return WriteListing(KeptFiles(albums), albums, format, path);
}

std::vector<AlbumListing> ExportListings(const std::vector<AlbumInfo*>& albums, ListingFormat format,
                                         const std::string& folder) {
    std::vector<AlbumListing> listings;
    for (AlbumInfo* album : albums) {
        const std::string name = ListingFileName(*album, GetListingFormatInfo(format).extension);
        listings.push_back({album, JoinPath(folder, name), {}});
    }
    const KeptFiles kept(albums);
    return WriteForEachAlbum(std::move(listings), [&](AlbumInfo& album, const std::string& path) {
        return WriteListing(kept, {&album}, format, path);
    });
}

ListingDialog ListingDialogFor(const AlbumInfo& album) {
    const int last = GetSetting("Export Tracklisting Format", static_cast<int>(ListingFormat::TXT));
    const auto format = static_cast<ListingFormat>(std::clamp(last, 0, static_cast<int>(ListingFormat::CSV)));
    std::string filename = GetStringSetting("Export Tracklisting Filename");
    if (filename.empty()) filename = ListingFileName(album, GetListingFormatInfo(format).extension);
    return {format, GetStringSetting("Export Tracklisting Directory"), filename};
}

void RememberListing(ListingFormat format, const std::string& path) {
    SetSettings({{"Export Tracklisting Format", static_cast<int>(format)},
                 {"Export Tracklisting Directory", FolderOf(path)},
                 {"Export Tracklisting Filename", FileNameOf(path)}});
}

}  // namespace Orvane
