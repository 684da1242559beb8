// The bases of every audio file class: opening, closing, limits and formats, and the plain PCM files.
#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "foundation/bytestream.h"
#include "foundation/criticalsection.h"
#include "foundation/platform.h"
#include "tesslib/audiostream.h"
#include "tesslib/samples.h"
#include "tesslib/vorbistags.h"

namespace Tesslib {

// The name of the private frame, chunk or comment whose text says how a file was made.
inline constexpr std::string_view kPrivateTag = "ORVT";

enum OpenMode : int {
    OM_NONE = 0,
    OM_PROBE = 1,  // open for the reading of tags only: the header is not read
    OM_READ = 2,
    OM_READWRITE = 3,
    OM_EXTEND = 4,  // an existing file, to append samples
    OM_CREATE = 5,
};

enum Capabilities : uint32_t {
    CAP_PCM_WRITE = 0x0001,  // Write takes float pairs
    CAP_READ = 0x0002,       // can be read as a PCMStream
    CAP_EXTEND = 0x0004,
    CAP_RECORD = 0x0008,  // can be recorded to directly
    CAP_TRUNCATE = 0x0010,
    CAP_DSD = 0x0020,
    CAP_20_BIT = 0x0040,
    CAP_BASE_OPENS = 0x0080,    // the base opens existing files with its own `file`
    CAP_BASE_CREATES = 0x0100,  // the base creates the file in OM_CREATE
};

enum CloseFlags : int {
    CLOSE_FINISH = 0,
    CLOSE_FAILED = 1,  // skip finishing
    CLOSE_FAILED_AND_DELETE = 3,
};

enum FormatFlags : uint32_t {
    FORMAT_INT32 = 1,  // 32-bit samples are integers rather than floats
    FORMAT_RF64 = 2,
    FORMAT_W64 = 4,
};

// The rates and depths a class can hold.
struct FormatLimits {
    uint32_t capabilities = 0;
    int32_t min_samplerate = 16000;
    int32_t max_samplerate = INT32_MAX;
    int32_t max_bit_depth = 32;
};

// The multiple of the DSD carrier that a rate of 16-bit carrier words is; 0 for a rate that is none.
constexpr int32_t convert_dop_rate(int32_t samplerate) {
    return samplerate % 176400 == 0 ? samplerate / 176400 : 0;
}

// Checks a file's depth and channels the way every reader must; 0, or ERR_CONTENTS with the message for `filename`.
int ValidateFormat(int32_t bit_depth, int32_t n_channels, bool allow_20_bit, std::string_view filename);

// What the user can choose for new files beside rate and depth; a class takes what its format has.
struct FormatOptions {
    int32_t level = 0;         // see LevelInfo of the format
    uint32_t wav_options = 0;  // WAVOptions
};

// An audio file. Open once, Close once, then it may be opened again. Mono files are expanded on reading: Read always
// gives pairs. A file's own count of channels, depth and order of bytes exist only inside its class.
class FileStream : public PCMStream {
public:
    FileStream() : PCMStream(nullptr, 0) {}
    ~FileStream() override;

    virtual FormatLimits GetCapabilities(int32_t n_channels) const = 0;
    // Bends a wanted format to one that the class can write; 0 asks for the usual (44100, 16).
    virtual void AdjustFormat(int32_t& samplerate, int32_t& bit_depth, int32_t n_channels) const;
    // Fixes the format before OM_CREATE. A rate or depth outside the limits is an assertion failure; a depth or count
    // of channels that no class can write is ERR_CONTENTS.
    virtual int SetSBC(int32_t samplerate, int32_t bit_depth, int32_t n_channels);

    // Choices for every later OM_CREATE. Not while a file is open.
    virtual void SetOptions(const FormatOptions& /*options*/) {}
    // Whether 32-bit samples are written as integers (floats otherwise), where the format has both. Before OM_CREATE;
    // lasts until Close.
    virtual void SetInt32Samples(bool /*int32*/) {}
    // What goes into the next OM_CREATE, as far as the format has a place for it.
    virtual void SetTagData(VorbisTags new_tags) = 0;

    // Where its files are; the disk, until another place is given. It must outlive this. Not while a file is open.
    void SetStore(Foundation::ByteStore& where);

    // 0 or a StreamError. `buffer_size` 0 is the library's default. `argument` goes to PrepareWrite and WriteHeader.
    int Open(std::string_view filename, OpenMode mode, int32_t buffer_size = 0, uint32_t open_flags = 0,
             int64_t argument = 0);
    // True if nothing failed, now or (by the flags) before. A failure keeps the first error's text.
    bool Close(int close_flags = CLOSE_FINISH);

    // Appends pairs; the number of bytes written, or a StreamError (ERR_LIMIT at the size limit).
    virtual int64_t Write(const float* buffer, int32_t n_samples);
    // Cuts the file to `total_samples`; the new length of the file in bytes, or below 0.
    virtual int64_t Truncate(int64_t total_samples);
    // The limit in GB, 0 for none; `can_be_limited` says whether the user's options decide it.
    virtual int32_t GetFileSizeLimit(bool& can_be_limited) const;
    // The text of the program's private tag, empty without one. Self-contained: opens the file itself, on a closed
    // object.
    virtual std::string ReadTags(std::string_view filename);

    // What any program has noted in a file open for reading, as "NAME=value" in UTF-8, but for the private tag and
    // pictures. Of formats that have such comments.
    virtual std::vector<std::string> Comments() { return {}; }
    // True for a file open for reading that has less audio than it promises, as after a copy that was interrupted.
    // Only some formats can tell.
    virtual bool EndsEarly() { return ends_early; }

    int64_t GetTotalSamples(uint32_t /*flags*/) override { return total_samples; }
    int32_t GetSampleRate(uint32_t /*flags*/) override { return samplerate; }

    const std::string& Filename() const { return filename; }
    int32_t BitDepth() const { return bit_depth; }
    int32_t Channels() const { return n_channels; }
    uint32_t Flags() const { return format_flags; }
    int64_t FileSize() const { return file_size; }
    Foundation::FileTime Time() const { return file_time; }
    OpenMode Mode() const { return open_mode; }
    virtual int32_t BitRate() const { return 0; }       // kbit/s, for compressed files
    virtual int32_t SampleFormat() const { return 0; }  // not 0 for DSD
    int32_t file_format = 0;                            // see fileformats.h

    std::vector<uint8_t> tags;  // a tag block to be written, in the class's own form; or as read

protected:
    virtual int ReadHeader(uint32_t /*open_flags*/) { return 0; }
    virtual bool PrepareWrite(int64_t /*argument*/) { return true; }
    virtual bool WriteHeader(int64_t /*argument*/) { return true; }
    virtual bool FinishWrite() { return true; }
    virtual void ResetState(bool /*ok*/) {}

    std::string filename;
    Foundation::ByteStore* store = &Foundation::DiskStore();
    std::unique_ptr<Foundation::ByteStream> file;  // null while its resources are released
    int64_t file_size = 0;
    int64_t total_samples = -1;  // -1: not known
    Foundation::FileTime file_time = 0;
    int32_t bit_depth = 0;
    uint32_t format_flags = 0;
    int32_t n_channels = 2;
    bool ends_early = false;
    OpenMode open_mode = OM_NONE;
    uint32_t open_flags = 0;
    uint32_t capabilities = 0;
};

// Files that hold plain samples. Read may be called from several threads: a lock makes it safe, and alternating readers
// cost a seek each. A mono file is written the mean of each pair.
class PCMFileStream : public FileStream {
public:
    void SetInt32Samples(bool int32) override;
    // The private tag goes into `tags` as an ID3v2 block.
    void SetTagData(VorbisTags new_tags) override;

    FormatLimits GetCapabilities(int32_t n_channels) const override;
    int32_t Read(int64_t position, float* buffer, int32_t n_samples, uint32_t flags) override;
    int64_t Write(const float* buffer, int32_t n_samples) override;
    // In OM_READWRITE and OM_EXTEND; a count that is not lower changes nothing. What stands behind the data is dropped.
    int64_t Truncate(int64_t new_total_samples) override;

protected:
    // Brings the header of an existing file in line with `data_bytes` and `total_samples`. 0 or the system's error
    // number.
    virtual int WriteSizes(int64_t /*new_end*/) { return 0; }
    virtual void DecodeSamples(const uint8_t* bytes, int32_t n_values, float* out);
    virtual int32_t EncodeSamples(const float* in, int32_t n_values, uint8_t* out);
    bool PrepareWrite(int64_t argument) override;  // OM_EXTEND: goes to the end of the data
    void ResetState(bool ok) override;
    int32_t FrameSize() const;  // bytes of one position
    // Stores where the samples stand and how many there are, held to what the file really has.
    void SetData(int64_t offset, int64_t bytes, int64_t samples);
    bool Int32Samples() const { return (format_flags & FORMAT_INT32) != 0; }

    int64_t data_bytes = 0;
    int64_t data_offset = 0;
    Foundation::CriticalSection cs;
    int64_t next_position = -1;  // -1: the file position is not known
    std::vector<uint8_t> scratch;
    std::vector<float> mono_scratch;
    std::unique_ptr<SampleDecoder> decoder;
    std::unique_ptr<SampleEncoder> encoder;
    uint32_t max_file_size = 0;  // 0: no limit
    bool big_endian = false;
    bool little_endian_override = false;
    bool extended = false;  // samples have been appended since the file was opened
};

// Stands where a file is required and none exists: every operation on its samples is an assertion failure.
class NullFileStream : public FileStream {
public:
    void SetTagData(VorbisTags /*new_tags*/) override {}
    FormatLimits GetCapabilities(int32_t n_channels) const override;
    int32_t Read(int64_t position, float* buffer, int32_t n_samples, uint32_t flags) override;
};

}  // namespace Tesslib
