#include "Shorthand.hpp"

#include <openssl/ssl.h>

#include <cerrno>

namespace hostile
{

namespace
{

const std::string WHOLE = OK + "Content-Length: 5\r\n\r\nhello";
const std::string HEAD = OK + "Content-Length: 5\r\n\r\n";

struct Place
{
    const char* name;
    const char* what;
    int version;
    ETlsPlace place;
};

/// In which the client waits for the server.
const Place PLACES[] = {
    {"BeforeHello", "before its hello", TLS1_3_VERSION, E_BEFORE_SERVER_HELLO},
    {"InHello", "within its hello", TLS1_3_VERSION, E_IN_SERVER_HELLO},
    {"InCertificate", "within its certificate", TLS1_3_VERSION, E_IN_CERTIFICATE},
    {"InFinished", "within its finished message", TLS1_3_VERSION, E_IN_FINISHED},
    {"InHello12", "within its hello of TLS 1.2", TLS1_2_VERSION, E_IN_SERVER_HELLO},
    {"InCertificate12", "within its certificate of TLS 1.2", TLS1_2_VERSION, E_IN_CERTIFICATE},
    {"BeforeFinished12", "before its finished message of TLS 1.2", TLS1_2_VERSION, E_BEFORE_FINISHED},
    {"InFinished12", "within its finished message of TLS 1.2", TLS1_2_VERSION, E_IN_FINISHED},
};

Row at(const Place& place, const char* how, const char* what, const Step& end, ExchangeOutcome exchange,
       PageOutcome page)
{
    return Row("Tls"s + how + place.name, what + " "s + place.what, {handshake(place.version, place.place), end},
               std::move(exchange), std::move(page))
        .rawTls(&soundIdentity);
}

std::vector<Row> handshakes()
{
    const PageOutcome late = throws("SocketException", ETIMEDOUT, "TLS handshake");
    std::vector<Row> rows;
    for (const Place& place : PLACES)
    {
        rows.push_back(at(place, "Closed", "closes", shut(),
                          fails(X::E_TLS, X::E_ERROR).saying("the peer closed the connection during the handshake"),
                          throws("SSLException", -1, "127.0.0.1")));
        rows.push_back(at(place, "Reset", "resets", reset(), fails(X::E_TLS, X::E_RESET),
                          throws("SSLException", ECONNRESET, "127.0.0.1")));
        rows.push_back(
            at(place, "Stall", "falls silent", stall(), fails(X::E_TLS, X::E_TIMED_OUT), late).connecting(SHORT));
    }
    for (const Place& place : {PLACES[1], PLACES[2], PLACES[6]})
    {
        rows.push_back(
            at(place, "Drip", "drips all bytes behind the place", dripFlight(), fails(X::E_TLS, X::E_TIMED_OUT), late)
                .connecting(SHORT));
    }
    return rows;
}

std::vector<Row> records()
{
    const auto script = [](int version, Script rest)
    {
        Script all = {handshake(version, E_BEHIND_FINISHED), request()};
        all.insert(all.end(), rest.begin(), rest.end());
        return all;
    };
    return {
        Row("TlsWhole", "responds over TLS", responds(WHOLE), gives(200, "hello"), returns(200, "hello"))
            .tls(&soundIdentity),
        Row("TlsWhole12", "responds over TLS 1.2", responds(WHOLE), gives(200, "hello"), returns(200, "hello"))
            .tls(&soundIdentity, TLS1_2_VERSION),
        Row("TlsResetBehindTheHandshake", "resets behind the handshake",
            {handshake(TLS1_3_VERSION, E_BEHIND_FINISHED), request(), reset()}, fails(X::E_HEAD, X::E_RESET),
            refusesHead(NO_STATUS_LINE))
            .rawTls(&soundIdentity),
        Row("TlsClosedInARecord", "closes within a record", script(TLS1_3_VERSION, {halfRecord(WHOLE), shut()}),
            fails(X::E_HEAD, X::E_CUT), refusesHead(NO_STATUS_LINE))
            .rawTls(&soundIdentity),
        Row("TlsResetInARecord", "resets within a record", script(TLS1_3_VERSION, {halfRecord(WHOLE), reset()}),
            fails(X::E_HEAD, X::E_RESET), refusesHead(NO_STATUS_LINE))
            .rawTls(&soundIdentity),
        Row("TlsStallInARecord", "falls silent within a record", script(TLS1_3_VERSION, {halfRecord(WHOLE), stall()}),
            fails(X::E_HEAD, X::E_TIMED_OUT), refusesHead(NO_STATUS_LINE))
            .rawTls(&soundIdentity)
            .times(SHORT),
        Row("TlsClosedInARecordOfTheBody", "closes within a record of the body",
            script(TLS1_3_VERSION, {send(HEAD + "hel"), halfRecord("lo"), shut()}), gives(200, "hel", R::E_CUT),
            returnsCut(200, "hel"))
            .rawTls(&soundIdentity),
        Row("TlsStallInARecordOfTheBody", "falls silent within a record of the body",
            script(TLS1_2_VERSION, {send(HEAD + "hel"), halfRecord("lo"), stall()}), gives(200, "hel", R::E_TIMED_OUT),
            returnsCut(200, "hel"))
            .rawTls(&soundIdentity)
            .times(SHORT),
        Row("TlsCutInABody", "closes within the body without close-notify", {request(), send(HEAD + "hel"), cut()},
            gives(200, "hel", R::E_CUT), returnsCut(200, "hel"))
            .tls(&soundIdentity),
        Row("TlsCutBehindABodyToTheClose", "closes behind a body without length, without close-notify",
            {request(), send(OK + "\r\nhello"), cut()}, gives(200, "hello", R::E_CUT), returnsCut(200, "hello"))
            .tls(&soundIdentity),
        Row("TlsClosedBehindABodyToTheClose", "closes behind a body without length, with close-notify",
            {request(), send(OK + "\r\nhello"), shut()}, gives(200, "hello"), returns(200, "hello"))
            .tls(&soundIdentity),
        Row("TlsCutBehindALength", "closes behind a body with a length, without close-notify",
            {request(), send(WHOLE), cut()}, gives(200, "hello"), returnsCut(200, "hello"))
            .tls(&soundIdentity),
        Row("TlsCutBehindTheLastChunk", "closes behind the last chunk without close-notify",
            {request(), send(CHUNKED + "5\r\nhello\r\n0\r\n"), cut()}, gives(200, "hello"), returns(200, "hello"))
            .tls(&soundIdentity),
        Row("TlsCutBeforeTheLastChunk", "closes before the last chunk without close-notify",
            {request(), send(CHUNKED + "5\r\nhello\r\n"), cut()}, gives(200, "hello", R::E_CUT),
            returnsCut(200, "hello"))
            .tls(&soundIdentity),
        Row("TlsCutInAHead", "closes within the head without close-notify", {request(), send(OK + "X: y"), cut()},
            fails(X::E_HEAD, X::E_CUT), refusesHead(BAD_STATUS_LINE))
            .tls(&soundIdentity),
        Row("TlsClosedInAHead", "closes within the head with close-notify", {request(), send(OK + "X: y"), shut()},
            fails(X::E_HEAD, X::E_CUT), refusesHead(BAD_STATUS_LINE))
            .tls(&soundIdentity),
        Row("TlsHeadDrip", "drips a head, a record for each byte", {request(), send(OK + "X: "), dripForever("x")},
            fails(X::E_HEAD, X::E_TIMED_OUT), doesNotReturn())
            .tls(&soundIdentity)
            .times(SHORT),
        Row("TlsGarbageBehindTheHandshake", "sends bytes that are no record behind a response",
            script(TLS1_3_VERSION, {send(HEAD + "hel"), drip("this is no record")}), gives(200, "hel", R::E_FAILED),
            returnsCut(200, "hel"))
            .rawTls(&soundIdentity),
    };
}

std::vector<Row> messages()
{
    return {
        Row("TlsFewKeyUpdates", "sends 10 key updates before its response", {request(), keyUpdates(10), send(WHOLE)},
            gives(200, "hello"), returns(200, "hello"))
            .tls(&soundIdentity, TLS1_3_VERSION),
        Row("TlsFloodOfKeyUpdates", "sends key updates without end", {request(), keyUpdates(100000000)},
            fails(X::E_HEAD, X::E_TIMED_OUT), refusesHead(NO_STATUS_LINE))
            .tls(&soundIdentity, TLS1_3_VERSION)
            .times(SHORT),
        Row("TlsFloodOfKeyUpdatesInABody", "sends key updates without end within the body",
            {request(), send(HEAD + "hel"), keyUpdates(100000000)}, gives(200, "hel", R::E_TIMED_OUT),
            returnsCut(200, "hel"))
            .tls(&soundIdentity, TLS1_3_VERSION)
            .times(SHORT),
        Row("TlsManyTickets", "sends 100 session tickets before its response", {request(), tickets(100), send(WHOLE)},
            gives(200, "hello"), returns(200, "hello"))
            .tls(&soundIdentity, TLS1_3_VERSION),
        Row("TlsFloodOfTickets", "sends session tickets without end", {request(), tickets(100000000)},
            fails(X::E_HEAD, X::E_TIMED_OUT), refusesHead(NO_STATUS_LINE))
            .tls(&soundIdentity, TLS1_3_VERSION)
            .times(SHORT),
        Row("TlsRenegotiation", "asks for a new handshake before its response", {request(), renegotiate(), send(WHOLE)},
            gives(200, "hello"), returns(200, "hello"))
            .tls(&soundIdentity, TLS1_2_VERSION),
        Row("TlsRenegotiationAndStall", "asks for a new handshake and says no more",
            {request(), renegotiate(), stall()}, fails(X::E_HEAD, X::E_TIMED_OUT), refusesHead(NO_STATUS_LINE))
            .tls(&soundIdentity, TLS1_2_VERSION)
            .times(SHORT),
    };
}

void withoutStrongCiphers(SSL_CTX* context)
{
    SSL_CTX_set_security_level(context, 0);
    SSL_CTX_set_cipher_list(context, "NULL:aNULL:@SECLEVEL=0");
}

void withOldVersions(SSL_CTX* context)
{
    SSL_CTX_set_security_level(context, 0);
    SSL_CTX_set_cipher_list(context, "ALL:@SECLEVEL=0");
}

void demandingACertificate(SSL_CTX* context)
{
    SSL_CTX_set_verify(context, SSL_VERIFY_PEER | SSL_VERIFY_FAIL_IF_NO_PEER_CERT, nullptr);
}

std::vector<Row> agreements()
{
    const auto refused = [](const char* name, const char* what, Script script) {
        return Row(name, what, std::move(script), fails(X::E_TLS, X::E_ERROR), throws("SSLException", -1, "127.0.0.1"));
    };
    return {
        Row("TlsOnAPlainPort", "speaks no TLS", {take(1), send("HTTP/1.1 400 Bad Request\r\n\r\n")},
            fails(X::E_TLS, X::E_ERROR), throws("SSLException", -1, "127.0.0.1"))
            .rawTls(&soundIdentity),
        Row("TlsHelloOfZeros", "sends zeros for a hello", {take(1), send("\0"s, MIB)}, fails(X::E_TLS, X::E_ERROR),
            throws("SSLException", -1, "127.0.0.1"))
            .rawTls(&soundIdentity),
        Row("TlsRecordTooLarge", "sends a record larger than a record may be",
            {take(1), send("\x16\x03\x03\xff\xff"s), send("\2", 65535)}, fails(X::E_TLS, X::E_ERROR),
            throws("SSLException", -1, "127.0.0.1"))
            .rawTls(&soundIdentity),
        Row("TlsHelloWithoutEnd", "sends a hello of 16 MiB",
            {take(1), send("\x16\x03\x03\x40\x00\x02\xff\xff\xff"s + std::string(16380, '\2')),
             send("\x16\x03\x03\x40\x00"s + std::string(16384, '\2'), 1024)},
            fails(X::E_TLS, X::E_ERROR), throws("SSLException", -1, "127.0.0.1"))
            .rawTls(&soundIdentity),
        Row("TlsAlert", "sends an alert for a hello", {take(1), send("\x15\x03\x03\x00\x02\x02\x28"s)},
            fails(X::E_TLS, X::E_ERROR), throws("SSLException", -1, "127.0.0.1"))
            .rawTls(&soundIdentity),
        Row("TlsFloodOfWarnings", "sends warnings without end for a hello",
            {take(1), send("\x15\x03\x03\x00\x02\x01\x5a"s, 1000000)}, fails(X::E_TLS, X::E_ERROR),
            throws("SSLException", -1, "127.0.0.1"))
            .rawTls(&soundIdentity),
        refused("TlsOfVersion11", "speaks TLS 1.1 at most", responds(WHOLE))
            .tls(&soundIdentity, TLS1_1_VERSION)
            .adjust(&withOldVersions),
        refused("TlsOfVersion10", "speaks TLS 1.0 at most", responds(WHOLE))
            .tls(&soundIdentity, TLS1_VERSION)
            .adjust(&withOldVersions),
        refused("TlsWithoutEncryption", "offers ciphers alone that do not encrypt or prove nothing", responds(WHOLE))
            .tls(&soundIdentity, TLS1_2_VERSION)
            .adjust(&withoutStrongCiphers),
        refused("TlsDemandsACertificate12", "demands a certificate of the client in TLS 1.2", responds(WHOLE))
            .tls(&soundIdentity, TLS1_2_VERSION)
            .adjust(&demandingACertificate),
        Row("TlsDemandsACertificate", "demands a certificate of the client in TLS 1.3",
            {handshake(TLS1_3_VERSION, E_BEHIND_FINISHED), receiveKept()},
            fails(X::E_HEAD, X::E_ERROR).saying("certificate required"), refusesHead(NO_STATUS_LINE))
            .rawTls(&soundIdentity)
            .adjust(&demandingACertificate),
    };
}

std::vector<Row> lookUps()
{
    return {
        Row("LookUpStall", "has a name whose look-up does not end", {}, fails(X::E_LOOK_UP, X::E_TIMED_OUT),
            doesNotReturn())
            .host("in1000000.names.example")
            .connections(0)
            .connecting(SHORT),
        Row("LookUpFails", "has a name whose look-up fails", {}, fails(X::E_LOOK_UP, X::E_ERROR),
            throws("UnknownHostException", -1, "broken.names.example"))
            .host("broken.names.example")
            .connections(0),
        Row("LookUpSlow", "has a name whose look-up takes 200 ms", responds(WHOLE), gives(200, "hello"),
            returns(200, "hello"))
            .host("in200.names.example"),
    };
}

} // namespace

std::vector<Row> tlsRows()
{
    std::vector<Row> rows;
    for (auto* make : {handshakes, records, messages, agreements, lookUps})
    {
        for (Row& row : make())
        {
            rows.push_back(std::move(row));
        }
    }
    return rows;
}

} // namespace hostile
