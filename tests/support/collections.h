// Collections for tests and benchmarks: made up, read from a text and written to one.
#pragma once

#include <memory>
#include <random>
#include <string>

#include "collection/steering_reader.h"
#include "collection/steering_writer.h"
#include "foundation/textfile.h"

namespace OrvaneTest {

inline constexpr const char* kCollectionHeader =
    "\"Track No\"\t\"Artist\"\t\"Album Title\"\t\"Release Year\"\t\"Track Title\"\t\"Duration\"\t\"Start Time\"\t"
    "\"End Time\"\t\"Preferred Format\"\t\"MP3 File\"\t\"Newest Recordings\"\t\"Filter Flags\"\t\"Fade In\"\t"
    "\"Fade Out\"\t\"Track Artist\"\n";

struct ReadCollectionText {
    std::unique_ptr<Orvane::AlbumSet> set = std::make_unique<Orvane::AlbumSet>("/music/Mine.mcf");
    Orvane::CollectionFacts facts;
    Orvane::ReadResult result{};
};

inline ReadCollectionText ReadWhole(std::string_view text) {
    ReadCollectionText read;
    const auto reader = Foundation::ReadTextFrom(text);
    read.result = Orvane::ReadCollection(*reader, *read.set, read.facts, [] { return true; });
    return read;
}

// Behind the header line.
inline ReadCollectionText ReadLines(std::string_view lines) {
    return ReadWhole(kCollectionHeader + std::string(lines));
}

// The twin of ReadTextFrom.
class MemoryTextWriter : public Foundation::TextFileWriter {
public:
    bool Write(std::string_view more) override {
        text += more;
        return true;
    }
    bool Flush() override { return true; }
    bool Close(bool /*to_disk*/) override { return true; }

    std::string text;
};

inline std::string WriteWhole(const Orvane::AlbumSet& set) {
    MemoryTextWriter writer;
    Orvane::WriteCollection(writer, set, -1);
    return writer.text;
}

// `n_albums` albums of `n_tracks` tracks on two sides, with everything that a worked-on album has. The same numbers
// give the same collection.
class CollectionMaker {
public:
    explicit CollectionMaker(unsigned seed) : random(seed) {}

    void AddAlbums(Orvane::AlbumSet& set, int n_albums, int n_tracks) {
        for (int i = 0; i < n_albums; ++i) AddAlbum(set, n_tracks);
    }

    void AddAlbum(Orvane::AlbumSet& set, int n_tracks) {
        auto* album = new Orvane::AlbumInfo;
        set.albums.Append(album);
        album->set = &set;
        for (std::string* text : {&album->artist, &album->title, &album->genre, &album->label, &album->composer}) {
            *text = Text();
        }
        album->art_file = "artwork/" + std::to_string(Number(100000)) + ".jpg";
        album->year = static_cast<int16_t>(1950 + Number(70));
        album->status = static_cast<uint8_t>(Number(8));
        if (Number(4) == 0) album->notes = "first line\nsecond\twith a tab and a \\ in it";
        if (Number(4) == 0) album->saved_files = {{"/music/\"A\"/01.flac", "0f"}, {"/music/B, C/02.flac", "a1"}};
        if (Number(4) == 0) album->custom_tags = "\t\"MVNM\"\t\"Allegro\"\t\"CONTACT\"\t\"\"";
        if (Number(8) == 0) album->record_eq = MakeRecordEq();
        int64_t time = 0;
        for (int i = 0; i < n_tracks; ++i) album->tracks.push_back(Track(time));
        for (int i = 0; i < 2; ++i) {
            if (Number(6) == 0) album->sides.push_back(nullptr);
            Orvane::AlbumSide* side = album->GetSide(-1, true);
            for (int n = Number(3); n >= 0; --n) side->AddRecording(Recording(album, side));
            side->newest = side->history[static_cast<size_t>(Number(static_cast<int>(side->history.size())))].get();
            side->latest_take = side->history.front().get();
        }
    }

private:
    int Number(int below) { return static_cast<int>(random() % static_cast<unsigned>(below)); }

    std::string Text() {
        static constexpr const char* kWords[] = {
            "The",      "12\" Mix", "Sinfonía", "No. 5, in C", "\"Quoted\"", "Ångström", "Live", "東京",
            "(take 2)", "¿Qué?",    "7\"",      "\"",          ">Ext",       "\\n",      "-1",   ""};
        std::string text = kWords[Number(16)];
        for (int n = Number(4); n > 0; --n) text = text + " " + kWords[Number(16)];
        return text;
    }

    Orvane::ALBUMTRACK Track(int64_t& time) {
        Orvane::ALBUMTRACK track;
        track.title = Text();
        if (Number(3) == 0) track.artist = Text();
        if (Number(5) == 0) track.comment = Text();
        if (Number(9) == 0) track.custom_tags = "\t\"TCOM\"\t\"" + Text() + "\"";
        track.excluded = Number(9) == 0;
        track.filter_flags = static_cast<uint16_t>(Number(4));
        track.fade_in = Number(44100);
        track.fade_out = Number(44100);
        track.start = time + 50000 + Number(100000);
        track.end = track.start + 4000000 + Number(9000000);
        time = track.end + 44100;
        return track;
    }

    Orvane::RecordEq MakeRecordEq() {
        Orvane::RecordEq eq;
        eq.name = "Early, American";
        const int kind = Number(3);
        if (kind == 0) eq.fft_curve = Curve();
        if (kind == 1) eq.use_time_constants = 0, eq.rolloff = -12.5f;
        if (kind == 2) eq.t3 = 50;
        return eq;
    }

    Orvane::FFTCurve Curve() {
        Orvane::FFTCurve curve;
        curve.name = Text();
        curve.preserve_level = Number(2) == 1;
        for (int i = Number(5); i > 0; --i) {
            curve.points.push_back({static_cast<float>(i) * 1000.25f, static_cast<float>(Number(200000)) / 10000 - 10});
        }
        return curve;
    }

    Foundation::RefPtr<Orvane::FileHistoryEntry> Recording(Orvane::AlbumInfo* album, Orvane::AlbumSide* side) {
        auto entry = Foundation::MakeRef<Orvane::FileHistoryEntry>(album, side);
        entry->name.extension = Number(2) ? ".flac" : ".wav";
        if (Number(3) == 0) {
            entry->name.external_file = "/recordings/" + Text() + entry->name.extension;
        }
        if (Number(3) == 0) entry->name.suffix = "~2";
        if (Number(4) == 0) entry->decided.swap_channels = true;
        entry->facts.file_time = 133000000000000000 + random();
        entry->facts.samplerate = Number(2) ? 44100 : 96000;
        entry->facts.file_size = int64_t{4} * random();
        entry->facts.bits = 24;
        entry->decided.comment = Number(3) ? "" : Text();
        entry->decided.click_scan.sensitivity = static_cast<int8_t>(Number(8));
        entry->decided.click_scan.options =
            static_cast<uint8_t>(Number(2) ? Orvane::SCAN_EQUALISE : Orvane::SCAN_KEEP_MANUAL);
        int64_t time = 100000;
        for (int n = Number(4); n > 0; --n) {
            time += 300000;
            auto* cut = entry->decided.cuts.Add(time, time + 50000, 2 * Number(500), 44100);
            if (Number(2)) cut->moved_start = {time, -500};
        }
        for (int n = Number(4); n > 0; --n) {
            auto* marker = new Orvane::MarkerCorrection;
            marker->start_time = marker->end_time = time += 300000;
            entry->decided.markers.Append(marker);
            entry->decided.side_breaks.push_back(time);
        }
        for (int n = Number(4); n > 0; --n) {
            auto* filter = new Orvane::FilterSetting;
            filter->absolute_start_time = Number(1000000);
            filter->absolute_end_time = filter->absolute_start_time + Number(1000000);
            filter->name = Text();
            filter->preset = "Hum, 50 Hz";
            filter->values.hiss_quality = Number(5);
            for (int32_t& band : filter->values.bands) band = Number(25) - 12;
            entry->decided.filters.Append(filter);
        }
        if (Number(4) == 0) {
            auto* eq = new Orvane::FFTEq;
            eq->name = "Bright, not loud";
            eq->gain = Number(100) - 50;
            eq->curve = Curve();
            entry->decided.fft_eqs.Append(eq);
        }
        if (Number(8) == 0) entry->decided.record_eq_post = MakeRecordEq();
        entry->decided.RecomputeTimes();
        return entry;
    }

    std::mt19937 random;
};

}  // namespace OrvaneTest
