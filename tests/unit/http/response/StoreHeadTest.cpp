#include "response/StoreHead.hpp"

#include "RandomHeads.hpp"
#include "support/TextOf.hpp"

#include "zol/http/HTTPException.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <optional>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

namespace
{

using zol_test::textOf;
using ZOLNS2::HTTP::Header;
using ZOLNS2::HTTP::HeadInPlace;
using ZOLNS2::HTTP::HTTPException;
using ZOLNS2::HTTP::Response;

/// What a head left in a response, and how many bytes were read.
struct Stored
{
    std::string status;
    std::vector<std::pair<std::string, std::string>> headers;
    std::vector<std::string> type;
    std::size_t length = 0;

    bool operator==(const Stored& other) const
    {
        return status == other.status && headers == other.headers && type == other.type && length == other.length;
    }
};

std::ostream& operator<<(std::ostream& out, const Stored& stored)
{
    out << stored.status << ", " << stored.length << " bytes\n";
    for (const auto& [name, value] : stored.headers)
    {
        out << "  [" << name << "] [" << value << "]\n";
    }
    for (const std::string& text : stored.type)
    {
        out << "  type [" << text << "]\n";
    }
    return out;
}

Stored storedIn(const Response& response, std::size_t length)
{
    Stored stored{textOf(response.statusLine.toString()), {}, {}, length};
    for (const Header& header : response.headers)
    {
        stored.headers.emplace_back(textOf(header.name), textOf(header.value));
    }
    stored.type = {textOf(response.contentType.getContentTypeString()), textOf(response.contentType.getType()),
                   textOf(response.contentType.getSubType())};
    const blocxx::Array<ZOLNS2::HTTP::Parameter> parameters = response.contentType.getParameters();
    for (const ZOLNS2::HTTP::Parameter& parameter : parameters)
    {
        stored.type.push_back(textOf(parameter.name) + "=" + textOf(parameter.value));
    }
    return stored;
}

/// None if the head is refused for more than its status.
std::optional<Stored> storedPlainly(const std::string& bytes)
{
    std::istringstream input(bytes);
    Response response;
    try
    {
        response.checkStatus(input);
    }
    catch (const HTTPException& e)
    {
        if (e.getErrorCode() == -1)
        {
            return std::nullopt;
        }
    }
    if (input.fail())
    {
        return std::nullopt;
    }
    return storedIn(response, static_cast<std::size_t>(input.tellg()));
}

/// None if the head is not of the form that is read in place. The bytes end where their memory does.
std::optional<Stored> storedInPlace(const std::string& bytes)
{
    const std::unique_ptr<char[]> exact(new char[bytes.size()]);
    std::copy(bytes.begin(), bytes.end(), exact.get());
    HeadInPlace head;
    if (!head.scan({exact.get(), bytes.size()}))
    {
        return std::nullopt;
    }
    Response response;
    ZOLNS2::HTTP::HTTPResponseUnit::storeHead(head, response);
    return storedIn(response, head.length());
}

TEST(HeadInPlace, IsStoredAsOneThatIsReadLineByLine)
{
    zol_test::RandomHeads heads(1);
    int inPlace = 0;
    for (int i = 0; i < 20000; ++i)
    {
        const std::string bytes = heads.next() + std::string(heads.below(40), 'b');
        if (const std::optional<Stored> stored = storedInPlace(bytes))
        {
            ++inPlace;
            const std::optional<Stored> plain = storedPlainly(bytes);
            ASSERT_TRUE(plain) << bytes;
            ASSERT_EQ(*stored, *plain) << bytes;
        }
    }
    EXPECT_GT(inPlace, 8000);
    EXPECT_LT(inPlace, 19000);
}

TEST(HeadInPlace, IsTakenWholeOrNotAtAllAtEveryCut)
{
    zol_test::RandomHeads heads(2);
    for (int i = 0; i < 300; ++i)
    {
        const std::string bytes = heads.next() + "body\r\n\r\n";
        const std::optional<Stored> whole = storedInPlace(bytes);
        for (std::size_t length = 0; length < bytes.size(); ++length)
        {
            const std::optional<Stored> cut = storedInPlace(bytes.substr(0, length));
            ASSERT_EQ(cut.has_value(), whole && length >= whole->length) << length << ": " << bytes;
            ASSERT_TRUE(!cut || *cut == *whole) << length << ": " << bytes;
        }
    }
}

TEST(HeadInPlace, HasTheLimitsOfTheReaders)
{
    const std::string first = "HTTP/1.1 200 OK\r\n";
    std::string lines;
    for (std::size_t i = 0; i < HeadInPlace::MAX_FIELDS; ++i)
    {
        lines += "a:\r\n";
    }
    EXPECT_TRUE(storedInPlace(first + lines + "\r\n"));
    EXPECT_FALSE(storedInPlace(first + lines + "a:\r\n\r\n"));
    const std::string longest(HeadInPlace::MAX_SIZE - first.size() - 6, 'v');
    EXPECT_TRUE(storedInPlace(first + "a:" + longest + "\r\n\r\n"));
    EXPECT_FALSE(storedInPlace(first + "a:" + longest + "v\r\n\r\n"));
}

TEST(HeadInPlace, IsOfTheUsualForms)
{
    for (const char* const head :
         {"HTTP/1.1 200 OK\r\n\r\n", "HTTP/1.0 404 Not Found\r\nA: b\r\n\r\n", "HTTP/1.1 204\nA:b\n\n",
          "HTTP/1.1 200 OK\r\nContent-Type: text/plain\r\nSet-Cookie: a\r\nSet-Cookie: b\r\n\r\n"})
    {
        EXPECT_TRUE(storedInPlace(head)) << head;
    }
    for (const char* const head :
         {"\r\nHTTP/1.1 200 OK\r\n\r\n", "HTTP/1.1 200  OK\r\n\r\n", "HTTP/1.1 200 \r\n\r\n", "HTTP/2.0 200 OK\r\n\r\n",
          "HTTP/1.1 099 OK\r\n\r\n", "HTTP/1.1 200 OK\r\nA: b\r\n c\r\n\r\n", "HTTP/1.1 200 OK\r\nA : b\r\n\r\n",
          "HTTP/1.1 200 OK\r\nA\r\n\r\n", "HTTP/1.1 200 OK\r\nA: b\rc\r\n\r\n", "HTTP/1.1 200 OK\r\nA: b\r\n"})
    {
        EXPECT_FALSE(storedInPlace(head)) << head;
    }
}

} // namespace
