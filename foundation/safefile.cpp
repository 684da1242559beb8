#include "foundation/safefile.h"

#include <cerrno>
#include <cstdio>
#include <vector>

#include "foundation/fileerror.h"
#include "foundation/path.h"
#include "foundation/platform.h"

namespace Foundation {
namespace {

constexpr std::string_view kMark = "_$$$";

// Where the extension begins, with its dot; the length of a path without one.
size_t ExtensionStart(std::string_view path) {
    const size_t dot = path.rfind('.');
    return dot == path.npos || path.find_first_of("/\\", dot) != path.npos ? path.size() : dot;
}

}  // namespace

std::string TemporaryName(std::string_view path) {
    const size_t dot = ExtensionStart(path);
    return std::string(path.substr(0, dot)).append(kMark).append(path.substr(dot));
}

std::string PathOfTemporary(std::string_view path) {
    const size_t mark = path.rfind(kMark);
    if (mark == path.npos || mark + kMark.size() != ExtensionStart(path)) return std::string(path);
    return std::string(path.substr(0, mark)).append(path.substr(mark + kMark.size()));
}

std::string BackupName(std::string_view path) {
    return std::string(path).append("_bak");
}

int PutInPlace(std::string_view temporary, std::string_view path, OldFile old_file) {
    const auto fail = [&](std::string_view from, std::string_view to, int error) {
        RemoveFile(temporary);
        return FailRename(from, to, error);
    };
    FileInfo old;
    bool old_stands = GetFileInfo(path, old) == 0;
    if (old_stands && old.is_folder) {
        RemoveFile(temporary);
        return FailOpenForWriting(path, EISDIR);
    }
    if (old_stands && old_file == OldFile::Trash) {
        if (const int error = MoveToTrash(path)) return fail(temporary, path, error);
        old_stands = false;
    }
    const std::string backup = BackupName(path);
    bool has_backup = false;
    if (old_stands && old_file == OldFile::Keep) {
        // A second name for the old file keeps the first one in place until the new file takes it. Where the file
        // system knows no second names, the old file is renamed and its name is free for a moment.
        RemoveFile(backup);
        has_backup = LinkFile(path, backup) == 0;
        if (!has_backup) {
            int error = RenameFile(path, backup);
            has_backup = error == 0;
            if (error) error = MoveToTrash(path);
            if (error && error != ENOENT) return fail(path, backup, error);
            old_stands = false;
        }
    }
    if (const int error = RenameFile(temporary, path)) {
        if (!old_stands && has_backup) old_stands = RenameFile(backup, path) == 0;
        // Without the old file the temporary is all that the user has left.
        if (old_stands) RemoveFile(temporary);
        return FailRename(temporary, path, error);
    }
    FlushPathToDisk(FolderOf(path));
    return 0;
}

Outcome ReplaceContents(std::string_view path, std::string_view bytes) {
    const std::string temporary = TemporaryName(path);
    int error = 0;
    FILE* file = OpenFile(temporary, "wb", error);
    if (!file) return CannotOpenForWriting(temporary, error);
    if (fwrite(bytes.data(), 1, bytes.size(), file) != bytes.size()) error = errno;
    if (!error) error = FlushToDisk(file);
    if (fclose(file) != 0 && !error) error = errno;
    if (!error) error = RenameFile(temporary, path);
    if (!error) return {};
    RemoveFile(temporary);
    return CannotWrite(path, error);
}

int CopyContents(std::string_view from, std::string_view to, const std::function<bool(int64_t)>& progress) {
    int error = 0;
    FILE* source = OpenFile(from, "rb", error);
    if (!source) return FailOpen(from, error);
    const std::string temporary = TemporaryName(to);
    FILE* copy = OpenFile(temporary, "wb", error);
    if (!copy) {
        fclose(source);
        return FailOpenForWriting(temporary, error);
    }
    int result = 0;
    int64_t done = 0;
    std::vector<char> block(1 << 20);
    while (result == 0) {
        const size_t n = fread(block.data(), 1, block.size(), source);
        if (n == 0 && ferror(source)) result = FailRead(from, errno);
        if (n == 0) break;
        done += static_cast<int64_t>(n);
        if (fwrite(block.data(), 1, n, copy) != n) {
            result = FailWrite(to, errno);
        } else if (progress && !progress(done)) {
            result = 1;
        }
    }
    fclose(source);
    if (result == 0 && (error = FlushToDisk(copy)) != 0) result = FailWrite(to, error);
    if (fclose(copy) != 0 && result == 0) result = FailWrite(to, errno);
    if (result == 0 && (error = RenameFile(temporary, to)) != 0) result = FailRename(temporary, to, error);
    if (result != 0) RemoveFile(temporary);
    return result;
}

}  // namespace Foundation
