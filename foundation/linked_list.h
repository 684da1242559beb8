// An intrusive doubly linked list whose entries know the list they are in.
#pragma once

#include "foundation/assert.h"

namespace Foundation {

class LinkedListBase;

// Base of everything that can be put in a LinkedList. An entry is in one list at most.
class LinkedListEntry {
public:
    LinkedListEntry() = default;
    LinkedListEntry(const LinkedListEntry&) {}  // a copy starts outside any list
    LinkedListEntry& operator=(const LinkedListEntry&) { return *this; }
    virtual ~LinkedListEntry() = default;

    const LinkedListBase* list = nullptr;

private:
    friend class LinkedListBase;
    LinkedListEntry* previous = nullptr;
    LinkedListEntry* next = nullptr;
};

class LinkedListBase {
public:
    LinkedListBase(const LinkedListBase&) = delete;
    LinkedListBase& operator=(const LinkedListBase&) = delete;

    int size() const { return n_entries; }
    bool empty() const { return n_entries == 0; }

    bool sorted = false;      // the owner keeps the entries in its order
    const bool owns_entries;  // entries are deleted with the list; otherwise it must be empty by then

protected:
    explicit LinkedListBase(bool owns_entries) : owns_entries(owns_entries) {}
    ~LinkedListBase();

    void InsertBefore(LinkedListEntry* e, LinkedListEntry* before);
    void Unlink(LinkedListEntry* e);
    void Clear();
    static LinkedListEntry* NextOf(const LinkedListEntry* e) { return e->next; }
    static LinkedListEntry* PreviousOf(const LinkedListEntry* e) { return e->previous; }

    LinkedListEntry* head = nullptr;
    LinkedListEntry* tail = nullptr;
    int n_entries = 0;
};

// T derives from LinkedListEntry. Not safe for several threads when one of them writes.
template <class T>
class LinkedList : public LinkedListBase {
public:
    explicit LinkedList(bool owns_entries = true) : LinkedListBase(owns_entries) {}
    // A copy owns copies of the entries.
    LinkedList(const LinkedList& other) : LinkedListBase(true) { Append(other); }
    LinkedList& operator=(const LinkedList& other) {
        ORVANE_ASSERT(owns_entries);
        if (this == &other) return *this;
        Clear();
        Append(other);
        return *this;
    }

    T* First() const { return static_cast<T*>(head); }
    T* Last() const { return static_cast<T*>(tail); }
    static T* Next(const T* e) { return static_cast<T*>(NextOf(e)); }
    static T* Previous(const T* e) { return static_cast<T*>(PreviousOf(e)); }

    // Takes `e` in behind the last entry, or before `before`. An owning list now owns it.
    void Append(T* e) { InsertBefore(e, nullptr); }
    void Insert(T* e, T* before) { InsertBefore(e, before); }
    // Unlinks `e`, which the caller now owns.
    T* Remove(T* e) {
        Unlink(e);
        return e;
    }
    // Unlinks and deletes `e`.
    void Delete(T* e) { delete Remove(e); }
    // Unlinks every entry, and deletes them if the list owns them.
    using LinkedListBase::Clear;

    // Exchanges the contents of two lists; both must own, or both not own, their entries.
    void Swap(LinkedList& other) {
        LinkedList parked(owns_entries);
        while (T* e = First()) parked.Append(Remove(e));
        while (T* e = other.First()) Append(other.Remove(e));
        while (T* e = parked.First()) other.Append(parked.Remove(e));
    }

    class iterator {
    public:
        explicit iterator(T* entry) : entry(entry) {}
        T& operator*() const { return *entry; }
        iterator& operator++() {
            entry = Next(entry);
            return *this;
        }
        bool operator!=(const iterator& other) const { return entry != other.entry; }

    private:
        T* entry;
    };
    // The entry under the iterator may not be removed while the loop stands on it.
    iterator begin() const { return iterator(First()); }
    iterator end() const { return iterator(nullptr); }

private:
    void Append(const LinkedList& other) {
        for (const T& e : other) Append(new T(e));
        sorted = other.sorted;
    }
};

}  // namespace Foundation
