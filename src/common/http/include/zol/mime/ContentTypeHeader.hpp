#pragma once

#include "blocxx/Array.hpp"
#include "blocxx/String.hpp"
#include "zol/Export.hpp"
#include "zol/http/Parameter.hpp"

#include <iosfwd>

namespace ZOLNS2::MIME
{

/// A Content-Type (RFC 9110, section 8.3): media type, subtype and parameters, all in the case they were given.
///
/// Parsing and writing are deliberately not each other's inverse: setContentTypeString() takes a whole header line, the
/// output operator writes the header's value alone.
///
/// @code
/// MIME::ContentTypeHeader header;
/// header.setContentTypeString("Content-Type: text/plain; charset=UTF-8");
/// const blocxx::String charset = header.getParameterValue("charset");
/// @endcode
class ZOL_API ContentTypeHeader
{
public:
    ContentTypeHeader();
    /// Takes its parts as they are; nothing is checked.
    ContentTypeHeader(const blocxx::String& type, const blocxx::String& subtype,
                      const blocxx::Array<HTTP::Parameter>& parameters);

    /// "text" of "text/plain".
    blocxx::String getType() const { return m_type; }
    /// "plain" of "text/plain".
    blocxx::String getSubType() const { return m_subtype; }
    /// In the order they were given.
    blocxx::Array<HTTP::Parameter> getParameters() const { return m_parameters; }
    /// The line last given to setContentTypeString(); empty for a header made from its parts.
    blocxx::String getContentTypeString() const { return m_headerText; }

    /// Parses a complete header line, "Content-Type: text/plain; charset=UTF-8". Its parameters are added to those
    /// already held.
    ///
    /// Deliberate irregularities: "/" counts wherever it is; without one the type is neither trimmed nor cut at the
    /// ";", and the subtype is empty. The quotes of a value go without a look at its last character and without undoing
    /// escapes. After the last "=" a further ";" keeps the call logging errors; it does not return in any useful time.
    /// @throws ContentException if there is no colon; the line is stored all the same
    void setContentTypeString(const blocxx::String& headerLine);

    /// The value of the first parameter of exactly that name; empty if there is none.
    blocxx::String getParameterValue(const blocxx::String& name) const;

private:
    friend class ContentTypeStore;

    void parse(blocxx::String&& headerLine, const char* signature);

    blocxx::String m_headerText;
    blocxx::String m_type;
    blocxx::String m_subtype;
    blocxx::Array<HTTP::Parameter> m_parameters;
};

/// Writes "type/subtype; name=value". A value that holds a blank, a control byte or one of ()<>@,;:\"/[]?={} is put
/// into double quotes, where a double quote gets a backslash; a backslash is written as it is.
ZOL_API std::ostream& operator<<(std::ostream& out, const ContentTypeHeader& header);

/// What the output operator writes.
ZOL_API blocxx::String toString(const ContentTypeHeader& header);

} // namespace ZOLNS2::MIME
