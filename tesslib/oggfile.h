// Ogg Vorbis files: read and written whole, passing through 16 bits on the way in. Rates up to 96000.
#pragma once

#include <memory>

#include "tesslib/filestream.h"
#include "tesslib/vorbistags.h"

namespace Tesslib {

// Read may be called from several threads; alternating readers cost a seek each. A chained file (several streams one
// behind the other) is read as one if all have the same rate.
//
// The same samples with the same settings give the same file, however they are cut into blocks.
class OggFile : public FileStream {
public:
    OggFile();
    ~OggFile() override;

    // Choices for every later OM_CREATE. A pair of bitrates that the encoder has no mode for at the format's rate is an
    // assertion failure in Open; ask EncoderTakes before.
    void SetQuality(int32_t tenths);  // -1 to 10, of a variable bitrate; the default is 4
    // Managed bitrates in kbit/s, 0 for no limit.
    void SetBitrate(int32_t nominal, int32_t min_bitrate, int32_t max_bitrate);
    bool EncoderTakes(int32_t samplerate, int32_t n_channels) const;
    void SetOptions(const FormatOptions& options) override;
    void SetTagData(VorbisTags tags) override;

    FormatLimits GetCapabilities(int32_t n_channels) const override;
    int32_t Read(int64_t position, float* buffer, int32_t n_samples, uint32_t flags) override;
    int64_t Write(const float* buffer, int32_t n_samples) override;
    std::string ReadTags(std::string_view filename) override;
    std::vector<std::string> Comments() override;
    bool EndsEarly() override;
    void ReleaseResources() override;
    int32_t BitRate() const override;

protected:
    int ReadHeader(uint32_t open_flags) override;
    bool PrepareWrite(int64_t argument) override;
    bool FinishWrite() override;
    void ResetState(bool ok) override;

private:
    struct Private;
    int OpenDecoder();
    int CheckStreams();
    int FailLibrary(long vorbis_err, const char* function);

    std::unique_ptr<Private> idata;
};

}  // namespace Tesslib
