#include "tesslib/oggfile.h"

#include <vorbis/vorbisfile.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>

#include "foundation/assert.h"
#include "foundation/messages.h"
#include "foundation/muldiv.h"
#include "tesslib/fileformats.h"
#include "tesslib/oggencoder.h"

using namespace Foundation;

namespace Tesslib {

namespace {

constexpr int32_t kBufferBytes = 32768;
constexpr int32_t kBytesPerValue = 2;
// A page of an Ogg file: its head ends with the count of the lengths that follow, whose sum is that of its body.
constexpr int64_t kMaxPage = 65307;
constexpr size_t kPageHead = 27;
constexpr size_t kPageFlags = 5;
constexpr uint8_t kLastPage = 4;

// The library takes nothing read with errno set for a failure.
size_t ReadBytes(void* to, size_t size, size_t count, void* file) {
    size_t n_read = 0;
    errno = static_cast<ByteStream*>(file)->Read(to, size * count, n_read);
    return n_read / size;
}

int SeekBytes(void* file, ogg_int64_t offset, int whence) {
    ByteStream& stream = *static_cast<ByteStream*>(file);
    int64_t from = 0;
    if (whence == SEEK_CUR) from = stream.Tell();
    errno = whence == SEEK_END ? stream.GetLength(from) : 0;
    if (errno == 0) errno = stream.Seek(from + offset);
    return errno == 0 ? 0 : -1;
}

long TellBytes(void* file) {
    return static_cast<long>(static_cast<ByteStream*>(file)->Tell());
}

template <class Take>
void ForEachComment(OggVorbis_File& file, const Take& take) {
    const vorbis_comment* list = ov_comment(&file, 0);
    for (int i = 0; list && i < list->comments; ++i) {
        take(std::string_view(list->user_comments[i], static_cast<size_t>(list->comment_lengths[i])));
    }
}

// The file stays ours to close.
constexpr ov_callbacks kCallbacks{ReadBytes, SeekBytes, nullptr, TellBytes};

}  // namespace

struct OggFile::Private {
    Private() = default;
    Private(const Private&) = delete;
    Private& operator=(const Private&) = delete;
    ~Private() { CloseDecoder(); }
    void CloseDecoder() {
        if (decoding) ov_clear(&vorbis_file);
        decoding = false;
        next_position = -1;
    }

    CriticalSection cs;
    int64_t next_position = -1;  // -1: the next Read has to seek
    OggVorbis_File vorbis_file;
    bool decoding = false;  // vorbis_file is open
    SampleDecoder decoder{16, false, false};
    uint8_t buffer[kBufferBytes];
    std::unique_ptr<OggEncoder> encoder;
    OggFormat format;
    VorbisTags tag_data;
};

OggFile::OggFile() : idata(std::make_unique<Private>()) {
    file_format = FF_OGG;
}

OggFile::~OggFile() {
    Close();
}

void OggFile::SetQuality(int32_t tenths) {
    idata->format.use_quality = true;
    idata->format.quality = tenths;
}

void OggFile::SetBitrate(int32_t nominal, int32_t min_bitrate, int32_t max_bitrate) {
    idata->format.use_quality = false;
    idata->format.quality = nominal;
    idata->format.min_bitrate = min_bitrate;
    idata->format.max_bitrate = max_bitrate;
}

bool OggFile::EncoderTakes(int32_t wanted_rate, int32_t channels) const {
    vorbis_info info;
    bool ok = SetUpEncoder(info, idata->format, wanted_rate, channels) == 0;
    vorbis_info_clear(&info);
    return ok;
}

void OggFile::SetOptions(const FormatOptions& options) {
    SetQuality(options.level);
}

void OggFile::SetTagData(VorbisTags new_tags) {
    ORVANE_ASSERT(this->open_mode == OM_NONE);
    idata->tag_data = std::move(new_tags);
}

FormatLimits OggFile::GetCapabilities(int32_t) const {
    return {CAP_PCM_WRITE | CAP_READ | CAP_BASE_OPENS | CAP_BASE_CREATES, 16000, 96000, 16};
}

// Gives the decoder up: after some failures the library leaves one behind that crashes when it is tried again. The next
// Read opens another.
int OggFile::FailLibrary(long vorbis_err, const char* function) {
    const int system_error = errno;
    idata->CloseDecoder();
    if (vorbis_err == OV_EREAD && system_error != 0) return FailRead(filename, system_error);
    return FailContents(FormatMsg(Msg::LibraryError, vorbis_err, function, filename));
}

int OggFile::OpenDecoder() {
    if (const int error = file->Seek(0)) return FailRead(filename, error);
    int vorbis_err = ov_open_callbacks(file.get(), &idata->vorbis_file, nullptr, 0, kCallbacks);
    if (vorbis_err != 0) return FailLibrary(vorbis_err, "ov_open");
    idata->decoding = true;
    return 0;
}

// Every stream of a chain must have the format that the file was opened with.
int OggFile::CheckStreams() {
    for (int i = 0; i < ov_streams(&idata->vorbis_file); ++i) {
        const vorbis_info* info = ov_info(&idata->vorbis_file, i);
        if (info && info->channels == n_channels && info->rate == samplerate) continue;
        idata->CloseDecoder();
        return FailContents(FormatMsg(Msg::DamagedAudio, filename, "the format changes inside the file"));
    }
    return 0;
}

int OggFile::ReadHeader(uint32_t) {
    if (int error = OpenDecoder()) return error;
    const vorbis_info* info = ov_info(&idata->vorbis_file, 0);
    if (!info) return FailLibrary(OV_EINVAL, "ov_info");
    if (int error = ValidateFormat(16, info->channels, false, filename)) return error;
    n_channels = info->channels;
    samplerate = static_cast<int32_t>(info->rate);
    bit_depth = 16;
    if (int error = CheckStreams()) return error;
    int64_t total = ov_pcm_total(&idata->vorbis_file, -1);
    if (total < 0) return FailLibrary(static_cast<long>(total), "ov_pcm_total");
    if (total == 0 || samplerate == 0) return FailContents(FormatMsg(Msg::FileIsEmpty, filename));
    total_samples = total;
    return 0;
}

int32_t OggFile::Read(int64_t position, float* buffer, int32_t n_samples, uint32_t) {
    Locked lock(idata->cs);
    ORVANE_ASSERT(this->open_mode == OM_READ);
    if (position >= total_samples || n_samples <= 0) return 0;
    const int32_t samples_required = static_cast<int32_t>(std::min<int64_t>(n_samples, total_samples - position));
    if (!idata->decoding) {
        if (const int error = file ? 0 : store->Open(filename, ByteMode::Read, 0, file)) {
            return FailOpen(filename, error);
        }
        if (int code = OpenDecoder()) return code;
        if (int code = CheckStreams()) return code;
    }
    OggVorbis_File* vf = &idata->vorbis_file;
    if (position != idata->next_position) {
        int vorbis_err = ov_pcm_seek(vf, position);
        if (vorbis_err == OV_EINVAL) {  // past the end
            idata->CloseDecoder();
            return 0;
        }
        if (vorbis_err != 0) return FailLibrary(vorbis_err, "ov_pcm_seek");
    }
    const int32_t frame_size = n_channels * kBytesPerValue;
    int32_t samples_available = 0;
    while (samples_available < samples_required) {
        int32_t wanted = std::min(samples_required - samples_available, kBufferBytes / frame_size) * frame_size;
        int stream = 0;
        long bytes = ov_read(vf, reinterpret_cast<char*>(idata->buffer), wanted, 0, kBytesPerValue, 1, &stream);
        if (bytes < 0) return FailLibrary(bytes, "ov_read");
        if (bytes == 0) break;
        int32_t n_values = static_cast<int32_t>(bytes) / kBytesPerValue;
        idata->decoder.Decode(idata->buffer, n_values, buffer + static_cast<ptrdiff_t>(samples_available) * n_channels);
        samples_available += static_cast<int32_t>(bytes) / frame_size;
        ORVANE_ASSERT(samples_available <= samples_required);
    }
    idata->next_position = position + samples_available;
    if (n_channels == 1) ExpandMono(buffer, samples_available);
    return samples_available;
}

bool OggFile::PrepareWrite(int64_t) {
    idata->encoder =
        std::make_unique<OggEncoder>(*file, filename, idata->format, samplerate, n_channels, idata->tag_data);
    return !idata->encoder->Failed();
}

int64_t OggFile::Write(const float* buffer, int32_t n_samples) {
    ORVANE_ASSERT(this->open_mode == OM_CREATE);
    int64_t grown = idata->encoder->Write(buffer, n_samples);
    if (grown >= 0) total_samples += n_samples;
    return grown;
}

bool OggFile::FinishWrite() {
    return idata->encoder->Finish();
}

int32_t OggFile::BitRate() const {
    if (total_samples <= 0) return 0;
    return static_cast<int32_t>(MulDiv64(file_size * 8, samplerate, total_samples * 1000));
}

std::string OggFile::ReadTags(std::string_view tagged_file) {
    if (Open(tagged_file, OM_READ) != 0) return {};
    std::string text;
    ForEachComment(idata->vorbis_file, [&](std::string_view comment) {
        if (text.empty()) text = PrivateTagValue(comment);
    });
    Close();
    return text;
}

std::vector<std::string> OggFile::Comments() {
    Locked lock(idata->cs);
    std::vector<std::string> comments;
    if (!idata->decoding) return comments;
    ForEachComment(idata->vorbis_file, [&](std::string_view comment) { AddShownComment(comments, comment); });
    return comments;
}

// The last page of a whole file has a mark. The decoder has its own idea of where the file stands, so another handle
// looks.
bool OggFile::EndsEarly() {
    std::unique_ptr<ByteStream> tail;
    if (store->Open(filename, ByteMode::Read, 0, tail) != 0) return false;
    std::string bytes(kMaxPage, '\0');
    size_t n_read = 0;
    if (tail->Seek(std::max<int64_t>(0, file_size - kMaxPage)) != 0) return false;
    if (tail->Read(bytes.data(), bytes.size(), n_read) != 0) return false;
    bytes.resize(n_read);
    const size_t page = bytes.rfind("OggS");
    if (page == bytes.npos || bytes.size() - page < kPageHead) return true;
    const auto byte = [&](size_t offset) { return static_cast<uint8_t>(bytes[page + offset]); };
    size_t length = kPageHead + byte(kPageHead - 1);
    if (bytes.size() - page < length) return true;
    for (size_t i = 0; i < byte(kPageHead - 1); ++i) length += byte(kPageHead + i);
    return bytes.size() - page < length || !(byte(kPageFlags) & kLastPage);
}

void OggFile::ReleaseResources() {
    Locked lock(idata->cs);
    if (open_mode != OM_READ) return;
    idata->CloseDecoder();
    file.reset();
}

void OggFile::ResetState(bool) {
    auto fresh = std::make_unique<Private>();
    fresh->format = idata->format;
    idata = std::move(fresh);
    total_samples = -1;
}

}  // namespace Tesslib
