#include "foundation/settings.h"

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include "foundation/lasterror.h"
#include "temp_folder.h"

using namespace Foundation;

namespace Tesslib {
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
    EXPECT_TRUE(SetSetting("Max Threads", -2));
    EXPECT_TRUE(SetStringSetting("Steering File", " /music/x.mcf\n"));
    EXPECT_TRUE(SetStringSetting("Word", "abc"));
    OverrideSetting("Max Threads", "7");
    EXPECT_EQ(GetSetting("Max Threads", 4), 7);
    ASSERT_TRUE(OpenSettings(folder / "new/folder"));
    EXPECT_EQ(GetSetting("Max Threads", 4), -2);
    EXPECT_EQ(GetStringSetting("Steering File"), " /music/x.mcf\n");
    EXPECT_EQ(GetSetting("Word", 5), 5);
    EXPECT_TRUE(DeleteSetting("Word"));
    EXPECT_FALSE(HasSetting("Word"));
}

TEST(SettingsStore, WhatCannotBeWrittenHoldsForThisRun) {
    TempFolder folder;
    const std::string path = folder.Write("store/settings", "A = 1\nB = 2\n");
    ASSERT_TRUE(OpenSettings(folder / "store"));
    // A folder in the place of the temporary file stops the superuser too.
    folder.Write("store/settings_$$$/x", "");
    EXPECT_FALSE(SetSetting("A", 5));
    EXPECT_NE(GetLastError().text.find("Cannot open file:"), std::string::npos);
    EXPECT_FALSE(DeleteSetting("B"));
    EXPECT_EQ(ListSettings(), (Settings{{"A", "5"}}));
    EXPECT_EQ(ReadBytes(path), "A = 1\nB = 2\n");
    std::filesystem::remove_all(folder / "store/settings_$$$");
    EXPECT_TRUE(SetSetting("C", 3));
    EXPECT_EQ(GetSetting("A", 0), 5);
    EXPECT_FALSE(OpenSettings(path + "/below"));
}

TEST(SettingsStore, TwoProcessesWriteAtOnceWithoutLosingAKey) {
    TempFolder folder;
    constexpr int kProcesses = 3, kKeys = 25;
    for (int p = 0; p < kProcesses; ++p) {
        if (fork() != 0) continue;
        OpenSettings(folder.Path());
        for (int i = 0; i < kKeys; ++i) SetSetting("Process " + std::to_string(p) + " #" + std::to_string(i), i);
        _exit(0);
    }
    while (wait(nullptr) > 0) continue;
    OpenSettings(folder.Path());
    EXPECT_EQ(ListSettings().size(), size_t{kProcesses * kKeys});
}

}  // namespace
}  // namespace Tesslib
