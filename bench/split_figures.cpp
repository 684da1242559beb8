// Scans sides whose tracks are known and prints the tables of docs/splitting.md. Without arguments the sides are made
// here; an argument is a folder with side.wav and truth.json, whose "tracks" have "nominal_start" and "nominal_end" in
// seconds.
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <fstream>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "audiosignals.h"
#include "foundation/lasterror.h"
#include "foundation/path.h"
#include "memorystream.h"
#include "split/scan.h"
#include "tesslib/fileformats.h"

using namespace Foundation;
using namespace Tesslib;

namespace {

using namespace Orvane;

constexpr int kRate = 44100;

struct Span {
    double start, end;  // seconds
};

struct Music {
    double seconds;
    double peak_db = -4;
    double fade_seconds = 1;        // at the end
    double pause_seconds = 0;       // in the middle: so long nothing but the groove
    double pianissimo_seconds = 0;  // behind the middle: so long at pianissimo_db
    double pianissimo_db = -36;
};

struct Side {
    const char* name;
    double surface_db;         // mean power of the groove's noise
    double clicks_per_second;  // of all sizes: half are below -32 dB, one in twenty is above -15
    std::vector<Music> tracks;
    std::vector<double> gaps;  // seconds
    double runout_seconds = 25;
    double thump_db = -18;  // once a turn in the run-out
};

double Gain(double db) {
    return std::pow(10, db / 20);
}

// The loudness of a track at a time of it.
double Level(const Music& track, double t) {
    double level = Gain(track.peak_db);
    const double past_middle = t - track.seconds / 2;
    if (past_middle >= 0 && past_middle < track.pause_seconds) level = 0;
    if (past_middle >= 0 && past_middle < track.pianissimo_seconds) level = Gain(track.pianissimo_db);
    const double left = track.seconds - t;
    if (left < track.fade_seconds) level *= 0.5 - 0.5 * std::cos(3.14159265 * left / track.fade_seconds);
    return level;
}

std::vector<float> Make(const Side& side, std::vector<Span>& truth) {
    constexpr double kLeadIn = 7;
    static const std::vector<float> loop = OrvaneTest::Music(21, 12 * kRate, 1.0, 0);
    OrvaneTest::Noise noise(5);
    double now = kLeadIn;
    for (size_t i = 0; i < side.tracks.size(); ++i) {
        truth.push_back({now, now + side.tracks[i].seconds});
        now += side.tracks[i].seconds + (i < side.gaps.size() ? side.gaps[i] : 0);
    }
    const double runout = now + 3, end = runout + side.runout_seconds;
    std::vector<float> pairs(2 * static_cast<size_t>(end * kRate));
    const double surface = Gain(side.surface_db);
    for (float& sample : pairs) sample = static_cast<float>(surface * noise.Normal());
    const auto Add = [&](size_t at, double value) {
        if (2 * at + 1 < pairs.size())
            pairs[2 * at] += static_cast<float>(value), pairs[2 * at + 1] += static_cast<float>(0.8 * value);
    };
    for (size_t i = 0; i < truth.size(); ++i) {
        const auto first = static_cast<size_t>(truth[i].start * kRate);
        const auto n = static_cast<size_t>(side.tracks[i].seconds * kRate);
        for (size_t k = 0; k < n; ++k) {
            Add(first + k, Level(side.tracks[i], static_cast<double>(k) / kRate) * loop[(k + i * 5000) % loop.size()]);
        }
    }
    const auto Thump = [&](double at, double level) {
        for (int k = 0; k < kRate / 5; ++k)
            Add(static_cast<size_t>(at * kRate) + k, level * std::sin(k * 0.007) * std::exp(-k / 1500.0));
    };
    Thump(1, 0.5);  // the needle lands
    for (double at = runout; at < end; at += 1.8) Thump(at, Gain(side.thump_db));
    for (int k = 0; k < static_cast<int>(side.clicks_per_second * end); ++k) {
        const double peak = std::min(1.0, Gain(-38) / std::pow(1 - noise.Even(), 1 / 1.3));
        const double at = noise.Even() * end;
        for (int j = 0; j < 20; ++j)
            Add(static_cast<size_t>(at * kRate) + j, peak * std::exp(-j / 4.0) * std::cos(j * 1.2));
    }
    return pairs;
}

TrackList Scan(PCMStream& stream) {
    AlbumInfo album;
    AlbumSide* side = album.GetSide(0, true);
    side->AddRecording(MakeRef<FileHistoryEntry>(&album, side));
    const Result<WaveformOverview> read = BuildOverview(stream);
    if (!read) std::abort();
    const WaveformOverview& overview = *read;
    side->newest->facts.samplerate = overview.samplerate;
    ScanHost host;
    TrackList tracks;
    TrackScanner(overview, album.Recordings(), {}, host).ScanAll(tracks);
    return tracks;
}

// One line for every gap and for the two ends of the side.
void Print(const std::string& name, const std::vector<Span>& truth, const TrackList& tracks) {
    const auto Seconds = [](int64_t ticks) { return static_cast<double>(ticks) / kTicksPerSecond; };
    std::vector<bool> used(static_cast<size_t>(tracks.size()));
    for (size_t i = 0; i <= truth.size(); ++i) {
        // The break of a gap is the pair of neighbours with the gap's middle between theirs.
        const double from = i > 0 ? truth[i - 1].start + (truth[i - 1].end - truth[i - 1].start) / 2 : -1e9;
        const double to = i < truth.size() ? truth[i].start + (truth[i].end - truth[i].start) / 2 : 1e9;
        std::string ends = i > 0 ? "not found" : "", begins = i < truth.size() ? "not found" : "";
        int n_ends = 0;
        for (const ALBUMTRACK& track : tracks) {
            const double start = Seconds(track.start), end = Seconds(track.end);
            char text[32];
            if (i > 0 && end > from && end < to) {
                std::snprintf(text, sizeof text, "%+.2f", end - truth[i - 1].end);
                ends = text;
                ++n_ends;
            }
            if (i < truth.size() && start > from && start < to) {
                std::snprintf(text, sizeof text, "%+.2f", start - truth[i].start);
                begins = text;
            }
        }
        char gap[16] = "";
        if (i > 0 && i < truth.size()) std::snprintf(gap, sizeof gap, "%.1f", truth[i].start - truth[i - 1].end);
        const char* what = i == 0 ? "first track" : i == truth.size() ? "last track" : gap;
        std::printf("| %s | %s | %s | %s |\n", i == 0 ? name.c_str() : "", what, ends.c_str(), begins.c_str());
        if (n_ends > 1) std::printf("| | | %d breaks too many | |\n", n_ends - 1);
    }
}

bool PrintFolder(const std::string& folder) {
    int error = 0;
    const RefPtr<FileStream> file = OpenForReading(JoinPath(folder, "side.wav"), error);
    std::ifstream truth_file(JoinPath(folder, "truth.json"));
    const nlohmann::json json = nlohmann::json::parse(truth_file, nullptr, false);
    if (!file || !json.contains("tracks")) {
        std::fprintf(stderr, "%s: no side.wav with its truth.json\n", folder.c_str());
        return false;
    }
    std::vector<Span> truth;
    for (const auto& track : json["tracks"]) truth.push_back({track["nominal_start"], track["nominal_end"]});
    Print(FileNameOf(folder), truth, Scan(*file));
    return true;
}

}  // namespace

int main(int argc, char** argv) {
    const Music song{45}, last{90}, abrupt{45, -4, 0.02};
    const std::vector<Music> songs = {song, song, song, song, last};
    const std::vector<double> gaps = {2.0, 2.5, 3.0, 4.0};
    const Side sides[] = {
        {"A clean record: noise at -65 dB, a click in five seconds", -65, 0.2, songs, gaps},
        {"An ordinary one: -55 dB, 2 clicks a second", -55, 2, songs, gaps},
        {"A worn one: -45 dB, 4 a second", -45, 4, songs, gaps},
        {"A ruined one: -40 dB, 8 a second", -40, 8, songs, gaps},
        {"Tracks that end abruptly", -55, 1, {abrupt, abrupt, abrupt, abrupt, last}, {2.0, 2.2, 2.4, 3.0}},
        {"Fades of 12 s, 3 clicks a second", -55, 3, {{60, -8, 12}, {60, -8, 12}, {90, -8, 12}}, {3, 3}},
        {"Soft music, peaks at -20 dB", -55, 1, {{45, -20}, {45, -20}, {90, -20}}, {3, 3}},
        {"A pause of 1.4 s in the first track, a pianissimo of 20 s at -36 dB in the second",
         -55,
         1,
         {{80, -4, 1, 1.4}, {120, -4, 1, 0, 20}, last},
         {3, 3}},
        {"A run-out with thumps of -8 dB over noise at -45 dB", -45, 1, {song, last}, {3}, 40, -8},
        {"A last track that begins 60 s before the end", -55, 1, {song, song, {40}}, {3, 3}, 17},
        {"A last track with a pause of 1 s, 50 s before the end", -55, 1, {song, {60, -4, 1, 1}}, {3}, 20},
    };
    std::printf("| Side | Gap, s | The track before ends | The next begins |\n|---|---|---|---|\n");
    bool good = true;
    for (int i = 1; i < argc; ++i) good = PrintFolder(argv[i]) && good;
    for (const Side& side : sides) {
        if (argc > 1) break;
        std::vector<Span> truth;
        Testing::MemoryStream stream(kRate, Make(side, truth));
        Print(side.name, truth, Scan(stream));
    }
    return good ? 0 : 1;
}
