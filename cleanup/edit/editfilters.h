// What the user does to the cleanup settings and curves of a recording. T is FilterSetting or FFTEq. Each is one action
// that can be undone. Main thread. False when the recording cannot be edited now, which has been shown, or when the
// user did not want it: an edit that turns the rumble filter off under the hiss filter asks first.
//
// Of a setting's times only those in the file count; the others follow.
#pragma once

#include "collection/filehistory.h"

namespace Orvane {

// Puts a setting on top of the others.
template <class T>
bool AddSetting(FileHistoryEntry& entry, const T& setting);

template <class T>
bool ChangeSetting(FileHistoryEntry& entry, int index, const T& setting);

template <class T>
bool RemoveSetting(FileHistoryEntry& entry, int index);

// Puts the setting at `from` in the place `to`.
template <class T>
bool MoveSetting(FileHistoryEntry& entry, int from, int to);

// Makes the frames of the file from `start` up to `end` the recording's noise sample, for all of its settings that have
// no noise sample file. Also for the stretch that it was before: its noise is measured anew.
bool DefineNoiseSample(FileHistoryEntry& entry, int64_t start, int64_t end);

}  // namespace Orvane
