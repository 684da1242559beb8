#include "foundation/hiddenfile.h"

#include <cerrno>
#include <string>

#include "foundation/fileerror.h"
#include "foundation/path.h"
#include "foundation/platform.h"
#include "foundation/safefile.h"
#include "foundation/textfile.h"

namespace Foundation {

Outcome SetHidden(std::string_view path, bool hidden) {
    const std::string name = FileNameOf(path), list = JoinPath(FolderOf(path), ".hidden");
    std::string text;
    bool was_hidden = false;
    if (FileExists(list)) {
        const auto reader = OpenTextFile(list);
        if (!reader) return Outcome::OfLastError(ERR_CANNOT_OPEN);
        for (std::string line; reader->ReadLine(line);) {
            if (line == name) {
                was_hidden = true;
            } else {
                text += line + "\n";
            }
        }
        if (reader->Failed()) return Outcome::OfLastError(ERR_IO);
    }
    if (was_hidden == hidden) return {};
    if (hidden) text += name + "\n";
    if (text.empty()) {
        const int error = RemoveFile(list);
        return error ? CannotDelete(list, error) : Outcome();
    }
    return ReplaceContents(list, text);
}

}  // namespace Foundation
