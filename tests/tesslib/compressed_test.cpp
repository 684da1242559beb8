// FLAC and Ogg Vorbis files against the reference programs of their formats.
#include <gtest/gtest.h>

#include <filesystem>

#include "foundation/lasterror.h"
#include "stream_checks.h"
#include "temp_folder.h"
#include "tesslib/fileformats.h"
#include "tesslib/flacfile.h"
#include "tesslib/oggfile.h"
#include "tesslib/wavfile.h"

using namespace Foundation;

namespace Tesslib {
namespace {

using namespace OrvaneTest;
using OrvaneTest::TempFolder;  // and not the function of that name
using namespace std::string_literals;

constexpr double kOneStep = 1.01 / 32767;  // of 16 bits, through which Ogg files pass on the way in

std::vector<float> Ringing(double seconds, const AudioForm& f) {
    return ToPairs(RingingInts(seconds, f.rate, f.channels, f.bits), f.channels, f.bits);
}

std::vector<float> ReadFile(const std::string& path) {
    int error = 0;
    RefPtr<FileStream> file = OpenForReading(path, error);
    EXPECT_TRUE(file) << GetLastError().text;
    return file ? ReadWhole(*file) : std::vector<float>();
}

// Decodes by the reference program.
std::vector<float> Decoded(const std::string& path) {
    const std::string decoder = path.ends_with(".flac") ? "flac -s -d -f" : "oggdec -Q";
    EXPECT_EQ(Shell(decoder + " -o " + path + ".wav " + path), 0);
    return ReadFile(path + ".wav");
}

void ExpectNear(const std::vector<float>& got, const std::vector<float>& wanted, double tolerance) {
    ASSERT_EQ(got.size(), wanted.size());
    double worst = 0;
    for (size_t i = 0; i < got.size(); ++i) worst = std::max<double>(worst, std::abs(got[i] - wanted[i]));
    EXPECT_LE(worst, tolerance);
}

TEST(CompressedFiles, OfOtherEncodersGiveWhatTheReferenceDecoderGives) {
    NEED_TOOLS("flac", "oggenc", "oggdec", "sox", "ffmpeg");
    TempFolder folder;
    struct Row {
        AudioForm form;
        std::string encoder;
    };
    std::vector<Row> rows = {{{16, 44100, 2}, "oggenc -Q -q 4 -o a.ogg in.wav"},
                             {{16, 44100, 1}, "oggenc -Q -q -1 -o a.ogg in.wav"},
                             {{16, 16000, 1}, "oggenc -Q -q 3 -o a.ogg in.wav"},
                             {{16, 96000, 2}, "oggenc -Q -q 8 -o a.ogg in.wav"},
                             {{16, 48000, 2}, "oggenc -Q -b 160 -m 100 -M 200 --managed -o a.ogg in.wav"},
                             {{16, 48000, 2}, "sox in.wav -C 6 a.ogg"},
                             {{16, 48000, 2}, "ffmpeg -y -i in.wav -c:a libvorbis -q:a 5 a.ogg"}};
    for (const AudioForm& f :
         {AudioForm{16, 44100, 2}, {16, 16000, 1}, {24, 96000, 2}, {24, 48000, 1}, {24, 192000, 2}}) {
        for (const char* options :
             {"-0", "-5", "-8 -P 100", "-3 --no-seektable -b 576", "-5 -b 65535 --lax", "-2 -b 16"}) {
            rows.push_back({f, "flac -s -f -o a.flac in.wav "s + options});
        }
        rows.push_back({f, "sox in.wav a.flac"});
        const char* as_24 = f.bits == 24 ? "-sample_fmt s32 -bits_per_raw_sample 24 " : "";
        rows.push_back({f, "ffmpeg -y -i in.wav "s + as_24 + "a.flac"});
    }
    for (const Row& row : rows) {
        SCOPED_TRACE(row.encoder + " " + std::to_string(row.form.rate));
        const bool lossless = row.encoder.find(".flac") != std::string::npos;
        const std::string path = folder / (lossless ? "a.flac" : "a.ogg");
        const std::vector<float> pairs = Ringing(0.9, row.form);
        WAVFile wav;
        WriteFile(wav, folder / "in.wav", row.form, pairs);
        ASSERT_EQ(Shell("cd '" + folder.Path() + "' && " + row.encoder), 0);
        int error = 0;
        RefPtr<FileStream> in = OpenForReading(path, error);
        ASSERT_TRUE(in) << GetLastError().text;
        EXPECT_EQ(in->BitDepth(), row.form.bits);
        EXPECT_EQ(in->GetSampleRate(0), row.form.rate);
        EXPECT_EQ(in->Channels(), row.form.channels);
        EXPECT_EQ(in->BitRate() > 10, !lossless);
        const std::vector<float> got = ReadWhole(*in);
        ExpectNear(got, lossless ? pairs : Decoded(path), lossless ? 0 : kOneStep);
        ExpectSeekEqualsRead(*in, got, 50, 1);
    }
}

TEST(FLACFile, OtherDecodersGiveTheSamplesBack) {
    NEED_TOOLS("flac");
    TempFolder folder;
    const std::string path = folder / "a.flac";
    for (const AudioForm& f : {AudioForm{16, 44100, 2},
                               {16, 16000, 1},
                               {20, 48000, 2},
                               {24, 96000, 2},
                               {24, 44100, 1},
                               {24, 384000, 2},
                               {16, 88201, 2}}) {
        const std::vector<float> pairs = Ringing(0.5, f);
        for (int level : {0, 5, 8}) {
            SCOPED_TRACE(std::to_string(level) + " " + std::to_string(f.rate));
            FLACFile file;
            file.SetCompressionLevel(level);
            // The finished file tells its true length, whatever was expected.
            WriteFile(file, path, f, pairs, 16384, level * 1000);
            EXPECT_EQ(Shell("flac -s -t " + path), 0);
            ExpectNear(Decoded(path), pairs, f.bits == 20 ? 2e-6 : 0);  // as part of 24 bits, of another full scale
            ASSERT_EQ(file.Open(path, OM_READ), 0);
            EXPECT_EQ(file.BitDepth(), f.bits);
            EXPECT_TRUE(ReadWhole(file) == pairs);
        }
    }
}

TEST(OggFile, OtherDecodersReadItAndItSoundsTheSame) {
    NEED_TOOLS("oggdec", "ogginfo", "sox");
    TempFolder folder;
    const std::string path = folder / "a.ogg";
    // A quality of 99 stands for managed bitrates.
    for (const auto& [rate, channels, quality, least_snr] :
         {std::tuple{44100, 2, 0, 8}, {44100, 2, 10, 25}, {16000, 1, 5, 10}, {96000, 2, 6, 10}, {44100, 2, 99, 10}}) {
        SCOPED_TRACE(std::to_string(rate) + " q " + std::to_string(quality));
        const AudioForm form{16, rate, channels};
        const std::vector<float> pairs = Ringing(1.5, form);
        OggFile file;
        if (quality == 99) {
            file.SetBitrate(128, 150, 100);  // the limits are held to the nominal rate
        } else {
            file.SetQuality(quality);
        }
        ASSERT_TRUE(file.EncoderTakes(rate, channels));
        WriteFile(file, path, form, pairs);
        EXPECT_EQ(Shell("ogginfo " + path + " && sox " + path + " -n stat"), 0);
        const std::vector<float> theirs = Decoded(path);
        ASSERT_EQ(theirs.size(), pairs.size());
        EXPECT_GT(SignalToErrorDb(pairs.data(), theirs.data(), static_cast<int>(pairs.size())), least_snr);
        ExpectNear(ReadFile(path), theirs, kOneStep);
    }
}

TEST(CompressedFiles, TagsAreReadByOthersAndThePrivateOneByUs) {
    NEED_TOOLS("flac", "ffmpeg", "ffprobe");
    TempFolder folder;
    VorbisTags tags;
    tags.Add("TITLE", "Bj\xC3\xB6rk = \"2\"");
    tags.Add("COMMENT", "two\nlines");
    tags.Add("orvt", "1/2/3/0/0/0/44100");
    std::vector<uint8_t> image(70001);  // no multiple of three: as text it ends in padding
    for (size_t i = 0; i < image.size(); ++i) image[i] = static_cast<uint8_t>(i * i >> 3);
    tags.pictures.push_back({3, "image/png", "cover", 600, 500, 24, 0, image});
    OggFile ogg;
    ogg.SetTagData(tags);
    tags.pictures.push_back({3, "image/png", "too large", 1, 1, 24, 0, std::vector<uint8_t>(1 << 24)});
    FLACFile flac;
    flac.SetTagData(tags);
    for (FileStream* file : std::initializer_list<FileStream*>{&ogg, &flac}) {
        const std::string path = folder / (file == &ogg ? "a.ogg" : "a.flac"), to = folder / "out";
        WriteFile(*file, path, {16, 44100, 2}, std::vector<float>(20000));
        EXPECT_EQ(file->ReadTags(path), "1/2/3/0/0/0/44100");
        Shell("ffprobe -v error -show_entries format_tags:stream_tags " + path + " > " + to);
        EXPECT_NE(ReadBytes(to).find("TITLE=Bj\xC3\xB6rk = \"2\"\n"), std::string::npos) << ReadBytes(to);
        EXPECT_NE(ReadBytes(to).find("COMMENT=two\nlines\n"), std::string::npos) << ReadBytes(to);
        ASSERT_EQ(Shell("ffmpeg -y -i " + path + " -map 0:v -c copy -f data " + to), 0);
        EXPECT_TRUE(ReadBytes(to) == std::string(image.begin(), image.end()));
    }
    EXPECT_EQ(Shell("flac -s -t " + (folder / "a.flac")), 0);
}

TEST(FLACFile, TruncateKeepsThePrefixAndAFileForOthers) {
    NEED_TOOLS("flac");
    TempFolder folder;
    const std::string path = folder / "a.flac";
    const std::vector<float> pairs = Ringing(1.5, {16, 44100, 2});
    for (int64_t cut : {4096, 4097, 1, 50000, 66149}) {
        SCOPED_TRACE(cut);
        FLACFile file;
        WriteFile(file, path, {16, 44100, 2}, pairs);
        ASSERT_EQ(file.Open(path, OM_READ), 0);
        EXPECT_EQ(file.Truncate(66150), file.FileSize()) << "a larger total changes nothing";
        const int64_t length = file.Truncate(cut);
        ASSERT_GT(length, 0) << GetLastError().text;
        EXPECT_EQ(length, static_cast<int64_t>(std::filesystem::file_size(path)));
        const std::vector<float> expected(pairs.begin(), pairs.begin() + 2 * cut);
        EXPECT_TRUE(ReadWhole(file) == expected);
        ASSERT_TRUE(file.Close());
        ASSERT_EQ(file.Open(path, OM_READ), 0);
        EXPECT_TRUE(ReadWhole(file) == expected);
        EXPECT_EQ(Shell("flac -s -t " + path), 0);
        EXPECT_TRUE(Decoded(path) == expected);
    }
}

TEST(FLACFile, DamageIsToldAndCostsWhatItHits) {
    TempFolder folder;
    const std::vector<float> pairs = Ringing(0.8, {16, 44100, 2});
    FLACFile whole;
    WriteFile(whole, folder / "good.flac", {16, 44100, 2}, pairs);
    const std::string good = ReadBytes(folder / "good.flac");
    // Whatever can be read is what was written; its length.
    const auto read_prefix = [&](FLACFile& file, const std::string& path, int wanted) {
        EXPECT_EQ(file.Open(path, OM_READ), 0);
        int result = 0;
        const std::vector<float> got = PullAll(file, 1024, result);
        EXPECT_EQ(result, wanted) << got.size();
        EXPECT_TRUE(got.size() <= pairs.size() && std::equal(got.begin(), got.end(), pairs.begin()));
        return static_cast<int64_t>(got.size() / 2);
    };
    for (size_t length = good.size() - 1; length > good.size() / 4; length -= good.size() / 23) {
        FLACFile cut;
        EXPECT_EQ(read_prefix(cut, folder.Write("a", good.substr(0, length)), ERR_CONTENTS) % 4096, 0) << length;
    }
    std::string flipped = good;
    flipped[flipped.size() / 2] ^= 0x10;
    FLACFile bad, torso;
    const int64_t damaged = read_prefix(bad, folder.Write("a", flipped), ERR_CONTENTS) / 4096 * 4096;
    EXPECT_NE(GetLastError().text.find("Damaged audio data"), std::string::npos) << GetLastError().text;
    std::vector<float> rest(2 * 4096);
    ASSERT_EQ(bad.Read(damaged + 4096, rest.data(), 4096, 0), 4096) << GetLastError().text;
    EXPECT_TRUE(std::equal(rest.begin(), rest.end(), pairs.begin() + 2 * (damaged + 4096)));
    // A torso, of a length that was only expected, opens too.
    ASSERT_EQ(torso.SetSBC(44100, 16, 2), 0);
    ASSERT_EQ(torso.Open(folder / "torso.flac", OM_CREATE, 0, 0, 100000), 0);
    ASSERT_GT(torso.Write(pairs.data(), 20000), 0);
    EXPECT_FALSE(torso.Close(CLOSE_FAILED));
    EXPECT_EQ(read_prefix(torso, folder / "torso.flac", 0), 4 * 4096);
    EXPECT_EQ(torso.GetTotalSamples(0), 100000);
}

}  // namespace
}  // namespace Tesslib
