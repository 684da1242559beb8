#include "tesslib/flacfile.h"

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
using namespace std::string_literals;

using Format = AudioForm;

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

// Writes a file of 16-bit stereo music, or of what is given; its bytes.
std::string WriteFlac(const std::string& path, const std::vector<float>& pairs, const Format& f = {16, 44100, 2}) {
    FLACFile out;
    WriteFile(out, path, f, pairs);
    return ReadBytes(path);
}

std::vector<float> ReadFlac(const std::string& path) {
    FLACFile file;
    EXPECT_EQ(file.Open(path, OM_READ), 0) << GetLastError().text;
    return ReadWhole(file);
}

TEST(FLACFile, SamplesOfOtherEncodersEqualTheReferenceDecoder) {
    NEED_TOOLS("flac", "sox", "ffmpeg");
    TempFolder folder;
    const std::string path = folder / "a.flac", wav = folder / "in.wav";
    for (const Format& f : {Format{16, 44100, 2}, {16, 16000, 1}, {24, 96000, 2}, {24, 48000, 1}, {24, 192000, 2}}) {
        const std::vector<int32_t> samples = MusicInts(0.7, f.rate, f.channels, f.bits);
        MakeFlac(path, samples, f, "-5");
        ASSERT_EQ(Shell("flac -s -d -f -o " + wav + " " + path), 0);
        for (const std::string& encoder :
             {"-0"s, "-5"s, "-8 -P 100"s, "-3 --no-seektable -b 576"s, "-5 -b 65535 --lax"s, "-2 -b 16"s,
              "sox " + wav + " " + path,
              "ffmpeg -y -i " + wav + (f.bits == 24 ? " -sample_fmt s32 -bits_per_raw_sample 24 " : " ") + path}) {
            SCOPED_TRACE(encoder + Flags(f));
            if (encoder[0] == '-') {
                MakeFlac(path, samples, f, encoder);
            } else {
                ASSERT_EQ(Shell(encoder), 0);
            }
            FLACFile in;
            ASSERT_EQ(in.Open(path, OM_READ), 0) << GetLastError().text;
            EXPECT_EQ(in.BitDepth(), f.bits);
            EXPECT_EQ(in.GetSampleRate(0), f.rate);
            EXPECT_EQ(in.Channels(), f.channels);
            const std::vector<float> expected = ToPairs(DecodeFlac(path, f.bits), f.channels, f.bits);
            EXPECT_EQ(expected.size(), 2 * samples.size() / static_cast<size_t>(f.channels));
            EXPECT_TRUE(ReadWhole(in) == expected);
            ExpectSeekEqualsRead(in, expected, 60, 1);
        }
    }
}

TEST(FLACFile, OtherDecodersGiveTheSamplesBack) {
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
            FLACFile file;
            file.SetCompressionLevel(level);
            // The finished file tells its true length, whatever was expected.
            WriteFile(file, path, f, pairs, 16384, level * 1000);
            EXPECT_EQ(Shell("flac -s -t " + path), 0);
            EXPECT_EQ(DecodeFlac(path, f.bits), samples);
            ASSERT_EQ(file.Open(path, OM_READ), 0);
            EXPECT_EQ(file.BitDepth(), f.bits);
            EXPECT_TRUE(ReadWhole(file) == pairs);
        }
    }
}

TEST(FLACFile, TagsAreReadByOthersAndThePrivateOneByUs) {
    NEED_TOOLS("flac", "metaflac");
    TempFolder folder;
    const std::string path = folder / "a.flac";
    VorbisTags tags;
    tags.Add("ARTIST", "Bj\xC3\xB6rk \xE2\x80\x93 \"Live\"");
    tags.Add("COMMENT", "two\nlines");
    tags.Add("orvt", "1/2/3/0/0/0/44100");
    const std::vector<uint8_t> image(70000, 0xA5);
    tags.pictures.push_back({3, "image/jpeg", "cover", 600, 500, 24, 0, image});
    tags.pictures.push_back({3, "image/png", "too large", 1, 1, 24, 0, std::vector<uint8_t>(1 << 24)});
    FLACFile file;
    file.SetTagData(tags);
    WriteFile(file, path, {16, 44100, 2}, std::vector<float>(5000));
    EXPECT_EQ(file.ReadTags(path), "1/2/3/0/0/0/44100");
    EXPECT_EQ(Shell("flac -s -t " + path), 0);
    ASSERT_EQ(Shell("metaflac --no-utf8-convert --export-tags-to=" + (folder / "tags") + " " + path), 0);
    EXPECT_EQ(ReadBytes(folder / "tags"),
              "ARTIST=Bj\xC3\xB6rk \xE2\x80\x93 \"Live\"\nCOMMENT=two\nlines\norvt=1/2/3/0/0/0/44100\n");
    ASSERT_EQ(Shell("metaflac --export-picture-to=" + (folder / "cover") + " " + path), 0);
    EXPECT_EQ(ReadBytes(folder / "cover"), std::string(image.begin(), image.end()));
}

TEST(FLACFile, TruncateKeepsThePrefixAndAFileForOthers) {
    NEED_TOOLS("flac");
    TempFolder folder;
    const std::string path = folder / "a.flac";
    const std::vector<float> pairs = ToPairs(MusicInts(1.5, 44100, 2, 16), 2, 16);
    for (int64_t cut : {4096, 4097, 1, 50000, 66149}) {
        SCOPED_TRACE(cut);
        WriteFlac(path, pairs);
        FLACFile file;
        ASSERT_EQ(file.Open(path, OM_READ), 0);
        EXPECT_EQ(file.Truncate(66150), file.FileSize()) << "a larger total changes nothing";
        const int64_t length = file.Truncate(cut);
        ASSERT_GT(length, 0) << GetLastError().text;
        EXPECT_EQ(length, static_cast<int64_t>(std::filesystem::file_size(path)));
        const std::vector<float> expected(pairs.begin(), pairs.begin() + 2 * cut);
        EXPECT_TRUE(ReadWhole(file) == expected);
        ASSERT_TRUE(file.Close());
        EXPECT_TRUE(ReadFlac(path) == expected);
        EXPECT_EQ(Shell("flac -s -t " + path), 0);
        // The others see whole blocks.
        std::vector<float> theirs = ToPairs(DecodeFlac(path, 16), 2, 16);
        EXPECT_EQ(theirs.size() / 2, static_cast<size_t>(std::min<int64_t>((cut + 4095) / 4096 * 4096, 66150)));
        theirs.resize(expected.size());
        EXPECT_TRUE(theirs == expected);
    }
}

// --- Damage. The bytes of a small file, changed. ---

class FLACFileDamage : public testing::Test {
protected:
    TempFolder folder;
    const std::vector<float> pairs = ToPairs(MusicInts(0.8, 44100, 2, 16), 2, 16);
    const std::string good = WriteFlac(folder / "good.flac", pairs);

    // Whatever can be read of the bytes is what was written.
    std::vector<float> ReadPrefix(FLACFile& file, int& result) {
        std::vector<float> got = PullAll(file, 1024, result);
        EXPECT_TRUE(got.size() <= pairs.size() && std::equal(got.begin(), got.end(), pairs.begin()));
        return got;
    }
};

TEST_F(FLACFileDamage, ATruncatedFileGivesWhatIsWholeAndThenItsFault) {
    int result = 0;
    for (size_t length = good.size() - 1; length > good.size() / 4; length -= good.size() / 23) {
        FLACFile file;
        ASSERT_EQ(file.Open(folder.Write("cut.flac", good.substr(0, length)), OM_READ), 0);
        EXPECT_EQ(ReadPrefix(file, result).size() % (2 * 4096), 0u) << length;
        EXPECT_EQ(result, ERR_CONTENTS) << length;
    }
    // A torso, of a length that was only expected, opens too.
    FLACFile file;
    ASSERT_EQ(file.SetSBC(44100, 16, 2), 0);
    ASSERT_EQ(file.Open(folder / "torso.flac", OM_CREATE, 0, 0, 100000), 0);
    ASSERT_GT(file.Write(pairs.data(), 20000), 0);
    EXPECT_FALSE(file.Close(CLOSE_FAILED));
    ASSERT_EQ(file.Open(folder / "torso.flac", OM_READ), 0);
    EXPECT_EQ(file.GetTotalSamples(0), 100000);
    EXPECT_EQ(ReadPrefix(file, result).size() / 2, 4u * 4096);
    EXPECT_EQ(result, 0);
}

TEST_F(FLACFileDamage, FlippedBitsAreToldAndTheRestIsStillRead) {
    std::string bytes = good;
    bytes[bytes.size() / 2] ^= 0x10;
    FLACFile file;
    ASSERT_EQ(file.Open(folder.Write("bad.flac", bytes), OM_READ), 0);
    int result = 0;
    const std::vector<float> got = ReadPrefix(file, result);
    EXPECT_EQ(result, ERR_CONTENTS);
    EXPECT_NE(GetLastError().text.find("wrong check sum"), std::string::npos) << GetLastError().text;
    const int64_t damaged = static_cast<int64_t>(got.size() / 2) / 4096 * 4096, behind = damaged + 4096;
    std::vector<float> rest(2 * 4096);
    ASSERT_EQ(file.Read(behind, rest.data(), 4096, 0), 4096) << GetLastError().text;
    EXPECT_TRUE(std::equal(rest.begin(), rest.end(), pairs.begin() + 2 * behind));
}

}  // namespace
}  // namespace Tesslib
