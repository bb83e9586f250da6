#pragma once

#include "blocxx/COWReference.hpp"
#include "blocxx/CommonFwd.hpp"
#include "blocxx/Exception.hpp"
#include "blocxx/Types.hpp"

#include <algorithm>
#include <cstddef>
#include <iterator>
#include <utility>
#include <vector>

namespace blocxx
{

/// An index is not inside an array. The subclass id is -31, the message
/// `Array Index out of bounds. size = <size>, index = <index>`.
BLOCXX_DECLARE_APIEXCEPTION(OutOfBounds, BLOCXX_COMMON_API)

namespace ArrayDetail
{

[[noreturn]] BLOCXX_COMMON_API void throwOutOfBounds(std::size_t size, std::size_t index);

} // namespace ArrayDetail

/// A vector that is shared by its copies until one of them is modified. Every non-const member, `begin()` and `find()`
/// too, first makes this array the only owner of the elements. References and iterators stay bound to the elements they
/// were taken from.
///
/// `[]` and remove() check their indexes; everything else has the rules of std::vector. A new array allocates nothing.
/// Threads: distinct arrays are independent, even if they share elements; one array is modified by one thread at a
/// time.
template <class T>
class Array
{
    using Vector = std::vector<T>;

public:
    using value_type = typename Vector::value_type;
    using pointer = typename Vector::pointer;
    using const_pointer = typename Vector::const_pointer;
    using iterator = typename Vector::iterator;
    using const_iterator = typename Vector::const_iterator;
    using reference = typename Vector::reference;
    using const_reference = typename Vector::const_reference;
    using size_type = typename Vector::size_type;
    using difference_type = typename Vector::difference_type;
    using reverse_iterator = typename Vector::reverse_iterator;
    using const_reverse_iterator = typename Vector::const_reverse_iterator;

    Array() : m_vector(emptyVector()) {}
    Array(const Array&) = default;
    /// The other array is empty afterwards.
    Array(Array&& other) noexcept : Array() { swap(other); }
    /// Takes ownership of `vector`. Every use of an array made of a null pointer throws NULLReferenceException.
    explicit Array(Vector* vector) : m_vector(vector) {}
    /// `count` value-initialised elements.
    explicit Array(size_type count) : m_vector(new Vector(count)) {}
    /// @name `count` copies of a value; one overload for each type that a count is likely to have
    /// @{
    Array(size_type count, const T& value) : m_vector(new Vector(count, value)) {}
    Array(int count, const T& value) : Array(static_cast<size_type>(count), value) {}
    Array(long count, const T& value) : Array(static_cast<size_type>(count), value) {}
    /// @}
    template <class InputIterator, class = typename std::iterator_traits<InputIterator>::iterator_category>
    Array(InputIterator first, InputIterator last) : m_vector(new Vector(first, last))
    {
    }

    ~Array() = default;

    Array& operator=(const Array&) = default;
    Array& operator=(Array&& other) noexcept
    {
        Array(std::move(other)).swap(*this);
        return *this;
    }

    const_iterator begin() const { return m_vector->begin(); }
    const_iterator end() const { return m_vector->end(); }
    const_reverse_iterator rbegin() const { return m_vector->rbegin(); }
    const_reverse_iterator rend() const { return m_vector->rend(); }
    iterator begin() { return m_vector->begin(); }
    iterator end() { return m_vector->end(); }
    reverse_iterator rbegin() { return m_vector->rbegin(); }
    reverse_iterator rend() { return m_vector->rend(); }

    size_type size() const { return vector().size(); }
    size_type max_size() const { return vector().max_size(); }
    size_type capacity() const { return vector().capacity(); }
    bool empty() const { return vector().empty(); }

    /// @throws OutOfBoundsException if there is no element `index`, before anything is copied
    const_reference operator[](size_type index) const
    {
        checkIndex(index);
        return (*m_vector)[index];
    }
    reference operator[](size_type index)
    {
        checkIndex(index);
        return (*m_vector)[index];
    }
    const_reference front() const { return m_vector->front(); }
    const_reference back() const { return m_vector->back(); }
    reference front() { return m_vector->front(); }
    reference back() { return m_vector->back(); }

    bool contains(const T& value) const { return std::find(begin(), end(), value) != end(); }
    /// The first equal element, or end().
    const_iterator find(const T& value) const { return std::find(begin(), end(), value); }
    iterator find(const T& value)
    {
        Vector& elements = *m_vector;
        return std::find(elements.begin(), elements.end(), value);
    }

    void reserve(size_type count) { m_vector->reserve(count); }
    void push_back(const T& value) { m_vector->push_back(value); }
    void push_back(T&& value) { m_vector->push_back(std::move(value)); }
    void append(const T& value) { push_back(value); }
    /// Appends one element.
    Array& operator+=(const T& value)
    {
        push_back(value);
        return *this;
    }
    /// Appends all elements of `other`, which may be this array.
    void appendArray(const Array& other)
    {
        // Of this array too, as it is before it grows.
        const Array source(other); // NOLINT(performance-unnecessary-copy-initialization)
        m_vector->insert(m_vector->end(), source.begin(), source.end());
    }
    void pop_back() { m_vector->pop_back(); }

    iterator insert(iterator position, const T& value) { return m_vector->insert(position, value); }
    void insert(size_type position, const T& value)
    {
        Vector& elements = *m_vector;
        elements.insert(elements.begin() + static_cast<difference_type>(position), value);
    }
    template <class InputIterator>
    void insert(iterator position, InputIterator first, InputIterator last)
    {
        m_vector->insert(position, first, last);
    }

    iterator erase(iterator position) { return m_vector->erase(position); }
    iterator erase(iterator first, iterator last) { return m_vector->erase(first, last); }
    /// @throws OutOfBoundsException if there is no element `index`
    void remove(size_type index)
    {
        checkIndex(index);
        Vector& elements = *m_vector;
        elements.erase(elements.begin() + static_cast<difference_type>(index));
    }
    /// Removes the elements from `first` up to, but without, `last`.
    /// @throws OutOfBoundsException if there is no element `first` or no element `last` - 1, even for an empty range
    void remove(size_type first, size_type last)
    {
        checkIndex(first);
        checkIndex(last - 1);
        Vector& elements = *m_vector;
        elements.erase(elements.begin() + static_cast<difference_type>(first),
                       elements.begin() + static_cast<difference_type>(last));
    }

    void resize(size_type count) { m_vector->resize(count); }
    void resize(size_type count, const T& value) { m_vector->resize(count, value); }
    void clear() { m_vector->clear(); }

    /// Exchanges the handles; copies no element.
    void swap(Array& other) noexcept { m_vector.swap(other.m_vector); }

private:
    /// What all new arrays of this type share. It is never destroyed, so that arrays can be made at any time of a
    /// process's life.
    static const COWReference<Vector>& emptyVector()
    {
        static const COWReference<Vector>* const empty = new COWReference<Vector>(new Vector);
        return *empty;
    }

    const Vector& vector() const { return *m_vector; }

    void checkIndex(size_type index) const
    {
        if (const size_type count = size(); index >= count)
        {
            ArrayDetail::throwOutOfBounds(count, index);
        }
    }

    COWReference<Vector> m_vector;
};

template <class T>
void swap(Array<T>& left, Array<T>& right) noexcept
{
    left.swap(right);
}

template <class T>
bool operator==(const Array<T>& left, const Array<T>& right)
{
    return left.size() == right.size() && std::equal(left.begin(), left.end(), right.begin());
}

template <class T>
bool operator!=(const Array<T>& left, const Array<T>& right)
{
    return !(left == right);
}

/// Lexicographic, as for std::vector.
template <class T>
bool operator<(const Array<T>& left, const Array<T>& right)
{
    return std::lexicographical_compare(left.begin(), left.end(), right.begin(), right.end());
}

template <class T>
bool operator>(const Array<T>& left, const Array<T>& right)
{
    return right < left;
}

template <class T>
bool operator<=(const Array<T>& left, const Array<T>& right)
{
    return !(right < left);
}

template <class T>
bool operator>=(const Array<T>& left, const Array<T>& right)
{
    return !(left < right);
}

using UInt8Array = Array<UInt8>;
using Int8Array = Array<Int8>;
using UInt16Array = Array<UInt16>;
using Int16Array = Array<Int16>;
using UInt32Array = Array<UInt32>;
using Int32Array = Array<Int32>;
using UInt64Array = Array<UInt64>;
using Int64Array = Array<Int64>;
using Real32Array = Array<Real32>;
using Real64Array = Array<Real64>;

} // namespace blocxx
