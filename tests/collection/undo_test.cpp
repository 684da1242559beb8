#include "collection/undo.h"

#include <gtest/gtest.h>

#include <random>
#include <utility>
#include <vector>

#include "collection/dataobjects.h"
#include "fake_hosts.h"

namespace Orvane {
namespace {

// Sets a number; the opposite sets it back.
class SetNumber : public UndoEntry {
public:
    SetNumber(int& number, int value, int32_t bytes) : UndoEntry("Set"), number(number), value(value) {
        size = bytes;
        ++n_alive;
    }
    ~SetNumber() override { --n_alive; }
    std::unique_ptr<UndoEntry> Apply() override {
        auto opposite = std::make_unique<SetNumber>(number, number, size);
        number = value;
        return opposite;
    }

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
    bool CanGoOn(UndoDirection) override { return !busy; }

    int current = SCREEN_CLEANUP;
    int unusable = SCREEN_NONE;  // the album that it showed is gone
    bool busy = false;

private:
    UndoHost* before;
};

class UndoTest : public ::testing::Test {
protected:
    UndoTest() { ClearUndo(); }
    ~UndoTest() override { ClearUndo(); }

    // Gives the number another value as an action.
    void Act(int value, int32_t bytes = 0, UndoTop top = UndoTop::Keep) {
        AddUndo(std::make_unique<SetNumber>(number, std::exchange(number, value), bytes), top);
    }

    int number = 0;
};

TEST_F(UndoTest, KeepsAHundredActionsAndTenMegabytesButTheLastFour) {
    constexpr int32_t kMb = 1 << 20;
    const struct {
        int n_actions;
        int32_t bytes;
        int kept;
    } rows[] = {
        {100, 1, 100}, {101, 0, 100}, {6, 28 * kMb / 10, 5}, {9, 100 * kMb, 5}, {12, kMb, 11},
    };
    for (const auto& row : rows) {
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

TEST_F(UndoTest, NothingBelowTheFloorIsUndone) {
    for (int i = 1; i <= 4; ++i) Act(i);
    Act(5, 5, UndoTop::Replace);  // as a spinning value that is one action
    EXPECT_EQ(GetUndoState().undo_index, 4);
    EXPECT_TRUE(Undo());
    EXPECT_EQ(number, 4);
    SetUndoFloor();
    EXPECT_FALSE(Undo());
    EXPECT_FALSE(Redo());
    Act(10);
    EXPECT_TRUE(Undo());
    EXPECT_FALSE(Undo());
    EXPECT_TRUE(Redo());  // the new action has lifted the bar
    for (int i = 0; i < 100; ++i) Act(i);
    EXPECT_EQ(GetUndoState().floor, 0);  // it went down with the records below it
}

TEST_F(UndoTest, AnActionIsUndoneOnItsOwnScreen) {
    const struct {
        const char* name;
        int now_on, unusable;
        bool busy;
        Answer answer;
        bool asks, done;
        int ends_on;
    } rows[] = {
        {"the same", SCREEN_CLEANUP, SCREEN_NONE, false, Answer::Cancel, false, true, SCREEN_CLEANUP},
        {"busy", SCREEN_CLEANUP, SCREEN_NONE, true, Answer::Ok, false, false, SCREEN_CLEANUP},
        {"another", SCREEN_BURN, SCREEN_NONE, false, Answer::Ok, true, true, SCREEN_CLEANUP},
        {"declined", SCREEN_BURN, SCREEN_NONE, false, Answer::Cancel, true, false, SCREEN_BURN},
        {"album gone", SCREEN_BURN, SCREEN_CLEANUP, false, Answer::Ok, true, true, SCREEN_SPLIT},
        {"stand-in is shown", SCREEN_SPLIT, SCREEN_CLEANUP, false, Answer::Ok, false, true, SCREEN_SPLIT},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        ClearUndo();
        FakeScreens screens;
        OrvaneTest::FakeMessageHost messages({row.answer});
        Act(1);
        screens.current = row.now_on;
        screens.unusable = row.unusable;
        screens.busy = row.busy;
        EXPECT_EQ(Undo(), row.done);
        EXPECT_EQ(GetUndoState().undo_index, row.done ? 0 : 1);
        EXPECT_EQ(screens.current, row.ends_on);
        EXPECT_EQ(messages.asked.size(), row.asks ? 1u : 0u);
    }
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

}  // namespace
}  // namespace Orvane
