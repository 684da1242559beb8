// WAV and AIFF files as others make them, well and badly.
#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "foundation/lasterror.h"
#include "plain_samples.h"
#include "riff_builder.h"
#include "stream_checks.h"
#include "temp_folder.h"
#include "tesslib/aiffile.h"
#include "tesslib/fileformats.h"
#include "tesslib/wavfile.h"

namespace Tesslib {
namespace {

using namespace OrvaneTest;
using OrvaneTest::TempFolder;  // and not the function of that name
using namespace std::string_literals;

// Bytes of samples that are fit to be read as floats of either order too.
std::string SampleBytes(size_t n) {
    std::mt19937 random(11);
    std::string bytes;
    while (bytes.size() < n) bytes += static_cast<char>(random() % 0x70);
    return bytes;
}

std::vector<float> Decoded(const std::string& bytes, int bits, bool big_endian = false, bool int32 = false) {
    std::vector<float> values;
    for (size_t i = 0; i + static_cast<size_t>(bits / 8) <= bytes.size(); i += static_cast<size_t>(bits / 8)) {
        values.push_back(PlainDecode(reinterpret_cast<const uint8_t*>(&bytes[i]), bits, big_endian, int32));
    }
    return values;
}

RefPtr<FileStream> FileFor(const std::string& bytes) {
    return MakeFileStream(bytes.substr(0, 4) == "FORM" ? FF_AIFF : FF_WAV);
}

TEST(RiffReading, EverySampleOfOtherProgramsFiles) {
    NEED_TOOLS("sox", "ffmpeg");
    TempFolder folder;
    for (int channels : {1, 2}) {
        for (int bits : {16, 24, 32}) {
            std::vector<int32_t> samples = MusicInts(0.3, 48000, channels, std::min(bits, 24));
            for (int32_t& sample : samples) sample *= bits == 32 ? 256 : 1;
            const std::vector<float> pairs = ToPairs(samples, channels, bits);
            std::vector<float> halved;  // floats of others have 1.0 at a power of two
            for (float value : pairs) halved.push_back(static_cast<float>(value * (2147483647.0 / 2147483648.0)));
            folder.Write("in.raw", ToRaw(samples, bits / 8));
            const std::string b = std::to_string(bits), c = std::to_string(channels);
            const std::string sox = "sox -D -t raw -r 48000 -c " + c + " -L -e signed-integer -b " + b + " in.raw ";
            const std::string ffmpeg = "ffmpeg -v error -y -f s" + b + "le -ar 48000 -ac " + c + " -i in.raw -c:a pcm_";
            for (const std::string& command :
                 {sox + "a.wav", sox + "-t wavpcm a.wav", sox + "-t wav - | cat > a.wav", sox + "a.aiff",
                  sox + "-t aifc a.aiff", ffmpeg + "s" + b + "le a.wav", ffmpeg + "s" + b + "le -rf64 always a.wav",
                  ffmpeg + "s" + b + "le -f w64 a.wav", ffmpeg + "s" + b + "le -f wav - | cat > a.wav",
                  ffmpeg + "s" + b + "be a.aiff", ffmpeg + "s16le a.aiff", ffmpeg + "f32le a.wav",
                  ffmpeg + "f32be a.aiff"}) {
                const bool is_float = command.find("pcm_f") != std::string::npos;
                if (is_float ? bits != 32 : bits != 16 && command.find("s16le a.aiff") != std::string::npos) continue;
                ASSERT_EQ(Shell("cd '" + folder.Path() + "' && rm -f a.* && " + command), 0) << command;
                int error = 0;
                RefPtr<FileStream> file = OpenForReading(folder / *folder.Listing().begin(), error);
                ASSERT_TRUE(file) << command << GetLastError().text;
                EXPECT_EQ(file->BitDepth(), bits) << command;
                EXPECT_EQ(file->GetSampleRate(0), 48000);
                EXPECT_TRUE(ReadWhole(*file) == (is_float ? halved : pairs)) << command;
            }
        }
    }
}

TEST(RiffReading, OddFilesAreReadAllTheSame) {
    const std::string pcm = SampleBytes(480), data = Chunk("data", pcm), piped = Chunk("data", pcm, UINT32_MAX);
    const std::string fmt = Fmt(1, 2, 44100, 16), junk = Chunk("junk", "odd"), anno = BigChunk("ANNO", "odd");
    const std::string long_fmt = Chunk("fmt ", FmtFields(1, 2, 44100, 16) + std::string(50, 'x'));
    const std::string comm = Comm(2, 120, 16), sound = Ssnd(pcm);
    const std::vector<float> le16 = Decoded(pcm, 16), be16 = Decoded(pcm, 16, true), le32 = Decoded(pcm, 32);
    struct Good {
        const char* name;
        std::string bytes;
        int bits;
        std::vector<float> pairs;
    };
    for (const Good& good :
         {Good{"long-fmt", Riff(long_fmt + data), 16, le16},
          {"extensible-float", Riff(ExtensibleFmt(3, 2, 44100, 32, 32) + data), 32, le32},
          {"odd-chunks", Riff(junk + fmt + junk + data + junk), 16, le16},
          {"fmt-behind-data", Riff(data + junk + fmt), 16, le16},
          {"zero-data-size", Riff(fmt + Chunk("data", pcm, 0)), 16, le16},
          {"data-size-of-a-pipe", Riff(fmt + piped), 16, le16},
          {"data-cut-off", Riff(fmt + Chunk("data", pcm, 100000)), 16, le16},
          {"aifc-sowt", Form("AIFC", Comm(2, 120, 16, "sowt\x0bno compress"s) + sound), 16, le16},
          {"aifc-23lf", Form("AIFC", Comm(2, 60, 32, "23lf") + sound), 32, le32},
          {"aiff-sound-first", Form("AIFF", anno + sound + anno + comm), 16, be16},
          {"aiff-count-beyond-the-file", Form("AIFF", Comm(2, 0xFFFFFFFF, 16) + Ssnd(pcm, 0xFFFFFFF0)), 16, be16}}) {
        SCOPED_TRACE(good.name);
        TempFolder folder;
        RefPtr<FileStream> file = FileFor(good.bytes);
        ASSERT_EQ(file->Open(folder.Write("a", good.bytes), OM_READ), 0) << GetLastError().text;
        EXPECT_EQ(file->GetSampleRate(0), 44100);
        EXPECT_EQ(file->BitDepth(), good.bits);
        EXPECT_EQ(ReadWhole(*file), good.pairs);
    }
}

TEST(RiffReading, RefusesWhatItCannotReadAndSaysWhy) {
    const std::string data = Chunk("data", SampleBytes(480)), sound = Ssnd(SampleBytes(120));
    const std::string unsupported = "Unrecognised or unsupported RIFF / AIFF chunk";
    std::string empty_chunks;
    while (empty_chunks.size() < 4 << 20) empty_chunks += "abcd\0\0\0\0"s;
    struct Bad {
        const char* name;
        std::string bytes;
        std::string message;
    };
    TempFolder folder;
    for (const Bad& bad : {Bad{"three-channels", Riff(Fmt(1, 3, 44100, 16) + data), "Unsupported channel count (3)"},
                           {"eight-bits", Riff(Fmt(1, 2, 44100, 8) + data), "Unsupported bit depth (8)"},
                           {"adpcm", Riff(Fmt(2, 2, 44100, 16) + data), unsupported},
                           {"no-fmt", Riff(data), "Bad or missing chunk 'fmt '"},
                           {"nothing-but-empty-chunks", Riff(empty_chunks), "Bad or missing chunk 'fmt '"},
                           {"16-bit-floats", Form("AIFC", Comm(2, 30, 16, "fl32") + sound), unsupported},
                           {"no-comm", Form("AIFF", sound), "Bad or missing chunk 'COMM'"}}) {
        const std::string path = folder.Write(bad.name, bad.bytes);
        EXPECT_EQ(FileFor(bad.bytes)->Open(path, OM_READ), ERR_CONTENTS) << bad.name;
        EXPECT_EQ(GetLastError().text.rfind(bad.message + " in file:\n\n<b>" + path + "</b>", 0), 0u)
            << GetLastError().text;
    }
}

TEST(RiffReading, LargeFilesAreReadAtTheirEnd) {
    TempFolder folder;
    const std::string fmt = Fmt(1, 2, 44100, 16), tail = SampleBytes(400);
    constexpr int64_t kLarge = 5'000'000'000 / 4 * 4, kLargestRiff = 0xFFFFFF00, kLargestAiff = 0xFFFFF000;
    struct Case {
        std::string head;
        int64_t size;
    };
    for (const Case& c : {Case{RF64(DS64(0, kLarge, 0), fmt + Chunk("data", "", UINT32_MAX)), kLarge},
                          {W64(W64Chunk("fmt ", FmtFields(1, 2, 44100, 16)) + W64Chunk("data", "", kLarge)), kLarge},
                          {Riff(fmt + Chunk("data", "", kLargestRiff)), kLargestRiff},
                          {Riff(fmt + Chunk("data", "", 0)), kLarge},  // left behind by a crash
                          {Form("AIFF", Comm(2, kLargestAiff / 4, 16) + Ssnd("", kLargestAiff + 8)), kLargestAiff}}) {
        const std::string path = folder.Write("large", c.head);
        std::filesystem::resize_file(path, c.head.size() + static_cast<uintmax_t>(c.size - 400));
        std::ofstream(path, std::ios::app | std::ios::binary) << tail;
        RefPtr<FileStream> file = FileFor(c.head);
        ASSERT_EQ(file->Open(path, OM_READ), 0) << GetLastError().text;
        ASSERT_EQ(file->GetTotalSamples(0), c.size / 4) << c.head.substr(0, 4);
        std::vector<float> buffer(2 * 200);
        EXPECT_EQ(file->Read(c.size / 4 - 100, buffer.data(), 200, 0), 100) << c.head.substr(0, 4);
        buffer.resize(200);
        EXPECT_EQ(buffer, Decoded(tail, 16, file->file_format == FF_AIFF)) << c.head.substr(0, 4);
    }
}

}  // namespace
}  // namespace Tesslib
