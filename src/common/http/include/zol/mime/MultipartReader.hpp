#pragma once

#include "blocxx/String.hpp"
#include "zol/Export.hpp"
#include "zol/http/Headers.hpp"
#include "zol/mime/Content.hpp"
#include "zol/mime/ContentTypeHeader.hpp"

#include <cstddef>
#include <cstdint>
#include <iosfwd>
#include <limits>
#include <memory>
#include <optional>

namespace ZOLNS2::MIME
{

class MultipartScanner;

/// One part of a multipart body, to be read before the next one is asked for.
class ZOL_API MultipartPart
{
public:
    /// Made by MultipartReader::next(). @param content not null
    MultipartPart(const HTTP::Headers& headers, const ContentTypeHeader& contentType, const ContentRef& content);
    MultipartPart(const MultipartPart&);
    MultipartPart& operator=(const MultipartPart&);
    ~MultipartPart();

    /// The part's header fields as they stand in the body.
    const HTTP::Headers& getHeaders() const { return m_headers; }

    /// The type of the part, the names of its parameters in lower case; text/plain where it names none (RFC 2046, section
    /// 5.1).
    const ContentTypeHeader& getContentType() const { return m_contentType; }

    /// The bytes of the part, to be read once; a Content-Transfer-Encoding is not undone. It keeps alive what it is read
    /// from. Once the reader has been asked for the next part, reading it throws a ContentException.
    ///
    /// It may be multipart itself: another MultipartReader reads it.
    const ContentRef& getContent() const { return m_content; }

    /// Writes the whole part to `out` as it arrives. Stops where `out` fails, which its state says.
    /// @throws HTTP::ExchangeException  phase E_BODY: the body ended in the part; what arrived has been written
    /// @throws ContentException  the reading of the part has been begun already
    void writeTo(std::ostream& out) const;

private:
    HTTP::Headers m_headers;
    ContentTypeHeader m_contentType;
    ContentRef m_content;
};

/// Reads a multipart body of any subtype (RFC 2046, section 5.1) part after part as it arrives, without storing the parts.
///
/// @code
/// MIME::MultipartReader reader(response.getContent());
/// while (const std::optional<MIME::MultipartPart> part = reader.next())
/// {
///     std::cout << part->getHeaders().getHeaderValue("Content-Disposition") << '\n';
///     part->writeTo(std::cout);
/// }
/// @endcode
///
/// A delimiter is a line of its own: "--", the boundary, and blanks or tabs. What stands in front of the first one and behind
/// the closing one is passed over; an end that is bad behind the closing one does not make the parts less whole, so that
/// only ExchangeResponse::bodyEnd() tells it. The memory that a reader needs does not depend on the body: about 70 KiB, and the
/// header fields of one part.
///
/// Threads: one at a time, its parts included. Copies share the position.
class ZOL_API MultipartReader
{
public:
    /// What a reader takes; more is an exception with the cause E_LIMIT.
    struct Limits
    {
        /// As `bytes`: any number of them.
        static constexpr std::uint64_t NO_LIMIT = std::numeric_limits<std::uint64_t>::max();

        std::size_t parts = 1000;                           ///< the most parts
        std::size_t partHeadBytes = std::size_t{64} * 1024; ///< the most bytes of the header fields of one part
        std::uint64_t bytes = NO_LIMIT;                     ///< the most bytes of the whole body
    };

    /// Reads a content, with the boundary that its type names.
    /// @throws HTTP::ExchangeException  phase E_BODY, cause E_MALFORMED: its type is not multipart, or names no boundary
    /// @throws what the content throws when it is asked for a reading
    explicit MultipartReader(const ContentRef& body);
    /// The same with limits of its own. @throws as the one above
    MultipartReader(const ContentRef& body, const Limits& limits);

    /// Reads a content or a stream with this boundary. The stream outlives the reader and its parts.
    /// @throws HTTP::ExchangeException  phase E_BODY, cause E_MALFORMED: the boundary is empty
    MultipartReader(const ContentRef& body, const blocxx::String& boundary, const Limits& limits);
    /// The same of a stream. @throws as the one above
    MultipartReader(std::istream& body, const blocxx::String& boundary, const Limits& limits);

    MultipartReader(const MultipartReader&);
    MultipartReader& operator=(const MultipartReader&);
    ~MultipartReader();

    /// The next part; what was not read of the one before is passed over. None behind the closing delimiter, and what
    /// follows that has been read and dropped then.
    /// @throws HTTP::ExchangeException  phase E_BODY: the body ended before its closing delimiter (E_CUT, or what an
    ///                                  exchange says of its body), a limit (E_LIMIT), malformed header fields
    ///                                  (E_MALFORMED). A further call passes over a part with malformed or too many
    ///                                  header fields, and throws the others again.
    /// @throws what the content throws
    std::optional<MultipartPart> next();

private:
    std::shared_ptr<MultipartScanner> m_scanner;
};

} // namespace ZOLNS2::MIME
