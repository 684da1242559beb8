#include "foundation/safefile.h"

#include <cerrno>

#include "foundation/assert.h"
#include "foundation/fileerror.h"
#include "foundation/path.h"
#include "foundation/platform.h"

namespace Tesslib {

std::string TemporaryName(std::string_view path) {
    const size_t dot = path.rfind('.');
    const bool extension = dot != path.npos && path.find_first_of("/\\", dot) == path.npos;
    ORVANE_ASSERT(extension);
    return std::string(path.substr(0, dot)).append("_$$$").append(path.substr(dot));
}

int ReplaceFile(std::string_view temporary, std::string_view path, std::string_view backup, OldFile old_file) {
    bool old_stands = FileExists(path);
    bool has_backup = false;
    if (old_stands) {
        // A second name for the old file keeps the first one in place until the new file takes it. Where the file
        // system knows no second names, the old file is renamed and its name is free for a moment.
        DeleteFile(backup);
        has_backup = LinkFile(path, backup) == 0;
        if (!has_backup) {
            int error = RenameFile(path, backup);
            has_backup = error == 0;
            if (error) error = MoveToTrash(path);
            if (error && error != ENOENT) {
                DeleteFile(temporary);
                return FailRename(path, backup, error);
            }
            old_stands = false;
        }
    }
    if (const int error = RenameFile(temporary, path)) {
        if (!old_stands && has_backup) old_stands = RenameFile(backup, path) == 0;
        // Without the old file the temporary is all that the user has left.
        if (old_stands) DeleteFile(temporary);
        return FailRename(temporary, path, error);
    }
    if (has_backup && old_file == OldFile::Drop) DeleteFile(backup);
    FlushFolderToDisk(FolderOf(path));
    return 0;
}

}  // namespace Tesslib
