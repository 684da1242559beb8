#include "tesslib/oggencoder.h"

#include <vorbis/vorbisenc.h>

#include <algorithm>

#include "foundation/assert.h"
#include "foundation/fileerror.h"
#include "foundation/text.h"
#include "foundation/version.h"

using namespace Foundation;

namespace Tesslib {

namespace {

// The encoder shapes the start of a stream by what has arrived so far: samples go in by steps of one size, so that the
// caller's blocks leave no trace in the file.
constexpr int32_t kStep = 1024;

// Marks the pages of a stream. One for all: only streams to be mixed into one file would need different ones.
constexpr int kSerialNumber = 0x4F525641;

long BitsPerSecond(int32_t kbits) {
    return kbits == 0 ? -1 : kbits * 1000L;
}

}  // namespace

int SetUpEncoder(vorbis_info& info, const OggFormat& format, int32_t samplerate, int32_t n_channels) {
    vorbis_info_init(&info);
    if (format.use_quality) {
        return vorbis_encode_init_vbr(&info, n_channels, samplerate, static_cast<float>(format.quality) / 10.0f);
    }
    int32_t nominal = format.quality;
    int32_t lowest = std::min(format.min_bitrate, nominal);
    int32_t highest = format.max_bitrate == 0 ? 0 : std::max(format.max_bitrate, nominal);
    return vorbis_encode_init(&info, n_channels, samplerate, BitsPerSecond(highest), BitsPerSecond(nominal),
                              BitsPerSecond(lowest));
}

OggEncoder::OggEncoder(ByteStream& file, std::string_view filename, const OggFormat& format, int32_t samplerate,
                       int32_t n_channels, const VorbisTags& tags)
    : file(file), filename(filename) {
    int vorbis_err = SetUpEncoder(info, format, samplerate, n_channels);
    ORVANE_ASSERT(vorbis_err == 0);
    vorbis_err = vorbis_analysis_init(&dsp, &info);
    ORVANE_ASSERT(vorbis_err == 0);
    vorbis_err = vorbis_block_init(&dsp, &block);
    ORVANE_ASSERT(vorbis_err == 0);
    int ogg_err = ogg_stream_init(&stream, kSerialNumber);
    ORVANE_ASSERT(ogg_err == 0);
    WriteHeaders(tags);
}

OggEncoder::~OggEncoder() {
    ogg_stream_clear(&stream);
    vorbis_block_clear(&block);
    vorbis_dsp_clear(&dsp);
    vorbis_info_clear(&info);
}

void OggEncoder::WriteHeaders(const VorbisTags& tags) {
    vorbis_comment comments;
    vorbis_comment_init(&comments);
    vorbis_comment_add_tag(&comments, "ENCODER", ProgramNameAndVersion().c_str());
    for (const std::string& comment : tags.comments) {
        if (IsLegalComment(comment)) vorbis_comment_add(&comments, ValidUtf8(comment).c_str());
    }
    for (const PICTURE& picture : tags.pictures) vorbis_comment_add(&comments, PictureComment(picture).c_str());

    ogg_packet packets[3];
    int vorbis_err = vorbis_analysis_headerout(&dsp, &comments, &packets[0], &packets[1], &packets[2]);
    ORVANE_ASSERT(vorbis_err == 0);
    for (ogg_packet& packet : packets) {
        int ogg_err = ogg_stream_packetin(&stream, &packet);
        ORVANE_ASSERT(ogg_err == 0);
    }
    vorbis_comment_clear(&comments);
    WritePages(true);
}

int64_t OggEncoder::Write(const float* pairs, int32_t n_samples) {
    const int64_t start = position;
    for (int32_t done = 0; done < n_samples && fault == 0;) {
        const int32_t n = std::min(n_samples - done, kStep - pending);
        const float* in = pairs + 2 * static_cast<ptrdiff_t>(done);
        // What is pending lies in front of the place that the library gives out again.
        float** channels = vorbis_analysis_buffer(&dsp, kStep);
        if (info.channels == 2) {
            for (int32_t i = 0; i < n; ++i) {
                channels[0][pending + i] = in[2 * i];
                channels[1][pending + i] = in[2 * i + 1];
            }
        } else {
            for (int32_t i = 0; i < n; ++i) channels[0][pending + i] = (in[2 * i] + in[2 * i + 1]) * 0.5f;
        }
        done += n;
        pending += n;
        if (pending == kStep) Encode(kStep);
    }
    return fault != 0 ? fault : position - start;
}

bool OggEncoder::Finish() {
    if (pending > 0) Encode(pending);
    Encode(0);  // marks the end of the stream
    WritePages(true);
    return fault == 0;
}

void OggEncoder::Encode(int32_t n_samples) {
    pending = 0;
    int vorbis_err = vorbis_analysis_wrote(&dsp, n_samples);
    ORVANE_ASSERT(vorbis_err == 0);
    while (fault == 0 && vorbis_analysis_blockout(&dsp, &block) == 1) {
        vorbis_err = vorbis_analysis(&block, nullptr);
        ORVANE_ASSERT(vorbis_err == 0);
        vorbis_err = vorbis_bitrate_addblock(&block);
        ORVANE_ASSERT(vorbis_err == 0);
        ogg_packet packet;
        while (vorbis_bitrate_flushpacket(&dsp, &packet) == 1) {
            int ogg_err = ogg_stream_packetin(&stream, &packet);
            ORVANE_ASSERT(ogg_err == 0);
            WritePages(false);
        }
    }
}

void OggEncoder::WritePages(bool flush) {
    ogg_page page;
    while (fault == 0 && (flush ? ogg_stream_flush(&stream, &page) : ogg_stream_pageout(&stream, &page)) != 0) {
        for (auto [bytes, length] : {std::pair(page.header, page.header_len), std::pair(page.body, page.body_len)}) {
            if (const int error = file.Write(bytes, static_cast<size_t>(length))) {
                fault = FailWrite(filename, error);
                return;
            }
            position += length;
        }
    }
}

}  // namespace Tesslib
