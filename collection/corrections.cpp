#include "collection/corrections.h"

#include <algorithm>
#include <cmath>

#include "collection/sort_list.h"

using namespace Foundation;

namespace Orvane {

int gDebugLevel = 0;

int64_t CutList::OffsetAt(int64_t start_time) const {
    int64_t offset = 0;
    for (const CutAndSpliceCorrection& cut : *this) {
        if (cut.start_time > start_time) break;
        offset += cut.Length();
    }
    return offset;
}

int64_t CutList::ToEdited(int64_t absolute) const {
    int64_t offset = 0;
    for (const CutAndSpliceCorrection& cut : *this) {
        if (absolute < cut.absolute_start_time) break;
        if (absolute < cut.absolute_end_time) return cut.start_time;
        offset += cut.Length();
    }
    return absolute - offset;
}

int64_t CutList::TotalLength() const {
    int64_t total = 0;
    for (const CutAndSpliceCorrection& cut : *this) total += cut.Length();
    return total;
}

CutAndSpliceCorrection* CutList::Add(int64_t t1, int64_t t2, int32_t splice_length, int32_t samplerate) {
    ORVANE_ASSERT(t1 >= 0 && t2 >= t1);
    // A cross-fade begins a whole splice before `t1`, and there is nothing before the recording.
    const int64_t splice = std::min<int64_t>(std::max(splice_length, 0), t1) & ~int64_t{1};
    int64_t start = t1 - splice / 2;
    int64_t end = t2 + splice / 2;
    int64_t absorbed = 0;  // audio within the new cut that was cut already
    const int64_t d = MulDiv64(10, samplerate, 1000);
    CutAndSpliceCorrection* before = nullptr;
    for (CutAndSpliceCorrection* e = First(); e && !before;) {
        CutAndSpliceCorrection* following = Next(e);
        if (e->start_time > end + d) {
            before = e;
        } else if (e->start_time >= start - d) {
            start = std::min(start, e->start_time);
            end = std::max(end, e->start_time);
            absorbed += e->Length();
            Delete(e);
        }
        e = following;
    }

    auto* cut = new CutAndSpliceCorrection;
    const int64_t offset = OffsetAt(start);
    cut->start_time = start;
    cut->end_time = end + absorbed;
    cut->absolute_start_time = cut->start_time + offset;
    cut->absolute_end_time = cut->end_time + offset;
    cut->splice_length = static_cast<int32_t>(std::min(splice, 2 * start));
    Insert(cut, before);
    for (CutAndSpliceCorrection* e = before; e; e = Next(e)) {
        e->start_time -= end - start;
        e->end_time -= end - start;
    }
    return cut;
}

std::unique_ptr<CutAndSpliceCorrection> CutList::Take(CutAndSpliceCorrection* cut) {
    for (CutAndSpliceCorrection* e = Next(cut); e; e = Next(e)) {
        e->start_time += cut->Length();
        e->end_time += cut->Length();
    }
    return std::unique_ptr<CutAndSpliceCorrection>(Remove(cut));
}

void CutList::Recompute() {
    SortList(*this, [](const auto& a, const auto& b) { return a.start_time < b.start_time; });
    int64_t offset = 0;
    for (CutAndSpliceCorrection& cut : *this) {
        cut.absolute_start_time = cut.start_time + offset;
        cut.absolute_end_time = cut.end_time + offset;
        offset += cut.Length();
    }
}

ClickRepair::ClickRepair(int16_t repair_type, int64_t start, int64_t end, int16_t cross_fade, int32_t samplerate)
    : BaseCorrection(CORRECTION_CLICK_REPAIR), repair_type(repair_type), cross_fade(cross_fade) {
    if (samplerate != 0 && samplerate != kTicksPerSecond) {
        start = to_samples(samplerate, start);
        end = std::max(start + 1, to_samples(samplerate, end));
        this->cross_fade = static_cast<int16_t>(MulDiv(cross_fade, samplerate, kTicksPerSecond));
    }
    absolute_start_time = start_time = start;
    absolute_end_time = end_time = end;
}

ClickRepair::ClickRepair(const ClickRepair& other)
    : BaseCorrection(other),
      repair_type(other.repair_type),
      cross_fade(other.cross_fade),
      wiggles(other.wiggles),
      min_sample(other.min_sample),
      max_sample(other.max_sample) {
    if (!other.samples) return;
    samples = std::make_unique_for_overwrite<int16_t[]>(static_cast<size_t>(Length()));
    std::copy_n(other.samples.get(), Length(), samples.get());
}

void ClickRepair::SetSamples(std::unique_ptr<int16_t[]> new_samples) {
    samples = std::move(new_samples);
    FindExtremes();
}

void ClickRepair::FindExtremes() {
    min_sample = 32767;
    max_sample = -32767;
    if (!samples) return;
    for (int64_t i = 0; i < Length(); ++i) {
        min_sample = std::min(min_sample, samples[static_cast<size_t>(i)]);
        max_sample = std::max(max_sample, samples[static_cast<size_t>(i)]);
    }
}

void ClickRepair::TrimStart(int64_t n) {
    ORVANE_ASSERT(n >= 0 && n <= Length());
    if (samples) std::copy(samples.get() + n, samples.get() + Length(), samples.get());
    absolute_start_time += n;
    if (start_time >= 0) start_time += n;
    FindExtremes();
}

void ClickRepair::TrimEnd(int64_t n) {
    ORVANE_ASSERT(n >= 0 && n <= Length());
    absolute_end_time -= n;
    end_time -= n;
    FindExtremes();
}

ClickRepair* ClickRepairList::Twin(const ClickRepair& repair) const {
    if (!buddy || !repair.HasTwin()) return nullptr;
    for (ClickRepair& other : *buddy) {
        if (other.absolute_start_time > repair.absolute_start_time) break;
        if (other.absolute_start_time != repair.absolute_start_time) continue;
        return other.HasTwin() && other.absolute_end_time == repair.absolute_end_time ? &other : nullptr;
    }
    return nullptr;
}

ClickRepairs::ClickRepairs(int32_t samplerate) : lists{ClickRepairList(0, samplerate), ClickRepairList(1, samplerate)} {
    Pair();
}

ClickRepairs::ClickRepairs(const ClickRepairs& other) : lists{other.lists[0], other.lists[1]} {
    Pair();
}

void ClickRepairs::Pair() {
    lists[0].buddy = &lists[1];
    lists[1].buddy = &lists[0];
}

void ClickRepairs::SetDirty(bool dirty) {
    for (ClickRepairList& list : lists) list.dirty = dirty;
}

void ClickRepairs::SetSampleRate(int32_t samplerate) {
    for (ClickRepairList& list : lists) list.samplerate = samplerate;
}

void ClickRepairs::Clear() {
    for (ClickRepairList& list : lists) list.Clear();
}

int CheckRepairList(ClickRepairList& list, bool force) {
    if (!force && gDebugLevel < 2) return 0;
    const int64_t limit = MaxRepairLength(list.samplerate);
    int n_removed = 0;
    const ClickRepair* last_kept = nullptr;
    for (ClickRepair* e = list.First(); e;) {
        ClickRepair* following = ClickRepairList::Next(e);
        const bool empty = e->absolute_end_time <= e->absolute_start_time;
        const bool too_long = e->Length() > limit && e->repair_type != REPAIR_PATCH;
        const bool overlaps = last_kept && e->absolute_start_time < last_kept->absolute_end_time;
        if (empty || too_long || overlaps) {
            list.Delete(e);
            ++n_removed;
        } else {
            last_kept = e;
        }
        e = following;
    }
    if (n_removed) list.dirty = true;
    return n_removed;
}

bool FFTCurve::SameAs(const FFTCurve& other) const {
    const auto same_point = [](const Point& a, const Point& b) {
        return std::abs(a.freq - b.freq) < 0.0099f && std::abs(a.gain - b.gain) < 0.000099f;
    };
    return axis_max == other.axis_max && axis_min == other.axis_min &&
           std::equal(points.begin(), points.end(), other.points.begin(), other.points.end(), same_point);
}

bool RecordEq::SameAs(const RecordEq& other, bool compare_levels) const {
    if (compare_levels && (enable != other.enable || level_a != other.level_a || level_b != other.level_b)) {
        return false;
    }
    if (name != other.name || !fft_curve != !other.fft_curve) return false;
    if (fft_curve) return fft_curve->SameAs(*other.fft_curve);
    if (use_time_constants != other.use_time_constants) return false;
    if (use_time_constants) return t1 == other.t1 && t2 == other.t2 && t3 == other.t3;
    return turnover == other.turnover && std::abs(rolloff - other.rolloff) < 0.099f && shelf == other.shelf;
}

}  // namespace Orvane
