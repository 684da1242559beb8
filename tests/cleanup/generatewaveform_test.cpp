#include "cleanup/generatewaveform.h"

#include <gtest/gtest.h>

#include "foundation/event.h"
#include "foundation/settings.h"
#include "foundation/workerthread.h"
#include "plain_waveform.h"
#include "waveform_sides.h"

namespace Orvane {
namespace {

using OrvaneTest::NoisePairs;
using OrvaneTest::WaveformSides;

// Makes a recording hours long without using the disk; what is added is silence.
void Lengthen(const FileHistoryEntry& entry) {
    const size_t data = OrvaneTest::ReadBytes(entry.GetPath()).find("data");
    constexpr uint32_t kBytes = 0xf0000000;
    std::filesystem::resize_file(entry.GetPath(), kBytes);
    std::fstream file(entry.GetPath(), std::ios::in | std::ios::out | std::ios::binary);
    const uint32_t size = kBytes - static_cast<uint32_t>(data) - 8;
    file.seekp(static_cast<std::streamoff>(data) + 4).write(reinterpret_cast<const char*>(&size), 4);
}

TEST(GenerateWaveform, AStaleFileIsNeverOpenedAndMadeAnew) {
    struct Row {
        int64_t older_by;  // seconds than the recording; -1: it is missing
        bool recording_there;
        bool fresh;
    };
    for (const Row& row :
         {Row{0, true, true}, {4, true, true}, {6, true, false}, {-1, true, false}, {6, false, true}}) {
        WaveformSides sides;
        FileHistoryEntry& entry = sides.AddSide(NoisePairs(5000));
        FileInfo info;
        ASSERT_EQ(GetFileInfo(entry.GetPath(), info), 0);
        if (row.older_by >= 0) {
            SetFileTime(sides.folder.Write("orvfiles/side1.wav.wfo", "x"), info.time - row.older_by * kFileTimeSecond);
        }
        if (!row.recording_there) DeleteFile(entry.GetPath());
        FilePtr file, sibling(std::fopen("/dev/null", "rb"));
        EXPECT_EQ(OpenWaveformFile(entry, ".wfo", file, &sibling, nullptr, MayRegenerate::Yes), row.fresh);
        EXPECT_EQ(file != nullptr, row.fresh);
        EXPECT_EQ(sibling != nullptr, row.fresh);
        EXPECT_EQ(NoBackgroundJobs(0), row.fresh) << row.older_by;
        WaveformSides::Wait();
        EXPECT_EQ(IsWaveformReady(entry), !row.fresh);
    }
}

TEST(GenerateWaveform, AsManyRunAsMayAndTheOthersFollowInTheirOrder) {
    for (const char* max_threads : {"4", "1", "0"}) {
        OverrideSetting("Max Threads", max_threads);
        WaveformSides sides;
        std::vector<FileHistoryEntry*> entries, started;
        for (uint64_t i = 0; i < 5; ++i) entries.push_back(&sides.AddSide(NoisePairs(100000, i)));
        const auto on_start = [](void* context, int, EventArg entry, EventArg, EventArg) -> intptr_t {
            auto& list = *static_cast<std::vector<FileHistoryEntry*>*>(context);
            list.push_back(reinterpret_cast<FileHistoryEntry*>(entry));
            const auto n_ready =
                std::count_if(list.begin(), list.end(), [](const auto* e) { return e->waveform_ready; });
            EXPECT_LE(static_cast<int>(list.size()) - n_ready, MaxThreads());
            return 0;
        };
        event::Subscribe(EVENT_WAVEFORM_STARTING, 0, on_start, &started);
        for (FileHistoryEntry* entry : entries) RequestWaveformData(*entry);
        RequestWaveformData(*entries[4]);
        EXPECT_EQ(started.size(), static_cast<size_t>(std::min(5, MaxThreads())));
        WaveformSides::Wait();
        event::Unsubscribe(EVENT_WAVEFORM_STARTING, on_start, &started);
        EXPECT_EQ(started, entries);
        EXPECT_EQ(sides.album->open_fhe_count, 0);
        EXPECT_EQ(OrvaneTest::ReadBytes(entries[4]->WaveformPath(".wfd")),
                  OrvaneOracle::Records(NoisePairs(100000, 4), 64));
    }
    OverrideSetting("Max Threads", "4");
}

TEST(GenerateWaveform, WhatWasCancelledIsMadeAgain) {
    void (*const cancels[])(WaveformSides&) = {
        [](WaveformSides&) { WaitForWaveformThreads(); },
        [](WaveformSides& sides) { WaitForWaveformThreads(*sides.album->sides[0]->newest); },
        [](WaveformSides& sides) { event::Fire(EVENT_ALBUM_CLOSING, event::Arg(sides.album)); },
        [](WaveformSides& sides) { event::Fire(EVENT_COLLECTION_CLOSING, event::Arg(&sides.set)); },
    };
    for (int i = 0; i < 8; ++i) {
        OverrideSetting("Max Threads", i < 4 ? "1" : "4");  // the second side waits, or runs as well
        WaveformSides sides;
        FileHistoryEntry& first = sides.AddSide(NoisePairs(40000));
        FileHistoryEntry& second = sides.AddSide(NoisePairs(40000));
        for (FileHistoryEntry* entry : {&first, &second}) {
            Lengthen(*entry);
            RequestWaveformData(*entry);
        }
        EXPECT_TRUE(first.generating);
        EXPECT_FALSE(FileExists(first.WaveformPath(".wfd"))) << "half a file stands there";
        cancels[i % 4](sides);
        EXPECT_FALSE(first.generating) << i;
        EXPECT_EQ(second.generating, i % 4 == 1) << i;
        FileInfo info;
        ASSERT_EQ(GetFileInfo(first.WaveformPath(".wfd"), info), 0) << i;
        EXPECT_EQ(info.time, kFileTimeUnixEpoch) << i;
        WaitForWaveformThreads();
        std::filesystem::resize_file(first.GetPath(), 8 * 20000);
        RequestWaveformData(first);
        WaveformSides::Wait();
        EXPECT_TRUE(IsWaveformReady(first)) << i;
    }
}

}  // namespace
}  // namespace Orvane
