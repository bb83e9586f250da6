#pragma once

#include "blocxx/String.hpp"
#include "zol/http/ExchangeException.hpp"
#include "zol/http/ExchangeResponse.hpp"
#include "zol/mime/Content.hpp"
#include "zol/mime/ContentEnd.hpp"
#include "zol/mime/ContentTypeHeader.hpp"

#include <cstddef>
#include <cstdint>

namespace ZOLNS2::HTTP
{

/// The body of a response as a content that is read once, and that remembers how it ended. Subclasses say where the
/// bytes come from.
class ReceivedBody : public MIME::Content, public MIME::ContentEnd
{
public:
    ~ReceivedBody() override;

    MIME::ContentTypeHeader getContentType() override { return m_contentType; }

    /// Fewer bytes than asked for when fewer have arrived. @return END_OF_DATA at the end, whatever it is like
    size_t getData(char* buffer, size_t room, const MIME::ContentStreamStateRef& state) override;

    /// @throws MIME::ContentException on the second call
    MIME::ContentStreamStateRef createInitialStreamState() const override;

    bool endedBadly(const MIME::ContentStreamStateRef& state) const override;

    ExchangeResponse::EBodyEnd end() const { return m_end; }
    const blocxx::String& endText() const { return m_endText; }
    int systemError() const { return m_systemError; }
    unsigned short status() const { return m_status; }

    /// What the end is as the cause of an exception.
    ExchangeException::ECause cause() const;

protected:
    ReceivedBody(const MIME::ContentTypeHeader& contentType, unsigned short status, std::uint64_t limit);

    /// At most `room` bytes, at least 1; 0 once finish() has been called.
    virtual size_t read(char* buffer, size_t room) = 0;

    void finish(ExchangeResponse::EBodyEnd end, const blocxx::String& text = blocxx::String(), int systemError = 0);

    /// Ends as the body that it is read from has ended, which is in the log already.
    void finishAs(const ReceivedBody& source);

private:
    const MIME::ContentTypeHeader m_contentType;
    const unsigned short m_status;
    const std::uint64_t m_limit;
    std::uint64_t m_left; // of the limit
    ExchangeResponse::EBodyEnd m_end = ExchangeResponse::E_OPEN;
    int m_systemError = 0;
    blocxx::String m_endText;
    mutable bool m_begun = false;
};

using ReceivedBodyRef = blocxx::IntrusiveReference<ReceivedBody>;

} // namespace ZOLNS2::HTTP
