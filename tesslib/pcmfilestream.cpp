#include <algorithm>
#include <cerrno>

#include "foundation/assert.h"
#include "foundation/lasterror.h"
#include "foundation/messages.h"
#include "tesslib/filestream.h"
#include "tesslib/id3v2.h"

using namespace Foundation;

namespace Tesslib {

FormatLimits PCMFileStream::GetCapabilities(int32_t) const {
    return {CAP_PCM_WRITE | CAP_READ | CAP_EXTEND | CAP_RECORD | CAP_TRUNCATE | CAP_BASE_OPENS | CAP_BASE_CREATES};
}

void PCMFileStream::SetInt32Samples(bool int32) {
    ORVANE_ASSERT(this->open_mode == OM_NONE);
    format_flags = int32 ? uint32_t{FORMAT_INT32} : 0;
}

void PCMFileStream::SetTagData(VorbisTags new_tags) {
    ORVANE_ASSERT(this->open_mode == OM_NONE);
    tags.clear();
    for (const std::string& comment : new_tags.comments) {
        if (const std::string_view text = PrivateTagValue(comment); !text.empty()) {
            tags = MakeID3v2Text(kPrivateTag, text);
        }
    }
}

int32_t PCMFileStream::FrameSize() const {
    return n_channels * (capabilities & CAP_DSD ? 2 : bit_depth / 8);
}

void PCMFileStream::SetData(int64_t offset, int64_t bytes, int64_t samples) {
    data_offset = offset;
    ends_early = file_size - offset < bytes;
    data_bytes = std::clamp<int64_t>(file_size - offset, 0, bytes);
    total_samples = std::min(samples, data_bytes / FrameSize());
}

int32_t PCMFileStream::Read(int64_t position, float* buffer, int32_t n_samples, uint32_t) {
    Locked lock(cs);
    ORVANE_ASSERT(this->open_mode == OM_READ);
    ORVANE_ASSERT(position >= 0);
    if (position >= total_samples || n_samples <= 0) return 0;
    n_samples = static_cast<int32_t>(std::min<int64_t>(n_samples, total_samples - position));

    size_t frame_size = static_cast<size_t>(FrameSize());
    if (position != next_position) {
        if (const int error = file->Seek(data_offset + position * FrameSize())) {
            next_position = -1;
            return FailRead(filename, error);
        }
        next_position = position;
    }
    size_t wanted = static_cast<size_t>(n_samples) * frame_size;
    if (scratch.size() < wanted) scratch.resize(wanted);
    size_t got = 0;
    const int error = file->Read(scratch.data(), wanted, got);
    int32_t frames = static_cast<int32_t>(got / frame_size);
    if (frames == 0) {
        next_position = -1;
        return error ? FailRead(filename, error) : 0;
    }
    DecodeSamples(scratch.data(), frames * n_channels, buffer);
    // After a short read the place in the file is inside a frame or unknown.
    next_position = got == wanted ? position + frames : -1;
    if (n_channels == 1) ExpandMono(buffer, frames);
    return frames;
}

int64_t PCMFileStream::Write(const float* buffer, int32_t n_samples) {
    ORVANE_ASSERT(this->open_mode >= OM_EXTEND);
    if (n_samples <= 0) return 0;
    if (max_file_size != 0 && file->Tell() > static_cast<int64_t>(max_file_size)) {
        SetLastErrorText(FormatMsg(Msg::FileSizeLimit, 4, filename));
        return ERR_LIMIT;
    }
    const float* values = buffer;
    if (n_channels == 1) {
        mono_scratch.resize(std::max(mono_scratch.size(), static_cast<size_t>(n_samples)));
        for (int32_t i = 0; i < n_samples; ++i) mono_scratch[i] = (buffer[2 * i] + buffer[2 * i + 1]) * 0.5f;
        values = mono_scratch.data();
    }
    size_t room = static_cast<size_t>(n_samples) * static_cast<size_t>(FrameSize());
    if (scratch.size() < room) scratch.resize(room);
    int32_t bytes = EncodeSamples(values, n_samples * n_channels, scratch.data());
    extended = true;
    if (const int error = file->Write(scratch.data(), static_cast<size_t>(bytes))) return FailWrite(filename, error);
    total_samples += n_samples;
    data_bytes += bytes;
    return bytes;
}

int64_t PCMFileStream::Truncate(int64_t new_total_samples) {
    ORVANE_ASSERT(this->open_mode == OM_READWRITE || this->open_mode == OM_EXTEND);
    if (new_total_samples >= total_samples && !extended) return file_size;
    total_samples = std::clamp<int64_t>(new_total_samples, 0, total_samples);
    data_bytes = total_samples * FrameSize();
    int64_t new_end = data_offset + data_bytes;
    int error = WriteSizes(new_end);
    if (!error) error = file->Truncate(new_end);
    if (!error) error = file->Seek(new_end);
    if (error) {
        FailWrite(filename, error);
        return -1;
    }
    file_size = new_end;
    extended = false;
    return new_end;
}

void PCMFileStream::DecodeSamples(const uint8_t* bytes, int32_t n_values, float* out) {
    if (!decoder) {
        bool byte_swap = big_endian && !little_endian_override;
        decoder = std::make_unique<SampleDecoder>(bit_depth, byte_swap, Int32Samples());
    }
    decoder->Decode(bytes, n_values, out);
}

int32_t PCMFileStream::EncodeSamples(const float* in, int32_t n_values, uint8_t* out) {
    if (!encoder) {
        bool swapped = big_endian && !little_endian_override;
        encoder = std::make_unique<SampleEncoder>(bit_depth, false, swapped, Int32Samples());
    }
    return encoder->Encode(in, n_values, out);
}

bool PCMFileStream::PrepareWrite(int64_t) {
    data_bytes = 0;
    if (open_mode != OM_EXTEND) return true;
    // New samples follow the last whole frame, over whatever stood behind the data.
    data_bytes = total_samples * FrameSize();
    const int error = file->Seek(data_offset + data_bytes);
    if (error) FailWrite(filename, error);
    return error == 0;
}

void PCMFileStream::ResetState(bool) {
    next_position = -1;
    total_samples = -1;
    data_bytes = 0;
    data_offset = 0;
    format_flags = 0;
    little_endian_override = false;
    extended = false;
    scratch = {};
    mono_scratch = {};
    decoder.reset();
    encoder.reset();
}

}  // namespace Tesslib
