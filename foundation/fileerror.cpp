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

// Tells the hook.
Outcome Noted(Outcome outcome) {
    if (const FileErrorHook hook = file_error_hook.load()) hook({outcome.SystemError(), outcome.Text()});
    return outcome;
}

// A failure for which the user may have to give the program leave.
Outcome Denied(const Outcome& outcome, bool denied) {
    if (!denied) return Noted(outcome);
    std::string text = outcome.Text() + "\n\n" + FormatMsg(Msg::NoPermission, kProgramName);
    return Noted(Outcome::FailText(outcome.GetKind(), std::move(text)).About(outcome.File(), outcome.SystemError()));
}

Kind KindOfOpen(int error) {
    return IsInUse(error) ? Kind::InUse : Kind::CannotOpen;
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

Outcome CannotOpen(std::string_view path, int error) {
    return Denied(
        Outcome::Fail(KindOfOpen(error), Msg::CannotOpenFile, path, error, SystemErrorText(error)).About(path, error),
        IsAccessDenied(error));
}

Outcome CannotOpenForWriting(std::string_view path, int error) {
    const std::string wanted = PathOfTemporary(path);
    return Denied(Outcome::Fail(KindOfOpen(error), Msg::CannotOpenForWriting, wanted, error, SystemErrorText(error))
                      .About(wanted, error),
                  IsWriteDenied(error));
}

Outcome CannotRead(std::string_view path, int error) {
    return Noted(
        Outcome::Fail(Kind::ReadWrite, Msg::ErrorReading, error, path, SystemErrorText(error)).About(path, error));
}

Outcome CannotWrite(std::string_view path, int error) {
    const std::string wanted = PathOfTemporary(path);
    return Denied(
        Outcome::Fail(Kind::ReadWrite, Msg::ErrorWriting, error, wanted, SystemErrorText(error)).About(wanted, error),
        IsWriteDenied(error));
}

Outcome CannotRename(std::string_view from, std::string_view to, int error) {
    return Noted(Outcome::Fail(Kind::ReadWrite, Msg::CannotRenameFile, from, to, error, SystemErrorText(error))
                     .About(from, error));
}

Outcome CannotDelete(std::string_view path, int error) {
    return Noted(
        Outcome::Fail(Kind::ReadWrite, Msg::CannotDeleteFile, path, error, SystemErrorText(error)).About(path, error));
}

Outcome CannotCreateFolder(std::string_view path, int error) {
    return Denied(Outcome::Fail(Kind::CannotOpen, Msg::CannotCreateFolder, path, error, SystemErrorText(error))
                      .About(path, error),
                  IsWriteDenied(error));
}

int FailOpen(std::string_view path, int error) {
    return CannotOpen(path, error).ToStreamError();
}
int FailOpenForWriting(std::string_view path, int error) {
    return CannotOpenForWriting(path, error).ToStreamError();
}
int FailRead(std::string_view path, int error) {
    return CannotRead(path, error).ToStreamError();
}
int FailWrite(std::string_view path, int error) {
    return CannotWrite(path, error).ToStreamError();
}
int FailRename(std::string_view from, std::string_view to, int error) {
    return CannotRename(from, to, error).ToStreamError();
}
int FailDelete(std::string_view path, int error) {
    return CannotDelete(path, error).ToStreamError();
}
int FailCreateFolder(std::string_view path, int error) {
    return CannotCreateFolder(path, error).ToStreamError();
}

int FailContents(std::string text) {
    return Noted(Outcome::FailText(Kind::Contents, std::move(text))).ToStreamError();
}

}  // namespace Foundation
