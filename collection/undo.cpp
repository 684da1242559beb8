#include "collection/undo.h"

#include <array>

#include "collection/dataobjects.h"
#include "collection/gesture.h"
#include "foundation/event.h"
#include "foundation/messages.h"

using namespace Foundation;

namespace Orvane {
namespace {

std::array<std::unique_ptr<UndoEntry>, kMostUndo> stack;
UndoState state;

UndoHost built_in_host;
UndoHost* current_host = &built_in_host;

std::unique_ptr<UndoEntry>& Slot(int index) {
    return stack[static_cast<size_t>(index)];
}

void Put(int index, std::unique_ptr<UndoEntry> entry) {
    entry->size = entry->Bytes();
    state.undo_size += entry->size;
    Slot(index) = std::move(entry);
}

void Free(int index) {
    state.undo_size -= Slot(index)->size;
    ORVANE_ASSERT(state.undo_size >= 0);
    Slot(index).reset();
}

void DropOldest() {
    Free(0);
    std::move(stack.begin() + 1, stack.begin() + state.undo_highwater, stack.begin());
    --state.undo_highwater;
    --state.undo_index;
    if (state.floor > 0) --state.floor;
}

bool CanUndo() {
    return state.undo_index > state.floor;
}

bool CanRedo() {
    return state.undo_highwater > state.undo_index && !state.redo_barred;
}

Outcome CannotUndo(UndoDirection direction) {
    return Outcome::Fail(Kind::Refused, direction == UndoDirection::Undo ? Msg::NothingToUndo : Msg::NothingToRedo);
}

// Applies the record in a slot and puts its opposite there. A failure leaves it in its place.
Outcome Perform(int index, const UndoAnswers& answers) {
    const UndoEntry& entry = *Slot(index);
    const Result<AlbumInfo*> target = entry.Target();
    if (!target) return target.GetOutcome();
    AlbumInfo* album = *target;
    const int screen = current_host->IsUsable(entry.screen) ? entry.screen : SCREEN_SPLIT;
    const bool other_screen = entry.needs_screen && screen != current_host->CurrentScreen();
    if (other_screen && !answers.other_window) return Outcome::Fail(Kind::NeedsAnswer, Msg::UndoOtherWindow);
    const bool other_album = album && album != gAlbumSet->current_album;
    if (other_album && !answers.other_album) {
        return Outcome::Fail(Kind::NeedsAnswer, Msg::UndoOtherAlbum, album->artist, album->title);
    }
    if (other_screen) {
        if (Outcome shown = current_host->ShowScreen(screen); !shown) return shown;
    }
    if (other_album) current_host->ShowAlbum(album);
    UndoResult opposite = Slot(index)->Apply();
    if (!opposite) return opposite.GetOutcome();
    (*opposite)->description = entry.description;
    (*opposite)->needs_screen = entry.needs_screen;
    (*opposite)->Show();
    Free(index);
    Put(index, std::move(*opposite));
    MarkDirty();
    return {};
}

Outcome Go(UndoDirection direction, const UndoAnswers& answers) {
    event::Fire(EVENT_UNDO);
    ORVANE_ASSERT(!state.in_undo);
    Gesture::KeepRunning();
    const bool undo = direction == UndoDirection::Undo;
    if (!(undo ? CanUndo() : CanRedo())) return CannotUndo(direction);
    if (Outcome free = current_host->CanGoOn(direction); !free) return free;
    state.in_undo = true;
    Outcome done = Perform(undo ? state.undo_index - 1 : state.undo_index, answers);
    state.in_undo = false;
    if (done) state.undo_index += undo ? -1 : 1;
    current_host->CatchUp();
    current_host->MenusChanged();
    return done;
}

}  // namespace

void UndoHost::ShowAlbum(AlbumInfo* album) {
    gAlbumSet->current_album = album;
}

UndoHost* SetUndoHost(UndoHost* host) {
    return std::exchange(current_host, host ? host : &built_in_host);
}

UndoHost& GetUndoHost() {
    return *current_host;
}

UndoEntry::UndoEntry(std::string description)
    : description(std::move(description)), screen(current_host->CurrentScreen()) {}

void AddUndo(std::unique_ptr<UndoEntry> entry, UndoTop top) {
    ORVANE_ASSERT(!state.in_undo);
    if (!entry) return;
    if (Gesture* gesture = Gesture::Moving()) return gesture->Add(std::move(entry));
    Gesture::KeepRunning();
    if (top == UndoTop::Replace) {
        ORVANE_ASSERT(state.undo_index > 0 && state.undo_index == state.undo_highwater);
        Free(--state.undo_index);
        state.undo_highwater = state.undo_index;
    } else {
        while (state.undo_highwater > state.undo_index) Free(--state.undo_highwater);
        while (state.undo_highwater >= kMostUndo ||
               (state.undo_size > kMostUndoBytes && state.undo_highwater > kUndoAlwaysKept)) {
            DropOldest();
        }
        state.redo_barred = false;
    }
    Put(state.undo_index, std::move(entry));
    state.undo_highwater = ++state.undo_index;
    MarkDirty();
    current_host->MenusChanged();
}

Outcome Undo(const UndoAnswers& answers) {
    return Go(UndoDirection::Undo, answers);
}

Outcome Redo(const UndoAnswers& answers) {
    return Go(UndoDirection::Redo, answers);
}

void ClearUndo() {
    ORVANE_ASSERT(!state.in_undo);
    Gesture::ForgetRunning();
    while (state.undo_highwater > 0) Free(--state.undo_highwater);
    ORVANE_ASSERT(state.undo_size == 0);
    state = {};
    current_host->MenusChanged();
}

void SetUndoFloor() {
    Gesture::KeepRunning();
    state.floor = state.undo_index;
    state.redo_barred = true;
    current_host->MenusChanged();
}

void ClearUndoFloor() {
    state.floor = 0;
    state.redo_barred = false;
    current_host->MenusChanged();
}

UndoMenu GetUndoMenu(UndoDirection direction) {
    const bool undo = direction == UndoDirection::Undo;
    const UndoEntry* running = Gesture::Steps();  // kept, it is the last action
    UndoMenu menu;
    menu.enabled = running ? undo : undo ? CanUndo() : CanRedo();
    std::string what;
    if (menu.enabled)
        what = (running ? running : Slot(undo ? state.undo_index - 1 : state.undo_index).get())->description;
    menu.text = FormatMsg(undo ? Msg::UndoMenu : Msg::RedoMenu, what);
    menu.tip = FormatMsg(undo ? Msg::UndoTip : Msg::RedoTip, what);
    return menu;
}

const UndoState& GetUndoState() {
    return state;
}

}  // namespace Orvane
