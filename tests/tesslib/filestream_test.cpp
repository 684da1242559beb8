// What holds for the files of every format.
#include "tesslib/filestream.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "allocations.h"
#include "disk_limit.h"
#include "foundation/lasterror.h"
#include "stream_checks.h"
#include "temp_folder.h"
#include "tesslib/fileformats.h"
#include "tesslib/wavfile.h"

using namespace Foundation;

namespace Tesslib {
namespace {

using namespace OrvaneTest;
using OrvaneTest::TempFolder;  // and not the function of that name

constexpr int kFormats[] = {FF_WAV, FF_AIFF, FF_FLAC, FF_OGG};

std::vector<float> MusicPairs(double seconds, int channels = 2) {
    return ToPairs(RingingInts(seconds, 44100, channels, 16), channels, 16);
}

// Writes by a fresh object of the format; the result is that object.
RefPtr<FileStream> Written(int format, const std::string& path, const std::vector<float>& pairs, int channels = 2,
                           int32_t block = 16384) {
    RefPtr<FileStream> file = MakeFileStream(format);
    WriteFile(*file, path, {16, 44100, channels}, pairs, block);
    return file;
}

TEST(EveryFormat, AnyReadsFromAnyThreadGiveTheSamples) {
    TempFolder folder;
    for (int format : kFormats) {
        for (int channels : {1, 2}) {
            SCOPED_TRACE(std::string(GetFileFormatInfo(format).name) + " " + std::to_string(channels));
            const std::vector<float> pairs = MusicPairs(0.8, channels);
            const std::string path = folder / "a name that tells nothing";
            Written(format, path, pairs, channels);
            int error = 1;
            RefPtr<FileStream> file = OpenForReading(path, error);
            ASSERT_TRUE(file) << GetLastError().text;
            EXPECT_EQ(file->file_format, format);
            const std::vector<float> straight = ReadWhole(*file);
            ASSERT_EQ(straight.size(), pairs.size());
            // What WAV gives for the integers, the lossless others give to the last bit.
            EXPECT_TRUE(format == FF_OGG || straight == pairs);
            ExpectAnyBlockSize(*file, straight);
            ExpectSeekEqualsRead(*file, straight, 100, 1);
            ExpectSafeFromThreads(*file, straight);

            std::vector<float> buffer(2 * 4096);
            file->Read(0, buffer.data(), 4096, 0);
            const int64_t before = Testing::CountAllocations();
            for (int64_t at : {4096, 0, 8192, 3, 100, 14999}) file->Read(at, buffer.data(), 4096, 0);
            EXPECT_EQ(Testing::CountAllocations(), before);

            if (format != FF_FLAC && format != FF_OGG) continue;
            // What was let go of is opened again, if it is still there and the same.
            file->ReleaseResources();
            std::filesystem::remove(path);
            EXPECT_EQ(file->Read(0, buffer.data(), 1, 0), ERR_CANNOT_OPEN);
            Written(format, path, pairs, 3 - channels);
            EXPECT_EQ(file->Read(0, buffer.data(), 1, 0), ERR_CONTENTS);
        }
    }
}

TEST(EveryFormat, TheCallersBlocksLeaveNoTrace) {
    TempFolder folder;
    const std::vector<float> pairs = MusicPairs(0.9);
    for (int format : kFormats) {
        Written(format, folder / "a", pairs);
        for (int32_t block : {1, 17, 1024, 4097, 100000}) {
            Written(format, folder / "b", pairs, 2, block);
            EXPECT_TRUE(ReadBytes(folder / "a") == ReadBytes(folder / "b")) << format << " " << block;
        }
    }
}

TEST(EveryFormat, AFullDiskIsAnErrorWhoseFirstTextStays) {
    TempFolder folder;
    const std::string path = folder / "a";
    const std::string message = "Error 27 writing to file:\n\n<b>" + path + "</b>\n\n(File too large)";
    const std::vector<float> pairs = MusicPairs(2);
    for (int format : kFormats) {
        for (rlim_t bytes : {100, 8000}) {
            RefPtr<FileStream> file = MakeFileStream(format);
            ASSERT_EQ(file->SetSBC(44100, 16, 2), 0);
            DiskLimit limit(bytes);
            int64_t result = file->Open(path, OM_CREATE);
            for (int32_t at = 0; at < 80000 && result >= 0; at += 8000) result = file->Write(&pairs[2 * at], 8000);
            EXPECT_EQ(result, ERR_IO) << format;
            EXPECT_FALSE(file->Close(CLOSE_FAILED_AND_DELETE));
            EXPECT_EQ(GetLastError().text, message);
            EXPECT_FALSE(std::filesystem::exists(path));
        }
    }
    // Noticed only at the end, when the buffer goes out.
    for (int format : {FF_WAV, FF_AIFF}) {
        RefPtr<FileStream> file = MakeFileStream(format);
        ASSERT_EQ(file->SetSBC(44100, 16, 2), 0);
        DiskLimit limit(60);
        ASSERT_EQ(file->Open(path, OM_CREATE, 1 << 16), 0);
        EXPECT_GE(file->Write(pairs.data(), 50), 0);
        EXPECT_FALSE(file->Close());
        EXPECT_EQ(GetLastError().text, message);
    }
}

TEST(EveryFormat, WhatCannotBeOpenedIsSaid) {
    TempFolder folder;
    struct Case {
        std::string path;
        int error;
        const char* text;
    };
    for (const Case& c : {Case{folder / "missing.wav", ERR_CANNOT_OPEN, "Cannot open file:\n\n<b>"},
                          {folder.Path(), ERR_CANNOT_OPEN, "Cannot open file:\n\n<b>"},
                          {folder.Write("empty.flac", ""), ERR_CONTENTS, "File:\n\n<b>"},
                          {folder.Write("notes.txt", "fLac"), ERR_CONTENTS, ""},
                          {folder.Write("zeros.ogg", std::string(100000, '\0')), ERR_CONTENTS, ""}}) {
        int error = 0;
        SetLastErrorText("");
        EXPECT_FALSE(OpenForReading(c.path, error)) << c.path;
        EXPECT_EQ(error, c.error) << c.path;
        EXPECT_EQ(GetLastError().text.rfind(c.text, 0), 0u) << GetLastError().text;
        EXPECT_NE(GetLastError().text.find(c.path), std::string::npos) << GetLastError().text;
    }
    WAVFile file;
    ASSERT_EQ(file.SetSBC(44100, 16, 2), 0);
    EXPECT_EQ(file.Open(folder / "no/folder.wav", OM_CREATE), ERR_CANNOT_OPEN);
    EXPECT_FALSE(file.Close(CLOSE_FAILED));
}

}  // namespace
}  // namespace Tesslib
