// Settings that the user keeps under a name for other recordings. T is ScanSettings, FilterSetting or FFTEq. Main
// thread.
//
// They stand in the settings store under "Scan Preset", "Filter Preset" and "Eq Curve Preset", a line for each: the
// name and its fields in quotes, separated by commas and with one at the end. Filters and curves are the records of a
// collection's file. A line that holds no name is skipped, and stays when others change. Kept curves are such records
// too, without their line break.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "collection/filehistory.h"

namespace Orvane {

template <class T>
struct Preset {
    std::string name;
    T settings;
    bool fixed = false;  // it comes with the program and cannot be changed
};

// Fixed ones first: the default settings of a scan, and the well-known record equalisations.
template <class T>
std::vector<Preset<T>> ListPresets();

// Without regard to case. What a preset says nothing about, the stretch it is for above all, stays as it is; false when
// there is none of that name.
template <class T>
[[nodiscard]] bool FindPreset(std::string_view name, T& settings);

// Enters a preset or takes the place of one of that name. False with the reason as last error: the name is empty, holds
// a control character or is that of a fixed one, or the store cannot be written.
template <class T>
[[nodiscard]] bool SavePreset(std::string_view name, const T& settings);

// False with the reason as last error when there is none to remove.
template <class T>
[[nodiscard]] bool RemovePreset(std::string_view name);

// Curves that are kept as a list: "Default Eq Curve #1" and so on are offered for any side, "Batch Eq Curve #1" and so
// on are those of the last batch.
enum class KeptCurves { Default, Batch };

// In their order; what holds no curve is left out.
std::vector<FFTEq> ReadKeptCurves(KeptCurves kind);

// They take the place of those kept before. False when the store cannot be written.
[[nodiscard]] bool KeepCurves(KeptCurves kind, const Foundation::LinkedList<FFTEq>& curves);

// The pure parts, for tests and damaged stores.
template <class T>
std::vector<Preset<T>> ParsePresets(std::string_view text);
template <class T>
std::string PresetLine(std::string_view name, const T& settings);

}  // namespace Orvane
