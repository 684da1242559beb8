#include "collection/undo.h"

#include <gtest/gtest.h>

#include <random>
#include <utility>
#include <vector>

#include "collection/dataobjects.h"
#include "fake_hosts.h"
#include "foundation/event.h"

namespace Orvane {
namespace {

using OrvaneTest::FakeMessageHost;

// Sets a number; the opposite sets it back.
class SetNumber : public UndoEntry {
public:
    SetNumber(int& number, int value, int32_t bytes = 0, std::string description = "Set")
        : UndoEntry(std::move(description)), number(number), value(value) {
        size = bytes;
        ++n_alive;
    }
    ~SetNumber() override { --n_alive; }
    std::unique_ptr<UndoEntry> Apply() override {
        if (inside) inside();
        if (fails) return nullptr;
        auto opposite = std::make_unique<SetNumber>(number, number, size, "from Apply");
        number = value;
        return opposite;
    }

    bool fails = false;
    std::function<void()> inside;
    static inline int n_alive = 0;

private:
    int& number;
    int value;
};

class FakeScreens : public UndoHost {
public:
    FakeScreens() : before(SetUndoHost(this)) {}
    ~FakeScreens() override { SetUndoHost(before); }
    int CurrentScreen() const override { return current; }
    bool IsUsable(int screen) override { return screen != unusable; }
    bool ShowScreen(int screen) override { return current = screen, true; }
    bool CanGoOn(UndoDirection direction) override { return asked = direction, !busy; }
    void MenusChanged() override { ++n_menus; }

    int current = SCREEN_CLEANUP;
    int unusable = SCREEN_NONE;
    bool busy = false;
    UndoDirection asked{};
    int n_menus = 0;

private:
    UndoHost* before;
};

class UndoTest : public ::testing::Test {
protected:
    UndoTest() { ClearUndo(); }
    ~UndoTest() override { ClearUndo(); }

    // Gives the number another value as an action.
    SetNumber* Act(int value, int32_t bytes = 0, UndoTop top = UndoTop::Keep) {
        auto record = std::make_unique<SetNumber>(number, number, bytes);
        number = value;
        SetNumber* added = record.get();
        AddUndo(std::move(record), top);
        return added;
    }

    int number = 0;
};

TEST_F(UndoTest, KeepsAHundredActionsAndTenMegabytesButTheLastFour) {
    constexpr int32_t kMb = 1 << 20;
    const struct {
        const char* name;
        int n_actions;
        int32_t bytes;
        int kept;
    } rows[] = {
        {"up to the limit", 100, 1, 100},
        {"the 101st", 101, 0, 100},
        {"the size is looked at before the new one counts", 6, 19 * kMb / 10, 6},
        {"six large ones", 6, 28 * kMb / 10, 5},
        {"large ones of any size", 9, 100 * kMb, 5},
        {"exactly ten megabytes", 11, kMb, 11},
        {"one more", 12, kMb, 11},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        ClearUndo();
        number = 0;
        for (int i = 0; i < row.n_actions; ++i) Act(i + 1, row.bytes);
        EXPECT_EQ(SetNumber::n_alive, row.kept);
        EXPECT_EQ(GetUndoState().undo_highwater, row.kept);
        EXPECT_EQ(GetUndoState().undo_size, int64_t{row.kept} * row.bytes);
        while (Undo()) continue;
        EXPECT_EQ(number, row.n_actions - row.kept);
        while (Redo()) continue;
        EXPECT_EQ(number, row.n_actions);
    }
}

TEST_F(UndoTest, ANewActionDeletesWhatCouldBeRedone) {
    for (int i = 1; i <= 5; ++i) Act(i, 10);
    for (int i = 0; i < 3; ++i) EXPECT_TRUE(Undo());
    Act(20, 1);
    EXPECT_EQ(SetNumber::n_alive, 3);
    EXPECT_EQ(GetUndoState().undo_size, 21);
    EXPECT_FALSE(Redo());
    AddUndo(nullptr);
    EXPECT_TRUE(Undo());
    EXPECT_EQ(number, 2);
    EXPECT_TRUE(Redo());
    Act(21, 5, UndoTop::Replace);  // as a spinning value that is one action
    EXPECT_EQ(GetUndoState().undo_size, 25);
    EXPECT_EQ(GetUndoState().undo_index, 3);
}

TEST_F(UndoTest, NothingBelowTheFloorIsUndone) {
    for (int i = 1; i <= 4; ++i) Act(i);
    EXPECT_TRUE(Undo());
    SetUndoFloor();
    EXPECT_FALSE(Undo());
    EXPECT_FALSE(Redo());
    Act(10);
    EXPECT_TRUE(Undo());
    EXPECT_FALSE(Undo());
    EXPECT_TRUE(Redo());  // the new action has lifted the bar
    for (int i = 0; i < 100; ++i) Act(i);
    EXPECT_EQ(GetUndoState().floor, 0);  // it went down with the records below it
    SetUndoFloor();
    ClearUndoFloor();
    EXPECT_TRUE(Undo());
    EXPECT_TRUE(Redo());
}

TEST_F(UndoTest, WhatFailsStaysWhereItIs) {
    FakeScreens screens;
    const struct {
        const char* name;
        bool fails, busy;
    } rows[] = {{"the record fails", true, false}, {"the screen is busy", false, true}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        ClearUndo();
        number = 0;
        Act(1)->fails = row.fails;
        screens.busy = row.busy;
        EXPECT_FALSE(Undo());
        EXPECT_EQ(screens.asked, UndoDirection::Undo);
        EXPECT_EQ(GetUndoState().undo_index, 1);
        EXPECT_EQ(number, 1);
        EXPECT_TRUE(GetUndoMenu(UndoDirection::Undo).enabled);
        EXPECT_FALSE(GetUndoMenu(UndoDirection::Redo).enabled);
    }
    // Nor does one begin while another runs.
    ClearUndo();
    screens.busy = false;
    Act(1);
    Act(2)->inside = [] {
        EXPECT_TRUE(GetUndoState().in_undo);
        EXPECT_FALSE(Undo());
    };
    EXPECT_TRUE(Undo());
    EXPECT_EQ(GetUndoState().undo_index, 1);
    EXPECT_FALSE(GetUndoState().in_undo);
}

TEST_F(UndoTest, AsksBeforeAnotherScreenIsShown) {
    const struct {
        const char* name;
        int made_on, now_on, unusable;
        bool needs_screen;
        Answer answer;
        bool asks, done;
        int ends_on;
    } rows[] = {
        {"the same", SCREEN_CLEANUP, SCREEN_CLEANUP, SCREEN_NONE, true, Answer::Cancel, false, true, SCREEN_CLEANUP},
        {"another", SCREEN_CLEANUP, SCREEN_BURN, SCREEN_NONE, true, Answer::Ok, true, true, SCREEN_CLEANUP},
        {"declined", SCREEN_CLEANUP, SCREEN_BURN, SCREEN_NONE, true, Answer::Cancel, true, false, SCREEN_BURN},
        {"any will do", SCREEN_CLEANUP, SCREEN_BURN, SCREEN_NONE, false, Answer::Cancel, false, true, SCREEN_BURN},
        {"album gone", SCREEN_CLEANUP, SCREEN_BURN, SCREEN_CLEANUP, true, Answer::Ok, true, true, SCREEN_SPLIT},
        {"stand-in is shown", SCREEN_CLEANUP, SCREEN_SPLIT, SCREEN_CLEANUP, true, Answer::Ok, false, true,
         SCREEN_SPLIT},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        ClearUndo();
        number = 0;
        FakeScreens screens;
        FakeMessageHost messages({row.answer});
        screens.current = row.made_on;
        Act(1)->needs_screen = row.needs_screen;
        screens.current = row.now_on;
        screens.unusable = row.unusable;
        EXPECT_EQ(Undo(), row.done);
        EXPECT_EQ(number, row.done ? 0 : 1);
        EXPECT_EQ(GetUndoState().undo_index, row.done ? 0 : 1);
        EXPECT_EQ(screens.current, row.ends_on);
        ASSERT_EQ(messages.asked.size(), row.asks ? 1u : 0u);
        if (row.asks) {
            EXPECT_EQ(messages.Texts()[0], "This undo/redo operation will take you to a different window. Proceed?");
        }
        EXPECT_EQ(GetUndoMenu(UndoDirection::Redo).enabled, row.done);
    }
}

TEST_F(UndoTest, FiresItsEventsAndKeepsTheMenus) {
    static std::string events;
    const auto handle = [](void*, int id, EventArg a, EventArg, EventArg) -> intptr_t {
        events += std::to_string(id) + ":" + std::to_string(a) + " ";
        return 0;
    };
    for (int id : {EVENT_UNDO, EVENT_UNDO_QUESTION}) event::Subscribe(id, 0, handle, nullptr);
    events.clear();
    FakeScreens screens;
    FakeMessageHost messages({Answer::Ok});
    AlbumSet set{"/music/Mine.mcf"};
    gAlbumSet = &set;
    Act(1);
    EXPECT_TRUE(std::exchange(set.dirty, false));
    EXPECT_EQ(GetUndoMenu(UndoDirection::Undo).text, "Undo Set\tCtrl+Z");
    EXPECT_EQ(GetUndoMenu(UndoDirection::Undo).tip, "Undo Set (Ctrl+Z)");
    screens.current = SCREEN_RECORD;
    screens.n_menus = 0;
    EXPECT_TRUE(Undo());
    EXPECT_TRUE(set.dirty);
    EXPECT_EQ(screens.n_menus, 1);
    EXPECT_EQ(events, "26:0 43:1 43:0 ");
    EXPECT_EQ(GetUndoMenu(UndoDirection::Redo).text, "Redo Set\tCtrl+Y");  // the opposite has the same name
    EXPECT_EQ(GetUndoMenu(UndoDirection::Redo).tip, "Redo Set (Ctrl+Y)");
    for (int id : {EVENT_UNDO, EVENT_UNDO_QUESTION}) event::Unsubscribe(id, handle, nullptr);
    gAlbumSet = nullptr;
}

// Against a list of all states and a place in it.
TEST_F(UndoTest, RandomActionsGoBackAndForth) {
    std::mt19937 random(3);
    std::vector<int> states = {0};
    size_t at = 0, oldest = 0;
    for (int i = 0; i < 20000; ++i) {
        switch (random() % 5) {
            case 0:
            case 1:
                states.resize(++at);
                states.push_back(i);
                if (at - oldest > kMostUndo) ++oldest;
                Act(i);
                break;
            case 2:
            case 3:
                EXPECT_EQ(Undo(), at > oldest);
                if (at > oldest) --at;
                break;
            default:
                EXPECT_EQ(Redo(), at + 1 < states.size());
                if (at + 1 < states.size()) ++at;
        }
        ASSERT_EQ(number, states[at]);
        ASSERT_EQ(SetNumber::n_alive, static_cast<int>(states.size() - 1 - oldest));
    }
}

TEST(UndoDeathTest, NoRecordIsAddedWhileOneIsApplied) {
    int number = 0;
    auto record = std::make_unique<SetNumber>(number, 1);
    record->inside = [&number] { AddUndo(std::make_unique<SetNumber>(number, 2)); };
    AddUndo(std::move(record));
    EXPECT_DEATH(Undo(), "in_undo");
    ClearUndo();
}

}  // namespace
}  // namespace Orvane
