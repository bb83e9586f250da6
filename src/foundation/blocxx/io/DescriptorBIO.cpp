#include "io/DescriptorBIO.hpp"

#include "io/SocketCalls.hpp"

#include <openssl/bio.h>
#include <openssl/err.h>

#include <cerrno>
#include <cstdint>
#include <new>

namespace blocxx
{

namespace
{

int descriptorOf(BIO* bio)
{
    return static_cast<int>(reinterpret_cast<std::intptr_t>(BIO_get_data(bio)));
}

int sendBytes(BIO* bio, const char* data, int length)
{
    BIO_clear_retry_flags(bio);
    const ssize_t count = sendNow(descriptorOf(bio), data, static_cast<std::size_t>(length));
    if (count < 0 && errno == EAGAIN)
    {
        BIO_set_retry_write(bio);
    }
    return static_cast<int>(count);
}

int receiveBytes(BIO* bio, char* data, int length)
{
    BIO_clear_retry_flags(bio);
    const ssize_t count = receiveNow(descriptorOf(bio), data, static_cast<std::size_t>(length));
    if (count < 0 && errno == EAGAIN)
    {
        BIO_set_retry_read(bio);
    }
    return static_cast<int>(count);
}

// Deliberately ignores BIO_CTRL_EOF: OpenSSL then reports a connection that is cut without close-notify as a failed
// read, whatever the system's configuration lets it ignore.
long control(BIO*, int command, long, void*)
{
    return command == BIO_CTRL_FLUSH ? 1 : 0;
}

BIO_METHOD* makeMethod()
{
    BIO_METHOD* const method =
        BIO_meth_new(BIO_get_new_index() | BIO_TYPE_SOURCE_SINK | BIO_TYPE_DESCRIPTOR, "socket without SIGPIPE");
    if (method == nullptr)
    {
        ERR_clear_error();
        throw std::bad_alloc();
    }
    BIO_meth_set_write(method, sendBytes);
    BIO_meth_set_read(method, receiveBytes);
    BIO_meth_set_ctrl(method, control);
    return method;
}

} // namespace

BIO* newDescriptorBIO(int descriptor)
{
    // Never freed: connections may outlive static destruction. What throws is tried again by the next connection.
    static const BIO_METHOD* const method = makeMethod();
    BIO* const bio = BIO_new(method);
    if (bio != nullptr)
    {
        // NOLINTNEXTLINE(performance-no-int-to-ptr): the number travels in the BIO's data pointer
        BIO_set_data(bio, reinterpret_cast<void*>(static_cast<std::intptr_t>(descriptor)));
        BIO_set_init(bio, 1);
    }
    return bio;
}

} // namespace blocxx
