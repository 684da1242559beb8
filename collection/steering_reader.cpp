#include "collection/steering_reader.h"

#include <algorithm>
#include <utility>

#include "collection/albumset.h"
#include "collection/sort_list.h"
#include "collection/steering_records.h"
#include "collection/tracktime.h"
#include "foundation/path.h"
#include "tesslib/fileformats.h"

using namespace Foundation;
using namespace Tesslib;

namespace Orvane {
namespace {

constexpr int kVersionOfTimesAtOwnRate = 511;
constexpr int kVersionOfShiftedScan = 299;
constexpr int64_t kLongestSplice = 1 << 20;       // frames; a second at any rate, and a cross-fade lies in memory whole
constexpr std::string_view kNoSide = "\xC2\xAC";  // in the place of a recording's name suffix

class Reader {
public:
    Reader(AlbumSet& set, CollectionFacts& facts, const std::function<bool()>& accept_newer)
        : set(set), facts(facts), accept_newer(accept_newer) {}

    ReadResult Read(TextFileReader& file);

private:
    ReadResult Line();
    ReadResult CollectionLine(std::string_view key);
    ReadResult ExtLine();
    void TrackRow();
    void TrackTimes(ALBUMTRACK& track);
    void FinishSide();
    void FinishAlbum();

    // One for each kind of ">Ext" line.
    void Album();
    void AlbumCustomTags() { album->custom_tags = fields.Behind(1); }
    void TrackCustomTags();
    void Notes() { album->notes = UnescapeNotes(fields[2]); }
    void SavedTrack() { album->saved_files.push_back({std::string(fields[2]), std::string(fields[3])}); }
    void RecordEqPre() { ReadRecordEq(fields, 2, album->record_eq.emplace()); }
    void Side();
    void Recording();
    void RecordingFile(FileHistoryEntry& entry);
    void RecordingSettings(FileHistoryEntry& entry);
    void Markers();
    void SideBreaks();
    void CutAndSplice();
    void Filter();
    void Curve();
    void RecordEqPost() { ReadRecordEq(fields, 2, recording->decided.record_eq_post.emplace()); }

    // Times of old files are at 44100 Hz even where the recording's rate is lower.
    int64_t RecordingTime(int64_t time) const;
    void ScaleRange(BaseCorrection& correction) const;

    AlbumSet& set;
    CollectionFacts& facts;
    const std::function<bool()>& accept_newer;
    Fields fields;
    AlbumInfo* album = nullptr;
    bool header_pending = false;
    int64_t running_end = 0;
    bool has_side = false;      // recordings that follow belong to the album's last side,
    AlbumSide* side = nullptr;  // which is made with the first of them
    int newest_position = 0;
    int latest_position = 0;
    FileHistoryEntry* recording = nullptr;
};

ReadResult Reader::Read(TextFileReader& file) {
    std::string line;
    if (!file.ReadLine(line)) return file.Failed() ? ReadResult::Failed : ReadResult::NotACollection;
    if (line.empty() || line.front() != '"') return ReadResult::NotACollection;
    while (file.ReadLine(line)) {
        fields.Cut(line);
        if (fields.size() == 0) continue;
        if (const ReadResult result = Line(); result != ReadResult::Good) return result;
    }
    if (file.Failed()) return ReadResult::Failed;
    FinishAlbum();
    SortAlbumList(set, GetSortOrder());
    return ReadResult::Good;
}

ReadResult Reader::Line() {
    const std::string_view key = fields[0];
    if (key == ">Ext") return ExtLine();
    if (!key.empty() && key.front() == '>') return CollectionLine(key);
    // A row that is not one of a track or an album is damage.
    const size_t digit = key.find_first_not_of(" +-");
    const bool is_number = digit != key.npos && key[digit] >= '0' && key[digit] <= '9';
    if (is_number || (key.empty() && fields.size() > 1)) TrackRow();
    return ReadResult::Good;
}

ReadResult Reader::CollectionLine(std::string_view key) {
    if (key == ">Version") {
        facts.version = fields.Int<int32_t>(1);
        if (facts.version > kCollectionVersion && !accept_newer()) return ReadResult::Cancelled;
    } else if (key == ">Current Album") {
        facts.current_album = fields.Int<int32_t>(1, -1);
    } else if (key == ">Current Artist") {
        set.current_artist = fields[1];
    } else if (key == ">Current Album Title") {
        set.current_title = fields[1];
    } else if (key == ">Max Album Sides") {
        const int limit = fields.Int<int32_t>(1);
        if (limit < 0 || limit > kMaxAlbumSides) return ReadResult::NotACollection;
        if (set.albums.empty()) {
            set.max_album_sides = limit;
        } else {
            set.dirty = true;  // out of place: the albums before it were read without it
        }
    }
    return ReadResult::Good;
}

void Reader::TrackRow() {
    const int n = fields.Int<int32_t>(0);
    if (n < 1 || (n == 1 && !header_pending)) {
        FinishAlbum();
        album = new AlbumInfo;
        set.albums.Append(album);
        album->set = &set;
        album->artist = fields[1];
        album->title = fields[2];
        album->year = fields.Int<int16_t>(3);
        running_end = 0;
    }
    if (n < 1) {
        header_pending = n == 0;
        return;
    }
    header_pending = false;
    if (!album) return;

    ALBUMTRACK track;
    track.title = fields[4];
    track.artist = fields[14];
    track.grouping = fields[15];
    track.excluded = fields.Bool(16);
    track.composer = fields[17];
    track.conductor = fields[18];
    track.alias = fields[19];
    track.comment = fields[20];
    track.genre = fields[21];
    TrackTimes(track);
    album->tracks.push_back(std::move(track));
}

void Reader::TrackTimes(ALBUMTRACK& track) {
    const bool has_end = !fields[7].empty();
    track.start = has_end ? ParseTime(fields[6]) : running_end;
    track.end = has_end ? ParseTime(fields[7]) : track.start + ParseTime(fields[5]);
    running_end = track.end;

    const auto flags = fields.Int<uint16_t>(11);
    // None is longer than those that Orvane makes, and one that is on lies inside the row.
    const auto fade = [&](int field, TrackFlags flag) {
        const int64_t room = flags & flag ? track.end - track.start : kLongestFade;
        return static_cast<int32_t>(
            std::clamp<int64_t>(ParseTime(fields[field]), 0, std::clamp<int64_t>(room, 0, kLongestFade)));
    };
    if (album->tracks.empty() || !album->tracks.back().IsEmpty()) {
        track.filter_flags = flags & TRACK_FADE_IN;
        track.fade_in = fade(12, TRACK_FADE_IN);
        track.start += track.FadeIn();
    }
    if (!track.IsEmpty()) {
        track.filter_flags = flags;
        track.fade_out = fade(13, TRACK_FADE_OUT);
        track.end -= track.FadeOut();
    }
}

void Reader::FinishSide() {
    const auto at = [this](int position) {
        const bool there = side && position > 0 && position <= static_cast<int>(side->history.size());
        return there ? side->history[static_cast<size_t>(position - 1)].get() : nullptr;
    };
    if (side) {
        side->newest = at(newest_position);
        side->latest_take = at(latest_position);
        if (!side->newest) side->newest = side->history.back().get();
    }
    has_side = false;
    side = nullptr;
    recording = nullptr;
}

void Reader::FinishAlbum() {
    if (!album) return;
    FinishSide();
    for (AlbumSide* s : album->sides) {
        if (!s) continue;
        for (const RefPtr<FileHistoryEntry>& entry : s->history) {
            entry->decided.cuts.Recompute();
            entry->decided.RecomputeTimes();
            SortList(entry->decided.markers, [](const auto& a, const auto& b) { return a.start_time < b.start_time; });
            std::sort(entry->decided.side_breaks.begin(), entry->decided.side_breaks.end());
            int8_t& percussion = entry->decided.click_scan.percussion_protection;
            if (facts.version == kVersionOfShiftedScan && percussion > 0) --percussion;
        }
    }
    album->tracks.shrink_to_fit();
    album = nullptr;
}

ReadResult Reader::ExtLine() {
    static constexpr struct {
        std::string_view key;
        void (Reader::*read)();
        bool of_recording;
    } kLines[] = {
        {"FileHistory", &Reader::Recording, false},
        {"AlbumSide", &Reader::Side, false},
        {"Album", &Reader::Album, false},
        {"TrackCustomTags", &Reader::TrackCustomTags, false},
        {"AlbumCustomTags", &Reader::AlbumCustomTags, false},
        {"Notes", &Reader::Notes, false},
        {"SavedTrack", &Reader::SavedTrack, false},
        {"RecordEqPre", &Reader::RecordEqPre, false},
        {"Markers", &Reader::Markers, true},
        {"SideBreaks", &Reader::SideBreaks, true},
        {"CutAndSplice", &Reader::CutAndSplice, true},
        {"FilterSettings", &Reader::Filter, true},
        {"FFTEq", &Reader::Curve, true},
        {"FHERecordEqPost", &Reader::RecordEqPost, true},
    };
    if (!album) return ReadResult::NotACollection;
    for (const auto& line : kLines) {
        if (fields[1] != line.key) continue;
        if (recording || !line.of_recording) (this->*line.read)();
        break;
    }
    return ReadResult::Good;
}

void Reader::Album() {
    album->lookup_state = fields.Int<uint8_t>(3);
    album->sides_adjusted = fields.Int<uint16_t>(4);
    album->single = fields.Bool(5);
    album->genre = fields[6];
    album->label = fields[7];
    album->art_file = NativePath(fields[8]);
    const int sound = fields[9].empty() ? CHANNELS_STEREO : fields.Int<int32_t>(9) & 3;
    album->channel_mode = static_cast<uint8_t>(sound | (fields.Int<int32_t>(18) & 12));
    album->grouping = fields[10];
    album->status = fields.Int<uint8_t>(11);
    album->composer = fields[12];
    album->conductor = fields[13];
    album->alias = fields[14];
    album->comment = fields[15];
    album->playing_speed = fields[16].empty() ? int16_t{33} : fields.Int<int16_t>(16);
    album->release_number = fields[17];
    if (fields.Bool(21)) album->flags |= ALBUM_LISTING_IMPORTED;
}

void Reader::TrackCustomTags() {
    if (!album->tracks.empty()) album->tracks.back().custom_tags = fields.Behind(1);
}

void Reader::Side() {
    FinishSide();
    if (album->sides.size() >= set.SideLimit()) {
        set.dirty = true;
        return;
    }
    album->sides.push_back(nullptr);
    has_side = true;
    newest_position = fields.Int<int32_t>(2);
    latest_position = fields.Int<int32_t>(3);
}

void Reader::Recording() {
    recording = nullptr;
    if (!has_side) return;
    if (!side) side = album->sides.back() = new AlbumSide;
    auto entry = MakeRef<FileHistoryEntry>(album, side);
    RecordingFile(*entry);
    RecordingSettings(*entry);
    recording = entry.get();
    side->history.push_back(std::move(entry));
}

void Reader::RecordingFile(FileHistoryEntry& entry) {
    if (!fields[2].empty()) entry.name.extension = "." + LowerAscii(fields[2]);
    entry.facts.file_format = static_cast<uint8_t>(FormatOfExtension(entry.name.extension));
    entry.facts.file_time = std::clamp<int64_t>(fields.Int<int64_t>(4), 0, INT64_MAX / 2);  // for differences
    entry.facts.open_status = fields.Int<int16_t>(17, -1);
    entry.name.external_file = fields[18];
    if (fields[3] != kNoSide) {
        entry.name.suffix = fields[3];
    } else if (entry.name.external_file.empty()) {
        const std::string name = album->artist + "~" + album->title + entry.name.extension;
        entry.name.external_file = JoinPath(set.recordings_folder, SafeFileName(name));
    }
    entry.facts.samplerate = std::max(0, fields.Int<int32_t>(19));
    entry.facts.bit_rate = fields.Int<int32_t>(20);
    entry.facts.file_size = fields.Int<int64_t>(21);
    entry.facts.stream_index = fields.Int<int32_t>(22, -1);
    entry.facts.several_streams = fields.Bool(23);
    entry.facts.bits = fields.Int<uint8_t>(24);
    entry.decided.comment = fields[26];
    entry.facts.channels = fields.Int<uint8_t>(28, 2);
    entry.facts.original_name = fields[29];
    entry.facts.sample_format = fields.Int<uint8_t>(35);
}

void Reader::RecordingSettings(FileHistoryEntry& entry) {
    entry.decided.noise_stretch.start = fields.Time(5, entry.decided.noise_stretch.start);
    entry.decided.noise_stretch.end = fields.Time(6, entry.decided.noise_stretch.end);
    ScanSettings& scan = entry.decided.click_scan;
    scan.sensitivity = fields.Int<int8_t>(9, -1);
    scan.percussion_protection = fields.Int<int8_t>(10, -1);
    scan.brass_protection = fields.Int<int8_t>(11, -1);
    if (scan.brass_protection > 1) scan.brass_protection = 1;
    scan.passes = fields.Int<int8_t>(12, -1);
    scan.channels = fields.Int<uint8_t>(13, 3);
    scan.options = 0;
    if (fields.Bool(14, true)) scan.options |= SCAN_KEEP_MANUAL;
    if (fields.Bool(15)) scan.options |= SCAN_KEEP_PREVIOUS;
    if (fields.Bool(16)) scan.options |= SCAN_SELECTION_ONLY;
    if (fields.Bool(34)) scan.options |= SCAN_EQUALISE;
    entry.decided.view_mode = fields.Int<int16_t>(30, -1);
    entry.decided.speed.on = fields.Bool(31);
    entry.decided.speed.from = fields.Int<int16_t>(32);
    entry.decided.speed.to = fields.Int<int16_t>(33);
    entry.decided.swap_channels = fields.Bool(38);
}

int64_t Reader::RecordingTime(int64_t time) const {
    const bool scaled = facts.version < kVersionOfTimesAtOwnRate && recording->facts.samplerate > 0 &&
                        recording->facts.samplerate < kTicksPerSecond;
    return scaled ? to_samples(recording->facts.samplerate, time) : time;
}

void Reader::ScaleRange(BaseCorrection& correction) const {
    correction.absolute_start_time = correction.start_time = RecordingTime(correction.start_time);
    correction.absolute_end_time = correction.end_time = RecordingTime(correction.end_time);
}

void Reader::Markers() {
    for (int i = 2; i < fields.size(); ++i) {
        auto* marker = new MarkerCorrection;
        marker->start_time = marker->end_time = RecordingTime(fields.Time(i));
        recording->decided.markers.Append(marker);
    }
}

void Reader::SideBreaks() {
    for (int i = 2; i < fields.size(); ++i) recording->decided.side_breaks.push_back(RecordingTime(fields.Time(i)));
}

void Reader::CutAndSplice() {
    auto cut = std::make_unique<CutAndSpliceCorrection>();
    cut->start_time = fields.Time(2);
    cut->end_time = fields.Time(3);
    ScaleRange(*cut);
    // A cut that begins before the recording begins with it, and so does its cross-fade.
    const int64_t start = std::max<int64_t>(0, cut->start_time);
    const int64_t wanted = RecordingTime(fields.Int<int32_t>(4));
    const int64_t splice = std::clamp<int64_t>(wanted, 0, std::min<int64_t>(2 * start, kLongestSplice)) & ~int64_t{1};
    if (start != cut->start_time || cut->end_time <= start || splice != wanted) set.dirty = true;
    if (cut->end_time <= start) return;
    cut->start_time = start;
    cut->splice_length = static_cast<int32_t>(splice);
    cut->moved_end = {std::max<int64_t>(-1, fields.Time(5, -1)), fields.Time(6)};
    cut->moved_start = {std::max<int64_t>(-1, fields.Time(7, -1)), fields.Time(8)};
    recording->decided.cuts.Append(cut.release());
}

void Reader::Filter() {
    auto* filter = new FilterSetting;
    if (ReadFilterSetting(fields, 2, *filter)) set.dirty = true;
    ScaleRange(*filter);
    recording->decided.filters.Append(filter);
}

void Reader::Curve() {
    auto* eq = new FFTEq;
    if (ReadFFTEq(fields, 2, *eq)) set.dirty = true;
    ScaleRange(*eq);
    recording->decided.fft_eqs.Append(eq);
}

}  // namespace

ReadResult ReadCollection(TextFileReader& reader, AlbumSet& set, CollectionFacts& facts,
                          const std::function<bool()>& accept_newer) {
    return Reader(set, facts, accept_newer).Read(reader);
}

}  // namespace Orvane
