#include "save/listingfile.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <unordered_set>

#include "foundation/fileerror.h"
#include "foundation/host.h"
#include "foundation/messages.h"
#include "foundation/path.h"
#include "foundation/progress.h"
#include "foundation/safefile.h"
#include "foundation/text.h"
#include "save/filenames.h"

using namespace Foundation;

namespace Orvane {
namespace {

// Whether two files, of which the second need not be there, hold the same.
bool SameBytes(const std::string& a, const std::string& b) {
    int error = 0;
    const FilePtr files[] = {FilePtr(OpenFile(a, "rb", error)), FilePtr(OpenFile(b, "rb", error))};
    if (!files[0] || !files[1]) return false;
    std::array<std::array<char, 4096>, 2> blocks;
    for (;;) {
        const size_t n_first = std::fread(blocks[0].data(), 1, blocks[0].size(), files[0].get());
        const size_t n_second = std::fread(blocks[1].data(), 1, blocks[1].size(), files[1].get());
        if (n_first != n_second || !std::equal(blocks[0].begin(), blocks[0].begin() + n_first, blocks[1].begin()))
            return false;
        if (n_first == 0) return !std::ferror(files[0].get()) && !std::ferror(files[1].get());
    }
}

}  // namespace

ListingWritten WriteListingFile(const KeptFiles& kept, std::string& path, std::string_view extension,
                                std::string_view text, Encoding encoding, LineEnds line_ends,
                                bool (*is_ours)(const std::string& path)) {
    path = AbsolutePath(path);
    if (ExtensionOf(path).empty()) path.append(extension);
    if (IsTooLong(path)) {
        Messages().Ask({kFilenameTooLong, Buttons::Ok, Severity::Warning, "Warn Filename Too Long"});
        FailContents(kFilenameTooLong);
        return ListingWritten::Failed;
    }
    if (kept.Has(path)) {
        FailContents(FormatMsg(Msg::NotForListings, path));
        return ListingWritten::Failed;
    }
    if (const int error = CreateFolders(FolderOf(path))) {
        FailCreateFolder(FolderOf(path), error);
        return ListingWritten::Failed;
    }
    const std::string temporary = TemporaryName(path);
    const auto writer = CreateTextFile(temporary, encoding, TEXT_CREATE, line_ends);
    if (!writer) return ListingWritten::Failed;
    const bool written = writer->Write(text);
    if (!writer->Close(true) || !written) {
        RemoveFile(temporary);
        return ListingWritten::Failed;
    }
    if (SameBytes(temporary, path)) {
        RemoveFile(temporary);
        return ListingWritten::Unchanged;
    }
    const bool foreign = is_ours && FileExists(path) && !is_ours(path);
    const bool replaced = PutInPlace(temporary, path, foreign ? OldFile::Trash : OldFile::Drop) == 0;
    return replaced ? ListingWritten::Written : ListingWritten::Failed;
}

std::vector<ListingDone> WriteForEachAlbum(const std::vector<AlbumInfo*>& albums,
                                           const std::function<std::string(const AlbumInfo&)>& name,
                                           const std::function<ListingWritten(AlbumInfo&, std::string& path)>& write) {
    std::vector<ListingDone> listings;
    std::unordered_set<std::string> taken;
    for (size_t i = 0; i < albums.size(); ++i) {
        Progress::SetPosition(static_cast<int>(1000 * i / albums.size()));
        if (!Progress::Tick()) {
            Progress::Log(FormatMsg(Msg::Cancelled) + "\n");
            break;
        }
        ListingDone listing{albums[i], name(*albums[i]), {}};
        if (listing.path.empty()) continue;
        const std::string wanted = listing.path;
        for (int copy = 2; !taken.insert(LowerAscii(listing.path)).second; ++copy) {
            listing.path = fmt::sprintf("%s (%d)%s", WithoutExtension(wanted), copy, ExtensionOf(wanted));
        }
        Progress::Log(albums[i]->artist + " - " + albums[i]->title);
        if (write(*albums[i], listing.path) != ListingWritten::Failed) {
            Progress::Log(" - <fg color=#00a000>done</fg>\n");
        } else {
            listing.error = GetLastError().text;
            Progress::Log(FormatMsg(Msg::JobFailedLine, listing.error));
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
