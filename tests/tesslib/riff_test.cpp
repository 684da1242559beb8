// WAV and AIFF files: those of others, well made and badly, and our own, which are written, extended and cut.
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

using namespace Foundation;

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
            std::vector<int32_t> samples = RingingInts(0.3, 48000, channels, std::min(bits, 24));
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
          {"aiff-left-by-a-crash", Form("AIFF", Comm(2, 0, 16) + Ssnd(pcm, 8)), 16, be16},
          {"aiff-without-a-count", Form("AIFF", Comm(2, 0, 16) + sound + anno), 16, be16},
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
    for (const auto& [head, size] :
         {std::pair{RF64(DS64(0, kLarge, 0), fmt + Chunk("data", "", UINT32_MAX)), kLarge},
          {W64(W64Chunk("fmt ", FmtFields(1, 2, 44100, 16)) + W64Chunk("data", "", kLarge)), kLarge},
          {Riff(fmt + Chunk("data", "", kLargestRiff)), kLargestRiff},
          {Riff(fmt + Chunk("data", "", 0)), kLarge},  // left behind by a crash
          {Form("AIFF", Comm(2, kLargestAiff / 4, 16) + Ssnd("", kLargestAiff + 8)), kLargestAiff}}) {
        const std::string path = folder.Write("large", head);
        std::filesystem::resize_file(path, head.size() + static_cast<uintmax_t>(size - 400));
        std::ofstream(path, std::ios::app | std::ios::binary) << tail;
        RefPtr<FileStream> file = FileFor(head);
        ASSERT_EQ(file->Open(path, OM_READ), 0) << GetLastError().text;
        ASSERT_EQ(file->GetTotalSamples(0), size / 4) << head.substr(0, 4);
        std::vector<float> buffer(2 * 200);
        EXPECT_EQ(file->Read(size / 4 - 100, buffer.data(), 200, 0), 100) << head.substr(0, 4);
        buffer.resize(200);
        EXPECT_EQ(buffer, Decoded(tail, 16, file->file_format == FF_AIFF)) << head.substr(0, 4);
    }
}

// --- Written by us. ---

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
    std::vector<float> back;
    for (float value : Decoded(Encoded(pairs, channels, bits, int32), bits, false, int32)) {
        back.insert(back.end(), channels == 1 ? 2 : 1, value);
    }
    return back;
}

std::vector<float> FirstPairs(const std::vector<float>& pairs, int n) {
    return {pairs.begin(), pairs.begin() + 2 * n};
}

TEST(RiffWriting, EveryFormComesBackIsExtendedAndCut) {
    TempFolder folder;
    const std::vector<float> pairs = NormalNoise(2 * 1500, 0.5, 1);
    struct Kind {
        bool aiff;
        int bits, rate;
        bool int32 = false;
        uint32_t options = 0;
    };
    for (const Kind& form : {Kind{false, 16, 16000},
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
            RefPtr<PCMFileStream> file(form.aiff ? static_cast<PCMFileStream*>(new AIFFile)
                                                 : new WAVFile(form.options));
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

// Lets a file grow without the disk noticing.
class HoleyWAV : public WAVFile {
public:
    using WAVFile::WAVFile;
    void Skip(int64_t pairs) {
        ASSERT_EQ(file->Seek(file->Tell() + pairs * FrameSize()), 0);
        data_bytes += pairs * FrameSize();
        total_samples += pairs;
    }
};

TEST(RiffWriting, GrowsPast4GBAsRF64AndOtherwiseStops) {
    TempFolder folder;
    const std::string path = folder / "large.wav";
    const std::vector<float> pairs = NormalNoise(2 * 300, 0.5, 1);
    constexpr int64_t kFourGB = (int64_t{1} << 32) / 4, kMost = 0xFEFFFFFF / 4;
    struct Case {
        uint32_t options;
        bool extended;
        int64_t skipped;
        bool rf64;
        bool stops = false;  // at the next Write
    };
    for (const Case& c : {Case{1, false, kFourGB, true},
                          {1, true, kFourGB, true},
                          {1, false, 0x7F000000 / 4, false},
                          {0x10001, false, 0x7F000000 / 4, true},
                          {0, false, kMost - 400, false, true}}) {
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
        EXPECT_EQ(c.stops ? file.Write(pairs.data(), 300) : int64_t{ERR_LIMIT}, ERR_LIMIT);
        ASSERT_TRUE(file.Close()) << GetLastError().text;

        ASSERT_EQ(file.Open(path, OM_READ), 0) << GetLastError().text;
        EXPECT_EQ((file.Flags() & FORMAT_RF64) != 0, c.rf64);
        ASSERT_EQ(file.GetTotalSamples(0), c.skipped + 600);
        std::vector<float> buffer(600);
        ASSERT_EQ(file.Read(c.skipped + 300, buffer.data(), 300, 0), 300);
        EXPECT_EQ(buffer, ThroughFile(pairs, 2, 16, false));
    }
}

}  // namespace
}  // namespace Tesslib
