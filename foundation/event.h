// The application's event bus: who must know of a change subscribes to its number.
#pragma once

#include <cstdint>

namespace Foundation {

// Events by number. `a`, `b` and `c` of Fire are said with each.
enum EventId : int {
    EVENT_BEFORE_CHANGE = 1,       // a: change flags, b: AlbumInfo
    EVENT_AFTER_CHANGE = 2,        // likewise
    EVENT_ALBUM_CLOSING = 4,       // a: AlbumInfo
    EVENT_COLLECTION_CLOSING = 5,  // a: AlbumSet
    EVENT_BUSY_QUERY = 6,          // a: message id, b: pointer to the veto byte
    EVENT_LIST_REPLACED = 14,      // a: the corrections list
    EVENT_LIST_CHANGING = 15,      // likewise; handlers take their stack's lock ...
    EVENT_LIST_CHANGED = 16,       // ... and give it back
    EVENT_PENDING = 18,
    EVENT_WAVEFORM_STARTING = 19,  // a: FileHistoryEntry
    EVENT_SCREEN_LEAVING = 21,
    EVENT_SCREEN_ENTERED = 22,
    EVENT_UNDO = 26,
    EVENT_STARTED = 27,
    EVENT_ART_CHANGED = 34,       // a: change flags, b: AlbumInfo
    EVENT_UNDO_QUESTION = 43,     // a: 1 before, 0 after
    EVENT_CANCEL_WAVEFORMS = 50,  // a: kind (0 all, 1 one entry, 2 one collection), b: which
    EVENT_INPUT_FILES_REFRESHED = 55,
    EVENT_WAVEFORM_PROGRESS = 0x8230,  // a: FileHistoryEntry, b: 0 under way, 1 ended, c: then its Outcome
    EVENT_SETTING_CHANGED = 0x8231,    // a: the key, a const std::string*; on the thread that changed it
};

using EventArg = intptr_t;

namespace event {

using Handler = intptr_t (*)(void* context, int event_id, EventArg a, EventArg b, EventArg c);

// Calls `handler(context, ...)` on every Fire of `event_id`, and with a `filter` other than 0 only when `a` equals it.
// `bind_to_thread` asserts that the entry is removed on the thread that made it. Any thread.
void Subscribe(int event_id, EventArg filter, Handler handler, void* context, bool bind_to_thread = false);

// After the return the handler is not running on another thread and will not run again. It may be called from a
// handler.
void Unsubscribe(int event_id, Handler handler, void* context);

// Calls the handlers in the order of subscription on this thread; the result is the last one's, 0 without any.
// Handlers may subscribe, unsubscribe and fire.
intptr_t Fire(int event_id, EventArg a = 0, EventArg b = 0, EventArg c = 0);

template <class T>
EventArg Arg(const T* pointer) {
    return reinterpret_cast<EventArg>(pointer);
}

}  // namespace event
}  // namespace Foundation
