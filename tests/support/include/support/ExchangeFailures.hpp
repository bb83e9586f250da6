#pragma once

#include "zol/http/ExchangeException.hpp"

#include <gtest/gtest.h>

#include <functional>
#include <optional>
#include <string>

namespace zol_test
{

/// What `action` fails with; the test fails if it does not.
inline std::optional<ZOLNS2::HTTP::ExchangeException> failureOf(const std::function<void()>& action)
{
    try
    {
        action();
    }
    catch (const ZOLNS2::HTTP::ExchangeException& failure)
    {
        return failure;
    }
    ADD_FAILURE() << "no ExchangeException";
    return std::nullopt;
}

/// Fails the test unless `action` fails in this way, with a message that holds `words`.
inline void expectFailure(const std::function<void()>& action, ZOLNS2::HTTP::ExchangeException::EPhase phase,
                          ZOLNS2::HTTP::ExchangeException::ECause cause, const std::string& words)
{
    const std::optional<ZOLNS2::HTTP::ExchangeException> failure = failureOf(action);
    if (failure)
    {
        EXPECT_EQ(failure->phase(), phase) << failure->getMessage();
        EXPECT_EQ(failure->cause(), cause) << failure->getMessage();
        EXPECT_NE(std::string(failure->getMessage()).find(words), std::string::npos) << failure->getMessage();
    }
}

} // namespace zol_test
