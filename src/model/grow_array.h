// A growable array of plain values that never touches memory it was not asked to fill: growing leaves new elements
// undefined, and large arrays move by remapping instead of copying. Throws std::bad_alloc.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <new>
#include <type_traits>
#include <utility>

#include "platform/memory.h"

template <class T>
class CGrowArray {
    static_assert(std::is_trivially_copyable_v<T>);

public:
    CGrowArray() = default;
    CGrowArray(const CGrowArray& other) { Append(other.m_data, other.m_size); }
    CGrowArray(CGrowArray&& other) noexcept { swap(other); }
    CGrowArray& operator=(CGrowArray other) noexcept {
        swap(other);
        return *this;
    }
    ~CGrowArray() { std::free(m_data); }

    void swap(CGrowArray& other) noexcept {
        std::swap(m_data, other.m_data);
        std::swap(m_size, other.m_size);
        std::swap(m_capacity, other.m_capacity);
    }

    std::size_t Size() const { return m_size; }
    bool IsEmpty() const { return m_size == 0; }
    T* Data() { return m_data; }
    const T* Data() const { return m_data; }
    T& operator[](std::size_t index) { return m_data[index]; }
    const T& operator[](std::size_t index) const { return m_data[index]; }
    T* begin() { return m_data; }
    T* end() { return m_data + m_size; }
    const T* begin() const { return m_data; }
    const T* end() const { return m_data + m_size; }
    T& Back() { return m_data[m_size - 1]; }

    void Clear() { m_size = 0; }
    void Truncate(std::size_t size) { m_size = size; }

    /// Makes room for `capacity` elements in all, exactly.
    void Reserve(std::size_t capacity) {
        if (capacity > m_capacity) Reallocate(capacity);
    }

    /// The same when all of them, or nearly all, are about to come.
    void ReserveToFill(std::size_t capacity) {
        Reserve(capacity);
        if (capacity > m_size) MakePages(m_data + m_size, (capacity - m_size) * sizeof(T));
    }

    /// Makes room for `count` more elements; the next ones then cannot fail.
    void MakeRoom(std::size_t count) {
        if (count > m_capacity - m_size) Grow(count);
    }

    /// Gives back what is reserved beyond the elements, if the allocator can.
    void ShrinkToFit() {
        if (m_size == m_capacity) return;
        if (m_size == 0) {
            std::free(Release());
        } else if (void* data = std::realloc(static_cast<void*>(m_data), m_size * sizeof(T))) {
            m_data = static_cast<T*>(data);
            m_capacity = m_size;
        }
    }

    /// Hands the memory over; the caller frees it with std::free.
    T* Release() {
        m_size = m_capacity = 0;
        return std::exchange(m_data, nullptr);
    }

    /// Adds `count` undefined elements and gives the first.
    T* Extend(std::size_t count) {
        MakeRoom(count);
        T* first = m_data + m_size;
        m_size += count;
        return first;
    }

    /// Adds `count` elements of which every byte is `filler`.
    void ExtendFilled(std::size_t count, unsigned char filler) {
        if (count > 0) std::memset(static_cast<void*>(Extend(count)), filler, count * sizeof(T));
    }

    void Append(T value) { *Extend(1) = value; }

    /// `values` must not lie in this array.
    void Append(const T* values, std::size_t count) {
        if (count > 0) std::memcpy(Extend(count), values, count * sizeof(T));
    }

private:
    // Apart, so that appending stays short enough to be put in where it is asked for.
    [[gnu::noinline]] void Grow(std::size_t count) {
        const std::size_t needed = m_size + count;
        if (needed < m_size) throw std::bad_alloc();
        const std::size_t doubled = m_capacity < 16 ? 16 : m_capacity * 2;
        Reallocate(needed > doubled ? needed : doubled);
    }

    void Reallocate(std::size_t capacity) {
        // Nothing larger than what pointers can be apart.
        if (capacity > static_cast<std::size_t>(PTRDIFF_MAX) / sizeof(T)) throw std::bad_alloc();
        void* data = std::realloc(static_cast<void*>(m_data), capacity * sizeof(T));
        if (!data) throw std::bad_alloc();
        m_data = static_cast<T*>(data);
        m_capacity = capacity;
    }

    T* m_data = nullptr;
    std::size_t m_size = 0;
    std::size_t m_capacity = 0;
};
