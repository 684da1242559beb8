// Walking and writing files made of chunks: an identifier, a size and that many bytes, one behind the other.
#pragma once

#include <cstdint>
#include <functional>
#include <span>
#include <string_view>
#include <vector>

#include "foundation/bytestream.h"

namespace Tesslib {

enum ChunkFormat : uint32_t {
    CHUNK_SIZE_64 = 1,
    CHUNK_BIG_ENDIAN = 2,
    CHUNK_SIZE_HAS_HEADER = 4,  // sizes count the chunk's header as well
    CHUNK_GUID = 8,             // identifiers of 16 bytes, chunks aligned to 8
};

// A kind of chunk that a reader wants; the first of its kind is taken. The fields behind `callback` are results.
struct ChunkRow {
    // Called with the stream behind the bytes that were read into `data`. The result is how many further bytes it read,
    // no more than the chunk still has; kStopWalk ends the walk with success, any other negative value with that code.
    using Callback = std::function<int64_t(Foundation::ByteStream& file, ChunkRow& row)>;

    std::string_view chunk_id;  // 4 or 16 characters; one more, '+' or '-', marks a chunk that may be missing
    uint32_t wanted = 0;        // at most so many bytes of the chunk are read into `data`
    Callback callback = nullptr;

    bool found = false;
    int64_t offset = 0;  // of the payload in the file
    int64_t size = 0;    // of the payload, as the file states it: it may be more than the file has
    std::vector<uint8_t> data{};

    bool IsOptional() const { return chunk_id.size() % 4 == 1; }
    std::string_view Id() const { return chunk_id.substr(0, chunk_id.size() - (IsOptional() ? 1 : 0)); }
};
inline constexpr int64_t kStopWalk = -1;

// Walks from where `file` stands to `range_end`, the end of the file, or the point where every row has been found. The
// size of a "data" chunk that is all ones is taken from the "ds64" chunk before it, if that is among the rows. 0 or a
// StreamError, with `filename` in its message; no damage costs more memory than the rows want and the file has.
int WalkChunks(Foundation::ByteStream& file, std::string_view filename, std::span<ChunkRow> rows, uint32_t format,
               int64_t range_end = INT64_MAX);

// 0, or ERR_CONTENTS with the message for the first row that was not found and may not be missing.
int CheckRequiredChunks(std::string_view filename, std::span<const ChunkRow> rows);

// ERR_CONTENTS with the message for a bad or missing chunk.
int FailChunk(std::string_view chunk_id, std::string_view filename);

// ERR_CONTENTS with the message for a file that is none of those its extension promises.
int FailUnsupportedRiff(std::string_view filename);

// Put out a chunk and the padding that brings it to an even length. 0 or the system's error number.
int WriteChunk32(Foundation::ByteStream& file, std::string_view chunk_id, std::span<const uint8_t> payload,
                 uint32_t format);
int WriteChunk64(Foundation::ByteStream& file, std::string_view chunk_id, std::span<const uint8_t> payload,
                 uint32_t format);
int WriteBytes(Foundation::ByteStream& file, std::span<const uint8_t> bytes);
// The padding alone, behind `size` bytes that were put out in another way.
int WritePadding(Foundation::ByteStream& file, int64_t size);

}  // namespace Tesslib
