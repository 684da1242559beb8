// A growable array that notices when something has written behind its last element.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <initializer_list>
#include <new>
#include <type_traits>
#include <utility>

#include "foundation/assert.h"

namespace Foundation {

// Holds records of type T in one heap block, with two guard bytes behind the last element that every access checks.
// An index out of range or a damaged guard is an assertion failure. Pointers and iterators last until the next change
// of size. Not safe for several threads when one of them writes.
template <class T>
class simple_vector {
public:
    using value_type = T;
    using iterator = T*;
    using const_iterator = const T*;

    // The capacity grows in multiples of `granularity` elements, and at least by half.
    explicit simple_vector(int granularity = 16) : granularity(granularity) {}
    simple_vector(std::initializer_list<T> values) : granularity(16) {
        for (const T& value : values) push_back(value);
    }
    simple_vector(const simple_vector& other) : granularity(other.granularity) {
        reserve(other.m_size);
        for (const T& value : other) push_back(value);
    }
    simple_vector(simple_vector&& other) noexcept : granularity(other.granularity) { swap(other); }
    simple_vector& operator=(simple_vector other) noexcept {
        swap(other);
        return *this;
    }
    ~simple_vector() {
        clear();
        std::free(buffer);
    }

    int size() const { return m_size; }
    bool empty() const { return m_size == 0; }
    int capacity() const { return m_capacity; }

    T& operator[](int index) { return buffer[Checked(index)]; }
    const T& operator[](int index) const { return buffer[Checked(index)]; }
    T& back() { return (*this)[m_size - 1]; }
    const T& back() const { return (*this)[m_size - 1]; }
    T* data() { return CheckGuard(), buffer; }
    const T* data() const { return CheckGuard(), buffer; }

    iterator begin() { return data(); }
    iterator end() { return data() + m_size; }
    const_iterator begin() const { return data(); }
    const_iterator end() const { return data() + m_size; }
    const_iterator cbegin() const { return data(); }
    const_iterator cend() const { return data() + m_size; }

    void push_back(T value) { insert(cend(), std::move(value)); }

    iterator insert(const_iterator pos, T value) {
        ORVANE_ASSERT(pos >= cbegin() && pos <= cend());
        int index = static_cast<int>(pos - cbegin());
        if (m_size == m_capacity) reserve(m_size + 1 + m_size / 2);
        new (buffer + m_size) T(std::move(value));
        ++m_size;
        SetGuard();
        for (int i = m_size - 1; i > index; --i) std::swap(buffer[i], buffer[i - 1]);
        return buffer + index;
    }

    iterator erase(const_iterator pos) {
        ORVANE_ASSERT(pos >= cbegin() && pos < cend());
        int index = static_cast<int>(pos - cbegin());
        for (int i = index; i + 1 < m_size; ++i) buffer[i] = std::move(buffer[i + 1]);
        resize(m_size - 1);
        return buffer + index;
    }

    void resize(int new_size) {
        ORVANE_ASSERT(new_size >= 0);
        CheckGuard();
        reserve(new_size);
        while (m_size > new_size) buffer[--m_size].~T();
        while (m_size < new_size) new (buffer + m_size++) T();
        SetGuard();
    }

    void clear() { resize(0); }

    void reserve(int wanted) {
        if (wanted > m_capacity) Reallocate((wanted + granularity - 1) / granularity * granularity);
    }

    // Gives unused capacity back.
    void shrink_to_fit() {
        if (m_capacity > m_size) Reallocate(m_size);
    }

    void swap(simple_vector& other) noexcept {
        std::swap(buffer, other.buffer);
        std::swap(m_size, other.m_size);
        std::swap(m_capacity, other.m_capacity);
        std::swap(granularity, other.granularity);
    }

    bool operator==(const simple_vector& other) const {
        if (m_size != other.m_size) return false;
        for (int i = 0; i < m_size; ++i) {
            if (!(buffer[i] == other.buffer[i])) return false;
        }
        return true;
    }

private:
    int Checked(int result) const {
        CheckGuard();
        ORVANE_ASSERT((unsigned)result < (unsigned)m_size);
        return result;
    }

    void CheckGuard() const {
        if (!buffer) return;
        const uint8_t* guard_bytes = reinterpret_cast<const uint8_t*>(buffer + m_size);
        ORVANE_ASSERT(guard_bytes[0] == 0xef && guard_bytes[1] == 0xbe);
    }

    void SetGuard() {
        if (!buffer) return;
        uint8_t* guard_bytes = reinterpret_cast<uint8_t*>(buffer + m_size);
        guard_bytes[0] = 0xef;
        guard_bytes[1] = 0xbe;
    }

    void Reallocate(int new_capacity) {
        static_assert(alignof(T) <= alignof(std::max_align_t));
        CheckGuard();
        T* fresh = static_cast<T*>(std::malloc(static_cast<size_t>(new_capacity) * sizeof(T) + 2));
        ORVANE_ASSERT(fresh != nullptr);
        for (int i = 0; i < m_size; ++i) {
            new (fresh + i) T(std::move(buffer[i]));
            buffer[i].~T();
        }
        std::free(buffer);
        buffer = fresh;
        m_capacity = new_capacity;
        SetGuard();
    }

    T* buffer = nullptr;
    int m_size = 0;
    int m_capacity = 0;
    int granularity;
};

}  // namespace Foundation
