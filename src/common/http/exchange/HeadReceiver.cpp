#include "exchange/HeadReceiver.hpp"

#include "exchange/ExchangeUnit.hpp"
#include "exchange/HeadFields.hpp"
#include "exchange/LinkFailure.hpp"
#include "message/HeadInPlace.hpp"
#include "message/HeaderStore.hpp"

#include "zol/http/ExchangeObserver.hpp"

#include <cstddef>
#include <string_view>
#include <vector>

namespace ZOLNS2::HTTP
{

namespace
{

bool isDigit(char c)
{
    return c >= '0' && c <= '9';
}

/// Reads a status line.
///
///     status-line  = HTTP-version SP status-code SP [ reason-phrase ]      RFC 9112 section 4
///     HTTP-version = "HTTP" "/" DIGIT "." DIGIT                            section 2.3
///     status-code  = 3DIGIT
///
/// The blank behind the code may be missing, and more blanks and tabs may stand where one belongs. A version 1.2 or
/// later is read as 1.1 (RFC 9110, section 2.5).
/// @return what is wrong with it; null for nothing
const char* parseStatusLine(std::string_view line, StatusLine& statusLine)
{
    constexpr std::string_view NAME = "HTTP/";
    constexpr std::size_t VERSION_LENGTH = NAME.size() + 3;
    constexpr std::size_t CODE_LENGTH = 3;
    if (line.size() < VERSION_LENGTH || line.substr(0, NAME.size()) != NAME || !isDigit(line[NAME.size()]) ||
        line[NAME.size() + 1] != '.' || !isDigit(line[NAME.size() + 2]))
    {
        return "is not a status line";
    }
    if (line[NAME.size()] != '1')
    {
        return "is of a version other than HTTP/1";
    }
    statusLine.version = line[NAME.size() + 2] == '0' ? HTTP_1_0 : HTTP_1_1;
    line.remove_prefix(VERSION_LENGTH);
    const std::string_view rest = withoutOuterBlanks(line);
    if (rest.size() < CODE_LENGTH || rest.data() == line.data() || !isDigit(rest[0]) || !isDigit(rest[1]) ||
        !isDigit(rest[2]) || (rest.size() > CODE_LENGTH && rest[CODE_LENGTH] != ' ' && rest[CODE_LENGTH] != '\t') ||
        rest[0] == '0')
    {
        return "has no status code of three digits from 100 on";
    }
    statusLine.statusCode = static_cast<unsigned short>((rest[0] - '0') * 100 + (rest[1] - '0') * 10 + (rest[2] - '0'));
    const std::string_view reason = withoutOuterBlanks(rest.substr(CODE_LENGTH));
    statusLine.reasonPhrase = toString(reason);
    return nullptr;
}

void appendFields(Headers& fields, const HeadInPlace& head)
{
    std::vector<Header>& lines = HeaderStore::linesOf(fields, head.fieldCount());
    for (const HeadInPlace::Field& field : head)
    {
        lines.emplace_back(field.name, field.nameLength, field.value, field.valueLength);
    }
}

} // namespace

void HeadReceiver::nextFinal(ReceivedHead& head)
{
    next(head);
    while (head.isInterim())
    {
        head = ReceivedHead();
        next(head);
    }
}

void HeadReceiver::next(ReceivedHead& head)
{
    m_status = 0;
    if (!readInPlace(head))
    {
        readLines(head);
    }
    if (m_options.observer != nullptr)
    {
        m_options.observer->received(head.statusLine, head.fields);
    }
    if (head.isInterim() && ++m_interim > MOST_INTERIM)
    {
        throw ExchangeException(
            ExchangeUnit::SOURCE_UNIT, __LINE__, ExchangeException::E_HEAD, ExchangeException::E_LIMIT,
            blocxx::Format("The server sent more than %1 interim responses", MOST_INTERIM).c_str(), 0, m_status);
    }
}

/// Reads a head that arrives in one piece, with the result of readLines, which takes any head line by line and costs three
/// times as much. Nothing is taken unless all of it is in place.
bool HeadReceiver::readInPlace(ReceivedHead& head)
{
    if (!m_link.fill(HeadInPlace::FIRST_READ_SIZE))
    {
        throwEnded(); // the device must not be asked again
    }
    HeadInPlace inPlace;
    const std::size_t most = m_lines.bytesLeft();
    if (!inPlace.scan(m_link.held().substr(0, most)) &&
        !(HeadInPlace::needsMore(m_link.held()) && m_link.fillMore() && inPlace.scan(m_link.held().substr(0, most))))
    {
        return false;
    }
    m_status = inPlace.status();
    head.statusLine.version = inPlace.version();
    head.statusLine.statusCode = inPlace.status();
    head.statusLine.reasonPhrase = toString(inPlace.reason());
    if (m_link.servedBefore())
    {
        head.fields = m_link.recent().response.fieldsOf(inPlace);
    }
    else
    {
        appendFields(head.fields, inPlace);
    }
    m_lines.skip(inPlace.length(), inPlace.fieldCount() + 2);
    m_link.consume(inPlace.length());
    return true;
}

void HeadReceiver::readLines(ReceivedHead& head)
{
    readStatusLine(head.statusLine);
    m_status = head.statusLine.statusCode;
    HeadFields fields;
    switch (fields.read(m_lines))
    {
    case HeadFields::E_COMPLETE:
        break;
    case HeadFields::E_END:
        throwEnded();
        break;
    case HeadFields::E_TOO_LARGE:
        throwTooLarge(fields.problem());
    case HeadFields::E_MALFORMED:
        throwMalformed(fields.problem());
    }
    head.fields = fields.fields();
}

void HeadReceiver::readStatusLine(StatusLine& statusLine)
{
    for (std::size_t emptyLines = 0; emptyLines <= MOST_EMPTY_LINES; ++emptyLines)
    {
        switch (m_lines.next())
        {
        case HeadLines::E_LINE:
            break;
        case HeadLines::E_END:
            throwEnded();
            break;
        case HeadLines::E_TOO_LONG:
            throwTooLarge(m_lines.problem());
        case HeadLines::E_REFUSED:
            throwMalformed(m_lines.problem());
        }
        if (!m_lines.line().empty())
        {
            const char* const problem = parseStatusLine(m_lines.line(), statusLine);
            if (problem != nullptr)
            {
                throwMalformed(blocxx::Format("line %1 %2: %3", m_lines.number(), problem, quoted(m_lines.line())));
            }
            return;
        }
    }
    throwMalformed(blocxx::Format("more than %1 empty lines in front of the status line", MOST_EMPTY_LINES));
}

void HeadReceiver::throwEnded()
{
    const LinkFailure failure = inputFailureOf(m_link, m_guard, m_options.headTimeout);
    const char* const where = !m_lines.anyRead() ? "before its first byte" : "in its head";
    ExchangeException exception(ExchangeUnit::SOURCE_UNIT, __LINE__, ExchangeException::E_HEAD, failure.cause,
                                blocxx::Format("The response ended %1: %2", where, failure.text).c_str(),
                                failure.systemError, m_status);
    if (m_link.servedBefore() && !m_lines.anyRead() && failure.endedConnection())
    {
        exception.setSafeToRepeat();
    }
    throw exception;
}

void HeadReceiver::throwTooLarge(const blocxx::String& problem) const
{
    throw ExchangeException(ExchangeUnit::SOURCE_UNIT, __LINE__, ExchangeException::E_HEAD, ExchangeException::E_LIMIT,
                            blocxx::Format("The head of the response is too large: %1", problem).c_str(), 0, m_status);
}

void HeadReceiver::throwMalformed(const blocxx::String& problem) const
{
    throw ExchangeException(ExchangeUnit::SOURCE_UNIT, __LINE__, ExchangeException::E_HEAD,
                            ExchangeException::E_MALFORMED,
                            blocxx::Format("The head of the response is malformed: %1", problem).c_str(), 0, m_status);
}

} // namespace ZOLNS2::HTTP
