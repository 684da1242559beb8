// AIFF and AIFF-C files without compression.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "tesslib/filestream.h"

namespace Tesslib {

// Written with the samples at 4096 bytes (a little more for 32 bits), so that blocks stay aligned with the disk's.
// Samples that the file does not have, whatever its header says, do not count in the total. Extending or cutting a
// file drops what stands behind its samples.
class AIFFile : public PCMFileStream {
public:
    AIFFile();
    ~AIFFile() override;

    int32_t GetFileSizeLimit(bool& can_be_limited) const override;
    std::string ReadTags(std::string_view tagged_file) override;
    // Its chunks of text and the texts of its ID3v2 tag, named by their four letters.
    std::vector<std::string> Comments() override;

protected:
    int ReadHeader(uint32_t open_flags) override;
    bool WriteHeader(int64_t argument) override;
    bool FinishWrite() override;
    int WriteSizes(int64_t new_end) override;
    void ResetState(bool ok) override;

private:
    int WriteFileHeader(int64_t length);

    int64_t common_offset = 0;  // of the payload of "COMM"
};

}  // namespace Tesslib
