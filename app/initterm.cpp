#include "app/initterm.h"

#include <cctype>
#include <cstdlib>

#include "app/fatal_error.h"
#include "app/session/busy.h"
#include "foundation/assert.h"
#include "foundation/fileerror.h"
#include "foundation/mainloop.h"
#include "foundation/messages.h"
#include "foundation/path.h"
#include "foundation/platform.h"
#include "foundation/settings.h"
#include "foundation/text.h"
#include "foundation/version.h"
#include "waveform/generatewaveform.h"

using namespace Foundation;

namespace Orvane {
namespace {

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

Outcome InitApplication() {
    SetMainThread();
    InstallFatalErrorHooks();
    SetWaveformReportInterval(ReportIntervalMs);
    LogLine(fmt::sprintf("%s started (%d bit)", kProgramName, 8 * sizeof(void*)));
    if (Outcome opened = OpenSettings(); !opened) return opened;
    gApp.documents_folder = DocumentsFolder();
    gApp.music_folder = MusicFolder();
    gApp.recordings_folder = JoinPath(gApp.documents_folder, "Recordings");
    gApp.output_folder = OutputFolder(gApp.music_folder);
    SetSetting("Append Collection Output", GetSetting("Append Collection Output", 1) != 0);
    // Behind the opening of the settings, so that they are still there when it runs.
    static const bool registered = std::atexit([] { static_cast<void>(CloseOnTheWayOut()); }) == 0;
    ORVANE_ASSERT(registered);
    return {};
}

}  // namespace Orvane
