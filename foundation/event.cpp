#include "foundation/event.h"

#include <algorithm>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <optional>
#include <thread>
#include <vector>

#include "foundation/assert.h"

namespace Foundation::event {
namespace {

struct Subscription {
    bool Wants(int fired_event, EventArg a) const {
        return event_id == fired_event && (filter == 0 || filter == a) && !removed;
    }
    bool RunsElsewhere() const {
        const auto me = std::this_thread::get_id();
        return std::any_of(running_on.begin(), running_on.end(), [me](std::thread::id id) { return id != me; });
    }

    int event_id;
    EventArg filter;
    Handler handler;
    void* context;
    std::optional<std::thread::id> bound_to;
    bool removed = false;
    std::vector<std::thread::id> running_on;  // one for each call in progress
};

// Guards the subscriptions but is never held during a handler, which may do whatever it likes.
std::mutex bus_lock;
std::condition_variable handler_returned;
std::vector<std::shared_ptr<Subscription>> subscriptions;

}  // namespace

void Subscribe(int event_id, EventArg filter, Handler handler, void* context, bool bind_to_thread) {
    auto entry = std::make_shared<Subscription>(Subscription{event_id, filter, handler, context, {}, false, {}});
    if (bind_to_thread) entry->bound_to = std::this_thread::get_id();
    std::lock_guard hold(bus_lock);
    subscriptions.push_back(std::move(entry));
}

void Unsubscribe(int event_id, Handler handler, void* context) {
    std::unique_lock hold(bus_lock);
    const auto found = std::find_if(subscriptions.begin(), subscriptions.end(), [&](const auto& h) {
        return h->event_id == event_id && h->handler == handler && h->context == context;
    });
    if (found == subscriptions.end()) return;
    const std::shared_ptr<Subscription> h = *found;
    const bool is_its_thread = !h->bound_to || *h->bound_to == std::this_thread::get_id();
    // Whoever handles a failed assertion may need the bus.
    if (!is_its_thread) hold.unlock();
    ORVANE_ASSERT(is_its_thread);
    h->removed = true;
    subscriptions.erase(found);
    handler_returned.wait(hold, [&] { return !h->RunsElsewhere(); });
}

intptr_t Fire(int event_id, EventArg a, EventArg b, EventArg c) {
    std::unique_lock hold(bus_lock);
    std::vector<std::shared_ptr<Subscription>> called;
    for (const auto& h : subscriptions) {
        if (h->Wants(event_id, a)) called.push_back(h);
    }
    intptr_t result = 0;
    for (const auto& h : called) {
        // A handler before it, or another thread, may have removed it since.
        if (h->removed) continue;
        const auto me = std::this_thread::get_id();
        h->running_on.push_back(me);
        hold.unlock();
        result = h->handler(h->context, event_id, a, b, c);
        hold.lock();
        h->running_on.erase(std::find(h->running_on.begin(), h->running_on.end(), me));
        if (h->removed) handler_returned.notify_all();
    }
    return result;
}

}  // namespace Foundation::event
