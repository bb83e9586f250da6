#include "common/Operations.hpp"
#include "common/Reading.hpp"
#include "common/Servers.hpp"

#include "zol/http/ExchangeException.hpp"
#include "zol/http/HTTPException.hpp"
#include "zol/http/RequestBuilder.hpp"
#include "zol/mime/MultipartContent.hpp"
#include "zol/mime/MultipartMixedContent.hpp"
#include "zol/mime/MultipartReader.hpp"
#include "zol/mime/TextContent.hpp"

#include <sstream>

namespace zol_faults
{

using namespace ZOLNS2;

namespace
{

MIME::ContentRef form()
{
    const blocxx::IntrusiveReference<MIME::MultipartContent> made(new MIME::MultipartContent("form-data", "B"));
    made->addField("title", firstPart().c_str());
    made->addFile("file", Servers::running().upload.c_str(), "text/plain");
    return made;
}

MIME::ContentRef mixed()
{
    const blocxx::IntrusiveReference<MIME::MultipartMixedContent> made(new MIME::MultipartMixedContent("B"));
    made->addPart(MIME::ContentRef(new MIME::TextPlainContent(firstPart().c_str())));
    made->addPart(MIME::ContentRef(new MIME::TextPlainContent(secondPart().c_str())));
    return made;
}

std::optional<std::string> requestText()
{
    std::ostringstream out;
    out << HTTP::RequestBuilder("POST", HTTP::Url("http://example.com/a?b=c"))
               .header("Accept", "text/plain")
               .basicAuthentication("user", "secret")
               .content(form())
               .build();
    return out ? std::optional<std::string>(out.str()) : std::nullopt;
}

std::optional<std::string> partsOfAStream()
{
    static const std::string body = multipartBody();
    std::istringstream in(body);
    MIME::MultipartReader reader(in, "B", MIME::MultipartReader::Limits());
    std::string all;
    while (const std::optional<MIME::MultipartPart> part = reader.next())
    {
        all += bytesOf(part->getContent()).value_or("(endless)") + '|';
    }
    return all;
}

std::optional<std::string> responseOfAStream()
{
    static const std::string text =
        "HTTP/1.1 200 OK\r\nServer: some\r\nContent-Type: multipart/mixed; boundary=B\r\n\r\n" + multipartBody();
    std::istringstream in(text);
    HTTP::Response response;
    in >> response;
    return wholeOf(response);
}

// Whatever is lost of a copied exception, its kind is not, and its text is there or empty.
std::optional<std::string> caughtException()
{
    using HTTP::ExchangeException;
    const std::string message = "127.0.0.1:80: the server closed the connection";
    try
    {
        const HTTP::HTTPException cause("file.cpp", 1, "cause", 404);
        throw ExchangeException("file.cpp", 2, ExchangeException::E_BODY, ExchangeException::E_CUT, message.c_str(), 5,
                                200, &cause);
    }
    catch (const blocxx::Exception& caught)
    {
        const std::unique_ptr<blocxx::Exception> clone(caught.clone());
        const ExchangeException copy = dynamic_cast<const ExchangeException&>(caught);
        const std::string text = copy.getMessage();
        const bool same = copy.phase() == ExchangeException::E_BODY && copy.cause() == ExchangeException::E_CUT &&
                          copy.systemError() == 5 && copy.status() == 200 && (text.empty() || text == message);
        return same && (clone == nullptr || dynamic_cast<ExchangeException*>(clone.get()) != nullptr)
                   ? std::optional<std::string>("the same")
                   : std::nullopt;
    }
}

Operation itself(std::optional<std::string> (*run)())
{
    return {run, run()};
}

std::optional<std::string> formText()
{
    return bytesOf(form());
}

std::optional<std::string> mixedText()
{
    return bytesOf(mixed());
}

} // namespace

const std::vector<OperationCase> LOCAL_OPERATIONS = {
    {"RequestWriting", [] { return itself(requestText); }},
    {"FormWriting", [] { return itself(formText); }},
    {"MixedWriting", [] { return itself(mixedText); }},
    {"MultipartReading", [] { return itself(partsOfAStream); }},
    {"ResponseReading", [] { return itself(responseOfAStream); }},
    {"ExceptionCopying", [] { return itself(caughtException); }},
};

} // namespace zol_faults
