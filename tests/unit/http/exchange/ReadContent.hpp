#pragma once

#include "zol/http/ExchangeException.hpp"
#include "zol/mime/Content.hpp"
#include "zol/mime/ContentException.hpp"

#include <gtest/gtest.h>

#include <cstddef>
#include <string>
#include <vector>

namespace zol_test
{

/// What one getData() call delivers, or "END".
inline std::string readOnce(const ZOLNS2::MIME::ContentRef& content, std::size_t length,
                            const ZOLNS2::MIME::ContentStreamStateRef& state)
{
    std::string buffer(length, '\0');
    const std::size_t count = content->getData(buffer.data(), length, state);
    return count == ZOLNS2::MIME::END_OF_DATA ? "END" : buffer.substr(0, count);
}

/// All bytes of a content in reads of `size`, through a state of its own; checks that the end stays the end.
inline std::string readAll(const ZOLNS2::MIME::ContentRef& content, std::size_t size)
{
    const ZOLNS2::MIME::ContentStreamStateRef state = content->createInitialStreamState();
    std::string all;
    std::vector<char> buffer(size);
    std::size_t count = 0;
    while ((count = content->getData(buffer.data(), size, state)) != ZOLNS2::MIME::END_OF_DATA)
    {
        all.append(buffer.data(), count);
    }
    EXPECT_EQ(content->getData(buffer.data(), size, state), ZOLNS2::MIME::END_OF_DATA) << "the end stays the end";
    return all;
}

/// The message of the ContentException that `action` throws; empty if it throws none.
template <typename Action>
std::string contentRefusal(Action action)
{
    try
    {
        action();
    }
    catch (const ZOLNS2::MIME::ContentException& e)
    {
        EXPECT_STREQ(e.getFile(), "HTTPExchange");
        return e.getMessage();
    }
    return "";
}

/// The message with which `action` refuses a request; empty if it does not.
template <typename Action>
std::string requestRefusal(Action action)
{
    try
    {
        action();
    }
    catch (const ZOLNS2::HTTP::ExchangeException& e)
    {
        EXPECT_EQ(e.phase(), ZOLNS2::HTTP::ExchangeException::E_URL);
        EXPECT_EQ(e.cause(), ZOLNS2::HTTP::ExchangeException::E_MALFORMED);
        EXPECT_STREQ(e.getFile(), "HTTPExchange");
        return e.getMessage();
    }
    return "";
}

} // namespace zol_test
