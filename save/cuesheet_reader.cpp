#include "save/cuesheet_reader.h"

#include <algorithm>
#include <charconv>
#include <climits>
#include <map>
#include <span>

#include "collection/checktrackbreaks.h"
#include "collection/recordingplaces.h"
#include "collection/steering_records.h"
#include "collection/tracktime.h"
#include "foundation/fileerror.h"
#include "foundation/path.h"
#include "foundation/text.h"
#include "save/cuesheet_keys.h"
#include "tesslib/fileformats.h"

using namespace Foundation;
using namespace Tesslib;

namespace Orvane {
namespace {

constexpr int64_t kLatest = kUnknownEnd;  // what lies behind it is no time of a recording

// Takes the word at the front.
std::string_view TakeWord(std::string_view& rest) {
    rest = Trim(rest);
    const std::string_view word = rest.substr(0, std::min(rest.find_first_of(" \t\""), rest.size()));
    rest = Trim(rest.substr(word.size()));
    return word;
}

// The value of a statement: what stands between its first and its last quote, of which the last may be missing, or all
// of it where there are none. Some programs put a backslash before the quotes in between.
std::string Unquoted(std::string_view rest) {
    rest = Trim(rest);
    if (!rest.starts_with('"')) return std::string(rest);
    rest.remove_prefix(1);
    if (rest.ends_with('"')) rest.remove_suffix(1);
    return Replace(Trim(rest), "\\\"", "\"");
}

// Digits and nothing else, of a sensible length.
bool ReadDigits(std::string_view text, int64_t& value) {
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    return error == std::errc() && end == text.data() + text.size() && value >= 0 && value <= INT_MAX;
}

// mm:ss:ff in ticks.
bool ReadIndexTime(std::string_view text, int64_t& ticks) {
    const std::vector<std::string_view> parts = Split(text, ':');
    int64_t minutes = 0, seconds = 0, frames = 0;
    if (parts.size() != 3 || !ReadDigits(parts[0], minutes) || !ReadDigits(parts[1], seconds) ||
        !ReadDigits(parts[2], frames)) {
        return false;
    }
    ticks = std::min(kLatest, (minutes * 60 + seconds) * kTicksPerSecond + frames * kCueFrame);
    return true;
}

class CueSheetParser {
public:
    explicit CueSheetParser(CueSheet& sheet) : sheet(sheet) {}

    Outcome Parse(TextFileReader& reader) {
        sheet.details.playing_speed = 0;
        for (std::string text; reader.ReadLine(text);) {
            // Sheets of old Macs end their lines with CR alone.
            for (std::string_view rest : Split(text, '\r')) {
                ++line;
                const std::string_view word = TakeWord(rest);
                if (word.empty()) continue;
                if (const Outcome read = ReadStatement(word, rest); !read) return InSheet(read, sheet.path, line);
            }
        }
        Outcome whole;
        if (reader.Failed()) {
            whole = Outcome::OfLastError(ERR_IO);
        } else if (sheet.tracks.empty()) {
            whole = Missing("TRACK");
        } else if (!HasIndex()) {
            whole = Missing("INDEX");
        }
        return whole ? whole : InSheet(whole, sheet.path, line);
    }

private:
    template <class... Args>
    static Outcome Fail(Msg id, const Args&... args) {
        return Outcome::Fail(Kind::Contents, id, args...);
    }
    static Outcome Missing(const char* what) { return Fail(Msg::CueMissing, what); }
    bool HasIndex() const { return sheet.tracks.back().index >= 0; }

    Outcome ReadStatement(std::string_view word, std::string_view rest) {
        if (EqualNoCaseAscii(word, "FILE")) return ReadFile(rest);
        if (EqualNoCaseAscii(word, "TRACK")) return ReadTrack(rest);
        if (EqualNoCaseAscii(word, "INDEX")) return ReadIndex(rest);
        if (EqualNoCaseAscii(word, "REM")) {
            ReadRemark(rest);
            return {};
        }
        // Anything else is for programs that burn.
        for (const char* known : {"TITLE", "PERFORMER", "SONGWRITER"}) {
            if (!EqualNoCaseAscii(word, known)) continue;
            const std::string value = Unquoted(rest);
            if (value.empty()) return Fail(Msg::CueEmpty, known);
            TakeText(known, CueKeyForm::Statement, value);
        }
        return {};
    }

    Outcome ReadFile(std::string_view rest) {
        // The word behind the name tells nothing that the file does not.
        std::string name;
        if (rest.starts_with('"')) {
            const size_t end = rest.rfind('"');
            name = end > 0 ? rest.substr(1, end - 1) : rest.substr(1);
        } else {
            name = Trim(rest.substr(0, rest.find_last_of(" \t")));
        }
        if (name.empty()) return Fail(Msg::CueEmpty, "FILE");
        const std::string extension = ExtensionOf(name);
        if (FormatOfExtension(extension) == FF_NONE) {
            return Fail(Msg::CueFileExtension, extension.empty() ? name : extension);
        }
        const bool has_drive = name.size() > 2 && name[1] == ':' && IsSeparator(name[2]);
        const bool absolute = has_drive || IsAbsolutePath(name);
        name = NativePath(name);
        const std::string path = absolute ? name : AbsolutePath(JoinPath(FolderOf(sheet.path), name));
        // Ours count the recordings from the second on. Other programs may name one file before every track.
        if (is_ours && sheet.files.empty() && file_number == 0) file_number = 1;
        const auto [known, is_new] = files.try_emplace({path, file_number}, static_cast<int>(sheet.files.size()));
        current_file = known->second;
        if (is_new) sheet.files.push_back({path, file_number, line});
        file_number = 0;
        return {};
    }

    Outcome ReadTrack(std::string_view rest) {
        if (sheet.files.empty()) return Missing("FILE");
        if (!sheet.tracks.empty() && !HasIndex()) return Missing("INDEX");
        const int64_t number = ParseInt(TakeWord(rest));
        if (number < 1 || number > kMostCueTracks) {
            return Fail(Msg::CueTrackNumber, number, kMostCueTracks);
        }
        if (number <= last_number) return Fail(Msg::CueTrackOrder);
        last_number = number;
        sheet.tracks.emplace_back().line = line;
        return {};
    }

    Outcome ReadIndex(std::string_view rest) {
        if (sheet.tracks.empty()) return Missing("TRACK");
        int64_t number = 0, ticks = 0;
        if (!ReadDigits(TakeWord(rest), number) || !ReadIndexTime(TakeWord(rest), ticks)) {
            return Fail(Msg::CueIncompleteIndex);
        }
        CueSheet::Track& track = sheet.tracks.back();
        if (number != 1 || track.index >= 0) return {};
        track.file = current_file;
        track.index = ticks;
        track.line = line;
        return {};
    }

    // A remark is what programs make of it: one without a value, which some write for every field that is blank, says
    // nothing, while a statement without its value is a damaged one.
    void ReadRemark(std::string_view rest) {
        const std::string_view key = TakeWord(rest);
        const std::string value = Unquoted(rest);
        const int64_t number = std::clamp<int64_t>(ParseInt(value), 0, kLatest);
        const auto is = [key](const char* name) { return EqualNoCaseAscii(key, name); };
        if (is("FILE_NUMBER")) {
            file_number = static_cast<int>(std::min<int64_t>(number, INT_MAX));
        } else if (is("COMMENT") && value == "Orvane") {
            is_ours = true;
        } else if (sheet.tracks.empty() && is("DATE")) {
            if (number <= 9999) sheet.details.year = static_cast<int16_t>(number);
        } else if (sheet.tracks.empty() && is("PLAYING_SPEED")) {
            if (number == 33 || number == 45 || number == 78) {
                sheet.details.playing_speed = static_cast<int16_t>(number);
            }
        } else if (!sheet.tracks.empty() && is("SKIP_TRACK")) {
            sheet.tracks.back().details.excluded = true;
        } else if (!sheet.tracks.empty() && is("END_TIME")) {
            sheet.tracks.back().end = number;
        } else if (!sheet.tracks.empty() && (is("FADE_IN") || is("FADE_OUT"))) {
            if (number == 0) return;
            ALBUMTRACK& track = sheet.tracks.back().details;
            track.filter_flags |= is("FADE_IN") ? TRACK_FADE_IN : TRACK_FADE_OUT;
            (is("FADE_IN") ? track.fade_in : track.fade_out) = HeldFadeLength(number);
        } else {
            TakeText(key, CueKeyForm::Rem, value);
        }
    }

    void TakeText(std::string_view name, CueKeyForm form, const std::string& value) {
        if (sheet.tracks.empty()) {
            TakeText<AlbumDetails>(kCueAlbumKeys, name, form, value, sheet.details);
            return;
        }
        // Other programs give every track its performer; ours do where it is not the album's.
        const bool same = !is_ours && EqualNoCaseAscii(name, "PERFORMER") && value == sheet.details.artist;
        if (!same) TakeText<ALBUMTRACK>(kCueTrackKeys, name, form, value, sheet.tracks.back().details);
    }

    template <class Record>
    static void TakeText(std::span<const CueKey<Record>> keys, std::string_view name, CueKeyForm form,
                         const std::string& value, Record& record) {
        for (const CueKey<Record>& key : keys) {
            const bool same_form = (key.form == CueKeyForm::Statement) == (form == CueKeyForm::Statement);
            if (!same_form || !EqualNoCaseAscii(key.name, name)) continue;
            record.*key.text = key.form == CueKeyForm::RemLines ? UnescapeNotes(value) : value;
        }
    }

    CueSheet& sheet;
    int line = 0;
    int64_t last_number = 0;
    std::map<std::pair<std::string, int>, int> files;  // indexes by path and number
    int current_file = 0;
    int file_number = 0;  // of the next FILE
    bool is_ours = false;
};

template <class Record>
void TakeTexts(std::span<const CueKey<Record>> keys, const Record& said, Record& record) {
    for (const CueKey<Record>& key : keys) {
        const std::string& value = said.*key.text;
        const auto written = [&key](const std::string& text) {
            return std::string(Trim(CueValue(text, key.form, CueQuotes::Convert)));
        };
        if (!value.empty() && written(value) != written(record.*key.text)) record.*key.text = value;
    }
}

// A fade that is off keeps the length it had.
void TakeFades(const ALBUMTRACK& said, ALBUMTRACK& track) {
    constexpr int kBoth = TRACK_FADE_IN | TRACK_FADE_OUT;
    track.filter_flags = static_cast<uint16_t>((track.filter_flags & ~kBoth) | said.filter_flags);
    if (said.filter_flags & TRACK_FADE_IN) track.fade_in = said.fade_in;
    if (said.filter_flags & TRACK_FADE_OUT) track.fade_out = said.fade_out;
}

bool InFrame(int64_t position, int64_t frame_start) {
    return position >= frame_start && position < frame_start + kCueFrame;
}

// For each track of the sheet the one of the listing so far that it is, or null: the same row of as many, or the first
// of its title that is not taken.
std::vector<const ALBUMTRACK*> FindKnown(const simple_vector<ALBUMTRACK>& known, const CueSheet& sheet) {
    std::vector<const ALBUMTRACK*> rows;
    if (known.size() == static_cast<int>(sheet.tracks.size())) {
        for (const ALBUMTRACK& track : known) rows.push_back(&track);
        return rows;
    }
    for (const CueSheet::Track& said : sheet.tracks) {
        const std::string& title = said.details.title;
        const auto is_it = [&](const ALBUMTRACK& track) {
            return !title.empty() && Trim(CueValue(track.title, CueKeyForm::Statement, CueQuotes::Convert)) == title &&
                   std::find(rows.begin(), rows.end(), &track) == rows.end();
        };
        const auto found = std::find_if(known.begin(), known.end(), is_it);
        rows.push_back(found == known.end() ? nullptr : &*found);
    }
    return rows;
}

}  // namespace

Outcome InSheet(const Outcome& problem, const std::string& path, int line) {
    return Outcome::FailText(Kind::Contents, FormatMsg(Msg::InFileAtLine, problem.Text(), path, line)).About(path);
}

Result<CueSheet> ParseCueSheet(TextFileReader& reader, const std::string& path) {
    CueSheet sheet;
    sheet.path = path;
    if (Outcome parsed = CueSheetParser(sheet).Parse(reader); !parsed) return parsed;
    return sheet;
}

void TakeCueTexts(const AlbumDetails& said, AlbumDetails& album) {
    TakeTexts<AlbumDetails>(kCueAlbumKeys, said, album);
}

void TakeCueTexts(const ALBUMTRACK& said, ALBUMTRACK& track) {
    TakeTexts<ALBUMTRACK>(kCueTrackKeys, said, track);
}

Result<CueTracks> PlaceCueTracks(const CueSheet& sheet, const std::vector<CueFile>& files, const CueTracks& known) {
    ORVANE_ASSERT(files.size() == sheet.files.size());
    const auto fail = [&sheet](int line, Msg id, const auto&... args) {
        return InSheet(Outcome::Fail(Kind::Contents, id, args...), sheet.path, line);
    };
    const size_t n_tracks = sheet.tracks.size();
    std::vector<int64_t> indexes(n_tracks);  // as the sheet has them
    std::vector<int64_t> starts(n_tracks);   // as they are meant
    const std::vector<const ALBUMTRACK*> rows = FindKnown(known, sheet);
    for (size_t i = 0; i < n_tracks; ++i) {
        const CueSheet::Track& said = sheet.tracks[i];
        const CueFile& file = files[static_cast<size_t>(said.file)];
        indexes[i] = starts[i] = std::min(kLatest, file.ToAlbum(said.index));
        if (i > 0 && indexes[i] < indexes[i - 1]) return fail(said.line, Msg::CueTrackOrder);
        if (rows[i] && InFrame(file.ToFile(rows[i]->start), said.index)) starts[i] = rows[i]->start;
    }

    CueTracks tracks{16};
    int64_t end_before = 0;
    bool unset_before = false;
    for (size_t i = 0; i < n_tracks; ++i) {
        const CueSheet::Track& said = sheet.tracks[i];
        const CueFile& file = files[static_cast<size_t>(said.file)];
        const bool last = i + 1 == n_tracks;
        const int64_t next = last ? file.end : starts[i + 1];
        int64_t start = std::max(starts[i], end_before);
        int64_t end = said.end < indexes[i] ? next : said.end;
        if (end < 0) {
            return InSheet(file.opened, sheet.path, sheet.files[static_cast<size_t>(said.file)].line);
        }
        // An end further behind the next start than a frame has been left over from before that was moved.
        if (!last && end >= indexes[i + 1] + kCueFrame) end = next;
        const bool unset = end < start + kCueFrame;
        if (unset) start = end = std::max(end_before, said.end < indexes[i] ? start : end);
        if (unset_before && !unset) return fail(said.line, Msg::CueTrackOrder);
        // Only a track that has no audio yet, as its END_TIME tells, may lie behind the audio.
        if (file.end >= 0 && indexes[i] >= file.end && !(unset && said.end >= 0)) {
            return fail(said.line, Msg::CueIndexBehindEnd, file.path);
        }
        // The next check of the track breaks would take such a track away.
        if (!unset && end - start < kTooShortTrack) {
            const std::string title = said.details.title.empty() ? std::to_string(i + 1) : said.details.title;
            return fail(said.line, Msg::TrackTooShort, title, FormatTime(end - start));
        }
        unset_before = unset;
        end_before = end;

        ALBUMTRACK track = rows[i] ? *rows[i] : ALBUMTRACK();
        TakeCueTexts(said.details, track);
        TakeFades(said.details, track);
        track.excluded = said.details.excluded;
        track.start = start;
        track.end = end;
        tracks.push_back(std::move(track));
    }
    return tracks;
}

}  // namespace Orvane
