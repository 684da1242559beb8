// The bracket around every change of a corrections list: readers see the list as it was before or as it is after.
#pragma once

#include "foundation/criticalsection.h"
#include "foundation/event.h"

namespace Orvane {

// Held while a list changes, and while a stack of stages subscribes or unsubscribes, so that every stack that has seen
// the first event also sees the second. Order of locks: it comes before any stack's lock. A thread that is inside a
// stack's Read must not take it.
Foundation::CriticalSection& ListChangeLock();

// Fires 15 at construction, whose handlers take their stack's lock, and 16 at the end, whose handlers give it back.
class ListChange {
public:
    explicit ListChange(const void* list) : list(list) {
        ListChangeLock().lock();
        Foundation::event::Fire(Foundation::EVENT_LIST_CHANGING, Foundation::event::Arg(list));
    }
    ~ListChange() {
        Foundation::event::Fire(Foundation::EVENT_LIST_CHANGED, Foundation::event::Arg(list));
        ListChangeLock().unlock();
    }
    ListChange(const ListChange&) = delete;
    ListChange& operator=(const ListChange&) = delete;

private:
    const void* list;
};

}  // namespace Orvane
