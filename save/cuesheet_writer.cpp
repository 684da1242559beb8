#include <algorithm>
#include <span>

#include "collection/steering_records.h"
#include "foundation/messages.h"
#include "foundation/path.h"
#include "foundation/text.h"
#include "save/cuesheet.h"
#include "save/cuesheet_keys.h"
#include "save/listingfile.h"
#include "tesslib/fileformats.h"

using namespace Foundation;
using namespace Tesslib;

namespace Orvane {

std::string CueValue(std::string_view text, CueKeyForm form, CueQuotes quotes) {
    const std::string line = OneLine(form == CueKeyForm::RemLines ? EscapeNotes(text) : text);
    return quotes == CueQuotes::Convert ? Replace(line, "\"", "'") : line;
}

std::string CueFileStatement(std::string_view path) {
    return fmt::sprintf("FILE \"%s\"", OneLine(path));
}

namespace {

class CueSheetWriter {
public:
    CueSheetWriter(const AlbumInfo& album, const std::vector<CueFile>& files, const CueSheetOptions& options)
        : album(album), files(files), options(options) {}

    std::string Write() {
        const std::span<const CueKey<AlbumDetails>> keys(kCueAlbumKeys);
        text = std::string(kCueSignature) + "\n";
        WriteTexts<AlbumDetails>(keys.first(1), album, "");
        if (album.year) text += fmt::sprintf("REM DATE \"%d\"\n", album.year);
        WriteTexts<AlbumDetails>(keys.subspan(1), album, "");
        text += fmt::sprintf("REM PLAYING_SPEED \"%d\"\n", album.playing_speed);
        for (int i = 0; i < album.tracks.size(); ++i) WriteTrack(i);
        return std::move(text);
    }

private:
    template <class Record>
    void WriteTexts(std::span<const CueKey<Record>> keys, const Record& record, const char* indent) {
        for (const CueKey<Record>& key : keys) {
            const std::string value =
                CueValue(record.*key.text, key.form, options.convert_quotes ? CueQuotes::Convert : CueQuotes::Keep);
            if (Trim(value).empty()) continue;
            text += indent;
            if (key.form != CueKeyForm::Statement) text += "REM ";
            text.append(key.name).append(" \"" + value + "\"\n");
        }
    }

    // A track behind the last file is counted from that file's beginning.
    size_t FileOf(const ALBUMTRACK& track) const {
        size_t i = 0;
        while (i + 1 < files.size() && track.start >= files[i].end) ++i;
        return i;
    }

    void WriteFile(size_t index) {
        const std::string& path = files[index].path;
        if (index > 0) text += fmt::sprintf("\nREM FILE_NUMBER %d\n", index + 1);
        text += CueFileStatement(options.absolute_paths ? AbsolutePath(path) : FileNameOf(path)) +
                (FormatOfExtension(ExtensionOf(path)) == FF_MP3 ? " MP3\n" : " WAVE\n");
    }

    void WriteTrack(int i) {
        const ALBUMTRACK& track = album.tracks[i];
        const size_t file = FileOf(track);
        if (i == 0 || file != current_file) WriteFile(file);
        current_file = file;

        text += fmt::sprintf("  TRACK %02d AUDIO\n", i + 1);
        WriteTexts<ALBUMTRACK>(kCueTrackKeys, track, "    ");
        if (track.excluded) text += "    REM SKIP_TRACK\n";
        if (track.filter_flags & TRACK_FADE_IN) text += fmt::sprintf("    REM FADE_IN %d\n", track.fade_in);
        if (track.filter_flags & TRACK_FADE_OUT) text += fmt::sprintf("    REM FADE_OUT %d\n", track.fade_out);
        text += fmt::sprintf("    REM END_TIME %d\n", track.end);
        const int64_t ticks = std::max<int64_t>(0, files[file].ToFile(track.start));
        const int64_t seconds = ticks / kTicksPerSecond;
        text += fmt::sprintf("    INDEX %02d %02d:%02d:%02d\n", 1, seconds / 60, seconds % 60,
                             ticks % kTicksPerSecond / kCueFrame);
    }

    const AlbumInfo& album;
    const std::vector<CueFile>& files;
    const CueSheetOptions& options;
    std::string text;
    size_t current_file = 0;
};

}  // namespace

int64_t CueFile::ToFile(int64_t album_time) const {
    const int64_t ticks = album_time - start;
    if (!cuts) return ticks;
    // A tick may last several frames: with the place of a cut anywhere in it, what begins there begins behind the cut.
    const int64_t frames = std::max(to_samples(samplerate, ticks), to_samples(samplerate, ticks + 1) - 1);
    return ticks + to_ticks(samplerate, cuts->OffsetAt(frames));
}

int64_t CueFile::ToAlbum(int64_t file_time) const {
    if (!cuts) return start + file_time;
    const int64_t frames = to_samples(samplerate, file_time);
    const int64_t edited = cuts->ToEdited(frames);
    const bool inside_cut = cuts->ToAbsolute(edited) != frames;
    return start + (inside_cut ? to_ticks(samplerate, edited) : file_time - to_ticks(samplerate, frames - edited));
}

std::string CueSheetText(const AlbumInfo& album, const std::vector<CueFile>& files, const CueSheetOptions& options) {
    ORVANE_ASSERT(!files.empty());
    return CueSheetWriter(album, files, options).Write();
}

}  // namespace Orvane
