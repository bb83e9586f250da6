#include "request/WriteEntityBody.hpp"

#include "blocxx/internal/ForcedUnwind.hpp"
#include "blocxx/internal/GetArea.hpp"
#include "blocxx/internal/StreamFailure.hpp"
#include "zol/http/HTTPException.hpp"
#include "zol/http/MIMEContentIStream.hpp"

#include <istream>
#include <ostream>
#include <string_view>

namespace ZOLNS2::HTTP
{

namespace
{

using blocxx::Internal::GetArea;

// A content that never ends must not hold the request for ever.
constexpr size_t MOST_EMPTY_READS = 64;

bool isAtEnd(const MIMEContentIStreamBuf& body)
{
    return body.reachedEndOfData() || body.inputState() == blocxx::BaseStreamBuffer::E_INPUT_FAILED ||
           body.emptyReads() >= MOST_EMPTY_READS;
}

/// @return whether any byte was copied, and the content, if `to` took all of it, came to an orderly end
bool copyContent(std::streambuf& to, MIMEContentIStreamBuf& body)
{
    bool copiedAny = false;
    while (!isAtEnd(body))
    {
        if (body.sgetc() == std::streambuf::traits_type::eof())
        {
            continue;
        }
        const std::string_view held = GetArea::of(body);
        const std::streamsize taken = to.sputn(held.data(), static_cast<std::streamsize>(held.size()));
        copiedAny = copiedAny || taken > 0;
        if (static_cast<size_t>(taken) < held.size())
        {
            return copiedAny;
        }
        GetArea::consume(body, held.size());
    }
    return copiedAny && body.reachedEndOfData() && body.inputState() != blocxx::BaseStreamBuffer::E_INPUT_FAILED;
}

/// As a stream inserts a stream buffer: an exception leaves failbit, and passes on only if the stream's mask asks for
/// it.
void insertContent(std::ostream& out, MIMEContentIStreamBuf& body)
{
    const std::ostream::sentry ready(out);
    if (!ready)
    {
        return;
    }
    const bool whole =
        blocxx::Internal::catchAllButUnwind([&] { return copyContent(*out.rdbuf(), body); },
                                            [&]
                                            {
                                                if ((out.exceptions() & std::ios_base::failbit) != 0)
                                                {
                                                    blocxx::Internal::setStateQuietly(out, std::ios_base::failbit);
                                                    throw;
                                                }
                                                return false;
                                            });
    if (!whole)
    {
        out.setstate(std::ios_base::failbit);
    }
}

} // namespace

void writeEntityBody(std::ostream& out, std::istream& body)
{
    if (body.fail())
    {
        throw HTTPException("HTTPRequest", __LINE__, "Cannot copy request payload: stream was initially bad", -1,
                            nullptr, -1);
    }
    if (auto* const content = dynamic_cast<MIMEContentIStreamBuf*>(body.rdbuf()))
    {
        insertContent(out, *content);
    }
    else
    {
        out << body.rdbuf();
    }
    out.flush();
}

} // namespace ZOLNS2::HTTP
