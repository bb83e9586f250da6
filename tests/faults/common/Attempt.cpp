#include "common/Operations.hpp"

#include "blocxx/Exception.hpp"

#include <gtest/gtest.h>

#include <exception>
#include <new>

namespace zol_faults
{

namespace
{

Ending judge(const Operation& operation, const std::optional<std::string>& result)
{
    if (!result)
    {
        return {Ending::E_FAILED, "told that it is not whole"};
    }
    if (!operation.expected)
    {
        return {Ending::E_WRONG, "accepted: " + *result};
    }
    if (result == operation.expected)
    {
        return {Ending::E_WHOLE, ""};
    }
    return {Ending::E_WRONG, "taken for the whole result: " + *result};
}

} // namespace

void expectUsual(const Operation& operation, const Ending& ending)
{
    EXPECT_EQ(ending.kind, operation.expected ? Ending::E_WHOLE : Ending::E_FAILED) << ending.text;
    EXPECT_NE(ending.text.find(operation.refusal), std::string::npos) << ending.text;
}

Ending attempt(const Operation& operation, const std::function<void()>& afterwards)
{
    try
    {
        const std::optional<std::string> result = operation.run();
        afterwards();
        return judge(operation, result);
    }
    catch (const std::bad_alloc&)
    {
        afterwards();
        return {Ending::E_FAILED, "std::bad_alloc"};
    }
    catch (const blocxx::Exception& failure)
    {
        afterwards();
        return {Ending::E_FAILED, std::string(failure.type()) + ": " + failure.getMessage()};
    }
    catch (const std::exception& failure)
    {
        afterwards();
        return {Ending::E_WRONG, std::string("an exception that is not documented: ") + failure.what()};
    }
}

} // namespace zol_faults
