#include "tesslib/filestream.h"

#include <algorithm>
#include <cerrno>

#include "foundation/assert.h"
#include "foundation/lasterror.h"
#include "foundation/messages.h"

using namespace Foundation;

namespace Tesslib {

int ValidateFormat(int32_t bit_depth, int32_t n_channels, bool allow_20_bit, std::string_view filename) {
    bool depth_ok = is_convertible_bit_depth(bit_depth) || (allow_20_bit && bit_depth == 20);
    if (!depth_ok) return FailContents(FormatMsg(Msg::UnsupportedBitDepth, bit_depth, std::string(filename)));
    if (n_channels < 1 || n_channels > 2) {
        return FailContents(FormatMsg(Msg::UnsupportedChannels, n_channels, std::string(filename)));
    }
    return 0;
}

namespace {

void AssertWithinLimits(int32_t samplerate, int32_t bit_depth, int32_t n_channels, const FormatLimits& limits) {
    const auto [capabilities, min_samplerate, max_samplerate, max_bit_depth] = limits;
    ORVANE_ASSERT(samplerate >= min_samplerate && samplerate <= max_samplerate);
    ORVANE_ASSERT(bit_depth <= max_bit_depth);
    ORVANE_ASSERT(n_channels >= 1 && n_channels <= 2);
    if (capabilities & CAP_DSD) ORVANE_ASSERT(convert_dop_rate(samplerate));
}

}  // namespace

FileStream::~FileStream() {
    // A class with a format of its own has closed in its own destructor, while its operations still existed.
    if (file_format == 0) Close();
    ORVANE_ASSERT(this->open_mode == OM_NONE);
}

void FileStream::AdjustFormat(int32_t& wanted_rate, int32_t& wanted_depth, int32_t channels) const {
    FormatLimits limits = GetCapabilities(channels);
    if (wanted_rate == 0) wanted_rate = 44100;
    wanted_rate = std::clamp(wanted_rate, limits.min_samplerate, limits.max_samplerate);
    if (wanted_depth == 0) wanted_depth = 16;
    wanted_depth = std::min(wanted_depth, limits.max_bit_depth);
    if (wanted_depth == 20 && !(limits.capabilities & CAP_20_BIT)) wanted_depth = 24;
}

int FileStream::SetSBC(int32_t new_samplerate, int32_t new_bit_depth, int32_t new_n_channels) {
    FormatLimits limits = GetCapabilities(new_n_channels);
    AssertWithinLimits(new_samplerate, new_bit_depth, new_n_channels, limits);
    bool allow_20_bit = (limits.capabilities & CAP_20_BIT) != 0;
    if (int error = ValidateFormat(new_bit_depth, new_n_channels, allow_20_bit, "FileStream::SetSBC")) return error;
    samplerate = new_samplerate;
    bit_depth = new_bit_depth;
    n_channels = new_n_channels;
    return 0;
}

void FileStream::SetStore(ByteStore& where) {
    ORVANE_ASSERT(this->open_mode == OM_NONE);
    store = &where;
}

int FileStream::Open(std::string_view new_filename, OpenMode mode, int32_t buffer_size, uint32_t new_open_flags,
                     int64_t argument) {
    ORVANE_ASSERT(this->open_mode == OM_NONE);
    ORVANE_ASSERT(mode != OM_NONE);
    capabilities = GetCapabilities(n_channels).capabilities;
    if (mode == OM_EXTEND) ORVANE_ASSERT(capabilities & CAP_EXTEND);
    if (mode == OM_CREATE) ORVANE_ASSERT(samplerate != 0);

    FileInfo info;
    if (mode != OM_CREATE) {
        int error = store->GetInfo(new_filename, info);
        if (!error && info.is_folder) error = EISDIR;
        if (error) return FailOpen(new_filename, error);
    }
    if (capabilities & (mode == OM_CREATE ? CAP_BASE_CREATES : CAP_BASE_OPENS)) {
        bool writing = mode > OM_READ;
        const ByteMode how = mode == OM_CREATE ? ByteMode::Create : writing ? ByteMode::Update : ByteMode::Read;
        if (const int error = store->Open(new_filename, how, static_cast<size_t>(std::max(buffer_size, 0)), file)) {
            return writing ? FailOpenForWriting(new_filename, error) : FailOpen(new_filename, error);
        }
    }
    filename = new_filename;
    file_size = info.size;
    file_time = info.time;
    open_mode = mode;
    open_flags = new_open_flags;
    if (mode == OM_PROBE) return 0;

    if (mode != OM_CREATE) {
        if (file_size == 0) {
            FailContents(FormatMsg(Msg::FileIsEmpty, filename));
            Close(CLOSE_FAILED);
            return ERR_CONTENTS;
        }
        tags.clear();
        format_flags = 0;
        ends_early = false;
        if (int error = ReadHeader(open_flags); error < 0) {
            Close(CLOSE_FAILED);
            return error;
        }
        capabilities = GetCapabilities(n_channels).capabilities;
        if (mode < OM_EXTEND) return 0;
    }
    bool ok = PrepareWrite(argument);
    if (mode == OM_CREATE) {
        if (total_samples < 0) total_samples = 0;
        ok = ok && WriteHeader(argument);
    }
    if (ok) return 0;
    Close(mode == OM_CREATE ? CLOSE_FAILED_AND_DELETE : CLOSE_FAILED);
    return ERR_IO;
}

bool FileStream::Close(int close_flags) {
    bool ok = !(close_flags & CLOSE_FAILED);
    if (open_mode == OM_NONE) return ok;

    if (ok && open_mode == OM_EXTEND) ok = Truncate(GetTotalSamples(open_flags)) >= 0;
    if (ok && open_mode == OM_CREATE) ok = FinishWrite();
    LastError first_error = GetLastError();
    ResetState(ok);
    if (!ok) {
        SetLastError(std::move(first_error));
        close_flags |= CLOSE_FAILED;
    }
    const int error = file ? file->Close() : 0;
    if (error && ok) {
        FailWrite(filename, error);
        ok = false;
        close_flags |= CLOSE_FAILED;
    }
    if ((close_flags & CLOSE_FAILED_AND_DELETE) == CLOSE_FAILED_AND_DELETE) store->Remove(filename);
    file.reset();
    filename.clear();
    open_mode = OM_NONE;
    return ok;
}

int64_t FileStream::Write(const float*, int32_t) {
    ORVANE_ASSERT(!"Write is implemented");
    return -1;
}

int64_t FileStream::Truncate(int64_t) {
    ORVANE_ASSERT(!"Truncate is implemented");
    return -1;
}

int32_t FileStream::GetFileSizeLimit(bool& can_be_limited) const {
    can_be_limited = false;
    return 0;
}

std::string FileStream::ReadTags(std::string_view) {
    return {};
}

FormatLimits NullFileStream::GetCapabilities(int32_t) const {
    return {};
}

int32_t NullFileStream::Read(int64_t, float*, int32_t, uint32_t) {
    ORVANE_ASSERT(!"Read is implemented");
    return -1;
}

}  // namespace Tesslib
