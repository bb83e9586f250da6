#pragma once

#include "message/InlineArray.hpp"

#include "zol/http/Version.hpp"

#include <cstddef>
#include <string_view>

namespace ZOLNS2::HTTP
{

/// The head of a response that lies whole in a buffer, split up in one pass and without a copy. Nearly every head is like
/// that; reading it line by line, as the readers do that take any head, costs three times as much. Those stay for all that
/// is not of this form (RFC 9112, sections 4 and 5), which no reader takes for anything else:
///
///     head        = status-line EOL *( field-line EOL ) EOL
///     status-line = "HTTP/1." ( "0" / "1" ) SP %x31-39 2DIGIT [ SP word *( SP word ) ]
///     word        = 1*( %x21-7E / %x7F-FF )
///     field-line  = name ":" OWS [ value ] OWS
///     name        = 1*( %x21-39 / %x3B-7E )
///     value       = anything but C0, tabs allowed
///     EOL         = [ CR ] LF
class HeadInPlace
{
public:
    struct Field
    {
        const char* name;
        const char* value;
        unsigned nameLength;
        unsigned valueLength;

        std::string_view nameView() const { return {name, nameLength}; }
        std::string_view valueView() const { return {value, valueLength}; }
    };

    /// The most bytes and header lines of a head in place; no reader's limit is smaller.
    static constexpr std::size_t MAX_SIZE = std::size_t{64} * 1024;
    static constexpr std::size_t MAX_FIELDS = 1000;

    /// What is read for a head at first; nearly all have less. Filling a buffer of 64 KiB would copy so much of the body, whose
    /// bytes can go past it, and the pages of the buffer would stay in memory.
    static constexpr std::size_t FIRST_READ_SIZE = std::size_t{16} * 1024;

    enum EHead
    {
        E_RESPONSE,
        E_PART ///< the same without a status line (RFC 2046, section 5.1)
    };

    /// @return false if the bytes do not begin with a whole head of that form; the object is of no use until the next call
    bool scan(std::string_view bytes, EHead kind = E_RESPONSE);

    /// Whether more bytes may make a head of what is held, although the first read has brought all that was asked for. Where
    /// a head has ended in any form, its body must not be waited for.
    static bool needsMore(std::string_view held)
    {
        return held.size() >= FIRST_READ_SIZE && held.find("\n\r\n") == std::string_view::npos &&
               held.find("\n\n") == std::string_view::npos;
    }

    Version version() const { return m_version; }
    unsigned short status() const { return m_status; }
    std::string_view reason() const { return m_reason; }

    /// In their order, and as they stand; they point into the bytes.
    const Field* begin() const { return m_fields.begin(); }
    const Field* end() const { return m_fields.end(); }
    std::size_t fieldCount() const { return m_fields.size(); }

    /// The bytes of the head.
    std::size_t length() const { return m_length; }

private:
    const char* scanStatusLine(const char* at, const char* end);

    static constexpr std::size_t USUAL_FIELDS = 24;

    Version m_version = HTTP_1_1;
    unsigned short m_status = 0;
    std::string_view m_reason;
    InlineArray<Field, USUAL_FIELDS> m_fields;
    std::size_t m_length = 0;
};

} // namespace ZOLNS2::HTTP
