#include "app/session/saving.h"

#include <cerrno>

#include "app/appglobals.h"
#include "collection/steering_file.h"
#include "foundation/fileerror.h"
#include "foundation/host.h"
#include "foundation/mainloop.h"
#include "foundation/platform.h"
#include "foundation/progress.h"
#include "foundation/settings.h"

using namespace Foundation;

namespace Orvane {
namespace {

constexpr int kAutosaveTestMs = 60000;

// Keeps autosave from starting while something else asks.
class AutosaveOff {
public:
    AutosaveOff() { gAutosaveAllowed = false; }
    ~AutosaveOff() { gAutosaveAllowed = before && gAlbumSet; }
    AutosaveOff(const AutosaveOff&) = delete;
    AutosaveOff& operator=(const AutosaveOff&) = delete;

private:
    const bool before = gAutosaveAllowed;
};

}  // namespace

Outcome SaveAsking(const std::string& path, AlbumSet& set, ReportErrors report) {
    const bool reports = report == ReportErrors::Yes;
    Outcome saved = SaveCollection(path, set);
    if (saved.Is(Kind::NeedsAnswer)) {
        const Buttons buttons = reports ? Buttons::YesNoCancel : Buttons::YesNo;
        switch (Messages().Ask({saved.Text(), buttons, Severity::Warning, {}})) {
            case Answer::Yes:
                saved = SaveCollection(path, set, Answered::Yes);
                break;
            case Answer::Cancel:
                return Outcome::Cancelled();
            default:
                saved = Outcome::OfLastError(FailOpenForWriting(path, EACCES));
        }
    }
    if (!saved && reports) ShowMessage(saved.Text());
    return saved;
}

Outcome SaveWithRetry(const std::string& path, AlbumSet& set) {
    const AutosaveOff off;
    for (;;) {
        Outcome saved = SaveAsking(path, set, ReportErrors::No);
        if (saved) return saved;
        const std::string text = saved.Text() + "\n\n" + FormatMsg(Msg::TryAgain);
        switch (Messages().Ask({text, Buttons::YesNoCancel, Severity::Error, {}})) {
            case Answer::Yes:
                break;
            case Answer::No:
                return saved;
            default:
                return Outcome::Cancelled();
        }
    }
}

Outcome SaveWorkInProgress(const std::string& path, AlbumSet& set) {
    Outcome saved = SaveWithRetry(path, set);
    if (saved) {
        Messages().Ask(
            {FormatMsg(Msg::CollectionSaved), Buttons::Ok, Severity::Information, "Confirm Collection Saved"});
    }
    return saved;
}

Outcome SaveUnasked() {
    return SaveCollection(gAlbumSet->path, *gAlbumSet);
}

void StartAutosave() {
    GetMainLoop().StartTimer(kAutosaveTestMs, true, [] {
        RefreshSettings();
        AutosaveTest();
    });
}

bool AutosaveTest() {
    if (!gAlbumSet || !gAlbumSet->dirty || !gAutosaveAllowed || gAutosaveHeldOff > 0 || gModalNesting > 0) return false;
    if (!GetSetting("AutoSave", 1)) return false;
    const uint32_t interval = static_cast<uint32_t>(GetSetting("AutoSave Interval", 5)) * 60000u;
    if (TickMs() - gLastSavedTick < interval) return false;
    gApp.autosaving = true;
    TitleChanged();
    const Outcome saved = SaveUnasked();
    gApp.autosaving = false;
    TitleChanged();
    return saved.Ok();
}

}  // namespace Orvane
