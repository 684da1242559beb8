#include "cleanup/filter/noisesample.h"

#include <fmt/printf.h>

#include <algorithm>
#include <bit>
#include <cerrno>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <string>

#include "cleanup/filter/orvanefft.h"
#include "cleanup/filter/spectrum.h"
#include "foundation/assert.h"
#include "foundation/fileerror.h"
#include "foundation/lasterror.h"
#include "foundation/muldiv.h"
#include "foundation/platform.h"
#include "foundation/safefile.h"

using namespace Foundation;

namespace Orvane {

namespace {

constexpr uint32_t kMagic = 0x766E7320;
constexpr size_t kHeader = 8;

static_assert(std::endian::native == std::endian::little, "the file's numbers are copied as they lie in memory");

size_t FileSize(const NoiseSample& noise) {
    return kHeader + 2 * noise.power[0].size() * sizeof(float);
}

int FailNoiseFile(std::string_view path, int code) {
    SetLastErrorText(fmt::sprintf("Bad or missing noise sample file:\n\n<b>%s</b>", std::string(path)));
    return code;
}

// 44100 Hz is "44.1".
std::string KiloHertz(uint32_t samplerate) {
    return fmt::format("{:g}", samplerate / 1000.0);
}

bool IsPower(float power) {
    return std::isfinite(power) && power >= 0.f;
}

}  // namespace

NoiseSample::NoiseSample(int32_t rate) : samplerate(rate) {
    for (std::vector<float>& channel : power) channel.assign(static_cast<size_t>(FFTBlockSize(rate) / 2 + 1), 0.f);
}

int64_t NoiseFrameStart(int frame, int64_t start, int64_t end, int32_t block) {
    return start + MulDiv64(frame, end - start - block, kNoiseFrames);
}

NoiseMeter::NoiseMeter(int32_t rate)
    : sum(rate),
      samples(static_cast<size_t>(FFTBlockSize(rate))),
      spectrum(samples.size() + 2),
      power(sum.power[0].size()) {}

void NoiseMeter::Add(int channel, std::span<const float> frame) {
    const auto block = static_cast<int32_t>(samples.size());
    MultiplyWindow(frame, GetWindow(WindowType::Hann, block), samples);
    GetFFT().Transform(GetFFT().CreatePlan(block, kFFTForward), FFTDirection::Forward, samples, spectrum);
    PowerSpectrum(spectrum, power);
    std::vector<float>& total = sum.power[channel];
    for (size_t k = 1; k < total.size(); k++) total[k] += power[k];
}

NoiseSample NoiseMeter::Finish() const {
    NoiseSample mean = sum;
    for (std::vector<float>& channel : mean.power) {
        for (float& x : channel) x /= float(kNoiseFrames);
    }
    return mean;
}

int32_t MeasureNoise(int64_t start, int64_t end, int64_t total, NoiseReader read, NoiseSample& noise) {
    const int32_t rate = noise.samplerate, block = FFTBlockSize(rate);
    start = std::clamp<int64_t>(start, 0, total);
    end = std::clamp<int64_t>(end, 0, total);
    noise = NoiseSample(rate);
    if (end - start < block) return 0;
    NoiseMeter meter(rate);
    std::vector<float> left(static_cast<size_t>(block)), right(left.size());
    for (int i = 0; i < kNoiseFrames; i++) {
        const int32_t n = read(NoiseFrameStart(i, start, end, block), left.data(), right.data(), block);
        if (n < 0) return n;
        if (n < block) return 0;
        meter.Add(0, left);
        meter.Add(1, right);
    }
    noise = meter.Finish();
    return 0;
}

int ReadNoiseFile(std::string_view path, NoiseSample& noise) {
    int error = 0;
    FILE* file = OpenFile(path, "rb", error);
    if (!file) return FailNoiseFile(path, ERR_CANNOT_OPEN);
    std::vector<char> bytes(FileSize(noise));
    const size_t n_read = fread(bytes.data(), 1, bytes.size(), file);
    fclose(file);

    uint32_t header[2] = {};
    if (n_read >= kHeader) std::memcpy(header, bytes.data(), kHeader);
    if (header[0] != kMagic) return FailNoiseFile(path, ERR_CONTENTS);
    if (header[1] != static_cast<uint32_t>(noise.samplerate)) {
        return FailContents(
            fmt::sprintf("Sample rate of noise sample file:\n\n<b>%s</b> (%s kHz)\n\n"
                         "does not match sample rate of this recording (%s kHz).",
                         std::string(path), KiloHertz(header[1]), KiloHertz(static_cast<uint32_t>(noise.samplerate))));
    }
    if (n_read < bytes.size()) return FailNoiseFile(path, ERR_CONTENTS);
    NoiseSample loaded(noise.samplerate);
    const char* from = bytes.data() + kHeader;
    for (std::vector<float>& channel : loaded.power) {
        std::memcpy(channel.data(), from, channel.size() * sizeof(float));
        from += channel.size() * sizeof(float);
        if (!std::all_of(channel.begin(), channel.end(), IsPower)) return FailNoiseFile(path, ERR_CONTENTS);
    }
    noise = std::move(loaded);
    return 0;
}

int WriteNoiseFile(std::string_view path, const NoiseSample& noise) {
    const std::string temporary = TemporaryName(path);
    int error = 0;
    FILE* file = OpenFile(temporary, "wb", error);
    if (!file) return FailOpenForWriting(temporary, error);
    const uint32_t header[2] = {kMagic, static_cast<uint32_t>(noise.samplerate)};
    bool written = fwrite(header, kHeader, 1, file) == 1;
    for (const std::vector<float>& channel : noise.power) {
        written = written && fwrite(channel.data(), sizeof(float), channel.size(), file) == channel.size();
    }
    error = written ? FlushToDisk(file) : errno;
    if (fclose(file) != 0 && error == 0) error = errno;
    if (error != 0) {
        RemoveFile(temporary);
        return FailWrite(temporary, error);
    }
    return PutInPlace(temporary, path, OldFile::Drop);
}

}  // namespace Orvane
