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
#include "waveform/albumwaveform.h"
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
        WaveformWriter writer(rate);
        ASSERT_TRUE(writer.Open(folder / "side.wav").Ok());
        for (int at = 0, n; at < frames; at += n) {
            n = std::min(frames - at, 1 + noise.Below(3000));
            ASSERT_TRUE(writer.Write(pairs.data() + 2 * static_cast<size_t>(at), n).Ok());
        }
        ASSERT_TRUE(writer.Close(true).Ok());
        const std::vector<uint8_t> overview = OrvaneOracle::Overview(pairs, overview_block);
        EXPECT_EQ(ReadBytes(folder / "orvfiles/side.wav.wft"), std::string(overview.begin(), overview.end()));
        for (const auto& [name, block] : {std::pair("wfs", 8192), {"wfo", 1024}, {"wfd", 64}}) {
            EXPECT_EQ(ReadBytes(folder / "orvfiles/side.wav." + name), OrvaneOracle::Records(pairs, block)) << frames;
        }
    }
    const float no_number[] = {std::numeric_limits<float>::quiet_NaN(), 0.0f};
    EXPECT_EQ(ExtremesOf(no_number, 1), (WaveformRecord{-32767, -32767, 0, 0}));
}

TEST(WaveformWriter, AFullDiskLeavesNoFiles) {
    const OrvaneTest::TempFolder folder;
    std::filesystem::create_directory(folder / "orvfiles");
    std::filesystem::create_symlink("/dev/full", folder / "orvfiles/side.wav_$$$.wfd");
    WaveformWriter writer(44100);
    ASSERT_TRUE(writer.Open(folder / "side.wav").Ok());
    const std::vector<float> pairs(2 * 50000);
    while (writer.Write(pairs.data(), 50000)) {
    }
    const Outcome closed = writer.Close(true, kFileTimeUnixEpoch);
    EXPECT_TRUE(closed.Is(Kind::ReadWrite));
    EXPECT_NE(closed.Plain().find("side.wav.wfd"), std::string::npos) << closed.Plain();
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
        const Result<FilePtr> file = OpenWaveformFile(entry, ".wfo", MayRegenerate::Yes);
        ASSERT_TRUE(file.Ok());
        EXPECT_EQ(*file != nullptr, row.fresh);
        EXPECT_EQ(NoBackgroundJobs(0).Ok(), row.fresh) << row.older_by;
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
                std::count_if(list.begin(), list.end(), [](const auto* e) { return e->waveform.ready; });
            EXPECT_LE(static_cast<int>(list.size()) - n_ready, MaxThreads());
            return 0;
        };
        event::Subscribe(EVENT_WAVEFORM_STARTING, 0, on_start, &started);
        for (FileHistoryEntry* entry : entries) ASSERT_TRUE(RequestWaveformData(*entry).Ok());
        ASSERT_TRUE(RequestWaveformData(*entries[4]).Ok());
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
            ASSERT_TRUE(RequestWaveformData(*entry).Ok());
        }
        EXPECT_TRUE(first.waveform.generating);
        EXPECT_FALSE(FileExists(first.WaveformPath(".wfd"))) << "half a file stands there";
        cancels[i % 4](sides);
        EXPECT_FALSE(first.waveform.generating) << i;
        EXPECT_EQ(second.waveform.generating, i % 4 == 1) << i;
        FileInfo info;
        ASSERT_EQ(GetFileInfo(first.WaveformPath(".wfd"), info), 0) << i;
        EXPECT_EQ(info.time, kFileTimeUnixEpoch) << i;
        WaitForWaveformThreads();
        std::filesystem::resize_file(first.GetPath(), 8 * 20000);
        ASSERT_TRUE(RequestWaveformData(first).Ok());
        RecordedAlbum::Wait();
        EXPECT_TRUE(IsWaveformReady(first)) << i;
    }
}

TEST(GenerateWaveform, AFailureIsThatOfTheRequestOrOfItsEnd) {
    RecordedAlbum sides;
    OverrideSetting("Max Threads", "1");
    FileHistoryEntry& busy = sides.AddSide(NoisePairs(100));
    FileHistoryEntry& entry = sides.AddSide(NoisePairs(100));
    const auto on_end = [](void* context, int, EventArg, EventArg ended, EventArg outcome) -> intptr_t {
        if (ended) *static_cast<Outcome*>(context) = *reinterpret_cast<const Outcome*>(outcome);
        return 0;
    };
    Outcome end;
    event::Subscribe(EVENT_WAVEFORM_PROGRESS, event::Arg(&entry), on_end, &end);
    RemoveFile(entry.GetPath());
    const Outcome at_once = RequestWaveformData(entry);
    EXPECT_TRUE(at_once.Is(Kind::CannotOpen));
    EXPECT_NE(at_once.Plain().find("side2.wav"), std::string::npos) << at_once.Plain();
    EXPECT_TRUE(RequestWaveformData(busy).Ok());
    EXPECT_TRUE(RequestWaveformData(entry).Ok()) << "it waits for its turn";
    RecordedAlbum::Wait();
    EXPECT_EQ(end.Text(), at_once.Text());
    std::filesystem::remove_all(sides.folder / "Mine/orvfiles");
    sides.folder.Write("Mine/orvfiles", "in the way of the folder");
    EXPECT_NE(RequestWaveformData(busy).Plain().find("orvfiles"), std::string::npos);
    event::Unsubscribe(EVENT_WAVEFORM_PROGRESS, on_end, &end);
    OverrideSetting("Max Threads", "4");
}

int32_t BlockFor(double frames) {
    if (frames < 64) return 1;
    return frames < 2048 ? 64 : frames < 16384 ? 1024 : 8192;
}

// A recording whose waveform is there, and a reader of it.
struct DrawnSide : RecordedAlbum {
    explicit DrawnSide(const std::vector<float>& pairs) : entry(AddSide(pairs)), reader(entry) {
        EXPECT_TRUE(RequestWaveformData(entry).Ok());
        Wait();
        EXPECT_TRUE(reader.Open().Ok());
    }
    const std::vector<WaveformRecord>& Columns(const WaveformView& view) {
        const Outcome outcome = reader.Read(view, picture);
        EXPECT_TRUE(outcome.Ok()) << outcome.Plain();
        EXPECT_EQ(picture.n_known, view.width);
        return picture.columns;
    }
    std::vector<WaveformRecord> CopyOfColumns(const WaveformView& view) { return Columns(view); }

    FileHistoryEntry& entry;
    WaveformReader reader;
    WaveformPicture picture;
};

WaveformView With(WaveformView view, WaveformAudio audio, WaveformCuts cuts = WaveformCuts::Removed) {
    view.audio = audio;
    view.cuts = cuts;
    return view;
}

// The columns of whole blocks that come nearest to their edges; behind a cut those of the file behind it.
std::vector<WaveformRecord> PlainColumns(const std::vector<float>& file, const CutList& cuts,
                                         const WaveformView& view) {
    const int32_t block = BlockFor(view.frames_per_column);
    std::vector<WaveformRecord> columns;
    for (int column = 0; column < view.width; ++column) {
        double start = view.PositionOf(column), end = view.PositionOf(column + 1);
        double removed = 0;
        for (const auto& cut : cuts) {
            if (static_cast<double>(cut.start_time) <= start) removed += static_cast<double>(cut.Length());
        }
        const auto edge = [&](double at) {
            return static_cast<int64_t>(std::ceil((at + removed) / block - 0.5)) * block;
        };
        columns.push_back(OrvaneOracle::Record(file, edge(start), edge(end)));
    }
    return columns;
}

TEST(WaveformReader, ColumnsEqualThePlainModelAtEveryZoomAndPlace) {
    const std::vector<float> pairs = OrvaneTest::NoisePairs(400000);
    DrawnSide side(pairs);
    OrvaneTest::Noise noise(3);
    const CutList none;
    for (int i = 0; i < 300; ++i) {
        if (i == 100) {
            for (const int64_t at : {0, 50000, 50100, 200000}) {
                side.entry.decided.cuts.Add(at, at + 7000 + at / 9, 0, 44100);
            }
        }
        WaveformView view;
        // Half a block is as near to the one edge as to the other, and rounding errors would decide.
        view.frames_per_column = std::pow(2, 15 * noise.Even()) + 0.01;
        view.width = 1 + noise.Below(static_cast<int>(1e6 / (500 + view.frames_per_column)));
        if (i < 6)
            view.frames_per_column = std::vector<double>{63, 64, 2047, 2048, 16383, 16384}[static_cast<size_t>(i)];
        view.origin = noise.Even() * 400000 + 0.003;
        view.first_column = noise.Below(4000) - 2000;
        if (i % 2) view.cuts = WaveformCuts::InPlace;
        const CutList& cuts = i % 2 ? none : side.entry.decided.cuts;
        std::vector<WaveformRecord> wanted = PlainColumns(pairs, cuts, view);
        if (BlockFor(view.frames_per_column) == 1 && i % 2 == 0) {
            // The columns of the audio itself come from the chain, which knows the cuts.
            Tesslib::Testing::MemoryStream file(44100, pairs);
            PCMStack chain(&side.entry, &file, PCM_NO_FADERS | PCM_NO_FILTERS | PCM_NO_CLICK_REPAIR, 0);
            wanted = PlainColumns(Tesslib::Testing::ReadAll(chain), none, view);
        }
        const std::vector<WaveformRecord> columns = side.CopyOfColumns(view);
        ASSERT_EQ(columns, wanted) << i << ": " << view.origin << " by " << view.frames_per_column;
        // Scrolled by some columns, what stays in sight does not change.
        const int32_t scrolled = noise.Below(view.width);
        view.first_column += scrolled;
        side.Columns(view);
        ASSERT_TRUE(std::equal(columns.begin() + scrolled, columns.end(), side.picture.columns.begin())) << i;
    }
}

TEST(WaveformReader, BelowAFrameAColumnSamplesStandAtTheirPlaces) {
    DrawnSide side({0.0f, 1.0f, 0.5f, -1.0f, 0.1f, 0.1f});
    WaveformView view{-1.25, 0.25, 5, 8};  // from frame 0 on
    std::vector<int> left;
    for (const WaveformRecord& column : side.Columns(view)) left.push_back(column.min_left);
    EXPECT_EQ(left, (std::vector<int>{0, 0, 0, 4096, 8192, 12288, 16384, 13107}));
    EXPECT_EQ(side.picture.samples, (std::vector<WaveformSample>{{0, 0.0f, 1.0f}, {4, 0.5f, -1.0f}, {8, 0.1f, 0.1f}}));
    view = {-1.5, 2.0 / 3.0, 0, 3};  // frame 2 lies at the place 5.25
    side.Columns(view);
    EXPECT_EQ(side.picture.samples, (std::vector<WaveformSample>{{2.25f, 0.0f, 1.0f}, {3.75f, 0.5f, -1.0f}}));
}

TEST(WaveformReader, CutsStandWhereTheyAreSeen) {
    DrawnSide side(NoisePairs(30000));
    side.entry.decided.cuts.Add(10000, 12000, 0, 44100);
    side.entry.decided.cuts.Add(20000, 21000, 0, 44100);
    const WaveformView all = WaveformView::Over(0, 30000, 300);
    const auto places = [&](WaveformCuts cuts) {
        side.Columns(With(all, WaveformAudio::Uncorrected, cuts));
        std::vector<double> found;
        for (const WaveformCut& cut : side.picture.cuts) {
            found.insert(found.end(), {cut.left, cut.right, static_cast<double>(cut.n_frames)});
        }
        return found;
    };
    EXPECT_EQ(places(WaveformCuts::Removed), (std::vector<double>{100, 100, 2000, 200, 200, 1000}));
    EXPECT_EQ(places(WaveformCuts::InPlace), (std::vector<double>{100, 120, 2000, 220, 230, 1000}));
}

TEST(WaveformReader, RepairedAndRemovedAudioAtEveryZoom) {
    DrawnSide side(std::vector<float>(2 * 64 * 50, 0.5f));
    const auto add = [&](int channel, int16_t type, int64_t start, const std::vector<int16_t>& samples) {
        side.entry.click_repairs[channel].Append(OrvaneTest::MakeRepair(type, start, samples).release());
    };
    add(0, REPAIR_SCANNER, 64 * 10 + 60, {-5, 100, 7, 8, 9, 10});  // lies in two blocks
    add(0, REPAIR_RECOMPUTED, 64 * 20, {1, 2, 3});                 // not applied
    add(1, REPAIR_PATCH, 64 * 30 + 62, {-3, 4, -20, 30});
    const WaveformView blocks = WaveformView::Over(0, 3200, 50);
    std::vector<WaveformRecord> wanted(50, {16384, 16384, 16384, 16384});
    EXPECT_EQ(side.Columns(With(blocks, WaveformAudio::Uncorrected)), wanted);
    // The range of the first two blocks, all at 16384, and that of the repair do not meet.
    wanted[10].min_left = wanted[11].min_left = 100;
    wanted[30] = {16384, 16384, -3, 4};
    wanted[31] = {16384, 16384, -20, 30};
    EXPECT_EQ(side.Columns(With(blocks, WaveformAudio::Corrected)), wanted);
    wanted.assign(50, {});
    wanted[10].max_left = wanted[11].max_left = 16384 - 100;
    wanted[30].max_right = 16384 + 3;
    wanted[31].max_right = 16384 + 20;
    EXPECT_EQ(side.Columns(With(blocks, WaveformAudio::Difference)), wanted);

    const WaveformView frames = WaveformView::Over(64 * 10 + 58, 10, 10);
    const auto left = [&](WaveformAudio audio) {
        std::vector<int> found;
        for (const WaveformRecord& column : side.Columns(With(frames, audio))) found.push_back(column.max_left);
        return found;
    };
    EXPECT_EQ(left(WaveformAudio::Corrected), (std::vector<int>{16384, 16384, -5, 100, 7, 8, 9, 10, 16384, 16384}));
    EXPECT_EQ(left(WaveformAudio::Difference),
              (std::vector<int>{0, 0, 16388, 16284, 16377, 16376, 16375, 16374, 0, 0}));
}

TEST(WaveformReader, TheCorrectedViewIsOfOneListWhileAScanEntersAnother) {
    DrawnSide side(std::vector<float>(2 * 64 * 2000));
    std::atomic<bool> ended{false};
    std::atomic<int> last_drawn{0};
    const auto draw = [&](WaveformReader& reader) {
        WaveformPicture picture;
        for (bool last = false; !last;) {
            last = ended;
            ASSERT_TRUE(reader.Read(With(WaveformView::Over(0, 64 * 2000, 2000), WaveformAudio::Corrected), picture));
            for (const WaveformRecord& column : picture.columns) {
                ASSERT_EQ(column.max_left, picture.columns[0].max_left);
            }
        }
        last_drawn = picture.columns[0].max_left;
    };
    std::jthread drawing([&] { draw(side.reader); });
    for (int16_t version = 1; version < 300; ++version) {
        ClickRepairList found(0);
        for (int64_t block = 0; block < 2000; ++block) {
            found.Append(OrvaneTest::MakeRepair(REPAIR_SCANNER, 64 * block, {version}).release());
        }
        const ListChange change(&side.entry.click_repairs[0]);
        side.entry.click_repairs[0].Swap(found);
    }
    ended = true;
    drawing.join();
    EXPECT_EQ(last_drawn, 299);
}

TEST(WaveformReader, LetsGoOfTheRecordingWhenItsAlbumOrCollectionCloses) {
    DrawnSide side(NoisePairs(2000));
    const WaveformView view = WaveformView::Over(0, 1000, 100);
    const std::pair<int, EventArg> closings[] = {{EVENT_ALBUM_CLOSING, event::Arg(&side.entry)},  // another album
                                                 {EVENT_ALBUM_CLOSING, event::Arg(side.album)},
                                                 {EVENT_COLLECTION_CLOSING, event::Arg(&side.set)}};
    for (const auto& [closing, which] : closings) {
        const bool stays = which == event::Arg(&side.entry);
        ASSERT_TRUE(side.reader.Open().Ok());
        side.Columns(view);
        event::Fire(closing, which);
        EXPECT_EQ(side.entry.IsOpen(), stays);
        EXPECT_EQ(side.reader.Read(view, side.picture).Ok(), stays);
    }
    ASSERT_TRUE(side.reader.Open().Ok());
    side.Columns(view);
    EXPECT_TRUE(RenameAlbumFiles(*side.album, "Other", "Name"));
    side.album->artist = "Other";
    side.album->title = "Name";
    ASSERT_TRUE(side.reader.Open().Ok());
    side.Columns(view);
}

TEST(WaveformReader, OnlyFreshFilesAreKnownAlsoWhileTheyAreOpen) {
    RecordedAlbum sides;
    FileHistoryEntry& entry = sides.AddSide(OrvaneTest::NoisePairs(300000));
    WaveformReader reader(entry);
    ASSERT_TRUE(reader.Open().Ok());
    const WaveformView view = WaveformView::Over(0, 300000, 10);
    WaveformPicture picture;
    FileInfo info;
    ASSERT_EQ(GetFileInfo(entry.GetPath(), info), 0);
    for (int i = 0; i < 2; ++i) {
        SetFileTime(entry.GetPath(), info.time + i * 60 * kFileTimeSecond);
        EXPECT_TRUE(reader.Read(view, picture).Ok());
        EXPECT_EQ(picture.n_known, 0);
        ASSERT_TRUE(RequestWaveformData(entry).Ok());
        RecordedAlbum::Wait();
        EXPECT_TRUE(reader.Read(view, picture).Ok());
        EXPECT_EQ(picture.n_known, 10);
    }
    // Files in the making are known as far as they have been written.
    SetFileTime(entry.GetPath(), info.time + 120 * kFileTimeSecond);
    sides.folder.Write("Mine/orvfiles/Art~Blue~side1.wav_$$$.wfs", std::string(8 * 11, '\0'));
    entry.waveform.generating = true;
    EXPECT_TRUE(reader.Read(view, picture).Ok());
    EXPECT_EQ(picture.n_known, 3) << "11 blocks of 8192, in columns of 30000";
    entry.waveform.generating = false;
}

TEST(AlbumWaveform, RecordingsStandEndToEndWithoutTheirCuts) {
    RecordedAlbum sides;
    FileHistoryEntry& first = sides.AddSide(std::vector<float>(2 * 44100 * 2, 0.5f));
    FileHistoryEntry& second = sides.AddSide(std::vector<float>(2 * 44100 * 2, -0.25f));
    first.decided.cuts.Add(44100, 44100 + 22050, 0, 44100);  // a second and a half is left
    AlbumWaveform waveform(*sides.album);
    ASSERT_TRUE(waveform.Open().Ok());
    WaveformView view = WaveformView::Over(-44100, 6 * 44100, 600);
    WaveformPicture picture;
    ASSERT_TRUE(waveform.Read(view, picture).Ok());
    EXPECT_EQ(picture.n_known, 100) << "silence alone is known";
    for (FileHistoryEntry* entry : {&first, &second}) ASSERT_TRUE(RequestWaveformData(*entry).Ok());
    RecordedAlbum::Wait();
    for (const int zoom : {1, 20}) {  // from the files, and from the audio
        view.frames_per_column = 441.0 / zoom;
        view.width = 600 * zoom;
        ASSERT_TRUE(waveform.Read(view, picture).Ok());
        EXPECT_EQ(picture.n_known, view.width);
        ASSERT_EQ(picture.cuts.size(), 1u);
        EXPECT_NEAR(picture.cuts[0].left, 200 * zoom, 1e-6);
        for (int i = 0; i < view.width; ++i) {
            if (std::abs(i % (50 * zoom) - 25 * zoom) > 23 * zoom) continue;  // at the edges it is one or the other
            const int wanted = i < 100 * zoom || i > 450 * zoom ? 0 : i < 250 * zoom ? 16384 : -8192;
            const WaveformRecord& column = picture.columns[static_cast<size_t>(i)];
            ASSERT_EQ(column.min_left, wanted) << i;
            ASSERT_EQ(column.max_right, wanted) << i;
        }
    }
}

}  // namespace
}  // namespace Orvane
