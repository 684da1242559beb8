#include "tesslib/wavfile.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <functional>
#include <random>
#include <string>
#include <vector>

#include "allocations.h"
#include "foundation/lasterror.h"
#include "plain_samples.h"
#include "riff_builder.h"
#include "stream_checks.h"
#include "temp_folder.h"

namespace Tesslib {
namespace {

using namespace OrvaneTest;

// `n` bytes of samples that are plain floats too when read as such.
std::string SampleBytes(size_t n, bool as_float = false) {
    std::mt19937 random(11);
    std::string bytes;
    while (bytes.size() < n) {
        if (as_float) {
            const float value = static_cast<float>(random() % 20001) / 10000.0f - 1.0f;
            bytes.append(reinterpret_cast<const char*>(&value), 4);
        } else {
            bytes += static_cast<char>(random());
        }
    }
    bytes.resize(n);
    return bytes;
}

std::vector<float> Decoded(const std::string& bytes, int channels, int bits, bool int32) {
    std::vector<float> pairs;
    for (size_t i = 0; i + static_cast<size_t>(bits / 8) <= bytes.size(); i += static_cast<size_t>(bits / 8)) {
        const float value = PlainDecode(reinterpret_cast<const uint8_t*>(&bytes[i]), bits, false, int32);
        pairs.insert(pairs.end(), channels == 1 ? 2 : 1, value);
    }
    return pairs;
}

struct Good {
    const char* name;
    std::string bytes;
    int channels, rate, bits;
    uint32_t flags;
    std::vector<float> pairs;
};

std::vector<Good> GoodFiles() {
    const std::string pcm = SampleBytes(480), floats = SampleBytes(480, true);
    const std::string data = Chunk("data", pcm);
    const std::vector<float> pairs16 = Decoded(pcm, 2, 16, false), pairs24 = Decoded(pcm, 2, 24, false);
    const std::string fmt16 = Fmt(1, 2, 44100, 16);
    const std::string unknown = Chunk("junk", "odd");
    return {
        {"16", Riff(fmt16 + data), 2, 44100, 16, 0, pairs16},
        {"24", Riff(Fmt(1, 2, 96000, 24) + data), 2, 96000, 24, 0, pairs24},
        {"32-int", Riff(Fmt(1, 2, 48000, 32) + data), 2, 48000, 32, FORMAT_INT32, Decoded(pcm, 2, 32, true)},
        {"32-float", Riff(Fmt(3, 2, 48000, 32) + Chunk("data", floats)), 2, 48000, 32, 0,
         Decoded(floats, 2, 32, false)},
        {"mono", Riff(Fmt(1, 1, 22050, 16) + data), 1, 22050, 16, 0, Decoded(pcm, 1, 16, false)},
        {"low-rate", Riff(Fmt(1, 1, 8000, 16) + data), 1, 8000, 16, 0, Decoded(pcm, 1, 16, false)},
        {"long-fmt", Riff(Chunk("fmt ", FmtFields(1, 2, 44100, 16) + std::string(50, 'x')) + data), 2, 44100, 16, 0,
         pairs16},
        {"extensible-24", Riff(ExtensibleFmt(1, 2, 96000, 24, 20) + data), 2, 96000, 24, 0, pairs24},
        {"extensible-float", Riff(ExtensibleFmt(3, 2, 96000, 32, 32) + Chunk("data", floats)), 2, 96000, 32, 0,
         Decoded(floats, 2, 32, false)},
        {"odd-chunks", Riff(unknown + fmt16 + unknown + data + unknown), 2, 44100, 16, 0, pairs16},
        {"fmt-behind-data", Riff(data + unknown + fmt16), 2, 44100, 16, 0, pairs16},
        {"zero-data-size", Riff(fmt16 + Chunk("data", pcm, 0)), 2, 44100, 16, 0, pairs16},
        {"data-size-of-a-pipe", Riff(fmt16 + Chunk("data", pcm, UINT32_MAX)), 2, 44100, 16, 0, pairs16},
        {"data-cut-off", Riff(fmt16 + Chunk("data", pcm, 100000)), 2, 44100, 16, 0, pairs16},
        {"part-of-a-frame", Riff(fmt16 + Chunk("data", pcm + "abc", 483)), 2, 44100, 16, 0, pairs16},
        {"riff-size-wrong", "RIFF\x01\x02\x03\x04WAVE" + fmt16 + data, 2, 44100, 16, 0, pairs16},
        {"rf64", RF64(DS64(600, 480, 120), fmt16 + Chunk("data", pcm, UINT32_MAX)), 2, 44100, 16, FORMAT_RF64, pairs16},
        {"rf64-chunk-behind", RF64(DS64(600, 480, 120), Chunk("data", pcm, UINT32_MAX) + fmt16), 2, 44100, 16,
         FORMAT_RF64, pairs16},
        {"rf64-zero-size", RF64(DS64(0, 0, 0), fmt16 + Chunk("data", pcm, UINT32_MAX)), 2, 44100, 16, FORMAT_RF64,
         pairs16},
        {"rf64-shorter", RF64(DS64(600, 240, 60), fmt16 + Chunk("data", pcm, UINT32_MAX)), 2, 44100, 16, FORMAT_RF64,
         Decoded(pcm.substr(0, 240), 2, 16, false)},
        {"rf64-negative-size", RF64(DS64(-1, -1, -1), fmt16 + Chunk("data", pcm, UINT32_MAX)), 2, 44100, 16,
         FORMAT_RF64, pairs16},
        {"w64", W64(W64Chunk("fmt ", FmtFields(1, 2, 44100, 24)) + W64Chunk("junk", "x") + W64Chunk("data", pcm)), 2,
         44100, 24, FORMAT_W64, pairs24},
        {"w64-zero-size", W64(W64Chunk("fmt ", FmtFields(1, 2, 44100, 16)) + W64Chunk("data", pcm, 0)), 2, 44100, 16,
         FORMAT_W64, pairs16},
    };
}

TEST(WAVFile, ReadsWhatOthersWrite) {
    OrvaneTest::TempFolder folder;
    for (const Good& good : GoodFiles()) {
        const std::string path = folder.Write(std::string(good.name) + ".wav", good.bytes);
        WAVFile file;
        ASSERT_EQ(file.Open(path, OM_READ), 0) << good.name << ": " << GetLastError().text;
        EXPECT_EQ(file.Channels(), good.channels) << good.name;
        EXPECT_EQ(file.GetSampleRate(0), good.rate) << good.name;
        EXPECT_EQ(file.BitDepth(), good.bits) << good.name;
        EXPECT_EQ(file.Flags(), good.flags) << good.name;
        EXPECT_EQ(file.GetTotalSamples(0), static_cast<int64_t>(good.pairs.size() / 2)) << good.name;
        int result = 0;
        for (int32_t block : {1, 7, 1000}) EXPECT_EQ(PullAll(file, block, result), good.pairs) << good.name;
        EXPECT_EQ(result, 0);
        EXPECT_TRUE(file.Close());
    }
}

TEST(WAVFile, RefusesWhatItCannotReadAndSaysWhy) {
    const std::string data = Chunk("data", SampleBytes(480)), fmt = Fmt(1, 2, 44100, 16);
    const std::string unsupported = "Unrecognised or unsupported RIFF / AIFF chunk in file:\n\n<b>%s</b>";
    const std::string missing = "Bad or missing chunk '%c' in file:\n\n<b>%s</b>";
    const std::string depth =
        "Unsupported bit depth (%c) in file:\n\n<b>%s</b>\n\nOnly 16, 24 and 32 bit files are supported "
        "(plus 20 bit for FLAC and Apple Lossless)";
    const std::string channels =
        "Unsupported channel count (%c) in file:\n\n<b>%s</b>\n\nOnly 1 and 2 channel files are supported";
    struct Bad {
        const char* name;
        std::string bytes;
        std::string message, detail;
    };
    const Bad files[] = {
        {"empty", "", "File:\n\n<b>%s</b>\n\nis empty", ""},
        {"five-bytes", "RIFF\x01", unsupported, ""},
        {"not-riff", "RIFX" + Riff(fmt + data).substr(4), unsupported, ""},
        {"not-wave", Riff(fmt + data).replace(8, 4, "AVI "), unsupported, ""},
        {"three-channels", Riff(Fmt(1, 3, 44100, 16) + data), channels, "3"},
        {"no-channels", Riff(Fmt(1, 0, 44100, 16) + data), channels, "0"},
        {"eight-bits", Riff(Fmt(1, 2, 44100, 8) + data), depth, "8"},
        {"twenty-bits", Riff(Fmt(1, 2, 44100, 20) + data), depth, "20"},
        {"adpcm", Riff(Fmt(2, 2, 44100, 16) + data), unsupported, ""},
        {"float-64", Riff(Fmt(3, 2, 44100, 64) + data), unsupported, ""},
        {"unknown-sub-format", Riff(ExtensibleFmt(2, 2, 44100, 16, 16) + data), unsupported, ""},
        {"no-rate", Riff(Fmt(1, 2, 0, 16) + data), unsupported, ""},
        {"negative-rate", Riff(Fmt(1, 2, -44100, 16) + data), unsupported, ""},
        {"short-fmt", Riff(Chunk("fmt ", "\x01") + data), unsupported, ""},
        {"fmt-cut-off", Riff(Chunk("fmt ", "\x01\x02", 16)).substr(0, 22),
         "Unexpected end of file in file:\n\n<b>%s</b>", ""},
        {"no-fmt", Riff(data), missing, "fmt "},
        {"no-data", Riff(fmt), missing, "data"},
        {"rf64-without-ds64", RF64("", fmt + data), unsupported, ""},
        {"rf64-with-half-a-ds64", RF64(Chunk("ds64", std::string(16, '\0')), fmt + data), unsupported, ""},
        {"w64-negative-size", W64(W64Chunk("fmt ", "").replace(16, 8, LE<int64_t>(5)) + W64Chunk("data", "1234")),
         missing, "fmt "},
    };
    OrvaneTest::TempFolder folder;
    for (const Bad& bad : files) {
        const std::string path = folder.Write(std::string(bad.name) + ".wav", bad.bytes);
        std::string expected = bad.message;
        if (size_t at = expected.find("%c"); at != std::string::npos) expected.replace(at, 2, bad.detail);
        expected.replace(expected.find("%s"), 2, path);
        WAVFile file;
        EXPECT_EQ(file.Open(path, OM_READ), ERR_CONTENTS) << bad.name;
        EXPECT_EQ(GetLastError().text, expected) << bad.name;
        EXPECT_EQ(file.Mode(), OM_NONE) << bad.name;
        // The object is as good as new.
        ASSERT_EQ(file.Open(folder.Write("good.wav", Riff(fmt + data)), OM_READ), 0) << bad.name;
    }
}

// Opens a damaged file and reads from it. Nothing is asked of it but that it ends, stays in its bounds, and claims no
// more than the file has.
void Survive(const std::string& path, const std::string& what) {
    WAVFile file;
    if (file.Open(path, OM_READ) == 0) {
        ASSERT_LE(file.GetTotalSamples(0) * file.Channels() * file.BitDepth() / 8, file.FileSize()) << what;
        std::vector<float> buffer(2 * 64);
        for (int64_t position : {int64_t{0}, file.GetTotalSamples(0) - 3, file.GetTotalSamples(0)}) {
            ASSERT_GE(file.Read(std::max<int64_t>(position, 0), buffer.data(), 64, 0), 0) << what;
        }
    }
    file.Close();
    file.ReadTags(path);
    // Some file systems wait for the disk when a file is written over.
    std::filesystem::remove(path);
}

TEST(WAVFile, SurvivesTruncationAndFlippedBytes) {
    OrvaneTest::TempFolder folder;
    std::mt19937 random(2);
    for (const Good& good : GoodFiles()) {
        for (size_t length = 0; length < std::min<size_t>(good.bytes.size(), 220); ++length) {
            const std::string name = good.name + std::string(" cut to ") + std::to_string(length);
            Survive(folder.Write("cut.wav", good.bytes.substr(0, length)), name);
        }
        for (int i = 0; i < 300; ++i) {
            std::string damaged = good.bytes;
            const size_t at = random() % std::min<size_t>(damaged.size(), 140);
            damaged[at] = static_cast<char>(random() % 3 == 0 ? 0xFF : random());
            Survive(folder.Write("flipped.wav", damaged), good.name + std::string(" flipped at ") + std::to_string(at));
        }
    }
}

TEST(WAVFile, AnyNumberOfEmptyChunksEnds) {
    OrvaneTest::TempFolder folder;
    std::string chunks;
    while (chunks.size() < 4 << 20) chunks += std::string("abcd\0\0\0\0", 8);
    WAVFile file;
    EXPECT_EQ(file.Open(folder.Write("chunks.wav", Riff(chunks)), OM_READ), ERR_CONTENTS);
}

TEST(WAVFile, SeeksThreadsAndSteadyReads) {
    OrvaneTest::TempFolder folder;
    const std::string pcm = SampleBytes(3 * 30000);
    for (int channels : {1, 2}) {
        WAVFile file;
        ASSERT_EQ(file.Open(folder.Write("a.wav", Riff(Fmt(1, channels, 44100, 24) + Chunk("data", pcm))), OM_READ), 0);
        const std::vector<float> straight = Decoded(pcm, channels, 24, false);
        ExpectSeekEqualsRead(file, straight, 300, 1);
        ExpectSafeFromThreads(file, straight);
        std::vector<float> buffer(2 * 4096);
        file.Read(0, buffer.data(), 4096, 0);
        const int64_t before = Testing::CountAllocations();
        for (int64_t at : {4096, 0, 8192, 3, 100, 14999}) file.Read(at, buffer.data(), 4096, 0);
        EXPECT_EQ(Testing::CountAllocations(), before);
    }
}

TEST(WAVFile, FilesOver4GBAreReadAtTheirEnd) {
    OrvaneTest::TempFolder folder;
    const std::string fmt = Fmt(1, 2, 44100, 16), tail = SampleBytes(400);
    constexpr int64_t kLarge = 5'000'000'000 / 4 * 4, kLargestRiff = 0xFFFFFF00;
    struct Case {
        const char* name;
        std::string head;
        int64_t size;
    };
    for (const Case& c :
         {Case{"rf64", RF64(DS64(0, kLarge, 0), fmt + Chunk("data", "", UINT32_MAX)), kLarge},
          {"w64", W64(W64Chunk("fmt ", FmtFields(1, 2, 44100, 16)) + W64Chunk("data", "", kLarge)), kLarge},
          {"riff", Riff(fmt + Chunk("data", "", kLargestRiff)), kLargestRiff},
          {"crashed", Riff(fmt + Chunk("data", "", 0)), kLarge}}) {
        const std::string path = folder.Write(c.name, c.head);
        const int64_t end = static_cast<int64_t>(c.head.size()) + c.size;
        std::filesystem::resize_file(path, static_cast<uintmax_t>(end - 400));
        std::ofstream(path, std::ios::app | std::ios::binary) << tail;
        WAVFile file;
        ASSERT_EQ(file.Open(path, OM_READ), 0) << c.name;
        ASSERT_EQ(file.GetTotalSamples(0), c.size / 4) << c.name;
        std::vector<float> buffer(2 * 200);
        EXPECT_EQ(file.Read(c.size / 4 - 100, buffer.data(), 200, 0), 100) << c.name;
        buffer.resize(200);
        EXPECT_EQ(buffer, Decoded(tail, 2, 16, false)) << c.name;
        EXPECT_EQ(file.Read(c.size / 4, buffer.data(), 1, 0), 0);
        EXPECT_TRUE(file.Close());
        std::filesystem::remove(path);
    }
}

TEST(WAVFile, ReadsItsPrivateTag) {
    OrvaneTest::TempFolder folder;
    const std::string fmt = Fmt(1, 2, 44100, 16), data = Chunk("data", SampleBytes(40));
    const std::string id3 = Chunk("id3 ", Id3("ORVT", std::string("\x03") + "from id3"));
    const std::string other_id3 = Chunk("id3 ", Id3("TIT2", "\x03title"));
    const std::string info =
        Chunk("LIST", "INFO" + Chunk("INAM", "odd") + Chunk("ORVT", std::string("from list\0", 10)));
    const std::string huge = Chunk("LIST", "INFO" + Chunk("ORVT", std::string(0x400000, 'x')));
    struct Case {
        const char* name;
        std::string bytes;
        std::string text;
    };
    for (const Case& c :
         {Case{"none", Riff(fmt + data), ""},
          {"id3", Riff(fmt + data + id3), "from id3"},
          {"list", Riff(fmt + data + info), "from list"},
          {"both", Riff(fmt + info + data + id3), "from id3"},
          {"other-id3", Riff(fmt + data + other_id3 + info), "from list"},
          {"too-large", Riff(fmt + data + huge + id3), "from id3"},
          {"adtl", Riff(fmt + data + Chunk("LIST", "adtl" + Chunk("ORVT", "no"))), ""},
          {"sub-chunk-cut-off", Riff(fmt + data + Chunk("LIST", "INFO" + Chunk("ORVT", "abc", 9999999))), "abc"},
          {"rf64", RF64(DS64(0, 40, 10), fmt + Chunk("data", SampleBytes(40), UINT32_MAX) + info), "from list"},
          {"not-wave", "RIFX", ""}}) {
        WAVFile file;
        EXPECT_EQ(file.ReadTags(folder.Write(c.name, c.bytes)), c.text) << c.name;
        EXPECT_EQ(file.Mode(), OM_NONE);
    }
    EXPECT_EQ(WAVFile().ReadTags(folder / "missing.wav"), "");
}

}  // namespace
}  // namespace Tesslib
