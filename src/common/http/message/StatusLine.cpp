#include "zol/http/StatusLine.hpp"

#include "blocxx/Format.hpp"

namespace ZOLNS2::HTTP
{

// Deliberate: the two numbers stay unset.
StatusLine::StatusLine() {} // NOLINT(modernize-use-equals-default)

StatusLine::StatusLine(Version httpVersion, unsigned short code, const blocxx::String& reason)
    : version(httpVersion), statusCode(code), reasonPhrase(reason)
{
}

blocxx::String StatusLine::toString() const
{
    return blocxx::Format("%1 %2 %3", versionText(version), statusCode, reasonPhrase);
}

} // namespace ZOLNS2::HTTP
