#include "save/savedfiles.h"

#include <algorithm>
#include <filesystem>
#include <system_error>
#include <unordered_set>

#include "foundation/fileerror.h"
#include "foundation/path.h"
#include "foundation/platform.h"
#include "tesslib/fileformats.h"

using namespace Foundation;
using namespace Tesslib;

namespace Orvane {
namespace {

constexpr size_t kSignatureLength = 64;  // hexadecimal digits

// In an album's files; the end when the path is not known.
template <class Files>
auto FindSavedFile(Files& files, const std::string& path) {
    return std::find_if(files.begin(), files.end(), [&](const SavedFile& file) { return file.path == path; });
}

bool IsAsSaved(const SavedFile& saved, int file_format) {
    return ReadSignature(saved.path, file_format) == saved.signature;
}

bool LiesBelow(const std::string& path, const std::string& folder) {
    return path.size() > folder.size() && path.starts_with(folder) && IsSeparator(path[folder.size()]);
}

// Takes the folder of tracks away, and the one that it lies in, where they are empty but for the cover.
void RemoveTrackFolder(const std::string& folder) {
    namespace fs = std::filesystem;
    std::error_code error;
    for (const fs::directory_entry& entry : fs::directory_iterator(folder, error)) {
        if (entry.path().filename() != kFolderArt && entry.path().filename() != ".hidden") return;
    }
    MoveToTrash(JoinPath(folder, kFolderArt));
    RemoveFile(JoinPath(folder, ".hidden"));
    for (const std::string& empty : {folder, FolderOf(folder)}) fs::remove(empty, error);  // refused where it is not
}

void MarkSavedFilesChanged(const AlbumInfo& album) {
    if (album.set == gAlbumSet) MarkDirty();
}

}  // namespace

std::string ReadSignature(const std::string& path, int file_format) {
    const RefPtr<FileStream> reader = MakeFileStream(file_format);
    const std::string text = reader ? reader->ReadTags(path) : std::string();
    const bool is_signature =
        text.size() == kSignatureLength && text.find_first_not_of("0123456789abcdef") == text.npos;
    return is_signature ? text : std::string();
}

void NoteSavedFile(AlbumInfo& album, const std::string& path, const std::string& signature) {
    const SavedFile saved{AbsolutePath(path), signature};
    const auto known = FindSavedFile(album.saved_files, saved.path);
    if (known == album.saved_files.end()) {
        album.saved_files.push_back(saved);
    } else if (*known == saved) {
        return;
    } else {
        *known = saved;
    }
    MarkSavedFilesChanged(album);
}

bool IsSavedFileOf(const AlbumInfo& album, const std::string& path, int file_format) {
    const auto known = FindSavedFile(album.saved_files, AbsolutePath(path));
    return known != album.saved_files.end() && IsAsSaved(*known, file_format);
}

std::vector<Leftover> FindLeftovers(AlbumInfo& album, const std::vector<std::string>& names,
                                    const SaveSettings& settings, const KeptFiles& kept) {
    std::unordered_set<std::string> current;  // however a name is written
    for (const std::string& name : names) current.insert(FileIdentity(name));
    const std::string folder = AbsolutePath(settings.output_folder);
    const std::string_view extension = GetFileFormatInfo(settings.Format()).extension;
    std::vector<Leftover> leftovers;
    std::vector<SavedFile> known;
    for (const SavedFile& saved : album.saved_files) {
        const bool in_question = LiesBelow(saved.path, folder) && ExtensionOf(saved.path) == extension;
        if (in_question && current.count(FileIdentity(saved.path)) == 0) {
            // A folder that is not there may be on a drive that is not there today.
            if (FileExists(folder) && !IsAsSaved(saved, settings.Format())) continue;
            if (FileExists(saved.path) && !kept.Has(saved.path)) leftovers.push_back({&album, saved.path});
        }
        known.push_back(saved);
    }
    if (known != album.saved_files) {
        album.saved_files = std::move(known);
        MarkSavedFilesChanged(album);
    }
    return leftovers;
}

Outcome DeleteLeftover(const Leftover& leftover) {
    AlbumInfo& album = *leftover.album;
    if (!IsSavedFileOf(album, leftover.path, FormatOfExtension(ExtensionOf(leftover.path)))) return {};
    if (const int error = MoveToTrash(leftover.path)) return CannotDelete(leftover.path, error);
    RemoveTrackFolder(FolderOf(leftover.path));
    album.saved_files.erase(FindSavedFile(album.saved_files, leftover.path));
    MarkSavedFilesChanged(album);
    return {};
}

}  // namespace Orvane
