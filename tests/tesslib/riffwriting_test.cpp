// WAV and AIFF files that are written, extended and cut.
#include <gtest/gtest.h>

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "foundation/lasterror.h"
#include "plain_samples.h"
#include "stream_checks.h"
#include "temp_folder.h"
#include "tesslib/aiffile.h"
#include "tesslib/wavfile.h"

namespace Tesslib {
namespace {

using namespace OrvaneTest;
using OrvaneTest::TempFolder;  // and not the function of that name

std::vector<float> Noise(int pairs) {
    std::mt19937 random(1);
    std::vector<float> values(2 * static_cast<size_t>(pairs));
    for (float& value : values) value = static_cast<float>(random() % 24001) / 10000.0f - 1.2f;
    return values;
}

// The values as little-endian bytes of that form.
std::string Encoded(const std::vector<float>& pairs, int channels, int bits, bool int32) {
    std::string bytes;
    for (size_t i = 0; i < pairs.size(); i += channels == 1 ? 2 : 1) {
        uint8_t value[4];
        PlainEncode(channels == 1 ? (pairs[i] + pairs[i + 1]) * 0.5f : pairs[i], bits, false, int32, value);
        bytes.append(reinterpret_cast<const char*>(value), static_cast<size_t>(bits / 8));
    }
    return bytes;
}

// The values as they come back from such a file.
std::vector<float> ThroughFile(const std::vector<float>& pairs, int channels, int bits, bool int32) {
    const std::string bytes = Encoded(pairs, channels, bits, int32);
    std::vector<float> back;
    for (size_t i = 0; i < bytes.size(); i += static_cast<size_t>(bits / 8)) {
        back.insert(back.end(), channels == 1 ? 2 : 1,
                    PlainDecode(reinterpret_cast<const uint8_t*>(&bytes[i]), bits, false, int32));
    }
    return back;
}

std::unique_ptr<PCMFileStream> Writer(bool aiff, uint32_t options = 0) {
    if (aiff) return std::make_unique<AIFFile>();
    return std::make_unique<WAVFile>(options);
}

std::vector<float> FirstPairs(const std::vector<float>& pairs, int n) {
    return {pairs.begin(), pairs.begin() + 2 * n};
}

TEST(RiffWriting, EveryFormComesBackIsExtendedAndCut) {
    TempFolder folder;
    const std::vector<float> pairs = Noise(1500);
    struct Form {
        bool aiff;
        int bits, rate;
        bool int32 = false;
        uint32_t options = 0;
    };
    for (const Form& form : {Form{false, 16, 16000},
                             {false, 16, 44100, false, 0x20000},
                             {false, 24, 96000, false, 1},
                             {false, 24, 192000, false, 0x20001},
                             {false, 32, 48000, true},
                             {false, 32, 44100, false, 0x10001},
                             {true, 16, 44100},
                             {true, 24, 192000},
                             {true, 32, 96000, true},
                             {true, 32, 16000}}) {
        for (int channels : {1, 2}) {
            SCOPED_TRACE(std::to_string(form.bits) + (form.aiff ? " aiff " : " ") + std::to_string(form.options));
            const std::string path = folder / (form.aiff ? "a.aiff" : "a.wav");
            const std::vector<float> expected = ThroughFile(pairs, channels, form.bits, form.int32);
            std::unique_ptr<PCMFileStream> file = Writer(form.aiff, form.options);
            file->SetInt32Samples(form.int32);
            file->tags = {'I', 'D', '3', 3, 0, 0, 0, 0, 0, 1, 0};
            WriteFile(*file, path, {form.bits, form.rate, channels}, FirstPairs(pairs, 1001), 333);

            // Other programs read the samples from it, to the last bit.
            const std::string wanted = Encoded(FirstPairs(pairs, 1001), channels, form.bits, form.int32);
            const bool is_float = form.bits == 32 && !form.int32;
            const std::string kind = (is_float ? "f" : "s") + std::to_string(form.bits) + "le", to = folder / "raw";
            if (HaveTools({"ffmpeg"})) {
                EXPECT_EQ(Shell("ffmpeg -v error -y -i " + path + " -f " + kind + " -c:a pcm_" + kind + " " + to), 0);
                EXPECT_TRUE(ReadBytes(to) == wanted) << "by ffmpeg";
            }
            // 32 bits in AIFF-C are not known to sox, and it keeps no floats.
            if (HaveTools({"sox"}) && !(form.aiff && form.bits == 32) && !is_float) {
                EXPECT_EQ(Shell("sox -D " + path + " -t raw -L " + to), 0);
                EXPECT_TRUE(ReadBytes(to) == wanted) << "by sox";
            }

            ASSERT_EQ(file->Open(path, OM_EXTEND), 0);
            ASSERT_GT(file->Write(&pairs[2 * 1001], 499), 0);
            ASSERT_TRUE(file->Close());
            ASSERT_EQ(file->Open(path, OM_READ), 0) << GetLastError().text;
            EXPECT_EQ(file->Flags(), (form.int32 ? 1u : 0) + (form.options == 0x20001 ? 2u : 0));
            EXPECT_EQ(file->GetSampleRate(0), form.rate);
            EXPECT_EQ(ReadWhole(*file), expected);
            ASSERT_TRUE(file->Close());

            ASSERT_EQ(file->Open(path, OM_READWRITE), 0);
            const int64_t whole = file->FileSize();
            EXPECT_EQ(file->Truncate(1500), whole);
            const int64_t cut = whole - 1377 * channels * form.bits / 8;
            EXPECT_EQ(file->Truncate(123), cut);
            EXPECT_EQ(file->Truncate(500), cut) << "a second time, to more";
            ASSERT_TRUE(file->Close());
            EXPECT_EQ(static_cast<int64_t>(std::filesystem::file_size(path)), cut);
            ASSERT_EQ(file->Open(path, OM_READ), 0);
            EXPECT_EQ(ReadWhole(*file), FirstPairs(expected, 123));
        }
    }
}

TEST(RiffWriting, WhatACrashLeavesBehindIsReadToItsEnd) {
    TempFolder folder;
    const std::vector<float> pairs = Noise(500);
    for (uint32_t options : {0u, 1u}) {
        WAVFile file(options);
        ASSERT_EQ(file.SetSBC(44100, 16, 2), 0);
        ASSERT_EQ(file.Open(folder / "a.wav", OM_CREATE), 0);
        ASSERT_GT(file.Write(pairs.data(), 500), 0);
        ASSERT_FALSE(file.Close(CLOSE_FAILED));
        ASSERT_EQ(file.Open(folder / "a.wav", OM_READ), 0);
        EXPECT_EQ(ReadWhole(file), ThroughFile(pairs, 2, 16, false));
    }
}

// Lets a file grow without the disk noticing.
class HoleyWAV : public WAVFile {
public:
    using WAVFile::WAVFile;
    void Skip(int64_t pairs) {
        ASSERT_EQ(fseeko(file, pairs * FrameSize(), SEEK_CUR), 0);
        data_bytes += pairs * FrameSize();
        total_samples += pairs;
    }
};

TEST(RiffWriting, GrowsPast4GBAsRF64AndOtherwiseStops) {
    TempFolder folder;
    const std::string path = folder / "large.wav";
    const std::vector<float> pairs = Noise(300);
    constexpr int64_t kFourGB = (int64_t{1} << 32) / 4;
    struct Case {
        uint32_t options;
        bool extended;
        int64_t skipped;
        bool rf64;
    };
    for (const Case& c : {Case{1, false, kFourGB, true},
                          {1, true, kFourGB, true},
                          {1, false, 0x7F000000 / 4, false},
                          {0x10001, false, 0x7F000000 / 4, true}}) {
        HoleyWAV file(c.options);
        ASSERT_EQ(file.SetSBC(44100, 16, 2), 0);
        ASSERT_EQ(file.Open(path, OM_CREATE), 0);
        ASSERT_GT(file.Write(pairs.data(), 300), 0);
        if (c.extended) {
            ASSERT_TRUE(file.Close());
            ASSERT_EQ(file.Open(path, OM_EXTEND), 0);
        }
        file.Skip(c.skipped);
        ASSERT_GT(file.Write(pairs.data(), 300), 0);
        ASSERT_TRUE(file.Close()) << GetLastError().text;

        ASSERT_EQ(file.Open(path, OM_READ), 0) << GetLastError().text;
        EXPECT_EQ((file.Flags() & FORMAT_RF64) != 0, c.rf64);
        ASSERT_EQ(file.GetTotalSamples(0), c.skipped + 600);
        std::vector<float> buffer(600);
        ASSERT_EQ(file.Read(c.skipped + 300, buffer.data(), 300, 0), 300);
        EXPECT_EQ(buffer, ThroughFile(pairs, 2, 16, false));
    }
    HoleyWAV file(0);
    ASSERT_EQ(file.SetSBC(44100, 16, 2), 0);
    ASSERT_EQ(file.Open(path, OM_CREATE), 0);
    file.Skip(0xFEFFFFFF / 4 - 100);
    EXPECT_GT(file.Write(pairs.data(), 300), 0);
    EXPECT_EQ(file.Write(pairs.data(), 300), ERR_LIMIT);
    EXPECT_TRUE(file.Close());
    ASSERT_EQ(file.Open(path, OM_READ), 0);
    EXPECT_EQ(file.GetTotalSamples(0), 0xFEFFFFFF / 4 + 200);
}

}  // namespace
}  // namespace Tesslib
