#include "tesslib/aiffile.h"

#include <algorithm>
#include <array>
#include <bit>

#include "foundation/assert.h"
#include "tesslib/bytes.h"
#include "tesslib/chunks.h"
#include "tesslib/fileformats.h"
#include "tesslib/id3v2.h"
#include "tesslib/vorbistags.h"

using namespace Foundation;

namespace Tesslib {
namespace {

using namespace std::string_view_literals;

constexpr uint32_t kSizeLimit = 0xFEFFFFFF;
constexpr uint32_t kLargestTag = 0x400000;
constexpr size_t kFillerSize = 4034;
constexpr size_t kExtendedSize = 10;

// The whole part of an 80-bit float, for the rates that occur.
int32_t RateFromExtended(const uint8_t* bytes) {
    if (bytes[0] & 0x80) return 0;
    if (bytes[0] < 64) return 1;
    if (bytes[0] > 64) return 0x4000000;
    if (bytes[1] > 28) return 800000000;
    return static_cast<int32_t>((LoadBE<uint32_t>(bytes + 2) >> 1) >> (29 - bytes[1]));
}

std::array<uint8_t, kExtendedSize> ExtendedFromRate(uint32_t rate) {
    if (rate <= 1) return {0x3F, 0xFF, 0x80};
    if (rate >= 0x40000000) return {0x40, 29};
    std::array<uint8_t, kExtendedSize> bytes{0x40, static_cast<uint8_t>(std::bit_width(rate) - 2)};
    uint32_t mantissa = rate << std::countl_zero(rate);
    for (int i = 0; i < 4; ++i) bytes[2 + i] = static_cast<uint8_t>(mantissa >> (24 - 8 * i));
    return bytes;
}

}  // namespace

AIFFile::AIFFile() {
    file_format = FF_AIFF;
    big_endian = true;
    max_file_size = kSizeLimit;
}

AIFFile::~AIFFile() {
    Close();
}

int32_t AIFFile::GetFileSizeLimit(bool& can_be_limited) const {
    can_be_limited = false;
    return 4;
}

void AIFFile::ResetState(bool ok) {
    PCMFileStream::ResetState(ok);
    common_offset = 0;
}

int AIFFile::ReadHeader(uint32_t) {
    uint8_t head[12] = {};
    size_t got = 0;
    if (int error = file->Read(head, sizeof(head), got)) return FailRead(filename, error);
    std::string_view form = TextAt(head + 8, 4);
    if (got < sizeof(head) || TextAt(head, 4) != "FORM" || (form != "AIFF" && form != "AIFC")) {
        return FailUnsupportedRiff(filename);
    }
    ChunkRow rows[] = {{"COMM", 22}, {"SSND", 8}};
    const auto& [common, sound] = rows;
    if (int error = WalkChunks(*file, filename, rows, CHUNK_BIG_ENDIAN)) return error;
    if (int error = CheckRequiredChunks(filename, rows)) return error;

    std::array<uint8_t, 22> fields{};
    std::copy_n(common.data.begin(), std::min(common.data.size(), fields.size()), fields.begin());
    int32_t channels = LoadBE<uint16_t>(&fields[0]);
    uint32_t frames = LoadBE<uint32_t>(&fields[2]);
    int32_t bits = LoadBE<uint16_t>(&fields[6]);
    int32_t rate = RateFromExtended(&fields[8]);
    std::string_view compression = form == "AIFC" ? TextAt(&fields[18], 4) : ""sv;
    bool is_float = compression == "fl32" || compression == "23lf";
    little_endian_override = compression == "sowt" || compression == "23lf";
    if ((is_float && bits != 32) || rate <= 0) return FailUnsupportedRiff(filename);
    if (int error = ValidateFormat(bits, channels, false, filename)) return error;
    n_channels = channels;
    samplerate = rate;
    bit_depth = bits;
    if (bits == 32 && !is_float) format_flags |= FORMAT_INT32;
    common_offset = common.offset;

    // The count of frames is taken at its word, as far as the file has them. A recording whose end was never written
    // has none yet: then the chunk's size counts, and where that is missing too, what the file has.
    const int64_t offset = sound.offset + 8;
    int64_t bytes = int64_t{frames} * FrameSize();
    if (frames == 0) bytes = sound.size > 8 ? sound.size - 8 : file_size - offset;
    SetData(offset, bytes, bytes / FrameSize());
    return 0;
}

bool AIFFile::WriteHeader(int64_t) {
    // Nothing of it is known before the end.
    const int error = WriteFileHeader(0);
    if (error) FailWrite(filename, error);
    return error == 0;
}

// `length` is the file's; 0 while it is not known.
int AIFFile::WriteFileHeader(int64_t length) {
    bool is_32_bit = bit_depth == 32;
    ByteWriter header;
    header.Text("FORM").BE(static_cast<uint32_t>(std::max<int64_t>(length - 8, 0))).Text(is_32_bit ? "AIFC" : "AIFF");
    header.Text("COMM").BE<uint32_t>(is_32_bit ? 22 : 18).BE(static_cast<uint16_t>(n_channels));
    header.BE(static_cast<uint32_t>(data_bytes / FrameSize())).BE(static_cast<uint16_t>(bit_depth));
    auto rate = ExtendedFromRate(static_cast<uint32_t>(samplerate));
    header.bytes.insert(header.bytes.end(), rate.begin(), rate.end());
    if (is_32_bit) header.Text(Int32Samples() ? "in32" : "fl32");
    header.Text("FLLR").BE<uint32_t>(kFillerSize).Zeros(kFillerSize);
    header.Text("SSND").BE(static_cast<uint32_t>(data_bytes + 8)).Zeros(8);
    return WriteBytes(*file, header.bytes);
}

bool AIFFile::FinishWrite() {
    int error = WritePadding(*file, data_bytes);
    if (!error && !tags.empty()) error = WriteChunk32(*file, "ID3 ", tags, CHUNK_BIG_ENDIAN);
    const int64_t length = file->Tell();
    if (!error) error = file->Seek(0);
    if (!error) error = WriteFileHeader(length);
    if (error) FailWrite(filename, error);
    return error == 0;
}

int AIFFile::WriteSizes(int64_t new_end) {
    int error = 0;
    const auto write_at = [&](int64_t offset, int64_t value) {
        if (!error) error = file->Seek(offset);
        if (!error) error = WriteBytes(*file, ByteWriter().BE(static_cast<uint32_t>(value)).bytes);
    };
    write_at(4, new_end - 8);
    write_at(data_offset - 12, data_bytes + 8);
    write_at(common_offset + 2, total_samples);
    return error;
}

std::vector<std::string> AIFFile::Comments() {
    Locked lock(cs);
    std::vector<std::string> comments;
    next_position = -1;
    if (file->Seek(12) != 0) return comments;
    auto take = [&](ByteStream&, ChunkRow& row) -> int64_t {
        const std::string_view text = TextAt(row.data.data(), row.data.size());
        AddShownComment(comments, std::string(row.Id()) + "=" + std::string(text.substr(0, text.find('\0'))));
        return 0;
    };
    auto take_id3 = [&](ByteStream&, ChunkRow& row) -> int64_t {
        std::ranges::move(ReadID3v2Comments(row.data), std::back_inserter(comments));
        return 0;
    };
    ChunkRow rows[] = {{"NAME+", kLargestTag, take},
                       {"AUTH+", kLargestTag, take},
                       {"ANNO+", kLargestTag, take},
                       {"ID3 +", kLargestTag, take_id3}};
    WalkChunks(*file, filename, rows, CHUNK_BIG_ENDIAN);
    return comments;
}

std::string AIFFile::ReadTags(std::string_view tagged_file) {
    if (Open(tagged_file, OM_PROBE) != 0) return {};
    std::string text;
    auto take_id3 = [&](ByteStream&, ChunkRow& row) -> int64_t {
        if (row.size > kLargestTag) {
            FailChunk(row.Id(), filename);
            return 0;
        }
        text = ReadID3v2Text(row.data, kPrivateTag);
        return text.empty() ? 0 : kStopWalk;
    };
    ChunkRow rows[] = {{"ID3 +", kLargestTag, take_id3}};
    uint8_t head[12];
    size_t got = 0;
    if (file->Read(head, sizeof(head), got) == 0 && got == sizeof(head) && TextAt(head, 4) == "FORM") {
        WalkChunks(*file, filename, rows, CHUNK_BIG_ENDIAN);
    }
    Close();
    return text;
}

}  // namespace Tesslib
