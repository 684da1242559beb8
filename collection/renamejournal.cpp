#include "collection/renamejournal.h"

#include <cerrno>
#include <optional>

#include "collection/dataobjects.h"
#include "collection/steering_records.h"
#include "foundation/fileerror.h"
#include "foundation/path.h"
#include "foundation/platform.h"
#include "foundation/text.h"

using namespace Foundation;

namespace Orvane {
namespace {

constexpr std::string_view kTitle = "Orvane renames";
constexpr std::string_view kFile = "File", kFolder = "Folder";

std::string JournalPath(std::string_view collection_path) {
    return std::string(collection_path).append("_renames");
}

std::optional<std::string> ReadBytes(const std::string& path) {
    int error = 0;
    const FilePtr file(OpenFile(path, "rb", error));
    if (!file) return {};
    std::string bytes;
    char block[65536];
    while (const size_t n = fread(block, 1, sizeof block, file.get())) bytes.append(block, n);
    if (ferror(file.get())) return {};
    return bytes;
}

// What a collection's file is known by: its contents, for a copy of it is as good. FNV-1a.
std::string MarkOf(std::string_view collection_path) {
    const auto bytes = ReadBytes(std::string(collection_path));
    uint64_t hash = 0xcbf29ce484222325;
    for (const char c : bytes.value_or(std::string())) hash = (hash ^ static_cast<uint8_t>(c)) * 0x100000001b3;
    return fmt::sprintf("%016x", hash);
}

std::string Line(std::string_view what, const FileRename& rename) {
    return fmt::sprintf("%s\t%s\t%s\n", what, EscapeNotes(rename.from), EscapeNotes(rename.to));
}

Outcome Write(const std::string& path, const char* mode, const std::string& text) {
    int error = 0;
    FilePtr file(OpenFile(path, mode, error));
    if (!file) return Outcome::OfLastError(FailOpenForWriting(path, error));
    if (fwrite(text.data(), 1, text.size(), file.get()) != text.size()) error = errno;
    if (!error) error = FlushToDisk(file.get());
    if (fclose(file.release()) != 0 && !error) error = errno;
    if (!error) error = FlushPathToDisk(FolderOf(path));
    return error ? Outcome::OfLastError(FailWrite(path, error)) : Outcome();
}

std::string Beginning(std::string_view collection_path) {
    return fmt::sprintf("%s\t%s\n", kTitle, MarkOf(collection_path));
}

// False when `from` stays what it is called: it is not there, something else has the other name, or the system refuses.
bool RenameOver(const std::string& from, const std::string& to) {
    if (FileExists(to) || RenameFile(from, to) != 0) {
        LogLine("After a crash this could not be renamed: " + from);
        return false;
    }
    return true;
}

}  // namespace

Outcome EnterRenames(AlbumSet& set, std::span<const FileRename> renames) {
    if (renames.empty() || !FileExists(set.path)) return {};
    std::string text = set.has_unsaved_renames ? std::string() : Beginning(set.path);
    for (const FileRename& rename : renames) text += Line(kFile, rename);
    Outcome written = Write(JournalPath(set.path), set.has_unsaved_renames ? "ab" : "wb", text);
    if (written) set.has_unsaved_renames = true;
    return written;
}

Outcome EnterFolderMove(std::string_view old_path, std::string_view new_path, const FileRename& folder) {
    return Write(JournalPath(new_path), "wb", Beginning(old_path) + Line(kFolder, folder));
}

void ForgetRenames(std::string_view collection_path) {
    RemoveFile(JournalPath(collection_path));
}

HealedRenames HealRenames(const std::string& collection_path) {
    const std::optional<std::string> journal = ReadBytes(JournalPath(collection_path));
    HealedRenames healed;
    if (!journal) return healed;
    const std::vector<std::string_view> lines = Split(*journal, '\n');
    if (lines[0].empty() || std::string(lines[0]) + "\n" != Beginning(collection_path)) {
        ForgetRenames(collection_path);
        return healed;
    }
    // The last line is empty, or was not written to its end: then nothing that it tells of has been done.
    for (size_t i = lines.size() - 1; i-- > 1;) {
        const std::vector<std::string_view> fields = Split(lines[i], '\t');
        if (fields.size() != 3) continue;
        const FileRename rename{UnescapeNotes(fields[1]), UnescapeNotes(fields[2])};
        if (fields[0] == kFolder) {
            if (FileExists(rename.from)) RenameOver(rename.from, rename.to);
            healed.moved_folders.push_back(rename);
            healed.unsaved = true;
        } else if (fields[0] == kFile && FileExists(rename.to) && !FileExists(rename.from)) {
            if (!RenameOver(rename.to, rename.from)) healed.unsaved = true;
        }
    }
    if (!healed.unsaved) ForgetRenames(collection_path);
    return healed;
}

}  // namespace Orvane
