#include "Peers.hpp"
#include "TLSPeers.hpp"
#include "support/Process.hpp"
#include "support/ScriptedServer.hpp"

#include "blocxx/Socket.hpp"

#include <gtest/gtest.h>

#include <pthread.h>

#include <atomic>
#include <chrono>
#include <functional>
#include <thread>

using blocxx::Socket;
using blocxx::SSLClientCtxRef;
using zol_test::loopback;
using zol_test::ScriptedServer;
using zol_test::ServerConnection;
using zol_test::tlsServer;
using zol_test::trustingClient;

// A thread that is cancelled unwinds through the library and ends; the rest of the process lives on.

namespace
{

void* run(void* work)
{
    (*static_cast<const std::function<void()>*>(work))();
    return nullptr;
}

/// Runs the work in a thread, and cancels the thread when `when` says so. @return whether that ended the thread
bool endsCancelled(const std::function<void()>& work, const std::function<void(pthread_t)>& when)
{
    pthread_t thread{};
    EXPECT_EQ(::pthread_create(&thread, nullptr, run, const_cast<std::function<void()>*>(&work)), 0);
    when(thread);
    void* result = nullptr;
    EXPECT_EQ(::pthread_join(thread, &result), 0);
    return result == PTHREAD_CANCELED;
}

void waitForThePeer(ServerConnection& connection)
{
    connection.waitUntilPeerCloses();
}

class ThreadCancellation : public testing::TestWithParam<bool>
{
protected:
    ScriptedServer::Options options() const { return GetParam() ? tlsServer() : ScriptedServer::Options(); }
    SSLClientCtxRef client() const { return GetParam() ? trustingClient() : SSLClientCtxRef(); }

    // Cancels once the work has reached its wait; how long after does not matter.
    static std::function<void(pthread_t)> soonAfter(const std::atomic<bool>& reached)
    {
        return [&reached](pthread_t thread)
        {
            while (!reached)
            {
                std::this_thread::sleep_for(std::chrono::milliseconds(1));
            }
            std::this_thread::sleep_for(std::chrono::milliseconds(50));
            ::pthread_cancel(thread);
        };
    }

    static void doNotCancel(pthread_t) {}
};

} // namespace

TEST_P(ThreadCancellation, EndsAReadAndClosesTheConnection)
{
    ScriptedServer server(options(), waitForThePeer);
    const std::size_t before = zol_test::openDescriptors();
    std::atomic<bool> reading{false};
    EXPECT_TRUE(endsCancelled(
        [&]
        {
            Socket socket(client());
            socket.connect(loopback(server.port()));
            char byte = 0;
            reading = true;
            socket.read(&byte, 1);
        },
        soonAfter(reading)));
    EXPECT_TRUE(server.waitForConnections(1));
    EXPECT_TRUE(server.waitUntilIdle());
    EXPECT_EQ(zol_test::openDescriptors(), before);
}

TEST_P(ThreadCancellation, EndsAReadThatNeedNotWait)
{
    ScriptedServer server(options(),
                          [](ServerConnection& connection)
                          {
                              connection.send("ab");
                              connection.waitUntilPeerCloses();
                          });
    std::atomic<bool> read{false};
    EXPECT_TRUE(endsCancelled(
        [&]
        {
            Socket socket(client());
            socket.connect(loopback(server.port()));
            // The second byte is there when the first one is.
            char byte = 0;
            EXPECT_EQ(socket.read(&byte, 1), 1);
            ::pthread_cancel(::pthread_self());
            socket.read(&byte, 1);
            read = true;
            ::pthread_testcancel();
        },
        doNotCancel));
    EXPECT_FALSE(read);
}

TEST_P(ThreadCancellation, EndsAConnectThatWaits)
{
    const zol_test::SilentPort silent;
    ScriptedServer mute(waitForThePeer);
    const std::size_t before = zol_test::openDescriptors();
    std::atomic<bool> connecting{false};
    EXPECT_TRUE(endsCancelled(
        [&]
        {
            Socket socket(client());
            connecting = true;
            // A TLS socket waits in the handshake, a plain one in the connect.
            socket.connect(loopback(GetParam() ? mute.port() : silent.port()));
        },
        soonAfter(connecting)));
    if (GetParam())
    {
        EXPECT_TRUE(mute.waitForConnections(1));
        EXPECT_TRUE(mute.waitUntilIdle());
    }
    EXPECT_EQ(zol_test::openDescriptors(), before);
}

TEST_P(ThreadCancellation, ThatIsPendingDoesNotTakeEffectInADestructor)
{
    ScriptedServer server(options(), waitForThePeer);
    std::atomic<bool> destroyed{false};
    EXPECT_TRUE(endsCancelled(
        [&]
        {
            {
                Socket socket(client());
                socket.connect(loopback(server.port()));
                ::pthread_cancel(::pthread_self());
            }
            destroyed = true;
            ::pthread_testcancel();
        },
        doNotCancel));
    EXPECT_TRUE(destroyed);
}

TEST_P(ThreadCancellation, ThatIsPendingDoesNotTakeEffectInADisconnect)
{
    ScriptedServer server(options(), waitForThePeer);
    std::atomic<bool> disconnected{false};
    EXPECT_TRUE(endsCancelled(
        [&]
        {
            Socket socket(client());
            socket.connect(loopback(server.port()));
            ::pthread_cancel(::pthread_self());
            socket.disconnect();
            disconnected = true;
            ::pthread_testcancel();
        },
        doNotCancel));
    EXPECT_TRUE(disconnected);
}

TEST_P(ThreadCancellation, ThatIsPendingWaitsForAContextToBeMade)
{
    std::atomic<bool> made{false};
    EXPECT_TRUE(endsCancelled(
        [&]
        {
            ::pthread_cancel(::pthread_self());
            const SSLClientCtxRef context(new blocxx::SSLClientCtx);
            made = true;
            ::pthread_testcancel();
        },
        doNotCancel));
    EXPECT_TRUE(made);
}

INSTANTIATE_TEST_SUITE_P(Sockets, ThreadCancellation, testing::Bool(),
                         [](const testing::TestParamInfo<bool>& tls) { return tls.param ? "TLS" : "Plain"; });
