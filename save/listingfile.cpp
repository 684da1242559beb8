#include "save/listingfile.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <unordered_set>

#include "foundation/fileerror.h"
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

Result<WrittenListing> WriteListingFile(const KeptFiles& kept, const std::string& path, std::string_view extension,
                                        std::string_view text, Encoding encoding, LineEnds line_ends,
                                        bool (*is_ours)(const std::string& path)) {
    std::string target = AbsolutePath(path);
    if (ExtensionOf(target).empty()) target.append(extension);
    if (IsTooLong(target)) return Outcome::Fail(Kind::Refused, Msg::FilenameTooLong).About(target);
    if (kept.Has(target)) return Outcome::Fail(Kind::Refused, Msg::NotForListings, target).About(target);
    const std::string folder = FolderOf(target);
    if (const int error = CreateFolders(folder)) return CannotCreateFolder(folder, error);
    const std::string temporary = TemporaryName(target);
    const auto writer = CreateTextFile(temporary, encoding, TEXT_CREATE, line_ends);
    if (!writer) return Outcome::OfLastError(ERR_CANNOT_OPEN);
    const bool written = writer->Write(text);
    if (!writer->Close(true) || !written) {
        const Outcome failure = Outcome::OfLastError(ERR_IO);
        RemoveFile(temporary);
        return failure;
    }
    if (SameBytes(temporary, target)) {
        RemoveFile(temporary);
        return WrittenListing{target, false};
    }
    const bool foreign = is_ours && FileExists(target) && !is_ours(target);
    if (const int error = PutInPlace(temporary, target, foreign ? OldFile::Trash : OldFile::Drop)) {
        return Outcome::OfLastError(error);
    }
    return WrittenListing{target, true};
}

std::vector<AlbumListing> WriteForEachAlbum(std::vector<AlbumListing> listings, const WriteAlbumListing& write) {
    std::unordered_set<std::string> taken;
    for (size_t i = 0; i < listings.size(); ++i) {
        AlbumListing& listing = listings[i];
        Progress::SetPosition(static_cast<int>(1000 * i / listings.size()));
        if (!Progress::Tick()) {
            Progress::Log(FormatMsg(Msg::Cancelled) + "\n");
            listings.resize(i);
            break;
        }
        const std::string wanted = listing.path;
        for (int copy = 2; !taken.insert(LowerAscii(listing.path)).second; ++copy) {
            listing.path = fmt::sprintf("%s (%d)%s", WithoutExtension(wanted), copy, ExtensionOf(wanted));
        }
        Progress::Log(listing.album->artist + " - " + listing.album->title);
        const Result<WrittenListing> written = write(*listing.album, listing.path);
        listing.outcome = written.GetOutcome();
        if (written) listing.path = written->path;
        Progress::Log(written ? " - <fg color=#00a000>done</fg>\n"
                              : FormatMsg(Msg::JobFailedLine, listing.outcome.Text()));
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
