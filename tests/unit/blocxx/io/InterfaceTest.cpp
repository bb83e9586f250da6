#include "ScriptedDevice.hpp"
#include "support/Descriptor.hpp"

#include "blocxx/BaseStreamBuffer.hpp"
#include "blocxx/IOIFC.hpp"
#include "blocxx/IOIFCStreamBuffer.hpp"
#include "blocxx/IntrusiveReference.hpp"
#include "blocxx/SSLCtxMgr.hpp"
#include "blocxx/SSLException.hpp"
#include "blocxx/SelectableIFC.hpp"
#include "blocxx/Socket.hpp"
#include "blocxx/SocketAddress.hpp"
#include "blocxx/SocketException.hpp"
#include "blocxx/SocketFlags.hpp"
#include "blocxx/Timeout.hpp"

#include <gtest/gtest.h>

#include <cstring>
#include <istream>
#include <ostream>
#include <type_traits>

// Uses every name of the io interface that programs written against it rely on, in the way they spell it.

using namespace blocxx;

namespace
{

// A buffer that overrides whatever may be overridden.
class Upper : public BaseStreamBuffer
{
public:
    explicit Upper(EDirectionFlag direction, size_t size = BASE_BUF_SIZE) : BaseStreamBuffer(direction, size) {}

    std::string sent;

    void restart()
    {
        initGetBuffer();
        initPutBuffer();
        initBuffers();
    }

protected:
    int underflow() override { return BaseStreamBuffer::underflow(); }
    std::streamsize xsputn(const char* from, std::streamsize count) override
    {
        return BaseStreamBuffer::xsputn(from, count);
    }
    int overflow(int c) override { return BaseStreamBuffer::overflow(c); }
    int sync() override { return BaseStreamBuffer::sync(); }
    void initBuffers() override { BaseStreamBuffer::initBuffers(); }
    void initGetBuffer() override { BaseStreamBuffer::initGetBuffer(); }
    void initPutBuffer() override { BaseStreamBuffer::initPutBuffer(); }

    int buffer_to_device(const char* c, int n) override
    {
        sent.append(c, static_cast<std::size_t>(n));
        return 0;
    }
    int buffer_from_device(char* c, int n) override
    {
        std::memset(c, 'u', static_cast<std::size_t>(n));
        return n;
    }
};

class ResettableBuffer : public IOIFCStreamBuffer
{
public:
    using IOIFCStreamBuffer::IOIFCStreamBuffer;
    void reset() override { IOIFCStreamBuffer::reset(); }
};

} // namespace

TEST(Interface, Timeout)
{
    const Timeout::ETimeoutType types[] = {Timeout::E_ABSOLUTE, Timeout::E_RELATIVE, Timeout::E_RELATIVE_WITH_RESET};
    EXPECT_EQ(types[0], 0);
    EXPECT_EQ(types[1], 1);
    EXPECT_EQ(types[2], 2);
    const DateTime moment(5);
    EXPECT_EQ(Timeout::absolute(moment).getType(), Timeout::E_ABSOLUTE);
    EXPECT_TRUE(Timeout::absolute(moment).getAbsolute() == moment);
    EXPECT_EQ(Timeout::relative(1.5F).getRelative(), 1.5F);
    EXPECT_TRUE(Timeout::relativeWithReset(1) != Timeout::relative(1));
    EXPECT_TRUE(Timeout::infinite == Timeout::infinite);
}

TEST(Interface, SocketAddress)
{
    const SocketAddress address = SocketAddress::getByName("127.0.0.1", 80);
    EXPECT_EQ(SocketAddress::getByName("127.0.0.1").getPort(), 0);
    EXPECT_EQ(address.getType(), SocketAddress::INET);
    EXPECT_EQ(SocketAddress().getType(), SocketAddress::UNSET);
    EXPECT_THROW(SocketAddress::getByName(""), UnknownHostException);
}

TEST(Interface, Socket)
{
    static_assert(std::is_base_of_v<SelectableIFC, Socket> && std::is_base_of_v<IOIFC, Socket>);
    static_assert(std::is_same_v<SocketHandle_t, int> && std::is_same_v<Select_t, int>);
    static_assert(std::is_same_v<SSLClientCtxRef, IntrusiveReference<SSLClientCtx>>);
    static_assert(SocketFlags::E_NOT_SSL == 0 && SocketFlags::E_SSL == 1);
    static_assert(std::is_constructible_v<Socket, SocketHandle_t, SocketAddress::AddressType, SocketFlags::ESSLFlag>);
    static_assert(std::is_constructible_v<Socket, const SocketAddress&, SocketFlags::ESSLFlag>);

    const zol_test::LoopbackSocket listener(zol_test::LoopbackSocket::E_LISTENING);
    const SSLClientCtxRef sslCtx;
    Socket socket(sslCtx);
    socket.setConnectTimeout(Timeout::relative(10));
    socket.setReceiveTimeout(Timeout::relative(0));
    socket.setSendTimeout(Timeout::relative(10));
    socket.connect(SocketAddress::getByName("127.0.0.1", listener.port));
    EXPECT_TRUE(socket.isConnected());
    EXPECT_EQ(socket.getConnectTimeout(), socket.getSendTimeout());
    EXPECT_EQ(socket.getPeerAddress().getPort(), listener.port);
    EXPECT_NE(socket.getLocalAddress().getPort(), 0);
    char byte = 0;
    EXPECT_EQ(socket.write("x", 1), 1);
    EXPECT_EQ(socket.write("x", 1, IOIFC::E_RETURN_ON_ERROR), 1);
    EXPECT_EQ(socket.read(&byte, 1), -1);
    EXPECT_THROW(socket.read(&byte, 1, IOIFC::E_THROW_ON_ERROR), SocketException);
    EXPECT_TRUE(socket.receiveTimeOutExpired());
    EXPECT_TRUE(socket.waitForInput(Timeout::relative(0)));
    EXPECT_FALSE(socket.waitForOutput());
    std::istream& input = socket.getInputStream();
    std::ostream& output = socket.getOutputStream();
    EXPECT_TRUE(input.good() && output.good());
    const SelectableIFC& selectable = socket;
    EXPECT_EQ(selectable.getSelectObj(), socket.getfd());
    EXPECT_EQ(socket.getSSL(), nullptr);
    EXPECT_FALSE(socket.peerCertVerified());
    socket.setTimeouts(Timeout::infinite);
    EXPECT_EQ(socket.getReceiveTimeout(), Timeout::infinite);
    const Socket copy(socket);
    socket.disconnect();
    EXPECT_EQ(copy.getfd(), -1);
}

TEST(Interface, SSLClientCtx)
{
    SSLOpts opts;
    opts.verifyMode = SSLOpts::MODE_DISABLED;
    const SSLClientCtxRef context(new SSLClientCtx(opts));
    EXPECT_NE(context->getSSLCtx(), nullptr);
    EXPECT_FALSE(Socket(context).isConnected());
    static_assert(std::is_base_of_v<SocketException, SSLException>);
}

TEST(Interface, IOIFC)
{
    static_assert(IOIFC::E_THROW_ON_ERROR == 0 && IOIFC::E_RETURN_ON_ERROR == 1);
    zol_test::ScriptedDevice scripted;
    scripted.reads = {zol_test::ScriptedDevice::data("x")};
    IOIFC& device = scripted;
    char byte = 0;
    EXPECT_EQ(device.read(&byte, 1), 1);
    EXPECT_EQ(device.write(&byte, 1), 1);
}

TEST(Interface, BaseStreamBuffer)
{
    static_assert(BASE_BUF_SIZE == 256 && HTTP_BUF_SIZE == 4096);
    static_assert(BaseStreamBuffer::E_IN == 0 && BaseStreamBuffer::E_OUT == 1 && BaseStreamBuffer::E_IN_OUT == 2);
    Upper in(BaseStreamBuffer::E_IN, HTTP_BUF_SIZE);
    std::istream input(&in);
    EXPECT_EQ(input.get(), 'u');
    Upper out(BaseStreamBuffer::E_OUT);
    std::ostream output(&out);
    output << "text" << std::flush;
    EXPECT_EQ(out.sent, "text");
    output << "dropped";
    out.restart();
    output.flush();
    EXPECT_EQ(out.sent, "text");
}

TEST(Interface, IOIFCStreamBuffer)
{
    zol_test::ScriptedDevice device;
    device.reads = {zol_test::ScriptedDevice::data("in")};
    ResettableBuffer buffer(&device, BaseStreamBuffer::E_IN_OUT, 65536);
    buffer.setErrorAction(IOIFC::E_RETURN_ON_ERROR);
    IOIFCStreamBuffer other(&device);
    EXPECT_EQ(buffer.tie(&other), nullptr);
    std::iostream stream(&buffer);
    stream << "out" << std::flush;
    EXPECT_EQ(stream.get(), 'i');
    EXPECT_EQ(device.written, "out");
    buffer.reset();
    EXPECT_EQ(buffer.tie(nullptr), &other);
}
