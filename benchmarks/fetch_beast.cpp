// usage: fetch_beast PORT TARGET COUNT [kept] [lines=N]
// The same work done with Boost.Beast in its fast way: COUNT fetches, a connection each or all on one that is kept, each
// read with read_some into 64 KiB, and the body looked at where it lies.
#include "FetchArguments.hpp"
#include "PeakMemory.hpp"

#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/beast/core.hpp>
#include <boost/beast/http.hpp>

#include <cstdint>
#include <exception>
#include <optional>

namespace beast = boost::beast;
namespace http = boost::beast::http;
using boost::asio::ip::tcp;

namespace
{

using Request = http::request<http::empty_body>;

/// A body that is counted and not kept.
struct CountedBody
{
    using value_type = size_t;

    class reader
    {
    public:
        template <bool isRequest, class Fields>
        reader(http::header<isRequest, Fields>&, value_type& total) : m_total(total)
        {
        }
        void init(const boost::optional<std::uint64_t>&, beast::error_code& error) { error = {}; }
        template <class Buffers>
        size_t put(const Buffers& buffers, beast::error_code& error)
        {
            error = {};
            const size_t size = beast::buffer_bytes(buffers);
            m_total += size;
            return size;
        }
        void finish(beast::error_code& error) { error = {}; }

    private:
        value_type& m_total;
    };
};

Request requestFor(const FetchArguments& arguments)
{
    Request request(http::verb::get, arguments.target, 11);
    request.set(http::field::host, "127.0.0.1");
    request.set(http::field::connection, arguments.kept ? "keep-alive" : "close");
    if (arguments.lines)
    {
        for (const auto& [name, value] : *arguments.lines)
        {
            request.insert(name, value);
        }
    }
    return request;
}

size_t receive(tcp::socket& socket, beast::flat_static_buffer<65536>& buffer)
{
    http::response_parser<CountedBody> parser;
    parser.eager(true); // head and body in one pass
    parser.body_limit(boost::none);
    while (!parser.is_done())
    {
        http::read_some(socket, buffer, parser);
    }
    return parser.get().body();
}

} // namespace

int main(int argc, char** argv)
try
{
    const FetchArguments arguments(argc, argv, "[kept] [lines=N]");
    const tcp::endpoint peer(boost::asio::ip::address_v4::loopback(),
                             static_cast<unsigned short>(std::atoi(arguments.port.c_str())));
    const Request request = requestFor(arguments);
    boost::asio::io_context context(1);
    beast::flat_static_buffer<65536> buffer;
    tcp::socket socket(context);
    size_t total = 0;
    for (long count = arguments.count; count > 0; --count)
    {
        if (!socket.is_open())
        {
            socket.connect(peer);
        }
        const std::optional<Request> own = arguments.lines ? std::optional(requestFor(arguments)) : std::nullopt;
        http::write(socket, own ? *own : request);
        total += receive(socket, buffer);
        if (!arguments.kept)
        {
            socket.close();
            buffer.clear();
        }
    }
    std::printf("%zu bytes, peak %ld KiB\n", total, peakMemory());
}
catch (const std::exception& failure)
{
    std::fprintf(stderr, "fetch_beast: %s\n", failure.what());
    return 1;
}
