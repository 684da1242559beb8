// What has been decided about stretches of a recording: markers, cuts, click repairs, filter settings and curves, and
// the lists that keep them. A recording itself is never changed.
#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "foundation/linked_list.h"
#include "foundation/muldiv.h"

namespace Orvane {

enum CorrectionType : int32_t {
    CORRECTION_MARKER = 2,
    CORRECTION_CUT = 3,
    CORRECTION_CLICK_REPAIR = 4,
    CORRECTION_FILTER = 5,
    CORRECTION_FFT_EQ = 102,
};

// All times are frames at the recording's own rate. `absolute_*` are positions in the file as it lies on disk; the
// plain ones are positions on the edited timeline, with all cuts before them taken out. Ends are exclusive.
struct BaseCorrection : Foundation::LinkedListEntry {
    explicit BaseCorrection(CorrectionType type) : type(type) {}

    int64_t absolute_start_time = 0;
    int64_t start_time = 0;
    int64_t absolute_end_time = 0;
    int64_t end_time = 0;
    CorrectionType type;
};

struct MarkerCorrection : BaseCorrection {
    MarkerCorrection() : BaseCorrection(CORRECTION_MARKER) {}
};

// An end or a start of a track that a cut has moved. Ticks.
struct MovedBreak {
    int64_t from = -1;  // where it stood, in the file; -1: none
    int64_t to = 0;     // where it stands, from the cut's place on

    bool operator==(const MovedBreak&) const = default;
};

struct CutAndSpliceCorrection : BaseCorrection {
    CutAndSpliceCorrection() : BaseCorrection(CORRECTION_CUT) {}
    int64_t Length() const { return end_time - start_time; }

    int32_t splice_length = 0;  // frames over which the two sides are cross-faded; always even
    // The end and the start of a track that the cut has moved to its cross-fade. They go back with what was cut.
    MovedBreak moved_end, moved_start;
};

// The cuts of a recording in ascending order, and the map between its two timelines.
class CutList : public Foundation::LinkedList<CutAndSpliceCorrection> {
public:
    // The sum of the lengths of the cuts that start at or before `start_time` (edited timeline).
    int64_t OffsetAt(int64_t start_time) const;
    int64_t ToAbsolute(int64_t edited) const { return edited + OffsetAt(edited); }
    // A position inside a cut maps to the cut's start.
    int64_t ToEdited(int64_t absolute) const;
    int64_t TotalLength() const;

    // Takes out the stretch `t1` to `t2` of the edited timeline with a cross-fade of `splice_length` frames (made
    // even); cuts that begin within 10 ms of it are merged into it. Later cuts keep their absolute times; their edited
    // times follow. Returns the cut now in the list.
    CutAndSpliceCorrection* Add(int64_t t1, int64_t t2, int32_t splice_length, int32_t samplerate);
    // Takes a cut out again; the caller owns it. Later cuts keep their absolute times.
    std::unique_ptr<CutAndSpliceCorrection> Take(CutAndSpliceCorrection* cut);
    // Puts the entries in order and makes their absolute times anew from the edited ones.
    void Recompute();
};

enum RepairType : int16_t {
    REPAIR_MANUAL = 1,  // made by the user, or found by the scanner and then adjusted
    REPAIR_SCANNER = 2,
    REPAIR_PATCH = 3,        // exempt from the length limit
    REPAIR_RECOMPUTED = 10,  // left out of the stream for a moment
    REPAIR_BP = 11,          // marker: left alone, a pulsing horn
    REPAIR_PP = 12,          // marker: left alone, a drum beat
};

inline constexpr int32_t kMaxRepair = 412;  // frames at 44100 Hz, about 9.3 ms

// The longest repair that a list of this rate takes, patches aside.
constexpr int64_t MaxRepairLength(int32_t samplerate) {
    return Foundation::MulDiv(kMaxRepair, samplerate, Foundation::kTicksPerSecond) + 3;
}

// One repair of one channel, or a marker of what the scanner left alone.
struct ClickRepair : BaseCorrection {
    // Times at 44100 Hz, scaled to `samplerate` unless that is 0 or 44100; at least one frame is left.
    ClickRepair(int16_t repair_type, int64_t start, int64_t end, int16_t cross_fade, int32_t samplerate = 0);

    int64_t Length() const { return absolute_end_time - absolute_start_time; }
    bool Applied() const { return repair_type < 10 && samples; }
    bool IsMarker() const { return repair_type > 9; }
    // A stereo patch, whose twin stands in the other channel's list.
    bool HasTwin() const { return repair_type == REPAIR_PATCH && wiggles < 0; }
    std::span<const int16_t> Samples() const { return {samples.get(), samples ? static_cast<size_t>(Length()) : 0}; }
    // Takes Length() samples over and finds their extremes.
    void SetSamples(std::shared_ptr<const int16_t[]> new_samples);
    // Gives the frames from `start` on, inside the repair, other values; what reaches over its end is left out.
    void WriteInside(int64_t start, std::span<const int16_t> values);
    // Moves the start or the end inwards by `n` frames; the samples go with them.
    void TrimStart(int64_t n);
    void TrimEnd(int64_t n);

    // One a frame, -32767 to 32767; null for markers. Never changed, so that copies of the repair share them.
    std::shared_ptr<const int16_t[]> samples;
    int16_t repair_type;
    int16_t cross_fade;   // frames at each end that are a fade into the real audio, at the recording's rate
    int16_t wiggles = 0;  // the scanner's score; in patches the sign bit marks a stereo pair
    int16_t min_sample = 32767;
    int16_t max_sample = -32767;

private:
    void FindExtremes();
};

// The repairs that stand, or stood, in one channel from `from` up to `to`; none reaches over these ends.
struct NotedRepairs {
    int64_t from = INT64_MAX, to = INT64_MIN;  // nothing
    std::vector<std::unique_ptr<ClickRepair>> repairs;
};

// The repairs of one channel: ascending, no two overlapping. A linked list with a fast search by time.
class ClickRepairList : private Foundation::LinkedList<ClickRepair> {
public:
    explicit ClickRepairList(int channel = 0, int32_t samplerate = Foundation::kTicksPerSecond)
        : channel(channel), samplerate(samplerate) {}
    ClickRepairList(const ClickRepairList&) = delete;
    ClickRepairList& operator=(const ClickRepairList&) = delete;

    using LinkedList::begin;
    using LinkedList::empty;
    using LinkedList::end;
    using LinkedList::First;
    using LinkedList::Last;
    using LinkedList::Next;
    using LinkedList::Previous;
    using LinkedList::size;
    void Append(ClickRepair* e) { Insert(e, nullptr); }
    void Insert(ClickRepair* e, ClickRepair* before);
    ClickRepair* Remove(ClickRepair* e);
    void Delete(ClickRepair* e) { delete Remove(e); }
    void Clear();
    void Swap(ClickRepairList& other);

    // The first repair that ends after `position`, or null.
    ClickRepair* FirstEndingAfter(int64_t position) const;
    // Calls `use` with every repair that the user has decided on, in their order: those of the list, but for what
    // `undecided` says. Files, copies and signatures are made of these.
    template <class Use>
    void ForEachDecided(Use use) const {
        const ClickRepair* e = First();
        if (undecided) {
            for (; e && e->absolute_start_time < undecided->from; e = Next(e)) use(*e);
            for (const auto& noted : undecided->repairs) use(static_cast<const ClickRepair&>(*noted));
            while (e && e->absolute_start_time < undecided->to) e = Next(e);
        }
        for (; e; e = Next(e)) use(*e);
    }

    // The stereo twin of a patch, which covers the same stretch in the other channel's list, or null: a file may be
    // damaged, and what is done to one twin must be possible for the other.
    ClickRepair* Twin(const ClickRepair& repair) const;

    int channel;
    int32_t samplerate;
    bool dirty = false;
    ClickRepairList* buddy = nullptr;
    // While something is tried in the list, or a scan works on it: what the stretch held before. Owned by whoever
    // tries; set and reset under the ListChangeLock.
    const NotedRepairs* undecided = nullptr;

private:
    // The i-th is an entry that starts in the i-th stretch of time, or did before its start was trimmed; null where the
    // list has none. Written only by changes of the list, so that any number of readers may search.
    std::vector<ClickRepair*> signposts;
};

// The repairs of both channels, left and right.
class ClickRepairs {
public:
    explicit ClickRepairs(int32_t samplerate = Foundation::kTicksPerSecond);
    ClickRepairs(const ClickRepairs& other);  // what is decided
    ClickRepairs& operator=(const ClickRepairs& other) = delete;

    ClickRepairList& operator[](int channel) { return lists[channel]; }
    const ClickRepairList& operator[](int channel) const { return lists[channel]; }
    ClickRepairList* begin() { return lists; }
    ClickRepairList* end() { return lists + 2; }
    const ClickRepairList* begin() const { return lists; }
    const ClickRepairList* end() const { return lists + 2; }

    bool IsEmpty() const { return lists[0].empty() && lists[1].empty(); }
    bool IsDirty() const { return lists[0].dirty || lists[1].dirty; }
    void SetDirty(bool dirty);
    void SetSampleRate(int32_t samplerate);
    void Clear();

private:
    void Pair();

    ClickRepairList lists[2];
};

// Removes entries that are empty, too long, or begin before the one before them ends; the number removed. Without
// `force` it runs only at a debug level above 1. Sets `dirty` when anything went.
int CheckRepairList(ClickRepairList& list, bool force);
extern int gDebugLevel;

// A mode of a filter: what it does to the stretch it covers.
enum FilterMode : int32_t { FILTER_NO_CHANGE = 0, FILTER_ON = 1, FILTER_OFF = 2 };

inline constexpr int kEqBands = 10;

// The cleanup settings in force at a position. -1 means: the default of the setting of that name.
struct FilterValues {
    int32_t hiss_mode = FILTER_NO_CHANGE;
    int32_t hiss_reduction = 4;  // 0 to 8
    int32_t hiss_quality = 2;    // 0 to 4
    int32_t hum_mode = FILTER_NO_CHANGE;
    int32_t mains_frequency = -1;  // Hz
    int32_t rumble_mode = FILTER_NO_CHANGE;
    int32_t eq_mode = FILTER_NO_CHANGE;
    int32_t preamp_left = 0;  // tenths of a dB
    int32_t preamp_right = 0;
    std::array<int32_t, kEqBands> bands{};  // steps, -12 to 12
    int32_t dc_offset_only = -1;
    int32_t filter_harmonics = -1;

    bool operator==(const FilterValues&) const = default;
};

struct BaseGenericFilterSetting : BaseCorrection {
    explicit BaseGenericFilterSetting(CorrectionType type) : BaseCorrection(type) {}
    virtual std::unique_ptr<BaseGenericFilterSetting> Clone() const = 0;
    // Start and end of 0 cover the whole recording.
    bool CoversAll() const { return absolute_start_time == 0 && absolute_end_time == 0; }

    std::string name;
    std::string preset;
};

struct FilterSetting : BaseGenericFilterSetting {
    FilterSetting() : BaseGenericFilterSetting(CORRECTION_FILTER) {}
    std::unique_ptr<BaseGenericFilterSetting> Clone() const override { return std::make_unique<FilterSetting>(*this); }

    FilterValues values;
    std::string extra;  // name of a noise sample file; empty: the recording's own noise stretch
};

struct FFTCurve {
    struct Point {
        float freq;  // Hz
        float gain;  // dB

        bool operator==(const Point&) const = default;
    };
    int32_t interpolation = 102;
    std::string name;
    std::vector<Point> points;  // ascending frequency
    int32_t axis_max = 30;      // dB
    int32_t axis_min = -30;
    bool preserve_level = false;
    bool dirty = false;

    // Equal axes and counts, frequencies within 0.0099 and gains within 0.000099.
    bool SameAs(const FFTCurve& other) const;
};

// What a curve does to those before it.
enum CurveMode : int32_t { CURVE_NO_CHANGE = 0, CURVE_ON = 1, CURVE_OFF = 2, CURVE_ADD = 3 };

struct FFTEq : BaseGenericFilterSetting {
    FFTEq() : BaseGenericFilterSetting(CORRECTION_FFT_EQ) {}
    std::unique_ptr<BaseGenericFilterSetting> Clone() const override { return std::make_unique<FFTEq>(*this); }

    int32_t enable = CURVE_NO_CHANGE;  // a CurveMode
    int32_t gain = 0;                  // 1/24 dB
    FFTCurve curve;
};

// The equalisation that a record was cut with.
struct RecordEq {
    std::string name;
    int32_t t1 = 3180;                  // time constants in microseconds: shelf,
    int32_t t2 = 318;                   // turnover
    int32_t t3 = 75;                    // and rolloff
    std::optional<FFTCurve> fft_curve;  // a drawn curve instead of a formula
    float rolloff = -13.7f;             // dB at 10 kHz
    int32_t enable = 1;
    int32_t level_a = 0;
    int32_t level_b = 0;
    int32_t use_time_constants = 1;  // 0: turnover, rolloff and shelf
    int32_t turnover = 500;          // Hz
    int32_t shelf = 50;              // Hz

    bool SameAs(const RecordEq& other, bool compare_levels = false) const;
};

}  // namespace Orvane
