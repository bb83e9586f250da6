#pragma once

#include "blocxx/IOIFCStreamBuffer.hpp"
#include "blocxx/Socket.hpp"
#include "zol/http/HTTPConnection.hpp"

#include <atomic>
#include <cstddef>
#include <ios>
#include <istream>
#include <mutex>
#include <optional>

namespace ZOLNS2::HTTP
{

/// What the handles of one connection share.
///
/// The stream is made when somebody asks for it: setting one up, with its locale, costs more than a small request and its
/// response need. Until then the members here do what the stream's operations of the same names do, and keep its state.
//
// The order of the members is the order they are needed in: the stream goes first, the socket last.
class HTTPConnectionImpl
{
public:
    HTTPConnectionImpl(const blocxx::SocketAddress& address,
                       const blocxx::IntrusiveReference<blocxx::SSLClientCtx>& sslContext,
                       const blocxx::Timeout& timeout);

    /// @throws blocxx::NULLReferenceException for a handle without a connection
    static HTTPConnectionImpl& of(HTTPConnection& connection);

    /// Handles of one connection may be asked for it on several threads at once.
    std::iostream& stream()
    {
        std::iostream* const made = m_made.load(std::memory_order_acquire);
        return made != nullptr ? *made : makeStream();
    }
    bool hasStream() const { return m_made.load(std::memory_order_acquire) != nullptr; }
    blocxx::IOIFCStreamBuffer& buffer() { return m_streamBuffer; }

    /// @name As those of the stream, without making it
    /// @{
    bool fail() const { return (state() & (std::ios_base::failbit | std::ios_base::badbit)) != 0; }
    void setstate(std::ios_base::iostate bits);
    /// @return what gcount() would
    std::size_t read(char* to, std::size_t count);
    /// @}

private:
    std::iostream& makeStream();
    std::ios_base::iostate state() const;

    blocxx::Socket m_socket;
    blocxx::IOIFCStreamBuffer m_streamBuffer;
    std::ios_base::iostate m_state = std::ios_base::goodbit; // while there is no stream
    std::mutex m_mutex;                                      // of the making
    std::optional<std::iostream> m_stream;
    std::atomic<std::iostream*> m_made{nullptr};
};

} // namespace ZOLNS2::HTTP
