#include "collection/corrections.h"

#include <algorithm>
#include <cmath>

#include "collection/sort_list.h"

using namespace Foundation;

namespace Orvane {

int gDebugLevel = 0;

namespace {

// Frames between the signposts of a list: longer than any repair, patches at high rates included. Times beyond those of
// any recording share the last.
constexpr int kSignpostBits = 17;
constexpr size_t kMostSignposts = 1 << 16;

size_t SignpostFor(int64_t time) {
    return std::min(static_cast<size_t>(std::max<int64_t>(time, 0)) >> kSignpostBits, kMostSignposts - 1);
}

}  // namespace

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

void ClickRepair::SetSamples(std::shared_ptr<const int16_t[]> new_samples) {
    samples = std::move(new_samples);
    FindExtremes();
}

void ClickRepair::WriteInside(int64_t start, std::span<const int16_t> values) {
    const int64_t offset = start - absolute_start_time;
    ORVANE_ASSERT(samples && offset >= 0 && offset <= Length());
    auto changed = std::make_shared_for_overwrite<int16_t[]>(static_cast<size_t>(Length()));
    std::copy_n(samples.get(), Length(), changed.get());
    std::copy_n(values.data(), std::min(std::ssize(values), Length() - offset), changed.get() + offset);
    SetSamples(std::move(changed));
}

void ClickRepair::FindExtremes() {
    min_sample = 32767;
    max_sample = -32767;
    for (const int16_t sample : Samples()) {
        min_sample = std::min(min_sample, sample);
        max_sample = std::max(max_sample, sample);
    }
}

void ClickRepair::TrimStart(int64_t n) {
    ORVANE_ASSERT(n >= 0 && n <= Length());
    if (samples) samples = {samples, samples.get() + n};
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

void ClickRepairList::Insert(ClickRepair* e, ClickRepair* before) {
    LinkedList::Insert(e, before);
    const size_t i = SignpostFor(e->absolute_start_time);
    if (i >= signposts.size()) signposts.resize(i + 1);
    if (!signposts[i]) signposts[i] = e;
}

// A signpost that goes hands over to a neighbour of its stretch. One whose start has been trimmed may stand at the
// stretch before.
ClickRepair* ClickRepairList::Remove(ClickRepair* e) {
    const size_t last = SignpostFor(e->absolute_start_time);
    for (size_t i = last > 0 ? last - 1 : 0; i <= last; ++i) {
        if (i >= signposts.size() || signposts[i] != e) continue;
        signposts[i] = nullptr;
        for (ClickRepair* neighbour : {Next(e), Previous(e)}) {
            if (neighbour && SignpostFor(neighbour->absolute_start_time) == i) signposts[i] = neighbour;
        }
    }
    return LinkedList::Remove(e);
}

void ClickRepairList::Clear() {
    signposts.clear();
    LinkedList::Clear();
}

void ClickRepairList::Swap(ClickRepairList& other) {
    signposts.swap(other.signposts);
    LinkedList::Swap(other);
}

ClickRepair* ClickRepairList::FirstEndingAfter(int64_t position) const {
    ClickRepair* e = nullptr;
    for (size_t i = std::min(SignpostFor(position) + 1, signposts.size()); !e && i > 0;) e = signposts[--i];
    if (!e) e = First();
    while (e && e->absolute_start_time <= position) e = Next(e);
    ClickRepair* before = e ? Previous(e) : Last();
    while (before && before->absolute_end_time > position) {
        e = before;
        before = Previous(before);
    }
    return e;
}

ClickRepair* ClickRepairList::Twin(const ClickRepair& repair) const {
    if (!buddy || !repair.HasTwin()) return nullptr;
    ClickRepair* other = buddy->FirstEndingAfter(repair.absolute_start_time);
    const bool is_twin = other && other->HasTwin() && other->absolute_start_time == repair.absolute_start_time &&
                         other->absolute_end_time == repair.absolute_end_time;
    return is_twin ? other : nullptr;
}

ClickRepairs::ClickRepairs(int32_t samplerate) : lists{ClickRepairList(0, samplerate), ClickRepairList(1, samplerate)} {
    Pair();
}

ClickRepairs::ClickRepairs(const ClickRepairs& other) : ClickRepairs(other.lists[0].samplerate) {
    for (int channel : {0, 1}) {
        other.lists[channel].ForEachDecided(
            [&](const ClickRepair& repair) { lists[channel].Append(new ClickRepair(repair)); });
    }
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
