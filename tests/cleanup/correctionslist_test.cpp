#include "cleanup/correctionslist.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <vector>

namespace Orvane {
namespace {

// A repair in the model: plain spans in a vector, with the samples it should hold.
struct Span {
    int64_t start, end;
    int16_t type, cross_fade;
    std::vector<int16_t> samples;

    int64_t Length() const { return end - start; }
    void Keep(int64_t from, int64_t to) {
        if (!samples.empty()) samples = {samples.begin() + (from - start), samples.begin() + (to - start)};
        start = from;
        end = to;
    }
};

// The rules over a vector, every entry looked at.
AddOutcome ModelAdd(std::vector<Span>& list, Span c, int mode) {
    AddOutcome outcome = AddOutcome::Inserted;
    std::vector<Span> kept;
    for (size_t i = 0; i < list.size(); ++i) {
        Span e = list[i];
        const bool meets = c.start < e.end && e.start < c.end;
        if (!meets) {
            kept.push_back(e);
            continue;
        }
        const bool c_yields = (mode & 8) && !(mode & 2) && (c.type >= 10 || (e.type == 11 && !(mode & 1)));
        const bool head = c.start <= e.start && c.end < e.end;   // c overlaps the start of e
        const bool inside = c.start > e.start && c.end <= e.end;
        const bool tail = c.start > e.start && c.end > e.end;    // c overlaps the end of e
        if (c_yields) {
            const int64_t from = tail ? e.end : c.start;
            const int64_t to = head ? e.start : c.end;
            if (!(head || tail) || to - from <= 2 * c.cross_fade) {
                kept.insert(kept.end(), list.begin() + static_cast<std::ptrdiff_t>(i), list.end());
                list = kept;  // what it had displaced before it came here stays away
                return AddOutcome::Refused;
            }
            c.Keep(from, to);
            outcome = AddOutcome::Trimmed;
            kept.push_back(e);
        } else if (inside && e.type < 10) {
            return AddOutcome::Inside;
        } else if (head && e.end - c.end > 2 * e.cross_fade) {
            e.Keep(c.end, e.end);
            kept.push_back(e);
        } else if (tail && c.start - e.start > 2 * e.cross_fade) {
            e.Keep(e.start, c.start);
            kept.push_back(e);
        } else if (e.type == 1 && c.type != 3) {
            c.type = 1;
        }
    }
    kept.push_back(c);
    std::sort(kept.begin(), kept.end(), [](const Span& a, const Span& b) { return a.start < b.start; });
    list = kept;
    return outcome;
}

std::unique_ptr<ClickRepair> MakeRepair(const Span& span) {
    auto repair = std::make_unique<ClickRepair>(span.type, span.start, span.end, span.cross_fade);
    if (span.samples.empty()) return repair;
    auto samples = std::make_unique<int16_t[]>(span.samples.size());
    std::copy(span.samples.begin(), span.samples.end(), samples.get());
    repair->SetSamples(std::move(samples));
    return repair;
}

void ExpectEqual(const ClickRepairList& list, const std::vector<Span>& model, int step) {
    ASSERT_EQ(list.size(), static_cast<int>(model.size())) << "step " << step;
    size_t i = 0;
    for (const ClickRepair& e : list) {
        const Span& m = model[i++];
        ASSERT_EQ(e.absolute_start_time, m.start) << "step " << step;
        ASSERT_EQ(e.absolute_end_time, m.end) << "step " << step;
        ASSERT_EQ(e.repair_type, m.type) << "step " << step;
        ASSERT_EQ(e.samples != nullptr, !m.samples.empty()) << "step " << step;
        if (!e.samples) continue;
        ASSERT_TRUE(std::equal(m.samples.begin(), m.samples.end(), e.samples.get())) << "step " << step;
        ASSERT_EQ(e.max_sample, *std::max_element(m.samples.begin(), m.samples.end())) << "step " << step;
        ASSERT_EQ(e.min_sample, *std::min_element(m.samples.begin(), m.samples.end())) << "step " << step;
    }
}

TEST(AddRepair, KeepsTheRulesOfAPlainModelWhateverComes) {
    std::mt19937 random(11);
    for (int mode : {0, 1, 2, 4, 5, 8, 9, 12, 13, 15}) {
        ClickRepairList list;
        std::vector<Span> model;
        ClickRepair* slot = nullptr;
        for (int step = 0; step < 3000; ++step) {
            const int16_t types[] = {1, 2, 2, 3, 11, 12};
            Span c{static_cast<int64_t>(random() % 6000), 0, types[random() % 6], random() % 2 ? int16_t{6} : int16_t{0}, {}};
            c.end = c.start + 1 + static_cast<int64_t>(random() % (c.type == 3 ? 700 : 200));
            for (int64_t i = c.start; i < c.end && c.type < 10; ++i) c.samples.push_back(static_cast<int16_t>(random()));
            std::unique_ptr<ClickRepair> repair = MakeRepair(c);
            if (random() % 4 == 0) slot = nullptr;
            const AddOutcome expected = ModelAdd(model, c, mode);
            const AddResult result = AddRepair(list, repair, slot, mode);
            ASSERT_EQ(result.outcome, expected) << "mode " << mode << " step " << step;
            ASSERT_EQ(repair != nullptr, expected == AddOutcome::Inside);
            ASSERT_NO_FATAL_FAILURE(ExpectEqual(list, model, step)) << "mode " << mode;
            // The list would fill up: make room now and then.
            if (step % 50 == 0) {
                slot = nullptr;
                list.Clear();
                model.clear();
            }
        }
    }
}

}  // namespace
}  // namespace Orvane
