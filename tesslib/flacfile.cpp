#include "tesslib/flacfile.h"

#include <algorithm>
#include <array>

#include "foundation/assert.h"
#include "foundation/lasterror.h"
#include "foundation/messages.h"
#include "tesslib/bytes.h"
#include "tesslib/fileformats.h"
#include "tesslib/flacdecoder.h"
#include "tesslib/flacencoder.h"

using namespace Foundation;

namespace Tesslib {

namespace {

constexpr int64_t kMaxPosition = 0x7FFFFFFFFF000000;
constexpr int kSeekAttempts = 6;
constexpr int64_t kSeekStepBack = 2048;

}  // namespace

struct FLACFile::Private {
    CriticalSection cs;
    int64_t next_position = -1;  // -1: the next Read has to seek
    std::unique_ptr<FLACDecoder> decoder;
    int32_t samples_used = 0;  // of the decoder's block
    std::unique_ptr<FLACEncoder> encoder;
    int compression_level = 5;
    VorbisTags tag_data;
};

FLACFile::FLACFile() : idata(std::make_unique<Private>()) {
    file_format = FF_FLAC;
}

FLACFile::~FLACFile() {
    Close();
}

void FLACFile::SetCompressionLevel(int level) {
    idata->compression_level = level;
}

void FLACFile::SetOptions(const FormatOptions& options) {
    SetCompressionLevel(options.level);
}

void FLACFile::SetTagData(VorbisTags new_tags) {
    ORVANE_ASSERT(this->open_mode == OM_NONE);
    idata->tag_data = std::move(new_tags);
}

FormatLimits FLACFile::GetCapabilities(int32_t) const {
    uint32_t bits =
        CAP_PCM_WRITE | CAP_READ | CAP_RECORD | CAP_TRUNCATE | CAP_20_BIT | CAP_BASE_OPENS | CAP_BASE_CREATES;
    return {bits, 16000, 384000, 24};
}

int FLACFile::ReadHeader(uint32_t) {
    idata->decoder = std::make_unique<FLACDecoder>(*file, file_size, filename);
    FLACDecoder& decoder = *idata->decoder;
    if (int error = decoder.ReadInfo()) return error;
    const FLACInfo& info = decoder.Info();
    if (info.total_samples == 0 || info.samplerate == 0 || info.bit_depth == 0) {
        return FailContents(FormatMsg(Msg::FileIsEmpty, filename));
    }
    if (int error = ValidateFormat(info.bit_depth, info.n_channels, true, filename)) return error;
    // One block is decoded to be sure of the stream.
    if (int error = decoder.DecodeBlock()) return error;
    if (decoder.BlockSamples() == 0) return FailContents(FormatMsg(Msg::UnexpectedEnd, filename));
    samplerate = info.samplerate;
    bit_depth = info.bit_depth;
    n_channels = info.n_channels;
    total_samples = info.total_samples;
    idata->next_position = -1;
    return 0;
}

// Opens again what ReleaseResources has let go.
int FLACFile::PrepareRead() {
    if (idata->decoder) return 0;
    const ByteMode mode = open_mode == OM_READ ? ByteMode::Read : ByteMode::Update;
    if (const int error = store->Open(filename, mode, 0, file)) return FailOpen(filename, error);
    auto decoder = std::make_unique<FLACDecoder>(*file, file_size, filename);
    int result = decoder->ReadInfo();
    const FLACInfo& info = decoder->Info();
    if (result == 0 &&
        (info.n_channels != n_channels || info.bit_depth != bit_depth || info.samplerate != samplerate)) {
        result = FailContents(FormatMsg(Msg::DamagedAudio, filename, "the file has been replaced"));
    }
    if (result == 0) {
        idata->decoder = std::move(decoder);
        return 0;
    }
    file.reset();
    return result;
}

int32_t FLACFile::Read(int64_t position, float* buffer, int32_t n_samples, uint32_t) {
    Locked lock(idata->cs);
    ORVANE_ASSERT(this->open_mode == OM_READ || this->open_mode == OM_READWRITE);
    ORVANE_ASSERT(position >= 0);
    if (position >= total_samples || n_samples <= 0) return 0;
    n_samples = static_cast<int32_t>(std::min<int64_t>(n_samples, total_samples - position));
    if (int error = PrepareRead()) return error;
    int32_t done = ReadAt(position, buffer, n_samples, 0);
    if (n_channels == 1 && done > 0) ExpandMono(buffer, done);
    return done;
}

// Delivers values of the file's own channels; a null buffer lets them go. The caller holds the lock.
int32_t FLACFile::ReadAt(int64_t position, float* buffer, int32_t n_samples, int attempts) {
    FLACDecoder& decoder = *idata->decoder;
    if (position != idata->next_position) {
        idata->next_position = -1;
        idata->samples_used = 0;
        int error = decoder.Seek(position);
        if (error == ERR_LIMIT && position != 0 && attempts < kSeekAttempts) {
            // The seek cannot land on this block: come from an earlier one.
            int64_t from = std::max<int64_t>(position - kSeekStepBack, 0);
            int32_t skipped = ReadAt(from, nullptr, static_cast<int32_t>(position - from), attempts + 1);
            if (skipped < position - from) return std::min(skipped, 0);
        } else if (error) {
            return error;
        }
    }
    int32_t done = 0;
    while (done < n_samples) {
        if (idata->samples_used == decoder.BlockSamples()) {
            idata->samples_used = 0;
            if (int error = decoder.DecodeBlock()) {
                idata->next_position = -1;
                return error;
            }
            if (decoder.BlockSamples() == 0) break;
        }
        int32_t n = std::min(n_samples - done, decoder.BlockSamples() - idata->samples_used);
        if (buffer) {
            const float* from = decoder.Block() + static_cast<ptrdiff_t>(idata->samples_used) * n_channels;
            std::copy_n(from, static_cast<size_t>(n) * static_cast<size_t>(n_channels),
                        buffer + static_cast<ptrdiff_t>(done) * n_channels);
        }
        idata->samples_used += n;
        done += n;
    }
    idata->next_position = position + done;
    return done;
}

bool FLACFile::PrepareWrite(int64_t argument) {
    FLACFormat format{samplerate, bit_depth, n_channels, idata->compression_level, argument};
    idata->encoder = std::make_unique<FLACEncoder>(*file, filename, format, idata->tag_data);
    return !idata->encoder->Failed();
}

int64_t FLACFile::Write(const float* buffer, int32_t n_samples) {
    ORVANE_ASSERT(this->open_mode >= OM_EXTEND);
    if (idata->encoder->Position() >= kMaxPosition) {
        SetLastErrorText(FormatMsg(Msg::FileSizeLimit, 64, filename));
        return ERR_LIMIT;
    }
    int64_t grown = idata->encoder->Write(buffer, n_samples);
    if (grown >= 0) total_samples += n_samples;
    return grown;
}

bool FLACFile::FinishWrite() {
    return idata->encoder->Finish();
}

// The file offset behind the block that holds the last sample to be kept.
int64_t FLACFile::FindCut(int64_t new_total_samples) {
    if (new_total_samples == 0) {
        FLACDecoder front(*file, file_size, filename);
        if (int error = file->Seek(0)) return FailRead(filename, error);
        if (int error = front.ReadInfo()) return error;
        return front.ByteOffset();
    }
    float pair[2];
    int32_t found = ReadAt(new_total_samples - 1, pair, 1, 0);
    if (found < 0) return found;
    if (found == 0) return FailContents(FormatMsg(Msg::UnexpectedEnd, filename));
    return idata->decoder->ByteOffset();
}

// Writes the total into the stream info block, the first of the stream, and clears the check sum, which covered the
// samples now gone. 0 or the system's error number.
int FLACFile::SetStoredTotal(int64_t new_total_samples) {
    constexpr size_t kID3Head = 10, kTotalOffset = 13, kBeforeInfo = 8;
    std::array<uint8_t, kID3Head> head{};
    size_t got = 0;
    int error = file->Seek(0);
    if (!error) error = file->Read(head.data(), head.size(), got);
    if (error) return error;
    // Some programs put an ID3v2 tag in front; its length has seven bits in a byte.
    int64_t info = kBeforeInfo;
    if (TextAt(head.data(), 3) == "ID3") {
        int64_t length = 0;
        for (size_t i = 6; i < kID3Head; ++i) length = length << 7 | (head[i] & 0x7F);
        info += static_cast<int64_t>(kID3Head) + length;
    }
    // The total has 36 bits: the low half of one byte and the four bytes behind it, then come the sixteen of the sum.
    std::array<uint8_t, 21> fields{};
    error = file->Seek(info + static_cast<int64_t>(kTotalOffset));
    if (!error) error = file->Read(fields.data(), 1, got);
    if (error) return error;
    fields[0] = static_cast<uint8_t>((fields[0] & 0xF0) | (new_total_samples >> 32 & 0x0F));
    for (int i = 1; i <= 4; ++i) fields[i] = static_cast<uint8_t>(new_total_samples >> (8 * (4 - i)));
    error = file->Seek(info + static_cast<int64_t>(kTotalOffset));
    return error ? error : file->Write(fields.data(), fields.size());
}

int64_t FLACFile::Truncate(int64_t new_total_samples) {
    Locked lock(idata->cs);
    ORVANE_ASSERT(this->open_mode == OM_READ || this->open_mode == OM_READWRITE);
    ORVANE_ASSERT(new_total_samples >= 0);
    if (new_total_samples >= total_samples) return file_size;
    if (int error = PrepareRead()) return error;
    int64_t cut = FindCut(new_total_samples);
    if (cut < 0) return cut;

    ReleaseResources();
    if (int error = store->Open(filename, ByteMode::Update, 0, file)) return FailOpenForWriting(filename, error);
    open_mode = OM_READWRITE;
    int error = SetStoredTotal(new_total_samples);
    if (!error) error = file->Truncate(cut);
    const int close_error = file->Close();
    if (!error) error = close_error;
    ReleaseResources();
    if (error) return FailWrite(filename, error);
    total_samples = new_total_samples;
    file_size = cut;
    return cut;
}

std::string FLACFile::ReadTags(std::string_view tagged_file) {
    if (Open(tagged_file, OM_READ) != 0) return {};
    std::string text = idata->decoder->Info().private_tag;
    Close();
    return text;
}

std::vector<std::string> FLACFile::Comments() {
    Locked lock(idata->cs);
    return PrepareRead() == 0 ? idata->decoder->Info().comments : std::vector<std::string>();
}

void FLACFile::ReleaseResources() {
    Locked lock(idata->cs);
    if (open_mode != OM_READ && open_mode != OM_READWRITE) return;
    idata->decoder.reset();
    idata->next_position = -1;
    idata->samples_used = 0;
    file.reset();
}

void FLACFile::ResetState(bool) {
    auto fresh = std::make_unique<Private>();
    fresh->compression_level = idata->compression_level;
    idata = std::move(fresh);
    total_samples = -1;
}

}  // namespace Tesslib
