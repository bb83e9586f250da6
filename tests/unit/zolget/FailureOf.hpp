#pragma once

#include "Failure.hpp"

#include <gtest/gtest.h>

#include <string>

namespace zolget_test
{

/// What a call failed with. A call that does not fail makes the test fail.
struct Caught
{
    zolget::ExitStatus status;
    std::string message;
};

template <class Call>
Caught failureOf(const Call& call)
{
    try
    {
        call();
    }
    catch (const zolget::Failure& failure)
    {
        return {failure.status(), failure.what()};
    }
    ADD_FAILURE() << "no failure";
    return {zolget::ExitStatus::SUCCESS, ""};
}

} // namespace zolget_test
