#pragma once

#include "blocxx/Array.hpp"
#include "blocxx/COWReference.hpp"
#include "blocxx/String.hpp"
#include "zol/Export.hpp"

#include <cstddef>
#include <initializer_list>
#include <iosfwd>
#include <utility>
#include <vector>

namespace ZOLNS2::HTTP
{

/// One header line, name and value exactly as given: nothing is trimmed, folded or checked.
class Header
{
public:
    Header() = default;
    /// A line of this name and value.
    Header(blocxx::String headerName, blocxx::String headerValue)
        : name(std::move(headerName)), value(std::move(headerValue))
    {
    }

    /// For texts that are no strings yet: each is copied once.
    Header(const char* headerName, std::size_t nameLength, const char* headerValue, std::size_t valueLength)
        : name(headerName, nameLength), value(headerValue, valueLength)
    {
    }

    /// As given.
    blocxx::String name;
    /// As given.
    blocxx::String value;
};

/// The header lines of a message in the order they were added. Duplicates are kept, nothing is ever removed.
///
/// Copies share one collection until one of them is added to. Threads: distinct copies are independent of each other;
/// one object is changed by one thread at a time.
///
/// @code
/// HTTP::Headers headers{{"Accept", "text/plain"}};
/// headers.addHeader("Accept-Language", "en");
/// const blocxx::String accepted = headers.getHeaderValue("accept");
/// @endcode
class ZOL_API Headers
{
public:
    /// Of the lines; random access.
    using const_iterator = std::vector<Header>::const_iterator;

    Headers();
    /// The lines in their order: `Headers{{"Accept", "text/plain"}, {"User-Agent", "example/1.0"}}`.
    Headers(std::initializer_list<Header> lines);
    // Copies only: a moved-from collection stays usable, and a copy costs no more than a count.
    Headers(const Headers&) = default;
    Headers& operator=(const Headers&) = default;
    ~Headers() = default;

    /// Iterators over the lines in order, valid until this object is added to or assigned.
    const_iterator begin() const { return m_headers->begin(); }
    /// Behind the last line; as begin().
    const_iterator end() const { return m_headers->end(); }

    /// The value of the first header of that name, compared without regard to ASCII case (RFC 9110, section 5.1); empty
    /// if there is none. An absent header and an empty value look alike.
    blocxx::String getHeaderValue(const blocxx::String& name) const;

    /// Whether there is a header of that name, also one with an empty value; compared in the same way.
    bool has(const blocxx::String& name) const;

    /// The values of all headers of that name, in their order; compared in the same way.
    blocxx::Array<blocxx::String> getAll(const blocxx::String& name) const;

    /// Appends a line, also when the name is there already. The arguments may belong to this collection.
    void addHeader(const blocxx::String& name, const blocxx::String& value);

private:
    friend class HeaderStore;

    blocxx::COWReference<std::vector<Header>> m_headers;
};

/// Writes "name: value", without line end.
ZOL_API std::ostream& operator<<(std::ostream& out, const Header& header);

/// Writes every line with its CR LF (RFC 9112, section 5), but not the blank line that ends a head.
ZOL_API std::ostream& operator<<(std::ostream& out, const Headers& headers);

} // namespace ZOLNS2::HTTP
