// Intrusive reference counting: the base of streams and of records that several owners hold.
#pragma once

#include <atomic>
#include <cstdint>
#include <utility>

#include "foundation/assert.h"

namespace Foundation {

// Starts at a count of 0; the object deletes itself when the count comes back to 0. An object that nobody ever
// referenced may live on the stack. Counting is atomic: any thread.
class RefCount {
public:
    RefCount() = default;
    RefCount(const RefCount&) = delete;
    RefCount& operator=(const RefCount&) = delete;
    virtual ~RefCount() { ORVANE_ASSERT(refcount == 0); }

    void AddRef() { refcount.fetch_add(1, std::memory_order_relaxed); }
    // A reference, unless the last one has gone: for who finds the object by a pointer that its destructor takes away
    // under a lock, and holds that lock.
    bool TryAddRef() {
        int32_t n = refcount.load(std::memory_order_relaxed);
        while (n > 0 && !refcount.compare_exchange_weak(n, n + 1, std::memory_order_relaxed)) {
        }
        return n > 0;
    }
    void Release() {
        if (refcount.fetch_sub(1, std::memory_order_acq_rel) == 1) delete this;
    }

private:
    std::atomic<int32_t> refcount{0};
};

// Holds one reference.
template <class T>
class RefPtr {
public:
    RefPtr() = default;
    RefPtr(T* object) : object(object) {  // NOLINT: a raw pointer may stand for a reference to it
        if (object) object->AddRef();
    }
    RefPtr(const RefPtr& other) : RefPtr(other.object) {}
    RefPtr(RefPtr&& other) noexcept : object(std::exchange(other.object, nullptr)) {}
    template <class U>
    RefPtr(const RefPtr<U>& other) : RefPtr(other.get()) {}  // NOLINT: derived to base
    RefPtr& operator=(RefPtr other) noexcept {
        std::swap(object, other.object);
        return *this;
    }
    ~RefPtr() {
        if (object) object->Release();
    }
    // See TryAddRef.
    static RefPtr IfAlive(T* object) {
        RefPtr reference;
        if (object->TryAddRef()) reference.object = object;
        return reference;
    }

    T* get() const { return object; }
    T* operator->() const { return object; }
    T& operator*() const { return *object; }
    explicit operator bool() const { return object != nullptr; }
    bool operator==(const RefPtr& other) const { return object == other.object; }

private:
    T* object = nullptr;
};

template <class T, class... Args>
RefPtr<T> MakeRef(Args&&... args) {
    return RefPtr<T>(new T(std::forward<Args>(args)...));
}

}  // namespace Foundation
