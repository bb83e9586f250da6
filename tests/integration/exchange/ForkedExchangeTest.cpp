#include "Getting.hpp"
#include "Stall.hpp"
#include "Trust.hpp"
#include "support/NginxServer.hpp"

#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <functional>
#include <optional>
#include <string>

namespace
{

using namespace exchange_integration;
using zol_test::NginxServer;

/// Runs `child` in a forked process, and `parent` meanwhile in this one.
/// @return whether the child ended by itself and returned true
bool holdsInAChild(
    const std::function<bool()>& child, const std::function<void()>& parent = [] {})
{
    const pid_t process = ::fork();
    if (process == 0)
    {
        ::signal(SIGALRM, SIG_DFL);
        ::alarm(60);
        ::_exit(child() ? 0 : 1);
    }
    parent();
    int status = 0;
    return process > 0 && ::waitpid(process, &status, 0) == process && WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

/// Whether it succeeds, without what the test framework would print.
bool succeeds(const Request& request, const ExchangeOptions& options)
{
    try
    {
        const ExchangeResponse response = exchange(request, options);
        return response.isSuccess() && !response.readAll().empty();
    }
    catch (const blocxx::Exception&)
    {
        return false;
    }
}

TEST(ForkedExchange, IsNotCancelledByTheHandleOfTheParent)
{
    const NginxServer server;
    const blocxx::Cancellation cancellation;
    ExchangeOptions options;
    options.cancellation = cancellation;
    const Request request = get(plainUrl(server.port()));
    zol_test::Pipe pipe;
    EXPECT_TRUE(holdsInAChild(
        [&]
        {
            pipe.writeEnd.reset();
            char byte = 0;
            return ::read(pipe.readEnd.get(), &byte, 1) == 0 && succeeds(request, options);
        },
        [&]
        {
            cancellation.cancel();
            pipe.writeEnd.reset();
        }));
    const auto failure = failureOf([&] { exchange(request, options); });
    ASSERT_TRUE(failure);
    EXPECT_EQ(failure->cause(), ExchangeException::E_CANCELLED);
}

TEST(ForkedExchange, DoesNotCancelThatOfTheParent)
{
    const NginxServer server;
    const blocxx::Cancellation cancellation;
    ExchangeOptions options;
    options.cancellation = cancellation;
    EXPECT_TRUE(holdsInAChild(
        [&]
        {
            cancellation.cancel();
            return !cancellation.isCancelled();
        }));
    EXPECT_TRUE(succeeds(get(plainUrl(server.port())), options));
}

TEST(ForkedExchange, HasAHandleOfItsOwn)
{
    const auto stall = Stall::inASilentHead();
    EXPECT_TRUE(holdsInAChild(
        [&]
        {
            ExchangeOptions options;
            options.cancellation.emplace();
            options.cancellation->cancel();
            try
            {
                exchange(stall->request(), options);
            }
            catch (const ExchangeException& failure)
            {
                return failure.cause() == ExchangeException::E_CANCELLED;
            }
            return false;
        }));
}

// The parent has looked names up with the C library's threads by then, which the child does not have.
TEST(ForkedExchange, LooksNamesUp)
{
    const NginxServer server;
    const std::string name = "in50.names.example";
    const Request request = get(plainUrl(server.port(), "/", name));
    ASSERT_TRUE(succeeds(request, ExchangeOptions()));
    EXPECT_TRUE(holdsInAChild([&] { return succeeds(request, ExchangeOptions()); }));
    EXPECT_TRUE(succeeds(request, ExchangeOptions()));
}

// A close-notify of the child's would end the parent's connection.
TEST(ForkedExchange, ClosesNoConnectionOfTheParent)
{
    const zol_test::Certificate authority = zol_test::makeAuthority();
    const zol_test::Certificate own = zol_test::issue(authority, loopbackFields());
    NginxServer::Options options;
    options.certificate = own.certificatePem();
    options.privateKey = own.keyPem();
    const NginxServer server(options);
    const Request plain = getAndKeep(plainUrl(server.port()));
    const Request secure = getAndKeep(secureUrl(server.tlsPort()), zol_integration::trusting(authority));
    for (const Request& request : {plain, secure})
    {
        SCOPED_TRACE(request.getRequestLine().url);
        std::optional<ExchangeResponse> response = exchange(request);
        const std::string page = bodyOf(*response);
        EXPECT_TRUE(holdsInAChild(
            [&]
            {
                response.reset();
                return true;
            }));
        ASSERT_TRUE(response->reusable());
        EXPECT_EQ(bodyOf(exchange(response->getConnection(), request)), page);
    }
}

} // namespace
