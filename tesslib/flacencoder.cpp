#include "tesslib/flacencoder.h"

#include <FLAC/metadata.h>

#include <algorithm>
#include <cerrno>

#include "foundation/assert.h"
#include "foundation/fileerror.h"
#include "foundation/text.h"
#include "tesslib/samples.h"

using namespace Foundation;

namespace Tesslib {

namespace {

constexpr int64_t kMaxTotalSamples = 0xFFFFFFFFF;  // 36 bits
constexpr size_t kMaxBlockBytes = 0xFFFFFF;        // of one metadata block
constexpr int32_t kChunk = 4096;                   // pairs converted at a time: small enough for the first-level cache

FLACEncoder* This(void* self) {
    return static_cast<FLACEncoder*>(self);
}

bool HasRoom(const FLAC__StreamMetadata* block, size_t more) {
    return block->length + more <= kMaxBlockBytes;
}

void AppendComment(FLAC__StreamMetadata* block, const std::string& comment) {
    std::string text = ValidUtf8(comment);
    if (!IsLegalComment(text) || !HasRoom(block, text.size() + 4)) return;
    FLAC__StreamMetadata_VorbisComment_Entry entry;
    entry.length = static_cast<FLAC__uint32>(text.size());
    entry.entry = reinterpret_cast<FLAC__byte*>(text.data());
    FLAC__metadata_object_vorbiscomment_append_comment(block, entry, true);
}

bool SetPicture(FLAC__StreamMetadata* block, const PICTURE& picture) {
    if (picture.data.size() + picture.mime_type.size() + picture.description.size() + 32 > kMaxBlockBytes) return false;
    FLAC__StreamMetadata_Picture& target = block->data.picture;
    // File icons (1, 2) have rules of their own that an album's picture need not keep: they go in as "other".
    bool plain = picture.type > 2 && picture.type < FLAC__STREAM_METADATA_PICTURE_TYPE_UNDEFINED;
    target.type =
        plain ? static_cast<FLAC__StreamMetadata_Picture_Type>(picture.type) : FLAC__STREAM_METADATA_PICTURE_TYPE_OTHER;
    target.width = picture.width;
    target.height = picture.height;
    target.depth = picture.colour_depth;
    target.colors = picture.n_colours;
    std::string mime_type = picture.mime_type;
    std::string description = ValidUtf8(picture.description);
    std::vector<uint8_t> data = picture.data;
    return FLAC__metadata_object_picture_set_mime_type(block, mime_type.data(), true) &&
           FLAC__metadata_object_picture_set_description(block, reinterpret_cast<FLAC__byte*>(description.data()),
                                                         true) &&
           FLAC__metadata_object_picture_set_data(block, data.data(), static_cast<FLAC__uint32>(data.size()), true) &&
           FLAC__metadata_object_picture_is_legal(block, nullptr);
}

}  // namespace

void FLACEncoder::Deleter::operator()(FLAC__StreamMetadata* block) const {
    FLAC__metadata_object_delete(block);
}

FLACEncoder::FLACEncoder(ByteStream& file, std::string_view filename, const FLACFormat& format, const VorbisTags& tags)
    : file(file), filename(filename), format(format), encoder(FLAC__stream_encoder_new()) {
    ORVANE_ASSERT(encoder);
    FLAC__StreamEncoder* e = encoder.get();
    FLAC__stream_encoder_set_verify(e, false);
    FLAC__stream_encoder_set_channels(e, static_cast<uint32_t>(format.n_channels));
    FLAC__stream_encoder_set_bits_per_sample(e, static_cast<uint32_t>(format.bit_depth));
    FLAC__stream_encoder_set_sample_rate(e, static_cast<uint32_t>(format.samplerate));
    // An odd high rate cannot be told in every frame; the header at the front still tells it.
    FLAC__stream_encoder_set_streamable_subset(
        e, FLAC__format_sample_rate_is_subset(static_cast<uint32_t>(format.samplerate)));
    FLAC__stream_encoder_set_compression_level(e, static_cast<uint32_t>(std::clamp(format.compression_level, 0, 8)));
    int64_t estimate = std::min(format.total_samples_estimate, kMaxTotalSamples);
    if (estimate > 0) FLAC__stream_encoder_set_total_samples_estimate(e, static_cast<FLAC__uint64>(estimate));
    SetMetadata(tags);
    input.resize(size_t{kChunk} * static_cast<size_t>(format.n_channels));
    if (format.n_channels == 1) mono.resize(kChunk);
    FLAC__StreamEncoderInitStatus init_status =
        FLAC__stream_encoder_init_stream(e, OnWrite, OnSeek, OnTell, nullptr, this);
    ORVANE_ASSERT(init_status == FLAC__STREAM_ENCODER_INIT_STATUS_OK || fault != 0);
}

FLACEncoder::~FLACEncoder() {
    // Deleting an encoder makes it finish its stream: nothing more may reach the file.
    if (fault == 0) fault = ERR_IO;
}

void FLACEncoder::SetMetadata(const VorbisTags& tags) {
    auto add = [this](FLAC__MetadataType type) {
        metadata.emplace_back(FLAC__metadata_object_new(type));
        ORVANE_ASSERT(metadata.back());
        return metadata.back().get();
    };
    if (!tags.comments.empty()) {
        FLAC__StreamMetadata* block = add(FLAC__METADATA_TYPE_VORBIS_COMMENT);
        for (const std::string& comment : tags.comments) AppendComment(block, comment);
    }
    for (const PICTURE& picture : tags.pictures) {
        if (!SetPicture(add(FLAC__METADATA_TYPE_PICTURE), picture)) metadata.pop_back();
    }
    std::vector<FLAC__StreamMetadata*> list;
    for (const auto& block : metadata) list.push_back(block.get());
    if (!list.empty()) {
        FLAC__stream_encoder_set_metadata(encoder.get(), list.data(), static_cast<uint32_t>(list.size()));
    }
}

int64_t FLACEncoder::Write(const float* pairs, int32_t n_samples) {
    const int64_t start = position;
    for (int32_t done = 0; done < n_samples && fault == 0; done += kChunk) {
        const int32_t n = std::min(kChunk, n_samples - done);
        const float* in = pairs + 2 * static_cast<ptrdiff_t>(done);
        if (format.n_channels == 1) {
            for (int32_t i = 0; i < n; ++i) mono[i] = (in[2 * i] + in[2 * i + 1]) * 0.5f;
            in = mono.data();
        }
        FloatsToInts(in, n * format.n_channels, format.bit_depth, input.data());
        bool ok = FLAC__stream_encoder_process_interleaved(encoder.get(), input.data(), static_cast<uint32_t>(n));
        if (!ok && fault == 0) Fail(EIO);
    }
    return fault != 0 ? fault : position - start;
}

bool FLACEncoder::Finish() {
    if (fault != 0) return false;
    if (!FLAC__stream_encoder_finish(encoder.get()) && fault == 0) Fail(EIO);
    return fault == 0;
}

int FLACEncoder::Fail(int error) {
    return fault = FailWrite(filename, error);
}

FLAC__StreamEncoderWriteStatus FLACEncoder::OnWrite(const FLAC__StreamEncoder*, const FLAC__byte buffer[], size_t bytes,
                                                    uint32_t, uint32_t, void* self) {
    FLACEncoder* me = This(self);
    if (me->fault != 0) return FLAC__STREAM_ENCODER_WRITE_STATUS_FATAL_ERROR;
    if (const int error = me->file.Write(buffer, bytes)) {
        me->Fail(error);
        return FLAC__STREAM_ENCODER_WRITE_STATUS_FATAL_ERROR;
    }
    me->position += static_cast<int64_t>(bytes);
    return FLAC__STREAM_ENCODER_WRITE_STATUS_OK;
}

FLAC__StreamEncoderSeekStatus FLACEncoder::OnSeek(const FLAC__StreamEncoder*, FLAC__uint64 offset, void* self) {
    FLACEncoder* me = This(self);
    if (me->fault != 0) return FLAC__STREAM_ENCODER_SEEK_STATUS_ERROR;
    if (const int error = me->file.Seek(static_cast<int64_t>(offset))) {
        me->Fail(error);
        return FLAC__STREAM_ENCODER_SEEK_STATUS_ERROR;
    }
    me->position = static_cast<int64_t>(offset);
    return FLAC__STREAM_ENCODER_SEEK_STATUS_OK;
}

FLAC__StreamEncoderTellStatus FLACEncoder::OnTell(const FLAC__StreamEncoder*, FLAC__uint64* offset, void* self) {
    *offset = static_cast<FLAC__uint64>(This(self)->position);
    return FLAC__STREAM_ENCODER_TELL_STATUS_OK;
}

}  // namespace Tesslib
