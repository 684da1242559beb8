#include "save/export_csv.h"

#include <algorithm>

#include "foundation/settings.h"
#include "foundation/text.h"
#include "save/savesettings.h"
#include "save/tracknames.h"

using namespace Foundation;

namespace Orvane {

const std::string_view kCSVKeywords =
    "[Album Artist]\t[Album Side]\t[Album Title]\t[Artist Alias]\t[Comment]\t[Composer]\t[Conductor]\t[Date Recorded]\t"
    "[File Type]\t[Genre]\t[Grouping]\t[Label]\t[Performing Artist]\t[Time Recorded]\t[Track Artist]\t[Track Number]\t"
    "[Track Title]\t";

namespace {

// The known keywords of a list, each once.
std::vector<std::string> KeywordsIn(std::string_view list) {
    std::vector<std::string> keywords;
    for (std::string_view keyword : Split(list, '\t')) {
        const bool known = !keyword.empty() && kCSVKeywords.find(std::string(keyword) + "\t") != kCSVKeywords.npos;
        if (!known || keyword.front() != '[') continue;
        std::string name(keyword.substr(1, keyword.size() - 2));
        if (std::find(keywords.begin(), keywords.end(), name) == keywords.end()) keywords.push_back(std::move(name));
    }
    return keywords;
}

std::string Quoted(const std::string& value, char separator) {
    const bool plain = value.find_first_of(std::string("\"\r\n") + separator) == value.npos &&
                       !value.starts_with(' ') && !value.ends_with(' ');
    return plain ? value : "\"" + Replace(value, "\"", "\"\"") + "\"";
}

}  // namespace

CSVOptions CSVOptions::FromStore() {
    CSVOptions options;
    std::vector<std::string> chosen = KeywordsIn(GetStringSetting("Export CSV Fields"));
    if (chosen.empty()) chosen = KeywordsIn(kCSVKeywords);
    // Those that the order leaves out come last.
    const std::string order = GetStringSetting("Export CSV Fields Order") + "\t" + std::string(kCSVKeywords);
    for (std::string& keyword : KeywordsIn(order)) {
        const bool is_chosen = std::find(chosen.begin(), chosen.end(), keyword) != chosen.end();
        if (is_chosen) options.fields.push_back(std::move(keyword));
    }
    const std::string separator = GetStringSetting("Export CSV Separator", ",");
    const char first = separator.empty() ? '\0' : separator.front();
    if (first >= ' ' && first != '"') options.separator = separator == "\\t" ? '\t' : first;
    if (first == '\t') options.separator = first;
    options.headers = GetSetting("Export Include Headers", 1) != 0;
    options.file_format = SaveSettings::FromStore().Format();
    return options;
}

std::string CSVListing(const std::vector<AlbumInfo*>& albums, const CSVOptions& options) {
    std::string text;
    const auto add_row = [&](const auto& value_of) {
        for (size_t i = 0; i < options.fields.size(); ++i) {
            if (i > 0) text += options.separator;
            text += Quoted(value_of(options.fields[i]), options.separator);
        }
        if (text.empty() || text.back() == '\n') text += "\"\"";  // an empty line would be no row
        text += '\n';
    };
    if (options.headers) add_row([](const std::string& field) { return field; });
    for (const AlbumInfo* album : albums) {
        for (int i = 0; i < album->tracks.size(); ++i) {
            add_row([&](const std::string& field) {
                std::string value;
                KeywordValue(field, *album, i, options.file_format, value);
                return value;
            });
        }
    }
    return text;
}

}  // namespace Orvane
