// Encodes float pairs as a FLAC stream into an open file.
#pragma once

#include <FLAC/stream_encoder.h>

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "foundation/bytestream.h"
#include "tesslib/vorbistags.h"

namespace Tesslib {

struct FLACFormat {
    int32_t samplerate = 44100;
    int32_t bit_depth = 16;  // up to 24
    int32_t n_channels = 2;  // 1: the mean of each pair is written
    int compression_level = 5;
    int64_t total_samples_estimate = 0;  // 0: not known
};

// One thread at a time. The file stays the caller's, open for writing at its start, and must outlive the encoder.
class FLACEncoder {
public:
    // Writes what stands in front of the audio; Failed() tells if that went wrong.
    FLACEncoder(Foundation::ByteStream& file, std::string_view filename, const FLACFormat& format,
                const VorbisTags& tags);
    ~FLACEncoder();
    FLACEncoder(const FLACEncoder&) = delete;
    FLACEncoder& operator=(const FLACEncoder&) = delete;

    bool Failed() const { return fault != 0; }
    // Appends pairs. The growth of the file in bytes, or ERR_IO. The file grows by whole blocks of 4096 samples or so.
    int64_t Write(const float* pairs, int32_t n_samples);
    // Writes the last block, the length and the check sum. Without it a destroyed encoder leaves a torso.
    [[nodiscard]] bool Finish();
    // Where the next byte goes.
    int64_t Position() const { return position; }

private:
    static FLAC__StreamEncoderWriteStatus OnWrite(const FLAC__StreamEncoder*, const FLAC__byte buffer[], size_t bytes,
                                                  uint32_t samples, uint32_t frame, void* self);
    static FLAC__StreamEncoderSeekStatus OnSeek(const FLAC__StreamEncoder*, FLAC__uint64 offset, void* self);
    static FLAC__StreamEncoderTellStatus OnTell(const FLAC__StreamEncoder*, FLAC__uint64* offset, void* self);
    void SetMetadata(const VorbisTags& tags);
    int Fail(int error);

    struct Deleter {
        void operator()(FLAC__StreamEncoder* encoder) const { FLAC__stream_encoder_delete(encoder); }
        void operator()(FLAC__StreamMetadata* block) const;
    };
    Foundation::ByteStream& file;
    std::string filename;
    FLACFormat format;
    std::vector<std::unique_ptr<FLAC__StreamMetadata, Deleter>> metadata;  // the encoder points into it
    std::unique_ptr<FLAC__StreamEncoder, Deleter> encoder;
    std::vector<int32_t> input;
    std::vector<float> mono;
    int64_t position = 0;
    int fault = 0;
};

}  // namespace Tesslib
