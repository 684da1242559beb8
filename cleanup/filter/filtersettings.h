// What cleanup settings and curves are in force at a position of a recording.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "collection/filehistory.h"
#include "tesslib/audiostream.h"

namespace Orvane {

inline constexpr int64_t kNoChange = INT64_MAX;

// Settings stand in a list in the order in which the user stacked them. A setting with neither start nor end covers the
// whole recording, any other the samples from its start up to its end. Later ones go over earlier ones, mode by mode.
struct SettingsAt {
    FilterValues values;
    std::string noise_file;           // empty: the noise sample is a stretch of the recording
    int64_t next_change = kNoChange;  // the next position at which a setting begins or ends
};

// Positions are on the edited timeline, or with PCM_NO_CUTS in `flags` in the file. Call under the stack's lock.
SettingsAt GetSettingsAt(const Foundation::LinkedList<FilterSetting>& settings, int64_t position, uint32_t flags);

struct CurvesAt {
    std::vector<const FFTEq*> curves;  // in the order in which they are applied; valid until the list changes
    int64_t next_change = kNoChange;

    double Level() const;  // of all together, tenths of a decibel
};

CurvesAt GetCurvesAt(const Foundation::LinkedList<FFTEq>& curves, int64_t position, uint32_t flags);

// True when the hiss filter is wanted somewhere in the recording but has no noise sample to work against.
bool LacksNoiseSample(const FileHistoryEntry& entry);

// Keeps the last answer of one of the two for the stretch that it holds for. Under the stack's lock.
template <class Answer>
class StretchMemo {
public:
    // `look_up(position)` gives an Answer.
    template <class LookUp>
    const Answer& At(int64_t position, uint32_t flags, LookUp look_up) {
        const bool in_file = (flags & Tesslib::PCM_NO_CUTS) != 0;
        if (!valid || in_file != timeline_of_file || position < from || position >= answer.next_change) {
            answer = look_up(position);
            from = position;
            timeline_of_file = in_file;
            valid = true;
        }
        return answer;
    }
    void Forget() { valid = false; }

private:
    Answer answer;
    int64_t from = 0;
    bool timeline_of_file = false;
    bool valid = false;
};

}  // namespace Orvane
