#pragma once

#include "exchange/HeadLines.hpp"
#include "exchange/Text.hpp"

#include "blocxx/String.hpp"
#include "zol/http/Headers.hpp"

#include <cstddef>
#include <string_view>

namespace ZOLNS2::HTTP
{

/// Reads the header fields of a message or of a part, as they stand: in their order and case, repeated ones apart.
///
///     field-line = field-name ":" OWS field-value OWS      RFC 9112 section 5
///     obs-fold   = OWS CRLF RWS                            RFC 9112 section 5.2
///
/// White space between a name and its colon is removed. A folded value is joined with one blank.
class HeadFields
{
public:
    enum EResult
    {
        E_COMPLETE,  ///< up to the empty line
        E_END,       ///< the input ended before it
        E_TOO_LARGE, ///< problem() names the limit
        E_MALFORMED  ///< problem() names the line
    };

    static constexpr std::size_t MAX_LINES = 1000;

    /// Reads up to and including the empty line. Where the input ends before it, a last line without an end is taken as a
    /// whole one; if it is malformed as that, problem() says so.
    EResult read(HeadLines& lines);

    /// What was read, up to the line that was refused.
    const Headers& fields() const { return m_fields; }
    const blocxx::String& problem() const { return m_problem; }

private:
    EResult add(const HeadLines& lines);
    EResult addField(const HeadLines& lines);
    EResult refuse(const HeadLines& lines, const char* problem);
    void flush();

    Headers m_fields;
    Header m_last; // may still be continued
    bool m_anyLast = false;
    std::size_t m_count = 0;
    blocxx::String m_problem;
};

/// Calls `use(std::string_view)` with each element of a comma-separated list (RFC 9110, section 5.6.1), trimmed; empty ones
/// are left out.
template <class Use>
void forEachElement(std::string_view list, const Use& use)
{
    while (!list.empty())
    {
        const std::size_t comma = list.find(',');
        const std::string_view element = withoutOuterBlanks(list.substr(0, comma));
        list = comma == std::string_view::npos ? std::string_view() : list.substr(comma + 1);
        if (!element.empty())
        {
            use(element);
        }
    }
}

/// The same with the lists that all fields of a name hold.
template <class Use>
void forEachElement(const Headers& fields, std::string_view name, const Use& use)
{
    for (const Header& field : fields)
    {
        if (isName(field.name, name))
        {
            forEachElement(viewOf(field.value), use);
        }
    }
}

/// Whether there is a field of that name, an empty one too.
bool holdsField(const Headers& fields, std::string_view name);

/// Whether one of the elements of the fields of a name is this token.
bool holdsToken(const Headers& fields, std::string_view name, std::string_view token);

} // namespace ZOLNS2::HTTP
