#include "waveform/waveformwriter.h"

#include <algorithm>
#include <cerrno>
#include <cmath>

#include "collection/filehistory.h"
#include "foundation/assert.h"
#include "foundation/multiversion.h"
#include "foundation/path.h"
#include "foundation/safefile.h"

using namespace Foundation;
using namespace Tesslib;

namespace Orvane {
namespace {

constexpr int kLanes = 8;  // four pairs

int32_t Rounded(float sample) {
    return static_cast<int32_t>(std::lrint(static_cast<double>(sample) * 32767.0));
}

// Written so that what is not a number ends up as -1.
ORVANE_INLINE float Held(float sample) {
    const float above = sample > -1.0f ? sample : -1.0f;
    return above < 1.0f ? above : 1.0f;
}

void PutLE(std::vector<uint8_t>& bytes, int32_t value) {
    bytes.push_back(static_cast<uint8_t>(value));
    bytes.push_back(static_cast<uint8_t>(value >> 8));
}

}  // namespace

// The extremes are found among the floats and only they are rounded, which comes to the same.
ORVANE_MULTIVERSION
WaveformRecord ExtremesOf(const float* pairs, int32_t n) {
    float low[kLanes], high[kLanes];
    for (int lane = 0; lane < kLanes; ++lane) {
        low[lane] = 1.0f;
        high[lane] = -1.0f;
    }
    const float* const end = pairs + 2 * static_cast<size_t>(n);
    for (; end - pairs >= kLanes; pairs += kLanes) {
        for (int lane = 0; lane < kLanes; ++lane) {
            const float sample = Held(pairs[lane]);
            low[lane] = sample < low[lane] ? sample : low[lane];
            high[lane] = sample > high[lane] ? sample : high[lane];
        }
    }
    for (int lane = 0; pairs < end; ++pairs, lane ^= 1) {
        const float sample = Held(*pairs);
        low[lane] = std::min(low[lane], sample);
        high[lane] = std::max(high[lane], sample);
    }
    for (int lane = 2; lane < kLanes; ++lane) {
        low[lane & 1] = std::min(low[lane & 1], low[lane]);
        high[lane & 1] = std::max(high[lane & 1], high[lane]);
    }
    const auto value = [](float sample) { return static_cast<int16_t>(Rounded(sample)); };
    return {value(low[0]), value(high[0]), value(low[1]), value(high[1])};
}

void WaveformBlockState::Put(std::vector<uint8_t>& bytes) {
    for (const int32_t value : {min_left, max_left, min_right, max_right}) PutLE(bytes, value);
    min_left = min_right = 32767;
    max_left = max_right = -32767;
    remaining = block_size;
}

void WaveformBlockState::Add(const float* pairs, int32_t n_samples, std::vector<uint8_t>& bytes) {
    while (n_samples > 0) {
        const int32_t n = std::min(remaining, n_samples);
        const WaveformRecord found = ExtremesOf(pairs, n);
        min_left = std::min<int32_t>(min_left, found.min_left);
        max_left = std::max<int32_t>(max_left, found.max_left);
        min_right = std::min<int32_t>(min_right, found.min_right);
        max_right = std::max<int32_t>(max_right, found.max_right);
        pairs += 2 * static_cast<size_t>(n);
        n_samples -= n;
        remaining -= n;
        if (remaining == 0) Put(bytes);
    }
}

void WaveformBlockState::Flush(std::vector<uint8_t>& bytes) {
    if (remaining < block_size) Put(bytes);
}

WaveformWriter::WaveformWriter(int32_t samplerate) : wft_peaks(OverviewBlock(samplerate)) {}

WaveformWriter::~WaveformWriter() {
    ORVANE_ASSERT(this->wft_file == nullptr && this->wfs_file == nullptr && this->wfo_file == nullptr &&
                  this->wfd_file == nullptr);
}

Outcome WaveformWriter::Open(const std::string& recording_path) {
    constexpr const char* kExtensions[] = {".wft", ".wfs", ".wfo", ".wfd"};
    ORVANE_ASSERT(this->wft_file == nullptr);
    so_far = {};
    const std::string folder = FolderOf(FileHistoryEntry::WaveformPathFor(recording_path, kExtensions[0]));
    if (const int error = CreateFolders(folder)) return Outcome::OfLastError(FailCreateFolder(folder, error));
    for (size_t i = 0; i < Files().size(); ++i) {
        WaveformFile& out = *Files()[i];
        out.name = FileHistoryEntry::WaveformPathFor(recording_path, kExtensions[i]);
        // Neither what was left behind nor what is to be replaced may be protected.
        SetReadOnly(TemporaryName(out.name), false);
        SetReadOnly(out.name, false);
        int error = 0;
        out.file = OpenFile(TemporaryName(out.name), "wb", error);
        if (out.file) continue;
        Discard();
        return Outcome::OfLastError(FailOpenForWriting(out.name, error));
    }
    return {};
}

Outcome WaveformWriter::WriteBytes(WaveformFile& out) {
    const bool written = std::fwrite(bytes.data(), 1, bytes.size(), out.file) == bytes.size();
    bytes.clear();
    if (!written) so_far = Outcome::OfLastError(FailWrite(out.name, errno));
    return so_far;
}

Outcome WaveformWriter::Write(const float* pairs, int32_t n_samples) {
    wft_peaks.Add(pairs, n_samples, bytes);
    if (!WriteBytes(wft_file)) return so_far;
    wfs.Add(pairs, n_samples, bytes);
    if (!WriteBytes(wfs_file)) return so_far;
    wfo.Add(pairs, n_samples, bytes);
    if (!WriteBytes(wfo_file)) return so_far;
    wfd.Add(pairs, n_samples, bytes);
    return WriteBytes(wfd_file);
}

void WaveformWriter::Discard() {
    for (WaveformFile* out : Files()) {
        if (!out->file) continue;
        std::fclose(out->file);
        out->file = nullptr;
        RemoveFile(TemporaryName(out->name));
    }
}

Outcome WaveformWriter::Finish(WaveformFile& out, bool ok, FileTime file_time) {
    const std::string temporary = TemporaryName(out.name);
    int error = ok ? FlushToDisk(out.file) : 0;
    if (std::fclose(out.file) != 0 && error == 0) error = errno;
    out.file = nullptr;
    if (ok && error) {
        RemoveFile(temporary);
        return Outcome::OfLastError(FailWrite(out.name, error));
    }
    // Before the file has its name, so that it never stands there with another time.
    if (ok && file_time) SetFileTime(temporary, file_time);
    if ((error = RenameFile(temporary, out.name)) != 0) {
        RemoveFile(temporary);
        return Outcome::OfLastError(FailRename(temporary, out.name, error));
    }
    return {};
}

Outcome WaveformWriter::Close(bool ok, FileTime file_time) {
    if (ok && so_far) {
        wft_peaks.Flush(bytes);
        bool written = WriteBytes(wft_file).Ok();
        wfs.Flush(bytes);
        written = written && WriteBytes(wfs_file);
        wfo.Flush(bytes);
        written = written && WriteBytes(wfo_file);
        wfd.Flush(bytes);
        written = written && WriteBytes(wfd_file);
    }
    if (!so_far) {
        Discard();
        return so_far;
    }
    Outcome all_stand;
    for (WaveformFile* out : Files()) {
        Outcome finished = Finish(*out, ok, file_time);
        if (all_stand) all_stand = std::move(finished);
    }
    return all_stand;
}

}  // namespace Orvane
