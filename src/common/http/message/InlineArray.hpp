#pragma once

#include <cstddef>
#include <cstring>
#include <memory>
#include <type_traits>

namespace ZOLNS2::HTTP
{

/// An array of plain values that grows, and that allocates nothing for the first N of them.
template <class T, std::size_t N>
class InlineArray
{
    static_assert(std::is_trivially_copyable_v<T> && std::is_trivially_default_constructible_v<T>);

public:
    InlineArray() = default;
    InlineArray(const InlineArray&) = delete;
    InlineArray& operator=(const InlineArray&) = delete;

    void push_back(const T& value) { add() = value; }

    /// @return one more, not initialised; valid until the next
    T& add()
    {
        if (m_size == m_capacity)
        {
            grow();
        }
        return m_begin[m_size++];
    }

    void clear() { m_size = 0; }

    std::size_t size() const { return m_size; }
    T* begin() { return m_begin; }
    T* end() { return m_begin + m_size; }
    const T* begin() const { return m_begin; }
    const T* end() const { return m_begin + m_size; }
    const T& operator[](std::size_t index) const { return m_begin[index]; }

private:
    void grow()
    {
        std::unique_ptr<T[]> grown(new T[m_capacity * 2]);
        std::memcpy(grown.get(), m_begin, m_size * sizeof(T));
        m_heap = std::move(grown);
        m_begin = m_heap.get();
        m_capacity *= 2;
    }

    T m_inline[N];
    std::unique_ptr<T[]> m_heap;
    T* m_begin = m_inline;
    std::size_t m_size = 0;
    std::size_t m_capacity = N;
};

} // namespace ZOLNS2::HTTP
