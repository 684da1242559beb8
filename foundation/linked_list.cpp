#include "foundation/linked_list.h"

namespace Foundation {

LinkedListBase::~LinkedListBase() {
    if (owns_entries) Clear();
    ORVANE_ASSERT(this->n_entries == 0);
}

void LinkedListBase::InsertBefore(LinkedListEntry* e, LinkedListEntry* before) {
    ORVANE_ASSERT(e->list == nullptr);
    ORVANE_ASSERT(before == nullptr || before->list == this);
    e->list = this;
    e->next = before;
    e->previous = before ? before->previous : tail;
    (e->previous ? e->previous->next : head) = e;
    (before ? before->previous : tail) = e;
    ++n_entries;
}

void LinkedListBase::Unlink(LinkedListEntry* e) {
    ORVANE_ASSERT(e->list == this);
    (e->previous ? e->previous->next : head) = e->next;
    (e->next ? e->next->previous : tail) = e->previous;
    e->list = nullptr;
    e->next = e->previous = nullptr;
    --n_entries;
}

void LinkedListBase::Clear() {
    while (LinkedListEntry* e = head) {
        Unlink(e);
        if (owns_entries) delete e;
    }
}

}  // namespace Foundation
