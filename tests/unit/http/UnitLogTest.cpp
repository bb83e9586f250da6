#include "UnitLog.hpp"

#include "support/ConnectTo.hpp"
#include "support/LogCapture.hpp"
#include "support/ScriptedServer.hpp"

#include "zol/http/HTTPClient.hpp"
#include "zol/http/HTTPException.hpp"
#include "zol/http/HTTPTransferDecoder.hpp"
#include "zol/mime/TextContent.hpp"
#include "zol/mime/UnbufferedContent.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cerrno>
#include <sstream>
#include <string>
#include <vector>

namespace
{

using namespace ZOLNS2;
using testing::HasSubstr;
using zol_test::LogCapture;
using zol_test::LogRecord;
using zol_test::ScriptedServer;
using zol_test::ServerConnection;

blocxx::GlobalString TEST_COMPONENT = BLOCXX_GLOBAL_STRING_INIT("test.component");
constexpr LogUnit TEST_UNIT{"TestUnit", "test: ", TEST_COMPONENT};

std::vector<LogRecord> recordsOf(const LogCapture& log, const std::string& component)
{
    std::vector<LogRecord> records;
    for (const LogRecord& record : log.records())
    {
        if (record.component == component)
        {
            records.push_back(record);
        }
    }
    return records;
}

void helperOf(const OperationLog& log)
{
    ZOL_LOG(log, ERROR, "from the helper");
}

void operation()
{
    const OperationLog log(TEST_UNIT, __PRETTY_FUNCTION__);
    ZOL_LOG(log, DEBUG3, blocxx::Format("from %1", "itself"));
    helperOf(log);
}

/// What errno is after `action`, which found EDOM there.
template <class Action>
int errnoAfter(const Action& action)
{
    errno = EDOM;
    action();
    return errno;
}

void parseHead(const std::string& head)
{
    std::istringstream in(head);
    HTTP::Response response;
    errno = EDOM;
    response.checkStatus(in);
}

const char* const HEAD = "HTTP/1.1 200 OK\r\nContent-Type: text/plain; charset=x\r\nA: 1\r\n\r\n";

TEST(UnitLog, RecordsCarryUnitPrefixAndTheSignatureOfTheOperation)
{
    const LogCapture log;
    operation();
    const std::vector<LogRecord> records = recordsOf(log, "test.component");
    ASSERT_EQ(records.size(), 2U);
    EXPECT_EQ(records[0].message, "test: from itself");
    EXPECT_EQ(records[0].category, "DEBUG3");
    EXPECT_EQ(records[1].message, "test: from the helper");
    EXPECT_EQ(records[1].category, "ERROR");
    for (const LogRecord& record : records)
    {
        EXPECT_EQ(record.file, "TestUnit");
        EXPECT_THAT(record.method, HasSubstr("operation()")) << "also what its helper writes";
        EXPECT_GT(record.line, 0);
    }
}

TEST(UnitLog, MessageIsNotMadeWhereTheLevelDoesNotAdmitIt)
{
    const LogCapture log(blocxx::E_ERROR_LEVEL);
    const OperationLog operationLog(TEST_UNIT, "");
    int made = 0;
    const auto message = [&made]
    {
        ++made;
        return blocxx::String("text");
    };
    ZOL_LOG(operationLog, DEBUG, message());
    EXPECT_EQ(made, 0);
    ZOL_LOG(operationLog, ERROR, message());
    EXPECT_EQ(made, 1);
}

TEST(UnitLog, ErrnoIsKeptAcrossEveryRecord)
{
    const LogCapture log;
    EXPECT_EQ(errnoAfter(
                  []
                  {
                      const OperationLog operationLog(TEST_UNIT, "");
                      ZOL_LOG(operationLog, ERROR, "text");
                  }),
              EDOM);
    EXPECT_EQ(errnoAfter(
                  []
                  {
                      const OperationLog operationLog(TEST_UNIT, "");
                      const auto changing = []
                      {
                          errno = ERANGE;
                          return blocxx::String("text");
                      };
                      ZOL_LOG(operationLog, ERROR, changing());
                  }),
              EDOM)
        << "also where the message changes it";
    EXPECT_EQ(log.records().size(), 2U);
}

TEST(UnitLog, EveryUnitKeepsErrnoWhileItLogs)
{
    ScriptedServer server([](ServerConnection& peer) { peer.waitUntilPeerCloses(); });
    HTTP::HTTPConnection connection = zol_test::connectTo(server);
    const LogCapture log;
    EXPECT_EQ(errnoAfter([&] { getTransferDecoder(connection, HTTP::Headers()); }), EDOM);
    MIME::ContentTypeHeader header;
    EXPECT_EQ(errnoAfter([&] { header.setContentTypeString("Content-Type: text/plain; a=b"); }), EDOM);
    const MIME::ContentRef text(new MIME::TextPlainContent("text"));
    const MIME::ContentStreamStateRef state = text->createInitialStreamState();
    char buffer[10];
    EXPECT_EQ(errnoAfter([&] { text->getData(buffer, sizeof(buffer), state); }), EDOM);
    EXPECT_EQ(errnoAfter([&] { parseHead(HEAD); }), EDOM);
    for (const char* const component : {"zol.common.http", "zol.common.http.content", "zol.common.http.response"})
    {
        EXPECT_FALSE(recordsOf(log, component).empty()) << component;
    }
}

TEST(UnitLog, RecordsOfAFetchNameTheUnitAndGetPage)
{
    ScriptedServer server(
        [](ServerConnection& peer)
        {
            peer.receiveHead();
            peer.send("HTTP/1.1 200 OK\r\n\r\n");
        });
    const LogCapture log;
    const std::string url = " 127.0.0.1 :" + std::to_string(server.port());
    HTTP::getPage(
        HTTP::Request(HTTP::RequestLine("GET", "/", url, HTTP::HTTP_1_1), HTTP::Headers(), blocxx::SSLClientCtxRef()),
        blocxx::Timeout::relative(10));
    const std::vector<LogRecord> records = recordsOf(log, "zol.common.http.client");
    EXPECT_EQ(records.size(), 5U);
    for (const LogRecord& record : records)
    {
        EXPECT_EQ(record.file, "HTTPClient") << record.message;
        EXPECT_THAT(record.method, HasSubstr("getPage(")) << record.message;
        EXPECT_GT(record.line, 0);
    }
}

TEST(UnitLog, RecordOfADecoderNamesTheUnitAndItsFactory)
{
    ScriptedServer server([](ServerConnection& peer) { peer.waitUntilPeerCloses(); });
    HTTP::HTTPConnection connection = zol_test::connectTo(server);
    const LogCapture log;
    getTransferDecoder(connection, HTTP::Headers());
    const std::vector<LogRecord> records = recordsOf(log, "zol.common.http");
    ASSERT_EQ(records.size(), 1U);
    EXPECT_EQ(records[0].file, "HTTPTransferDecoder");
    EXPECT_THAT(records[0].method, HasSubstr("getTransferDecoder("));
    EXPECT_GT(records[0].line, 0);
}

TEST(UnitLog, RecordsOfAContentTypeNameTheOperationThatParsesIt)
{
    const LogCapture log;
    MIME::ContentTypeHeader header;
    header.setContentTypeString("Content-Type: text/plain; a=b");
    const std::vector<LogRecord> records = recordsOf(log, "zol.common.http.content");
    ASSERT_EQ(records.size(), 2U);
    EXPECT_THAT(records[1].message, HasSubstr("param[0]")) << "which a helper writes";
    for (const LogRecord& record : records)
    {
        EXPECT_EQ(record.file, "HTTPContent");
        EXPECT_THAT(record.method, HasSubstr("setContentTypeString("));
    }
}

TEST(UnitLog, RecordsOfAMultipartBodyNameWhatReadsItAndWhatMakesItsContents)
{
    const LogCapture log;
    HTTP::Response response;
    response.contentType.setContentTypeString("Content-Type: multipart/mixed; boundary=B");
    std::istringstream in("--BX\r\n\r\nno line end\r\n--B\r\nContent-Type: image/png\r\n\r\nxx\r\n--B--");
    response.parseResponseData(in);
    for (const LogRecord& record : recordsOf(log, "zol.common.http.response"))
    {
        EXPECT_THAT(record.method, testing::AnyOf(HasSubstr("parseMultipartContent("), HasSubstr("createContent("),
                                                  HasSubstr("dump_to_log(")))
            << record.message;
        const bool isOfTheParts = record.message.find("boundary") != std::string::npos ||
                                  record.message.find("Snagged") != std::string::npos ||
                                  record.message.find("Failed to create") != std::string::npos;
        EXPECT_TRUE(!isOfTheParts || record.method.find("parseMultipartContent(") != std::string::npos)
            << record.message << " by " << record.method;
    }
}

TEST(UnitLog, ErrorOfAReceivedResponseNamesTheEntryPoint)
{
    const LogCapture log(blocxx::E_ERROR_LEVEL);
    std::istringstream in("HTTP/1.1 500 Oh\r\n\r\n");
    HTTP::Response response;
    EXPECT_THROW(in >> response, HTTP::HTTPException);
    const std::vector<LogRecord> records = recordsOf(log, "zol.common.http.response");
    ASSERT_EQ(records.size(), 1U);
    EXPECT_EQ(records[0].file, "HTTPResponse");
    EXPECT_THAT(records[0].method, HasSubstr("operator>>"));
}

} // namespace
