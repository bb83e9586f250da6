#include "exchange/RequestSender.hpp"

#include "exchange/BodyFraming.hpp"
#include "exchange/ExchangeUnit.hpp"
#include "exchange/LinkFailure.hpp"
#include "exchange/Text.hpp"
#include "message/WireText.hpp"

#include "zol/http/ExchangeObserver.hpp"

#include <cerrno>
#include <cstring>
#include <memory>
#include <utility>

namespace ZOLNS2::HTTP
{

namespace
{

constexpr size_t BLOCK_SIZE = 65536;
constexpr size_t USUAL_HEAD_SIZE = 1024;

/// The bytes that the request announces; NO_LIMIT if it announces none.
std::uint64_t announcedLength(const Request& request)
{
    const blocxx::String text = request.getHeaders().getHeaderValue("Content-Length");
    std::uint64_t length = 0;
    return parseLength(withoutOuterBlanks(viewOf(text)), length) ? length : ExchangeOptions::NO_LIMIT;
}

[[noreturn]] void throwNotAnnounced(const char* difference, std::uint64_t announced)
{
    throw ExchangeException(
        ExchangeUnit::SOURCE_UNIT, __LINE__, ExchangeException::E_SEND, ExchangeException::E_MALFORMED,
        blocxx::Format("The content of the request has %1 bytes than the %2 announced", difference, announced).c_str());
}

/// The connection ended before the server said anything of the request.
[[noreturn]] void throwNotSent(const ExchangeException& reason)
{
    ExchangeException exception(ExchangeUnit::SOURCE_UNIT, __LINE__, ExchangeException::E_SEND, reason.cause(),
                                blocxx::Format("The request could not be sent whole: %1", reason.getMessage()).c_str(),
                                reason.systemError());
    if (reason.isSafeToRepeat())
    {
        exception.setSafeToRepeat();
    }
    throw exception;
}

} // namespace

void RequestSender::send(std::string_view head)
{
    if (m_options.observer != nullptr)
    {
        m_options.observer->sending(toString(head));
    }
    m_sentWhole = writeHead(head);
}

void RequestSender::send(const Request& request, std::string_view extraFields, RequestContent* content)
{
    const std::size_t size = wireSizeOfHead(request.getRequestLine(), request.getHeaders(), extraFields);
    char usual[USUAL_HEAD_SIZE];
    const std::unique_ptr<char[]> large(size > sizeof usual ? new char[size] : nullptr);
    char* const begin = large ? large.get() : usual;
    writeWireHead(begin, request.getRequestLine(), request.getHeaders(), extraFields);
    const std::string_view head(begin, size);
    if (content == nullptr)
    {
        send(head);
        return;
    }
    if (m_options.observer != nullptr)
    {
        m_options.observer->sending(toString(head));
    }
    if (!m_options.expectContinue)
    {
        sendContent(head, *content, request);
    }
    else if (writeHead(head) && awaitContinue())
    {
        sendContent(std::string_view(), *content, request);
    }
}

void RequestSender::requireSentWhole(const ReceivedHead& head) const
{
    if (!m_sentWhole && head.statusLine.statusCode / 100 == 2)
    {
        throw ExchangeException(ExchangeUnit::SOURCE_UNIT, __LINE__, ExchangeException::E_SEND,
                                ExchangeException::E_CUT,
                                "The request was not sent whole, and the server's response says nothing of it", 0,
                                head.statusLine.statusCode);
    }
}

/// The head and the first bytes of the content leave together.
void RequestSender::sendContent(std::string_view head, RequestContent& content, const Request& request)
{
    const std::unique_ptr<char[]> block(new char[BLOCK_SIZE]);
    if (head.size() > BLOCK_SIZE / 2)
    {
        if (!write(head))
        {
            return;
        }
        head = std::string_view();
    }
    const std::uint64_t announced = announcedLength(request);
    std::uint64_t sent = 0;
    for (size_t begin = head.size();; begin = 0)
    {
        if (begin > 0)
        {
            std::memcpy(block.get(), head.data(), begin);
        }
        const size_t count = content.read(block.get() + begin, BLOCK_SIZE - begin);
        sent += count;
        const bool isLast = begin + count < BLOCK_SIZE;
        if (sent > announced)
        {
            throwNotAnnounced("more", announced);
        }
        if (isLast && announced != ExchangeOptions::NO_LIMIT && sent < announced)
        {
            throwNotAnnounced("fewer", announced);
        }
        if (begin + count > 0 && !write({block.get(), begin + count}))
        {
            return;
        }
        if (isLast)
        {
            m_sentWhole = true;
            return;
        }
    }
}

/// A head is small, so nothing is looked out for. @return false if it could not be sent, and a response explains that
bool RequestSender::writeHead(std::string_view head)
{
    if (m_link.socket().write(head.data(), static_cast<int>(head.size())) < 0)
    {
        receiveAfterFailure(errno);
        return false;
    }
    return true;
}

/// @return false if a final response ended the sending
bool RequestSender::write(std::string_view bytes)
{
    while (!bytes.empty())
    {
        if (!m_link.held().empty() && !receive())
        {
            return false;
        }
        const int gone = m_link.socket().writeUnlessInput(bytes.data(), static_cast<int>(bytes.size()));
        if (gone < 0)
        {
            receiveAfterFailure(errno);
            return false;
        }
        bytes.remove_prefix(static_cast<size_t>(gone));
        if (!bytes.empty() && !receive())
        {
            return false;
        }
    }
    return true;
}

/// Takes what the server says while the request is being sent. @return whether the sending continues
bool RequestSender::receive()
{
    ReceivedHead head;
    receiveHead(head);
    if (head.isInterim())
    {
        return true;
    }
    m_early = std::move(head);
    return false;
}

/// The head's time runs while the request is not being sent.
void RequestSender::receiveHead(ReceivedHead& head)
{
    m_link.setDeadline(m_guard.within(m_options.headTimeout));
    try
    {
        m_receiver.next(head);
        m_link.setDeadline(m_guard.deadline());
    }
    catch (const ExchangeException& exception)
    {
        if (m_receiver.anyRead())
        {
            throw;
        }
        throwNotSent(exception);
    }
}

/// A server that refuses a request may close the connection behind its response, which fails the sending.
void RequestSender::receiveAfterFailure(int error)
{
    const LinkFailure failure = outputFailureOf(m_link, m_guard, error);
    if (failure.endedConnection())
    {
        m_link.setDeadline(m_guard.within(m_options.headTimeout));
        try
        {
            ReceivedHead head;
            m_receiver.nextFinal(head);
            m_early = std::move(head);
            return;
        }
        catch (const ExchangeException&) // NOLINT(bugprone-empty-catch)
        {
            // The failure of the sending is the one to tell.
        }
    }
    ExchangeException exception(ExchangeUnit::SOURCE_UNIT, __LINE__, ExchangeException::E_SEND, failure.cause,
                                blocxx::Format("The request could not be sent: %1", failure.text).c_str(),
                                failure.systemError);
    if (failure.endedConnection() && m_link.servedBefore() && !m_receiver.anyRead())
    {
        exception.setSafeToRepeat();
    }
    throw exception;
}

/// RFC 9110, section 10.1.1: a server that says nothing gets the content all the same.
bool RequestSender::awaitContinue()
{
    const TimeLimit limit(m_options.continueTimeout);
    if (!m_link.held().empty() || m_link.socket().hasInput(limit.remaining()))
    {
        return receive();
    }
    if (m_guard.hasEnded())
    {
        const ExchangeException::ECause cause = m_guard.causeOf(0, blocxx::String());
        throw ExchangeException(
            ExchangeUnit::SOURCE_UNIT, __LINE__, ExchangeException::E_SEND, cause,
            blocxx::Format("The content of the request was not sent: %1", m_guard.describe(cause)).c_str());
    }
    return true;
}

} // namespace ZOLNS2::HTTP
