// What holds for the files of every format.
#include "tesslib/filestream.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <span>
#include <string>
#include <vector>

#include "allocations.h"
#include "failing_store.h"
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

TEST(EveryFormat, MemoryHoldsWhatTheDiskWouldHold) {
    TempFolder folder;
    const std::vector<float> pairs = MusicPairs(0.5);
    for (int format : kFormats) {
        SCOPED_TRACE(format);
        Written(format, folder / "a", pairs);
        const std::string on_disk = ReadBytes(folder / "a");
        MemoryStore memory;
        RefPtr<FileStream> file = MakeFileStream(format);
        file->SetStore(memory);
        WriteFile(*file, "a", {16, 44100, 2}, pairs, 16384);
        const std::vector<uint8_t> in_memory = memory.Contents("a");
        EXPECT_TRUE(std::string(in_memory.begin(), in_memory.end()) == on_disk);
        ASSERT_EQ(file->Open("a", OM_READ), 0);
        const std::vector<float> straight = ReadWhole(*file);
        ExpectSeekEqualsRead(*file, straight, 20, 1);
        file->ReleaseResources();
        ExpectSeekEqualsRead(*file, straight, 20, 2);
        EXPECT_TRUE(file->Close());
        if (!(file->GetCapabilities(2).capabilities & CAP_TRUNCATE)) continue;
        ASSERT_EQ(file->Open("a", format == FF_FLAC ? OM_READ : OM_READWRITE), 0);
        const int64_t length = file->Truncate(4096);
        EXPECT_EQ(length, static_cast<int64_t>(memory.Contents("a").size()));
        EXPECT_TRUE(file->Close());
        ASSERT_EQ(file->Open("a", OM_READ), 0);
        EXPECT_EQ(file->GetTotalSamples(0), 4096);
        EXPECT_TRUE(std::ranges::equal(ReadWhole(*file), std::span(straight).first(2 * 4096)));
    }
}

TEST(EveryFormat, AFullDiskIsAnErrorWhoseFirstTextStays) {
    const std::string message = "Error 28 writing to file:\n\n<b>a</b>\n\n(No space left on device)";
    const std::vector<float> pairs = MusicPairs(2);
    for (int format : kFormats) {
        // Full at once, in the middle, and noticed only when the last of it goes out.
        for (const Faults& faults : {Faults{.written = 10}, {.written = 8000}, {.close = true}}) {
            SCOPED_TRACE(std::to_string(format) + " " + std::to_string(faults.written));
            MemoryStore memory;
            FailingStore store(memory, faults);
            RefPtr<FileStream> file = MakeFileStream(format);
            file->SetStore(store);
            ASSERT_EQ(file->SetSBC(44100, 16, 2), 0);
            int64_t result = file->Open("a", OM_CREATE);
            for (int32_t at = 0; at < 80000 && result >= 0; at += 8000) result = file->Write(&pairs[2 * at], 8000);
            EXPECT_EQ(result < 0, !faults.close);
            EXPECT_FALSE(file->Close(result < 0 ? CLOSE_FAILED_AND_DELETE : CLOSE_FINISH));
            EXPECT_EQ(GetLastError().text, message);
            EXPECT_EQ(memory.Contents("a").empty(), !faults.close);
        }
    }
}

TEST(EveryFormat, AFailedReadIsTold) {
    const std::vector<float> pairs = MusicPairs(2);
    for (int format : kFormats) {
        SCOPED_TRACE(format);
        MemoryStore memory;
        RefPtr<FileStream> file = MakeFileStream(format);
        file->SetStore(memory);
        WriteFile(*file, "a", {16, 44100, 2}, pairs, 16384);
        const auto length = static_cast<int64_t>(memory.Contents("a").size());
        for (int64_t after : {int64_t{0}, length / 2}) {
            FailingStore store(memory, {.read = after});
            file->SetStore(store);
            int64_t result = file->Open("a", OM_READ);
            std::vector<float> buffer(2 * 1000);
            for (int64_t at = 0; at < 88200 && result >= 0; at += 1000) result = file->Read(at, buffer.data(), 1000, 0);
            EXPECT_EQ(result, ERR_IO) << after;
            EXPECT_EQ(GetLastError().code, FailingStore::kError);
            file->Close(CLOSE_FAILED);
        }
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
