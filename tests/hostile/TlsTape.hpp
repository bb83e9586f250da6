#pragma once

#include "Script.hpp"

#include <openssl/types.h>

#include <memory>
#include <string>
#include <string_view>

namespace hostile
{

/// The server's side of a TLS session whose bytes go through memory, so that a script decides how many of them leave.
class TlsTape
{
public:
    /// @param version the only one that is spoken, such as TLS1_2_VERSION
    TlsTape(const Surroundings& surroundings, int version);
    ~TlsTape();
    TlsTape(const TlsTape&) = delete;
    TlsTape& operator=(const TlsTape&) = delete;

    /// Does the handshake up to a place. False if the peer is gone.
    bool handshake(zol_test::ServerConnection& connection, ETlsPlace place);

    /// What of the last flight has not been sent.
    const std::string& rest() const { return m_rest; }

    /// Receives the head of a request.
    void request(zol_test::ServerConnection& connection);

    /// The record that holds these bytes.
    std::string record(std::string_view bytes);

private:
    struct ContextDeleter
    {
        void operator()(SSL_CTX* context) const;
    };
    struct SessionDeleter
    {
        void operator()(SSL* session) const;
    };

    void feed(zol_test::ServerConnection& connection);
    std::string step();
    std::string drain();

    const int m_version;
    std::unique_ptr<SSL_CTX, ContextDeleter> m_context;
    std::unique_ptr<SSL, SessionDeleter> m_session;
    std::string m_rest;
};

} // namespace hostile
