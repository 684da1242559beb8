#include "save/write_stream.h"

#include <vector>

#include "foundation/fileerror.h"
#include "foundation/platform.h"
#include "foundation/safefile.h"
#include "tesslib/fileformats.h"
#include "tesslib/filestream.h"
#include "tesslib/samples.h"

using namespace Foundation;
using namespace Tesslib;

namespace Orvane {
namespace {

constexpr int32_t kBlock = 0x4000;          // pairs moved at once
constexpr int64_t kReportNs = 250'000'000;  // progress is told no more often

Outcome CopySamples(PCMStream& stream, FileStream& file, uint32_t flags, uint8_t channel_mode,
                    const SaveProgress& progress) {
    std::vector<float> block(static_cast<size_t>(kBlock) * 2);
    const int64_t total = stream.GetTotalSamples(flags);
    if (progress && !progress(0, total)) return Outcome::Cancelled();
    int64_t next_report = MonotonicNs() + kReportNs;
    for (int64_t position = 0;;) {
        const int32_t n = stream.Read(position, block.data(), kBlock, flags);
        if (n <= 0) return Outcome::OfLastError(n);
        if (channel_mode & (CHANNELS_LEFT_ONLY | CHANNELS_RIGHT_ONLY)) {
            const int from = channel_mode & CHANNELS_LEFT_ONLY ? 0 : 1;
            for (int32_t i = 0; i < n; ++i) block[2 * i + 1 - from] = block[2 * i + from];
        } else if (channel_mode & CHANNELS_MONO) {
            MixToMono(block.data(), n, block.data());
        }
        if (const int64_t written = file.Write(block.data(), n); written < 0) return Outcome::OfLastError(written);
        position += n;
        if (!progress || MonotonicNs() < next_report) continue;
        if (!progress(position, total)) return Outcome::Cancelled();
        next_report = MonotonicNs() + kReportNs;
    }
}

}  // namespace

Outcome CheckForm(const FileStream& writer, const SampleForm& asked, int32_t n_channels) {
    SampleForm nearest = asked;
    writer.AdjustFormat(nearest.samplerate, nearest.bit_depth, n_channels);
    const std::string_view name = GetFileFormatInfo(writer.file_format).name;
    if (asked.samplerate && nearest.samplerate != asked.samplerate) {
        return Outcome::Fail(Kind::WrongOptions, Msg::CannotHoldRate, name, asked.samplerate, nearest.samplerate);
    }
    if (asked.bit_depth && nearest.bit_depth != asked.bit_depth) {
        return Outcome::Fail(Kind::WrongOptions, Msg::CannotHoldBits, name, asked.bit_depth, nearest.bit_depth);
    }
    return {};
}

Outcome ChooseForm(FileStream& writer, SampleForm& form, const SampleForm& source, int32_t n_channels) {
    if (const Outcome checked = CheckForm(writer, form, n_channels); !checked) return checked;
    if (!form.samplerate) form.samplerate = source.samplerate;
    if (!form.bit_depth) {
        form.bit_depth = source.bit_depth;
        form.int32 = source.int32;
    }
    writer.AdjustFormat(form.samplerate, form.bit_depth, n_channels);
    writer.SetInt32Samples(form.int32);
    return Outcome::OfLastError(writer.SetSBC(form.samplerate, form.bit_depth, n_channels));
}

Outcome WriteStream(PCMStream& stream, FileStream& writer, const std::string& filename, OldFile old_file,
                    uint32_t flags, uint8_t channel_mode, const SaveProgress& progress) {
    const std::string temporary = TemporaryName(filename);
    const int64_t total = stream.GetTotalSamples(flags);
    if (const int error = writer.Open(temporary, OM_CREATE, 0, 0, total); error < 0) return Outcome::OfLastError(error);
    if (Outcome copied = CopySamples(stream, writer, flags, channel_mode, progress); !copied) {
        writer.Close(CLOSE_FAILED_AND_DELETE);
        return copied;
    }
    if (!writer.Close(CLOSE_FINISH)) {
        Outcome failure = Outcome::OfLastError(ERR_IO);
        RemoveFile(temporary);
        return failure;
    }
    if (const int error = FlushPathToDisk(temporary)) {
        RemoveFile(temporary);
        return CannotWrite(temporary, error);
    }
    if (const int error = PutInPlace(temporary, filename, old_file)) return Outcome::OfLastError(error);
    if (progress) progress(total, total);
    return {};
}

}  // namespace Orvane
