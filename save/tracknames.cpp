#include "save/tracknames.h"

#include <algorithm>
#include <array>
#include <ctime>

#include "foundation/messages.h"
#include "foundation/path.h"
#include "foundation/settings.h"
#include "foundation/text.h"
#include "tesslib/fileformats.h"

using namespace Foundation;
using namespace Tesslib;

namespace Orvane {
namespace {

// In the order in which they are tested. Track-level keywords differ between the tracks of an album.
struct Keyword {
    std::string_view name;
    bool track_level;
};
constexpr Keyword kKeywords[] = {
    {"Album Artist", false}, {"Album Title", false},      {"Track Number", true}, {"Track Artist", true},
    {"Track Title", true},   {"Performing Artist", true}, {"Genre", false},       {"Composer", true},
    {"Conductor", true},     {"Artist Alias", true},      {"Comment", true},      {"Year", false},
    {"Label", false},        {"Grouping", true},          {"File Type", false},   {"Album Side", true},
    {"Date Recorded", true}, {"Time Recorded", true},
};
constexpr std::string_view kSideKeywords[] = {"[Album Side]", "[Date Recorded]", "[Time Recorded]"};

const std::string& FirstOf(const std::string& of_track, const std::string& of_album) {
    return of_track.empty() ? of_album : of_track;
}

std::string RecordedText(const AlbumInfo& album, int track, const char* format) {
    int side = SideOfTrack(album, track);
    const FileHistoryEntry* entry =
        side < album.sides.size() && album.sides[side] ? album.sides[side]->newest : nullptr;
    if (!entry || !entry->facts.file_time) return {};
    std::time_t seconds = (entry->facts.file_time - kFileTimeUnixEpoch) / kFileTimeSecond;
    std::tm local{};
    localtime_r(&seconds, &local);
    std::array<char, 32> text{};
    return {text.data(), std::strftime(text.data(), text.size(), format, &local)};
}

// The keyword that `text` begins with (behind its bracket), or null.
const Keyword* MatchKeyword(std::string_view text) {
    for (const Keyword& keyword : kKeywords) {
        if (text.starts_with(keyword.name) && text.substr(keyword.name.size()).starts_with(']')) return &keyword;
    }
    return nullptr;
}

bool IsBlank(char c) {
    return static_cast<unsigned char>(c) <= ' ';
}

void DropTrailing(std::string& text, std::string_view also) {
    while (!text.empty() && (IsBlank(text.back()) || also.find(text.back()) != also.npos)) text.pop_back();
}

// A long value keeps its first 79 characters and an ellipsis.
std::string Shortened(std::string value) {
    if (CharacterCount(value) < 81) return value;
    return value.substr(0, ByteOffset(value, 79)) + "\u2026";
}

}  // namespace

const std::vector<TrackNameTemplate>& AlbumTemplates() {
    static const std::vector<TrackNameTemplate> templates = {
        {R"([Album Artist] - [Album Title] \ [Track Number] - [Track Artist] - [Track Title])",
         "(1: All albums in one folder)"},
        {R"([Album Artist] \ [Album Title] \ [Track Number] - [Track Artist] - [Track Title])",
         "(2: Group albums by album artist)"},
        {R"([Performing Artist] \ [Track Title])", "(3: Group tracks by performing artist)"},
        {R"([Album Title] \ [Track Number] - [Track Title])", "(4: Use album title only)"},
    };
    return templates;
}

const std::vector<TrackNameTemplate>& SinglesTemplates() {
    static const std::vector<TrackNameTemplate> templates = {
        {R"(Singles \ [Performing Artist] - [Track Title])", "(1: All singles in one folder)"},
        {R"([Performing Artist] \ [Track Title])", "(3: Group tracks by performing artist)"},
        {R"(Singles \ [Track Title])", "(4: Use track title only)"},
        {R"([Album Artist] \ [Track Artist] - [Track Title])", "(5: Group singles by album artist)"},
    };
    return templates;
}

std::string TemplateFor(const AlbumInfo& album) {
    const char* key = album.IsSingle() ? "Singles Track Name Template" : "Albums Track Name Template";
    std::string text = GetStringSetting(key);
    if (!text.empty()) return text;
    if (album.IsSingle()) return std::string(SinglesTemplates().front().text);
    // The first has the artist in front of the folder's name, the last has not.
    const auto& templates = AlbumTemplates();
    return std::string((GetSetting("Prepend Artist To Track Folders", 1) ? templates.front() : templates.back()).text);
}

std::string WithoutSideKeywords(std::string_view text) {
    std::string result(text);
    for (std::string_view keyword : kSideKeywords) result = Replace(result, keyword, "side");
    return result;
}

int SideOfTrack(const AlbumInfo& album, int track) {
    int64_t end_of_side = 0;
    int last = 0;
    for (int i = 0; i < album.sides.size(); ++i) {
        const FileHistoryEntry* entry = album.sides[i] ? album.sides[i]->newest : nullptr;
        if (!entry) continue;
        last = i;
        end_of_side += to_ticks(entry->SampleRate(), entry->TotalSamples() - entry->decided.cuts.TotalLength());
        if (album.tracks[track].start < end_of_side) return i;
    }
    return last;
}

bool KeywordValue(std::string_view keyword, const AlbumInfo& album, int track, int file_format, std::string& value) {
    const ALBUMTRACK& t = album.tracks[track];
    if (keyword == "Album Artist") {
        value = album.artist;
    } else if (keyword == "Album Title") {
        value = album.title;
    } else if (keyword == "Track Number") {
        value = fmt::sprintf(album.tracks.size() >= 100 ? "%03d" : "%02d", track + 1);
    } else if (keyword == "Track Artist") {
        value = t.artist;
    } else if (keyword == "Track Title") {
        value = t.title;
    } else if (keyword == "Performing Artist") {
        value = FirstOf(t.artist, album.artist);
    } else if (keyword == "Genre") {
        value = album.genre.empty() ? "(no genre)" : album.genre;
    } else if (keyword == "Composer") {
        value = FirstOf(t.composer, album.composer);
    } else if (keyword == "Conductor") {
        value = FirstOf(t.conductor, album.conductor);
    } else if (keyword == "Artist Alias") {
        value = FirstOf(t.alias, album.alias);
    } else if (keyword == "Comment") {
        value = FirstOf(t.comment, album.comment);
    } else if (keyword == "Year") {
        value = album.year ? std::to_string(album.year) : "(no year)";
    } else if (keyword == "Label") {
        value = album.label;
    } else if (keyword == "Grouping") {
        value = FirstOf(t.grouping, album.grouping);
    } else if (keyword == "File Type") {
        value = GetFileFormatInfo(file_format).name;
    } else if (keyword == "Album Side") {
        value = fmt::sprintf("%02d", SideOfTrack(album, track) + 1);
    } else if (keyword == "Date Recorded") {
        value = RecordedText(album, track, "%Y-%m-%d");
    } else if (keyword == "Time Recorded") {
        value = RecordedText(album, track, "%H:%M:%S");
    } else {
        return false;
    }
    return true;
}

std::string SanitiseValue(std::string_view value) {
    std::string result;
    for (char c : value) {
        switch (c) {
            case '*':
            case '?':
            case '"':
            case '<':
            case '>':
                break;
            case ':':
                result += '-';
                break;
            case '|':
                result += ' ';
                break;
            case '\\':
            case '/':
                result += '+';
                break;
            default:
                result += c;
        }
    }
    return result;
}

std::string ExpandTemplate(std::string_view text, const AlbumInfo& album, int track, NamePart part, int file_format,
                           bool sanitise, size_t* unknown_keyword) {
    constexpr char kFolder = '\\';  // while building; a value can hold no such character once it is sanitised
    std::string result;
    size_t album_level = std::string::npos;  // length of the result at the first track-level keyword
    if (unknown_keyword) *unknown_keyword = std::string_view::npos;
    for (size_t i = 0; i < text.size();) {
        char c = text[i];
        if (c == '[') {
            if (const Keyword* keyword = MatchKeyword(text.substr(i + 1))) {
                if (keyword->track_level) album_level = std::min(album_level, result.size());
                std::string value;
                KeywordValue(keyword->name, album, track, file_format, value);
                if (sanitise) value = Shortened(SanitiseValue(value));
                i += keyword->name.size() + 2;
                if (value.empty()) {
                    while (i < text.size() && text[i] != '[' && !IsSeparator(text[i])) ++i;
                }
                result += value;
                continue;
            }
            if (unknown_keyword && *unknown_keyword == std::string_view::npos) *unknown_keyword = i;
        }
        ++i;
        bool at_start = result.empty() || result.back() == kFolder;
        if (IsSeparator(c)) {
            DropTrailing(result, ".");
            if (!result.empty() && result.back() != kFolder) result += kFolder;
        } else if (sanitise && std::string_view("*?\"<>|:").find(c) != std::string_view::npos) {
            continue;
        } else if (!(at_start && IsBlank(c))) {
            result += IsBlank(c) ? ' ' : c;
        }
    }
    size_t last = result.rfind(kFolder);
    switch (part) {
        case NamePart::WholePath:
            break;
        case NamePart::AlbumFolder:
            if (album_level != std::string::npos) result.resize(std::min(album_level, result.size()));
            last = result.rfind(kFolder);
            [[fallthrough]];
        case NamePart::Folder:
            result.resize(last == std::string::npos ? 0 : last);
            break;
        case NamePart::FileName:
            if (last != std::string::npos) result.erase(0, last + 1);
            break;
    }
    DropTrailing(result, "\\");
    return NativePath(result);
}

std::string TemplateProblem(std::string_view text) {
    for (size_t i = 0; i < text.size(); ++i) {
        if (text[i] != '[') continue;
        std::string_view rest = text.substr(i);
        std::string shown(rest.substr(0, std::min(rest.size(), rest.find(']') + 1)));
        const Keyword* keyword = MatchKeyword(text.substr(i + 1));
        if (!keyword) {
            return fmt::sprintf(
                "Keyword <b>%s</b> in the 'When saving tracks...' field is invalid.  Please check that you have typed "
                "it "
                "correctly.\n\n%s",
                shown, std::string(text));
        }
        std::string_view behind = Trim(text.substr(i + keyword->name.size() + 2));
        if (behind.empty() || !IsSeparator(behind.front())) continue;
        if (keyword->name == "Track Title" || keyword->name == "Track Number") {
            return fmt::sprintf(
                "<b>%s</b> cannot be used as a folder name.  Please remove the backslash that appears after this "
                "keyword.\n\n%s",
                shown, std::string(text));
        }
        if (keyword->name == "Track Artist" || keyword->name == "Performing Artist") {
            if (text == AlbumTemplates()[2].text) continue;
            return fmt::sprintf(
                "<b>%s</b> cannot be used as a folder name.  You can use <b>[Album Artist]</b> instead.\n\n%s", shown,
                std::string(text));
        }
    }
    return {};
}

}  // namespace Orvane
