#include "collection/undo.h"

#include <array>

#include "collection/dataobjects.h"
#include "foundation/event.h"
#include "foundation/host.h"
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

bool AskForScreen() {
    event::Fire(EVENT_UNDO_QUESTION, 1);
    const Message question{FormatMsg(Msg::UndoOtherWindow), Buttons::OkCancel, Severity::Information, {}};
    const Answer answer = Messages().Ask(question);
    event::Fire(EVENT_UNDO_QUESTION, 0);
    return answer == Answer::Ok;
}

// Applies the record in a slot and puts its opposite there. False leaves it in its place.
bool Perform(int index) {
    const UndoEntry& entry = *Slot(index);
    const int screen = current_host->IsUsable(entry.screen) ? entry.screen : SCREEN_SPLIT;
    if (entry.needs_screen && screen != current_host->CurrentScreen()) {
        if (!AskForScreen() || !current_host->ShowScreen(screen)) return false;
    }
    std::unique_ptr<UndoEntry> opposite = Slot(index)->Apply();
    if (!opposite) return false;
    opposite->description = entry.description;
    opposite->needs_screen = entry.needs_screen;
    Free(index);
    Put(index, std::move(opposite));
    MarkDirty();
    return true;
}

bool Go(UndoDirection direction) {
    event::Fire(EVENT_UNDO);
    const bool undo = direction == UndoDirection::Undo;
    if (state.in_undo || !(undo ? CanUndo() : CanRedo()) || !current_host->CanGoOn(direction)) return false;
    state.in_undo = true;
    const bool done = Perform(undo ? state.undo_index - 1 : state.undo_index);
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

bool Undo() {
    return Go(UndoDirection::Undo);
}

bool Redo() {
    return Go(UndoDirection::Redo);
}

void ClearUndo() {
    ORVANE_ASSERT(!state.in_undo);
    while (state.undo_highwater > 0) Free(--state.undo_highwater);
    ORVANE_ASSERT(state.undo_size == 0);
    state = {};
    current_host->MenusChanged();
}

void SetUndoFloor() {
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
    UndoMenu menu;
    menu.enabled = undo ? CanUndo() : CanRedo();
    const std::string what = menu.enabled ? Slot(undo ? state.undo_index - 1 : state.undo_index)->description : "";
    menu.text = FormatMsg(undo ? Msg::UndoMenu : Msg::RedoMenu, what);
    menu.tip = FormatMsg(undo ? Msg::UndoTip : Msg::RedoTip, what);
    return menu;
}

const UndoState& GetUndoState() {
    return state;
}

}  // namespace Orvane
