#include "foundation/settings.h"

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <future>
#include <thread>

#include "foundation/event.h"
#include "foundation/filelock.h"
#include "foundation/platform.h"
#include "foundation/progress.h"
#include "temp_folder.h"

namespace Foundation {
namespace {

using namespace std::string_literals;
using OrvaneTest::ReadBytes;
using OrvaneTest::TempFolder;
using Settings = std::vector<std::pair<std::string, std::string>>;

TEST(SettingsText, DamagedLinesCostThemselvesOnly) {
    int n_damaged = 0;
    EXPECT_EQ(
        ParseSettings("\xEF\xBB\xBF# a comment = x\r\n"
                      "Recent Files #1 = /a=b.mcf\r\n"
                      "no equals sign\n"
                      " = no key\n"
                      "bad escape = \\q\n"
                      "cut escape = \\x4\n"
                      "not UTF-8 = \xE9\n"
                      "\n"
                      "  spaced   =   out  \n"
                      "empty =\n"
                      "escaped\\x3Dkey = \\x20two\\nlines\\\\",
                      &n_damaged),
        (Settings{
            {"Recent Files #1", "/a=b.mcf"}, {"spaced", "out"}, {"empty", ""}, {"escaped=key", " two\nlines\\"}}));
    EXPECT_EQ(n_damaged, 5);
}

TEST(SettingsStore, ValuesLastAndOverridesDoNot) {
    TempFolder folder;
    ASSERT_TRUE(OpenSettings(folder / "new/folder"));
    EXPECT_TRUE(WriteSettings({{"Max Threads", -2}, {"Steering File", " /music/x.mcf\n"}, {"Word", "abc"}}));
    OverrideSetting("Max Threads", "7");
    EXPECT_EQ(GetSetting("Max Threads", 4), 7);
    ASSERT_TRUE(OpenSettings(folder / "new/folder"));
    EXPECT_EQ(GetSetting("Max Threads", 4), -2);
    EXPECT_EQ(GetStringSetting("Steering File"), " /music/x.mcf\n");
    EXPECT_EQ(GetSetting("Word", 5), 5);
    DeleteSetting("Word");
    EXPECT_FALSE(HasSetting("Word"));
    EXPECT_EQ(ReadBytes(folder / "new/folder/settings"), "Max Threads = -2\nSteering File = \\x20/music/x.mcf\\n\n");
}

TEST(SettingsStore, WhatCannotBeWrittenHoldsForThisRun) {
    TempFolder folder;
    const std::string path = folder.Write("store/settings", "A = 1\nB = 2\n");
    ASSERT_TRUE(OpenSettings(folder / "store"));
    // A folder in the place of the temporary file stops the superuser too.
    folder.Write("store/settings_$$$/x", "");
    EXPECT_TRUE(WriteSettings({{"A", 5}}).Is(Msg::CannotOpenForWriting));
    DeleteSetting("B");
    EXPECT_EQ(ListSettings(), (Settings{{"A", "5"}}));
    EXPECT_EQ(ReadBytes(path), "A = 1\nB = 2\n");
    std::filesystem::remove_all(folder / "store/settings_$$$");
    EXPECT_TRUE(WriteSettings({{"C", 3}}));
    EXPECT_EQ(ReadBytes(path), "A = 5\nC = 3\n") << "what could not be written went along";
    EXPECT_FALSE(OpenSettings(path + "/below"));
}

TEST(SettingsStore, TwoProcessesWriteAtOnceWithoutLosingAKey) {
    TempFolder folder;
    constexpr int kProcesses = 3, kKeys = 25;
    for (int p = 0; p < kProcesses; ++p) {
        if (fork() != 0) continue;
        if (!OpenSettings(folder.Path())) _exit(1);
        for (int i = 0; i < kKeys; ++i) SetSetting("Process " + std::to_string(p) + " #" + std::to_string(i), i);
        _exit(0);
    }
    while (wait(nullptr) > 0) continue;
    ASSERT_TRUE(OpenSettings(folder.Path()));
    EXPECT_EQ(ListSettings().size(), size_t{kProcesses * kKeys});
}

// The keys told of as changed, each with the value in force at that moment.
class ChangedSettings {
public:
    ChangedSettings() { event::Subscribe(EVENT_SETTING_CHANGED, 0, Note, this); }
    ~ChangedSettings() { event::Unsubscribe(EVENT_SETTING_CHANGED, Note, this); }
    Settings Take() { return std::exchange(changed, {}); }

private:
    static intptr_t Note(void* self, int, EventArg key, EventArg, EventArg) {
        const std::string& name = *reinterpret_cast<const std::string*>(key);
        static_cast<ChangedSettings*>(self)->changed.emplace_back(name, GetStringSetting(name, "none"));
        return 0;
    }
    Settings changed;
};

TEST(SettingsStore, TellsOfEveryChangeWhoeverMadeIt) {
    TempFolder folder;
    folder.Write("settings", "A = 1\nB = 2\n");
    ASSERT_TRUE(OpenSettings(folder.Path()));
    ChangedSettings changed;
    SetSettings({{"A", 1}, {"B", 3}, {"C", "x"}});
    EXPECT_EQ(changed.Take(), (Settings{{"B", "3"}, {"C", "x"}}));
    OverrideSetting("C", "y");
    SetSetting("C", 5);
    EXPECT_EQ(changed.Take(), (Settings{{"C", "y"}}));

    // Another program's changes: noticed when asked to look, and with a write of our own.
    folder.Write("next", "A = 10\nB = 3\n");
    std::filesystem::rename(folder / "next", folder / "settings");
    EXPECT_EQ(GetSetting("A", 0), 1);
    RefreshSettings();
    EXPECT_EQ(changed.Take(), (Settings{{"A", "10"}}));
    RefreshSettings();
    folder.Write("settings", "B = 3\n");
    SetSetting("D", 1);
    EXPECT_EQ(changed.Take(), (Settings{{"A", "none"}, {"D", "1"}}));
}

TEST(SettingsStore, ReadersDoNotWaitForAnotherProcessAndWritersWaitUntilCancelled) {
    TempFolder folder;
    folder.Write("settings", "A = 1\n");
    ASSERT_TRUE(OpenSettings(folder.Path()));
    FileLock other;  // as another process holds it
    ASSERT_TRUE(other.Acquire(folder / "settings"));
    std::thread writer([] { EXPECT_TRUE(WriteSettings({{"A", 2}}).Is(Kind::Cancelled)); });
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    auto read = std::async(std::launch::async, [] { return GetSetting("A", 0); });
    EXPECT_EQ(read.wait_for(std::chrono::seconds(2)), std::future_status::ready);
    Progress::Cancel();
    auto ended = std::async(std::launch::async, [&] { writer.join(); });
    EXPECT_EQ(ended.wait_for(std::chrono::seconds(2)), std::future_status::ready);
    EXPECT_EQ(GetSetting("A", 0), 2) << "it holds for this run";
    EXPECT_EQ(ReadBytes(folder / "settings"), "A = 1\n");
    other.Release();
    EXPECT_TRUE(WriteSettings({{"B", 1}})) << "a free lock is taken, whatever was cancelled before";
    Progress::Begin("");
    Progress::End();
}

}  // namespace
}  // namespace Foundation
