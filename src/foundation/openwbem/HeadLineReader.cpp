#include "HeadLineReader.hpp"

#include "blocxx/internal/GetArea.hpp"
#include "openwbem/OW_HTTPUtils.hpp"

#include <cstring>

namespace OpenWBEM
{

namespace
{

using blocxx::Internal::GetArea;
using Traits = std::streambuf::traits_type;

constexpr std::string_view LINE_END = "\r\n";

bool contains(std::string_view text, char c)
{
    return std::memchr(text.data(), c, text.size()) != nullptr;
}

} // namespace

HeadLineReader::HeadLineReader(std::streambuf& input)
    : m_source(input), m_buffered(dynamic_cast<blocxx::BaseStreamBuffer*>(&input))
{
}

HeadLineReader::EResult HeadLineReader::next()
{
    if (takeFromGetArea())
    {
        return accept(E_LINE);
    }
    switch (gather())
    {
    case E_WHOLE_LINE:
        return accept(E_LINE);
    case E_INPUT_OVER:
        return endOfInput();
    case E_TOO_LONG:
        break;
    }
    return refuse(std::ios_base::failbit);
}

/// Takes the next line, if the buffer holds all of it.
bool HeadLineReader::takeFromGetArea()
{
    const std::string_view held = GetArea::of(m_source).substr(0, HTTPUtils::MAX_HEADER_LINE_LENGTH + LINE_END.size());
    const std::size_t length = held.find(LINE_END.back());
    if (length == std::string_view::npos)
    {
        return false;
    }
    m_line = held.substr(0, length);
    GetArea::consume(m_source, length + 1);
    return true;
}

/// Makes the buffer ask for more, and reads byte by byte what it then does not hold as a whole line.
HeadLineReader::EGathered HeadLineReader::gather()
{
    m_gathered.clear();
    m_line = std::string_view();
    if (Traits::eq_int_type(m_source.sgetc(), Traits::eof()))
    {
        return E_INPUT_OVER;
    }
    if (takeFromGetArea())
    {
        return E_WHOLE_LINE;
    }
    const EGathered gathered = gatherBytes();
    m_line = m_gathered;
    return gathered;
}

HeadLineReader::EGathered HeadLineReader::gatherBytes()
{
    for (Traits::int_type c = m_source.sbumpc(); c != LINE_END.back(); c = m_source.sbumpc())
    {
        if (Traits::eq_int_type(c, Traits::eof()))
        {
            return E_INPUT_OVER;
        }
        m_gathered += Traits::to_char_type(c);
        if (m_gathered.size() == HTTPUtils::MAX_HEADER_LINE_LENGTH + LINE_END.size())
        {
            return E_TOO_LONG;
        }
    }
    return E_WHOLE_LINE;
}

HeadLineReader::EResult HeadLineReader::accept(EResult result)
{
    m_total += m_line.size();
    if (result == E_LINE)
    {
        ++m_total;
        if (!m_line.empty() && m_line.back() == LINE_END.front())
        {
            m_line.remove_suffix(1);
        }
    }
    const bool isSound = m_line.size() <= HTTPUtils::MAX_HEADER_LINE_LENGTH && m_total <= HTTPUtils::MAX_HEAD_SIZE &&
                         !contains(m_line, '\r') && !contains(m_line, '\0');
    return isSound ? result : refuse(std::ios_base::failbit);
}

HeadLineReader::EResult HeadLineReader::endOfInput()
{
    constexpr std::ios_base::iostate ENDED = std::ios_base::eofbit | std::ios_base::failbit;
    if (m_buffered != nullptr && m_buffered->inputState() == blocxx::BaseStreamBuffer::E_INPUT_FAILED)
    {
        return refuse(ENDED | std::ios_base::badbit);
    }
    m_state |= ENDED;
    return m_line.empty() ? E_END : accept(E_LAST_LINE);
}

HeadLineReader::EResult HeadLineReader::refuse(std::ios_base::iostate state)
{
    m_state |= state;
    return E_REFUSED;
}

} // namespace OpenWBEM
