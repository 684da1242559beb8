#include "collection/steering_writer.h"

#include "collection/steering_reader.h"
#include "collection/steering_records.h"

using namespace Foundation;

namespace Orvane {
namespace {

constexpr size_t kFlushSize = 256 * 1024;
constexpr std::string_view kHeader =
    "\"Track No\"\t\"Artist\"\t\"Album Title\"\t\"Release Year\"\t\"Track Title\"\t\"Duration\"\t\"Start Time\"\t"
    "\"End Time\"\t\"Preferred Format\"\t\"MP3 File\"\t\"Newest Recordings\"\t\"Filter Flags\"\t\"Fade In\"\t"
    "\"Fade Out\"\t\"Track Artist\"";

class Writer {
public:
    explicit Writer(TextFileWriter& file) : file(file) {}

    void Collection(const AlbumSet& set, int current_album);
    void Album(const AlbumInfo& album);
    bool Flush();

private:
    void KeyValue(std::string_view key, std::string_view value);
    void BeginExt(std::string_view key);
    void Track(const AlbumInfo& album, int index);
    void Details(const AlbumInfo& album);
    void Side(const AlbumSide* side);
    void Recording(const FileHistoryEntry& entry);
    void Corrections(const FileHistoryEntry& entry);

    TextFileWriter& file;
    LineBuilder line;
    bool ok = true;
};

bool Writer::Flush() {
    ok = ok && file.Write(line.text);
    line.text.clear();
    return ok;
}

void Writer::KeyValue(std::string_view key, std::string_view value) {
    line.Text(key);
    line.Text(value);
    line.EndLine();
}

void Writer::BeginExt(std::string_view key) {
    line.Bare(">Ext");
    line.Bare(key);
}

void Writer::Collection(const AlbumSet& set, int current_album) {
    line.Bare(kHeader);
    line.EndLine();
    KeyValue(">Version", std::to_string(kCollectionVersion));
    const bool live = &set == gAlbumSet;
    if (live && current_album >= 0) {
        KeyValue(">Current Album", std::to_string(current_album));
        KeyValue(">Current Artist", set.current_album->artist);
        KeyValue(">Current Album Title", set.current_album->title);
    } else if (!live) {
        if (!set.current_artist.empty()) KeyValue(">Current Artist", set.current_artist);
        if (!set.current_title.empty()) KeyValue(">Current Album Title", set.current_title);
    }
    if (set.max_album_sides) KeyValue(">Max Album Sides", std::to_string(set.max_album_sides));
}

void Writer::Album(const AlbumInfo& album) {
    for (int i = 0; i < album.tracks.size(); ++i) Track(album, i);
    if (album.tracks.empty()) {
        line.Text("-1");
        line.Text(album.artist);
        line.Text(album.title);
        line.Int(album.year);
        line.EndLine();
    }
    Details(album);
    for (const AlbumSide* side : album.sides) Side(side);
    if (line.text.size() > kFlushSize) Flush();
}

void Writer::Track(const AlbumInfo& album, int index) {
    const ALBUMTRACK& track = album.tracks[index];
    const std::string number = std::to_string(index + 1);
    line.Text(number.size() < 2 ? "0" + number : number);
    line.Text(album.artist);
    line.Text(album.title);
    line.Int(album.year);
    line.Text(track.title);
    line.Time(track.FadeEnd() - track.FadeStart());
    line.Time(track.FadeStart());
    line.Time(track.FadeEnd());
    line.Text("-");
    line.Text("");
    line.Text("-");
    line.Int(track.filter_flags);
    line.Time(track.fade_in);
    line.Time(track.fade_out);
    line.Text(track.artist);
    line.Text(track.grouping);
    line.Int(track.excluded);
    line.Text(track.composer);
    line.Text(track.conductor);
    line.Text(track.alias);
    line.Text(track.comment);
    line.Text(track.genre);
    line.Int(track.reserved_word);
    line.EndLine();
    if (track.custom_tags.empty()) return;
    BeginExt("TrackCustomTags");
    line.Bare(track.custom_tags);
    line.EndLine();
}

void Writer::Details(const AlbumInfo& album) {
    BeginExt("Album");
    line.Int(1);
    line.Int(album.lookup_state);
    line.Int(album.sides_adjusted);
    line.Int(album.IsSingle());
    line.Text(album.genre);
    line.Text(album.label);
    line.Text(album.art_file);
    line.Int(album.channel_mode & 3);
    line.Text(album.grouping);
    line.Int(album.status);
    line.Text(album.composer);
    line.Text(album.conductor);
    line.Text(album.alias);
    line.Text(album.comment);
    line.Int(album.playing_speed);
    line.Text(album.release_number);
    line.Int(album.channel_mode & 12);
    line.Int(0);
    line.Int(0);
    line.Int((album.flags & ALBUM_LISTING_IMPORTED) != 0);
    line.EndLine();
    if (!album.custom_tags.empty()) {
        BeginExt("AlbumCustomTags");
        line.Bare(album.custom_tags);
        line.EndLine();
    }
    if (!album.notes.empty()) {
        BeginExt("Notes");
        line.Text(EscapeNotes(album.notes));
        line.EndLine();
    }
    for (const SavedFile& saved : album.saved_files) {
        BeginExt("SavedTrack");
        line.Text(saved.path);
        line.Text(saved.signature);
        line.EndLine();
    }
    if (album.record_eq) {
        BeginExt("RecordEqPre");
        WriteRecordEq(line, *album.record_eq);
        line.EndLine();
    }
}

void Writer::Side(const AlbumSide* side) {
    BeginExt("AlbumSide");
    line.Int(side ? side->PositionOf(side->newest) : 0);
    line.Int(side ? side->PositionOf(side->latest_take) : 0);
    line.EndLine();
    if (!side) return;
    for (const RefPtr<FileHistoryEntry>& entry : side->history) {
        Recording(*entry);
        Corrections(*entry);
    }
}

void Writer::Recording(const FileHistoryEntry& entry) {
    const ScanSettings& scan = entry.decided.click_scan;
    BeginExt("FileHistory");
    line.Text(std::string_view(entry.name.extension).substr(entry.name.extension.empty() ? 0 : 1));
    line.Text(entry.name.suffix);
    line.Int(entry.facts.file_time);
    line.Int(entry.decided.noise_stretch.start);
    line.Int(entry.decided.noise_stretch.end);
    line.Int(0);
    line.Int(0);
    line.Int(scan.sensitivity);
    line.Int(scan.percussion_protection);
    line.Int(scan.brass_protection);
    line.Int(scan.passes);
    line.Int(scan.channels);
    line.Int((scan.options & SCAN_KEEP_MANUAL) != 0);
    line.Int((scan.options & SCAN_KEEP_PREVIOUS) != 0);
    line.Int((scan.options & SCAN_SELECTION_ONLY) != 0);
    line.Int(entry.facts.open_status);
    line.Text(entry.name.external_file);
    line.Int(entry.facts.samplerate);
    line.Int(entry.facts.bit_rate);
    line.Int(entry.facts.file_size);
    line.Int(entry.facts.stream_index);
    line.Int(entry.facts.several_streams);
    line.Int(entry.facts.bits);
    line.Int(1);
    line.Text(entry.decided.comment);
    line.Int(entry.facts.bits);
    line.Int(entry.facts.channels);
    line.Text(entry.facts.original_name);
    line.Int(entry.decided.view_mode);
    line.Int(entry.decided.speed.on);
    line.Int(entry.decided.speed.from);
    line.Int(entry.decided.speed.to);
    line.Int((scan.options & SCAN_EQUALISE) != 0);
    line.Int(entry.facts.sample_format);
    line.Int(1);
    line.Int(1);
    line.Int(entry.SwapChannels());
    line.EndLine();
}

void Writer::Corrections(const FileHistoryEntry& entry) {
    if (!entry.decided.markers.empty()) {
        BeginExt("Markers");
        for (const MarkerCorrection& marker : entry.decided.markers) line.Int(marker.start_time);
        line.EndLine();
    }
    if (!entry.decided.side_breaks.empty()) {
        BeginExt("SideBreaks");
        for (int64_t time : entry.decided.side_breaks) line.Int(time);
        line.EndLine();
    }
    for (const CutAndSpliceCorrection& cut : entry.decided.cuts) {
        BeginExt("CutAndSplice");
        WriteCut(line, cut);
        if (cut.moved_end.from >= 0 || cut.moved_start.from >= 0) {
            for (const MovedBreak& moved : {cut.moved_end, cut.moved_start}) {
                line.Int(moved.from);
                line.Int(moved.to);
            }
        }
        line.EndLine();
    }
    for (const FilterSetting& filter : entry.decided.filters) {
        if (filter.start_time < 0) continue;  // stands for the whole recording while the program runs
        BeginExt("FilterSettings");
        WriteFilterSetting(line, filter);
        line.EndLine();
    }
    for (const FFTEq& eq : entry.decided.fft_eqs) {
        if (eq.start_time < 0) continue;
        BeginExt("FFTEq");
        WriteFFTEq(line, eq);
        line.EndLine();
    }
    if (entry.decided.record_eq_post) {
        BeginExt("FHERecordEqPost");
        WriteRecordEq(line, *entry.decided.record_eq_post);
        line.EndLine();
    }
}

}  // namespace

bool WriteCollection(TextFileWriter& file, const AlbumSet& set, int current_album) {
    Writer writer(file);
    writer.Collection(set, current_album);
    for (const AlbumInfo& album : set.albums) writer.Album(album);
    return writer.Flush();
}

}  // namespace Orvane
