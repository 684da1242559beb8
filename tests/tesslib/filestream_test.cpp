#include "tesslib/filestream.h"

#include <gtest/gtest.h>
#include <sys/resource.h>

#include <csignal>
#include <filesystem>
#include <string>
#include <vector>

#include "foundation/lasterror.h"
#include "temp_folder.h"
#include "tesslib/wavfile.h"

namespace Tesslib {
namespace {

TEST(FileStream, FormatsAreBentToTheLimits) {
    class Small : public NullFileStream {
        FormatLimits GetCapabilities(int32_t) const override { return {CAP_PCM_WRITE, 16000, 96000, 16}; }
    };
    struct Case {
        int32_t rate, depth, adjusted_rate, adjusted_depth;
    };
    for (const Case& c : {Case{0, 0, 44100, 16}, {8000, 24, 16000, 16}, {192000, 16, 96000, 16}}) {
        int32_t rate = c.rate, depth = c.depth;
        Small().AdjustFormat(rate, depth, 2);
        EXPECT_EQ(rate, c.adjusted_rate);
        EXPECT_EQ(depth, c.adjusted_depth);
    }
    int32_t rate = 192000, depth = 20;
    WAVFile().AdjustFormat(rate, depth, 2);
    EXPECT_EQ(depth, 24);
    EXPECT_EQ(rate, 192000);
}

TEST(FileStream, SetSBCChecksLikeAReader) {
    WAVFile file;
    EXPECT_EQ(file.SetSBC(44100, 20, 2), ERR_CONTENTS);
    EXPECT_EQ(GetLastError().text,
              "Unsupported bit depth (20) in file:\n\n<b>FileStream::SetSBC</b>\n\nOnly 16, 24 and 32 bit files are "
              "supported (plus 20 bit for FLAC and Apple Lossless)");
    EXPECT_DEATH(file.SetSBC(8000, 16, 2), "samplerate >= min_samplerate && samplerate <= max_samplerate");
    EXPECT_DEATH(file.SetSBC(44100, 64, 2), "bit_depth <= max_bit_depth");
    EXPECT_DEATH(file.SetSBC(44100, 16, 3), "n_channels >= 1 && n_channels <= 2");
    EXPECT_EQ(file.SetSBC(44100, 24, 1), 0);
}

TEST(FileStream, WhatCannotBeOpenedIsSaid) {
    OrvaneTest::TempFolder folder;
    const std::string missing = folder / "missing.wav";
    WAVFile file;
    ASSERT_EQ(file.SetSBC(44100, 16, 2), 0);
    EXPECT_EQ(file.Open(missing, OM_READ), ERR_CANNOT_OPEN);
    EXPECT_EQ(GetLastError().text,
              "Cannot open file:\n\n<b>" + missing + "</b>\n\nerror 2 (No such file or directory)");
    EXPECT_EQ(file.Open(folder.Path(), OM_READ), ERR_CANNOT_OPEN);
    EXPECT_EQ(file.Open(folder / "no/folder.wav", OM_CREATE), ERR_CANNOT_OPEN);
    EXPECT_EQ(
        GetLastError().text.rfind("Cannot open file:\n\n<b>" + (folder / "no/folder.wav") + "</b>\n\nfor writing", 0),
        0u);
    EXPECT_EQ(file.Mode(), OM_NONE);
    EXPECT_TRUE(file.Close());
    EXPECT_FALSE(file.Close(CLOSE_FAILED));
}

// While it lives no file of this process grows beyond `bytes`.
class DiskLimit {
public:
    explicit DiskLimit(rlim_t bytes) {
        signal(SIGXFSZ, SIG_IGN);
        getrlimit(RLIMIT_FSIZE, &before);
        rlimit limit = before;
        limit.rlim_cur = bytes;
        setrlimit(RLIMIT_FSIZE, &limit);
    }
    ~DiskLimit() { setrlimit(RLIMIT_FSIZE, &before); }

private:
    rlimit before{};
};

TEST(FileStream, AFullDiskIsAnErrorAndTheFirstTextStays) {
    OrvaneTest::TempFolder folder;
    const std::string path = folder / "a.wav";
    const std::string message = "Error 27 writing to file:\n\n<b>" + path + "</b>\n\n(File too large)";
    const std::vector<float> pairs(2 * 5000);
    {
        // Noticed by a Write, and the file is taken back.
        WAVFile file;
        ASSERT_EQ(file.SetSBC(44100, 16, 2), 0);
        ASSERT_EQ(file.Open(path, OM_CREATE), 0);
        DiskLimit limit(50000);
        int64_t written = 1;
        for (int i = 0; i < 20 && written > 0; ++i) written = file.Write(pairs.data(), 5000);
        EXPECT_EQ(written, ERR_IO);
        EXPECT_EQ(GetLastError().text, message);
        EXPECT_FALSE(file.Close(CLOSE_FAILED_AND_DELETE));
        EXPECT_EQ(GetLastError().text, message);
        EXPECT_FALSE(std::filesystem::exists(path));
        EXPECT_EQ(file.Mode(), OM_NONE);
    }
    {
        // Noticed only at the end, when the buffer goes out.
        WAVFile file;
        ASSERT_EQ(file.SetSBC(44100, 16, 2), 0);
        DiskLimit limit(100);
        ASSERT_EQ(file.Open(path, OM_CREATE, 1 << 16), 0);
        EXPECT_EQ(file.Write(pairs.data(), 50), 200);
        EXPECT_FALSE(file.Close());
        EXPECT_EQ(GetLastError().text, message);
    }
}

TEST(FileStream, ADestructorFinishesTheFile) {
    OrvaneTest::TempFolder folder;
    const std::vector<float> pairs(2 * 10);
    {
        WAVFile file;
        ASSERT_EQ(file.SetSBC(44100, 16, 2), 0);
        ASSERT_EQ(file.Open(folder / "a.wav", OM_CREATE), 0);
        file.Write(pairs.data(), 10);
    }
    WAVFile file;
    ASSERT_EQ(file.Open(folder / "a.wav", OM_READ), 0);
    EXPECT_EQ(file.GetTotalSamples(0), 10);
    EXPECT_EQ(file.FileSize(), 84);
    EXPECT_GT(file.Time(), kFileTimeUnixEpoch);
    EXPECT_EQ(file.Filename(), folder / "a.wav");
}

TEST(NullFileStream, HasNoSamples) {
    NullFileStream file;
    float pair[2];
    EXPECT_EQ(file.GetCapabilities(2).capabilities, 0u);
    EXPECT_EQ(file.GetCapabilities(2).max_samplerate, INT32_MAX);
    EXPECT_DEATH(file.Read(0, pair, 1, 0), "Read is implemented");
    EXPECT_DEATH(file.Write(pair, 1), "Write is implemented");
    EXPECT_DEATH(file.Truncate(0), "Truncate is implemented");
}

}  // namespace
}  // namespace Tesslib
