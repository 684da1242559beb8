// FLAC files: lossless, 16, 20 or 24 bits, rates up to 384000.
#pragma once

#include <memory>

#include "tesslib/filestream.h"
#include "tesslib/vorbistags.h"

namespace Tesslib {

// Reads, writes, and cuts back. A finished file cannot be extended (its capabilities lack CAP_EXTEND): the check sum in
// front covers every sample. Read may be called from several threads; alternating readers cost a seek each.
//
// The argument of Open in OM_CREATE is the expected number of samples, 0 if it is not known. It goes into the front of
// the file, so that a file cut short by a crash still opens; a finished file always holds the true number.
class FLACFile : public FileStream {
public:
    FLACFile();
    ~FLACFile() override;

    void SetCompressionLevel(int level);  // 0 is the fastest, 8 the smallest, 5 the default; for every later OM_CREATE
    void SetOptions(const FormatOptions& options) override;
    void SetTagData(VorbisTags tags) override;

    FormatLimits GetCapabilities(int32_t n_channels) const override;
    int32_t Read(int64_t position, float* buffer, int32_t n_samples, uint32_t flags) override;
    int64_t Write(const float* buffer, int32_t n_samples) override;
    // On a file open for reading, which afterwards is open in OM_READWRITE. Whole blocks stay in the file: the last may
    // hold a few samples more than the new total.
    int64_t Truncate(int64_t new_total_samples) override;
    std::string ReadTags(std::string_view filename) override;
    std::vector<std::string> Comments() override;
    void ReleaseResources() override;

protected:
    int ReadHeader(uint32_t open_flags) override;
    bool PrepareWrite(int64_t argument) override;
    bool FinishWrite() override;
    void ResetState(bool ok) override;

private:
    struct Private;
    int PrepareRead();
    int32_t ReadAt(int64_t position, float* buffer, int32_t n_samples, int attempts);
    int64_t FindCut(int64_t new_total_samples);
    int SetStoredTotal(int64_t new_total_samples);

    std::unique_ptr<Private> idata;
};

}  // namespace Tesslib
