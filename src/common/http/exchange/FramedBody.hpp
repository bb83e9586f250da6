#pragma once

#include "exchange/BodyFraming.hpp"
#include "exchange/ExchangeLink.hpp"
#include "exchange/LinkFailure.hpp"
#include "exchange/ReceivedBody.hpp"

#include "blocxx/Timeout.hpp"
#include "openwbem/OW_HTTPChunkDecoder.hpp"

#include <cstddef>
#include <cstdint>

namespace ZOLNS2::HTTP
{

/// A body as it arrives over a connection, up to the end that its framing gives it.
class FramedBody : public ReceivedBody
{
public:
    /// @param trailerLimit   what may still be read of the head's limit
    /// @param trailerTimeout bounds the trailer, whatever progress it makes
    FramedBody(const ExchangeLinkRef& link, const ExchangeGuard& guard, const BodyFraming& framing,
               const MIME::ContentTypeHeader& contentType, unsigned short status, std::uint64_t limit,
               size_t trailerLimit, const blocxx::Timeout& trailerTimeout);
    ~FramedBody() override;

    bool hasContentLength() override;
    size_t getContentLength() override;

protected:
    size_t read(char* buffer, size_t room) override;

private:
    size_t readLength(char* buffer, size_t room);
    size_t readToClose(char* buffer, size_t room);
    size_t readChunked(char* buffer, size_t room);
    size_t readChunkData(char* buffer, size_t room);
    void readTrailer();
    void finishComplete();
    void finishEnded(const blocxx::String& where);
    void finishEnded(const blocxx::String& where, const LinkFailure& failure);
    void finishByGuard();

    ExchangeLinkRef m_link;
    ExchangeGuard m_guard;
    const BodyFraming m_framing;
    std::uint64_t m_left; // of a length
    OpenWBEM::HTTPChunkDecoder m_decoder{OpenWBEM::HTTPChunkDecoder::E_LEAVE_TRAILER};
    const size_t m_trailerLimit;
    const blocxx::Timeout m_trailerTimeout;
};

} // namespace ZOLNS2::HTTP
