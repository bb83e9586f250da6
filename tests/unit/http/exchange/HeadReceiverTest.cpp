#include "exchange/HeadReceiver.hpp"

#include "ExchangeWith.hpp"

#include <gmock/gmock.h>

#include <chrono>
#include <future>
#include <string>
#include <utility>
#include <vector>

namespace
{

using namespace exchange_test;
using testing::ElementsAre;
using testing::Pair;

const std::string OK = "HTTP/1.1 200 OK\r\n";
const std::string EMPTY = "Content-Length: 0\r\n\r\n";

void expectMalformed(const std::string& bytes, const std::string& words)
{
    expectFailure([&] { responseTo(bytes); }, ExchangeException::E_HEAD, ExchangeException::E_MALFORMED, words);
}

TEST(ExchangeHead, HasStatusLineAndFields)
{
    const ExchangeResponse response = responseTo("HTTP/1.1 404 Not Found\r\n" + EMPTY);
    EXPECT_EQ(response.getStatus(), 404);
    EXPECT_EQ(textOf(response.getStatusLine().reasonPhrase), "Not Found");
    EXPECT_EQ(response.getStatusLine().version, ZOLNS2::HTTP::HTTP_1_1);
    EXPECT_FALSE(response.isSuccess());
}

TEST(ExchangeHead, KeepsOrderCaseAndRepetitionOfFields)
{
    const ExchangeResponse response =
        responseTo(OK + "X-B: 1\r\nSet-Cookie: a=1\r\nx-a:  two \t\r\nSet-Cookie: b=2\r\nEmpty:\r\n" + EMPTY);
    std::vector<std::pair<std::string, std::string>> fields;
    for (const ZOLNS2::HTTP::Header& header : response.getHeaders())
    {
        fields.emplace_back(textOf(header.name), textOf(header.value));
    }
    EXPECT_THAT(fields, ElementsAre(Pair("X-B", "1"), Pair("Set-Cookie", "a=1"), Pair("x-a", "two"),
                                    Pair("Set-Cookie", "b=2"), Pair("Empty", ""), Pair("Content-Length", "0")));
}

TEST(ExchangeHead, JoinsAFoldedValueWithOneBlank)
{
    const ExchangeResponse response = responseTo(OK + "X: a\r\n \t b\r\nY:\r\n c\r\n" + EMPTY);
    EXPECT_EQ(textOf(response.getHeaders().getHeaderValue("X")), "a b");
    EXPECT_EQ(textOf(response.getHeaders().getHeaderValue("Y")), "c");
}

TEST(ExchangeHead, TakesLineFeedsAloneAndEmptyLinesInFront)
{
    const ExchangeResponse response = responseTo("\r\n\nHTTP/1.0 200\nContent-Length: 2\n\nhi");
    EXPECT_EQ(response.getStatusLine().version, ZOLNS2::HTTP::HTTP_1_0);
    EXPECT_EQ(bodyOf(response), "hi");
}

TEST(ExchangeHead, ReadsALaterMinorVersionAsOneOne)
{
    EXPECT_EQ(responseTo("HTTP/1.7 200 OK\r\n" + EMPTY).getStatusLine().version, ZOLNS2::HTTP::HTTP_1_1);
}

TEST(ExchangeHead, RefusesWhatIsNoStatusLine)
{
    expectMalformed("ICY 200 OK\r\n\r\n", "line 1 is not a status line: \"ICY 200 OK\"");
    expectMalformed("HTTP/2.0 200 OK\r\n\r\n", "version");
    expectMalformed("HTTP/1.1 20 OK\r\n\r\n", "three digits");
    expectMalformed("HTTP/1.1 2000 OK\r\n\r\n", "three digits");
    expectMalformed("HTTP/1.1 099 OK\r\n\r\n", "three digits");
    expectMalformed("HTTP/1.1200 OK\r\n\r\n", "three digits");
    expectMalformed("HTTP/1.1\r\n\r\n", "three digits");
    expectMalformed(std::string(17, '\n') + OK + EMPTY, "empty lines");
}

TEST(ExchangeHead, RefusesMalformedFieldsAndNamesTheLine)
{
    expectMalformed(OK + "X: 1\r\nno colon\r\n\r\n", "line 3 has no colon: \"no colon\"");
    expectMalformed(OK + ": value\r\n\r\n", "line 2 has no name");
    expectMalformed(OK + " folded\r\n\r\n", "line 2 continues a line that is not there");
    expectMalformed(OK + "X: 1\r\n \t\r\nY: 2\r\n\r\n", "line 3 holds nothing but white space");
    expectMalformed(OK + "X: a\rb\r\n\r\n", "line 2 holds a CR: \"X: a\\x0db\"");
    expectMalformed(OK + std::string("X: a\0b\r\n\r\n", 10), "line 2 holds a NUL");
}

TEST(ExchangeHead, CutIsAFailureThatSaysWhere)
{
    for (const std::string& cut : {OK, OK + "X: 1\r\n", OK + "X: 1", std::string("HTTP/1.1 2")})
    {
        SCOPED_TRACE(cut);
        expectFailure([&] { responseTo(cut); }, ExchangeException::E_HEAD, ExchangeException::E_CUT,
                      "The response ended in its head: 127.0.0.1:");
    }
    expectFailure([&] { responseTo(""); }, ExchangeException::E_HEAD, ExchangeException::E_CUT,
                  "The response ended before its first byte");
}

TEST(ExchangeHead, ResetIsToldFromACut)
{
    zol_test::ScriptedServer server(
        [](zol_test::ServerConnection& connection)
        {
            connection.receiveHead();
            connection.reset();
        });
    const auto failure = failureOf([&] { exchange(get(server)); });
    ASSERT_TRUE(failure);
    EXPECT_EQ(failure->cause(), ExchangeException::E_RESET);
    EXPECT_EQ(failure->systemError(), ECONNRESET);
    EXPECT_EQ(failure->status(), 0);
    EXPECT_FALSE(failure->isSafeToRepeat());
}

TEST(ExchangeHead, FailureTellsTheStatusThatWasRead)
{
    const auto failure = failureOf([] { responseTo("HTTP/1.1 503 Busy\r\nno colon\r\n\r\n"); });
    ASSERT_TRUE(failure);
    EXPECT_EQ(failure->status(), 503);
}

TEST(ExchangeHead, LineLimitHoldsOnBothSides)
{
    const size_t limit = ZOLNS2::HTTP::HeadLines::MAX_LINE_LENGTH;
    const std::string largest = "X:" + std::string(limit - 2, 'a') + "\r\n";
    EXPECT_EQ(responseTo(OK + largest + EMPTY).getHeaders().getHeaderValue("X").length(), limit - 2);
    expectFailure([&] { responseTo(OK + "X" + largest + EMPTY); }, ExchangeException::E_HEAD,
                  ExchangeException::E_LIMIT, "line 2 is longer than 65536 bytes");
}

TEST(ExchangeHead, LineCountLimitHoldsOnBothSides)
{
    std::string lines;
    for (int i = 0; i < 999; ++i)
    {
        lines += "X: 1\r\n";
    }
    EXPECT_EQ(responseTo(OK + lines + EMPTY).getStatus(), 200);
    expectFailure([&] { responseTo(OK + lines + "Y: 2\r\n" + EMPTY); }, ExchangeException::E_HEAD,
                  ExchangeException::E_LIMIT, "more than 1000 lines");
}

TEST(ExchangeHead, SizeLimitHoldsOnBothSides)
{
    const std::string head = OK + "X: " + std::string(50, 'a') + "\r\n" + EMPTY;
    ExchangeOptions options;
    options.headLimit = head.size();
    EXPECT_EQ(responseTo(head, options).getStatus(), 200);
    options.headLimit = head.size() - 1;
    expectFailure([&] { responseTo(head, options); }, ExchangeException::E_HEAD, ExchangeException::E_LIMIT,
                  "larger than " + std::to_string(head.size() - 1) + " bytes");
}

TEST(ExchangeHead, InterimResponsesArePassedOver)
{
    std::string interim;
    for (int i = 0; i < 16; ++i)
    {
        interim += i % 2 == 0 ? "HTTP/1.1 103 Early Hints\r\nLink: </a>\r\n\r\n" : "HTTP/1.1 100 Continue\r\n\r\n";
    }
    EXPECT_EQ(responseTo(interim + OK + EMPTY).getStatus(), 200);
    expectFailure([&] { responseTo(interim + "HTTP/1.1 102 Processing\r\n\r\n" + OK + EMPTY); },
                  ExchangeException::E_HEAD, ExchangeException::E_LIMIT, "more than 16 interim responses");
}

TEST(ExchangeHead, InterimResponsesCountForTheSizeLimit)
{
    const std::string interim = "HTTP/1.1 103 Early Hints\r\n\r\n";
    ExchangeOptions options;
    options.headLimit = interim.size() + OK.size() + EMPTY.size() - 1;
    expectFailure([&] { responseTo(interim + OK + EMPTY, options); }, ExchangeException::E_HEAD,
                  ExchangeException::E_LIMIT, "larger than");
}

TEST(ExchangeHead, IsReadWholeWhateverItsSizeAndItsCuts)
{
    for (const size_t size : {16383U, 16384U, 16385U, 32768U, 65535U, 65536U, 65537U, 90000U})
    {
        std::string head = OK + "Content-Length: 20000\r\nFirst: 1\r\n";
        while (head.size() + 200 < size)
        {
            head += "Line: " + std::string(100, 'v') + "\r\n";
        }
        head += "Last: " + std::string(size - head.size() - 10, 'z') + "\r\n\r\n";
        ASSERT_EQ(head.size(), size);
        for (const size_t cut : {size_t{16384}, size_t{16383}, size - 1, size})
        {
            zol_test::ScriptedServer server(
                [&](zol_test::ServerConnection& connection)
                {
                    connection.receiveHead();
                    const std::string bytes = head + std::string(20000, 'b');
                    connection.send(bytes.substr(0, cut));
                    connection.pause(std::chrono::milliseconds(2));
                    connection.send(bytes.substr(cut));
                });
            const ExchangeResponse response = exchange(get(server));
            EXPECT_EQ(textOf(response.getHeaders().getHeaderValue("First")), "1") << size << " " << cut;
            EXPECT_EQ(textOf(response.getHeaders().getHeaderValue("Last")).find_first_not_of('z'), std::string::npos);
            EXPECT_EQ(bodyOf(response), std::string(20000, 'b')) << size << " " << cut;
        }
    }
}

TEST(ExchangeHead, DoesNotWaitForMoreOfItsBody)
{
    const std::string head = OK + "X: a\r\n folded\r\nContent-Length: 20000\r\n\r\n";
    const std::string body(20000, 'b');
    const size_t firstRead = 16384;
    std::promise<void> returned;
    zol_test::ScriptedServer server(
        [&, waiting = returned.get_future().share()](zol_test::ServerConnection& connection)
        {
            connection.receiveHead();
            connection.send((head + body).substr(0, firstRead));
            waiting.wait_for(std::chrono::seconds(30));
            connection.send((head + body).substr(firstRead));
        });
    ExchangeOptions options;
    options.headTimeout = blocxx::Timeout::relative(5);
    const ExchangeResponse response = exchange(get(server), options);
    returned.set_value();
    EXPECT_EQ(textOf(response.getHeaders().getHeaderValue("X")), "a folded");
    EXPECT_EQ(bodyOf(response), body) << response.bodyEndText();
}

TEST(ExchangeHead, SwitchingProtocolsIsReturned)
{
    const ExchangeResponse response = responseTo("HTTP/1.1 101 Switching Protocols\r\nUpgrade: x\r\n\r\nbytes of x");
    EXPECT_EQ(response.getStatus(), 101);
    EXPECT_EQ(bodyOf(response), "");
    EXPECT_FALSE(response.reusable());
}

TEST(ExchangeHead, EveryContentTypeReturns)
{
    const std::vector<std::pair<std::string, std::string>> types = {
        {"text/html;", "text/html"},
        {"text/html; ; ;charset=x", "text/html; charset=x"},
        {"Text/HTML;CharSet=\"a \\\"b\"; x = y ", "Text/HTML; charset=\"a \\\"b\"; x=y"},
        {"text/html; charset", "text/html"},
        {"text/html; charset=", "text/html; charset="},
        {"text/html; a=\"open", "text/html; a=open"},
        {"text/html; a=\"b\"c; d=e", "text/html; a=b; d=e"},
        {"text/html; =b", "text/html"},
        {"nonsense", "application/octet-stream"},
        {"/", "application/octet-stream"},
        {"", "application/octet-stream"},
        {";", "application/octet-stream"},
    };
    for (const auto& [given, read] : types)
    {
        SCOPED_TRACE(given);
        const ExchangeResponse response = responseTo(OK + "Content-Type: " + given + "\r\n" + EMPTY);
        EXPECT_EQ(textOf(toString(response.getContentType())), read);
    }
}

} // namespace
