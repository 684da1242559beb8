#include "tesslib/flacfile.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <limits>

#include "audio_tools.h"
#include "foundation/lasterror.h"
#include "stream_checks.h"
#include "temp_folder.h"

namespace Tesslib {
namespace {

using namespace OrvaneTest;
using OrvaneTest::TempFolder;  // and not the function of that name

struct Format {
    int bits;
    int rate;
    int channels;
};

std::string Flags(const Format& f) {
    return " --bps=" + std::to_string(f.bits) + " --sample-rate=" + std::to_string(f.rate) +
           " --channels=" + std::to_string(f.channels) + " ";
}

const std::string kRaw = " --force-raw-format --endian=little --sign=signed ";

// Encodes by the reference tool.
void MakeFlac(const std::string& path, const std::vector<int32_t>& samples, const Format& f,
              const std::string& options) {
    std::filesystem::path raw = path + ".raw";
    std::ofstream(raw, std::ios::binary) << ToRaw(samples, (f.bits + 7) / 8);
    ASSERT_EQ(Shell("flac -s -f" + kRaw + Flags(f) + options + " -o " + path + " " + raw.string()), 0) << options;
}

// Decodes by the reference tool, which gives 20 bits only as a WAV file, in the upper part of 24.
std::vector<int32_t> DecodeFlac(const std::string& path, int bits) {
    const bool to_wav = bits == 20;
    if (Shell("flac -s -d -f" + (to_wav ? " " : kRaw) + "-o " + path + ".pcm " + path) != 0) return {};
    std::string bytes = ReadBytes(path + ".pcm");
    if (to_wav) bytes.erase(0, bytes.find("data") + 8);
    std::vector<int32_t> samples = FromRaw(bytes, (bits + 7) / 8);
    if (to_wav) {
        for (int32_t& sample : samples) sample >>= 4;
    }
    return samples;
}

struct WriteOptions {
    int level = 5;
    int32_t block = 16384;
    int64_t estimate = 0;
    VorbisTags tags = {};
};

// Encodes by FLACFile.
void WriteFlac(const std::string& path, const std::vector<float>& pairs, const Format& f,
               const WriteOptions& options = {}) {
    FLACFile out;
    out.SetCompressionLevel(options.level);
    out.SetTagData(options.tags);
    ASSERT_EQ(out.SetSBC(f.rate, f.bits, f.channels), 0);
    ASSERT_EQ(out.Open(path, OM_CREATE, 0, 0, options.estimate), 0);
    const int64_t total = static_cast<int64_t>(pairs.size() / 2);
    int64_t bytes = 0;
    for (int64_t done = 0; done < total; done += options.block) {
        const int32_t n = static_cast<int32_t>(std::min<int64_t>(options.block, total - done));
        const int64_t grown = out.Write(pairs.data() + 2 * done, n);
        ASSERT_GE(grown, 0);
        bytes += grown;
    }
    EXPECT_EQ(out.GetTotalSamples(0), total);
    EXPECT_LE(bytes, static_cast<int64_t>(2 * pairs.size() * 4 + 20000));
    ASSERT_TRUE(out.Close());
}

TEST(FLACFileRead, SamplesOfOtherEncodersEqualTheReferenceDecoder) {
    NEED_TOOLS("flac", "sox", "ffmpeg");
    TempFolder folder;
    int n = 0;
    const auto check = [&](const std::string& path, const Format& f) {
        FLACFile in;
        ASSERT_EQ(in.Open(path, OM_READ), 0) << GetLastError().text;
        EXPECT_EQ(in.BitDepth(), f.bits);
        EXPECT_EQ(in.GetSampleRate(0), f.rate);
        EXPECT_EQ(in.Channels(), f.channels);
        const std::vector<float> expected = ToPairs(DecodeFlac(path, f.bits), f.channels, f.bits);
        ASSERT_FALSE(expected.empty());
        EXPECT_EQ(in.GetTotalSamples(0), static_cast<int64_t>(expected.size() / 2));
        ExpectAnyBlockSize(in, expected);
        ExpectSeekEqualsRead(in, expected, 60, 1);
        EXPECT_TRUE(in.Close());
    };
    for (const Format& f : {Format{16, 44100, 2}, {16, 16000, 1}, {24, 96000, 2}, {24, 48000, 1}, {24, 192000, 2}}) {
        const std::vector<int32_t> samples = MusicInts(0.7, f.rate, f.channels, f.bits);
        for (const char* options :
             {"-0", "-5", "-8 -P 100", "-3 --no-seektable -b 576", "-5 -b 65535 --lax", "-2 -b 16"}) {
            SCOPED_TRACE(options + Flags(f));
            const std::string path = folder / (std::to_string(n++) + ".flac");
            MakeFlac(path, samples, f, options);
            check(path, f);
        }
        // The other encoders' files of the same samples.
        const std::string wav = folder / "in.wav";
        ASSERT_EQ(Shell("flac -s -d -f -o " + wav + " " + (folder / "0.flac")), 0);
        const std::string a = folder / (std::to_string(n++) + ".flac");
        ASSERT_EQ(Shell("sox " + wav + " -r " + std::to_string(f.rate) + " -c " + std::to_string(f.channels) + " -b " +
                        std::to_string(f.bits) + " " + a),
                  0);
        check(a, f);
        const std::string b = folder / (std::to_string(n++) + ".flac");
        ASSERT_EQ(
            Shell("ffmpeg -y -i " + wav + " -ar " + std::to_string(f.rate) + " -ac " + std::to_string(f.channels) +
                  (f.bits == 24 ? " -sample_fmt s32 -bits_per_raw_sample 24 " : " -sample_fmt s16 ") + b),
            0);
        check(b, f);
    }
}

TEST(FLACFileWrite, OtherDecodersGiveTheSamplesBack) {
    NEED_TOOLS("flac");
    TempFolder folder;
    const std::string path = folder / "a.flac";
    for (const Format& f : {Format{16, 44100, 2},
                            {16, 16000, 1},
                            {20, 48000, 2},
                            {24, 96000, 2},
                            {24, 44100, 1},
                            {24, 384000, 2},
                            {16, 88201, 2}}) {
        const std::vector<int32_t> samples = MusicInts(0.5, f.rate, f.channels, f.bits);
        const std::vector<float> pairs = ToPairs(samples, f.channels, f.bits);
        for (int level : {0, 5, 8}) {
            SCOPED_TRACE(std::to_string(level) + Flags(f));
            WriteFlac(path, pairs, f, {level});
            EXPECT_EQ(Shell("flac -s -t " + path), 0);
            EXPECT_EQ(DecodeFlac(path, f.bits), samples);
            FLACFile in;
            ASSERT_EQ(in.Open(path, OM_READ), 0);
            EXPECT_EQ(in.BitDepth(), f.bits);
            int result = 0;
            EXPECT_EQ(PullAll(in, 5000, result), pairs);
        }
    }
}

TEST(FLACFileWrite, CallersBlocksAndEstimateLeaveNoTrace) {
    TempFolder folder;
    const Format f{24, 44100, 2};
    const std::vector<float> pairs = ToPairs(MusicInts(1.3, f.rate, 2, 24), 2, 24);
    WriteFlac(folder / "a.flac", pairs, f);
    const std::string expected = ReadBytes(folder / "a.flac");
    for (int32_t block : {1, 17, 4095, 4097, 100000}) {
        WriteFlac(folder / "b.flac", pairs, f, {5, block, block * int64_t{1000}});
        EXPECT_TRUE(ReadBytes(folder / "b.flac") == expected) << block;
    }
}

TEST(FLACFileWrite, ExtremesAreSymmetricAndHalvesGoToEven) {
    TempFolder folder;
    const float nan = std::numeric_limits<float>::quiet_NaN();
    const float inf = std::numeric_limits<float>::infinity();
    for (int bits : {16, 20, 24}) {
        const int32_t full = (1 << (bits - 1)) - 1;
        const float below = std::nextafter(1.0f, 0.0f);
        const double half = 0.5 / full;
        const std::vector<float> in = {1.0f,
                                       -1.0f,
                                       1.5f,
                                       -1e30f,
                                       inf,
                                       -inf,
                                       nan,
                                       0.0f,
                                       below,
                                       -below,
                                       0.5f,
                                       -0.5f,
                                       static_cast<float>(3 * half * 0.999),
                                       static_cast<float>(3 * half * 1.001)};
        const int32_t even = (full + 1) / 2;
        const std::vector<int32_t> expected = {full, -full, full,  -full, full,  -full, -full,
                                               0,    full,  -full, even,  -even, 1,     2};
        WriteFlac(folder / "a.flac", in, {bits, 44100, 2});
        FLACFile file;
        ASSERT_EQ(file.Open(folder / "a.flac", OM_READ), 0);
        int result = 0;
        EXPECT_EQ(PullAll(file, 100, result), ToPairs(expected, 2, bits)) << bits;
    }
}

TEST(FLACFileWrite, MonoIsTheMeanOfThePair) {
    TempFolder folder;
    WriteFlac(folder / "a.flac", {0.5f, 0.25f, -1.0f, 1.0f, 1.0f, 1.0f}, {16, 44100, 1});
    FLACFile file;
    ASSERT_EQ(file.Open(folder / "a.flac", OM_READ), 0);
    int result = 0;
    EXPECT_EQ(PullAll(file, 100, result), ToPairs({12288, 0, 32767}, 1, 16));
}

TEST(FLACFileTags, AreReadByOthersAndThePrivateOneByUs) {
    NEED_TOOLS("flac", "metaflac");
    TempFolder folder;
    const std::string path = folder / "a.flac";
    VorbisTags tags;
    tags.Add("ARTIST", "Bj\xC3\xB6rk \xE2\x80\x93 \"Live\"");
    tags.Add("", "a name is missing");
    tags.Add("NA\xC3\xAFVE", "a name that no comment may have");
    tags.comments.push_back("no equals sign");
    tags.Add("COMMENT", "two\nlines");
    tags.Add("orvt", "1/2/3/0/0/0/44100");
    std::vector<uint8_t> image(70000);
    for (size_t i = 0; i < image.size(); ++i) image[i] = static_cast<uint8_t>(i * i >> 3);
    tags.pictures.push_back({3, "image/jpeg", "cover", 600, 500, 24, 0, image});
    tags.pictures.push_back({1, "image/jpeg", "an icon that is none", 600, 500, 24, 0, {1, 2, 3}});
    tags.pictures.push_back({3, "image/png", "too large", 1, 1, 24, 0, std::vector<uint8_t>(1 << 24)});
    WriteFlac(path, std::vector<float>(5000), {16, 44100, 2}, {5, 1000, 0, tags});

    EXPECT_EQ(Shell("flac -s -t " + path), 0);
    ASSERT_EQ(Shell("metaflac --no-utf8-convert --export-tags-to=" + (folder / "tags") + " " + path), 0);
    EXPECT_EQ(ReadBytes(folder / "tags"),
              "ARTIST=Bj\xC3\xB6rk \xE2\x80\x93 \"Live\"\nCOMMENT=two\nlines\norvt=1/2/3/0/0/0/44100\n");
    ASSERT_EQ(Shell("metaflac --export-picture-to=" + (folder / "cover") + " " + path), 0);
    EXPECT_EQ(ReadBytes(folder / "cover"), std::string(image.begin(), image.end()));
    FLACFile file;
    EXPECT_EQ(file.ReadTags(path), "1/2/3/0/0/0/44100");
    WriteFlac(path, std::vector<float>(500), {16, 44100, 2});
    EXPECT_EQ(file.ReadTags(path), "");
    EXPECT_EQ(file.ReadTags(folder / "none.flac"), "");
}

TEST(FLACFileTruncate, KeepsThePrefixAndStaysAFileForOthers) {
    TempFolder folder;
    const Format f{16, 44100, 2};
    const std::vector<float> pairs = ToPairs(MusicInts(1.5, f.rate, 2, 16), 2, 16);
    for (int64_t cut : {int64_t{4096}, int64_t{4097}, int64_t{1}, int64_t{50000}, int64_t{66149}, int64_t{40960}}) {
        SCOPED_TRACE(cut);
        const std::string path = folder / (std::to_string(cut) + ".flac");
        WriteFlac(path, pairs, f);
        FLACFile file;
        ASSERT_EQ(file.Open(path, OM_READ), 0);
        const int64_t before = file.FileSize();
        EXPECT_EQ(file.Truncate(66150), before) << "a larger total changes nothing";
        const int64_t length = file.Truncate(cut);
        ASSERT_GT(length, 0) << GetLastError().text;
        EXPECT_EQ(length, static_cast<int64_t>(std::filesystem::file_size(path)));
        EXPECT_LE(length, before - (cut < 60000 ? 1000 : 0));
        const std::vector<float> expected(pairs.begin(), pairs.begin() + 2 * cut);
        for (int again = 0; again < 2; ++again) {
            EXPECT_EQ(file.GetTotalSamples(0), cut);
            int result = 0;
            EXPECT_EQ(PullAll(file, 1000, result), expected);
            EXPECT_EQ(result, 0);
            ASSERT_TRUE(file.Close());
            ASSERT_EQ(file.Open(path, OM_READ), 0) << GetLastError().text;
        }
        if (!HaveTools({"flac"})) continue;
        EXPECT_EQ(Shell("flac -s -t " + path), 0);
        // The others see whole blocks.
        std::vector<float> theirs = ToPairs(DecodeFlac(path, 16), 2, 16);
        EXPECT_EQ(theirs.size() / 2, static_cast<size_t>(std::min<int64_t>((cut + 4095) / 4096 * 4096, 66150)));
        theirs.resize(expected.size());
        EXPECT_EQ(theirs, expected);
    }
    const std::string path = folder / "0.flac";
    WriteFlac(path, pairs, f);
    FLACFile file;
    ASSERT_EQ(file.Open(path, OM_READ), 0);
    EXPECT_GT(file.Truncate(0), 0);
    EXPECT_TRUE(file.Close());
    EXPECT_EQ(file.Open(path, OM_READ), ERR_CONTENTS);
}

TEST(FLACFile, CapabilitiesAreThoseOfItsTable) {
    const FormatLimits limits = FLACFile().GetCapabilities(2);
    EXPECT_EQ(limits.capabilities, 0x1DBu);
    EXPECT_EQ(limits.max_samplerate, 384000);
    EXPECT_EQ(limits.max_bit_depth, 24);
}

TEST(FLACFile, ReleasedResourcesComeBackWithTheNextRead) {
    TempFolder folder;
    const std::string path = folder / "a.flac";
    const std::vector<float> pairs = ToPairs(MusicInts(0.5, 44100, 2, 16), 2, 16);
    WriteFlac(path, pairs, {16, 44100, 2});
    FLACFile file;
    ASSERT_EQ(file.Open(path, OM_READ), 0);
    float pair[2];
    for (int64_t position : {0, 1, 20000, 20001, 5}) {
        file.ReleaseResources();
        ASSERT_EQ(file.Read(position, pair, 1, 0), 1);
        EXPECT_EQ(pair[1], pairs[static_cast<size_t>(2 * position + 1)]);
    }
    file.ReleaseResources();
    std::filesystem::remove(path);
    EXPECT_EQ(file.Read(0, pair, 1, 0), ERR_CANNOT_OPEN);
    WriteFlac(path, pairs, {24, 44100, 2});
    EXPECT_EQ(file.Read(0, pair, 1, 0), ERR_CONTENTS) << "another file of that name";
    EXPECT_TRUE(file.Close());
}

TEST(FLACFile, ManyThreadsMayRead) {
    TempFolder folder;
    const std::vector<float> pairs = ToPairs(MusicInts(0.8, 44100, 2, 16), 2, 16);
    WriteFlac(folder / "a.flac", pairs, {16, 44100, 2});
    FLACFile file;
    ASSERT_EQ(file.Open(folder / "a.flac", OM_READ), 0);
    ExpectSafeFromThreads(file, pairs);
}

TEST(FLACFile, FullDiskIsAWriteErrorWithItsReason) {
    if (!std::filesystem::exists("/dev/full")) GTEST_SKIP() << "no /dev/full";
    TempFolder folder;
    const std::string full = folder / "full.flac";
    std::filesystem::create_symlink("/dev/full", full);  // a name that may be deleted
    FLACFile file;
    ASSERT_EQ(file.SetSBC(44100, 16, 2), 0);
    ASSERT_EQ(file.Open(full, OM_CREATE, 0), 0);
    const std::vector<float> noise = ToPairs(MusicInts(2, 44100, 2, 16), 2, 16);
    int64_t result = 0;
    for (int i = 0; i < 10 && result >= 0; ++i) result = file.Write(noise.data(), 80000);
    EXPECT_EQ(result, ERR_IO);
    EXPECT_NE(GetLastError().text.find("No space left"), std::string::npos) << GetLastError().text;
    EXPECT_FALSE(file.Close(CLOSE_FAILED));
}

// --- Damage. The bytes of a small file, changed. ---

constexpr size_t kStreamInfo = 8;  // behind "fLaC" and the block's header

size_t AudioStart(const std::string& bytes) {
    for (size_t at = 4;;) {
        const auto byte = [&](size_t k) { return static_cast<size_t>(static_cast<uint8_t>(bytes[at + k])); };
        const bool last = byte(0) & 0x80;
        at += 4 + (byte(1) << 16 | byte(2) << 8 | byte(3));
        if (last) return at;
    }
}

std::string SmallFlac(const TempFolder& folder, std::vector<float>& pairs) {
    pairs = ToPairs(MusicInts(0.8, 44100, 2, 16), 2, 16);
    WriteFlac(folder / "small.flac", pairs, {16, 44100, 2});
    return ReadBytes(folder / "small.flac");
}

TEST(FLACFileDamage, BadHeadersAreRefusedWithTheirReason) {
    TempFolder folder;
    std::vector<float> pairs;
    const std::string good = SmallFlac(folder, pairs);
    struct Case {
        const char* name;
        std::string bytes;
        const char* reason;
    };
    const auto patched = [&](size_t at, const std::string& bytes) {
        return std::string(good).replace(at, bytes.size(), bytes);
    };
    const std::string no_total = patched(kStreamInfo + 14, std::string(4, '\0'));
    const Case cases[] = {
        {"nothing", "", "is empty"},
        {"total of 0", no_total, "is empty"},
        {"rate of 0", patched(kStreamInfo + 10, std::string("\0\0\x02\xF0", 4)), "is empty"},
        {"8 bits", patched(kStreamInfo + 12, "\x42\x70"), "Unsupported bit depth (8)"},
        {"3 channels", patched(kStreamInfo + 12, "\x44"), "Unsupported channel count (3)"},
        {"mono by its header, stereo by its blocks", patched(kStreamInfo + 12, "\x40"), "format changes"},
        {"cut behind the header", good.substr(0, AudioStart(good)), "Unexpected end"},
        {"cut inside the header", good.substr(0, 20), ""},
        {"four letters", "fLaC", ""},
        {"text", "This is no audio at all, whatever its name may say.", "synchronisation lost"},
        {"zeros", std::string(100000, '\0'), "synchronisation lost"},
    };
    for (const Case& c : cases) {
        FLACFile file;
        EXPECT_EQ(file.Open(folder.Write("bad.flac", c.bytes), OM_READ), ERR_CONTENTS) << c.name;
        EXPECT_NE(GetLastError().text.find(c.reason), std::string::npos) << c.name << ": " << GetLastError().text;
        EXPECT_EQ(file.Mode(), OM_NONE);
    }
}

TEST(FLACFileDamage, ATruncatedFileGivesWhatIsWholeAndThenItsFault) {
    TempFolder folder;
    std::vector<float> pairs;
    const std::string good = SmallFlac(folder, pairs);
    for (size_t length = good.size() - 1; length > good.size() / 4; length -= good.size() / 23) {
        FLACFile file;
        ASSERT_EQ(file.Open(folder.Write("cut.flac", good.substr(0, length)), OM_READ), 0);
        int result = 0;
        std::vector<float> got = PullAll(file, 1024, result);
        EXPECT_EQ(result, ERR_CONTENTS) << length;
        ASSERT_LT(got.size(), pairs.size());
        EXPECT_EQ(got.size() % (2 * 4096), 0u) << length;
        EXPECT_TRUE(std::equal(got.begin(), got.end(), pairs.begin()));
        float pair[2];
        EXPECT_LE(file.Read(file.GetTotalSamples(0) - 1, pair, 1, 0), 0);
    }
}

TEST(FLACFileDamage, ATorsoWithItsEstimateStillOpens) {
    TempFolder folder;
    const std::vector<float> pairs = ToPairs(MusicInts(0.8, 44100, 2, 16), 2, 16);
    FLACFile file;
    ASSERT_EQ(file.SetSBC(44100, 16, 2), 0);
    ASSERT_EQ(file.Open(folder / "torso.flac", OM_CREATE, 0, 0, 100000), 0);
    ASSERT_GT(file.Write(pairs.data(), 20000), 0);
    EXPECT_FALSE(file.Close(CLOSE_FAILED));
    ASSERT_EQ(file.Open(folder / "torso.flac", OM_READ), 0);
    EXPECT_EQ(file.GetTotalSamples(0), 100000);
    int result = 0;
    std::vector<float> got = PullAll(file, 3000, result);
    EXPECT_EQ(result, 0);
    EXPECT_EQ(got.size() / 2, 4u * 4096);
    EXPECT_TRUE(std::equal(got.begin(), got.end(), pairs.begin()));
}

TEST(FLACFileDamage, ADamagedBlockIsToldAndTheRestIsStillRead) {
    TempFolder folder;
    std::vector<float> pairs;
    std::string bytes = SmallFlac(folder, pairs);
    bytes[bytes.size() / 2] ^= 0x10;
    FLACFile file;
    ASSERT_EQ(file.Open(folder.Write("bad.flac", bytes), OM_READ), 0);
    int result = 0;
    const std::vector<float> got = PullAll(file, 1024, result);
    EXPECT_EQ(result, ERR_CONTENTS);
    EXPECT_NE(GetLastError().text.find("wrong check sum"), std::string::npos) << GetLastError().text;
    EXPECT_TRUE(std::equal(got.begin(), got.end(), pairs.begin()));
    // No seek lands inside the block: the way there from an earlier one meets the damage.
    const int64_t damaged = static_cast<int64_t>(got.size() / 2) / 4096 * 4096;
    float pair[2];
    for (int64_t inside : {1, 2500, 4095}) EXPECT_EQ(file.Read(damaged + inside, pair, 1, 0), ERR_CONTENTS) << inside;
    const int64_t behind = damaged + 4096;
    std::vector<float> rest(2 * 4096);
    ASSERT_EQ(file.Read(behind, rest.data(), 4096, 0), 4096) << GetLastError().text;
    EXPECT_TRUE(std::equal(rest.begin(), rest.end(), pairs.begin() + 2 * behind));
}

TEST(FLACFileDamage, FlippedBitsGiveNoSampleThatIsNotTheirs) {
    TempFolder folder;
    std::vector<float> pairs;
    const std::string good = SmallFlac(folder, pairs);
    std::mt19937 random(5);
    for (int i = 0; i < 300; ++i) {
        std::string bytes = good;
        // The front of the file more often: that is where lengths and counts stand.
        const size_t at = random() % (i % 3 == 0 ? 100 : bytes.size());
        bytes[at] = static_cast<char>(bytes[at] ^ (1 << random() % 8));
        FLACFile file;
        if (file.Open(folder.Write("bad.flac", bytes), OM_READ) != 0) continue;
        int result = 0;
        const std::vector<float> got = PullAll(file, 4096, result);
        // 16 bits of check sum guard each block: what comes before the damage is told is right.
        if (at > 100) {
            EXPECT_TRUE(got.size() <= pairs.size() && std::equal(got.begin(), got.end(), pairs.begin())) << i;
        }
        std::vector<float> buffer(2 * 3000);
        for (int k = 0; k < 5; ++k) file.Read(random() % 60000, buffer.data(), 3000, 0);
    }
}

}  // namespace
}  // namespace Tesslib
