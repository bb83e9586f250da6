#pragma once

#include "blocxx/BLOCXX_config.h"

#include <map>
#include <type_traits>
#include <vector>

/// How a COWReference copies what it holds: by an unqualified call of `COWReferenceClone`. The overloads for the
/// standard containers stand here, before the reference itself, so that they are found for elements of any namespace.
namespace blocxx
{

/// A type of one's own has `T* clone() const`, or an overload of this function beside it.
template <class T>
T* COWReferenceClone(T* object)
{
    return object->clone();
}

/// A copy of the elements, which the caller owns.
template <class T>
std::vector<T>* COWReferenceClone(std::vector<T>* object)
{
    return new std::vector<T>(*object);
}

/// A copy of the elements, which the caller owns.
template <class Key, class T, class Compare>
std::map<Key, T, Compare>* COWReferenceClone(std::map<Key, T, Compare>* object)
{
    return new std::map<Key, T, Compare>(*object);
}

namespace COWReferenceDetail
{

/// Whether the clone is the copy that the overloads above make: a reference then makes it in one block with its count.
template <class T>
struct IsContainer : std::false_type
{
};
template <class T>
struct IsContainer<std::vector<T>> : std::true_type
{
};
template <class Key, class T, class Compare>
struct IsContainer<std::map<Key, T, Compare>> : std::true_type
{
};

} // namespace COWReferenceDetail
} // namespace blocxx
