#include "exchange/HeadFields.hpp"

#include "blocxx/Format.hpp"

#include <algorithm>

namespace ZOLNS2::HTTP
{

namespace
{

bool isBlank(char c)
{
    return c == ' ' || c == '\t';
}

} // namespace

bool holdsField(const Headers& fields, std::string_view name)
{
    return std::any_of(fields.begin(), fields.end(), [name](const Header& field) { return isName(field.name, name); });
}

bool holdsToken(const Headers& fields, std::string_view name, std::string_view token)
{
    bool found = false;
    forEachElement(fields, name,
                   [&](std::string_view element) { found = found || equalsIgnoringCase(element, token); });
    return found;
}

HeadFields::EResult HeadFields::read(HeadLines& lines)
{
    for (;;)
    {
        const HeadLines::EResult result = lines.next();
        if (result == HeadLines::E_TOO_LONG || result == HeadLines::E_REFUSED)
        {
            m_problem = lines.problem();
            return result == HeadLines::E_TOO_LONG ? E_TOO_LARGE : E_MALFORMED;
        }
        const EResult added = lines.line().empty() ? E_COMPLETE : add(lines);
        if (added != E_COMPLETE || result == HeadLines::E_END || lines.line().empty())
        {
            flush();
            return result == HeadLines::E_END ? E_END : added;
        }
    }
}

HeadFields::EResult HeadFields::add(const HeadLines& lines)
{
    if (++m_count > MAX_LINES)
    {
        m_problem = blocxx::Format("more than %1 lines", MAX_LINES);
        return E_TOO_LARGE;
    }
    if (!isBlank(lines.line().front()))
    {
        return addField(lines);
    }
    const std::string_view more = withoutOuterBlanks(lines.line());
    if (more.empty())
    {
        return refuse(lines, "holds nothing but white space");
    }
    if (!m_anyLast)
    {
        return refuse(lines, "continues a line that is not there");
    }
    m_last.value += m_last.value.empty() ? "" : " ";
    m_last.value += toString(more);
    return E_COMPLETE;
}

HeadFields::EResult HeadFields::addField(const HeadLines& lines)
{
    const std::string_view line = lines.line();
    const std::size_t colon = line.find(':');
    if (colon == std::string_view::npos)
    {
        return refuse(lines, "has no colon");
    }
    const std::string_view name = withoutOuterBlanks(line.substr(0, colon));
    if (name.empty())
    {
        return refuse(lines, "has no name");
    }
    flush();
    m_last = Header(toString(name), toString(withoutOuterBlanks(line.substr(colon + 1))));
    m_anyLast = true;
    return E_COMPLETE;
}

HeadFields::EResult HeadFields::refuse(const HeadLines& lines, const char* problem)
{
    m_problem = blocxx::Format("line %1 %2: %3", lines.number(), problem, quoted(lines.line()));
    return E_MALFORMED;
}

void HeadFields::flush()
{
    if (m_anyLast)
    {
        m_fields.addHeader(m_last.name, m_last.value);
        m_anyLast = false;
    }
}

} // namespace ZOLNS2::HTTP
