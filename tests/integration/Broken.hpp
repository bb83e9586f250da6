#pragma once

#include "Fetch.hpp"
#include "support/ScriptedServer.hpp"

#include <gtest/gtest.h>

#include <chrono>
#include <string>

namespace zol_integration
{

const char* const OK = "HTTP/1.1 200 OK\r\n";
const char* const CHUNKED = "HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n";

/// The message of a fetch when not even a status line came.
const char* const NO_STATUS_LINE = "Status lines in HTTP response are empty.";

/// Fails the test when the scope takes longer than the limit.
class Within
{
public:
    explicit Within(std::chrono::milliseconds limit) : m_limit(limit) {}
    ~Within() { EXPECT_LT(std::chrono::steady_clock::now() - m_start, m_limit); }
    Within(const Within&) = delete;
    Within& operator=(const Within&) = delete;

private:
    std::chrono::milliseconds m_limit;
    std::chrono::steady_clock::time_point m_start = std::chrono::steady_clock::now();
};

inline Body onlyBody(ZOLNS2::HTTP::Response response)
{
    return readBody(response.getNextPart());
}

} // namespace zol_integration
