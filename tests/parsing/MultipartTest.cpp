// Multipart bodies, wherever they are cut and however they arrive.

#include "CutTable.hpp"
#include "Shown.hpp"

#include "blocxx/internal/GetArea.hpp"
#include "zol/http/ExchangeException.hpp"
#include "zol/http/Response.hpp"
#include "zol/mime/MultipartReader.hpp"

#include <istream>
#include <sstream>

using namespace parsing_test;
using ZOLNS2::HTTP::ExchangeException;
using ZOLNS2::HTTP::Response;
using ZOLNS2::MIME::ContentRef;
using ZOLNS2::MIME::MultipartPart;
using ZOLNS2::MIME::MultipartReader;

namespace
{

/// "[fields]bytes" of each part, then how the body ended.
std::string readByReader(GuardedInput& input)
{
    std::istream stream(&input);
    MultipartReader reader(stream, "b", MultipartReader::Limits());
    std::string parts;
    try
    {
        while (const std::optional<MultipartPart> part = reader.next())
        {
            parts += "[" + shown(part->getHeaders()) + "]";
            std::ostringstream bytes;
            try
            {
                part->writeTo(bytes);
            }
            catch (const ExchangeException&)
            {
                parts += bytes.str();
                throw;
            }
            parts += bytes.str();
        }
    }
    catch (const ExchangeException& failure)
    {
        return parts + (failure.cause() == ExchangeException::E_CUT ? " cut" : " malformed");
    }
    return parts + " complete";
}

/// A head, and then the pieces of an input, in place.
class BehindHead : public std::streambuf
{
public:
    BehindHead(std::string head, GuardedInput& body) : m_head(std::move(head)), m_body(body)
    {
        setg(m_head.data(), m_head.data(), m_head.data() + m_head.size());
    }

protected:
    int_type underflow() override
    {
        if (m_body.sgetc() == traits_type::eof())
        {
            return traits_type::eof();
        }
        const std::string_view piece = blocxx::Internal::GetArea::of(m_body);
        blocxx::Internal::GetArea::consume(m_body, piece.size());
        char* const begin = const_cast<char*>(piece.data());
        setg(begin, begin, begin + piece.size());
        return traits_type::to_int_type(*begin);
    }

private:
    std::string m_head;
    GuardedInput& m_body;
};

/// "[type]bytes" of each part.
std::string readByResponse(GuardedInput& input)
{
    static const std::string HEAD = "HTTP/1.1 200 OK\r\nContent-Type: multipart/mixed; boundary=b\r\n\r\n";
    BehindHead whole(HEAD, input);
    std::istream stream(&whole);
    Response response;
    stream >> response;
    std::string parts;
    while (const ContentRef part = response.getNextPart())
    {
        parts += "[" + textOf(part->getContentType().getSubType()) + "]" + textOf(part);
    }
    return parts;
}

} // namespace

TEST(EveryCut, OfAMultipartBodyIsToldByItsReaderUpToTheClosingDelimiter)
{
    expectOutcomes(
        {
            {"", " cut"},
            {"preamble\r\n--b", " cut"},
            {" \r\n", " cut"},
            {"A: 1\r\n\r", " cut"}, // a part is returned with all its header fields
            {"\n", "[A=1] cut"},
            {"one", "[A=1]% cut"},
            {"\r\n--b", "[A=1]one% cut"}, // a delimiter is a whole line
            {"\n", "[A=1]one cut"},
            {"\n", "[A=1]one[] cut"},
            {"--x", "[A=1]one[]% cut"},
            {"\n--b-", "[A=1]one[]--x% cut"},
            {"-", "[A=1]one[]--x complete"},
            {"\r\nepilogue\r\n--b", "[A=1]one[]--x complete"},
        },
        readByReader);
}

TEST(EveryCut, OfAMultipartResponseMakesTheRestTheLastPart)
{
    expectOutcomes(
        {
            {"", ""},
            {"preamble\r\n--", ""},
            {"b\r\n\r", "[plain]"}, // a part of fewer than two bytes is empty text
            {"\n", "[octet-stream]"},
            {"one", "[octet-stream]%"},
            {"\r\n--", "[octet-stream]one%"},
            {"b\r\nX", "[octet-stream]one[plain]"},
            {": 1", "[octet-stream]one[octet-stream]"},
            {"\r", "[octet-stream]one[octet-stream]X: 1%"}, // headers that cannot be read stay with the bytes
            {"\n", "[octet-stream]one[octet-stream]"},
            {"\r", "[octet-stream]one[octet-stream]X: 1\r\n%"},
            {"\n", "[octet-stream]one[octet-stream]"},
            {"two", "[octet-stream]one[octet-stream]%"},
            {"\r\n--", "[octet-stream]one[octet-stream]two%"},
            {"b-", "[octet-stream]one[octet-stream]two[plain]"},
            {"-\r\nepilogue\r\n--b", "[octet-stream]one[octet-stream]two"},
        },
        readByResponse);
}
