#include "save/listingfile.h"

#include "collection/recordingplaces.h"
#include "foundation/fileerror.h"
#include "foundation/host.h"
#include "foundation/messages.h"
#include "foundation/path.h"
#include "foundation/progress.h"
#include "foundation/safefile.h"
#include "save/save_track.h"

namespace Orvane {
namespace {

// False, with the reason as last error, for what is no listing and must stay.
bool MayReplace(const AlbumSet* set, const std::string& path) {
    if (!set) return true;
    bool precious = AbsolutePath(set->path) == path;
    for (const AlbumInfo& album : set->albums) {
        for (const FileHistoryEntry* entry : AllRecordings(album)) precious |= AbsolutePath(entry->GetPath()) == path;
    }
    if (precious) FailContents(FormatMessage(Msg::NotForListings, path));
    return !precious;
}

}  // namespace

bool WriteListingFile(const AlbumSet* set, std::string& path, std::string_view extension, std::string_view text,
                      Encoding encoding, LineEnds line_ends) {
    path = AbsolutePath(path);
    if (ExtensionOf(path).empty()) path.append(extension);
    if (IsTooLong(path)) {
        Messages().Ask({kFilenameTooLong, Buttons::Ok, Severity::Warning, "Warn Filename Too Long"});
        FailContents(kFilenameTooLong);
        return false;
    }
    if (!MayReplace(set, path)) return false;
    if (const int error = CreateFolders(FolderOf(path))) {
        FailCreateFolder(FolderOf(path), error);
        return false;
    }
    const std::string temporary = TemporaryName(path);
    const auto writer = CreateTextFile(temporary, encoding, TEXT_CREATE, line_ends);
    if (!writer) return false;
    const bool written = writer->Write(text);
    if (!writer->Close(true) || !written) {
        DeleteFile(temporary);
        return false;
    }
    return ReplaceFile(temporary, path, path + "_bak", OldFile::Drop) == 0;
}

std::vector<ListingDone> WriteForEachAlbum(const std::vector<AlbumInfo*>& albums,
                                           const std::function<std::string(const AlbumInfo&)>& name,
                                           const std::function<bool(AlbumInfo&, std::string& path)>& write) {
    std::vector<ListingDone> listings;
    for (size_t i = 0; i < albums.size(); ++i) {
        Progress::SetPosition(static_cast<int>(1000 * i / albums.size()));
        if (!Progress::Tick()) {
            Progress::Log(FormatMessage(Msg::Cancelled) + "\n");
            break;
        }
        ListingDone listing{albums[i], name(*albums[i]), {}};
        if (listing.path.empty()) continue;
        Progress::Log(albums[i]->artist + " - " + albums[i]->title);
        if (write(*albums[i], listing.path)) {
            Progress::Log(" - <fg color=#00a000>done</fg>\n");
        } else {
            listing.error = GetLastError().text;
            Progress::Log(FormatMessage(Msg::JobFailedLine, listing.error));
        }
        listings.push_back(std::move(listing));
    }
    return listings;
}

std::string ListingFileName(const AlbumInfo& album, std::string_view extension) {
    return SafeFileName(album.artist + " - " + album.title).append(extension);
}

std::string OneLine(std::string_view text) {
    std::string line(text);
    for (char& c : line) {
        if (static_cast<unsigned char>(c) < ' ') c = ' ';
    }
    return line;
}

}  // namespace Orvane
