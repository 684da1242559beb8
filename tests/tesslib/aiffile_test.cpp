#include "tesslib/aiffile.h"

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

namespace Tesslib {
namespace {

using namespace OrvaneTest;
using namespace std::string_literals;

// Samples of `bits` in either byte order, and what they are as pairs.
std::string Samples(int n, int bits, bool big_endian, bool as_float = false) {
    std::string bytes;
    for (int i = 0; i < n; ++i) {
        const int32_t value = i * 7654321;
        std::string sample = LE(value >> (32 - bits)).substr(0, static_cast<size_t>(bits / 8));
        if (as_float) {
            const float number = static_cast<float>(i) / 1000.0f - 0.5f;
            sample.assign(reinterpret_cast<const char*>(&number), 4);
        }
        bytes += big_endian ? std::string(sample.rbegin(), sample.rend()) : sample;
    }
    return bytes;
}

std::vector<float> Decoded(const std::string& bytes, int channels, int bits, bool big_endian, bool int32) {
    std::vector<float> pairs;
    for (size_t i = 0; i < bytes.size(); i += static_cast<size_t>(bits / 8)) {
        const float value = PlainDecode(reinterpret_cast<const uint8_t*>(&bytes[i]), bits, big_endian, int32);
        pairs.insert(pairs.end(), channels == 1 ? 2 : 1, value);
    }
    return pairs;
}

TEST(AIFFile, ReadsWhatOthersWrite) {
    const std::string be16 = Samples(60, 16, true), be24 = Samples(60, 24, true), le16 = Samples(60, 16, false);
    const std::string be32 = Samples(60, 32, true), bef = Samples(60, 32, true, true),
                      lef = Samples(60, 32, false, true);
    const std::vector<float> pairs16 = Decoded(be16, 2, 16, true, false);
    const std::string odd = BigChunk("ANNO", "odd");
    struct Good {
        const char* name;
        std::string bytes;
        int channels, rate, bits;
        uint32_t flags;
        std::vector<float> pairs;
    };
    const Good files[] = {
        {"16", Form("AIFF", Comm(2, 30, 16) + Ssnd(be16)), 2, 44100, 16, 0, pairs16},
        {"24-mono", Form("AIFF", Comm(1, 60, 24) + Ssnd(be24)), 1, 44100, 24, 0, Decoded(be24, 1, 24, true, false)},
        {"32", Form("AIFF", Comm(2, 30, 32) + Ssnd(be32)), 2, 44100, 32, FORMAT_INT32,
         Decoded(be32, 2, 32, true, true)},
        {"none", Form("AIFC", Comm(2, 30, 16, "NONE") + Ssnd(be16)), 2, 44100, 16, 0, pairs16},
        {"sowt", Form("AIFC", Comm(2, 30, 16, "sowt") + Ssnd(le16)), 2, 44100, 16, 0,
         Decoded(le16, 2, 16, false, false)},
        {"fl32", Form("AIFC", Comm(2, 30, 32, "fl32") + Ssnd(bef)), 2, 44100, 32, 0, Decoded(bef, 2, 32, true, false)},
        {"23lf", Form("AIFC", Comm(2, 30, 32, "23lf") + Ssnd(lef)), 2, 44100, 32, 0, Decoded(lef, 2, 32, false, false)},
        {"unknown-compression", Form("AIFC", Comm(2, 30, 16, "what") + Ssnd(be16)), 2, 44100, 16, 0, pairs16},
        {"named-compression", Form("AIFC", Comm(2, 30, 16, "sowt\x0bno compress"s) + Ssnd(le16)), 2, 44100, 16, 0,
         Decoded(le16, 2, 16, false, false)},
        {"compression-of-aiff-is-none", Form("AIFF", Comm(2, 30, 16, "sowt") + Ssnd(be16)), 2, 44100, 16, 0, pairs16},
        {"sound-first", Form("AIFF", odd + Ssnd(be16) + odd + Comm(2, 30, 16)), 2, 44100, 16, 0, pairs16},
        {"count-below-the-data", Form("AIFF", Comm(2, 10, 16) + Ssnd(be16)), 2, 44100, 16, 0,
         Decoded(be16.substr(0, 40), 2, 16, true, false)},
        {"count-beyond-the-file", Form("AIFF", Comm(2, 0xFFFFFFFF, 16) + Ssnd(be16, 0xFFFFFFF0)), 2, 44100, 16, 0,
         pairs16},
        {"zero-sound-size", Form("AIFF", Comm(2, 30, 16) + Ssnd(be16, 0)), 2, 44100, 16, 0, pairs16},
        {"96000", Form("AIFF", Comm(2, 30, 16, "", "\x40\x0F\xBB\x80\0\0\0\0\0\0"s) + Ssnd(be16)), 2, 96000, 16, 0,
         pairs16},
        {"fraction", Form("AIFF", Comm(2, 30, 16, "", "\x40\x0D\xAD\x9C\x80\0\0\0\0\0"s) + Ssnd(be16)), 2, 22222, 16, 0,
         pairs16},
        {"below-one", Form("AIFF", Comm(2, 30, 16, "", "\x3F\x00\xBB\x80\0\0\0\0\0\0"s) + Ssnd(be16)), 2, 1, 16, 0,
         pairs16},
        {"enormous", Form("AIFF", Comm(2, 30, 16, "", "\x41\x00\xBB\x80\0\0\0\0\0\0"s) + Ssnd(be16)), 2, 0x4000000, 16,
         0, pairs16},
        {"large", Form("AIFF", Comm(2, 30, 16, "", "\x40\x1D\xBB\x80\0\0\0\0\0\0"s) + Ssnd(be16)), 2, 800000000, 16, 0,
         pairs16},
    };
    OrvaneTest::TempFolder folder;
    for (const Good& good : files) {
        AIFFile file;
        ASSERT_EQ(file.Open(folder.Write(good.name, good.bytes), OM_READ), 0) << good.name << GetLastError().text;
        EXPECT_EQ(file.Channels(), good.channels) << good.name;
        EXPECT_EQ(file.GetSampleRate(0), good.rate) << good.name;
        EXPECT_EQ(file.BitDepth(), good.bits) << good.name;
        EXPECT_EQ(file.Flags(), good.flags) << good.name;
        EXPECT_EQ(file.GetTotalSamples(0), static_cast<int64_t>(good.pairs.size() / 2)) << good.name;
        int result = 0;
        for (int32_t block : {1, 7, 1000}) EXPECT_EQ(PullAll(file, block, result), good.pairs) << good.name;
    }
}

TEST(AIFFile, RefusesWhatItCannotReadAndSaysWhy) {
    const std::string sound = Ssnd(Samples(60, 16, true));
    struct Bad {
        const char* name;
        std::string bytes;
        std::string message;
    };
    const std::string unsupported = "Unrecognised or unsupported RIFF / AIFF chunk in file:";
    OrvaneTest::TempFolder folder;
    for (const Bad& bad :
         {Bad{"eleven-bytes", Form("AIFF", "").substr(0, 11), unsupported},
          {"riff", "RIFF" + Form("AIFF", "").substr(4), unsupported},
          {"other-form", Form("8SVX", Comm(2, 30, 16) + sound), unsupported},
          {"16-bit-floats", Form("AIFC", Comm(2, 30, 16, "fl32") + sound), unsupported},
          {"negative-rate", Form("AIFF", Comm(2, 30, 16, "", "\xC0\x0E\xAC\x44\0\0\0\0\0\0"s) + sound), unsupported},
          {"8-bits", Form("AIFF", Comm(2, 30, 8) + sound), "Unsupported bit depth (8) in file:"},
          {"6-channels", Form("AIFF", Comm(6, 10, 16) + sound), "Unsupported channel count (6) in file:"},
          {"no-comm", Form("AIFF", sound), "Bad or missing chunk 'COMM' in file:"},
          {"no-sound", Form("AIFF", Comm(2, 30, 16)), "Bad or missing chunk 'SSND' in file:"},
          {"sound-cut-off", Form("AIFF", Comm(2, 30, 16) + sound).substr(0, 52), "Unexpected end of file in file:"}}) {
        const std::string path = folder.Write(bad.name, bad.bytes);
        AIFFile file;
        EXPECT_EQ(file.Open(path, OM_READ), ERR_CONTENTS) << bad.name;
        EXPECT_EQ(GetLastError().text.rfind(bad.message + "\n\n<b>" + path + "</b>", 0), 0u) << GetLastError().text;
    }
}

TEST(AIFFile, SurvivesTruncationAndFlippedBytes) {
    OrvaneTest::TempFolder folder;
    std::mt19937 random(2);
    const std::string whole =
        Form("AIFC", Comm(2, 30, 16, "sowt") + BigChunk("ANNO", "odd") + Ssnd(Samples(60, 16, false)) +
                         BigChunk("ID3 ", Id3("ORVT", "\x03text")));
    for (int i = 0; i < 2000; ++i) {
        std::string damaged = whole.substr(0, i < 200 ? static_cast<size_t>(i) : std::string::npos);
        if (i >= 200) damaged[random() % damaged.size()] = static_cast<char>(random());
        const std::string path = folder.Write("damaged.aiff", damaged);
        AIFFile file;
        if (file.Open(path, OM_READ) == 0) {
            ASSERT_LE(file.GetTotalSamples(0) * file.Channels() * file.BitDepth() / 8, file.FileSize()) << i;
            int result = 0;
            PullAll(file, 64, result);
            ASSERT_EQ(result, 0);
        }
        file.Close();
        file.ReadTags(path);
        std::filesystem::remove(path);
    }
}

std::vector<float> Noise(int pairs) {
    std::mt19937 random(4);
    std::vector<float> values(2 * static_cast<size_t>(pairs));
    for (float& value : values) value = static_cast<float>(random() % 24001) / 10000.0f - 1.2f;
    return values;
}

std::vector<float> ThroughFile(std::vector<float> pairs, int bits, bool int32) {
    for (float& value : pairs) {
        uint8_t bytes[4];
        PlainEncode(value, bits, true, int32, bytes);
        value = PlainDecode(bytes, bits, true, int32);
    }
    return pairs;
}

TEST(AIFFile, WritesExtendsAndCutsEveryForm) {
    OrvaneTest::TempFolder folder;
    struct Form {
        int bits;
        bool int32;
        const char* type;
        const char* compression;
        size_t data_offset;
    };
    for (const Form& form : {Form{16, false, "AIFF", "", 4096},
                             {24, false, "AIFF", "", 4096},
                             {32, true, "AIFC", "in32", 4100},
                             {32, false, "AIFC", "fl32", 4100}}) {
        const std::string path = folder / form.type + std::to_string(form.bits) + form.compression;
        const std::vector<float> pairs = Noise(1001), expected = ThroughFile(pairs, form.bits, form.int32);
        AIFFile file;
        file.tags = {'t', 'a', 'g'};
        file.SetInt32Samples(form.int32);
        ASSERT_EQ(file.SetSBC(48000, form.bits, 2), 0);
        ASSERT_EQ(file.Open(path, OM_CREATE), 0);
        ASSERT_GT(file.Write(pairs.data(), 700), 0);
        ASSERT_TRUE(file.Close());

        const std::string bytes = ReadBytes(path);
        const uint32_t data_bytes = 700u * 2 * static_cast<uint32_t>(form.bits / 8);
        EXPECT_EQ(bytes.substr(0, 12), "FORM" + BE(static_cast<uint32_t>(bytes.size() - 8)) + form.type);
        EXPECT_EQ(bytes.substr(12, form.data_offset - 4096 + 26),
                  Comm(2, 700, form.bits, form.compression, "\x40\x0E\xBB\x80\0\0\0\0\0\0"s));
        EXPECT_EQ(bytes.substr(form.data_offset - 4058, 8), "FLLR" + BE<uint32_t>(4034));
        EXPECT_EQ(bytes.substr(form.data_offset - 16, 16), "SSND" + BE(data_bytes + 8) + std::string(8, '\0'));
        EXPECT_EQ(bytes.substr(form.data_offset + data_bytes), BigChunk("ID3 ", "tag"));

        ASSERT_EQ(file.Open(path, OM_EXTEND), 0);
        ASSERT_GT(file.Write(&pairs[1400], 301), 0);
        ASSERT_TRUE(file.Close());
        int result = 0;
        ASSERT_EQ(file.Open(path, OM_READ), 0);
        EXPECT_EQ(PullAll(file, 100, result), expected) << path;
        ASSERT_TRUE(file.Close());

        ASSERT_EQ(file.Open(path, OM_READWRITE), 0);
        const int64_t whole = file.FileSize();
        EXPECT_EQ(file.Truncate(1001), whole);
        const int64_t new_end = static_cast<int64_t>(form.data_offset) + 123 * 2 * form.bits / 8;
        EXPECT_EQ(file.Truncate(123), new_end);
        EXPECT_EQ(file.Truncate(500), new_end);
        ASSERT_TRUE(file.Close());
        EXPECT_EQ(static_cast<int64_t>(std::filesystem::file_size(path)), new_end);
        ASSERT_EQ(file.Open(path, OM_READ), 0);
        EXPECT_EQ(PullAll(file, 50, result), std::vector<float>(expected.begin(), expected.begin() + 246));
    }
    bool can_be_limited = true;
    EXPECT_EQ(AIFFile().GetFileSizeLimit(can_be_limited), 4);
    EXPECT_FALSE(can_be_limited);
}

TEST(AIFFile, RatesComeBack) {
    OrvaneTest::TempFolder folder;
    const float pair[2] = {};
    for (int32_t rate : {16000, 22050, 32000, 44100, 48000, 88200, 96000, 176400, 192000, 384000, 768000, 1411200}) {
        AIFFile file;
        ASSERT_EQ(file.SetSBC(rate, 16, 2), 0);
        ASSERT_EQ(file.Open(folder / std::to_string(rate), OM_CREATE), 0);
        file.Write(pair, 1);
        ASSERT_TRUE(file.Close());
        ASSERT_EQ(file.Open(folder / std::to_string(rate), OM_READ), 0);
        EXPECT_EQ(file.GetSampleRate(0), rate);
    }
}

TEST(AIFFile, ReadsItsPrivateTag) {
    OrvaneTest::TempFolder folder;
    const std::string head = Comm(2, 30, 16) + Ssnd(Samples(60, 16, true));
    const std::string id3 = Id3("ORVT", "\x03the text");
    EXPECT_EQ(AIFFile().ReadTags(folder.Write("a", Form("AIFF", head + BigChunk("ID3 ", id3)))), "the text");
    EXPECT_EQ(AIFFile().ReadTags(folder.Write("b", Form("AIFF", head))), "");
    EXPECT_EQ(AIFFile().ReadTags(folder.Write("c", Form("AIFF", head + BigChunk("ID3 ", id3, 5000)))), "");
    EXPECT_EQ(AIFFile().ReadTags(folder.Write("d", "nothing")), "");
}

TEST(AIFFile, FilesNear4GBAreReadAtTheirEnd) {
    OrvaneTest::TempFolder folder;
    const int64_t frames = 0xFFFFF000 / 4;
    const std::string tail = Samples(20, 16, true);
    const std::string path = folder.Write("large", Form("AIFF", Comm(2, frames, 16) + Ssnd("", frames * 4 + 8)));
    const auto start = static_cast<int64_t>(std::filesystem::file_size(path));
    std::filesystem::resize_file(path, static_cast<uintmax_t>(start + frames * 4 - 40));
    std::ofstream(path, std::ios::app | std::ios::binary) << tail;
    AIFFile file;
    ASSERT_EQ(file.Open(path, OM_READ), 0);
    ASSERT_EQ(file.GetTotalSamples(0), frames);
    std::vector<float> buffer(20);
    ASSERT_EQ(file.Read(frames - 10, buffer.data(), 10, 0), 10);
    EXPECT_EQ(buffer, Decoded(tail, 2, 16, true, false));
}

}  // namespace
}  // namespace Tesslib
