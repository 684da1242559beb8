#include "save/savedfiles.h"

#include <algorithm>

#include "tesslib/fileformats.h"

using namespace Foundation;
using namespace Tesslib;

namespace Orvane {
namespace {

constexpr size_t kSignatureLength = 64;  // hexadecimal digits

// In `files`, an album's; its end when the path is not known.
template <class Files>
auto Find(Files& files, const std::string& path) {
    return std::find_if(files.begin(), files.end(), [&](const SavedFile& file) { return file.path == path; });
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
    const auto known = Find(album.saved_files, path);
    if (known == album.saved_files.end()) {
        album.saved_files.push_back({path, signature});
    } else if (known->signature != signature) {
        known->signature = signature;
    } else {
        return;
    }
    if (album.set == gAlbumSet) MarkDirty();
}

bool IsSavedFileOf(const AlbumInfo& album, const std::string& path, int file_format) {
    const auto known = Find(album.saved_files, path);
    return known != album.saved_files.end() && ReadSignature(path, file_format) == known->signature;
}

}  // namespace Orvane
