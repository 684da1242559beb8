// Recordings whose files are there, as sides of the one album of the live collection.
#pragma once

#include <cmath>
#include <stdexcept>
#include <string>
#include <vector>

#include "audiosignals.h"
#include "collection/crd_file.h"
#include "foundation/mainloop.h"
#include "live_collection.h"
#include "tesslib/wavfile.h"
#include "waveform/generatewaveform.h"

namespace OrvaneTest {

// Music on both channels, the right one other music.
inline std::vector<float> MusicPairs(int frames, uint64_t seed = 1) {
    const std::vector<float> left = Music(seed, frames), right = Music(seed + 1, frames);
    std::vector<float> pairs;
    for (size_t i = 0; i < left.size(); ++i) pairs.insert(pairs.end(), {left[i], right[i]});
    return pairs;
}

// Noise whose level changes with every sample.
inline std::vector<float> NoisePairs(int frames, uint64_t seed = 1) {
    Noise noise(seed);
    std::vector<float> pairs(2 * static_cast<size_t>(frames));
    for (float& sample : pairs) sample = static_cast<float>(noise.Normal() * std::pow(10.0, noise.Below(4) - 4));
    return pairs;
}

struct RecordedAlbum : LiveCollection {
    ~RecordedAlbum() { Orvane::WaitForWaveformThreads(); }
    Orvane::FileHistoryEntry& AddSide(const std::vector<float>& pairs, int32_t rate = 44100) {
        Orvane::FileHistoryEntry& entry = AddRecording(*album, -1, "");
        entry.facts.samplerate = rate;
        entry.facts.total_samples = static_cast<int64_t>(pairs.size() / 2);
        Tesslib::WAVFile file;
        if (file.SetSBC(rate, 32, 2) != 0 || file.Open(entry.GetPath(), Tesslib::OM_CREATE) != 0 ||
            file.Write(pairs.data(), static_cast<int32_t>(entry.facts.total_samples)) < 0 || !file.Close()) {
            throw std::runtime_error("cannot write " + entry.GetPath());
        }
        return entry;
    }
    // Until all waveform files are made.
    static void Wait() {
        while (!Orvane::NoBackgroundJobs(0)) Foundation::GetMainLoop().RunOne(50);
    }

    Orvane::AlbumInfo* album = Add("Art", "Blue");
};

struct RecordedSide : RecordedAlbum {
    explicit RecordedSide(const std::vector<float>& pairs, int32_t rate = 44100) : entry(&AddSide(pairs, rate)) {}
    Orvane::FileHistoryEntry* entry;
};

// Everything that is stored of a recording's corrections, and the times that follow from it.
inline std::string Serialised(const Orvane::FileHistoryEntry& entry) {
    std::string text = Orvane::WriteCrd(entry.click_repairs);
    const auto add = [&text](auto... values) { ((text += " " + std::to_string(values)), ...); };
    add(entry.decided.noise_stretch.start, entry.decided.noise_stretch.end);
    add(static_cast<int>(entry.decided.click_scan.sensitivity), entry.decided.click_scan.total_clicks);
    const auto times = [&](const Orvane::BaseCorrection& c) {
        text += "\n";
        add(static_cast<int>(c.type), c.absolute_start_time, c.start_time, c.absolute_end_time, c.end_time);
    };
    for (const auto& list : entry.click_repairs) {
        for (const auto& e : list) times(e), add(e.min_sample, e.max_sample);
    }
    for (const auto& e : entry.decided.cuts) times(e), add(e.splice_length);
    for (const auto& e : entry.decided.markers) times(e);
    for (const auto& e : entry.decided.filters) {
        times(e), add(e.values.hum_mode, e.values.hiss_reduction, e.values.preamp_left),
            text += e.name + e.preset + e.extra;
        for (const int32_t band : e.values.bands) add(band);
    }
    for (const auto& e : entry.decided.fft_eqs) {
        times(e), add(e.enable, e.gain), text += e.name + e.curve.name;
        for (const auto& point : e.curve.points) add(point.freq, point.gain);
    }
    return text;
}

}  // namespace OrvaneTest
