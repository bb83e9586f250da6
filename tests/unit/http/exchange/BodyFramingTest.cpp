#include "exchange/BodyFraming.hpp"

#include "ExchangeWith.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <string>
#include <vector>

namespace
{

using namespace exchange_test;
using ZOLNS2::HTTP::BodyFraming;
using ZOLNS2::HTTP::framingByLists;
using ZOLNS2::HTTP::framingOf;
using ZOLNS2::HTTP::ReceivedHead;

/// The framing in words, or the message of the exception.
template <class Function>
std::string framing(Function function, const Request& request, const ReceivedHead& head)
{
    try
    {
        const BodyFraming result = function(request, head);
        // The length is told where it is that of the body.
        const bool hasLength = result.kind == BodyFraming::E_LENGTH;
        return std::to_string(result.kind) + " " + (hasLength ? std::to_string(result.length) : "") +
               (result.isEmpty() ? " empty" : "") + (result.keepsConnection ? " keeps" : "");
    }
    catch (const ExchangeException& e)
    {
        return e.getMessage();
    }
}

TEST(BodyFraming, InOnePassIsThatOfTheLists)
{
    std::mt19937 random(1);
    const auto one = [&](const std::vector<std::string>& of) { return of[random() % of.size()].c_str(); };
    const std::vector<std::string> names{"Content-Length", "content-length", "Transfer-Encoding",
                                         "Connection",     "CONNECTION",     "Server",
                                         "Date",           "Content-Type"};
    const std::vector<std::string> lengths{
        "0",    "5", "128", "", "5, 5", "5, 6", "-1", "+5", "5x", "18446744073709551615", "18446744073709551616",
        "0005", ","};
    const std::vector<std::string> options{"close",   "Close", "keep-alive", "Keep-Alive",       "close, x",
                                           "x,close", "",      "x",          "keep-alive, close"};
    const std::vector<std::string> codings{"chunked", "Chunked", "gzip, chunked", "", "identity"};
    std::vector<std::string> seen;
    for (int i = 0; i < 20000; ++i)
    {
        ReceivedHead head;
        head.statusLine.version = random() % 3 == 0 ? ZOLNS2::HTTP::HTTP_1_0 : ZOLNS2::HTTP::HTTP_1_1;
        head.statusLine.statusCode =
            static_cast<unsigned short>(std::vector<int>{200, 204, 304, 404, 101}[random() % 5]);
        for (std::size_t field = random() % 5; field > 0; --field)
        {
            const std::string name = one(names);
            const char* const value = name.size() == 14   ? one(lengths)
                                      : name.size() == 17 ? one(codings)
                                                          : one(options);
            head.fields.addHeader(name.c_str(), value);
        }
        Headers own;
        if (random() % 3 == 0)
        {
            own.addHeader("Connection", one(options));
        }
        const Request request = requestOf(random() % 8 == 0 ? "HEAD" : "GET", "a:80", own);
        const std::string found = framing(framingOf, request, head);
        ASSERT_EQ(found, framing(framingByLists, request, head));
        seen.push_back(found);
    }
    std::sort(seen.begin(), seen.end());
    EXPECT_GT(std::unique(seen.begin(), seen.end()) - seen.begin(), 20);
}

} // namespace
