// Encodes float pairs as an Ogg Vorbis stream into an open file.
#pragma once

#include <ogg/ogg.h>
#include <vorbis/codec.h>

#include <cstdint>
#include <string>
#include <string_view>

#include "foundation/bytestream.h"
#include "tesslib/vorbistags.h"

namespace Tesslib {

struct OggFormat {
    bool use_quality = true;
    int32_t quality = 4;      // in tenths; without use_quality the nominal bitrate in kbit/s
    int32_t min_bitrate = 0;  // kbit/s, 0: no limit
    int32_t max_bitrate = 0;
};

// Sets `info` up for encoding; 0 or the library's code. `info` is to be cleared either way.
int SetUpEncoder(vorbis_info& info, const OggFormat& format, int32_t samplerate, int32_t n_channels);

// One thread at a time. The file stays the caller's and must outlive the encoder.
class OggEncoder {
public:
    // Writes the header pages; Failed() tells if that went wrong.
    OggEncoder(Foundation::ByteStream& file, std::string_view filename, const OggFormat& format, int32_t samplerate,
               int32_t n_channels, const VorbisTags& tags);
    ~OggEncoder();
    OggEncoder(const OggEncoder&) = delete;
    OggEncoder& operator=(const OggEncoder&) = delete;

    bool Failed() const { return fault != 0; }
    // Appends pairs (one channel: the mean of each). The growth of the file in bytes, or ERR_IO.
    int64_t Write(const float* pairs, int32_t n_samples);
    [[nodiscard]] bool Finish();

private:
    void WriteHeaders(const VorbisTags& tags);
    void Encode(int32_t n_samples);
    void WritePages(bool flush);

    Foundation::ByteStream& file;
    std::string filename;
    vorbis_info info;
    vorbis_dsp_state dsp;
    vorbis_block block;
    ogg_stream_state stream;
    int32_t pending = 0;  // samples in the analysis buffer that make no whole step yet
    int64_t position = 0;
    int fault = 0;
};

}  // namespace Tesslib
