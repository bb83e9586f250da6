#pragma once

#include "blocxx/String.hpp"

#include <cstddef>
#include <utility>

namespace ZOLNS2::HTTP
{

/// One name=value pair of a header's parameter list (RFC 9110, section 5.6.6), both kept exactly as given.
class Parameter
{
public:
    Parameter() = default;
    /// A pair of this name and value.
    Parameter(blocxx::String parameterName, blocxx::String parameterValue)
        : name(std::move(parameterName)), value(std::move(parameterValue))
    {
    }

    /// For texts that are no strings yet: each is copied once.
    Parameter(const char* parameterName, std::size_t nameLength, const char* parameterValue, std::size_t valueLength)
        : name(parameterName, nameLength), value(parameterValue, valueLength)
    {
    }

    /// As given.
    blocxx::String name;
    /// As given.
    blocxx::String value;
};

} // namespace ZOLNS2::HTTP
