#pragma once

#include "zol/http/Headers.hpp"

#include <cstddef>
#include <cstring>
#include <vector>

namespace ZOLNS2::HTTP
{

/// The lines of a collection, for what makes many at once: they are built in place then and not copied.
class HeaderStore
{
public:
    /// With room for `count` more. Belongs to `headers` alone; valid until that is copied.
    static std::vector<Header>& linesOf(Headers& headers, std::size_t count)
    {
        if (headers.begin() == headers.end())
        {
            headers.m_headers = blocxx::COWReference<std::vector<Header>>::make();
        }
        std::vector<Header>& lines = *headers.m_headers;
        lines.reserve(lines.size() + count);
        return lines;
    }

    /// Whether both are copies of one collection that nothing has been added to since.
    static bool areShared(const Headers& left, const Headers& right) { return left.m_headers == right.m_headers; }

    /// As Headers::getHeaderValue, without a copy. @return null if there is no such header; valid as an iterator is
    template <std::size_t N>
    static const blocxx::String* find(const Headers& headers, const char (&name)[N])
    {
        for (const Header& header : headers)
        {
            // Most names that are looked for are in this case.
            if (header.name.length() == N - 1 &&
                (std::memcmp(header.name.c_str(), name, N - 1) == 0 || header.name.equalsIgnoreCase(name)))
            {
                return &header.value;
            }
        }
        return nullptr;
    }
};

} // namespace ZOLNS2::HTTP
