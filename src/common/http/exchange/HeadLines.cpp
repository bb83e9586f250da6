#include "exchange/HeadLines.hpp"

#include "exchange/Text.hpp"

#include "blocxx/Format.hpp"
#include "blocxx/internal/GetArea.hpp"

#include <algorithm>

namespace ZOLNS2::HTTP
{

namespace
{

using blocxx::Internal::GetArea;
using Traits = std::streambuf::traits_type;

constexpr std::size_t LONGEST_LINE_END = 2;

} // namespace

HeadLines::EResult HeadLines::next()
{
    ++m_number;
    m_gathered.clear();
    m_line = std::string_view();
    for (;;)
    {
        const std::string_view held = GetArea::of(m_input);
        const std::size_t end = held.find('\n');
        if (m_gathered.empty() && end != std::string_view::npos)
        {
            m_line = held.substr(0, end);
            GetArea::consume(m_input, end + 1);
            return accept(end + 1);
        }
        const std::size_t count = end == std::string_view::npos ? held.size() : end + 1;
        if (m_gathered.size() + count > std::min(m_left, MAX_LINE_LENGTH + LONGEST_LINE_END))
        {
            return accept(m_gathered.size() + count);
        }
        m_gathered += held.substr(0, count);
        GetArea::consume(m_input, count);
        m_line = m_gathered;
        if (end != std::string_view::npos)
        {
            m_line.remove_suffix(1);
            return accept(m_gathered.size());
        }
        if (Traits::eq_int_type(m_input.sgetc(), Traits::eof()))
        {
            return endOfInput();
        }
    }
}

HeadLines::EResult HeadLines::accept(std::size_t lengthWithEnd)
{
    if (lengthWithEnd > m_left)
    {
        return fail(E_TOO_LONG, blocxx::Format("larger than %1 bytes", m_limit));
    }
    m_left -= lengthWithEnd;
    if (lengthWithEnd > MAX_LINE_LENGTH + LONGEST_LINE_END)
    {
        return tooLong();
    }
    return check(E_LINE);
}

HeadLines::EResult HeadLines::endOfInput()
{
    m_left -= std::min(m_left, m_gathered.size());
    return check(E_END);
}

/// Takes the CR of the line's end off, and looks for what no line may hold.
HeadLines::EResult HeadLines::check(EResult result)
{
    if (!m_line.empty() && m_line.back() == '\r')
    {
        m_line.remove_suffix(1);
    }
    if (m_line.size() > MAX_LINE_LENGTH)
    {
        return tooLong();
    }
    if (m_line.find('\r') != std::string_view::npos)
    {
        return fail(E_REFUSED, blocxx::Format("line %1 holds a CR: %2", m_number, quoted(m_line)));
    }
    if (m_line.find('\0') != std::string_view::npos)
    {
        return fail(E_REFUSED, blocxx::Format("line %1 holds a NUL: %2", m_number, quoted(m_line)));
    }
    return result;
}

HeadLines::EResult HeadLines::tooLong()
{
    return fail(E_TOO_LONG, blocxx::Format("line %1 is longer than %2 bytes", m_number, MAX_LINE_LENGTH));
}

HeadLines::EResult HeadLines::fail(EResult result, const blocxx::String& problem)
{
    m_problem = problem;
    return result;
}

} // namespace ZOLNS2::HTTP
