// What is parsed from a text: content types, URLs, tokens and numbers.

#include "CutTable.hpp"
#include "Shown.hpp"
#include "exchange/ContentTypeField.hpp"
#include "exchange/HeadFields.hpp"
#include "exchange/Text.hpp"
#include "exchange/Token.hpp"

#include "zol/http/ExchangeException.hpp"
#include "zol/http/Url.hpp"
#include "zol/mime/ContentException.hpp"
#include "zol/mime/ContentTypeHeader.hpp"

#include <sys/time.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdint>
#include <string>
#include <string_view>

using namespace parsing_test;
using ZOLNS2::MIME::ContentTypeHeader;

namespace
{

std::string shown(const ContentTypeHeader& type)
{
    std::string text = textOf(type.getType()) + "/" + textOf(type.getSubType());
    for (const ZOLNS2::HTTP::Parameter& parameter : type.getParameters())
    {
        text += "|" + textOf(parameter.name) + "=" + textOf(parameter.value);
    }
    return text;
}

std::string typeOfExchange(const std::string& value)
{
    ZOLNS2::HTTP::Headers headers;
    headers.addHeader("content-type", blocxx::String(value.c_str(), value.size()));
    return shown(contentTypeOf(headers, ContentTypeHeader("none", "none", blocxx::Array<ZOLNS2::HTTP::Parameter>())));
}

/// Whether the parse of a line is still at it after a tenth of a second of processor time.
bool neverReturns(const std::string& line)
{
    const pid_t child = ::fork();
    if (child == 0)
    {
        const itimerval limit{{0, 0}, {0, 100000}};
        ::signal(SIGVTALRM, SIG_DFL);
        ::setitimer(ITIMER_VIRTUAL, &limit, nullptr);
        ContentTypeHeader header;
        header.setContentTypeString(blocxx::String(line.c_str(), line.size()));
        ::_exit(0);
    }
    int status = 0;
    EXPECT_EQ(::waitpid(child, &status, 0), child);
    return WIFSIGNALED(status) && WTERMSIG(status) == SIGVTALRM;
}

std::string parsedLine(const std::string& line)
{
    const std::size_t semicolon = line.rfind(';');
    if (semicolon != std::string::npos && line.find('=', semicolon) == std::string::npos)
    {
        return neverReturns(line) ? "does not return" : "returns";
    }
    ContentTypeHeader header;
    try
    {
        header.setContentTypeString(blocxx::String(line.c_str(), line.size()));
    }
    catch (const ZOLNS2::MIME::ContentException&)
    {
        return "refused";
    }
    return shown(header);
}

std::string parsedUrl(const std::string& text)
{
    try
    {
        return textOf(ZOLNS2::HTTP::Url(blocxx::String(text.c_str(), text.size())).toString());
    }
    catch (const ZOLNS2::HTTP::ExchangeException& refusal)
    {
        EXPECT_EQ(refusal.phase(), ZOLNS2::HTTP::ExchangeException::E_URL);
        return "refused";
    }
}

/// What all that parses a view makes of one.
std::string outcomesOfViews(std::string_view view)
{
    using namespace ZOLNS2::HTTP;
    std::uint64_t length = 0;
    const bool isLength = parseLength(view, length);
    std::string_view rest = view;
    const std::string token(takeToken(rest));
    return token + "|" + std::string(rest) + "|" + std::string(withoutOuterBlanks(view)) + "|" +
           textOf(printable(view)) + "|" + (isToken(view) ? "token" : "") + (isFieldValue(view) ? "value" : "") +
           (isLength ? std::to_string(length) : "");
}

} // namespace

TEST(EveryCut, OfAContentTypeIsReadByAnExchange)
{
    expectTextOutcomes(
        {
            {"", "none/none"},
            {"text/", "none/none"},
            {"html", "text/%"},
            {" ;; ", "text/html"},
            {"Name", "text/html"},
            {"=", "text/html|name="},
            {"a", "text/html|name=a"},
            {" ", "text/html|name=a"},
            {"b", "text/html|name=a b"},
            {";B", "text/html|name=a b"},
            {"=", "text/html|name=a b|b="},
            {"\"", "text/html|name=a b|b="},
            {"c;d", "text/html|name=a b|b=%"},
            {"\\", "text/html|name=a b|b=c;d%"}, // it escapes nothing
            {"\"", "text/html|name=a b|b=c;d%"},
            {"\"", "text/html|name=a b|b=c;d\""},
            {"garbage;", "text/html|name=a b|b=c;d\""},
        },
        typeOfExchange);
}

TEST(EveryCut, OfAContentTypeLineIsParsedAsItStandsOrNeverReturns)
{
    expectTextOutcomes(
        {
            {"", "refused"},
            {"Type", "refused"},
            {":", "/"},
            {" text", "%/"}, // without a slash the type is not trimmed
            {"/ ", "text/"},
            {"html", "text/%"},
            {";p", "does not return"},
            {"=", "text/html|p="},
            {"v", "text/html|p=%"},
            {"; q", "does not return"},
            {"=", "text/html|p=v|q="},
        },
        parsedLine);
}

TEST(EveryCut, OfAUrlIsRefusedOrAUrl)
{
    expectTextOutcomes(
        {
            {"", "refused"},
            {"http://", "refused"},
            {"host", "http://%/"},
            {":", "http://host/"}, // an empty port is that of the scheme
            {"81", "http://host:%/"},
            {"/path", "http://host:81%"},
            {"?query", "http://host:81/path%"},
            {"#fragment", "http://host:81/path?query"},
        },
        parsedUrl);
    expectTextOutcomes({{"", "refused"}, {"https://[::1", "refused"}, {"]", "https://[::1]/"}}, parsedUrl);
}

TEST(EveryCut, OfAViewIsNotReadBeyond)
{
    const std::string text = " \t4096, to%20ken ; \"quoted\\\"\"=\x80\r\n: 18446744073709551615";
    const GuardedMemory memory(text.size());
    for (std::size_t begin = 0; begin <= text.size(); ++begin)
    {
        for (std::size_t length = 0; length <= text.size() - begin; ++length)
        {
            const std::string copy = text.substr(begin, length) + "9z"; // what a reader beyond the end would take in
            const std::string_view expected(copy.data(), length);
            const std::string_view guarded = memory.place(expected);
            EXPECT_EQ(outcomesOfViews(guarded), outcomesOfViews(expected)) << expected;
        }
    }
}
