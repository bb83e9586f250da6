#pragma once

#include "Row.hpp"

#include <chrono>
#include <string>

/// What the files of the table share.
namespace hostile
{

using namespace std::chrono_literals;
using namespace std::string_literals;

using X = ExchangeException;
using R = ExchangeResponse;

constexpr std::uint64_t KIB = 1024;
constexpr std::uint64_t MIB = 1024 * KIB;

/// More than any limit lets through.
constexpr std::uint64_t FLOOD = 64 * MIB;

/// The limit of a row in which the server stalls or drips, in seconds.
constexpr double SHORT = 0.3;

const std::string OK = "HTTP/1.1 200 OK\r\n";
const std::string CHUNKED = OK + "Transfer-Encoding: chunked\r\n\r\n";

/// @name What the messages of getPage() begin with
/// @{
constexpr const char* NO_STATUS_LINE = "Status lines in HTTP response are empty.";
constexpr const char* BAD_STATUS_LINE = "Unable to parse status line: HTTP/1.1200OK";
constexpr const char* BAD_VERSION = "Unrecognizable HTTP version in response from HTTP server: ";
constexpr const char* BAD_CODE = "Unrecognizable status code (";
/// @}

} // namespace hostile
