// Replacing a file so that at every moment the user has either the old one or the new one, whole.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

#include "foundation/outcome.h"

namespace Foundation {

// The name of the temporary file for `path`: its last dot is followed by the extension, before which "_$$$" goes
// ("Name.mcf" -> "Name_$$$.mcf"), or by nothing where there is none.
std::string TemporaryName(std::string_view path);

// The path that a temporary file is for; any other path as it stands. What the user is told names the file asked for.
std::string PathOfTemporary(std::string_view path);

// "<path>_bak".
std::string BackupName(std::string_view path);

// What becomes of the file that was there when the new one stands: it is kept as the backup in the place of an older
// one (in the Trash where it cannot be renamed), deleted, or in the Trash.
enum class OldFile { Keep, Drop, Trash };

// Puts `temporary`, a finished file that is on the disk, in the place of `path`, which is no folder. On failure the
// temporary is deleted unless the old file is gone, the thread's last error says why, and the result is negative.
int PutInPlace(std::string_view temporary, std::string_view path, OldFile old_file);

// Makes `bytes` the contents of the file `path`, through a temporary file beside it that is on the disk before it takes
// the name. On failure the old file stands and nothing else is left.
Outcome ReplaceContents(std::string_view path, std::string_view bytes);

// Copies a file's bytes to `to`, through a temporary file beside it; an existing file is replaced. 0, a StreamError, or
// 1 when `progress`, which is told the bytes copied so far, returned false; then nothing is left of the copy.
int CopyContents(std::string_view from, std::string_view to, const std::function<bool(int64_t)>& progress = {});

}  // namespace Foundation
