#pragma once

#include "exchange/ReceivedBody.hpp"

#include <zlib.h>

#include <cstddef>
#include <memory>

namespace ZOLNS2::HTTP
{

/// A body with the compression of its content coding undone (RFC 9110, section 8.4.1): gzip (RFC 1952, members one
/// behind the other included), and deflate with zlib's frame (RFC 1950) or, as some servers send it, without (RFC 1951).
class DecodedBody : public ReceivedBody
{
public:
    enum ECoding
    {
        E_GZIP,
        E_DEFLATE
    };

    DecodedBody(const ReceivedBodyRef& encoded, ECoding coding, std::uint64_t limit);
    ~DecodedBody() override;

    /// Never known: the announced length is that of the compressed data.
    bool hasContentLength() override { return false; }
    size_t getContentLength() override;

protected:
    size_t read(char* buffer, size_t room) override;

private:
    bool fetch();
    bool start();
    bool startNextMember();
    int windowBits() const;
    void finishEncoded();
    void finishMalformed(const char* reason);

    static constexpr size_t BLOCK_SIZE = 16384;

    ReceivedBodyRef m_encoded;
    MIME::ContentStreamStateRef m_state;
    const ECoding m_coding;
    z_stream m_zlib{};
    bool m_started = false;
    bool m_memberEnded = false;
    size_t m_held = 0; // bytes in the block that zlib has not been given yet
    std::unique_ptr<unsigned char[]> m_block;
};

} // namespace ZOLNS2::HTTP
