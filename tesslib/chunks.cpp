#include "tesslib/chunks.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <string>

#include "foundation/assert.h"
#include "foundation/fileerror.h"
#include "foundation/messages.h"
#include "tesslib/bytes.h"

using namespace Foundation;

namespace Tesslib {
namespace {

// A damaged file may be read as a great number of empty chunks; no real one has so many.
constexpr int kMostChunks = 1 << 18;
constexpr int64_t kAllOnes = 0xFFFFFFFF;

struct ChunkHeader {
    std::array<uint8_t, 24> bytes;
    size_t length;
    std::string_view id;
    int64_t size;  // as stated
};

class Walk {
public:
    Walk(ByteStream& file, std::string_view filename, std::span<ChunkRow> rows, uint32_t format)
        : file(file), filename(filename), rows(rows), format(format) {}

    int Run(int64_t range_end) {
        int result = FindFileEnd();
        for (int n = 0; result == 0 && n < kMostChunks && offset < range_end; ++n) result = NextChunk();
        if (result == kEnd) return 0;
        if (result < 0) {
            for (ChunkRow& row : rows) row.data.clear();
        }
        return result;
    }

private:
    static constexpr int kEnd = 1;

    int FindFileEnd() {
        offset = file.Tell();
        const int error = file.GetLength(file_end);
        return error ? FailRead(filename, error) : 0;
    }

    // 0 to go on, kEnd, or a StreamError.
    int NextChunk() {
        ChunkHeader header;
        if (int result = ReadHeader(header)) return result;
        int64_t payload = offset + static_cast<int64_t>(header.length);
        int64_t size = header.size;
        if (format & CHUNK_SIZE_HAS_HEADER) size -= static_cast<int64_t>(header.length);
        if (header.id == "data" && size == kAllOnes && ds64) {
            size = LoadLE<int64_t>(ds64->data.data() + 8);
            if (size <= 0) size = file_end - payload;
        }
        if (size < 0) return FailChunk(header.id, filename);

        int64_t taken = 0;
        for (ChunkRow& row : rows) {
            if (row.found || row.Id() != header.id) continue;
            row.found = true;
            row.offset = payload;
            row.size = size;
            if (int result = Take(row, taken)) return result;
            break;
        }
        if (std::all_of(rows.begin(), rows.end(), [](const ChunkRow& row) { return row.found; })) return kEnd;

        // Nothing behind the file's end can be another chunk; that also keeps the sums small.
        if (size > file_end - payload) return kEnd;
        int64_t alignment = format & CHUNK_GUID ? 8 : 2;
        int64_t bytes_to_skip = (size + alignment - 1) / alignment * alignment;
        if (bytes_to_skip != taken) {
            if (const int error = file.Seek(payload + bytes_to_skip)) return FailRead(filename, error);
        }
        offset = payload + bytes_to_skip;
        return 0;
    }

    int ReadHeader(ChunkHeader& header) {
        size_t id_length = format & CHUNK_GUID ? 16 : 4;
        bool size_64 = (format & (CHUNK_GUID | CHUNK_SIZE_64)) != 0;
        header.length = id_length + (size_64 ? 8 : 4);
        size_t got = 0;
        if (const int error = file.Read(header.bytes.data(), header.length, got)) return FailRead(filename, error);
        if (got != header.length) return kEnd;
        header.id = TextAt(header.bytes.data(), id_length);
        const uint8_t* size = header.bytes.data() + id_length;
        if (size_64) {
            header.size = format & CHUNK_BIG_ENDIAN ? LoadBE<int64_t>(size) : LoadLE<int64_t>(size);
        } else {
            header.size = format & CHUNK_BIG_ENDIAN ? LoadBE<uint32_t>(size) : LoadLE<uint32_t>(size);
        }
        return 0;
    }

    int Take(ChunkRow& row, int64_t& taken) {
        int64_t wanted = std::min<int64_t>(row.wanted, row.size);
        if (wanted > 0) {
            // Room is made only for what the file can give.
            row.data.resize(static_cast<size_t>(std::clamp<int64_t>(file_end - row.offset, 0, wanted)));
            size_t got = 0;
            if (const int error = file.Read(row.data.data(), row.data.size(), got)) return FailRead(filename, error);
            if (static_cast<int64_t>(got) < wanted) {
                return FailContents(FormatMsg(Msg::UnexpectedEnd, std::string(filename)));
            }
            taken = wanted;
        }
        if (row.Id() == "ds64" && row.data.size() >= 16) ds64 = &row;
        if (!row.callback) return 0;
        int64_t callback_result = row.callback(file, row);
        if (callback_result == kStopWalk) return kEnd;
        if (callback_result < 0) return static_cast<int>(callback_result);
        ORVANE_ASSERT(callback_result <= row.size - taken);
        taken += callback_result;
        return 0;
    }

    ByteStream& file;
    std::string_view filename;
    std::span<ChunkRow> rows;
    uint32_t format;
    const ChunkRow* ds64 = nullptr;
    int64_t offset = 0;  // of the next chunk's header
    int64_t file_end = 0;
};

int WriteChunk(ByteStream& file, const ByteWriter& header, std::span<const uint8_t> payload) {
    if (const int error = WriteBytes(file, header.bytes)) return error;
    if (const int error = WriteBytes(file, payload)) return error;
    return WritePadding(file, static_cast<int64_t>(payload.size()));
}

}  // namespace

int WalkChunks(ByteStream& file, std::string_view filename, std::span<ChunkRow> rows, uint32_t format,
               int64_t range_end) {
    return Walk(file, filename, rows, format).Run(range_end);
}

int CheckRequiredChunks(std::string_view filename, std::span<const ChunkRow> rows) {
    for (const ChunkRow& row : rows) {
        if (!row.found && !row.IsOptional()) return FailChunk(row.Id(), filename);
    }
    return 0;
}

int FailChunk(std::string_view chunk_id, std::string_view filename) {
    // An identifier from a damaged file may hold anything.
    std::string name(chunk_id.substr(0, 4));
    for (char& c : name) {
        if (c < ' ' || c > '~' || c == '<' || c == '>') c = '?';
    }
    return FailContents(FormatMsg(Msg::BadChunk, name, std::string(filename)));
}

int FailUnsupportedRiff(std::string_view filename) {
    return FailContents(FormatMsg(Msg::UnsupportedRiff, std::string(filename)));
}

int WritePadding(ByteStream& file, int64_t size) {
    return size % 2 == 0 ? 0 : file.Write("", 1);
}

int WriteBytes(ByteStream& file, std::span<const uint8_t> bytes) {
    return file.Write(bytes.data(), bytes.size());
}

int WriteChunk32(ByteStream& file, std::string_view chunk_id, std::span<const uint8_t> payload, uint32_t format) {
    ByteWriter header;
    header.Text(chunk_id);
    uint32_t size = static_cast<uint32_t>(payload.size()) + (format & CHUNK_SIZE_HAS_HEADER ? 8 : 0);
    format& CHUNK_BIG_ENDIAN ? header.BE(size) : header.LE(size);
    return WriteChunk(file, header, payload);
}

int WriteChunk64(ByteStream& file, std::string_view chunk_id, std::span<const uint8_t> payload, uint32_t format) {
    ByteWriter header;
    header.Text(chunk_id);
    uint64_t size = payload.size() + (format & CHUNK_SIZE_HAS_HEADER ? 12 : 0);
    format& CHUNK_BIG_ENDIAN ? header.BE(size) : header.LE(size);
    return WriteChunk(file, header, payload);
}

}  // namespace Tesslib
