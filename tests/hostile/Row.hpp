#pragma once

#include "Identity.hpp"
#include "Script.hpp"

#include "zol/http/ExchangeException.hpp"
#include "zol/http/ExchangeResponse.hpp"
#include "zol/mime/MultipartReader.hpp"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace hostile
{

using ZOLNS2::HTTP::ExchangeException;
using ZOLNS2::HTTP::ExchangeResponse;

/// What exchange() and the reading of its body promise.
struct ExchangeOutcome
{
    struct Failure
    {
        ExchangeException::EPhase phase;
        ExchangeException::ECause cause;
    };

    /// The same with a text that the exception's message or ExchangeResponse::redirectNote() holds.
    ExchangeOutcome saying(const char* text) const;

    unsigned status = 0;                                           ///< 0: exchange() fails
    std::vector<Bytes> bodies;                                     ///< the body, or each part of it that is whole
    ExchangeResponse::EBodyEnd end = ExchangeResponse::E_COMPLETE; ///< of the body
    std::optional<Failure> failure;                                ///< of exchange(), or of the reading of its body
    std::string words;
    bool isPrefix = false; ///< any beginning of the body may have arrived
};

/// @name The outcomes of exchange()
/// @{
/// The body, or each of its parts, has arrived, and ends so.
ExchangeOutcome gives(unsigned status, Bytes body, ExchangeResponse::EBodyEnd end = ExchangeResponse::E_COMPLETE);
/// The same with some beginning of the body, as time decides.
ExchangeOutcome givesSome(unsigned status, Bytes body, ExchangeResponse::EBodyEnd end);
ExchangeOutcome givesParts(std::vector<Bytes> parts, ExchangeResponse::EBodyEnd end = ExchangeResponse::E_COMPLETE);
/// exchange() fails.
ExchangeOutcome fails(ExchangeException::EPhase phase, ExchangeException::ECause cause);
/// The reading of a body fails with an exception, behind these whole parts.
ExchangeOutcome failsBehind(std::vector<Bytes> parts, ExchangeException::ECause cause, ExchangeResponse::EBodyEnd end);
/// @}

/// What getPage() and the reading of its contents promise.
struct PageOutcome
{
    unsigned status = 0;           ///< 0: getPage() throws, or does not return
    std::vector<Bytes> bodies;     ///< each content
    bool isComplete = true;        ///< Response::bodyIsComplete(), after the reading
    bool requestIsComplete = true; ///< Response::requestIsComplete()
    std::string type;              ///< the exception's; empty: it does not return
    int code = 0;                  ///< the exception's
    std::string words;             ///< which its message holds
};

/// @name The outcomes of getPage()
/// @{
PageOutcome returns(unsigned status, Bytes body);
PageOutcome returnsCut(unsigned status, Bytes body);
PageOutcome returnsParts(std::vector<Bytes> parts);
PageOutcome returnsCutParts(std::vector<Bytes> parts);
/// An HTTPException for a status that is no success.
PageOutcome refuses(unsigned status);
/// An HTTPException without a status.
PageOutcome refusesHead(const char* words);
PageOutcome throws(const char* type, int code, const char* words);
/// The program is held: what ends that is the end of the server's patience, or nothing.
PageOutcome doesNotReturn();
/// @}

/// How the body of an exchange is read.
enum EReading
{
    E_AS_IT_COMES,
    E_READ_ALL,
    E_PART_BY_PART
};

/// What a server of a row does.
struct RowServer
{
    Script first;
    Script others;                    ///< empty: as the first
    Identity (*identity)() = nullptr; ///< null: no TLS
    bool scriptsTheHandshake = false;
    int tlsVersion = 0; ///< the only one; 0: all
    void (*adjust)(SSL_CTX*) = nullptr;
};

/// How a row's client asks. Times are in seconds.
struct RowClient
{
    std::string method = "GET";
    std::vector<std::pair<std::string, std::string>> headers;
    std::string host = "127.0.0.1";
    std::size_t upload = 0;
    std::optional<double> expect;
    double limit = 8; ///< longer than any server takes that does not stall
    double connectLimit = 8;
    std::optional<double> deadline;
    ETrust trust = E_THE_AUTHORITY;
    bool decompress = false;
    unsigned redirects = 0;
    std::size_t headLimit = std::size_t{256} * 1024;
    std::optional<std::uint64_t> bodyLimit;
    EReading reading = E_AS_IT_COMES;
    ZOLNS2::MIME::MultipartReader::Limits parts;
};

/// One hostile server with what is promised of it. Times are in seconds.
struct Row
{
    Row(std::string rowName, std::string rowWhat, Script rowScript, ExchangeOutcome rowExchange, PageOutcome rowPage);

    /// @name What a row may say beyond the usual
    /// @{
    Row& times(double limit);      ///< the limits of head and progress
    Row& connecting(double limit); ///< of look-up, connect and handshake
    Row& deadline(double limit);   ///< of the exchange
    Row& tls(Identity (*makeIdentity)(), int version = 0);
    Row& rawTls(Identity (*makeIdentity)()); ///< the script does the handshake
    Row& trusting(ETrust trusted);
    Row& memory(std::size_t bytes);
    Row& seconds(double bound);
    Row& uploading(std::size_t bytes);
    Row& expecting(double limit); ///< "100 Continue"
    Row& method(const char* name);
    Row& header(const char* name, const char* value);
    Row& decompressing();
    Row& following(unsigned redirects);
    Row& thenOn(Script second);                                            ///< of the second and all later connections
    Row& otherServer(Script script, Identity (*makeIdentity)() = nullptr); ///< of another origin
    Row& secret(const char* text);                                         ///< that the other origin must not see
    Row& headLimit(std::size_t bytes);
    Row& bodyLimit(std::uint64_t bytes);
    Row& reading(EReading how);
    Row& partLimits(const ZOLNS2::MIME::MultipartReader::Limits& limits);
    Row& host(const char* name);                  ///< instead of 127.0.0.1
    Row& connections(std::size_t count);          ///< that the exchange opens, redirects included
    Row& adjust(void (*adjustContext)(SSL_CTX*)); ///< the server's TLS context
    /// @}

    using Server = RowServer;
    using Client = RowClient;

    std::string name;
    std::string what;
    Server server;
    std::optional<Server> other;
    Client client;
    ExchangeOutcome exchange;
    PageOutcome page;
    std::string secretText;
    std::size_t connectionCount = 1;
    double secondsBound = 20; ///< for each of both; catches a hang
    std::size_t memoryBound = std::size_t{1}
                              << 20; ///< bytes that the library allocates, freed or not, for each of both
};

/// The outcomes in words.
std::string describe(const ExchangeOutcome& outcome);
std::string describe(const PageOutcome& outcome);

/// @name The table, by topic
/// @{
std::vector<Row> headRows();
std::vector<Row> statusLineRows();
std::vector<Row> bodyRows();
std::vector<Row> chunkedRows();
std::vector<Row> multipartRows();
std::vector<Row> compressedRows();
std::vector<Row> redirectRows();
std::vector<Row> uploadRows();
std::vector<Row> tlsRows();
std::vector<Row> certificateRows();
/// @}

/// All of them.
const std::vector<Row>& table();

/// The row of that name; null if there is none.
const Row* rowNamed(const std::string& name);

} // namespace hostile
