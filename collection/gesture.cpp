#include "collection/gesture.h"

#include <algorithm>
#include <utility>

#include "foundation/assert.h"

using namespace Foundation;

namespace Orvane {

void UndoGroup::Add(std::unique_ptr<UndoEntry> entry) {
    entries.push_back(std::move(entry));
}

Result<AlbumInfo*> UndoGroup::Target() const {
    return entries.back()->Target();
}

// The last change goes first. What has been put back before one that cannot be is done again.
UndoResult UndoGroup::Apply() {
    auto opposite = std::make_unique<UndoGroup>(description);
    for (auto entry = entries.rbegin(); entry != entries.rend(); ++entry) {
        UndoResult undone = (*entry)->Apply();
        if (!undone) {
            if (!opposite->Empty()) (void)opposite->Apply();
            return undone;
        }
        opposite->Add(std::move(*undone));
    }
    return UndoResult(std::move(opposite));
}

void UndoGroup::Show() const {
    for (const auto& entry : entries) entry->Show();
}

int32_t UndoGroup::Bytes() const {
    int64_t bytes = 0;
    for (const auto& entry : entries) bytes += entry->Bytes();
    return static_cast<int32_t>(std::min<int64_t>(bytes, INT32_MAX));
}

Gesture::Joining::Joining(Gesture& gesture) {
    ORVANE_ASSERT(!moving);
    moving = &gesture;
}

Gesture::Joining::~Joining() {
    moving = nullptr;
}

void Gesture::Add(std::unique_ptr<UndoEntry> entry) {
    if (!steps) {
        KeepRunning();
        steps = std::make_unique<UndoGroup>(entry->description);
        steps->needs_screen = entry->needs_screen;
        running = this;
        GetUndoHost().MenusChanged();
    } else if (steps->Last()->Covers(*entry)) {
        return;
    }
    steps->Add(std::move(entry));
}

std::unique_ptr<UndoGroup> Gesture::Stop() {
    if (steps) running = nullptr;
    return std::move(steps);
}

void Gesture::Keep() {
    ORVANE_ASSERT(moving != this);
    Gesture* const next = std::exchange(moving, nullptr);  // whose first change keeps this one
    AddUndo(Stop());
    moving = next;
}

Outcome Gesture::TakeBack() {
    if (!steps) return {};
    if (const UndoResult undone = steps->Apply(); !undone) return undone.GetOutcome();
    Stop();
    GetUndoHost().MenusChanged();
    return {};
}

void Gesture::Abandon() {
    if (!TakeBack()) Keep();
}

void Gesture::KeepRunning() {
    if (running) running->Keep();
}

void Gesture::ForgetRunning() {
    if (running) running->Stop();
}

}  // namespace Orvane
