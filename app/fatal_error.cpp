#include "app/fatal_error.h"

#include <cstdio>
#include <cstdlib>
#include <exception>
#include <string>

#include "app/session/saving.h"
#include "collection/dataobjects.h"
#include "foundation/assert.h"
#include "foundation/fileerror.h"
#include "foundation/host.h"
#include "foundation/messages.h"
#include "foundation/platform.h"

using namespace Foundation;

namespace Orvane {

namespace {

AssertAnswer OnAssert(const char* condition, const char* file, int line) {
    FatalError(AssertText(condition, file, line).c_str());
}

void OnFileError(const LastError& error) {
    LogLine(PlainText(error.text));
}

[[noreturn]] void OnTerminate() {
    std::string what = "unhandled exception";
    if (std::exception_ptr exception = std::current_exception()) {
        try {
            std::rethrow_exception(exception);
        } catch (const std::bad_alloc&) {
            what = "out of memory";
        } catch (const std::exception& e) {
            what = e.what();
        } catch (...) {
        }
    }
    FatalError(what.c_str());
}

}  // namespace

void InstallFatalErrorHooks() {
    SetAssertHook(OnAssert);
    SetFileErrorHook(OnFileError);
    std::set_terminate(OnTerminate);
}

void FatalError(const char* what) {
    // A fault inside the handler, or on a second thread meanwhile, ends the process at once.
    if (in_fatal_error_handler.exchange(true)) std::_Exit(255);
    LogLine(what);
    ShowMessage(FormatMsg(Msg::FatalError, what));
    if (gAlbumSet && gAlbumSet->dirty) {
        Message question{FormatMsg(Msg::SaveChangedFile, gAlbumSet->path), Buttons::YesNo, Severity::Warning, {}};
        if (Messages().Ask(question) == Answer::Yes) {
            static_cast<void>(SaveAsking(gAlbumSet->path, *gAlbumSet, ReportErrors::Yes));
        }
        if (!gAlbumSet->dirty) ShowMessage(std::string(MessageText(Msg::SavedNowClosing)), Severity::Information);
    }
    std::fflush(nullptr);
    std::_Exit(255);
}

}  // namespace Orvane
