#include "zol/mime/MultipartReader.hpp"

#include "exchange/ContentTypeField.hpp"
#include "exchange/ExchangeUnit.hpp"
#include "exchange/HeadFields.hpp"
#include "exchange/MultipartScanner.hpp"
#include "exchange/WriteContent.hpp"

#include "zol/mime/ContentEnd.hpp"
#include "zol/mime/ContentException.hpp"

#include <memory>
#include <utility>

namespace ZOLNS2::MIME
{

namespace
{

using HTTP::ExchangeException;
using HTTP::ExchangeUnit::SOURCE_UNIT;

[[noreturn]] void throwMalformed(const blocxx::String& message)
{
    throw ExchangeException(SOURCE_UNIT, __LINE__, ExchangeException::E_BODY, ExchangeException::E_MALFORMED,
                            message.c_str());
}

class PartStreamState : public ContentStreamState
{
};

/// A section of the scanner behind its header fields.
class PartContent : public Content, public ContentEnd
{
public:
    PartContent(const MultipartScannerRef& scanner, const ContentTypeHeader& contentType)
        : m_scanner(scanner), m_section(scanner->section()), m_contentType(contentType)
    {
    }

    ContentTypeHeader getContentType() override { return m_contentType; }
    bool hasContentLength() override { return false; }

    std::size_t getContentLength() override
    {
        throw ContentException(SOURCE_UNIT, __LINE__,
                               "The length of a part that is read as it arrives is not known before its end");
    }

    std::size_t getData(char* buffer, std::size_t room, const ContentStreamStateRef&) override
    {
        if (m_ended)
        {
            return END_OF_DATA;
        }
        if (m_section != m_scanner->section())
        {
            throw ContentException(SOURCE_UNIT, __LINE__,
                                   "The part cannot be read any more: its reader has been asked for the next one");
        }
        if (room == 0)
        {
            return 0;
        }
        const std::size_t count = m_scanner->read(buffer, room);
        m_ended = count == 0;
        m_isCut = m_ended && m_scanner->isCut();
        return m_ended ? END_OF_DATA : count;
    }

    ContentStreamStateRef createInitialStreamState() const override
    {
        if (m_begun)
        {
            throw ContentException(SOURCE_UNIT, __LINE__, "A part that is read as it arrives can be read once");
        }
        ContentStreamStateRef state(new PartStreamState);
        m_begun = true;
        return state;
    }

    bool endedBadly(const ContentStreamStateRef&) const override { return m_isCut; }

    /// @throws HTTP::ExchangeException if the body ended in the part
    void requireWhole() const
    {
        if (m_isCut)
        {
            m_scanner->throwCut();
        }
    }

private:
    MultipartScannerRef m_scanner;
    const std::size_t m_section;
    const ContentTypeHeader m_contentType;
    bool m_ended = false;
    bool m_isCut = false;
    mutable bool m_begun = false;
};

blocxx::String boundaryOf(const ContentRef& body)
{
    const ContentTypeHeader type = body->getContentType();
    if (!type.getType().equalsIgnoreCase("multipart"))
    {
        throwMalformed(blocxx::Format("The body is not multipart: %1", toString(type)));
    }
    for (const HTTP::Parameter& parameter : type.getParameters())
    {
        if (parameter.name.equalsIgnoreCase("boundary"))
        {
            return parameter.value;
        }
    }
    throwMalformed(blocxx::Format("The type of the multipart body names no boundary: %1", toString(type)));
}

MultipartScannerRef scannerOf(std::unique_ptr<MultipartSource> source, const blocxx::String& boundary,
                              const MultipartReader::Limits& limits)
{
    if (boundary.empty())
    {
        throwMalformed("The boundary of the multipart body is empty");
    }
    return std::make_shared<MultipartScanner>(std::move(source), boundary, limits);
}

[[noreturn]] void throwMalformedFields(const MultipartScanner& scanner, const blocxx::String& problem)
{
    throwMalformed(blocxx::Format("The header fields of part %1 are malformed: %2", scanner.section(), problem));
}

HTTP::Headers readFields(MultipartScanner& scanner)
{
    HTTP::HeadLines lines(scanner, scanner.limits().partHeadBytes);
    HTTP::HeadFields fields;
    switch (fields.read(lines))
    {
    case HTTP::HeadFields::E_COMPLETE:
        break;
    case HTTP::HeadFields::E_END:
        if (scanner.isCut())
        {
            scanner.throwCut();
        }
        if (fields.problem().empty())
        {
            break;
        }
        throwMalformedFields(scanner, fields.problem());
    case HTTP::HeadFields::E_TOO_LARGE:
        throw ExchangeException(
            SOURCE_UNIT, __LINE__, ExchangeException::E_BODY, ExchangeException::E_LIMIT,
            blocxx::Format("The header fields of part %1 are too large: %2", scanner.section(), fields.problem())
                .c_str());
    case HTTP::HeadFields::E_MALFORMED:
        throwMalformedFields(scanner, fields.problem());
    }
    return fields.fields();
}

} // namespace

MultipartPart::MultipartPart(const HTTP::Headers& headers, const ContentTypeHeader& contentType,
                             const ContentRef& content)
    : m_headers(headers), m_contentType(contentType), m_content(content)
{
}

MultipartPart::MultipartPart(const MultipartPart&) = default;
MultipartPart& MultipartPart::operator=(const MultipartPart&) = default;
MultipartPart::~MultipartPart() = default;

void MultipartPart::writeTo(std::ostream& out) const
{
    if (!writeContent(m_content, m_content->createInitialStreamState(), out))
    {
        return;
    }
    if (const auto content = m_content.cast_to<PartContent>())
    {
        content->requireWhole();
    }
}

MultipartReader::MultipartReader(const ContentRef& body) : MultipartReader(body, Limits()) {}

MultipartReader::MultipartReader(const ContentRef& body, const Limits& limits)
    : MultipartReader(body, boundaryOf(body), limits)
{
}

MultipartReader::MultipartReader(const ContentRef& body, const blocxx::String& boundary, const Limits& limits)
    : m_scanner(scannerOf(multipartSource(body), boundary, limits))
{
}

MultipartReader::MultipartReader(std::istream& body, const blocxx::String& boundary, const Limits& limits)
    : m_scanner(scannerOf(multipartSource(body), boundary, limits))
{
}

MultipartReader::MultipartReader(const MultipartReader&) = default;
MultipartReader& MultipartReader::operator=(const MultipartReader&) = default;
MultipartReader::~MultipartReader() = default;

std::optional<MultipartPart> MultipartReader::next()
{
    if (!m_scanner->enterNext())
    {
        return std::nullopt;
    }
    const HTTP::Headers fields = readFields(*m_scanner);
    const ContentTypeHeader contentType = HTTP::contentTypeOf(fields, HTTP::plainTextType());
    return MultipartPart(fields, contentType, ContentRef(new PartContent(m_scanner, contentType)));
}

} // namespace ZOLNS2::MIME
