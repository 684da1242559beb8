#include "cleanup/repair/correctionslist.h"

#include "foundation/assert.h"

using namespace Foundation;

namespace Orvane {
namespace {

// Whether `repair` would keep enough of itself when `n` frames are taken off.
bool Survives(const ClickRepair& repair, int64_t n) {
    return repair.Length() - n > 2 * repair.cross_fade;
}

// The existing entries that a new repair meets, trimmed and deleted together with their twins.
class Existing {
public:
    Existing(ClickRepairList& list, int mode) : list(list), with_twins((mode & ADD_WITH_TWINS) != 0) {}

    void Delete(ClickRepair* e) {
        if (ClickRepair* twin = TwinOf(*e)) list.buddy->Delete(twin);
        list.Delete(e);
    }
    void TrimStart(ClickRepair* e, int64_t n) {
        if (ClickRepair* twin = TwinOf(*e)) twin->TrimStart(n);
        e->TrimStart(n);
    }
    void TrimEnd(ClickRepair* e, int64_t n) {
        if (ClickRepair* twin = TwinOf(*e)) twin->TrimEnd(n);
        e->TrimEnd(n);
    }

private:
    ClickRepair* TwinOf(const ClickRepair& e) {
        ClickRepair* twin = with_twins ? list.Twin(e) : nullptr;
        if (twin) list.buddy->dirty = true;
        return twin;
    }

    ClickRepairList& list;
    const bool with_twins;
};

// The first entry that ends after `start`. Near to `hint` it is found fastest from there.
ClickRepair* FirstEndingAfter(const ClickRepairList& list, int64_t start, ClickRepair* hint) {
    ClickRepair* e = hint ? hint : list.FirstEndingAfter(start);
    while (e && e->absolute_start_time <= start) e = ClickRepairList::Next(e);
    ClickRepair* before = e ? ClickRepairList::Previous(e) : list.Last();
    while (before && before->absolute_end_time > start) {
        e = before;
        before = ClickRepairList::Previous(before);
    }
    return e;
}

bool GivesWay(const ClickRepair& c, const ClickRepair& e, int mode) {
    if (!(mode & ADD_MAY_GIVE_WAY) || (mode & ADD_ALWAYS_WINS)) return false;
    return c.repair_type >= REPAIR_RECOMPUTED || (e.repair_type == REPAIR_BP && !(mode & ADD_OVER_BP));
}

}  // namespace

AddResult AddRepair(ClickRepairList& list, std::unique_ptr<ClickRepair>& repair, ClickRepair*& slot, int mode) {
    ClickRepair* cr = repair.get();
    ORVANE_ASSERT(cr->absolute_end_time > cr->absolute_start_time);
    ORVANE_ASSERT(cr->absolute_end_time - cr->absolute_start_time <= MulDiv(412, list.samplerate, 44100) + 3 ||
                  cr->repair_type == 3);
    Existing existing(list, mode);
    AddResult result{AddOutcome::Inserted};
    auto InsertBefore = [&](ClickRepair* e) {
        slot = repair.release();
        list.Insert(slot, e);
        list.dirty = true;
        return result;
    };
    auto Refuse = [&](ClickRepair* e) {
        repair.reset();
        slot = e;
        result.outcome = AddOutcome::Refused;
        return result;
    };

    ClickRepair* e = FirstEndingAfter(list, cr->absolute_start_time, slot);
    while (e && cr->absolute_end_time > e->absolute_start_time) {
        const bool starts_first = cr->absolute_start_time <= e->absolute_start_time;
        const bool gives_way = GivesWay(*cr, *e, mode);
        if (starts_first && cr->absolute_end_time < e->absolute_end_time) {
            const int64_t overlap = cr->absolute_end_time - e->absolute_start_time;
            if (gives_way) {
                if (!Survives(*cr, overlap)) return Refuse(e);
                cr->TrimEnd(overlap);
                result.outcome = AddOutcome::Trimmed;
                return InsertBefore(e);
            }
            if (Survives(*e, overlap)) {
                existing.TrimStart(e, overlap);
                return InsertBefore(e);
            }
        } else if (!starts_first && cr->absolute_end_time <= e->absolute_end_time) {
            if (gives_way) return Refuse(e);
            if (!e->IsMarker()) {
                slot = e;
                result.outcome = AddOutcome::Inside;
                return result;
            }
        } else if (!starts_first) {
            const int64_t overlap = e->absolute_end_time - cr->absolute_start_time;
            if (gives_way) {
                if (!Survives(*cr, overlap)) return Refuse(e);
                cr->TrimStart(overlap);
                result.outcome = AddOutcome::Trimmed;
                e = ClickRepairList::Next(e);
                continue;
            }
            if (Survives(*e, overlap)) {
                existing.TrimEnd(e, overlap);
                list.dirty = true;
                e = ClickRepairList::Next(e);
                continue;
            }
        }
        // The new repair covers `e`, or leaves too little of it.
        if (gives_way) return Refuse(e);
        if (e->repair_type == REPAIR_MANUAL && cr->repair_type != REPAIR_PATCH) cr->repair_type = REPAIR_MANUAL;
        ClickRepair* next = ClickRepairList::Next(e);
        existing.Delete(e);
        list.dirty = true;
        result.deleted_others = true;
        e = next;
    }
    return InsertBefore(e);
}

}  // namespace Orvane
