#include "exchange/MultipartScanner.hpp"

#include "exchange/ExchangeUnit.hpp"

#include <algorithm>
#include <cstring>
#include <utility>

namespace ZOLNS2::MIME
{

namespace
{

using HTTP::ExchangeException;
using HTTP::ExchangeUnit::SOURCE_UNIT;

// A line end in front of a delimiter belongs to it, so that much is held back with it.
constexpr std::size_t LONGEST_LINE_END = 2;

// A shorter read goes through the window, so that many short ones share a read of the source.
constexpr std::size_t LARGE_READ_SIZE = 8192;

// The most white space in the line of a delimiter, in bytes; with more the line belongs to the part.
constexpr std::size_t MAX_PADDING = 1000;

bool isBlank(char c)
{
    return c == ' ' || c == '\t';
}

} // namespace

MultipartScanner::MultipartScanner(std::unique_ptr<MultipartSource> source, const blocxx::String& boundary,
                                   const MultipartReader::Limits& limits)
    : m_source(std::move(source)), m_delimiter("--" + std::string(boundary.c_str(), boundary.length())),
      m_search(m_delimiter.data(), m_delimiter.size()), m_limits(limits),
      m_windowSize(WINDOW_SIZE + 2 * m_delimiter.size()), m_window(new char[m_windowSize])
{
    setg(m_window.get(), m_window.get(), m_window.get());
}

MultipartScanner::~MultipartScanner() = default;

bool MultipartScanner::enterNext()
{
    if (m_over)
    {
        dropRest();
        return false;
    }
    while (advance())
    {
        setg(eback(), egptr(), egptr());
    }
    if (!m_atDelimiter)
    {
        throwCut();
    }
    setg(m_window.get(), m_window.get() + m_behindDelimiter, m_window.get() + m_behindDelimiter);
    if (m_isClosing)
    {
        m_over = true;
        dropRest();
        return false;
    }
    if (m_section == m_limits.parts)
    {
        throw ExchangeException(
            SOURCE_UNIT, __LINE__, ExchangeException::E_BODY, ExchangeException::E_LIMIT,
            blocxx::Format("The multipart body has more than %1 parts (MultipartReader::Limits::parts)", m_limits.parts)
                .c_str());
    }
    ++m_section;
    m_atDelimiter = false;
    m_searched = m_behindDelimiter;
    m_sectionStart = m_behindDelimiter;
    m_sectionStartIsInWindow = true;
    return true;
}

void MultipartScanner::dropRest()
{
    while (!m_sourceEnded)
    {
        setg(m_window.get(), m_window.get() + m_filled, m_window.get() + m_filled);
        m_searched = m_filled;
        fill();
    }
}

void MultipartScanner::throwCut() const
{
    blocxx::String text;
    const ExchangeException::ECause cause = m_source->cause(text);
    const blocxx::String message = "The multipart body ended before its closing delimiter";
    throw ExchangeException(SOURCE_UNIT, __LINE__, ExchangeException::E_BODY, cause,
                            (text.empty() ? message : blocxx::String(blocxx::Format("%1: %2", message, text))).c_str());
}

MultipartScanner::int_type MultipartScanner::underflow()
{
    return advance() ? traits_type::to_int_type(*gptr()) : traits_type::eof();
}

/// Makes at least one byte of the section available. @return false at its end
bool MultipartScanner::advance()
{
    while (!exposeHeld())
    {
        if (sectionEnded())
        {
            return false;
        }
        fill();
    }
    return true;
}

/// Makes available what has been read and can only belong to the section. @return whether there is any
bool MultipartScanner::exposeHeld()
{
    while (gptr() == egptr())
    {
        if (m_atDelimiter || m_over)
        {
            return false;
        }
        if (scan())
        {
            continue;
        }
        if (m_sourceEnded)
        {
            expose(m_filled);
            m_searched = m_filled;
        }
        return gptr() != egptr();
    }
    return true;
}

std::size_t MultipartScanner::read(char* to, std::size_t room)
{
    while (!exposeHeld())
    {
        if (sectionEnded())
        {
            return 0;
        }
        if (room < LARGE_READ_SIZE || held() > room / 2)
        {
            fill();
        }
        else if (const std::size_t count = readDirect(to, room))
        {
            return count;
        }
    }
    const std::size_t count = std::min(static_cast<std::size_t>(egptr() - gptr()), room);
    std::memcpy(to, gptr(), count);
    setg(eback(), gptr() + count, egptr());
    return count;
}

/// Reads past the window, which takes back what may belong to a delimiter. For the body of a part, which cannot begin with
/// a delimiter. @return 0 if that is all
std::size_t MultipartScanner::readDirect(char* to, std::size_t room)
{
    const std::size_t before = held();
    std::memcpy(to, gptr(), before);
    const std::size_t size = before + readSource(to + before, std::min(room, WINDOW_SIZE) - before);
    const std::size_t found = m_search.find(to, size);
    std::size_t end = found == m_search.npos ? size - std::min(size, m_delimiter.size() - 1) : found;
    end -= std::min(end, LONGEST_LINE_END);
    // The byte in front of what is searched next tells whether a line begins there.
    m_window[0] = end > 0 ? to[end - 1] : *(gptr() - 1);
    std::memcpy(m_window.get() + 1, to + end, size - end);
    setg(m_window.get(), m_window.get() + 1, m_window.get() + 1);
    m_filled = 1 + size - end;
    m_searched = 1;
    m_sectionStartIsInWindow = false;
    return end;
}

/// Looks for a delimiter in what has been read. @return whether that changed what is available, or found one
bool MultipartScanner::scan()
{
    for (;;)
    {
        const std::size_t found = m_search.find(m_window.get() + m_searched, m_filled - m_searched);
        if (found == m_search.npos)
        {
            break;
        }
        const std::size_t at = m_searched + found;
        std::size_t behind = 0;
        const ELine line = isLineStart(at) ? classify(at, behind) : E_ORDINARY;
        if (line == E_ORDINARY)
        {
            m_searched = at + 1;
            continue;
        }
        m_searched = at;
        const std::size_t before = position();
        expose(dataEnd(at));
        if (line == E_NOT_WHOLE)
        {
            return egptr() != m_window.get() + before;
        }
        m_atDelimiter = true;
        m_isClosing = line == E_CLOSING;
        m_behindDelimiter = behind;
        return true;
    }
    // The last bytes may be the first of a delimiter, with its line end.
    const std::size_t heldBack = std::min(m_filled - m_searched, m_delimiter.size() - 1);
    m_searched = m_filled - heldBack;
    const std::size_t before = position();
    expose(std::max(before, m_searched - std::min(m_searched, LONGEST_LINE_END)));
    return egptr() != m_window.get() + before;
}

/// What the line is that has "--" and the boundary at `at`. @param behind is set to what follows a delimiter
MultipartScanner::ELine MultipartScanner::classify(std::size_t at, std::size_t& behind) const
{
    const char* next = m_window.get() + at + m_delimiter.size();
    const char* const end = m_window.get() + m_filled;
    const bool closing = end - next >= 2 && next[0] == '-' && next[1] == '-';
    next = std::find_if_not(next + (closing ? 2 : 0), end, isBlank);
    if (next == end || (*next == '\r' && next + 1 == end) || (*next == '-' && next + 1 == end))
    {
        if (!m_sourceEnded)
        {
            return m_filled - at < m_delimiter.size() + MAX_PADDING ? E_NOT_WHOLE : E_ORDINARY;
        }
        behind = m_filled;
        // Without an epilogue no line end need follow the closing delimiter.
        return closing ? E_CLOSING : E_ORDINARY;
    }
    const bool hasReturn = *next == '\r';
    if (next[hasReturn ? 1 : 0] != '\n')
    {
        return E_ORDINARY;
    }
    behind = static_cast<std::size_t>(next - m_window.get()) + (hasReturn ? 2 : 1);
    return closing ? E_CLOSING : E_DELIMITER;
}

bool MultipartScanner::isLineStart(std::size_t at) const
{
    return (m_sectionStartIsInWindow && at == m_sectionStart) || (at > 0 && m_window[at - 1] == '\n');
}

/// Where the bytes of the section end whose delimiter is at `at`.
std::size_t MultipartScanner::dataEnd(std::size_t at) const
{
    std::size_t end = at;
    if (end > position() && m_window[end - 1] == '\n')
    {
        --end;
        if (end > position() && m_window[end - 1] == '\r')
        {
            --end;
        }
    }
    return end;
}

void MultipartScanner::expose(std::size_t end)
{
    setg(m_window.get(), gptr(), m_window.get() + end);
}

/// Reads on behind what is held, which moves to the front of the window.
void MultipartScanner::fill()
{
    // One byte of what was taken stays, as the search looks at the byte in front of a line.
    const std::size_t taken = std::min(position(), m_searched);
    const std::size_t dropped = taken > 0 ? taken - 1 : 0;
    if (dropped > 0)
    {
        std::memmove(m_window.get(), m_window.get() + dropped, m_filled - dropped);
        m_filled -= dropped;
        m_searched -= dropped;
        m_sectionStartIsInWindow = m_sectionStartIsInWindow && m_sectionStart >= dropped;
        m_sectionStart -= dropped;
        char* const at = gptr() - dropped;
        setg(m_window.get(), at, at);
    }
    m_filled += readSource(m_window.get() + m_filled, m_windowSize - m_filled);
}

std::size_t MultipartScanner::readSource(char* to, std::size_t room)
{
    const std::size_t count = m_source->read(to, room);
    m_sourceEnded = count == 0;
    m_total += count;
    if (m_total > m_limits.bytes)
    {
        throw ExchangeException(SOURCE_UNIT, __LINE__, ExchangeException::E_BODY, ExchangeException::E_LIMIT,
                                blocxx::Format("The multipart body is larger than %1 bytes", m_limits.bytes).c_str());
    }
    return count;
}

} // namespace ZOLNS2::MIME
