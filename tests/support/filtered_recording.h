// A recording in memory with its chain, for trying cleanup settings on it.
#pragma once

#include <algorithm>
#include <cstdint>
#include <utility>
#include <vector>

#include "cleanup/chain/audiofilter.h"
#include "collection/filehistory.h"
#include "collection/listchange.h"
#include "memorystream.h"

namespace Orvane::Testing {

class FilteredRecording {
public:
    explicit FilteredRecording(std::vector<float> pairs, int rate = 44100,
                               uint32_t flags = Tesslib::PCM_NO_CLICK_REPAIR | Tesslib::PCM_NO_FADERS)
        : source(rate, std::move(pairs)), stack(&entry, &source, flags, 0) {
        entry.facts.samplerate = rate;
    }

    FilterValues& AddFilter(int64_t start = 0, int64_t end = 0) {
        auto* setting = new FilterSetting;
        SetTimes(*setting, start, end);
        const ListChange change(&entry.decided.filters);
        entry.decided.filters.Append(setting);
        return setting->values;
    }

    FFTEq& AddCurve(std::vector<FFTCurve::Point> points, int64_t start = 0, int64_t end = 0, int mode = CURVE_ON) {
        auto* eq = new FFTEq;
        SetTimes(*eq, start, end);
        eq->enable = mode;
        eq->curve.points = std::move(points);
        const ListChange change(&entry.decided.fft_eqs);
        entry.decided.fft_eqs.Append(eq);
        return *eq;
    }

    std::vector<float> Read(int64_t position, int32_t n, uint32_t flags = 0) {
        std::vector<float> pairs(2 * static_cast<size_t>(n));
        n_read = stack.Read(position, pairs.data(), n, flags);
        pairs.resize(2 * static_cast<size_t>(std::max(0, n_read)));
        return pairs;
    }
    std::vector<float> ReadAll(uint32_t flags = 0) { return Read(0, int32_t(source.GetTotalSamples(0)), flags); }

    static void SetTimes(BaseCorrection& correction, int64_t start, int64_t end) {
        correction.start_time = correction.absolute_start_time = start;
        correction.end_time = correction.absolute_end_time = end;
    }

    // Without a file, so that nothing is loaded.
    struct Entry : FileHistoryEntry {
        Entry() : FileHistoryEntry(nullptr, nullptr) { corrections_file.SetLoaded(true); }
    };
    Entry entry;
    Tesslib::Testing::MemoryStream source;
    PCMStack stack;
    int32_t n_read = 0;
};

}  // namespace Orvane::Testing
