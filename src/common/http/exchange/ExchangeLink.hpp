#pragma once

#include "exchange/ExchangeGuard.hpp"
#include "exchange/RecentRequest.hpp"
#include "exchange/RecentResponse.hpp"

#include "blocxx/IOIFCStreamBuffer.hpp"
#include "blocxx/IntrusiveCountableBase.hpp"
#include "blocxx/IntrusiveReference.hpp"
#include "blocxx/Socket.hpp"
#include "blocxx/String.hpp"
#include "blocxx/internal/DirectInput.hpp"
#include "blocxx/internal/GetArea.hpp"
#include "zol/http/Request.hpp"
#include "zol/http/Url.hpp"

#include <cstddef>
#include <memory>
#include <string_view>

namespace ZOLNS2::HTTP
{

/// One connection, its buffered input, and whether it can serve another exchange. Shared by the handles to it and the
/// body that is being read from it.
class ExchangeLink : public blocxx::IntrusiveCountableBase
{
public:
    /// @param url        whose server it is for
    /// @param sslContext null for a plain connection
    ExchangeLink(const Url& url, const Request::SSLContextRef& sslContext);
    ~ExchangeLink() override;

    blocxx::Socket& socket() { return m_socket; }
    const blocxx::Socket& socket() const { return m_socket; }
    blocxx::IOIFCStreamBuffer& input() { return m_input; }

    bool leadsTo(const Url& url, const Request::SSLContextRef& sslContext) const;

    /// Prepares for an exchange: its limits, and that nothing else may begin meanwhile.
    void begin(const ExchangeGuard& guard, const ExchangeOptions& options);

    /// From here on reads and writes are bounded by `limit`.
    void setDeadline(const TimeLimit& limit);

    /// The bytes that have been received and not been read.
    std::string_view held() const { return blocxx::Internal::GetArea::of(m_input); }
    void consume(std::size_t count) { blocxx::Internal::GetArea::consume(m_input, count); }

    /// Waits for one read of at most `size` bytes, unless bytes are held. @return whether any are
    bool fill(std::size_t size = INPUT_SIZE) { return m_direct.fillGetArea(size); }

    /// Waits for one read behind the bytes that are held, as far as the buffer has room. @return whether any came
    bool fillMore() { return m_direct.extendGetArea(); }

    /// What is held, or what one read brings; large reads go past the buffer. @return 0 at the end of the input or when it
    /// failed
    std::size_t readSome(char* to, std::size_t room);

    /// Reads past the empty buffer, in any way.
    const blocxx::Internal::DirectInput& direct() const { return m_direct; }

    bool inputFailed() const { return m_input.inputState() == blocxx::BaseStreamBuffer::E_INPUT_FAILED; }

    /// The exchange is over, and the other side knows it as well.
    void keep() { m_idle = true; }
    bool isIdle() const { return m_idle; }

    /// Idle, and neither closed by the server nor with anything that it sent unasked.
    bool isReusable();
    bool servedBefore() const { return m_exchanges > 1; }

    /// What the exchange before leaves for one over the same connection.
    struct Recent
    {
        RecentRequest request;
        RecentResponse response;
    };

    /// For an exchange over a connection that is kept: the first one has nothing to do with it.
    Recent& recent();

    static constexpr std::size_t INPUT_SIZE = 65536;

private:
    const blocxx::String m_host;
    const blocxx::UInt16 m_port;
    const Request::SSLContextRef m_sslContext;
    blocxx::Socket m_socket;
    blocxx::IOIFCStreamBuffer m_input;
    const blocxx::Internal::DirectInput m_direct;
    unsigned long m_exchanges = 0;
    bool m_idle = false;
    std::unique_ptr<Recent> m_recent;
};

using ExchangeLinkRef = blocxx::IntrusiveReference<ExchangeLink>;

} // namespace ZOLNS2::HTTP
