// Track listings: playlists and other text forms of an album's tracks.
#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "collection/dataobjects.h"
#include "save/listingfile.h"

namespace Orvane {

// The numbers are those of "Export Tracklisting Format".
enum class ListingFormat : int { M3U = 0, M3U8 = 1, WPL = 2, CDC = 3, TXT = 4, CSV = 5 };

struct ListingFormatInfo {
    ListingFormat format;
    std::string_view extension;  // with its dot
    bool many_albums;            // one file may hold several
};
const std::vector<ListingFormatInfo>& ListingFormats();  // in the order of their numbers
const ListingFormatInfo& GetListingFormatInfo(ListingFormat format);

// One album in a form of its own. WriteHeader comes first, then WriteTrack for each track, WriteFooter last; each
// appends to `text`, whose lines end with "\n".
class ExportTrackListing {
public:
    explicit ExportTrackListing(const AlbumInfo& album) : album(album) {}
    ExportTrackListing(const ExportTrackListing&) = delete;
    ExportTrackListing& operator=(const ExportTrackListing&) = delete;
    virtual ~ExportTrackListing() = default;
    virtual void WriteHeader() = 0;
    virtual void WriteTrack(int track) = 0;
    virtual void WriteFooter() {}

    std::string text;

protected:
    const AlbumInfo& album;
};

class ExportM3UTrackListing : public ExportTrackListing {
public:
    using ExportTrackListing::ExportTrackListing;
    void WriteHeader() override;
    void WriteTrack(int track) override;
};

class ExportWPLTrackListing : public ExportTrackListing {
public:
    using ExportTrackListing::ExportTrackListing;
    void WriteHeader() override;
    void WriteTrack(int track) override;
    void WriteFooter() override;
};

class ExportCDCTrackListing : public ExportTrackListing {
public:
    using ExportTrackListing::ExportTrackListing;
    void WriteHeader() override;
    void WriteTrack(int track) override;
    void WriteFooter() override;
};

// "Export Track Numbers" puts the number before each title, "Export Track Times" its length behind. With "Importable"
// the lines are those of a file of titles, START - END TITLE; what such a file does not hold stands behind a "#".
class ExportTXTTrackListing : public ExportTrackListing {
public:
    explicit ExportTXTTrackListing(const AlbumInfo& album);
    void WriteHeader() override;
    void WriteTrack(int track) override;

private:
    const bool numbers;
    const bool times;
    const bool importable;
    const bool timed;  // a track has times
};

// The listing of albums, of more than one where the format takes them. Recordings are opened for a moment. Main thread.
std::string ListingText(const std::vector<AlbumInfo*>& albums, ListingFormat format);

// Writes it to `path`, which gets the format's extension if it has none. Main thread.
Foundation::Result<WrittenListing> ExportListing(const std::vector<AlbumInfo*>& albums, ListingFormat format,
                                                 const std::string& path);

// Writes a listing of its own for each album, "Artist - Title" in `folder`, as one job (see WriteForEachAlbum).
std::vector<AlbumListing> ExportListings(const std::vector<AlbumInfo*>& albums, ListingFormat format,
                                         const std::string& folder);

// What the file dialog begins with, as the settings "Export Tracklisting Format", "... Directory" and "... Filename"
// have it, and keeping the user's choice there.
struct ListingDialog {
    ListingFormat format;
    std::string folder;
    std::string filename;
};
ListingDialog ListingDialogFor(const AlbumInfo& album);
void RememberListing(ListingFormat format, const std::string& path);

}  // namespace Orvane
