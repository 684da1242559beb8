#include "tesslib/oggfile.h"

#include <gtest/gtest.h>

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

TEST(OggFile, SamplesOfOtherEncodersAreTheReferenceDecodersWithinOneStep) {
    NEED_TOOLS("oggenc", "oggdec", "sox", "ffmpeg");
    TempFolder folder;
    const std::string path = folder / "a.ogg", wav = folder / "in.wav";
    ASSERT_EQ(Shell("sox -n -r 48000 -c 2 -b 16 " + wav + " synth 1.3 pluck C3 pluck G4"), 0);
    struct Format {
        int rate;
        int channels;
        std::string encoder;
    };
    for (const Format& f : {Format{44100, 2, "-q 4"},
                            {44100, 1, "-q -1"},
                            {16000, 1, "-q 3"},
                            {96000, 2, "-q 8"},
                            {48000, 2, "-b 160 -m 100 -M 200 --managed"},
                            {48000, 2, "sox " + wav + " -C 6 " + path},
                            {48000, 2, "ffmpeg -y -i " + wav + " -c:a libvorbis -q:a 5 " + path}}) {
        SCOPED_TRACE(f.encoder);
        if (f.encoder[0] == '-') {
            MakeOgg(path, MusicInts(1.1, f.rate, f.channels, 16), f.rate, f.channels, f.encoder);
        } else {
            ASSERT_EQ(Shell(f.encoder), 0);
        }
        OggFile in;
        ASSERT_EQ(in.Open(path, OM_READ), 0) << GetLastError().text;
        EXPECT_EQ(in.GetSampleRate(0), f.rate);
        EXPECT_EQ(in.Channels(), f.channels);
        EXPECT_EQ(in.BitDepth(), 16);
        EXPECT_GT(in.BitRate(), 10);
        const std::vector<float> got = ReadWhole(in);
        ExpectWithinOneStep(got, ToPairs(DecodeOgg(path), f.channels, 16));
        ExpectSeekEqualsRead(in, got, 40, 1);
    }
}

TEST(OggFile, OtherDecodersReadItAndItSoundsTheSame) {
    NEED_TOOLS("oggdec", "ogginfo", "sox");
    TempFolder folder;
    const std::string path = folder / "a.ogg";
    struct Case {
        int rate;
        int channels;
        int quality;  // 99: managed
        double least_snr;
    };
    for (const Case& c :
         {Case{44100, 2, 0, 8}, {44100, 2, 10, 25}, {16000, 1, 5, 10}, {96000, 2, 6, 10}, {44100, 2, 99, 10}}) {
        SCOPED_TRACE(std::to_string(c.rate) + " q " + std::to_string(c.quality));
        const std::vector<float> pairs = ToPairs(MusicInts(1.5, c.rate, c.channels, 16), c.channels, 16);
        OggFile file;
        if (c.quality == 99) {
            file.SetBitrate(128, 150, 100);  // the limits are held to the nominal rate
        } else {
            file.SetQuality(c.quality);
        }
        ASSERT_TRUE(file.EncoderTakes(c.rate, c.channels));
        WriteFile(file, path, {16, c.rate, c.channels}, pairs);
        EXPECT_EQ(Shell("ogginfo " + path + " && sox " + path + " -n stat"), 0);
        const std::vector<float> theirs = ToPairs(DecodeOgg(path), c.channels, 16);
        ASSERT_EQ(theirs.size(), pairs.size());
        EXPECT_GT(SignalToNoise(theirs, pairs), c.least_snr);
        ASSERT_EQ(file.Open(path, OM_READ), 0);
        ExpectWithinOneStep(ReadWhole(file), theirs);
    }
}

TEST(OggFile, TagsAreReadByOthersAndThePrivateOneByUs) {
    NEED_TOOLS("vorbiscomment", "ffmpeg");
    TempFolder folder;
    const std::string path = folder / "a.ogg", title = "Bj\xC3\xB6rk = 2";
    VorbisTags tags;
    tags.Add("TITLE", title);
    tags.Add("ORVT", "9/8/7");
    std::vector<uint8_t> image(50001);  // no multiple of three: the coding ends in padding
    for (size_t i = 0; i < image.size(); ++i) image[i] = static_cast<uint8_t>(i * i >> 3);
    tags.pictures.push_back({3, "image/png", "cover", 10, 10, 24, 0, image});
    OggFile file;
    file.SetTagData(tags);
    WriteFile(file, path, {16, 44100, 2}, std::vector<float>(20000));
    EXPECT_EQ(file.ReadTags(path), "9/8/7");
    ASSERT_EQ(Shell("vorbiscomment -R -l -c " + (folder / "tags") + " " + path), 0);
    Shell("vorbiscomment -R -l " + path + " > " + (folder / "tags"));
    const std::string listed = ReadBytes(folder / "tags");
    EXPECT_EQ(listed.substr(0, listed.find("METADATA")), "ENCODER=Orvane V13.15\nTITLE=" + title + "\nORVT=9/8/7\n");
    ASSERT_EQ(Shell("ffmpeg -y -i " + path + " -map 0:v -c copy -f data " + (folder / "cover")), 0);
    EXPECT_TRUE(ReadBytes(folder / "cover") == std::string(image.begin(), image.end()));
}

}  // namespace
}  // namespace Tesslib
