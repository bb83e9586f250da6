#pragma once

#include "Row.hpp"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace hostile
{

/// What a fetch came to.
struct Fetched
{
    unsigned status = 0;
    std::vector<std::string> bodies; ///< those that are whole, and the one that is not
    double seconds = 0;
    std::size_t allocated = 0; ///< bytes that the library's calls asked operator new for, on the calling thread
    std::string message;       ///< of the exception
};

struct FetchedByExchange : Fetched
{
    ExchangeResponse::EBodyEnd end = ExchangeResponse::E_OPEN;
    std::optional<ExchangeOutcome::Failure> failure;
    std::string note;
    bool reusable = false;
};

struct FetchedByPage : Fetched
{
    bool isComplete = false;
    bool requestIsComplete = false;
    std::string type;
    int code = 0;
};

/// Where a row's server is, and what is trusted.
struct Place
{
    std::uint16_t port;
    std::string trustFile;
};

FetchedByExchange fetchByExchange(const Row& row, const Place& place);
FetchedByPage fetchByPage(const Row& row, const Place& place);

} // namespace hostile
