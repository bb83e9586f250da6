#include "FuzzTarget.hpp"

#include "zol/http/Exchange.hpp"
#include "zol/http/RequestBuilder.hpp"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <string>
#include <thread>
#include <vector>

using namespace ZOLNS2;

namespace
{

/// Sends a text to the client that connects next, closes the connection, and so on.
class Server
{
public:
    Server() : m_listener(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0))
    {
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        socklen_t length = sizeof address;
        auto* const plain = reinterpret_cast<sockaddr*>(&address);
        zol_fuzz::check(::bind(m_listener, plain, length) == 0 && ::listen(m_listener, 1) == 0 &&
                            ::getsockname(m_listener, plain, &length) == 0,
                        "the server has a port");
        m_port = ntohs(address.sin_port);
    }

    unsigned short port() const { return m_port; }

    void serveOne(const std::string& text) const
    {
        const int client = ::accept4(m_listener, nullptr, nullptr, SOCK_CLOEXEC);
        zol_fuzz::check(client >= 0, "the client connects");
        ::send(client, text.data(), text.size(), MSG_NOSIGNAL);
        ::shutdown(client, SHUT_WR);
        char block[4096];
        while (::recv(client, block, sizeof block, 0) > 0)
        {
        }
        ::close(client);
    }

private:
    int m_listener;
    unsigned short m_port = 0;
};

std::size_t pull(const HTTP::ExchangeResponse& response)
{
    const MIME::ContentRef content = response.getContent();
    const MIME::ContentStreamStateRef state = content->createInitialStreamState();
    std::vector<char> block(5000);
    std::size_t total = 0;
    for (std::size_t count = 0; (count = content->getData(block.data(), block.size(), state)) != MIME::END_OF_DATA;)
    {
        total += count;
    }
    return total;
}

void exchangeWith(const Server& server)
{
    constexpr std::uint64_t LIMIT = 100000;
    HTTP::ExchangeOptions options;
    options.decompress = true;
    options.bodyLimit = LIMIT;
    const HTTP::Url url(blocxx::String("http://127.0.0.1:") + blocxx::String(blocxx::UInt32{server.port()}) + "/");
    try
    {
        const HTTP::ExchangeResponse response =
            HTTP::exchange(HTTP::RequestBuilder("GET", url).keepAlive(true).build(), options);
        zol_fuzz::check(response.getStatus() >= 101 && response.getStatus() <= 999, "a final response has a status");
        const std::size_t total = pull(response);
        zol_fuzz::check(total <= LIMIT, "the limit of the body holds");
        zol_fuzz::check(response.bodyEnd() != HTTP::ExchangeResponse::E_OPEN, "the end of the body is told");
        const bool isComplete = response.bodyEnd() == HTTP::ExchangeResponse::E_COMPLETE;
        zol_fuzz::check(isComplete == response.bodyEndText().empty(), "a bad end has a text");
        zol_fuzz::check(isComplete || !response.reusable(), "a connection with a bad end is not used again");
        const MIME::ContentRef content = response.getContent();
        zol_fuzz::check(!isComplete || !content->hasContentLength() || content->getContentLength() == total ||
                            total == 0,
                        "a complete body has its length");
    }
    catch (const HTTP::ExchangeException& failure)
    {
        zol_fuzz::check(failure.phase() == HTTP::ExchangeException::E_HEAD, "only the head can fail");
    }
}

} // namespace

// All that a server sends on one connection: the exchange ends, within its limits, and says how.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    static const Server server;
    const std::string text = zol_fuzz::textOf(data, size);
    std::thread serving([&] { server.serveOne(text); });
    exchangeWith(server);
    serving.join();
    return 0;
}
