#include "app/appglobals.h"

#include <algorithm>

#include "foundation/messages.h"
#include "foundation/path.h"
#include "foundation/platform.h"
#include "foundation/version.h"

using namespace Foundation;

namespace Orvane {

RecordState gRecord = RecordState::IDLE;
AppGlobals gApp;

std::string TitleBarText() {
    if (!gAlbumSet) return kProgramName;
    if (gApp.autosaving) return std::string(MessageText(Msg::Autosaving));
    std::string extension = ExtensionOf(gAlbumSet->path);
    if (!extension.empty()) extension.erase(0, 1);
    std::string text = fmt::sprintf("%s%s.%s - %s", gAlbumSet->dirty ? "*" : "",
                                    FileNameOf(WithoutExtension(gAlbumSet->path)), extension, kProgramName);
    if (const AlbumInfo* album = gAlbumSet->current_album) text += " - " + album->artist + " - " + album->title;
    return text;
}

int32_t CpuRatio() {
    static const int32_t ratio = [] {
        constexpr int64_t kMeasureNs = 200'000'000;
        volatile uint32_t sink = 0;
        int64_t count = 0;
        for (int64_t end = MonotonicNs() + kMeasureNs; MonotonicNs() < end; count += 10000) {
            for (int i = 0; i < 10000; ++i) sink = sink + 1;
        }
        return static_cast<int32_t>(std::max<int64_t>(1, count / 100 / 26000000));
    }();
    return ratio;
}

int32_t ReportIntervalMs() {
    return std::clamp(200000 / CpuRatio(), 500, 10000);
}

}  // namespace Orvane
