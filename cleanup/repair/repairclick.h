// One click repaired and entered: the step between the scanner's or the user's wish and a record in a list.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "cleanup/declick/clickdetector.h"
#include "cleanup/repair/interpolator.h"
#include "cleanup/repair/repairresult.h"
#include "collection/corrections.h"

namespace Orvane {

// One channel of audio at 44100 Hz around the clicks to be repaired. signal[i] is the sample at first_position + i;
// only buffer_start to buffer_end (inclusive) are the recording's own.
struct RepairSource {
    std::span<const float> signal;
    int64_t first_position = 0;
    int64_t buffer_start = 0;
    int64_t buffer_end = 0;
    const ClickDetector* detector = nullptr;  // has run over `signal`, or over what the equalisation made of it
};

// What is to be repaired, `start` to `end` inclusive, at 44100 Hz.
struct RepairRequest {
    int64_t start = 0;
    int64_t end = 0;
    int cross_fade = 0;  // 0 or 6: frames at each end that fade into the real audio
    int score = 0;
    bool big_pop = false;
    int16_t type = REPAIR_SCANNER;
};

// Makes repairs with working memory that it keeps between them. One thread at a time.
class ClickRepairer {
public:
    // Solves the request and enters the repair, at the list's rate, into `list`, or into the existing repair it lies
    // wholly inside. `slot` is AddRepair's hint and answer; null when nothing stands there. A repair that the list
    // refuses counts as Repaired. TooNearEdge and Singular leave the list without it.
    RepairResult RepairClick(const RepairSource& source, const RepairRequest& request, ClickRepairList& list,
                             ClickRepair*& slot);

    // Solves the samples of an existing record anew over its whole range, which the request covers. They stand where
    // they were solved, however the record's frames lie between the samples of 44100 Hz. The caller brackets the change
    // of the list.
    RepairResult Recompute(const RepairSource& source, const RepairRequest& request, ClickRepair& repair,
                           int32_t samplerate);

    // Gives the working memory back.
    void Release();

private:
    RepairResult Solve(const RepairSource& source, const RepairRequest& request);
    void Convert(int32_t samplerate);

    Interpolator interpolator;
    std::vector<float> solved;     // at 44100 Hz
    std::vector<float> converted;  // at the recording's rate
    std::vector<int16_t> samples;  // the same, as stored
};

}  // namespace Orvane
