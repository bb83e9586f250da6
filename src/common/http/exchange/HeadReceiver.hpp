#pragma once

#include "exchange/ExchangeLink.hpp"
#include "exchange/HeadLines.hpp"

#include "zol/http/ExchangeOptions.hpp"
#include "zol/http/Headers.hpp"
#include "zol/http/StatusLine.hpp"

#include <cstddef>

namespace ZOLNS2::HTTP
{

struct ReceivedHead
{
    StatusLine statusLine;
    Headers fields;

    /// RFC 9110, section 15.2; after 101 the connection speaks another protocol.
    bool isInterim() const { return statusLine.statusCode / 100 == 1 && statusLine.statusCode != 101; }
};

/// Receives the heads that follow one request: interim ones, and the final one. One limit of bytes holds for all.
class HeadReceiver
{
public:
    static constexpr unsigned MOST_INTERIM = 16;
    static constexpr std::size_t MOST_EMPTY_LINES = 16; // in front of a status line

    HeadReceiver(ExchangeLink& link, const ExchangeGuard& guard, const ExchangeOptions& options)
        : m_link(link), m_guard(guard), m_options(options), m_lines(link.input(), options.headLimit)
    {
    }

    /// The next head, into a new one.
    /// @throws ExchangeException
    void next(ReceivedHead& head);

    /// The next final head, into a new one.
    /// @throws ExchangeException
    void nextFinal(ReceivedHead& head);

    /// Whether a byte of a response has been received.
    bool anyRead() const { return m_lines.anyRead(); }

    /// What the head limit leaves for a trailer.
    std::size_t bytesLeft() const { return m_lines.bytesLeft(); }

private:
    bool readInPlace(ReceivedHead& head);
    void readLines(ReceivedHead& head);
    void readStatusLine(StatusLine& statusLine);
    void throwEnded();
    [[noreturn]] void throwTooLarge(const blocxx::String& problem) const;
    [[noreturn]] void throwMalformed(const blocxx::String& problem) const;

    ExchangeLink& m_link;
    const ExchangeGuard& m_guard;
    const ExchangeOptions& m_options;
    HeadLines m_lines;
    unsigned m_interim = 0;
    int m_status = 0;
};

} // namespace ZOLNS2::HTTP
