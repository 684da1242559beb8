// How a stage of a chain keeps its view of a corrections list valid while the list changes under a running reader.
#pragma once

#include "collection/listchange.h"
#include "foundation/criticalsection.h"
#include "foundation/event.h"

namespace Orvane {

// Base of the stages that read lists. Between the events around a change it holds the stack's lock, so that no Read
// runs meanwhile; after it the stage is told to look at the list again. Made and destroyed with the stack, while no
// Read runs.
class ListWatcher {
public:
    explicit ListWatcher(Foundation::CriticalSection& lock);
    ListWatcher(const ListWatcher&) = delete;
    ListWatcher& operator=(const ListWatcher&) = delete;
    virtual ~ListWatcher();

protected:
    virtual bool Watches(const void* list) const = 0;
    virtual void ListChanged() = 0;  // under the lock
    // Whether the thread that reads now, under the lock, is itself changing a list: entries found before may be gone.
    bool Changing() const { return n_changing > 0; }

private:
    static intptr_t OnEvent(void* context, int event_id, Foundation::EventArg a, Foundation::EventArg b,
                            Foundation::EventArg c);

    Foundation::CriticalSection& lock;
    int n_changing = 0;  // changes for which we hold the lock; they may be nested
};

}  // namespace Orvane
