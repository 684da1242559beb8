// WAV files to play and record.
#pragma once

#include <stdexcept>
#include <string>
#include <vector>

#include "foundation/lasterror.h"
#include "tesslib/fileformats.h"
#include "tesslib/wavfile.h"

namespace OrvaneTest {

inline std::string WriteWav(const std::string& path, const std::vector<float>& pairs, int rate = 44100, int bits = 24) {
    auto file = Foundation::MakeRef<Tesslib::WAVFile>();
    if (file->SetSBC(rate, bits, 2) != 0 || file->Open(path, Tesslib::OM_CREATE) != 0 ||
        file->Write(pairs.data(), static_cast<int32_t>(pairs.size() / 2)) < 0 || !file->Close()) {
        throw std::runtime_error(Foundation::GetLastError().text);
    }
    return path;
}

inline std::vector<float> ReadSound(const std::string& path) {
    int error = 0;
    auto file = Tesslib::OpenForReading(path, error);
    if (!file) throw std::runtime_error(Foundation::GetLastError().text);
    std::vector<float> pairs(static_cast<size_t>(2 * file->GetTotalSamples(0)));
    file->Read(0, pairs.data(), static_cast<int32_t>(pairs.size() / 2), 0);
    return pairs;
}

}  // namespace OrvaneTest
