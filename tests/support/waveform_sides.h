// Recordings on disk, as sides of one album of the live collection, for the making and drawing of waveforms.
#pragma once

#include "audiosignals.h"
#include "cleanup/generatewaveform.h"
#include "foundation/mainloop.h"
#include "temp_folder.h"
#include "tesslib/wavfile.h"

namespace OrvaneTest {

inline std::vector<float> NoisePairs(int frames, uint64_t seed = 1) {
    Noise noise(seed);
    std::vector<float> pairs(2 * static_cast<size_t>(frames));
    for (float& sample : pairs) sample = static_cast<float>(noise.Normal() * std::pow(10.0, noise.Below(4) - 4));
    return pairs;
}

struct WaveformSides {
    WaveformSides() {
        album->set = &set;
        set.albums.Append(album);
        Orvane::gAlbumSet = &set;
    }
    ~WaveformSides() {
        Orvane::WaitForWaveformThreads();
        Orvane::gAlbumSet = nullptr;
    }
    Orvane::FileHistoryEntry& AddSide(const std::vector<float>& pairs) {
        Orvane::AlbumSide* side = album->GetSide(-1, true);
        side->AddRecording(Orvane::MakeRef<Orvane::FileHistoryEntry>(album, side));
        Orvane::FileHistoryEntry& entry = *side->newest;
        entry.flags |= Orvane::FHE_EXTERNAL_FILE;
        entry.external_file = folder / ("side" + std::to_string(album->sides.size()) + ".wav");
        Tesslib::WAVFile file;
        file.SetSBC(44100, 32, 2);
        file.Open(entry.GetPath(), Tesslib::OM_CREATE);
        file.Write(pairs.data(), static_cast<int32_t>(pairs.size() / 2));
        file.Close();
        entry.total_samples = static_cast<int64_t>(pairs.size() / 2);
        return entry;
    }
    static void Wait() {
        while (!Orvane::NoBackgroundJobs(0)) Tesslib::GetMainLoop().RunOne(50);
    }

    TempFolder folder;
    Orvane::AlbumSet set{folder / "Mine.mcf"};
    Orvane::AlbumInfo* album = new Orvane::AlbumInfo;
};

}  // namespace OrvaneTest
