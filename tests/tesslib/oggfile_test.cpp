#include "tesslib/oggfile.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "audio_tools.h"
#include "foundation/lasterror.h"
#include "stream_checks.h"
#include "temp_folder.h"

namespace Tesslib {
namespace {

using namespace OrvaneTest;
using OrvaneTest::TempFolder;  // and not the function of that name

// Encodes by the reference tool.
void MakeOgg(const std::string& path, const std::vector<int32_t>& samples, int rate, int channels,
             const std::string& options) {
    std::ofstream(path + ".raw", std::ios::binary) << ToRaw(samples, 2);
    ASSERT_EQ(Shell("oggenc -Q --raw --raw-bits=16 --raw-rate=" + std::to_string(rate) +
                    " --raw-chan=" + std::to_string(channels) + " " + options + " -o " + path + " " + path + ".raw"),
              0)
        << options;
}

// Decodes by the reference tool.
std::vector<int32_t> DecodeOgg(const std::string& path) {
    if (Shell("oggdec -Q --raw -b 16 -e 0 -s 1 -o " + path + ".pcm " + path) != 0) return {};
    return FromRaw(ReadBytes(path + ".pcm"), 2);
}

void ExpectWithinOneStep(const std::vector<float>& got, const std::vector<float>& expected) {
    ASSERT_EQ(got.size(), expected.size());
    float worst = 0;
    for (size_t i = 0; i < got.size(); ++i) worst = std::max(worst, std::abs(got[i] - expected[i]));
    EXPECT_LE(worst, 1.01f / 32767);
}

double SignalToNoise(const std::vector<float>& got, const std::vector<float>& wanted) {
    double signal = 0, noise = 0;
    for (size_t i = 0; i < wanted.size(); ++i) {
        signal += wanted[i] * wanted[i];
        noise += (got[i] - wanted[i]) * (got[i] - wanted[i]);
    }
    return 10 * std::log10(signal / noise);
}

// Encodes by `out`, whose choices are made.
void WriteOgg(OggFile& out, const std::string& path, const std::vector<float>& pairs, int rate, int channels,
              int32_t block = 16384) {
    ASSERT_EQ(out.SetSBC(rate, 16, channels), 0);
    ASSERT_EQ(out.Open(path, OM_CREATE), 0);
    const int64_t total = static_cast<int64_t>(pairs.size() / 2);
    for (int64_t done = 0; done < total; done += block) {
        const int32_t n = static_cast<int32_t>(std::min<int64_t>(block, total - done));
        ASSERT_GE(out.Write(pairs.data() + 2 * done, n), 0);
    }
    ASSERT_TRUE(out.Close());
}

TEST(OggFileRead, SamplesOfOtherEncodersAreTheReferenceDecodersWithinOneStep) {
    NEED_TOOLS("oggenc", "oggdec", "sox", "ffmpeg");
    TempFolder folder;
    const auto check = [&](const std::string& path, int rate, int channels) {
        SCOPED_TRACE(path);
        OggFile in;
        ASSERT_EQ(in.Open(path, OM_READ), 0) << GetLastError().text;
        EXPECT_EQ(in.GetSampleRate(0), rate);
        EXPECT_EQ(in.Channels(), channels);
        EXPECT_EQ(in.BitDepth(), 16);
        EXPECT_GT(in.BitRate(), 10);
        int result = 0;
        const std::vector<float> got = PullAll(in, 4096, result);
        EXPECT_EQ(result, 0) << GetLastError().text;
        EXPECT_EQ(static_cast<int64_t>(got.size() / 2), in.GetTotalSamples(0));
        ExpectWithinOneStep(got, ToPairs(DecodeOgg(path), channels, 16));
        ExpectAnyBlockSize(in, got);
        ExpectSeekEqualsRead(in, got, 40, 1);
        EXPECT_TRUE(in.Close());
    };
    struct Format {
        int rate;
        int channels;
        const char* options;
    };
    for (const Format& f : {Format{44100, 2, "-q 4"},
                            {44100, 1, "-q -1"},
                            {16000, 1, "-q 3"},
                            {96000, 2, "-q 8"},
                            {48000, 2, "-b 160 -m 100 -M 200 --managed"}}) {
        const std::string path = folder / (std::to_string(f.rate) + f.options[0] + std::to_string(f.channels) + ".ogg");
        MakeOgg(path, MusicInts(1.1, f.rate, f.channels, 16), f.rate, f.channels, f.options);
        check(path, f.rate, f.channels);
    }
    const std::string wav = folder / "in.wav";
    ASSERT_EQ(Shell("sox -n -r 48000 -c 2 -b 16 " + wav + " synth 1.3 pluck C3 pluck G4"), 0);
    ASSERT_EQ(Shell("sox " + wav + " -C 6 " + (folder / "sox.ogg")), 0);
    check(folder / "sox.ogg", 48000, 2);
    ASSERT_EQ(Shell("ffmpeg -y -i " + wav + " -c:a libvorbis -q:a 5 " + (folder / "ffmpeg.ogg")), 0);
    check(folder / "ffmpeg.ogg", 48000, 2);
}

TEST(OggFileRead, AChainIsOneStream) {
    TempFolder folder;
    std::string chain;
    std::vector<float> expected;
    for (int32_t serial : {7, 8, 9}) {
        OggFile out, in;
        out.SetSerialNumber(serial);
        const std::string path = folder / (std::to_string(serial) + ".ogg");
        const std::vector<float> pairs =
            ToPairs(MusicInts(0.2 * serial, 44100, 2, 16, static_cast<uint32_t>(serial)), 2, 16);
        WriteOgg(out, path, pairs, 44100, 2);
        ASSERT_EQ(in.Open(path, OM_READ), 0);
        int result = 0;
        const std::vector<float> part = PullAll(in, 4096, result);
        EXPECT_EQ(part.size(), pairs.size());
        expected.insert(expected.end(), part.begin(), part.end());
        chain += ReadBytes(path);
    }
    OggFile file;
    ASSERT_EQ(file.Open(folder.Write("chain.ogg", chain), OM_READ), 0) << GetLastError().text;
    EXPECT_EQ(file.GetTotalSamples(0), static_cast<int64_t>(expected.size() / 2));
    ExpectAnyBlockSize(file, expected);
    ExpectSeekEqualsRead(file, expected, 100, 2);
    EXPECT_TRUE(file.Close());

    OggFile out;
    WriteOgg(out, folder / "other.ogg", std::vector<float>(20000), 48000, 2);
    EXPECT_EQ(file.Open(folder.Write("mixed.ogg", chain + ReadBytes(folder / "other.ogg")), OM_READ), ERR_CONTENTS);
}

TEST(OggFileWrite, OtherDecodersReadItAndItSoundsTheSame) {
    NEED_TOOLS("oggdec", "ogginfo", "sox");
    TempFolder folder;
    const std::string path = folder / "a.ogg";
    struct Case {
        int rate;
        int channels;
        int quality;  // 99: managed
        double least_snr;
    };
    for (const Case& c : {Case{44100, 2, 0, 8},
                          {44100, 2, 4, 12},
                          {44100, 2, 10, 25},
                          {16000, 1, 5, 10},
                          {96000, 2, 6, 10},
                          {44100, 2, 99, 10}}) {
        SCOPED_TRACE(std::to_string(c.rate) + " q " + std::to_string(c.quality));
        const std::vector<float> pairs = ToPairs(MusicInts(1.5, c.rate, c.channels, 16), c.channels, 16);
        OggFile out;
        if (c.quality == 99) {
            out.SetBitrate(128, 150, 100);  // the limits are held to the nominal rate
        } else {
            out.SetQuality(c.quality);
        }
        EXPECT_TRUE(out.EncoderTakes(c.rate, c.channels));
        WriteOgg(out, path, pairs, c.rate, c.channels);
        EXPECT_EQ(Shell("ogginfo " + path), 0);
        const std::vector<float> theirs = ToPairs(DecodeOgg(path), c.channels, 16);
        ASSERT_EQ(theirs.size(), pairs.size());
        EXPECT_GT(SignalToNoise(theirs, pairs), c.least_snr);
        OggFile in;
        ASSERT_EQ(in.Open(path, OM_READ), 0);
        int result = 0;
        ExpectWithinOneStep(PullAll(in, 4096, result), theirs);
        EXPECT_EQ(Shell("sox " + path + " -n stat"), 0);
    }
}

TEST(OggFileWrite, SameSamplesGiveTheSameBytesWhateverTheBlocks) {
    TempFolder folder;
    const std::vector<float> pairs = ToPairs(MusicInts(0.9, 44100, 2, 16), 2, 16);
    OggFile out;
    out.SetQuality(6);
    WriteOgg(out, folder / "a.ogg", pairs, 44100, 2);
    const std::string expected = ReadBytes(folder / "a.ogg");
    for (int32_t block : {1, 100, 1024, 1025, 100000}) {
        WriteOgg(out, folder / "b.ogg", pairs, 44100, 2, block);
        EXPECT_TRUE(ReadBytes(folder / "b.ogg") == expected) << block;
    }
    out.SetSerialNumber(1);
    WriteOgg(out, folder / "b.ogg", pairs, 44100, 2);
    EXPECT_EQ(ReadBytes(folder / "b.ogg").size(), expected.size());
    EXPECT_FALSE(ReadBytes(folder / "b.ogg") == expected);
}

TEST(OggFileWrite, ImpossibleBitratesAreToldBeforehand) {
    OggFile out;
    out.SetBitrate(128, 0, 0);
    EXPECT_TRUE(out.EncoderTakes(44100, 2));
    out.SetBitrate(5000, 0, 0);
    EXPECT_FALSE(out.EncoderTakes(44100, 2));
}

TEST(OggFileTags, AreReadByOthersAndThePrivateOneByUs) {
    TempFolder folder;
    const std::string path = folder / "a.ogg";
    VorbisTags tags;
    tags.Add("TITLE",
             "Gr\xC3\xBC\xC3\x9F"
             "e = 2");
    tags.Add("", "a name is missing");
    tags.Add("ORVT", "9/8/7");
    std::vector<uint8_t> image(50001);
    for (size_t i = 0; i < image.size(); ++i) image[i] = static_cast<uint8_t>(i * i >> 3);
    tags.pictures.push_back({3, "image/png", "cover", 10, 10, 24, 0, image});
    OggFile file;
    file.SetTagData(tags);
    WriteOgg(file, path, std::vector<float>(20000), 44100, 2);
    EXPECT_EQ(file.ReadTags(path), "9/8/7");
    EXPECT_EQ(file.ReadTags(folder / "none.ogg"), "");
    ASSERT_EQ(file.Open(path, OM_READ), 0);
    EXPECT_EQ(file.GetTotalSamples(0), 10000);
    EXPECT_TRUE(file.Close());

    NEED_TOOLS("vorbiscomment", "ffmpeg");
    ASSERT_EQ(Shell("vorbiscomment -R -l -c " + (folder / "tags") + " " + path), 0);
    Shell("vorbiscomment -R -l " + path + " > " + (folder / "tags"));
    const std::string listed = ReadBytes(folder / "tags");
    EXPECT_EQ(listed.substr(0, listed.find("METADATA")),
              "ENCODER=Orvane V13.15\nTITLE=Gr\xC3\xBC\xC3\x9F"
              "e = 2\nORVT=9/8/7\n");
    ASSERT_EQ(Shell("ffmpeg -y -i " + path + " -map 0:v -c copy -f data " + (folder / "cover")), 0);
    EXPECT_TRUE(ReadBytes(folder / "cover") == std::string(image.begin(), image.end()));
}

TEST(OggFile, PastTheEndIsPlainNothing) {
    TempFolder folder;
    OggFile file;
    WriteOgg(file, folder / "a.ogg", std::vector<float>(20000), 44100, 1);
    ASSERT_EQ(file.Open(folder / "a.ogg", OM_READ), 0);
    float pairs[20];
    for (int64_t position : {int64_t{10000}, int64_t{10001}, int64_t{1} << 40}) {
        EXPECT_EQ(file.Read(position, pairs, 10, 0), 0);
    }
    EXPECT_EQ(file.Read(9999, pairs, 10, 0), 1);
    EXPECT_EQ(file.GetCapabilities(2).capabilities, 0x183u);
    int32_t rate = 0, depth = 0;
    file.AdjustFormat(rate, depth, 2);
    EXPECT_EQ(rate, 44100);
    EXPECT_EQ(depth, 16);
}

TEST(OggFile, ReleasedResourcesComeBackAndManyThreadsMayRead) {
    TempFolder folder;
    const std::string path = folder / "a.ogg";
    OggFile file;
    WriteOgg(file, path, ToPairs(MusicInts(0.8, 44100, 2, 16), 2, 16), 44100, 2);
    ASSERT_EQ(file.Open(path, OM_READ), 0);
    int result = 0;
    const std::vector<float> straight = PullAll(file, 4096, result);
    ExpectSafeFromThreads(file, straight);
    file.ReleaseResources();
    std::filesystem::remove(path);
    float pair[2];
    EXPECT_EQ(file.Read(0, pair, 1, 0), ERR_CANNOT_OPEN);
    OggFile other;
    WriteOgg(other, path, std::vector<float>(20000), 44100, 1);
    EXPECT_EQ(file.Read(0, pair, 1, 0), ERR_CONTENTS) << "another file of that name";
}

TEST(OggFile, FullDiskIsAWriteErrorWithItsReason) {
    if (!std::filesystem::exists("/dev/full")) GTEST_SKIP() << "no /dev/full";
    TempFolder folder;
    const std::string full = folder / "full.ogg";
    std::filesystem::create_symlink("/dev/full", full);  // a name that may be deleted
    OggFile file;
    ASSERT_EQ(file.SetSBC(44100, 16, 2), 0);
    // The header alone is too much for it.
    EXPECT_EQ(file.Open(full, OM_CREATE), ERR_IO);
    EXPECT_NE(GetLastError().text.find("No space left"), std::string::npos) << GetLastError().text;
    EXPECT_FALSE(std::filesystem::is_symlink(full)) << "a file without a header stays";
}

TEST(OggFileDamage, BadFilesAreRefusedOrReadWithoutHarm) {
    TempFolder folder;
    OggFile out;
    const std::vector<float> pairs = ToPairs(MusicInts(1, 44100, 2, 16), 2, 16);
    WriteOgg(out, folder / "a.ogg", pairs, 44100, 2);
    const std::string good = ReadBytes(folder / "a.ogg");
    const std::string refused[] = {
        "", "OggS", "no audio at all", std::string(100000, '\0'), good.substr(0, 58), good.substr(0, 1000)};
    for (const std::string& bytes : refused) {
        OggFile file;
        EXPECT_EQ(file.Open(folder.Write("bad.ogg", bytes), OM_READ), ERR_CONTENTS) << bytes.size();
        EXPECT_FALSE(GetLastError().text.empty());
    }
    std::mt19937 random(3);
    for (int i = 0; i < 200; ++i) {
        std::string bytes = good;
        if (i % 4 == 0) {
            bytes.resize(random() % bytes.size());
        } else {
            const size_t at = random() % (i % 3 == 0 ? 5000 : bytes.size());
            bytes[at] = static_cast<char>(bytes[at] ^ (1 << random() % 8));
        }
        OggFile file;
        if (file.Open(folder.Write("bad.ogg", bytes), OM_READ) != 0) continue;
        int result = 0;
        EXPECT_LE(static_cast<int64_t>(PullAll(file, 4096, result).size() / 2), file.GetTotalSamples(0));
        std::vector<float> buffer(2 * 3000);
        for (int k = 0; k < 5; ++k) file.Read(random() % 60000, buffer.data(), 3000, 0);
    }
}

}  // namespace
}  // namespace Tesslib
