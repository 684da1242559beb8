#include "save/cuesheet.h"

#include <algorithm>

#include "collection/albumset.h"
#include "collection/recordingplaces.h"
#include "collection/undo_records.h"
#include "foundation/fileerror.h"
#include "foundation/messages.h"
#include "foundation/path.h"
#include "foundation/settings.h"
#include "foundation/text.h"
#include "save/cuesheet_keys.h"
#include "save/cuesheet_reader.h"
#include "tesslib/fileformats.h"

using namespace Foundation;
using namespace Tesslib;

namespace Orvane {
namespace {

constexpr const char* kCueExtension = ".cue";

enum CueSheetFolder : int { CUE_BESIDE_RECORDING = 0, CUE_IN_DIRECTORY = 1 };

// The album's recordings as a sheet's files. Fails when one is missing on whose length the place of another depends.
Result<std::vector<CueFile>> FindRecordings(AlbumInfo& album) {
    std::vector<CueFile> files;
    for (const RecordingPlace& place : PlaceRecordings(album)) {
        if (!files.empty() && files.back().end < 0) {
            return files.back().opened;
        }
        files.push_back({place.entry->GetPath(), place.start, place.opened ? place.end : -1, &place.entry->decided.cuts,
                         place.entry->SampleRate(), place.opened});
    }
    return files;
}

// The length of an audio file in ticks.
Result<int64_t> LengthOf(const std::string& path) {
    if (!FileExists(path)) return Outcome::Fail(Kind::CannotOpen, Msg::CannotFindFile, path).About(path);
    int error = 0;
    const RefPtr<FileStream> stream = OpenForReading(path, error);
    if (!stream) return Outcome::OfLastError(error);
    const int64_t ticks = to_ticks(stream->GetSampleRate(0), stream->GetTotalSamples(0));
    stream->Close();
    return ticks;
}

// Which of the album's recordings the files of a sheet are, each another one: by path, name, number or order. Empty
// where not every one of them is one. Recordings in several folders may share a name, and a sheet without folders then
// has the same path for them all, so name and number together come first.
std::vector<CueFile> MatchRecordings(const CueSheet& sheet, const std::vector<CueFile>& recordings) {
    if (sheet.files.size() > recordings.size()) return {};
    std::vector<size_t> matches(sheet.files.size(), recordings.size());
    const auto match = [&](const auto& is_it) {
        for (size_t i = 0; i < matches.size(); ++i) {
            for (size_t r = 0; r < recordings.size() && matches[i] == recordings.size(); ++r) {
                const bool taken = std::find(matches.begin(), matches.end(), r) != matches.end();
                if (!taken && is_it(i, r)) matches[i] = r;
            }
        }
    };
    const bool in_order = sheet.files.size() == recordings.size();
    const auto same_name = [&](size_t i, size_t r) {
        return CompareNoCase(FileNameOf(recordings[r].path), FileNameOf(sheet.files[i].path)) == 0;
    };
    const auto same_number = [&](size_t i, size_t r) { return sheet.files[i].number == static_cast<int>(r) + 1; };
    match([&](size_t i, size_t r) { return same_name(i, r) && same_number(i, r); });
    match([&](size_t i, size_t r) { return AbsolutePath(recordings[r].path) == sheet.files[i].path; });
    match(same_name);
    match(same_number);
    match([&](size_t i, size_t r) { return in_order && i == r; });

    std::vector<CueFile> files;
    for (const size_t r : matches) {
        if (r == recordings.size()) return {};
        files.push_back(recordings[r]);
    }
    return files;
}

// Where the files of a sheet lie on the album's time line.
Result<std::vector<CueFile>> PlaceFiles(AlbumInfo& album, const CueSheet& sheet) {
    const Result<std::vector<CueFile>> recordings = FindRecordings(album);
    if (!recordings) return InSheet(recordings.GetOutcome(), sheet.path, sheet.files.front().line);
    std::vector<CueFile> files = MatchRecordings(sheet, *recordings);
    if (!files.empty()) return files;
    for (const CueSheet::File& file : sheet.files) {
        const int64_t start = files.empty() ? 0 : files.back().end;
        if (start < 0) {
            return InSheet(files.back().opened, sheet.path, file.line);
        }
        const Result<int64_t> length = LengthOf(file.path);
        CueFile& other = files.emplace_back();
        other.path = file.path;
        other.start = start;
        other.opened = length.GetOutcome();
        if (length) other.end = start + *length;
    }
    return files;
}

bool IsOurs(const std::string& sheet_path) {
    const auto reader = OpenTextFile(sheet_path);
    std::string line;
    return reader && reader->ReadLine(line) && Trim(line) == kCueSignature;
}

AlbumDetails NewDetails(const AlbumInfo& album, const AlbumDetails& said) {
    AlbumDetails details = album.Details();
    TakeCueTexts(said, details);
    if (said.year) details.year = said.year;
    if (said.playing_speed) details.playing_speed = said.playing_speed;
    return details;
}

bool SameDetails(const AlbumDetails& a, const AlbumDetails& b) {
    const auto same_text = [&](const auto& key) { return a.*key.text == b.*key.text; };
    return std::all_of(std::begin(kCueAlbumKeys), std::end(kCueAlbumKeys), same_text) && a.year == b.year &&
           a.playing_speed == b.playing_speed;
}

bool SameBreaks(const simple_vector<ALBUMTRACK>& a, const simple_vector<ALBUMTRACK>& b) {
    const auto same = [](const ALBUMTRACK& x, const ALBUMTRACK& y) { return x.start == y.start && x.end == y.end; };
    return std::equal(a.begin(), a.end(), b.begin(), b.end(), same);
}

// One action that can be undone. Fails when the recordings cannot take the album's new name.
Outcome TakeSheet(AlbumInfo& album, const AlbumDetails& details, simple_vector<ALBUMTRACK> tracks) {
    const std::string description = FormatMsg(Msg::ImportTrackListing);
    auto undo = std::make_unique<UndoGroup>(description);
    if (!SameDetails(album, details)) {
        AlbumDetails before = album.Details();
        if (Outcome changed = ChangeDetails(album, details); !changed) return changed;
        undo->Add(std::make_unique<UndoEditAlbumDetails>(album, std::move(before)));
    }
    if (gAlbumSet->current_album != &album) GetUndoHost().ShowAlbum(&album);
    if (tracks != album.tracks) {
        undo->Add(std::make_unique<UndoUpdateTrackInfo>(album, description, 0, tracks.size() - 1));
        const Change change(CHANGE_TRACK_INSERTED | CHANGE_TRACK_TIMES, &album);
        if (!SameBreaks(album.tracks, tracks)) album.sides_adjusted = 0;
        album.tracks = std::move(tracks);
    }
    if (!undo->Empty()) AddUndo(std::move(undo));
    return {};
}

}  // namespace

CueSheetOptions CueSheetOptions::FromStore() {
    CueSheetOptions options;
    options.convert_quotes = GetSetting("Cue Sheet Convert Quotes", 1) != 0;
    options.absolute_paths = GetSetting("Cue Sheet Absolute Paths", 0) != 0;
    const int type = GetSetting("Cue Sheet Type", static_cast<int>(Encoding::ANSI));
    if (type >= static_cast<int>(Encoding::ANSI) && type <= static_cast<int>(Encoding::UTF8)) {
        options.encoding = static_cast<Encoding>(type);
    }
    return options;
}

namespace {

Result<WrittenListing> WriteSheet(const KeptFiles& kept, AlbumInfo& album, const std::string& path,
                                  const CueSheetOptions& options) {
    const auto refused = [](Msg id, const auto&... args) { return Outcome::Fail(Kind::Refused, id, args...); };
    const Result<std::vector<CueFile>> files = FindRecordings(album);
    if (!files) return files.GetOutcome();
    if (album.tracks.size() > kMostCueTracks) return refused(Msg::CueTrackNumber, album.tracks.size(), kMostCueTracks);
    if (album.tracks.empty()) return refused(Msg::NoTracks, album.artist, album.title);
    if (files->empty()) return refused(Msg::NoRecordings, album.artist, album.title);
    return WriteListingFile(kept, path, kCueExtension, CueSheetText(album, *files, options), options.encoding,
                            LineEnds::LF, IsOurs);
}

}  // namespace

Result<WrittenListing> WriteCueSheet(AlbumInfo& album, const std::string& path, const CueSheetOptions& options) {
    return WriteSheet(KeptFiles({&album}), album, path, options);
}

std::string OwnCueSheetPath(const AlbumInfo& album, const std::string& path) {
    const std::vector<FileHistoryEntry*> recordings = album.Recordings();
    const auto is_of_others = [&](const std::string& sheet_path) {
        const auto reader = FileExists(sheet_path) ? OpenTextFile(sheet_path) : nullptr;
        for (std::string line; reader && reader->ReadLine(line);) {
            const auto is_named = [&](const FileHistoryEntry* entry) {
                return line.starts_with(CueFileStatement(AbsolutePath(entry->GetPath())));
            };
            if (line.starts_with("FILE ") && std::none_of(recordings.begin(), recordings.end(), is_named)) return true;
        }
        return false;
    };
    std::string own = path;
    for (int i = 2; is_of_others(own); ++i) own = fmt::sprintf("%s (%d)%s", WithoutExtension(path), i, kCueExtension);
    return own;
}

std::string CueSheetPath(const AlbumInfo& album) {
    const std::vector<FileHistoryEntry*> recordings = album.Recordings();
    std::string folder;
    if (GetSetting("Cue Sheet Folder", CUE_BESIDE_RECORDING) == CUE_IN_DIRECTORY) {
        folder = GetStringSetting("Cue Sheet Directory");
    }
    if (folder.empty() && !recordings.empty()) folder = FolderOf(recordings.front()->GetPath());
    return JoinPath(folder, ListingFileName(album, kCueExtension));
}

std::vector<AlbumListing> GenerateCueSheets(std::vector<AlbumListing> sheets) {
    std::vector<AlbumInfo*> albums;
    for (const AlbumListing& sheet : sheets) albums.push_back(sheet.album);
    const CueSheetOptions options = CueSheetOptions::FromStore();
    const KeptFiles kept(albums);
    return WriteForEachAlbum(std::move(sheets), [&](AlbumInfo& album, const std::string& path) {
        return WriteSheet(kept, album, path, options);
    });
}

Outcome ReadCueSheet(AlbumInfo& album, const std::string& path) {
    ORVANE_ASSERT(gAlbumSet && album.set == gAlbumSet);
    const std::string full_path = AbsolutePath(path);
    if (album.running_jobs > 0) return Outcome::Fail(Kind::Busy, Msg::AlbumInUse, album.artist, album.title);
    if (!FileExists(full_path)) {
        return Outcome::Fail(Kind::CannotOpen, Msg::CannotFindFile, full_path).About(full_path);
    }
    const auto reader = OpenTextFile(full_path, Encoding::Detect, 16384, NotUtf8::Windows1252);
    if (!reader) return Outcome::OfLastError(ERR_CANNOT_OPEN);
    const Result<CueSheet> sheet = ParseCueSheet(*reader, full_path);
    if (!sheet) return sheet.GetOutcome();
    const Result<std::vector<CueFile>> files = PlaceFiles(album, *sheet);
    if (!files) return files.GetOutcome();
    Result<CueTracks> tracks = PlaceCueTracks(*sheet, *files, album.tracks);
    if (!tracks) return tracks.GetOutcome();
    return TakeSheet(album, NewDetails(album, sheet->details), std::move(*tracks));
}

}  // namespace Orvane
