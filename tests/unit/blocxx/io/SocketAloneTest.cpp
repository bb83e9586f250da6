#include "blocxx/Socket.hpp"

#include <gtest/gtest.h>

// Deliberately without any other header of the library's.

TEST(SocketAlone, MakesAPlainSocketOfANullContext)
{
    const blocxx::SSLClientCtxRef none;
    blocxx::Socket socket(none);
    EXPECT_FALSE(socket.isConnected());
    EXPECT_EQ(socket.getSSL(), nullptr);
    EXPECT_FALSE(blocxx::Socket(blocxx::SSLClientCtxRef()).isConnected());
}
