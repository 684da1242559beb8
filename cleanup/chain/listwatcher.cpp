#include "cleanup/chain/listwatcher.h"

#include <mutex>

#include "foundation/assert.h"

using namespace Foundation;

namespace Orvane {
namespace {

constexpr int kListEvents[] = {EVENT_LIST_REPLACED, EVENT_LIST_CHANGING, EVENT_LIST_CHANGED};

}  // namespace

ListWatcher::ListWatcher(CriticalSection& lock) : lock(lock) {
    std::lock_guard guard(ListChangeLock());
    for (int id : kListEvents) event::Subscribe(id, 0, OnEvent, this);
}

ListWatcher::~ListWatcher() {
    std::lock_guard guard(ListChangeLock());
    for (int id : kListEvents) event::Unsubscribe(id, OnEvent, this);
}

intptr_t ListWatcher::OnEvent(void* context, int event_id, EventArg a, EventArg, EventArg) {
    ListWatcher* self = static_cast<ListWatcher*>(context);
    const void* list = reinterpret_cast<const void*>(a);
    if (!self->Watches(list)) return 0;
    if (event_id == EVENT_LIST_CHANGING) {
        self->lock.lock();
        ++self->n_changing;
    } else if (self->n_changing > 0) {
        ORVANE_ASSERT(self->lock.RecursionCount > 0);
        self->ListChanged();
        --self->n_changing;
        self->lock.unlock();
    }
    return 0;
}

}  // namespace Orvane
