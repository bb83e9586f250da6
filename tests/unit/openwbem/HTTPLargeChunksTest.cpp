#include "PiecewiseInput.hpp"

#include "blocxx/IOIFCStreamBuffer.hpp"
#include "openwbem/OW_HTTPChunkedIStream.hpp"

#include <gtest/gtest.h>

#include <cstdio>
#include <istream>
#include <random>
#include <string>
#include <utility>
#include <vector>

namespace
{

using blocxx::BaseStreamBuffer;
using blocxx::IOIFCStreamBuffer;
using OpenWBEM::HTTPChunkedIStream;
using zol_test::PiecewiseConnection;
using zol_test::PiecewiseDevice;
using zol_test::PiecewiseText;
using zol_test::stateOf;

std::string randomText(std::mt19937& random, std::size_t size)
{
    std::string text(size, '\0');
    for (char& c : text)
    {
        c = static_cast<char>(random());
    }
    return text;
}

std::string chunkOf(const std::string& data)
{
    char size[24];
    std::snprintf(size, sizeof size, "%zx\r\n", data.size());
    return size + data + "\r\n";
}

/// Reads in blocks of that size up to the end.
std::string readAll(std::istream& stream, std::size_t blockSize)
{
    std::string all;
    std::vector<char> block(blockSize);
    do
    {
        stream.read(block.data(), static_cast<std::streamsize>(block.size()));
        all.append(block.data(), static_cast<std::size_t>(stream.gcount()));
    } while (stream);
    return all;
}

TEST(HTTPLargeChunks, ArriveWholeHoweverTheyAreCutAndRead)
{
    std::mt19937 random(7);
    for (int round = 0; round < 60; ++round)
    {
        std::string data;
        std::string wire;
        for (const std::size_t size :
             {8191U, 8192U, 8193U, 20000U, 3U, 70000U, 65536U, 16384U, 16384U, 1U, 9000U, 100U})
        {
            const std::string chunk = randomText(random, size + random() % 3);
            data += chunk;
            wire += chunkOf(chunk);
        }
        wire += "0\r\n\r\nNEXT";
        PiecewiseConnection connection(wire, 1 + random() % 70000);
        HTTPChunkedIStream body(connection.stream());
        EXPECT_EQ(readAll(body, 1 + random() % 150000), data);
        EXPECT_EQ(stateOf(body), "EF");
        EXPECT_EQ(connection.left(), "NEXT");
    }
}

TEST(HTTPLargeChunks, GoPastTheWrappedBufferInOneReadEach)
{
    const std::string data(16384, 'x');
    std::string wire;
    for (int chunk = 0; chunk < 100; ++chunk)
    {
        wire += chunkOf(data);
    }
    wire += "0\r\n\r\n";
    PiecewiseConnection connection(wire);
    HTTPChunkedIStream body(connection.stream());
    EXPECT_EQ(readAll(body, 100 * data.size() + 1).size(), 100 * data.size());
    EXPECT_LE(connection.reads(), 102);
    EXPECT_GE(connection.reads(), 96);
}

TEST(HTTPLargeChunks, SmallOnesAfterThemFillTheBufferAgain)
{
    std::string wire = chunkOf(std::string(200000, 'x'));
    for (int chunk = 0; chunk < 1000; ++chunk)
    {
        wire += chunkOf(std::string(100, 'y'));
    }
    wire += "0\r\n\r\n";
    PiecewiseConnection connection(wire);
    HTTPChunkedIStream body(connection.stream());
    EXPECT_EQ(readAll(body, 400000).size(), 300000U);
    EXPECT_LE(connection.reads(), 12);
}

TEST(HTTPLargeChunks, WhatArrivedBeforeAnErrorIsDeliveredAndTheBodyIsBad)
{
    const std::string sent(150000, 'x');
    for (const PiecewiseText::EEnd end : {PiecewiseText::E_ERROR, PiecewiseText::E_THROW, PiecewiseText::E_ORDERLY})
    {
        PiecewiseConnection connection("186a00\r\n" + sent, 10000, end);
        HTTPChunkedIStream body(connection.stream());
        EXPECT_EQ(readAll(body, 400000), sent);
        EXPECT_EQ(stateOf(body), "EFB");
    }
}

TEST(HTTPLargeChunks, AMissingLineEndAfterTheDataIsAnErrorAfterTheData)
{
    const std::string data(100000, 'x');
    PiecewiseConnection connection("186a0\r\n" + data + "xx5\r\nhello\r\n0\r\n\r\n");
    HTTPChunkedIStream body(connection.stream());
    EXPECT_EQ(readAll(body, 400000), data);
    EXPECT_EQ(stateOf(body), "EFB");
}

/// A connection's buffer whose subclass takes a mask from the bytes as they come in.
class UnmaskingBuffer : public IOIFCStreamBuffer
{
public:
    static constexpr char MASK = 0x55;

    using IOIFCStreamBuffer::IOIFCStreamBuffer;

private:
    int_type underflow() override
    {
        const bool refills = gptr() == egptr();
        IOIFCStreamBuffer::underflow();
        for (char* at = refills ? gptr() : egptr(); at != egptr(); ++at)
        {
            *at = static_cast<char>(*at ^ MASK);
        }
        return gptr() == egptr() ? traits_type::eof() : traits_type::to_int_type(*gptr());
    }
};

TEST(HTTPLargeChunks, AreReadThroughTheUnderflowOfADerivedBuffer)
{
    const std::string data(100000, 'x');
    std::string wire = chunkOf(data) + chunkOf(data) + "0\r\n\r\n";
    for (char& c : wire)
    {
        c = static_cast<char>(c ^ UnmaskingBuffer::MASK);
    }
    for (const std::size_t pieceSize : {std::size_t{1000}, std::size_t{65536}})
    {
        PiecewiseDevice device(PiecewiseText(wire, pieceSize, PiecewiseText::E_ORDERLY));
        UnmaskingBuffer buffer(&device);
        std::istream wrapped(&buffer);
        HTTPChunkedIStream body(wrapped);
        EXPECT_EQ(readAll(body, 400000), data + data);
        EXPECT_EQ(stateOf(body), "EF");
    }
}

/// One that keeps no byte in its get area.
class BytewiseBuffer : public BaseStreamBuffer
{
public:
    explicit BytewiseBuffer(std::string text) : BaseStreamBuffer(E_IN, 65536), m_text(std::move(text)) {}

private:
    int_type underflow() override
    {
        return m_next < m_text.size() ? traits_type::to_int_type(m_text[m_next]) : traits_type::eof();
    }
    int_type uflow() override
    {
        const int_type c = underflow();
        m_next += c == traits_type::eof() ? 0 : 1;
        return c;
    }

    const std::string m_text;
    std::size_t m_next = 0;
};

TEST(HTTPLargeChunks, AreReadFromADerivedBufferThatKeepsNothing)
{
    const std::string data(20000, 'x');
    BytewiseBuffer buffer(chunkOf(data) + chunkOf("abc") + "0\r\n\r\n");
    std::istream wrapped(&buffer);
    HTTPChunkedIStream body(wrapped);
    EXPECT_EQ(readAll(body, 400000), data + "abc");
    EXPECT_EQ(stateOf(body), "EF");
}

} // namespace
