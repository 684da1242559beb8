// The making, reading and drawing of waveform files.
#include <gtest/gtest.h>

#include <atomic>
#include <filesystem>
#include <limits>
#include <thread>

#include "collection/listchange.h"
#include "collection/renames.h"
#include "fake_hosts.h"
#include "foundation/event.h"
#include "foundation/settings.h"
#include "foundation/workerthread.h"
#include "memorystream.h"
#include "plain_waveform.h"
#include "recorded_side.h"
#include "repairs.h"
#include "waveform/generatewaveform.h"
#include "waveform/waveformreader.h"
#include "waveform/waveformwriter.h"

using namespace Foundation;
using namespace Tesslib;

namespace Orvane {
namespace {

using OrvaneTest::NoisePairs;
using OrvaneTest::ReadBytes;
using OrvaneTest::RecordedAlbum;

TEST(WaveformWriter, FilesEqualThePlainModelInAnyChunks) {
    const OrvaneTest::TempFolder folder;
    OrvaneTest::Noise noise(1);
    const float odd[] = {1.0f, -1.0f, 0.5f, -0.5f, -7.0f, std::numeric_limits<float>::infinity(), 0.99999997f};
    struct Row {
        int frames, rate;
        size_t overview_block;
    };
    for (const auto& [frames, rate, overview_block] :
         {Row{1, 44100, 1152}, {1152, 44100, 1152}, {8192, 24000, 576}, {8193, 44100, 1152}, {30000, 50000, 2304}}) {
        std::vector<float> pairs = OrvaneTest::NoisePairs(frames);
        for (size_t i = 0; i < std::size(odd) && 70 * i < pairs.size(); ++i) pairs[70 * i] = odd[i];
        WaveformWriter writer(rate, false);
        ASSERT_TRUE(writer.Open(folder / "side.wav"));
        for (int at = 0, n; at < frames; at += n) {
            n = std::min(frames - at, 1 + noise.Below(3000));
            ASSERT_TRUE(writer.Write(pairs.data() + 2 * static_cast<size_t>(at), n));
        }
        ASSERT_TRUE(writer.Close(true));
        const std::vector<uint8_t> overview = OrvaneOracle::Overview(pairs, overview_block);
        EXPECT_EQ(ReadBytes(folder / "orvfiles/side.wav.wft"), std::string(overview.begin(), overview.end()));
        for (const auto& [name, block] : {std::pair("wfs", 8192), {"wfo", 1024}, {"wfd", 64}}) {
            EXPECT_EQ(ReadBytes(folder / "orvfiles/side.wav." + name), OrvaneOracle::Records(pairs, block)) << frames;
        }
    }
    const float no_number[] = {std::numeric_limits<float>::quiet_NaN(), 0.0f};
    EXPECT_EQ(ExtremesOf(no_number, 1), (WaveformRecord{-32767, -32767, 0, 0}));
}

TEST(WaveformWriter, AFullDiskIsToldOnceAndLeavesNoFiles) {
    const OrvaneTest::TempFolder folder;
    OrvaneTest::FakeMessageHost messages;
    std::filesystem::create_directory(folder / "orvfiles");
    std::filesystem::create_symlink("/dev/full", folder / "orvfiles/side.wav_$$$.wfd");
    WaveformWriter writer(44100, true);
    ASSERT_TRUE(writer.Open(folder / "side.wav"));
    const std::vector<float> pairs(2 * 50000);
    while (writer.Write(pairs.data(), 50000)) {
    }
    EXPECT_FALSE(writer.Close(true, kFileTimeUnixEpoch));
    ASSERT_EQ(messages.asked.size(), 1u);
    EXPECT_NE(messages.Texts()[0].find("side.wav.wfd"), std::string::npos) << messages.Texts()[0];
    EXPECT_TRUE(std::filesystem::is_empty(folder / "orvfiles"));
}

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
        RecordedAlbum sides;
        FileHistoryEntry& entry = sides.AddSide(NoisePairs(5000));
        FileInfo info;
        ASSERT_EQ(GetFileInfo(entry.GetPath(), info), 0);
        if (row.older_by >= 0) {
            SetFileTime(sides.folder.Write(entry.WaveformPath(".wfo"), "x"),
                        info.time - row.older_by * kFileTimeSecond);
        }
        if (!row.recording_there) RemoveFile(entry.GetPath());
        FilePtr file, sibling(std::fopen("/dev/null", "rb"));
        EXPECT_EQ(OpenWaveformFile(entry, ".wfo", file, &sibling, nullptr, MayRegenerate::Yes), row.fresh);
        EXPECT_EQ(file != nullptr, row.fresh);
        EXPECT_EQ(sibling != nullptr, row.fresh);
        EXPECT_EQ(NoBackgroundJobs(0), row.fresh) << row.older_by;
        RecordedAlbum::Wait();
        EXPECT_EQ(IsWaveformReady(entry), !row.fresh);
    }
}

TEST(GenerateWaveform, AsManyRunAsMayAndTheOthersFollowInTheirOrder) {
    for (const char* max_threads : {"4", "1", "0"}) {
        OverrideSetting("Max Threads", max_threads);
        RecordedAlbum sides;
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
        RecordedAlbum::Wait();
        event::Unsubscribe(EVENT_WAVEFORM_STARTING, on_start, &started);
        EXPECT_EQ(started, entries);
        EXPECT_EQ(sides.album->open_fhe_count, 0);
        EXPECT_EQ(OrvaneTest::ReadBytes(entries[4]->WaveformPath(".wfd")),
                  OrvaneOracle::Records(NoisePairs(100000, 4), 64));
    }
    OverrideSetting("Max Threads", "4");
}

TEST(GenerateWaveform, WhatWasCancelledIsMadeAgain) {
    void (*const cancels[])(RecordedAlbum&) = {
        [](RecordedAlbum&) { WaitForWaveformThreads(); },
        [](RecordedAlbum& sides) { WaitForWaveformThreads(*sides.album->sides[0]->newest); },
        [](RecordedAlbum& sides) { event::Fire(EVENT_ALBUM_CLOSING, event::Arg(sides.album)); },
        [](RecordedAlbum& sides) { event::Fire(EVENT_COLLECTION_CLOSING, event::Arg(&sides.set)); },
    };
    for (int i = 0; i < 8; ++i) {
        OverrideSetting("Max Threads", i < 4 ? "1" : "4");  // the second side waits, or runs as well
        RecordedAlbum sides;
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
        RecordedAlbum::Wait();
        EXPECT_TRUE(IsWaveformReady(first)) << i;
    }
}

TEST(GenerateWaveform, EachReasonToFailIsShownOnce) {
    OrvaneTest::FakeMessageHost host;
    RecordedAlbum sides;
    FileHistoryEntry& entry = sides.AddSide(NoisePairs(100));
    sides.folder.Write("Mine/orvfiles", "in the way of the folder");
    for (const char* reason : {"orvfiles", "side1.wav"}) {
        host.asked.clear();
        for (int i = 0; i < 2; ++i) RequestWaveformData(entry);
        ASSERT_EQ(host.asked.size(), 1u) << reason;
        EXPECT_NE(host.Texts()[0].find(reason), std::string::npos) << host.Texts()[0];
        RemoveFile(entry.GetPath());
    }
}

int32_t BlockFor(int64_t frames) {
    if (frames < 64) return 1;
    return frames < 2048 ? 64 : frames < 16384 ? 1024 : 8192;
}

// Column i is made of as many blocks as bring their number up to the nearest to i + 1 columns; behind a cut those of
// the file behind it.
std::vector<WaveformRecord> PlainColumns(const std::vector<float>& file, const CutList& cuts,
                                         const WaveformView& view) {
    const int32_t block = BlockFor(view.n_samples / view.width);
    const double frames = static_cast<double>(view.n_samples) / view.width;
    const auto blocks_before = [&](int column) {
        return static_cast<int64_t>(std::ceil(column * (frames / block) - 0.5));
    };
    std::vector<WaveformRecord> columns;
    for (int column = 0; column < view.width; ++column) {
        int64_t start = view.first;
        for (const auto& cut : cuts) {
            if (cut.start_time <= view.first + static_cast<int64_t>(column * frames)) start += cut.Length();
        }
        start = start / block * block;
        columns.push_back(OrvaneOracle::Record(file, start + blocks_before(column) * block,
                                               start + blocks_before(column + 1) * block));
    }
    return columns;
}

TEST(WaveformReader, ColumnsEqualThePlainModelAtEveryZoom) {
    const std::vector<float> pairs = OrvaneTest::NoisePairs(400000);
    RecordedAlbum sides;
    FileHistoryEntry& entry = sides.AddSide(pairs);
    RequestWaveformData(entry);
    RecordedAlbum::Wait();
    WaveformReader reader(entry);
    OrvaneTest::Noise noise(3);
    std::vector<WaveformRecord> columns;
    const CutList none;
    for (int i = 0; i < 300; ++i) {
        if (i == 100) {
            for (const int64_t at : {0, 50000, 50100, 200000}) entry.cuts.Add(at, at + 7000 + at / 9, 0, 44100);
        }
        WaveformView view;
        // So that no column ends on the middle of a block but for a reason: it would be rounding errors that decide.
        view.width = i % 2 ? 1 << noise.Below(13) : 1 + 2 * noise.Below(15);
        view.n_samples = (view.width + static_cast<int64_t>(std::pow(2, 18 * noise.Even()))) | 1;
        if (i < 12) {
            view.width = 4;
            view.n_samples = 4 * std::vector<int64_t>{63, 64, 2047, 2048, 16383, 16384}[static_cast<size_t>(i / 2)];
        }
        view.first = noise.Below(399000);
        ASSERT_EQ(reader.Read(view, columns), WaveformResult::Drawn);
        std::vector<WaveformRecord> wanted = PlainColumns(pairs, entry.cuts, view);
        if (BlockFor(view.n_samples / view.width) == 1) {
            // The columns of the audio itself come from the chain, which knows the cuts.
            Tesslib::Testing::MemoryStream file(44100, pairs);
            PCMStack chain(&entry, &file, PCM_NO_FADERS | PCM_NO_FILTERS | PCM_NO_CLICK_REPAIR, 0);
            wanted = PlainColumns(Tesslib::Testing::ReadAll(chain), none, view);
        }
        EXPECT_EQ(columns, wanted) << i << ": " << view.first << " " << view.n_samples << " in " << view.width;
    }
}

TEST(WaveformReader, BetweenFramesColumnsGoInSteps) {
    RecordedAlbum sides;
    WaveformReader reader(sides.AddSide({0.0f, 1.0f, 0.5f, -1.0f, 0.1f, 0.1f}));
    std::vector<WaveformRecord> columns;
    ASSERT_EQ(reader.Read({0, 2, 8, false}, columns), WaveformResult::Drawn);
    std::vector<int> left;
    for (const WaveformRecord& column : columns) left.push_back(column.min_left);
    EXPECT_EQ(left, (std::vector<int>{0, 0, 0, 4096, 8192, 12288, 16384, 16384}));
}

TEST(WaveformReader, TheCorrectedViewHoldsBlocksToTheirRepairs) {
    RecordedAlbum sides;
    FileHistoryEntry& entry = sides.AddSide(std::vector<float>(2 * 64 * 50, 0.5f));
    RequestWaveformData(entry);
    RecordedAlbum::Wait();
    const auto add = [&](int channel, int16_t type, int64_t start, const std::vector<int16_t>& samples) {
        entry.click_repairs[channel].Append(OrvaneTest::MakeRepair(type, start, samples).release());
    };
    add(0, REPAIR_SCANNER, 64 * 10 + 60, {-5, 100, 7, 8, 9, 10});  // lies in two blocks
    add(0, REPAIR_RECOMPUTED, 64 * 20, {1, 2, 3});                 // not applied
    add(1, REPAIR_PATCH, 64 * 30 + 62, {-3, 4, -20, 30});
    std::vector<WaveformRecord> columns, wanted(50, {16384, 16384, 16384, 16384});
    WaveformReader reader(entry);
    ASSERT_EQ(reader.Read({0, 3200, 50, false}, columns), WaveformResult::Drawn);
    EXPECT_EQ(columns, wanted);
    // The range of the first two blocks, all at 16384, and that of the repair do not meet.
    wanted[10].min_left = wanted[11].min_left = 100;
    wanted[30] = {16384, 16384, -3, 4};
    wanted[31] = {16384, 16384, -20, 30};
    ASSERT_EQ(reader.Read({0, 3200, 50, true}, columns), WaveformResult::Drawn);
    EXPECT_EQ(columns, wanted);
}

TEST(WaveformReader, TheCorrectedViewIsOfOneListWhileAScanEntersAnother) {
    RecordedAlbum sides;
    FileHistoryEntry& entry = sides.AddSide(std::vector<float>(2 * 64 * 2000));
    RequestWaveformData(entry);
    RecordedAlbum::Wait();
    ASSERT_EQ(entry.LoadCorrections(true), 0);
    std::atomic<bool> ended{false};
    const std::jthread scan([&] {
        for (int16_t version = 1; version < 300; ++version) {
            ClickRepairList found(0);
            for (int64_t block = 0; block < 2000; ++block) {
                found.Append(OrvaneTest::MakeRepair(REPAIR_SCANNER, 64 * block, {version}).release());
            }
            const ListChange change(&entry.click_repairs[0]);
            entry.click_repairs[0].Swap(found);
        }
        ended = true;
    });
    WaveformReader reader(entry);
    std::vector<WaveformRecord> columns;
    for (bool last = false; !last;) {
        last = ended;
        ASSERT_EQ(reader.Read({0, 64 * 2000, 2000, true}, columns), WaveformResult::Drawn);
        for (const WaveformRecord& column : columns) ASSERT_EQ(column.max_left, columns[0].max_left);
    }
    EXPECT_EQ(columns[0].max_left, 299);
}

TEST(WaveformReader, LetsGoOfTheRecordingWhenItsAlbumOrCollectionCloses) {
    RecordedAlbum sides;
    FileHistoryEntry& entry = sides.AddSide(NoisePairs(2000));
    WaveformReader reader(entry);
    std::vector<WaveformRecord> columns;
    const std::pair<int, EventArg> closings[] = {{EVENT_ALBUM_CLOSING, event::Arg(&entry)},  // another album
                                                 {EVENT_ALBUM_CLOSING, event::Arg(sides.album)},
                                                 {EVENT_COLLECTION_CLOSING, event::Arg(&sides.set)}};
    for (const auto& [closing, which] : closings) {
        EXPECT_EQ(reader.Read({0, 1000, 100, false}, columns), WaveformResult::Drawn);
        event::Fire(closing, which);
        EXPECT_EQ(entry.IsOpen(), which == event::Arg(&entry));
    }
    EXPECT_EQ(reader.Read({0, 1000, 100, false}, columns), WaveformResult::Drawn);
    EXPECT_TRUE(RenameAlbumFiles(*sides.album, "Other", "Name"));
}

TEST(WaveformReader, OnlyFreshFilesAreDrawnAlsoWhileTheyAreOpen) {
    RecordedAlbum sides;
    FileHistoryEntry& entry = sides.AddSide(OrvaneTest::NoisePairs(300000));
    WaveformReader reader(entry);
    std::vector<WaveformRecord> columns;
    FileInfo info;
    ASSERT_EQ(GetFileInfo(entry.GetPath(), info), 0);
    for (int i = 0; i < 2; ++i) {
        SetFileTime(entry.GetPath(), info.time + i * 60 * kFileTimeSecond);
        EXPECT_EQ(reader.Read({0, 300000, 10, false}, columns), WaveformResult::NotReady);
        RecordedAlbum::Wait();
        EXPECT_EQ(reader.Read({0, 300000, 10, false}, columns), WaveformResult::Drawn);
    }
}

}  // namespace
}  // namespace Orvane
