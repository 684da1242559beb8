// Settings, curves and presets that are heard and measured before they are kept: the recording's chain uses them in
// place of the settings decided on, while files, copies and signatures are made of those. Main thread.
#pragma once

#include <optional>

#include "cleanup/edit/editfilters.h"

namespace Orvane {

// What was not kept goes with it. One trial at a time stands in a recording: another one takes its place, and any other
// change of the recording's settings, an undo among them, withdraws it. Cuts leave it in force.
class SettingsTrial {
public:
    explicit SettingsTrial(FileHistoryEntry& entry) : entry(entry) {}
    ~SettingsTrial() { Withdraw(); }
    SettingsTrial(const SettingsTrial&) = delete;
    SettingsTrial& operator=(const SettingsTrial&) = delete;

    // Puts what the edit makes of the settings decided on in force, in place of the last edit of the same list that was
    // tried. A failure leaves that in force.
    template <class T>
    Foundation::Outcome Try(const SettingsEdit<T>& edit);
    bool Standing() const { return tried && entry.tried.get() == tried; }
    // Makes the edits that are tried one action. NeedsAnswer as EditSettings.
    Foundation::Outcome Keep(Foundation::Answered answered = Foundation::Answered::No);
    void Withdraw();

private:
    void PutInForce();

    FileHistoryEntry& entry;
    std::optional<SettingsEdit<FilterSetting>> filter_edit;
    std::optional<SettingsEdit<FFTEq>> curve_edit;
    const TriedSettings* tried = nullptr;  // ours, while the entry has it
};

}  // namespace Orvane
