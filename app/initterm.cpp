#include "app/initterm.h"

#include <cctype>
#include <cstdlib>

#include "app/fatal_error.h"
#include "collection/albumset.h"
#include "collection/steering_file.h"
#include "foundation/assert.h"
#include "foundation/event.h"
#include "foundation/host.h"
#include "foundation/lasterror.h"
#include "foundation/mainloop.h"
#include "foundation/messages.h"
#include "foundation/path.h"
#include "foundation/platform.h"
#include "foundation/progress.h"
#include "foundation/settings.h"
#include "foundation/text.h"
#include "foundation/version.h"
#include "foundation/workerthread.h"
#include "waveform/generatewaveform.h"

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

bool HasBackgroundJobs() {
    if (!gAlbumSet) return false;
    for (const AlbumInfo& album : gAlbumSet->albums) {
        if (album.open_fhe_count.load() != 0 || album.running_jobs != 0) return true;
    }
    return false;
}

bool MayGoAhead(int message_id) {
    uint8_t veto = 0;
    event::Fire(EVENT_BUSY_QUERY, message_id, event::Arg(&veto));
    if (veto) return false;
    if (message_id <= 0 || message_id == static_cast<int>(Msg::BusyHibernate) || !HasBackgroundJobs()) return true;
    Message question{std::string(MessageText(Msg::BackgroundJobs)), Buttons::YesNo, Severity::Warning, {}};
    return Messages().Ask(question) == Answer::Yes;
}

// Recordings may still be open then.
void CloseOnTheWayOut() {
    gClosing = true;
    CloseCollection();
    gClosing = false;
}

// Saves the collection without a word. A file marked as read-only would take a question, so it is left alone.
bool SaveUnasked() {
    FileInfo info;
    if (GetFileInfo(gAlbumSet->path, info) == 0 && info.read_only) return false;
    return SaveCollection(gAlbumSet->path, *gAlbumSet, false);
}

// A path may begin with a slash too: a switch with one is a letter and at most a number.
bool IsSwitch(std::string_view word) {
    if (word.size() < 2 || word[0] == '-') return word.size() >= 2;
    return word[0] == '/' && std::isalpha(static_cast<unsigned char>(word[1])) &&
           word.find_first_not_of("0123456789", 2) == word.npos;
}

// Where no folder for saved tracks has been chosen it becomes the music folder, for good.
std::string OutputFolder(const std::string& music_folder) {
    std::string folder = GetStringSetting("Output Directory");
    if (!folder.empty()) return folder;
    SetStringSetting("Output Directory", music_folder);
    return music_folder;
}

}  // namespace

CommandLine ParseCommandLine(int argc, const char* const* argv) {
    CommandLine line;
    for (int i = 1; i < argc; ++i) {
        std::string_view word = argv[i];
        if (!IsSwitch(word)) {
            if (line.collection.empty()) line.collection = word;
            continue;
        }
        int value = word.size() > 2 ? static_cast<int>(ParseInt(word.substr(2))) : 1;
        switch (std::tolower(static_cast<unsigned char>(word[1]))) {
            case 'd':
                line.debug_level = value;
                break;
            case 'b':
                line.batch_limit = value;
                break;
            case 'm':
                line.any_instance = true;
                break;
            case 's':
                line.screen = value >= 2 && value <= 5 ? value - 1 : 0;
                break;
            default:
                break;
        }
    }
    return line;
}

bool InitApplication() {
    SetMainThread();
    InstallFatalErrorHooks();
    SetWaveformReportInterval(ReportIntervalMs);
    LogLine(fmt::sprintf("%s started (%d bit)", kProgramName, 8 * sizeof(void*)));
    if (OpenSettings().ToStreamError() < 0) return false;
    gApp.documents_folder = DocumentsFolder();
    gApp.music_folder = MusicFolder();
    gApp.recordings_folder = JoinPath(gApp.documents_folder, "Recordings");
    gApp.output_folder = OutputFolder(gApp.music_folder);
    SetSetting("Append Collection Output", GetSetting("Append Collection Output", 1) != 0);
    // Behind the opening of the settings, so that they are still there when it runs.
    static const bool registered = std::atexit(CloseOnTheWayOut) == 0;
    ORVANE_ASSERT(registered);
    return true;
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
    uint32_t interval = static_cast<uint32_t>(GetSetting("AutoSave Interval", 5)) * 60000u;
    if (TickMs() - gLastSavedTick < interval) return false;
    gApp.autosaving = true;
    TitleChanged();
    bool saved = SaveUnasked();
    gApp.autosaving = false;
    TitleChanged();
    return saved;
}

bool IsBusyQuery(int message_id) {
    bool may = false;
    RunOnMainThread([&] { may = MayGoAhead(message_id); });
    return may;
}

SaveOutcome SaveWithRetry(const std::string& path, AlbumSet* album_set) {
    AutosaveOff off;
    for (;;) {
        if (SaveCollection(path, *album_set, false)) return SaveOutcome::Saved;
        std::string text = GetLastError().text + "\n\n" + std::string(MessageText(Msg::TryAgain));
        switch (Messages().Ask({text, Buttons::YesNoCancel, Severity::Error, {}})) {
            case Answer::Yes:
                break;
            case Answer::No:
                return SaveOutcome::NotSaved;
            default:
                return SaveOutcome::Cancelled;
        }
    }
}

bool SaveWorkInProgress(const std::string& path, AlbumSet* album_set) {
    if (SaveWithRetry(path, album_set) != SaveOutcome::Saved) return false;
    Messages().Ask({std::string(MessageText(Msg::CollectionSaved)), Buttons::Ok, Severity::Information,
                    "Confirm Collection Saved"});
    return true;
}

bool CanQuit(bool reason_is_hibernate, bool close_collection) {
    Msg reason = reason_is_hibernate ? Msg::BusyHibernate : Msg::BusyClose;
    if (!IsBusyQuery(static_cast<int>(reason))) return false;
    const bool closes = close_collection && !reason_is_hibernate;
    if (closes && gWorkerThreadPool) {
        Progress::Cancel();
        return false;
    }
    if (gAlbumSet && gAlbumSet->dirty) {
        if (reason_is_hibernate) {
            SaveUnasked();  // a failure does not stop the machine from sleeping
        } else if (SaveWithRetry(gAlbumSet->path, gAlbumSet) == SaveOutcome::Cancelled) {
            return false;
        }
    }
    if (closes) CloseOnTheWayOut();
    return true;
}

}  // namespace Orvane
