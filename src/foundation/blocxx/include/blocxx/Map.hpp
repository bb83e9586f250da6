#pragma once

#include "blocxx/COWReference.hpp"

#include <map> // and std::less
#include <utility>

namespace blocxx
{

/// An ordered map that is shared by its copies until one of them is modified. Every non-const member, `begin()` and
/// `find()` too, first makes this map the only owner of its entries. Iterators stay bound to the entries they were
/// taken from.
///
/// @code
/// blocxx::Map<blocxx::String, int> ports;
/// ports["http"] = 80;
/// @endcode
///
/// A new map allocates nothing. Threads: distinct maps are independent, even if they share entries; one map is modified
/// by one thread at a time.
template <class Key, class T, class Compare = std::less<Key>>
class Map
{
    using Impl = std::map<Key, T, Compare>;

public:
    using key_type = typename Impl::key_type;
    using mapped_type = typename Impl::mapped_type;
    using value_type = typename Impl::value_type;
    using key_compare = typename Impl::key_compare;
    using value_compare = typename Impl::value_compare;
    using pointer = typename Impl::pointer;
    using const_pointer = typename Impl::const_pointer;
    using reference = typename Impl::reference;
    using const_reference = typename Impl::const_reference;
    using iterator = typename Impl::iterator;
    using const_iterator = typename Impl::const_iterator;
    using reverse_iterator = typename Impl::reverse_iterator;
    using const_reverse_iterator = typename Impl::const_reverse_iterator;
    using size_type = typename Impl::size_type;
    using difference_type = typename Impl::difference_type;

    Map() : m_map(emptyMap()) {}
    explicit Map(const Compare& compare) : m_map(COWReference<Impl>::make(compare)) {}
    template <class InputIterator>
    Map(InputIterator first, InputIterator last) : m_map(COWReference<Impl>::make(first, last))
    {
    }
    template <class InputIterator>
    Map(InputIterator first, InputIterator last, const Compare& compare)
        : m_map(COWReference<Impl>::make(first, last, compare))
    {
    }
    /// Takes ownership of `map`. Every use of a map made of a null pointer throws NULLReferenceException.
    explicit Map(Impl* map) : m_map(map) {}
    Map(const Map&) = default;
    /// The other map is empty afterwards.
    Map(Map&& other) noexcept : Map() { swap(other); }
    ~Map() = default;

    Map& operator=(const Map&) = default;
    Map& operator=(Map&& other) noexcept
    {
        Map(std::move(other)).swap(*this);
        return *this;
    }

    const_iterator begin() const { return m_map->begin(); }
    const_iterator end() const { return m_map->end(); }
    iterator begin() { return m_map->begin(); }
    iterator end() { return m_map->end(); }

    bool empty() const { return map().empty(); }
    size_type size() const { return map().size(); }

    const_iterator find(const Key& key) const { return m_map->find(key); }
    size_type count(const Key& key) const { return map().count(key); }
    iterator find(const Key& key) { return m_map->find(key); }

    /// The value of `key`, default-constructed first if there was none.
    T& operator[](const Key& key) { return (*m_map)[key]; }
    T& operator[](Key&& key) { return (*m_map)[std::move(key)]; }

    /// Never overwrites: the second of the pair is false when the key is there already.
    std::pair<iterator, bool> insert(const value_type& entry) { return m_map->insert(entry); }

    void erase(iterator position) { m_map->erase(position); }
    /// Returns the number of entries removed, 0 or 1.
    size_type erase(const Key& key) { return m_map->erase(key); }

    /// Exchanges the handles; copies no entry.
    void swap(Map& other) noexcept { m_map.swap(other.m_map); }

    template <class K, class V, class C>
    friend bool operator==(const Map<K, V, C>& left, const Map<K, V, C>& right);
    template <class K, class V, class C>
    friend bool operator<(const Map<K, V, C>& left, const Map<K, V, C>& right);

private:
    /// What all new maps of this type share. It is never destroyed, so that maps can be made at any time of a process's
    /// life.
    static const COWReference<Impl>& emptyMap()
    {
        static const COWReference<Impl>* const empty = new COWReference<Impl>(new Impl);
        return *empty;
    }

    const Impl& map() const { return *m_map; }

    COWReference<Impl> m_map;
};

template <class Key, class T, class Compare>
void swap(Map<Key, T, Compare>& left, Map<Key, T, Compare>& right) noexcept
{
    left.swap(right);
}

template <class Key, class T, class Compare>
bool operator==(const Map<Key, T, Compare>& left, const Map<Key, T, Compare>& right)
{
    return left.map() == right.map();
}

template <class Key, class T, class Compare>
bool operator<(const Map<Key, T, Compare>& left, const Map<Key, T, Compare>& right)
{
    return left.map() < right.map();
}

} // namespace blocxx
