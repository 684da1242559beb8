#include "tesslib/wavfile.h"

#include <algorithm>
#include <utility>

#include "foundation/assert.h"
#include "foundation/text.h"
#include "tesslib/bytes.h"
#include "tesslib/chunks.h"
#include "tesslib/fileformats.h"
#include "tesslib/id3v2.h"
#include "tesslib/vorbistags.h"

using namespace Foundation;

namespace Tesslib {
namespace {

using namespace std::string_view_literals;

constexpr uint32_t kRiffLimit = 0xFEFFFFFF;
constexpr uint32_t kLargestTag = 0x400000;
constexpr int64_t kDS64Size = 28;

constexpr uint16_t kTagPCM = 1;
constexpr uint16_t kTagFloat = 3;
constexpr uint16_t kTagExtensible = 0xFFFE;

// Wave64's identifiers and the sub-formats of an extensible header, as their bytes stand in a file.
constexpr auto kW64Riff = "riff\x2E\x91\xCF\x11\xA5\xD6\x28\xDB\x04\xC1\x00\x00"sv;
constexpr auto kW64Wave = "wave\xF3\xAC\xD3\x11\x8C\xD1\x00\xC0\x4F\x8E\xDB\x8A"sv;
constexpr auto kW64Fmt = "fmt \xF3\xAC\xD3\x11\x8C\xD1\x00\xC0\x4F\x8E\xDB\x8A"sv;
constexpr auto kW64Data = "data\xF3\xAC\xD3\x11\x8C\xD1\x00\xC0\x4F\x8E\xDB\x8A"sv;
constexpr auto kSubtypePCM = "\x01\x00\x00\x00\x00\x00\x10\x00\x80\x00\x00\xAA\x00\x38\x9B\x71"sv;
constexpr auto kSubtypeFloat = "\x03\x00\x00\x00\x00\x00\x10\x00\x80\x00\x00\xAA\x00\x38\x9B\x71"sv;

uint32_t In32Bits(int64_t size) {
    return static_cast<uint32_t>(std::min<int64_t>(size, UINT32_MAX));
}

// Gives the name and the text of each sub-chunk of an INFO list to `take`, until that answers false.
template <class Take>
void ForEachInfoText(std::span<const uint8_t> list, const Take& take) {
    if (list.size() <= 4 || TextAt(list.data(), 4) != "INFO") return;
    for (list = list.subspan(4); list.size() >= 9;) {
        uint64_t size = LoadLE<uint32_t>(&list[4]);
        std::string_view text = TextAt(&list[8], std::min<uint64_t>(size, list.size() - 8));
        if (!take(TextAt(list.data(), 4), ValidUtf8(text.substr(0, text.find('\0'))))) return;
        uint64_t step = ((size + 1) | 1) + 7;
        list = list.subspan(std::min<uint64_t>(step, list.size()));
    }
}

// The private sub-chunk of an INFO list, empty without one.
std::string ReadInfoText(std::span<const uint8_t> list) {
    std::string found;
    ForEachInfoText(list, [&](std::string_view name, std::string text) {
        if (name != kPrivateTag) return true;
        found = std::move(text);
        return false;
    });
    return found;
}

}  // namespace

WAVFile::WAVFile(uint32_t options) : options(options) {
    file_format = FF_WAV;
    max_file_size = options ? 0 : kRiffLimit;
}

WAVFile::~WAVFile() {
    Close();
}

void WAVFile::SetOptions(const FormatOptions& new_options) {
    ORVANE_ASSERT(this->open_mode == OM_NONE);
    options = new_options.wav_options;
    max_file_size = options ? 0 : kRiffLimit;
}

void WAVFile::SetListData(std::vector<uint8_t> data) {
    ORVANE_ASSERT(this->open_mode == OM_NONE);
    list_data = std::move(data);
}

int32_t WAVFile::GetFileSizeLimit(bool& can_be_limited) const {
    can_be_limited = true;
    return options ? 0 : 4;
}

int64_t WAVFile::Threshold() const {
    if (options & WAV_RF64_ALWAYS) return 1;
    return options & WAV_RF64_AT_2_GB ? 0x7EFFFFFF : kRiffLimit;
}

void WAVFile::ResetState(bool ok) {
    PCMFileStream::ResetState(ok);
    options = options != 0;
    max_file_size = options ? 0 : kRiffLimit;
    ds64_body = {};
    ds64_offset = 0;
    has_room_for_ds64 = false;
}

int WAVFile::ReadHeader(uint32_t) {
    uint8_t head[40] = {};
    size_t got = 0;
    if (int error = file->Read(head, sizeof(head), got)) return FailRead(filename, error);
    bool is_w64 = got == sizeof(head) && TextAt(head, 16) == kW64Riff && TextAt(head + 24, 16) == kW64Wave;
    bool is_rf64 = TextAt(head, 4) == "RF64";
    if (!is_w64 && ((!is_rf64 && TextAt(head, 4) != "RIFF") || TextAt(head + 8, 4) != "WAVE")) {
        return FailUnsupportedRiff(filename);
    }
    if (is_rf64) format_flags |= FORMAT_RF64;
    if (is_w64) format_flags |= FORMAT_W64;
    // Our own files have room for a ds64 chunk right behind the head.
    has_room_for_ds64 =
        !is_w64 && !is_rf64 && TextAt(head + 12, 4) == "JUNK" && LoadLE<uint32_t>(head + 16) == kDS64Size;
    ds64_offset = 20;

    ChunkRow rows[] = {{is_w64 ? kW64Fmt : "fmt "sv, 40}, {is_w64 ? kW64Data : "data"sv}, {"ds64-", kDS64Size}};
    const auto& [fmt, data, ds64] = rows;
    // The ds64 chunk is only looked for where it can be: a search for it would go on behind the data.
    std::span<ChunkRow> wanted = is_rf64 ? std::span(rows) : std::span(rows).first(2);
    uint32_t format = is_w64 ? CHUNK_SIZE_64 | CHUNK_SIZE_HAS_HEADER | CHUNK_GUID : 0;
    if (int error = file->Seek(is_w64 ? 40 : 12)) return FailRead(filename, error);
    if (int error = WalkChunks(*file, filename, wanted, format)) return error;
    if (is_rf64 && ds64.data.size() < kDS64Size) return FailUnsupportedRiff(filename);
    if (int error = CheckRequiredChunks(filename, wanted)) return error;

    if (int error = ReadFormat(fmt.data)) return error;
    int64_t size = data.size;
    if (is_rf64) {
        std::copy_n(ds64.data.begin(), kDS64Size, ds64_body.begin());
        ds64_offset = ds64.offset;
        size = LoadLE<int64_t>(&ds64_body[8]);
    }
    // A recording whose end was never written, or that was written to a pipe.
    bool unknown = size == 0 || (!is_w64 && !is_rf64 && size == UINT32_MAX);
    if (unknown || size < 0) size = file_size - data.offset;
    SetData(data.offset, size, INT64_MAX);
    return 0;
}

int WAVFile::ReadFormat(const std::vector<uint8_t>& fmt) {
    std::array<uint8_t, 40> fields{};
    std::copy_n(fmt.begin(), std::min(fmt.size(), fields.size()), fields.begin());
    uint16_t format_tag = LoadLE<uint16_t>(&fields[0]);
    if (format_tag == kTagExtensible) {
        std::string_view sub_format = TextAt(&fields[24], 16);
        if (sub_format == kSubtypePCM) format_tag = kTagPCM;
        if (sub_format == kSubtypeFloat) format_tag = kTagFloat;
    }
    int32_t channels = LoadLE<uint16_t>(&fields[2]);
    int32_t rate = LoadLE<int32_t>(&fields[4]);
    int32_t bits = LoadLE<uint16_t>(&fields[14]);
    bool known = format_tag == kTagPCM || (format_tag == kTagFloat && bits == 32);
    if (!known || rate <= 0) return FailUnsupportedRiff(filename);
    if (int error = ValidateFormat(bits, channels, false, filename)) return error;
    n_channels = channels;
    samplerate = rate;
    bit_depth = bits;
    if (format_tag == kTagPCM && bits == 32) format_flags |= FORMAT_INT32;
    return 0;
}

bool WAVFile::PrepareWrite(int64_t argument) {
    if (open_mode == OM_EXTEND) {
        bool can_grow = (format_flags & (FORMAT_RF64 | FORMAT_W64)) || (has_room_for_ds64 && (options & WAV_RF64));
        max_file_size = can_grow ? 0 : kRiffLimit;
    }
    return PCMFileStream::PrepareWrite(argument);
}

bool WAVFile::WriteHeader(int64_t) {
    const int error = WriteFileHeader(0, false);
    if (error) FailWrite(filename, error);
    return error == 0;
}

// `length` is the file's; 0 while it is not known.
int WAVFile::WriteFileHeader(int64_t length, bool rf64) {
    ByteWriter header;
    header.Text(rf64 ? "RF64" : "RIFF").LE(rf64 ? UINT32_MAX : In32Bits(std::max<int64_t>(length - 8, 0)));
    header.Text("WAVE");
    if (rf64) {
        header.Text("ds64").LE<uint32_t>(kDS64Size);
        std::vector<uint8_t> body = DS64Body(length);
        header.bytes.insert(header.bytes.end(), body.begin(), body.end());
    } else if (options) {
        header.Text("JUNK").LE<uint32_t>(kDS64Size).Zeros(kDS64Size);
    }
    int32_t frame_size = FrameSize();
    header.Text("fmt ").LE<uint32_t>(16);
    header.LE(bit_depth < 25 || Int32Samples() ? kTagPCM : kTagFloat).LE(static_cast<uint16_t>(n_channels));
    header.LE(samplerate).LE(static_cast<uint32_t>(frame_size) * static_cast<uint32_t>(samplerate));
    header.LE(static_cast<uint16_t>(frame_size)).LE(static_cast<uint16_t>(bit_depth));
    header.Text("data").LE(rf64 ? UINT32_MAX : In32Bits(data_bytes));
    return WriteBytes(*file, header.bytes);
}

// riffSize is the length of the whole file.
std::vector<uint8_t> WAVFile::DS64Body(int64_t length) const {
    ByteWriter body;
    body.LE(length).LE(data_bytes).LE(data_bytes / FrameSize()).LE<uint32_t>(0);
    return std::move(body.bytes);
}

bool WAVFile::FinishWrite() {
    int error = WritePadding(*file, data_bytes);
    if (!error && !tags.empty()) error = WriteChunk32(*file, "id3 ", tags, 0);
    if (!error && !list_data.empty()) error = WriteChunk32(*file, "LIST", list_data, 0);
    const int64_t length = file->Tell();
    if (!error) error = file->Seek(0);
    if (!error) error = WriteFileHeader(length, (options & WAV_RF64) && length > Threshold());
    if (error) FailWrite(filename, error);
    return error == 0;
}

int WAVFile::WriteSizes(int64_t new_end) {
    int error = 0;
    const auto write_at = [&](int64_t offset, const ByteWriter& fields) {
        if (!error) error = file->Seek(offset);
        if (!error) error = WriteBytes(*file, fields.bytes);
    };
    if (format_flags & FORMAT_W64) {
        write_at(0, ByteWriter().Text(kW64Riff).LE(new_end).Text(kW64Wave));
        write_at(data_offset - 8, ByteWriter().LE(data_bytes + 24));
        return error;
    }
    bool becomes_rf64 = has_room_for_ds64 && (options & WAV_RF64) && new_end > Threshold();
    if ((format_flags & FORMAT_RF64) || becomes_rf64) {
        std::vector<uint8_t> body = DS64Body(new_end);
        std::copy_n(body.begin(), 24, ds64_body.begin());  // the length of a table behind it stays
        ByteWriter chunk;
        if (becomes_rf64) chunk.Text("ds64").LE<uint32_t>(kDS64Size);
        chunk.bytes.insert(chunk.bytes.end(), ds64_body.begin(), ds64_body.end());
        write_at(0, ByteWriter().Text("RF64").LE(UINT32_MAX).Text("WAVE"));
        write_at(becomes_rf64 ? ds64_offset - 8 : ds64_offset, chunk);
        write_at(data_offset - 4, ByteWriter().LE(UINT32_MAX));
        return error;
    }
    write_at(0, ByteWriter().Text("RIFF").LE(In32Bits(new_end - 8)).Text("WAVE"));
    write_at(data_offset - 4, ByteWriter().LE(In32Bits(data_bytes)));
    return error;
}

std::vector<std::string> WAVFile::Comments() {
    Locked lock(cs);
    std::vector<std::string> comments;
    next_position = -1;
    if (format_flags & FORMAT_W64 || file->Seek(12) != 0) return comments;
    auto take = [&](ByteStream&, ChunkRow& row) -> int64_t {
        ForEachInfoText(row.size > kLargestTag ? std::span<const uint8_t>() : row.data,
                        [&](std::string_view name, const std::string& text) {
                            AddShownComment(comments, std::string(name) + "=" + text);
                            return true;
                        });
        return 0;
    };
    auto take_id3 = [&](ByteStream&, ChunkRow& row) -> int64_t {
        std::ranges::move(ReadID3v2Comments(row.data), std::back_inserter(comments));
        return 0;
    };
    ChunkRow rows[] = {{"LIST+", kLargestTag, take}, {"id3 +", kLargestTag, take_id3}, {"ds64-", kDS64Size}};
    WalkChunks(*file, filename, rows, 0);
    return comments;
}

std::string WAVFile::ReadTags(std::string_view tagged_file) {
    if (Open(tagged_file, OM_PROBE) != 0) return {};
    std::string text;
    auto too_large = [&](const ChunkRow& row) {
        if (row.size > kLargestTag) FailChunk(row.Id(), filename);
        return row.size > kLargestTag;
    };
    auto take_id3 = [&](ByteStream&, ChunkRow& row) -> int64_t {
        std::string found = too_large(row) ? std::string() : ReadID3v2Text(row.data, kPrivateTag);
        if (found.empty()) return 0;
        text = std::move(found);
        return kStopWalk;
    };
    auto take_list = [&](ByteStream&, ChunkRow& row) -> int64_t {
        if (!too_large(row)) text = ReadInfoText(row.data);
        return 0;
    };
    // The ds64 chunk is needed to find the way past the samples of a large file.
    ChunkRow rows[] = {{"id3 +", kLargestTag, take_id3}, {"LIST+", kLargestTag, take_list}, {"ds64-", kDS64Size}};
    uint8_t head[12];
    size_t got = 0;
    if (file->Read(head, sizeof(head), got) == 0 && got == sizeof(head) && TextAt(head + 8, 4) == "WAVE") {
        WalkChunks(*file, filename, rows, 0);
    }
    Close();
    return text;
}

}  // namespace Tesslib
