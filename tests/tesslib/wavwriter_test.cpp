// What WAVFile writes, extends and cuts.
#include <gtest/gtest.h>

#include <filesystem>
#include <random>
#include <string>
#include <vector>

#include "foundation/lasterror.h"
#include "plain_samples.h"
#include "riff_builder.h"
#include "stream_checks.h"
#include "temp_folder.h"
#include "tesslib/wavfile.h"

namespace Tesslib {
namespace {

using namespace OrvaneTest;

std::vector<float> Noise(int pairs, uint32_t seed = 1) {
    std::mt19937 random(seed);
    std::vector<float> values(2 * static_cast<size_t>(pairs));
    for (float& value : values) value = static_cast<float>(random() % 24001) / 10000.0f - 1.2f;
    return values;
}

// The values as they come back from a file of that form.
std::vector<float> ThroughFile(std::vector<float> pairs, int channels, int bits, bool int32) {
    for (size_t i = 0; i < pairs.size(); i += 2) {
        if (channels == 1) pairs[i] = pairs[i + 1] = (pairs[i] + pairs[i + 1]) * 0.5f;
        for (size_t k = i; k < i + 2; ++k) {
            uint8_t bytes[4];
            PlainEncode(pairs[k], bits, false, int32, bytes);
            pairs[k] = PlainDecode(bytes, bits, false, int32);
        }
    }
    return pairs;
}

void WriteAll(FileStream& file, const std::vector<float>& pairs) {
    const int32_t n = static_cast<int32_t>(pairs.size() / 2);
    for (int32_t at = 0, block = 1; at < n; at += block, block = block * 3 % 1009) {
        ASSERT_GT(file.Write(&pairs[2 * static_cast<size_t>(at)], std::min(block, n - at)), 0);
    }
}

std::vector<float> ReadFile(const std::string& path, uint32_t* flags = nullptr) {
    WAVFile file;
    EXPECT_EQ(file.Open(path, OM_READ), 0) << GetLastError().text;
    if (flags) *flags = file.Flags();
    int result = 0;
    return PullAll(file, 700, result);
}

TEST(WAVWriter, EveryFormComesBack) {
    OrvaneTest::TempFolder folder;
    struct Form {
        int bits;
        bool int32;
    };
    for (const Form& form : {Form{16, false}, {24, false}, {32, true}, {32, false}}) {
        for (int channels : {1, 2}) {
            for (uint32_t options : {0u, 1u, 0x10001u, 0x20001u, 0x20000u}) {
                const std::string path = folder / std::to_string(form.bits + channels) + std::to_string(options);
                const std::vector<float> pairs = Noise(2001);
                WAVFile file(options);
                file.SetInt32Samples(form.int32);
                ASSERT_EQ(file.SetSBC(96000, form.bits, channels), 0);
                ASSERT_EQ(file.Open(path, OM_CREATE), 0);
                WriteAll(file, pairs);
                EXPECT_EQ(file.GetTotalSamples(0), 2001);
                ASSERT_TRUE(file.Close());
                ASSERT_EQ(file.Open(path, OM_READ), 0) << GetLastError().text;
                EXPECT_EQ(file.Flags() & FORMAT_INT32, form.int32 ? 1u : 0u);
                EXPECT_EQ((file.Flags() & FORMAT_RF64) != 0, options == 0x20001u);
                EXPECT_EQ(file.BitDepth(), form.bits);
                EXPECT_EQ(file.Channels(), channels);
                int result = 0;
                EXPECT_EQ(PullAll(file, 333, result), ThroughFile(pairs, channels, form.bits, form.int32));
                EXPECT_TRUE(file.Close());
                std::filesystem::remove(path);
            }
        }
    }
}

TEST(WAVWriter, HeadersByteForByte) {
    const std::string fmt16 = Fmt(1, 2, 44100, 16), fmt24_mono = Fmt(1, 1, 44100, 24);
    const std::string junk = Chunk("JUNK", std::string(28, '\0'));
    const std::string data16 = "\xFF\x7F\x01\x80", data24 = "\xFF\xFF\x7F";
    const std::string id3 = Chunk("id3 ", "tag"), list = Chunk("LIST", "INFO");
    struct Case {
        uint32_t options;
        int bits, channels;
        bool tagged;
        std::string bytes;
    };
    const Case cases[] = {
        {0, 16, 2, false, Riff(fmt16 + Chunk("data", data16))},
        {1, 16, 2, false, Riff(junk + fmt16 + Chunk("data", data16))},
        {0, 16, 2, true, Riff(fmt16 + Chunk("data", data16) + id3 + list)},
        // An odd number of bytes is padded, and the padding is no sample.
        {0, 24, 1, false, Riff(fmt24_mono + Chunk("data", data24))},
        {0, 24, 1, true, Riff(fmt24_mono + Chunk("data", data24) + id3 + list)},
        // The first field is the length of the whole file.
        {0x20001, 16, 2, false, RF64(DS64(84, 4, 1), fmt16 + Chunk("data", data16, UINT32_MAX))},
    };
    const float pair[] = {1.0f, -1.0f}, mono_pair[] = {1.0f, 1.0f};
    OrvaneTest::TempFolder folder;
    for (const Case& c : cases) {
        WAVFile file(c.options);
        if (c.tagged) {
            file.tags = {'t', 'a', 'g'};
            file.SetListData({'I', 'N', 'F', 'O'});
        }
        ASSERT_EQ(file.SetSBC(44100, c.bits, c.channels), 0);
        ASSERT_EQ(file.Open(folder / "a.wav", OM_CREATE), 0);
        EXPECT_EQ(file.Write(c.channels == 1 ? mono_pair : pair, 1), c.bits / 8 * c.channels);
        ASSERT_TRUE(file.Close());
        EXPECT_EQ(ReadBytes(folder / "a.wav"), c.bytes) << c.options << " " << c.bits;
    }
}

TEST(WAVWriter, WhatACrashLeavesBehindIsReadToItsEnd) {
    OrvaneTest::TempFolder folder;
    const std::vector<float> pairs = Noise(500);
    for (uint32_t options : {0u, 1u}) {
        WAVFile file(options);
        ASSERT_EQ(file.SetSBC(44100, 16, 2), 0);
        ASSERT_EQ(file.Open(folder / "a.wav", OM_CREATE), 0);
        WriteAll(file, pairs);
        ASSERT_FALSE(file.Close(CLOSE_FAILED));
        EXPECT_EQ(ReadFile(folder / "a.wav"), ThroughFile(pairs, 2, 16, false));
    }
}

// A file of 100 pairs in each form that can be cut, with a chunk behind the samples.
struct Existing {
    std::string name, bytes;
};
std::vector<Existing> ExistingFiles(const std::string& pcm) {
    const std::string fmt = Fmt(1, 2, 44100, 16), tail = Chunk("LIST", "INFO");
    return {{"riff", Riff(fmt + Chunk("data", pcm) + tail)},
            {"junk", Riff(Chunk("JUNK", std::string(28, '\0')) + fmt + Chunk("data", pcm) + tail)},
            {"rf64", RF64(DS64(0, 400, 100), fmt + Chunk("data", pcm, UINT32_MAX) + tail)},
            {"w64", W64(W64Chunk("fmt ", FmtFields(1, 2, 44100, 16)) + W64Chunk("data", pcm) + W64Chunk("tail", "x"))}};
}

std::string Pcm(int pairs) {
    std::string bytes;
    for (int i = 0; i < 2 * pairs; ++i) bytes += LE(static_cast<int16_t>(i * 77));
    return bytes;
}

std::vector<float> FirstPairs(const std::string& pcm, size_t pairs) {
    return ToPairs(FromRaw(pcm.substr(0, 4 * pairs), 2), 2, 16);
}

TEST(WAVWriter, TruncateCutsAndKeepsTheHeaderTrue) {
    OrvaneTest::TempFolder folder;
    const std::string pcm = Pcm(100);
    for (const Existing& existing : ExistingFiles(pcm)) {
        const std::string path = folder.Write(existing.name, existing.bytes);
        WAVFile file;
        ASSERT_EQ(file.Open(path, OM_READWRITE), 0);
        EXPECT_EQ(file.Truncate(100), static_cast<int64_t>(existing.bytes.size()));
        EXPECT_EQ(file.Truncate(5000), static_cast<int64_t>(existing.bytes.size()));
        ASSERT_TRUE(file.Close());
        EXPECT_EQ(ReadBytes(path), existing.bytes) << existing.name << ": nothing to cut";

        ASSERT_EQ(file.Open(path, OM_READWRITE), 0);
        const int64_t new_end = static_cast<int64_t>(existing.bytes.find(pcm)) + 160;
        EXPECT_EQ(file.Truncate(40), new_end) << existing.name;
        EXPECT_EQ(file.GetTotalSamples(0), 40);
        EXPECT_EQ(file.Truncate(70), new_end) << "a second time, to more";
        ASSERT_TRUE(file.Close());
        EXPECT_EQ(static_cast<int64_t>(std::filesystem::file_size(path)), new_end);
        EXPECT_EQ(ReadFile(path), FirstPairs(pcm, 40)) << existing.name;
    }
    // Every field, for one of each.
    const std::string fmt = Fmt(1, 2, 44100, 16), cut = pcm.substr(0, 160);
    EXPECT_EQ(ReadBytes(folder / "riff"), Riff(fmt + Chunk("data", cut)));
    EXPECT_EQ(ReadBytes(folder / "rf64"),
              RF64(DS64(12 + 36 + 24 + 8 + 160, 160, 40), fmt + Chunk("data", cut, UINT32_MAX)));
    EXPECT_EQ(ReadBytes(folder / "w64"), W64(W64Chunk("fmt ", FmtFields(1, 2, 44100, 16)) + W64Chunk("data", cut)));
}

TEST(WAVWriter, ExtendAppendsToTheSamples) {
    OrvaneTest::TempFolder folder;
    const std::string pcm = Pcm(150);
    const std::vector<float> more = FirstPairs(pcm.substr(400), 50);
    for (const Existing& existing : ExistingFiles(pcm.substr(0, 400))) {
        const std::string path = folder.Write(existing.name, existing.bytes);
        WAVFile file(1);
        ASSERT_EQ(file.Open(path, OM_EXTEND), 0) << existing.name;
        ASSERT_TRUE(file.Close());
        EXPECT_EQ(ReadBytes(path), existing.bytes) << existing.name << ": nothing appended, nothing changed";

        ASSERT_EQ(file.Open(path, OM_EXTEND), 0) << existing.name;
        WriteAll(file, more);
        ASSERT_TRUE(file.Close());
        EXPECT_EQ(ReadFile(path), FirstPairs(pcm, 150)) << existing.name;
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

constexpr int64_t kFourGB = int64_t{1} << 32;

TEST(WAVWriter, GrowsPast4GBAsRF64AndOtherwiseStops) {
    OrvaneTest::TempFolder folder;
    const std::string path = folder / "large.wav";
    const std::vector<float> pairs = Noise(300);
    const int64_t skipped = kFourGB / 4 + 10000;
    struct Case {
        const char* how;
        uint32_t options;
        bool extended, rf64;
    };
    for (const Case& c : {Case{"created", 1, false, true}, {"extended", 1, true, true}}) {
        HoleyWAV file(c.options);
        ASSERT_EQ(file.SetSBC(44100, 16, 2), 0);
        ASSERT_EQ(file.Open(path, OM_CREATE), 0);
        WriteAll(file, pairs);
        if (c.extended) {
            ASSERT_TRUE(file.Close());
            ASSERT_EQ(file.Open(path, OM_EXTEND), 0);
        }
        file.Skip(skipped);
        WriteAll(file, pairs);
        ASSERT_TRUE(file.Close()) << GetLastError().text;

        WAVFile reader;
        ASSERT_EQ(reader.Open(path, OM_READ), 0) << c.how << GetLastError().text;
        EXPECT_TRUE(reader.Flags() & FORMAT_RF64) << c.how;
        ASSERT_EQ(reader.GetTotalSamples(0), skipped + 600) << c.how;
        std::vector<float> buffer(600);
        ASSERT_EQ(reader.Read(skipped + 300, buffer.data(), 300, 0), 300);
        EXPECT_EQ(buffer, ThroughFile(pairs, 2, 16, false)) << c.how;
        reader.Close();
        std::filesystem::remove(path);
    }
    bool can_be_limited = false;
    EXPECT_EQ(WAVFile(1).GetFileSizeLimit(can_be_limited), 0);
    EXPECT_EQ(WAVFile(0).GetFileSizeLimit(can_be_limited), 4);
    EXPECT_TRUE(can_be_limited);

    HoleyWAV file(0);
    ASSERT_EQ(file.SetSBC(44100, 16, 2), 0);
    ASSERT_EQ(file.Open(path, OM_CREATE), 0);
    file.Skip(0xFEFFFFFF / 4 - 100);
    EXPECT_GT(file.Write(pairs.data(), 300), 0);
    EXPECT_EQ(file.Write(pairs.data(), 300), ERR_LIMIT);
    EXPECT_EQ(GetLastError().text,
              "File size limit (4 GB) reached for file:\n\n<b>" + path +
                  "</b>\n\nIf you are recording to WAV format, you can check the 'Write RF64 files' "
                  "box in the WAV File Options dialog.");
    EXPECT_TRUE(file.Close());
    WAVFile reader;
    ASSERT_EQ(reader.Open(path, OM_READ), 0);
    EXPECT_EQ(reader.GetTotalSamples(0), 0xFEFFFFFF / 4 + 200);
}

TEST(WAVWriter, ThresholdsOfTheOptions) {
    OrvaneTest::TempFolder folder;
    for (uint32_t options : {0x10001u, 1u}) {
        HoleyWAV file(options);
        ASSERT_EQ(file.SetSBC(44100, 16, 2), 0);
        ASSERT_EQ(file.Open(folder / "a.wav", OM_CREATE), 0);
        file.Skip(0x7F000000 / 4);
        WriteAll(file, Noise(3));
        ASSERT_TRUE(file.Close());
        uint32_t flags = 0;
        WAVFile reader;
        ASSERT_EQ(reader.Open(folder / "a.wav", OM_READ), 0);
        flags = reader.Flags();
        EXPECT_EQ((flags & FORMAT_RF64) != 0, options == 0x10001u);
        EXPECT_EQ(reader.GetTotalSamples(0), 0x7F000000 / 4 + 3);
    }
}

TEST(WAVWriter, MisuseIsAFaultOfOurs) {
    OrvaneTest::TempFolder folder;
    std::vector<float> buffer(20);
    WAVFile file;
    EXPECT_DEATH(file.Open(folder / "a.wav", OM_CREATE), "samplerate != 0");
    ASSERT_EQ(file.SetSBC(44100, 16, 2), 0);
    ASSERT_EQ(file.Open(folder / "a.wav", OM_CREATE), 0);
    EXPECT_DEATH(file.Read(0, buffer.data(), 10, 0), "open_mode == OM_READ");
    EXPECT_DEATH(file.Truncate(0), "open_mode == OM_READWRITE");
    EXPECT_DEATH(file.SetListData({}), "open_mode == OM_NONE");
    EXPECT_DEATH(file.Open(folder / "b.wav", OM_READ), "open_mode == OM_NONE");
    file.Write(buffer.data(), 10);
    ASSERT_TRUE(file.Close());
    ASSERT_EQ(file.Open(folder / "a.wav", OM_READ), 0);
    EXPECT_DEATH(file.Write(buffer.data(), 10), "open_mode >= OM_EXTEND");
}

}  // namespace
}  // namespace Tesslib
