#include "foundation/fileerror.h"

#include <atomic>
#include <cerrno>
#include <cstring>
#include <utility>

#include "foundation/messages.h"
#include "foundation/safefile.h"
#include "foundation/version.h"

namespace Foundation {
namespace {

std::atomic<FileErrorHook> file_error_hook{nullptr};

bool IsAccessDenied(int error) {
    return error == EACCES || error == EPERM;
}
bool IsWriteDenied(int error) {
    return IsAccessDenied(error) || error == EROFS;
}
bool IsInUse(int error) {
    return error == EBUSY || error == ETXTBSY || error == EAGAIN || error == EWOULDBLOCK;
}

int Fail(int code, int error, std::string text, bool denied = false) {
    if (denied) text += "\n\n" + FormatMsg(Msg::NoPermission, kProgramName);
    SetLastError({error, std::move(text)});
    if (const FileErrorHook hook = file_error_hook.load()) hook(GetLastError());
    return code;
}

}  // namespace

void SetFileErrorHook(FileErrorHook hook) {
    file_error_hook.store(hook);
}

std::string SystemErrorText(int error) {
    char buffer[256] = "";
    // The GNU form may answer with a text of its own in place of the buffer.
    return strerror_r(error, buffer, sizeof buffer);
}

int FailOpen(std::string_view path, int error) {
    return Fail(IsInUse(error) ? ERR_IN_USE : ERR_CANNOT_OPEN, error,
                FormatMsg(Msg::CannotOpenFile, path, error, SystemErrorText(error)), IsAccessDenied(error));
}

int FailOpenForWriting(std::string_view path, int error) {
    return Fail(IsInUse(error) ? ERR_IN_USE : ERR_CANNOT_OPEN, error,
                FormatMsg(Msg::CannotOpenForWriting, PathOfTemporary(path), error, SystemErrorText(error)),
                IsWriteDenied(error));
}

int FailRead(std::string_view path, int error) {
    return Fail(ERR_IO, error, FormatMsg(Msg::ErrorReading, error, path, SystemErrorText(error)));
}

int FailWrite(std::string_view path, int error) {
    return Fail(ERR_IO, error, FormatMsg(Msg::ErrorWriting, error, PathOfTemporary(path), SystemErrorText(error)),
                IsWriteDenied(error));
}

int FailRename(std::string_view from, std::string_view to, int error) {
    return Fail(ERR_IO, error, FormatMsg(Msg::CannotRenameFile, from, to, error, SystemErrorText(error)));
}

int FailDelete(std::string_view path, int error) {
    return Fail(ERR_IO, error, FormatMsg(Msg::CannotDeleteFile, path, error, SystemErrorText(error)));
}

int FailCreateFolder(std::string_view path, int error) {
    return Fail(ERR_CANNOT_OPEN, error, FormatMsg(Msg::CannotCreateFolder, path, error, SystemErrorText(error)),
                IsWriteDenied(error));
}

int FailContents(std::string text) {
    return Fail(ERR_CONTENTS, 0, std::move(text));
}

}  // namespace Foundation
