#pragma once

#include "zol/mime/Content.hpp"

#include <algorithm>
#include <limits>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace zol_test
{

/// A content that delivers the given pieces one by one, an empty one as a read of no bytes, and notes what it is asked
/// for. A piece longer than the request is delivered over several calls.
class ScriptedContent : public ZOLNS2::MIME::Content
{
public:
    explicit ScriptedContent(std::vector<std::string> pieces) : m_pieces(std::move(pieces)) {}

    ZOLNS2::MIME::ContentTypeHeader getContentType() override { return {"application", "x-scripted", {}}; }
    bool hasContentLength() override { return lengthIsKnown; }
    size_t getContentLength() override
    {
        if (!lengthIsKnown)
        {
            throw std::logic_error("no length");
        }
        if (announcedLength)
        {
            return *announcedLength;
        }
        size_t length = 0;
        for (const std::string& piece : m_pieces)
        {
            length += piece.size();
        }
        return length;
    }

    size_t getData(char* buf, size_t len, const ZOLNS2::MIME::ContentStreamStateRef& state) override
    {
        requests.push_back(len);
        auto& own = dynamic_cast<State&>(*state);
        if (own.piece == throwAtPiece)
        {
            throw std::runtime_error("scripted failure");
        }
        if (own.piece == m_pieces.size())
        {
            return ZOLNS2::MIME::END_OF_DATA;
        }
        const std::string& piece = m_pieces[own.piece];
        const size_t count = std::min(len, piece.size() - own.offset);
        std::copy_n(piece.data() + own.offset, count, buf);
        own.offset += count;
        if (own.offset == piece.size())
        {
            ++own.piece;
            own.offset = 0;
        }
        return count;
    }

    ZOLNS2::MIME::ContentStreamStateRef createInitialStreamState() const override
    {
        if (refusesReaders)
        {
            throw std::runtime_error("scripted refusal");
        }
        ++readers;
        return ZOLNS2::MIME::ContentStreamStateRef(new State);
    }

    bool lengthIsKnown = true;
    std::optional<size_t> announcedLength; ///< instead of the length of the pieces
    bool refusesReaders = false;
    size_t throwAtPiece = std::numeric_limits<size_t>::max();
    mutable size_t readers = 0;   ///< the stream states that were made
    std::vector<size_t> requests; ///< the lengths that getData() was asked for

private:
    struct State : ZOLNS2::MIME::ContentStreamState
    {
        size_t piece = 0;
        size_t offset = 0;
    };

    std::vector<std::string> m_pieces;
};

/// `length` bytes in which no run repeats soon, so that a misplaced block is seen.
inline std::string distinctBytes(size_t length)
{
    std::string bytes(length, '\0');
    unsigned int x = 12345;
    for (char& byte : bytes)
    {
        x = x * 1664525U + 1013904223U;
        byte = static_cast<char>(x >> 24U);
    }
    return bytes;
}

} // namespace zol_test
