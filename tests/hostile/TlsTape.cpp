#include "TlsTape.hpp"

#include <openssl/bio.h>
#include <openssl/err.h>
#include <openssl/pem.h>
#include <openssl/ssl.h>

#include <array>
#include <stdexcept>
#include <vector>

namespace hostile
{

namespace
{

// RFC 8446, section 5.1: type, version and length stand in front of a record.
constexpr std::size_t RECORD_HEADER = 5;

void require(bool done, const char* what)
{
    if (!done)
    {
        throw std::runtime_error(std::string("TLS on tape: ") + what);
    }
}

std::size_t lengthOf(std::string_view recordHeader)
{
    return static_cast<unsigned char>(recordHeader[3]) * std::size_t{256} + static_cast<unsigned char>(recordHeader[4]);
}

/// Where each record of a flight ends.
std::vector<std::size_t> endsOf(std::string_view flight)
{
    std::vector<std::size_t> ends;
    for (std::size_t at = 0; at + RECORD_HEADER <= flight.size();)
    {
        at += RECORD_HEADER + lengthOf(flight.substr(at));
        ends.push_back(at);
    }
    return ends;
}

void useIdentity(SSL_CTX* context, const Surroundings& surroundings)
{
    const auto open = [](const std::string& text) {
        return std::unique_ptr<BIO, int (*)(BIO*)>(BIO_new_mem_buf(text.data(), static_cast<int>(text.size())),
                                                   BIO_free);
    };
    const auto chain = open(surroundings.certificate);
    const std::unique_ptr<X509, void (*)(X509*)> own(PEM_read_bio_X509(chain.get(), nullptr, nullptr, nullptr),
                                                     X509_free);
    require(own && SSL_CTX_use_certificate(context, own.get()) == 1, "certificate");
    for (;;)
    {
        const std::unique_ptr<X509, void (*)(X509*)> above(PEM_read_bio_X509(chain.get(), nullptr, nullptr, nullptr),
                                                           X509_free);
        if (!above)
        {
            ERR_clear_error();
            break;
        }
        SSL_CTX_add1_chain_cert(context, above.get());
    }
    const auto keyText = open(surroundings.privateKey);
    const std::unique_ptr<EVP_PKEY, void (*)(EVP_PKEY*)> key(
        PEM_read_bio_PrivateKey(keyText.get(), nullptr, nullptr, nullptr), EVP_PKEY_free);
    require(key && SSL_CTX_use_PrivateKey(context, key.get()) == 1, "key");
}

/// How much of the first flight is sent. That of TLS 1.2 has a record for each message: hello, certificate, key
/// exchange, done. That of TLS 1.3: hello, change of cipher, extensions, certificate, its verification, finished.
std::size_t lengthUpTo(ETlsPlace place, const std::vector<std::size_t>& ends, int version)
{
    const std::size_t certificate = version == TLS1_3_VERSION ? 3 : 1;
    require(ends.size() > certificate + 1, "the first flight has fewer records than expected");
    const auto middleOf = [&ends](std::size_t record)
    {
        const std::size_t start = record == 0 ? 0 : ends[record - 1];
        return start + (ends[record] - start) / 2;
    };
    switch (place)
    {
    case E_BEFORE_SERVER_HELLO:
        return 0;
    case E_IN_SERVER_HELLO:
        return middleOf(0);
    case E_BEHIND_SERVER_HELLO:
        return ends[0];
    case E_IN_CERTIFICATE:
        return middleOf(certificate);
    case E_BEHIND_CERTIFICATE:
        return ends[certificate];
    case E_BEFORE_FINISHED:
        return version == TLS1_3_VERSION ? ends[ends.size() - 2] : ends.back();
    case E_IN_FINISHED:
        return version == TLS1_3_VERSION ? middleOf(ends.size() - 1) : ends.back();
    default:
        return ends.back();
    }
}

} // namespace

void TlsTape::ContextDeleter::operator()(SSL_CTX* context) const
{
    SSL_CTX_free(context);
}

void TlsTape::SessionDeleter::operator()(SSL* session) const
{
    SSL_free(session);
}

TlsTape::TlsTape(const Surroundings& surroundings, int version)
    : m_version(version), m_context(SSL_CTX_new(TLS_server_method()))
{
    require(m_context != nullptr, "context");
    SSL_CTX_set_security_level(m_context.get(), 0); // weak keys are shown as well
    useIdentity(m_context.get(), surroundings);
    SSL_CTX_set_min_proto_version(m_context.get(), version);
    SSL_CTX_set_max_proto_version(m_context.get(), version);
    if (surroundings.adjust != nullptr)
    {
        surroundings.adjust(m_context.get());
    }
    m_session.reset(SSL_new(m_context.get()));
    require(m_session != nullptr, "session");
    SSL_set_bio(m_session.get(), BIO_new(BIO_s_mem()), BIO_new(BIO_s_mem()));
    SSL_set_accept_state(m_session.get());
}

TlsTape::~TlsTape() = default;

/// Takes one record of the peer's.
void TlsTape::feed(zol_test::ServerConnection& connection)
{
    const std::string header = connection.receive(RECORD_HEADER);
    const std::string record = header + connection.receive(lengthOf(header));
    BIO_write(SSL_get_rbio(m_session.get()), record.data(), static_cast<int>(record.size()));
}

std::string TlsTape::drain()
{
    char* data = nullptr;
    const long size = BIO_get_mem_data(SSL_get_wbio(m_session.get()), &data);
    std::string bytes(data, static_cast<std::size_t>(size));
    BIO_reset(SSL_get_wbio(m_session.get()));
    return bytes;
}

std::string TlsTape::step()
{
    ERR_clear_error();
    SSL_do_handshake(m_session.get());
    return drain();
}

bool TlsTape::handshake(zol_test::ServerConnection& connection, ETlsPlace place)
{
    feed(connection);
    const std::string flight = step();
    const std::size_t length = lengthUpTo(place, endsOf(flight), m_version);
    m_rest = flight.substr(length);
    if (!connection.send(flight.substr(0, length)))
    {
        return false;
    }
    if (place < E_BEFORE_FINISHED || (m_version == TLS1_3_VERSION && place < E_BEHIND_FINISHED))
    {
        return true;
    }
    std::string last;
    while (last.empty() && SSL_is_init_finished(m_session.get()) == 0)
    {
        feed(connection);
        last = step();
    }
    const std::vector<std::size_t> ends = endsOf(last);
    const std::size_t sent = place == E_BEFORE_FINISHED ? 0
                             : place == E_IN_FINISHED   ? ends.at(ends.size() - 2) + RECORD_HEADER
                                                        : last.size();
    m_rest = last.substr(sent);
    return connection.send(last.substr(0, sent));
}

void TlsTape::request(zol_test::ServerConnection& connection)
{
    std::string received;
    std::array<char, 4096> block{};
    while (received.find("\r\n\r\n") == std::string::npos)
    {
        feed(connection);
        for (int count = 0; (count = SSL_read(m_session.get(), block.data(), static_cast<int>(block.size()))) > 0;)
        {
            received.append(block.data(), static_cast<std::size_t>(count));
        }
        drain();
    }
}

std::string TlsTape::record(std::string_view bytes)
{
    require(SSL_write(m_session.get(), bytes.data(), static_cast<int>(bytes.size())) > 0, "write");
    return drain();
}

} // namespace hostile
