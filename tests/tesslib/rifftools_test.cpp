// WAV and AIFF between Orvane and other programs, in both directions: every sample equal.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "foundation/lasterror.h"
#include "stream_checks.h"
#include "temp_folder.h"
#include "tesslib/aiffile.h"
#include "tesslib/wavfile.h"

namespace Tesslib {
namespace {

using namespace OrvaneTest;

constexpr double kSeconds = 0.3;

struct Form {
    const char* name;
    bool aiff;
    int rate, channels, bits;
    bool int32;
    uint32_t options;
};

TEST(RiffTools, OthersReadWhatWeWrite) {
    NEED_TOOLS("sox", "ffmpeg");
    OrvaneTest::TempFolder folder;
    for (const Form& form : {Form{"16.wav", false, 44100, 2, 16, false, 0},
                             {"mono16.wav", false, 22050, 1, 16, false, 1},
                             {"24.wav", false, 96000, 2, 24, false, 1},
                             {"mono24.wav", false, 48000, 1, 24, false, 0},
                             {"int32.wav", false, 192000, 2, 32, true, 0},
                             {"float.wav", false, 44100, 2, 32, false, 0},
                             {"rf64.wav", false, 44100, 2, 24, false, 0x20001},
                             {"16.aiff", true, 44100, 2, 16, false, 0},
                             {"mono24.aiff", true, 96000, 1, 24, false, 0},
                             {"int32.aiff", true, 44100, 2, 32, true, 0},
                             {"float.aiff", true, 48000, 2, 32, false, 0}}) {
        const int sample_bits = form.bits == 32 ? 24 : form.bits;  // floats hold no more
        std::vector<int32_t> samples = MusicInts(kSeconds, form.rate, form.channels, sample_bits);
        if (form.channels == 1) samples.pop_back();  // an odd number of bytes in 24 bits
        const std::vector<float> pairs = ToPairs(samples, form.channels, sample_bits);
        const std::string path = folder / form.name;

        WAVFile wav(form.options);
        AIFFile aiff;
        PCMFileStream& file = form.aiff ? static_cast<PCMFileStream&>(aiff) : wav;
        file.SetInt32Samples(form.int32);
        file.tags = {'I', 'D', '3', 3, 0, 0, 0, 0, 0, 1, 0};
        ASSERT_EQ(file.SetSBC(form.rate, form.bits, form.channels), 0);
        ASSERT_EQ(file.Open(path, OM_CREATE), 0);
        ASSERT_GT(file.Write(pairs.data(), static_cast<int32_t>(pairs.size() / 2)), 0);
        ASSERT_TRUE(file.Close());

        // The reference is what the encoder wrote, for 32 bits by the float itself.
        const bool is_float = form.bits == 32 && !form.int32;
        const std::string raw =
            is_float ? "-f f32le -c:a pcm_f32le"
                     : "-f s" + std::to_string(form.bits) + "le -c:a pcm_s" + std::to_string(form.bits) + "le";
        ASSERT_EQ(Shell("ffmpeg -v error -y -i '" + path + "' " + raw + " '" + path + ".raw'"), 0) << form.name;
        std::vector<uint8_t> expected(pairs.size() * 4);
        std::vector<float> values;
        for (size_t i = 0; i < pairs.size(); i += form.channels == 1 ? 2 : 1) values.push_back(pairs[i]);
        const int32_t n_bytes = SampleEncoder(form.bits, false, false, form.int32)
                                    .Encode(values.data(), static_cast<int32_t>(values.size()), expected.data());
        const std::string wanted(expected.begin(), expected.begin() + n_bytes);
        EXPECT_TRUE(ReadBytes(path + ".raw") == wanted) << form.name << " by ffmpeg";

        // RF64 and 32 bits in AIFF-C are not known to sox, and it keeps no floats.
        if (form.options == 0x20001 || (form.aiff && form.bits == 32) || is_float) continue;
        const std::string encoding = "-e signed-integer -b " + std::to_string(form.bits);
        ASSERT_EQ(Shell("sox -D '" + path + "' -t raw -L " + encoding + " '" + path + ".sox'"), 0) << form.name;
        EXPECT_TRUE(ReadBytes(path + ".sox") == wanted) << form.name << " by sox";
    }
}

TEST(RiffTools, WeReadWhatOthersWrite) {
    NEED_TOOLS("sox", "ffmpeg");
    OrvaneTest::TempFolder folder;
    struct Tool {
        const char* name;
        std::string command;  // from raw.FORMAT to the named file
    };
    for (int channels : {1, 2}) {
        for (int bits : {16, 24}) {
            const std::vector<int32_t> samples = MusicInts(kSeconds, 48000, channels, bits);
            const std::vector<float> pairs = ToPairs(samples, channels, bits);
            folder.Write("in.raw", ToRaw(samples, bits / 8));
            const std::string b = std::to_string(bits), c = std::to_string(channels);
            const std::string sox = "sox -D -t raw -r 48000 -c " + c + " -L -e signed-integer -b " + b + " in.raw ";
            const std::string ffmpeg = "ffmpeg -v error -y -f s" + b + "le -ar 48000 -ac " + c + " -i in.raw ";
            for (const Tool& tool :
                 {Tool{"a.wav", sox + "a.wav"},
                  {"b.wav", sox + "-t wavpcm b.wav"},
                  {"c.wav", sox + "-t wav - | cat > c.wav"},
                  {"d.wav", ffmpeg + "-c:a pcm_s" + b + "le d.wav"},
                  {"e.wav", ffmpeg + "-c:a pcm_s" + b + "le -rf64 always e.wav"},
                  {"f.wav", ffmpeg + "-c:a pcm_s" + b + "le -f w64 f.wav"},
                  {"g.wav", ffmpeg + "-c:a pcm_s" + b + "le -f wav - | cat > g.wav"},
                  {"a.aiff", sox + "a.aiff"},
                  {"b.aiff", ffmpeg + "-c:a pcm_s" + b + "be b.aiff"},
                  {"c.aiff", sox + "-t aifc c.aiff"},
                  {"d.aiff", ffmpeg + "-c:a " + (bits == 16 ? "pcm_s16le" : "pcm_s24be") + " d.aiff"}}) {
                ASSERT_EQ(Shell("cd '" + folder.Path() + "' && " + tool.command), 0) << tool.command;
                WAVFile wav;
                AIFFile aiff;
                const bool is_aiff = std::string(tool.name).ends_with("aiff");
                PCMFileStream& file = is_aiff ? static_cast<PCMFileStream&>(aiff) : wav;
                ASSERT_EQ(file.Open(folder / tool.name, OM_READ), 0) << tool.command << GetLastError().text;
                EXPECT_EQ(file.BitDepth(), bits) << tool.command;
                EXPECT_EQ(file.GetSampleRate(0), 48000);
                EXPECT_EQ(file.GetTotalSamples(0), static_cast<int64_t>(pairs.size() / 2)) << tool.command;
                int result = 0;
                EXPECT_TRUE(PullAll(file, 4096, result) == pairs) << tool.command;
            }
        }
    }
}

TEST(RiffTools, ThirtyTwoBitsFromOthers) {
    NEED_TOOLS("sox", "ffmpeg");
    OrvaneTest::TempFolder folder;
    const std::vector<int32_t> samples = MusicInts(kSeconds, 44100, 2, 24);
    std::vector<int32_t> wide = samples;
    for (int32_t& sample : wide) sample *= 256;
    folder.Write("in.raw", ToRaw(wide, 4));
    const std::string ffmpeg = "ffmpeg -v error -y -f s32le -ar 44100 -ac 2 -i in.raw ";
    std::vector<float> integers, floats;
    for (int32_t sample : wide) {
        integers.push_back(static_cast<float>(sample * (1.0 / 2147483647.0)));
        floats.push_back(static_cast<float>(sample) / 2147483648.0f);
    }
    for (const char* codec : {"pcm_s32le a.wav", "pcm_f32le b.wav", "pcm_s32be c.aiff", "pcm_f32be d.aiff"}) {
        ASSERT_EQ(Shell("cd '" + folder.Path() + "' && " + ffmpeg + "-c:a " + codec), 0) << codec;
        const std::string name = std::string(codec).substr(10);
        WAVFile wav;
        AIFFile aiff;
        PCMFileStream& file = name.ends_with("aiff") ? static_cast<PCMFileStream&>(aiff) : wav;
        ASSERT_EQ(file.Open(folder / name, OM_READ), 0) << codec << GetLastError().text;
        int result = 0;
        EXPECT_TRUE(PullAll(file, 4096, result) == (codec[4] == 'f' ? floats : integers)) << codec;
    }
}

}  // namespace
}  // namespace Tesslib
