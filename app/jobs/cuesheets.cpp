#include "app/jobs/cuesheets.h"

#include <algorithm>

#include "foundation/host.h"
#include "foundation/settings.h"

using namespace Foundation;

namespace Orvane {

std::vector<AlbumListing> WriteCueSheets(const std::vector<AlbumInfo*>& albums, const AskSheetName& ask) {
    const bool prompt = ask && GetSetting("Cue Sheet Prompt For Filename", 0) != 0;
    std::vector<AlbumListing> sheets;
    for (AlbumInfo* album : albums) {
        std::string path = CueSheetPath(*album);
        if (!prompt || ask(*album, path)) sheets.push_back({album, path, {}});
    }
    sheets = GenerateCueSheets(std::move(sheets));
    const auto n = std::count_if(sheets.begin(), sheets.end(), [](const auto& sheet) { return sheet.outcome.Ok(); });
    Messages().Ask(
        {FormatMsg(Msg::CueSheetsGenerated, n), Buttons::Ok, Severity::Information, "Report Cue Sheets Generated"});
    return sheets;
}

}  // namespace Orvane
