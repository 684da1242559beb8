#include "app/initterm.h"

#include <cctype>
#include <cstdlib>

#include "app/fatal_error.h"
#include "collection/albumset.h"
#include "collection/steering_file.h"
#include "foundation/event.h"
#include "foundation/host.h"
#include "foundation/lasterror.h"
#include "foundation/mainloop.h"
#include "foundation/messages.h"
#include "foundation/path.h"
#include "foundation/progress.h"
#include "foundation/settings.h"
#include "foundation/text.h"
#include "foundation/version.h"
#include "foundation/workerthread.h"

namespace Orvane {
namespace {

constexpr int kAutosaveTestMs = 60000;

// Keeps autosave from starting while something else saves or asks.
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
    if (!HasBackgroundJobs()) return true;
    if (message_id <= 0 || message_id == static_cast<int>(Msg::BusyHibernate)) return message_id != 0;
    Message question{std::string(MessageText(Msg::BackgroundJobs)), Buttons::YesNo, Severity::Warning, {}};
    return Messages().Ask(question) == Answer::Yes;
}

}  // namespace

CommandLine ParseCommandLine(int argc, const char* const* argv) {
    CommandLine line;
    for (int i = 1; i < argc; ++i) {
        std::string_view word = argv[i];
        // On this platform a path begins with a slash: a switch is one letter and at most a number.
        bool is_switch = word.size() >= 2 && (word[0] == '/' || word[0] == '-') &&
                         word.find_first_not_of("0123456789", 2) == word.npos && std::isalpha(static_cast<unsigned char>(word[1]));
        if (!is_switch) {
            if (line.collection.empty()) line.collection = word;
            continue;
        }
        int value = word.size() > 2 ? static_cast<int>(ParseInt(word.substr(2))) : 1;
        switch (std::tolower(static_cast<unsigned char>(word[1]))) {
            case 'd': line.debug_level = value; break;
            case 'b': line.batch_limit = value; break;
            case 'm': line.any_instance = true; break;
            case 's': line.screen = value >= 2 && value <= 5 ? value - 1 : 0; break;
            default: break;
        }
    }
    return line;
}

bool InitApplication() {
    SetMainThread();
    InstallFatalErrorHooks();
    LogLine(fmt::sprintf("%s %s started (%d bit)", kProgramName, VersionText(), 8 * sizeof(void*)));
    if (!OpenSettings()) return false;
    gApp.documents_folder = DocumentsFolder();
    gApp.music_folder = MusicFolder();
    gApp.recordings_folder = JoinPath(gApp.documents_folder, "Recordings");
    gApp.output_folder = GetStringSetting("Output Directory");
    if (gApp.output_folder.empty()) gApp.output_folder = gApp.music_folder;
    gApp.append_collection_output = GetSetting("Append Collection Output", 1) != 0;
    gApp.sort_order = GetSetting("Sort Album List By", 0);
    gApp.show_release_number = GetSetting("Show Discogs Release Number", 1) != 0;
    return true;
}

void StartAutosave() {
    GetMainLoop().StartTimer(kAutosaveTestMs, true, [] { AutosaveTest(); });
}

bool AutosaveTest() {
    if (!gAlbumSet || !gAlbumSet->dirty || !gAutosaveAllowed || gAutosaveHeldOff > 0 || gModalNesting > 0) return false;
    if (!GetSetting("AutoSave", 1)) return false;
    uint32_t interval = static_cast<uint32_t>(GetSetting("AutoSave Interval", 5)) * 60000u;
    if (TickMs() - gLastSavedTick < interval) return false;
    AutosaveOff off;
    return SaveCollection(gAlbumSet->path, *gAlbumSet, false);
}

bool IsBusyQuery(int message_id) {
    bool may = false;
    RunOnMainThread([&] { may = MayGoAhead(message_id); });
    return may;
}

SaveOutcome OfferToSave(const std::string& path, AlbumSet* album_set) {
    AutosaveOff off;
    for (;;) {
        if (SaveCollection(path, *album_set, false)) return SaveOutcome::Saved;
        std::string text = GetLastError().text + "\n\n" + std::string(MessageText(Msg::TryAgain));
        switch (Messages().Ask({text, Buttons::YesNoCancel, Severity::Error, {}})) {
            case Answer::Yes:
            case Answer::Retry: break;
            case Answer::No: return SaveOutcome::NotSaved;
            default: return SaveOutcome::Cancelled;
        }
    }
}

bool SaveWorkInProgress(const std::string& path, AlbumSet* album_set) {
    return OfferToSave(path, album_set) == SaveOutcome::Saved;
}

bool CanQuit(bool reason_is_hibernate, bool close_collection) {
    Msg reason = reason_is_hibernate ? Msg::BusyHibernate : Msg::BusyClose;
    if (!IsBusyQuery(static_cast<int>(reason))) return false;
    if (gAlbumSet && gAlbumSet->dirty) {
        if (reason_is_hibernate) {
            AutosaveOff off;  // a failed save does not stop the machine from sleeping
            SaveCollection(gAlbumSet->path, *gAlbumSet, false);
        } else if (OfferToSave(gAlbumSet->path, gAlbumSet) == SaveOutcome::Cancelled) {
            return false;
        }
    }
    if (close_collection && !reason_is_hibernate) {
        gApp.closing = true;
        CloseCollection();
        gApp.closing = false;
    }
    return true;
}

}  // namespace Orvane
