// Settings and curves that are tried before they are kept.
#include <gtest/gtest.h>

#include <cmath>

#include "cleanup/edit/editaccess.h"
#include "cleanup/edit/editcuts.h"
#include "cleanup/edit/settingstrial.h"
#include "collection/gesture.h"
#include "collection/steering_file.h"
#include "recorded_side.h"

using namespace Foundation;
using namespace Tesslib;

namespace Orvane {
namespace {

using OrvaneTest::Serialised;

// A setting that is heard: a gain in tenths of a decibel.
FilterSetting Gain(int preamp) {
    FilterSetting setting;
    setting.values.eq_mode = FILTER_ON;
    setting.values.preamp_left = setting.values.preamp_right = preamp;
    return setting;
}

FFTEq Curve(float gain) {
    FFTEq curve;
    curve.enable = CURVE_ON;
    curve.curve.points = {{20, gain}, {20000, gain}};
    return curve;
}

class SettingsTrials : public ::testing::Test {
protected:
    // What the live chain makes of a stretch, in dB of what stands in the file.
    double Heard() {
        std::vector<float> plain(2 * 2000), heard(2 * 2000);
        open.Stream()->Read(20000, plain.data(), 2000, PCM_NO_FILTERS);
        open.Stream()->Read(20000, heard.data(), 2000, 0);
        double before = 0, after = 0;
        for (size_t i = 0; i < plain.size(); ++i) before += plain[i] * plain[i], after += heard[i] * heard[i];
        return 10 * std::log10(after / before);
    }
    // What a save writes and a job is given.
    std::string Saved() {
        const std::string path = side.set.path + ".autosave.mcf";
        EXPECT_TRUE(SaveCopy(path, side.set));
        return OrvaneTest::ReadBytes(path) + Serialised(*entry.Copy(COPY_CORRECTIONS));
    }

    OrvaneTest::RecordedSide side{OrvaneTest::MusicPairs(60000)};
    FileHistoryEntry& entry = *side.entry;
    const EditAccess open{entry};
};

TEST_F(SettingsTrials, AreHeardAndNotSavedUntilTheyAreKeptAsOneAction) {
    ASSERT_TRUE(EditSettings(entry, AddSetting(Gain(-20))));
    const std::string before = Saved();
    ClearDirty();
    EXPECT_NEAR(Heard(), -2, 0.01);
    {
        SettingsTrial trial(entry);
        EXPECT_TRUE(trial.Try(ChangeSetting(0, Gain(-60))));
        EXPECT_TRUE(trial.Try(ChangeSetting(0, Gain(-40))));
        EXPECT_NEAR(Heard(), -4, 0.01);
        EXPECT_TRUE(trial.Try(AddSetting(Curve(-6))));
        EXPECT_NEAR(Heard(), -10, 0.2);
        EXPECT_EQ(Saved(), before);
    }
    EXPECT_NEAR(Heard(), -2, 0.01) << "withdrawn with the object";
    EXPECT_EQ(GetUndoState().undo_index, 1);
    EXPECT_FALSE(side.set.dirty);

    SettingsTrial trial(entry);
    EXPECT_TRUE(trial.Try(AddSettings(std::vector{Curve(-12), Curve(-6)})));
    EXPECT_TRUE(trial.Try(AddSetting(Gain(-30))));
    EXPECT_TRUE(trial.Keep());
    EXPECT_FALSE(trial.Standing());
    EXPECT_NEAR(Heard(), -9, 0.2);
    EXPECT_NE(Saved(), before);
    const std::string kept = Serialised(entry);
    EXPECT_TRUE(Undo());
    EXPECT_NEAR(Heard(), -2, 0.01);
    EXPECT_EQ(Saved(), before);
    EXPECT_TRUE(Redo());
    EXPECT_EQ(Serialised(entry), kept);
}

TEST_F(SettingsTrials, OtherChangesOfTheSettingsWithdrawThemAndCutsDoNot) {
    FilterSetting stretch = Gain(-40);
    stretch.absolute_start_time = 25000, stretch.absolute_end_time = 35000;
    SettingsTrial trial(entry);
    ASSERT_TRUE(trial.Try(AddSetting(stretch)));
    EXPECT_NEAR(Heard(), 0, 0.01);
    ASSERT_TRUE(CutSelection(entry, 0, 10000, 0));  // brings the stretch to where we listen
    EXPECT_NEAR(Heard(), -4, 0.01);
    ASSERT_TRUE(Undo());
    EXPECT_TRUE(trial.Standing());
    EXPECT_NEAR(Heard(), 0, 0.01);

    SettingsTrial other(entry);
    ASSERT_TRUE(other.Try(AddSetting(Gain(-10))));
    EXPECT_FALSE(trial.Standing());
    ASSERT_TRUE(EditSettings(entry, AddSetting(Gain(-20))));
    EXPECT_TRUE(other.Keep().Is(Msg::NothingTried));
    ASSERT_TRUE(other.Try(AddSetting(Gain(-10))));
    ASSERT_TRUE(Undo());
    EXPECT_FALSE(other.Standing());
    EXPECT_NEAR(Heard(), 0, 0.01);
}

TEST_F(SettingsTrials, AreKeptWhenTheQuestionIsAnswered) {
    FilterSetting rumble;
    rumble.values.rumble_mode = rumble.values.hiss_mode = FILTER_ON;
    ASSERT_TRUE(EditSettings(entry, AddSetting(rumble)));
    SettingsTrial trial(entry);
    rumble.values.rumble_mode = FILTER_OFF;
    ASSERT_TRUE(trial.Try(ChangeSetting(0, rumble)));
    EXPECT_TRUE(trial.Keep().Is(Msg::HissWithoutRumble));
    EXPECT_TRUE(trial.Standing());
    EXPECT_TRUE(trial.Keep(Answered::Yes));
    EXPECT_EQ(entry.decided.filters.First()->values.rumble_mode, FILTER_OFF);
}

TEST_F(SettingsTrials, ASliderIsOneActionHoweverOftenItMoves) {
    ASSERT_TRUE(EditSettings(entry, AddSetting(Gain(-20))));
    const std::string before = Serialised(entry);
    Gesture slider;
    for (int i = 0; i < 2 * kMostUndo; ++i) {
        ASSERT_TRUE(slider.Move([&] { return EditSettings(entry, ChangeSetting(0, Gain(-21 - i))); }));
    }
    EXPECT_EQ(GetUndoState().undo_index, 1);
    EXPECT_NEAR(Heard(), -2 - 0.1 * 2 * kMostUndo, 0.01);
    slider.Keep();
    EXPECT_TRUE(Undo());
    EXPECT_EQ(Serialised(entry), before);
    EXPECT_EQ(GetUndoState().undo_index, 1);
    EXPECT_TRUE(slider.Move([&] { return EditSettings(entry, ChangeSetting(0, Gain(-30))); }));
    slider.Abandon();
    EXPECT_EQ(Serialised(entry), before);
    EXPECT_TRUE(Redo()) << "given up, it leaves the stack alone";
}

}  // namespace
}  // namespace Orvane
