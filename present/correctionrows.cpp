#include "present/correctionrows.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstdlib>

#include "collection/listchange.h"
#include "foundation/muldiv.h"

using namespace Foundation;

namespace Orvane {
namespace {

constexpr int64_t kLeastShown = 200;  // frames to each side of the middle
constexpr int kListEvents[] = {EVENT_LIST_REPLACED, EVENT_LIST_CHANGED};

}  // namespace

CorrectionRows::CorrectionRows(FileHistoryEntry& entry) : entry(entry) {
    for (const int id : kListEvents) event::Subscribe(id, 0, OnChange, this);
}

CorrectionRows::~CorrectionRows() {
    for (const int id : kListEvents) event::Unsubscribe(id, OnChange, this);
}

intptr_t CorrectionRows::OnChange(void* context, int, EventArg list, EventArg, EventArg) {
    auto* self = static_cast<CorrectionRows*>(context);
    for (const ClickRepairList& repairs : self->entry.click_repairs) {
        if (list == event::Arg(&repairs)) self->stale = true;
    }
    return 0;
}

bool CorrectionRows::Refresh(const ShownClicks& to_show) {
    if (to_show == shown && !stale.exchange(false)) return false;
    stale = false;
    shown = to_show;
    rows.clear();
    n_repairs = 0;
    n_repaired_frames = longest = 0;
    const auto add = [&](int channels, const ClickRepair& repair) {
        const CorrectionRow row{channels, repair.repair_type, repair.absolute_start_time, repair.absolute_end_time};
        if (repair.Applied()) {
            ++n_repairs;
            n_repaired_frames += row.Length();
        }
        if (!shown.Shows(repair, entry.SampleRate())) return;
        longest = std::max(longest, row.Length());
        rows.push_back(row);
    };
    const Locked lists(ListChangeLock());
    // Neither list has overlaps, so that each is in the order of its middles.
    const ClickRepair* left = entry.click_repairs[0].First();
    const ClickRepair* right = entry.click_repairs[1].First();
    while (left || right) {
        const auto middle = [](const ClickRepair& r) { return r.absolute_start_time + r.absolute_end_time; };
        const bool same = left && right && left->HasTwin() && right->HasTwin() &&
                          left->absolute_start_time == right->absolute_start_time &&
                          left->absolute_end_time == right->absolute_end_time;
        if (same) {
            add(CHANNELS_BOTH, *left);
        } else if (left && (!right || middle(*left) <= middle(*right))) {
            add(CHANNEL_LEFT, *left);
        } else {
            add(CHANNEL_RIGHT, *right);
            right = ClickRepairList::Next(right);
            continue;
        }
        left = ClickRepairList::Next(left);
        if (same) right = ClickRepairList::Next(right);
    }
    return true;
}

std::optional<int> CorrectionRows::RowAt(int64_t frame, int channels, int64_t tolerance) const {
    // Nothing that begins further to the left reaches the frame.
    const int64_t reach = longest + tolerance;
    auto row = std::lower_bound(rows.begin(), rows.end(), frame - reach,
                                [](const CorrectionRow& r, int64_t middle) { return r.Middle() < middle; });
    std::optional<int> nearest;
    int64_t least = tolerance;
    for (; row != rows.end() && row->Middle() <= frame + reach; ++row) {
        if (!(row->channels & channels)) continue;
        const int64_t distance = std::max({row->start - frame, frame - (row->end - 1), int64_t{0}});
        if (distance > least || (nearest && distance == least)) continue;
        nearest = static_cast<int>(row - rows.begin());
        least = distance;
    }
    return nearest;
}

CorrectionStretch CorrectionRows::StretchToShow(int row) const {
    const CorrectionRow& shown_row = rows[static_cast<size_t>(row)];
    const int64_t middle = entry.decided.cuts.ToEdited(shown_row.Middle());
    const int64_t around = std::max(kLeastShown, shown_row.Length());
    return {middle - around, middle + around};
}

CorrectionStretch CorrectionRows::Selection(int from, int to) const {
    const auto [first, last] = std::minmax(from, to);
    int64_t start = INT64_MAX, end = INT64_MIN;
    for (int i = first; i <= last; ++i) {
        start = std::min(start, rows[static_cast<size_t>(i)].start);
        end = std::max(end, rows[static_cast<size_t>(i)].end);
    }
    return {entry.decided.cuts.ToEdited(start), entry.decided.cuts.ToEdited(end)};
}

double CorrectionRows::RepairsPerMinute() const {
    const int64_t frames = entry.TotalSamples() - entry.decided.cuts.TotalLength();
    return frames > 0 ? n_repairs * 60.0 * entry.SampleRate() / static_cast<double>(frames) : 0;
}

std::string CorrectionRows::TimeText(int row) const {
    const int64_t start = entry.decided.cuts.ToEdited(rows[static_cast<size_t>(row)].start);
    const int64_t ms = MulDiv64(start, 1000, entry.SampleRate());
    return fmt::format("{}:{:02}.{:03}", ms / 60000, ms / 1000 % 60, ms % 1000);
}

std::string CorrectionRows::ChannelText(int row) const {
    const int channels = rows[static_cast<size_t>(row)].channels;
    return channels == CHANNELS_BOTH ? "L+R" : channels == CHANNEL_LEFT ? "L" : "R";
}

std::string CorrectionRows::WidthText(int row) const {
    return std::to_string(rows[static_cast<size_t>(row)].Length());
}

std::string CorrectionRows::WhatText(int row) const {
    switch (rows[static_cast<size_t>(row)].repair_type) {
        case REPAIR_MANUAL:
            return "repaired by hand";
        case REPAIR_PATCH:
            return "patched";
        case REPAIR_PP:
            return "PP left alone";
        case REPAIR_BP:
            return "BP left alone";
        default:
            return "repaired";
    }
}

}  // namespace Orvane
