#include "app/session/session.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <functional>
#include <thread>

#include "app/addrecording.h"
#include "app/initterm.h"
#include "app/jobs/job.h"
#include "app/session/busy.h"
#include "app/session/saving.h"
#include "collection/albumset.h"
#include "collection/steering_file.h"
#include "fake_hosts.h"
#include "foundation/event.h"
#include "foundation/mainloop.h"
#include "foundation/path.h"
#include "foundation/progress.h"
#include "foundation/settings.h"
#include "foundation/workerthread.h"
#include "riff_builder.h"
#include "scoped_environment.h"
#include "temp_folder.h"

using namespace Foundation;

namespace Orvane {
namespace {

namespace fs = std::filesystem;
using OrvaneTest::FakeMessageHost;
using OrvaneTest::ReadBytes;
using OrvaneTest::ScopedEnvironment;
using OrvaneTest::TempFolder;

constexpr uint32_t kMinute = 60000;

// A started program with a changed collection open, which could be autosaved.
class Application : public testing::Test {
protected:
    Application() {
        EXPECT_TRUE(InitApplication());
        folder.Write("records.mcf", "\"A\",\"T\"\n");
        EXPECT_TRUE(OpenCollection(folder / "records.mcf"));
        Change();
    }
    ~Application() override {
        gModalNesting = gAutosaveHeldOff = 0;
        EXPECT_TRUE(CloseCollection());
    }

    static void Change() {
        AlbumInfo* album = new AlbumInfo;
        album->artist = "New";
        album->title = "Album";
        album->set = gAlbumSet;
        gAlbumSet->albums.Append(album);
        MarkDirty();
        gLastSavedTick = TickMs() - 5 * kMinute;
    }
    bool IsSaved() const { return ReadBytes(folder / "records.mcf").find("Album") != std::string::npos; }
    // A folder with something in it stands where the backup and the new file have to go.
    void MakeSavingFail() const { folder.Write("records_$$$.mcf/in the way", ""); }
    void LetSavingWork() const { fs::remove_all(folder / "records_$$$.mcf"); }

    TempFolder folder;
    ScopedEnvironment config{"ORVANE_CONFIG_HOME", folder / "config"};
    FakeMessageHost messages;
};

TEST_F(Application, AutosavesOnlyWhenNothingStandsAgainstIt) {
    const std::function<void()> against[] = {
        [] { ClearDirty(); },
        [] { gAutosaveAllowed = false; },
        [] { SetSetting("AutoSave", 0); },
        [] { gModalNesting = 1; },
        [] { gAutosaveHeldOff = 1; },
        [] { gLastSavedTick = TickMs() - 4 * kMinute; },
        [] { SetSetting("AutoSave Interval", 6); },
        [this] { SetReadOnly(folder / "records.mcf", true); },
    };
    for (const auto& obstacle : against) {
        obstacle();
        EXPECT_FALSE(AutosaveTest() || IsSaved()) << &obstacle - against;
        gAutosaveAllowed = true;
        gModalNesting = gAutosaveHeldOff = 0;
        DeleteSetting("AutoSave");
        DeleteSetting("AutoSave Interval");
        SetReadOnly(folder / "records.mcf", false);
        MarkDirty();
        gLastSavedTick = TickMs() - 5 * kMinute;
    }
    // A failure stays quiet and is tried again.
    MakeSavingFail();
    const uint32_t tick = gLastSavedTick;
    EXPECT_FALSE(AutosaveTest());
    EXPECT_TRUE(gAlbumSet->dirty);
    EXPECT_EQ(gLastSavedTick, tick);
    LetSavingWork();

    static std::vector<std::string> titles;
    SetTitleHook([] { titles.push_back(TitleBarText()); });
    gAlbumSet->current_album = gAlbumSet->albums.Last();
    EXPECT_EQ(TitleBarText(), "*records.mcf - Orvane - New - Album");
    EXPECT_TRUE(AutosaveTest());
    SetTitleHook(nullptr);
    EXPECT_EQ(titles.front(), "Autosaving...");
    EXPECT_EQ(titles.back(), "records.mcf - Orvane - New - Album");
    EXPECT_TRUE(IsSaved());
    EXPECT_FALSE(gAlbumSet->dirty);
    EXPECT_TRUE(gAutosaveAllowed);
    EXPECT_TRUE(messages.asked.empty());
}

TEST_F(Application, ABusyQueryAsksListenersThenTheUser) {
    AlbumInfo& album = *gAlbumSet->albums.Last();
    const int close = static_cast<int>(Msg::BusyClose), hibernate = static_cast<int>(Msg::BusyHibernate);
    for (const auto& [id, open_recordings, running_jobs, answer, asks, may] :
         {std::tuple{close, 0, 0, Answer::No, false, true},
          {close, 1, 0, Answer::No, true, false},
          {close, 0, 1, Answer::Yes, true, true},
          {hibernate, 1, 1, Answer::No, false, true},
          {-5, 1, 1, Answer::No, false, true}}) {
        album.open_fhe_count = open_recordings;
        album.running_jobs = running_jobs;
        messages.asked.clear();
        messages.script = {answer};
        EXPECT_EQ(IsBusyQuery(id), may) << id;
        EXPECT_EQ(messages.asked.size(), asks ? 1u : 0u) << id;
    }
    album.open_fhe_count = album.running_jobs = 0;
    messages.asked.clear();
    EventArg asked_id = 0;
    const event::Handler veto = [](void* asked, int, EventArg id, EventArg vetoed, EventArg) -> intptr_t {
        *static_cast<EventArg*>(asked) = id;
        return *reinterpret_cast<uint8_t*>(vetoed) = 1;
    };
    event::Subscribe(EVENT_BUSY_QUERY, 0, veto, &asked_id);
    EXPECT_FALSE(CanQuit(true, true));
    EXPECT_EQ(asked_id, 300);
    EXPECT_FALSE(CanQuit(false, true));
    EXPECT_EQ(asked_id, 298);
    event::Unsubscribe(EVENT_BUSY_QUERY, veto, &asked_id);
    EXPECT_TRUE(messages.asked.empty());
    EXPECT_TRUE(gAlbumSet && gAlbumSet->dirty);
}

TEST_F(Application, QuittingSavesAndAFailureIsTheUsersChoice) {
    struct Case {
        std::deque<Answer> answers;  // the first is given while saving fails, the rest when it works again
        bool quits, saved;
    };
    for (const Case& c : {Case{{}, true, true},
                          {{Answer::Yes, Answer::Yes}, true, true},
                          {{Answer::No}, true, false},
                          {{Answer::Cancel}, false, false}}) {
        fs::remove_all(folder / "records_$$$.mcf");
        folder.Write("records.mcf", "\"A\",\"T\"\n");
        ASSERT_TRUE(OpenCollection(folder / "records.mcf"));
        Change();
        if (!c.answers.empty()) MakeSavingFail();
        messages.asked.clear();
        messages.script = c.answers;
        messages.on_ask = [this](const Message& message) {
            EXPECT_FALSE(gAutosaveAllowed);
            EXPECT_NE(message.text.find("Try again?"), std::string::npos);
            if (messages.asked.size() == 2) LetSavingWork();
        };
        EXPECT_EQ(CanQuit(false, true), c.quits);
        EXPECT_EQ(messages.asked.size(), c.answers.size());
        EXPECT_EQ(IsSaved(), c.saved);
        EXPECT_EQ(gAlbumSet == nullptr, c.quits);
        EXPECT_EQ(gAutosaveAllowed, !c.quits);
    }
}

TEST_F(Application, GoingToSleepSavesAndAsksNothingWhileQuittingClosesOpenRecordingsToo) {
    AlbumInfo* album = gAlbumSet->albums.Last();
    album->running_jobs = 1;
    EXPECT_TRUE(CanQuit(true, false));
    EXPECT_TRUE(IsSaved());
    MarkDirty();
    MakeSavingFail();
    EXPECT_TRUE(CanQuit(true, false));
    EXPECT_TRUE(messages.asked.empty());
    LetSavingWork();
    album->running_jobs = 0;
    const std::string file = folder.Write(
        "open.wav", OrvaneTest::Riff(OrvaneTest::Fmt(1, 2, 44100, 16) + OrvaneTest::Chunk("data", std::string(400, 0))));
    FileHistoryEntry* entry = AddRecording(*album, 1, file, PlaceOfFile::WhereItIs);
    ASSERT_TRUE(entry);
    const RefPtr<FileHistoryEntry> kept(entry);
    const Result<OpenRecording> held = entry->Open(USER_PLAY);
    ASSERT_TRUE(held.Ok());
    messages.script = {Answer::Yes};
    EXPECT_TRUE(CanQuit(false, true));
    EXPECT_EQ(gAlbumSet, nullptr);
}

// A job in whose pump the user does something else.
class PumpedJob : public WorkerThread {
    int Work() override {
        GetMainLoop().Post([this] {
            meanwhile();
            is_done = true;
        });
        while (Progress::Tick() && !is_done) Sleep(1);
        return 0;
    }

public:
    explicit PumpedJob(std::function<void()> meanwhile) : meanwhile(std::move(meanwhile)) {}

    std::function<void()> meanwhile;
    std::atomic<bool> is_done{false};
};

TEST_F(Application, WhileAJobIsPumpedNoOtherBeginsAndItsCollectionStaysOpen) {
    AlbumSet* const set = gAlbumSet;
    bool went_on = false;
    const auto refused = [](const Outcome& outcome) {
        return outcome.Is(Kind::Busy) && outcome.Is(Msg::JobInProgress);
    };
    PumpedJob job([&] {
        EXPECT_TRUE(refused(Job("Second").Refusal()));
        PumpedJob worker([] {});
        EXPECT_TRUE(refused(worker.Launch()));
        EXPECT_TRUE(refused(CloseCollection()));
        EXPECT_TRUE(refused(OpenCollection(folder / "records.mcf").GetOutcome()));
        Session session;
        EXPECT_TRUE(refused(session.Open(folder / "records.mcf", Access::Change)));
        WhenNoJobRuns([&] { went_on = true; });
        EXPECT_FALSE(went_on);
        messages.script = {Answer::Yes};  // the jobs may be ended
        EXPECT_FALSE(CanQuit(false, true));
    });
    {
        const Job turn("First", gAlbumSet);
        ASSERT_TRUE(turn.Refusal());
        EXPECT_TRUE(job.Launch());
        EXPECT_TRUE(turn.GoOn().Is(Kind::Cancelled));
        // Between its threads a job has its turn all the same.
        EXPECT_TRUE(refused(Job("Third").Refusal()));
        EXPECT_TRUE(refused(CloseCollection()));
    }
    EXPECT_EQ(gAlbumSet, set);
    EXPECT_EQ(messages.asked.size(), 1u);
    while (!went_on) GetMainLoop().RunOne(1000);
    EXPECT_TRUE(CanQuit(false, true));
    EXPECT_EQ(gAlbumSet, nullptr);
}

TEST_F(Application, ANewRecordingTakesNothingOverFromAnother) {
    const std::string file = folder.Write(
        "take", OrvaneTest::Riff(OrvaneTest::Fmt(1, 2, 44100, 16) + OrvaneTest::Chunk("data", std::string(400, 0))));
    AlbumInfo& album = *gAlbumSet->albums.Last();
    const auto add = [&] { return FileNameOf(AddRecording(album, 1, file, PlaceOfFile::RecordingsFolder)->GetPath()); };
    EXPECT_EQ(add(), "New~Album~side1");
    ASSERT_EQ(RemoveFile(folder / "records/New~Album~side1"), 0);
    EXPECT_EQ(add(), "New~Album~side1 (2)") << "the first is only missing";
    folder.Write("records/New~Album~side1 (3).crd", "repairs");
    EXPECT_EQ(add(), "New~Album~side1 (4)");
}

TEST(CommandLineTest, SwitchesAndTheCollection) {
    struct Case {
        std::vector<const char*> words;
        CommandLine expected;
    };
    const Case cases[] = {
        {{"/home/me/records.mcf"}, {0, false, 0, 0, "/home/me/records.mcf"}},
        {{"/D", "-b", "/M"}, {1, true, 0, 1, ""}},
        {{"-d3", "/B20", "records.mcf", "/s2"}, {3, false, 1, 20, "records.mcf"}},
        {{"/S6"}, {0, false, 0, 0, ""}},
        {{"--unknown", "-?", "/s2x", "b.mcf"}, {0, false, 0, 0, "/s2x"}},
    };
    for (const Case& c : cases) {
        std::vector<const char*> argv = {"orvane"};
        argv.insert(argv.end(), c.words.begin(), c.words.end());
        const CommandLine line = ParseCommandLine(static_cast<int>(argv.size()), argv.data());
        const auto parts = [](const CommandLine& l) {
            return std::tuple(l.debug_level, l.any_instance, l.screen, l.batch_limit, l.collection);
        };
        EXPECT_EQ(parts(line), parts(c.expected)) << c.words[0];
    }
}

}  // namespace
}  // namespace Orvane
