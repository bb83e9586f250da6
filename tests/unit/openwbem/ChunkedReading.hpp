#pragma once

#include "PiecewiseInput.hpp"

#include "openwbem/OW_HTTPChunkedIStream.hpp"

#include <gtest/gtest.h>

#include <cstddef>
#include <istream>
#include <iterator>
#include <sstream>
#include <string>

namespace zol_test
{

inline std::string readBlock(std::istream& stream, std::size_t size)
{
    std::string block(size, '\0');
    stream.read(block.data(), static_cast<std::streamsize>(size));
    block.resize(static_cast<std::size_t>(stream.gcount()));
    return block;
}

/// Reads to the end, one byte at a time.
inline std::string readBytes(std::istream& stream)
{
    std::string bytes;
    for (int c = stream.get(); c != std::char_traits<char>::eof(); c = stream.get())
    {
        bytes += static_cast<char>(c);
    }
    return bytes;
}

inline blocxx::BaseStreamBuffer::EInputState inputStateOf(OpenWBEM::HTTPChunkedIStream& stream)
{
    return dynamic_cast<blocxx::BaseStreamBuffer&>(*stream.rdbuf()).inputState();
}

enum EBlocks
{
    E_ONE_BLOCK = 1 << 20,
    E_BLOCKS_OF_3 = 3,
    E_SINGLE_BYTES = 0
};

inline std::string readAll(OpenWBEM::HTTPChunkedIStream& body, EBlocks blocks)
{
    if (blocks == E_SINGLE_BYTES)
    {
        return readBytes(body);
    }
    std::string all;
    while (body)
    {
        all += readBlock(body, blocks);
    }
    return all;
}

struct Way
{
    EBlocks blocks;
    std::size_t pieceSize; // 0: a string stream
};

inline const Way WAYS[] = {{E_ONE_BLOCK, 0},    {E_ONE_BLOCK, 65536},    {E_ONE_BLOCK, 1},    {E_ONE_BLOCK, 7},
                           {E_BLOCKS_OF_3, 0},  {E_BLOCKS_OF_3, 65536},  {E_BLOCKS_OF_3, 1},  {E_BLOCKS_OF_3, 5},
                           {E_SINGLE_BYTES, 0}, {E_SINGLE_BYTES, 65536}, {E_SINGLE_BYTES, 1}, {E_SINGLE_BYTES, 5}};

/// Reads a body in all ways; `check` gets the stream, the data read, the state of the wrapped stream, and what is left.
template <typename Check>
void readInAllWays(const std::string& wire, Check check)
{
    for (const Way& way : WAYS)
    {
        SCOPED_TRACE("blocks " + std::to_string(way.blocks) + ", pieces " + std::to_string(way.pieceSize));
        if (way.pieceSize == 0)
        {
            std::istringstream wrapped(wire);
            OpenWBEM::HTTPChunkedIStream body(wrapped);
            const std::string data = readAll(body, way.blocks);
            const std::string wrappedState = stateOf(wrapped);
            wrapped.clear();
            check(body, data, wrappedState, std::string(std::istreambuf_iterator<char>(wrapped), {}));
        }
        else
        {
            PiecewiseInput buffer(wire, way.pieceSize);
            std::istream wrapped(&buffer);
            OpenWBEM::HTTPChunkedIStream body(wrapped);
            const std::string data = readAll(body, way.blocks);
            check(body, data, stateOf(wrapped), buffer.left());
        }
    }
}

} // namespace zol_test
