#pragma once

#include "blocxx/COWReference.hpp"
#include "blocxx/Exception.hpp"
#include "blocxx/vector.hpp"

#include <cstddef>
#include <initializer_list>
#include <iterator>
#include <utility>

namespace blocxx
{

/// An index is not inside an array. The subclass id is -31, the message
/// `Array Index out of bounds. size = <size>, index = <index>`.
BLOCXX_DECLARE_APIEXCEPTION(OutOfBounds, BLOCXX_COMMON_API)

namespace ArrayDetail
{

/// Throws the OutOfBoundsException of an array of `size` elements.
[[noreturn]] BLOCXX_COMMON_API void throwOutOfBounds(std::size_t size, std::size_t index);

} // namespace ArrayDetail

/// A vector that is shared by its copies until one of them is modified. Every non-const member, `begin()` too, first
/// makes this array the only owner of the elements. References and iterators stay bound to the elements they were taken
/// from.
///
/// `[]` and remove() check their indexes; everything else has the rules of std::vector. A new array allocates nothing.
///
/// @code
/// blocxx::Array<int> numbers(3, 7);            // 7 7 7
/// const blocxx::Array<int> before = numbers;   // shares the elements
/// numbers[0] = 1;                              // copies them first: `before` keeps its own
/// @endcode
///
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
    /// `count` value-initialised elements.
    explicit Array(size_type count) : m_vector(COWReference<Vector>::make(count)) {}
    /// @name `count` copies of a value; one overload for each type that a count is likely to have
    /// @{
    Array(size_type count, const T& value) : m_vector(COWReference<Vector>::make(count, value)) {}
    Array(int count, const T& value) : Array(static_cast<size_type>(count), value) {}
    Array(long count, const T& value) : Array(static_cast<size_type>(count), value) {}
    /// @}
    template <class InputIterator, class = typename std::iterator_traits<InputIterator>::iterator_category>
    Array(InputIterator first, InputIterator last) : m_vector(COWReference<Vector>::make(first, last))
    {
    }

    /// An array of these elements: `Array<int>::of({1, 2, 3})`. Not a constructor, which would change what
    /// `Array<int>{3}` means: an array of three elements.
    static Array of(std::initializer_list<T> elements) { return Array(elements.begin(), elements.end()); }

    ~Array() = default;

    Array& operator=(const Array&) = default;
    Array& operator=(Array&& other) noexcept
    {
        Array(std::move(other)).swap(*this);
        return *this;
    }

    const_iterator begin() const { return m_vector->begin(); }
    const_iterator end() const { return m_vector->end(); }
    iterator begin() { return m_vector->begin(); }
    iterator end() { return m_vector->end(); }

    size_type size() const { return vector().size(); }
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

    /// Whether an element is equal to `value`.
    bool contains(const T& value) const
    {
        for (const T& element : vector())
        {
            if (element == value)
            {
                return true;
            }
        }
        return false;
    }

    void reserve(size_type count) { m_vector->reserve(count); }
    void push_back(const T& value) { m_vector->push_back(value); }
    void push_back(T&& value) { m_vector->push_back(std::move(value)); }
    /// As push_back().
    void append(const T& value) { push_back(value); }
    void pop_back() { m_vector->pop_back(); }

    template <class InputIterator>
    void insert(iterator position, InputIterator first, InputIterator last)
    {
        m_vector->insert(position, first, last);
    }

    /// @throws OutOfBoundsException if there is no element `index`
    void remove(size_type index)
    {
        checkIndex(index);
        Vector& elements = *m_vector;
        elements.erase(elements.begin() + static_cast<difference_type>(index));
    }
    /// Removes the elements from `first` up to, but without, `last`.
    /// @throws OutOfBoundsException if there is no element `first` or no element `last` - 1, even for an empty range,
    ///         and if `first` lies after `last`
    void remove(size_type first, size_type last)
    {
        checkIndex(first);
        checkIndex(last - 1);
        if (first > last)
        {
            ArrayDetail::throwOutOfBounds(size(), first);
        }
        Vector& elements = *m_vector;
        elements.erase(elements.begin() + static_cast<difference_type>(first),
                       elements.begin() + static_cast<difference_type>(last));
    }

    void resize(size_type count) { m_vector->resize(count); }
    void resize(size_type count, const T& value) { m_vector->resize(count, value); }
    void clear() { m_vector->clear(); }

    /// Exchanges the handles; copies no element.
    void swap(Array& other) noexcept { m_vector.swap(other.m_vector); }

    template <class U>
    friend bool operator==(const Array<U>& left, const Array<U>& right);

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
bool operator==(const Array<T>& left, const Array<T>& right)
{
    return left.vector() == right.vector();
}

} // namespace blocxx
