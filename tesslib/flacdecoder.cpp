#include "tesslib/flacdecoder.h"

#include "foundation/assert.h"
#include "foundation/fileerror.h"
#include "foundation/messages.h"
#include "tesslib/vorbistags.h"

using namespace Foundation;

namespace Tesslib {

namespace {

FLACDecoder* This(void* self) {
    return static_cast<FLACDecoder*>(self);
}

// The scale is that of every integer format: the most negative code comes out a little below -1.0.
void IntsToFloats(const FLAC__int32* const channels[], uint32_t n_channels, uint32_t n_samples, int bits, float* out) {
    const double scale = 1.0 / static_cast<double>((int64_t{1} << (bits - 1)) - 1);
    if (n_channels == 2) {
        const FLAC__int32* left = channels[0];
        const FLAC__int32* right = channels[1];
        for (uint32_t i = 0; i < n_samples; ++i) {
            out[2 * i] = static_cast<float>(left[i] * scale);
            out[2 * i + 1] = static_cast<float>(right[i] * scale);
        }
        return;
    }
    for (uint32_t c = 0; c < n_channels; ++c) {
        for (uint32_t i = 0; i < n_samples; ++i) out[i * n_channels + c] = static_cast<float>(channels[c][i] * scale);
    }
}

}  // namespace

FLACDecoder::FLACDecoder(ByteStream& file, int64_t file_length, std::string_view filename)
    : file(file), file_length(file_length), filename(filename), decoder(FLAC__stream_decoder_new()) {
    ORVANE_ASSERT(decoder);
    // Pictures are not asked for: nothing here shows them, and a damaged one must not cost memory.
    FLAC__stream_decoder_set_metadata_respond(decoder.get(), FLAC__METADATA_TYPE_VORBIS_COMMENT);
    FLAC__StreamDecoderInitStatus status = FLAC__stream_decoder_init_stream(
        decoder.get(), OnRead, OnSeek, OnTell, OnLength, OnEof, OnBlock, OnMetadata, OnError, this);
    ORVANE_ASSERT(status == FLAC__STREAM_DECODER_INIT_STATUS_OK);
}

int FLACDecoder::ReadInfo() {
    bool ok = FLAC__stream_decoder_process_until_end_of_metadata(decoder.get());
    if (!ok && fault == 0) StoreDamage("no FLAC stream");
    return fault;
}

int FLACDecoder::DecodeBlock() {
    block_samples = 0;
    while (block_samples == 0 && fault == 0) {
        if (FLAC__stream_decoder_get_state(decoder.get()) == FLAC__STREAM_DECODER_END_OF_STREAM) break;
        if (!FLAC__stream_decoder_process_single(decoder.get()) && fault == 0) StoreDamage("cannot be decoded");
    }
    return fault;
}

int FLACDecoder::Seek(int64_t position) {
    block_samples = 0;
    fault = 0;
    FLAC__StreamDecoderState state = FLAC__stream_decoder_get_state(decoder.get());
    if (state == FLAC__STREAM_DECODER_ABORTED || state == FLAC__STREAM_DECODER_SEEK_ERROR) {
        FLAC__stream_decoder_flush(decoder.get());
    }
    // On success the block of that position has been decoded, and OnBlock was given what follows the position.
    if (FLAC__stream_decoder_seek_absolute(decoder.get(), static_cast<FLAC__uint64>(position))) return fault;
    block_samples = 0;
    if (fault == 0) {
        StoreDamage("cannot seek");
        fault = ERR_LIMIT;
    }
    return fault;
}

int64_t FLACDecoder::ByteOffset() {
    FLAC__uint64 offset = 0;
    return FLAC__stream_decoder_get_decode_position(decoder.get(), &offset) ? static_cast<int64_t>(offset) : -1;
}

void FLACDecoder::StoreDamage(const char* what) {
    fault = FailContents(FormatMsg(Msg::DamagedAudio, filename, what));
}

FLAC__StreamDecoderReadStatus FLACDecoder::OnRead(const FLAC__StreamDecoder*, FLAC__byte buffer[], size_t* bytes,
                                                  void* self) {
    FLACDecoder* me = This(self);
    // After a fault the library would search the whole rest of the file for something to decode.
    if (me->fault != 0) return FLAC__STREAM_DECODER_READ_STATUS_ABORT;
    const int error = me->file.Read(buffer, *bytes, *bytes);
    if (*bytes > 0) return FLAC__STREAM_DECODER_READ_STATUS_CONTINUE;
    if (!error) return FLAC__STREAM_DECODER_READ_STATUS_END_OF_STREAM;
    me->fault = FailRead(me->filename, error);
    return FLAC__STREAM_DECODER_READ_STATUS_ABORT;
}

FLAC__StreamDecoderSeekStatus FLACDecoder::OnSeek(const FLAC__StreamDecoder*, FLAC__uint64 offset, void* self) {
    bool ok = This(self)->file.Seek(static_cast<int64_t>(offset)) == 0;
    return ok ? FLAC__STREAM_DECODER_SEEK_STATUS_OK : FLAC__STREAM_DECODER_SEEK_STATUS_ERROR;
}

FLAC__StreamDecoderTellStatus FLACDecoder::OnTell(const FLAC__StreamDecoder*, FLAC__uint64* offset, void* self) {
    const int64_t position = This(self)->file.Tell();
    if (position < 0) return FLAC__STREAM_DECODER_TELL_STATUS_ERROR;
    *offset = static_cast<FLAC__uint64>(position);
    return FLAC__STREAM_DECODER_TELL_STATUS_OK;
}

FLAC__StreamDecoderLengthStatus FLACDecoder::OnLength(const FLAC__StreamDecoder*, FLAC__uint64* length, void* self) {
    *length = static_cast<FLAC__uint64>(This(self)->file_length);
    return FLAC__STREAM_DECODER_LENGTH_STATUS_OK;
}

FLAC__bool FLACDecoder::OnEof(const FLAC__StreamDecoder*, void* self) {
    return This(self)->file.Tell() >= This(self)->file_length;
}

FLAC__StreamDecoderWriteStatus FLACDecoder::OnBlock(const FLAC__StreamDecoder*, const FLAC__Frame* frame,
                                                    const FLAC__int32* const channels[], void* self) {
    FLACDecoder* me = This(self);
    if (me->fault != 0) return FLAC__STREAM_DECODER_WRITE_STATUS_ABORT;
    const FLAC__FrameHeader& header = frame->header;
    if (static_cast<int32_t>(header.channels) != me->info.n_channels ||
        static_cast<int32_t>(header.bits_per_sample) != me->info.bit_depth ||
        static_cast<int32_t>(header.sample_rate) != me->info.samplerate) {
        me->StoreDamage("the format changes inside the file");
        return FLAC__STREAM_DECODER_WRITE_STATUS_ABORT;
    }
    size_t n_values = size_t{header.blocksize} * header.channels;
    if (me->block.size() < n_values) me->block.resize(n_values);
    IntsToFloats(channels, header.channels, header.blocksize, me->info.bit_depth, me->block.data());
    me->block_samples = static_cast<int32_t>(header.blocksize);
    return FLAC__STREAM_DECODER_WRITE_STATUS_CONTINUE;
}

void FLACDecoder::OnMetadata(const FLAC__StreamDecoder*, const FLAC__StreamMetadata* metadata, void* self) {
    FLACInfo& info = This(self)->info;
    if (metadata->type == FLAC__METADATA_TYPE_STREAMINFO) {
        const FLAC__StreamMetadata_StreamInfo& stream = metadata->data.stream_info;
        info.samplerate = static_cast<int32_t>(stream.sample_rate);
        info.bit_depth = static_cast<int32_t>(stream.bits_per_sample);
        info.n_channels = static_cast<int32_t>(stream.channels);
        info.total_samples = static_cast<int64_t>(stream.total_samples);
    } else if (metadata->type == FLAC__METADATA_TYPE_VORBIS_COMMENT) {
        const FLAC__StreamMetadata_VorbisComment& list = metadata->data.vorbis_comment;
        for (FLAC__uint32 i = 0; i < list.num_comments; ++i) {
            const FLAC__StreamMetadata_VorbisComment_Entry& comment = list.comments[i];
            if (comment.entry == nullptr) continue;
            const std::string_view text(reinterpret_cast<const char*>(comment.entry), comment.length);
            if (info.private_tag.empty()) info.private_tag = PrivateTagValue(text);
            AddShownComment(info.comments, text);
        }
    }
}

void FLACDecoder::OnError(const FLAC__StreamDecoder*, FLAC__StreamDecoderErrorStatus status, void* self) {
    FLACDecoder* me = This(self);
    if (me->fault != 0) return;
    switch (status) {
        case FLAC__STREAM_DECODER_ERROR_STATUS_LOST_SYNC:
            return me->StoreDamage("synchronisation lost");
        case FLAC__STREAM_DECODER_ERROR_STATUS_BAD_HEADER:
            return me->StoreDamage("bad frame header");
        case FLAC__STREAM_DECODER_ERROR_STATUS_FRAME_CRC_MISMATCH:
            return me->StoreDamage("wrong check sum");
        case FLAC__STREAM_DECODER_ERROR_STATUS_UNPARSEABLE_STREAM:
            return me->StoreDamage("unknown kind of stream");
        default:
            return;  // damaged metadata leaves the audio as it is
    }
}

}  // namespace Tesslib
