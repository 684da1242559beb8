// What the user does to the cleanup settings and curves of a recording. T is FilterSetting or FFTEq. Each is one action
// that can be undone. Main thread. A failure has changed nothing.
//
// Of a setting's times only those in the file count; the others follow.
#pragma once

#include <vector>

#include "collection/filehistory.h"
#include "foundation/outcome.h"

namespace Orvane {

// A change of the list of settings, as a value: it can be tried (settingstrial.h) before it is made. Places are counted
// from 0; one that the list does not have is an assertion failure.
template <class T>
struct SettingsEdit {
    enum class What { Add, Change, Remove, Move };

    void ApplyTo(Foundation::LinkedList<T>& list) const;

    What what;
    int index = 0;
    int to = 0;
    std::vector<T> settings;
};

// Puts settings on top of the others, in their order.
template <class T>
SettingsEdit<T> AddSettings(std::vector<T> settings) {
    return {SettingsEdit<T>::What::Add, 0, 0, std::move(settings)};
}
template <class T>
SettingsEdit<T> AddSetting(const T& setting) {
    return AddSettings(std::vector<T>{setting});
}
template <class T>
SettingsEdit<T> ChangeSetting(int index, const T& setting) {
    return {SettingsEdit<T>::What::Change, index, 0, {setting}};
}
template <class T>
SettingsEdit<T> RemoveSetting(int index) {
    return {SettingsEdit<T>::What::Remove, index, 0, {}};
}
// Puts the setting at `from` in the place `to`.
template <class T>
SettingsEdit<T> MoveSetting(int from, int to) {
    return {SettingsEdit<T>::What::Move, from, to, {}};
}

// NeedsAnswer, with HissWithoutRumble, when the edit turns the rumble filter off under the hiss filter.
template <class T>
Foundation::Outcome EditSettings(FileHistoryEntry& entry, const SettingsEdit<T>& edit,
                                 Foundation::Answered answered = Foundation::Answered::No);

// Makes the frames of the file from `start` up to `end` the recording's noise sample, for all of its settings that have
// no noise sample file. Also for the stretch that it was before: its noise is measured anew.
Foundation::Outcome DefineNoiseSample(FileHistoryEntry& entry, int64_t start, int64_t end);

}  // namespace Orvane
