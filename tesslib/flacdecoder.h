// Decodes a FLAC stream block by block into floats.
#pragma once

#include <FLAC/stream_decoder.h>

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "foundation/bytestream.h"

namespace Tesslib {

// What the stream says of itself. A total of 0 means that it does not know.
struct FLACInfo {
    int32_t samplerate = 0;
    int32_t bit_depth = 0;
    int32_t n_channels = 0;
    int64_t total_samples = 0;
    std::string private_tag;            // the program's own text among the comments
    std::vector<std::string> comments;  // the others
};

// One thread at a time. The file stays the caller's and must outlive the decoder. Operations give 0 or a StreamError;
// of several faults in one operation the first is told.
class FLACDecoder {
public:
    FLACDecoder(Foundation::ByteStream& file, int64_t file_length, std::string_view filename);
    FLACDecoder(const FLACDecoder&) = delete;
    FLACDecoder& operator=(const FLACDecoder&) = delete;

    // Reads what stands in front of the audio.
    int ReadInfo();
    const FLACInfo& Info() const { return info; }

    // Replaces the block by the next one. After 0 an empty block means the end of the stream. After a fault only Seek
    // is of use.
    int DecodeBlock();
    // The next block begins at `position`. ERR_LIMIT when the library cannot find the place.
    int Seek(int64_t position);

    // The block: `BlockSamples` positions of Info().n_channels interleaved floats. Until the next operation.
    const float* Block() const { return block.data(); }
    int32_t BlockSamples() const { return block_samples; }

    // The file offset behind the last block decoded or, before the first, behind the metadata; -1 if not known.
    int64_t ByteOffset();

private:
    static FLAC__StreamDecoderReadStatus OnRead(const FLAC__StreamDecoder*, FLAC__byte buffer[], size_t* bytes,
                                                void* self);
    static FLAC__StreamDecoderSeekStatus OnSeek(const FLAC__StreamDecoder*, FLAC__uint64 offset, void* self);
    static FLAC__StreamDecoderTellStatus OnTell(const FLAC__StreamDecoder*, FLAC__uint64* offset, void* self);
    static FLAC__StreamDecoderLengthStatus OnLength(const FLAC__StreamDecoder*, FLAC__uint64* length, void* self);
    static FLAC__bool OnEof(const FLAC__StreamDecoder*, void* self);
    static FLAC__StreamDecoderWriteStatus OnBlock(const FLAC__StreamDecoder*, const FLAC__Frame* frame,
                                                  const FLAC__int32* const channels[], void* self);
    static void OnMetadata(const FLAC__StreamDecoder*, const FLAC__StreamMetadata* metadata, void* self);
    static void OnError(const FLAC__StreamDecoder*, FLAC__StreamDecoderErrorStatus status, void* self);
    void StoreDamage(const char* what);

    struct Deleter {
        void operator()(FLAC__StreamDecoder* decoder) const { FLAC__stream_decoder_delete(decoder); }
    };
    Foundation::ByteStream& file;
    int64_t file_length;
    std::string filename;
    std::unique_ptr<FLAC__StreamDecoder, Deleter> decoder;
    FLACInfo info;
    std::vector<float> block;
    int32_t block_samples = 0;
    int fault = 0;  // the first since the last Seek
};

}  // namespace Tesslib
