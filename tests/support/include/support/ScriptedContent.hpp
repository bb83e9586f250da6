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

/// A content that delivers the given pieces one by one, an empty one as a read of no bytes, and records what it is
/// asked for. A piece longer than the request is delivered over several calls. What it refuses is set before it is
/// used.
class ScriptedContent : public ZOLNS2::MIME::Content
{
public:
    class State : public ZOLNS2::MIME::ContentStreamState
    {
    public:
        size_t piece = 0;
        size_t offset = 0;
    };

    explicit ScriptedContent(std::vector<std::string> pieces) : m_pieces(std::move(pieces)) {}

    ZOLNS2::MIME::ContentTypeHeader getContentType() override
    {
        throwOnce(typeThrowsOnce);
        return type;
    }
    bool hasContentLength() override
    {
        ++lengthQuestions;
        return lengthIsKnown;
    }
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
        throwOnce(dataThrowsOnce);
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
        throwOnce(stateThrowsOnce);
        if (refusesReaders || (refusesSecondReader && readers > 0))
        {
            throw std::runtime_error("scripted refusal");
        }
        ++readers;
        return ZOLNS2::MIME::ContentStreamStateRef(new State);
    }

    ZOLNS2::MIME::ContentTypeHeader type{"application", "x-scripted", blocxx::Array<ZOLNS2::HTTP::Parameter>()};
    bool lengthIsKnown = true;
    std::optional<size_t> announcedLength; ///< instead of the length of the pieces
    bool refusesReaders = false;
    bool refusesSecondReader = false;
    size_t throwAtPiece = std::numeric_limits<size_t>::max(); ///< at every read of it
    bool dataThrowsOnce = false;                              ///< the next getData()
    bool typeThrowsOnce = false;                              ///< the next getContentType()
    mutable bool stateThrowsOnce = false;                     ///< the next createInitialStreamState()
    mutable size_t readers = 0;                               ///< the stream states that were made
    std::vector<size_t> requests;                             ///< the lengths that getData() was asked for
    int lengthQuestions = 0;                                  ///< the calls of hasContentLength()

private:
    static void throwOnce(bool& asked)
    {
        if (asked)
        {
            asked = false;
            throw std::runtime_error("scripted failure");
        }
    }

    std::vector<std::string> m_pieces;
};

inline blocxx::IntrusiveReference<ScriptedContent> scripted(std::vector<std::string> pieces)
{
    return blocxx::IntrusiveReference<ScriptedContent>(new ScriptedContent(std::move(pieces)));
}

/// Pieces of one byte each, with a read of no bytes after each but the last.
inline std::vector<std::string> byteByByte(const std::string& bytes)
{
    std::vector<std::string> pieces;
    for (const char byte : bytes)
    {
        if (!pieces.empty())
        {
            pieces.emplace_back();
        }
        pieces.emplace_back(1, byte);
    }
    return pieces;
}

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
