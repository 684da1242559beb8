// WAV files: read as RIFF, RF64 and Wave64, written as RIFF and, where they grow past 4 GB, as RF64.
#pragma once

#include <array>
#include <string>
#include <string_view>
#include <vector>

#include "tesslib/filestream.h"

namespace Tesslib {

enum WAVOptions : uint32_t {
    WAV_RF64 = 0x00001,          // the file becomes RF64 if it needs to; without it 4 GB is the limit
    WAV_RF64_AT_2_GB = 0x10000,  // for readers that take the sizes of RIFF as signed
    WAV_RF64_ALWAYS = 0x20000,
};

// A file in the making has a header whose data size is 0, and such a file is read to its end: so what a crash leaves
// behind can be opened. Samples that the file does not have, whatever its header says, do not count in the total.
// Extending or cutting a file drops what stands behind its samples.
class WAVFile : public PCMFileStream {
public:
    explicit WAVFile(uint32_t options = 0);
    ~WAVFile() override;

    void SetOptions(const FormatOptions& options) override;
    // The payload of a "LIST" chunk to be written behind the samples. Not while the file is open.
    void SetListData(std::vector<uint8_t> data);

    int32_t GetFileSizeLimit(bool& can_be_limited) const override;
    std::string ReadTags(std::string_view tagged_file) override;
    // The texts of its INFO lists and its ID3v2 tag, named by their four letters.
    std::vector<std::string> Comments() override;

protected:
    int ReadHeader(uint32_t open_flags) override;
    bool PrepareWrite(int64_t argument) override;
    bool WriteHeader(int64_t argument) override;
    bool FinishWrite() override;
    int WriteSizes(int64_t new_end) override;
    void ResetState(bool ok) override;

private:
    int ReadFormat(const std::vector<uint8_t>& fmt);
    int WriteFileHeader(int64_t length, bool rf64);
    int64_t Threshold() const;
    std::vector<uint8_t> DS64Body(int64_t length) const;

    uint32_t options;
    std::vector<uint8_t> list_data;
    std::array<uint8_t, 28> ds64_body{};
    int64_t ds64_offset = 0;         // of the body
    bool has_room_for_ds64 = false;  // a RIFF file that can become RF64 where it stands
};

}  // namespace Tesslib
