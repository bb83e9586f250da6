#pragma once

#include "blocxx/Exception.hpp"
#include "zol/Export.hpp"

namespace ZOLNS2::HTTP
{

/// Why an exchange, or the making of what it needs, failed.
///
/// @code
/// catch (const HTTP::ExchangeException& failure)
/// {
///     std::cerr << failure.getMessage() << '\n';
///     return failure.isSafeToRepeat() ? TRY_AGAIN : GIVE_UP;
/// }
/// @endcode
///
/// The message names what happened and where: the system's or OpenSSL's reason, the address, the line of the head, the
/// limit that was reached. The error code is that of systemError(), -1 if there is none.
class ZOL_API ExchangeException : public blocxx::Exception
{
public:
    /// What was going on.
    enum EPhase
    {
        E_URL,     ///< reading a URL, or checking a request before anything is sent
        E_LOOK_UP, ///< asking for the addresses of the host
        E_CONNECT, ///< opening the connection
        E_TLS,     ///< setting up TLS
        E_SEND,    ///< sending the request
        E_HEAD,    ///< reading the head of the response, interim ones included
        E_BODY,    ///< reading the body of the response
        E_REDIRECT ///< following a redirect
    };

    /// What went wrong.
    enum ECause
    {
        E_ERROR,     ///< none of the others: the message and systemError() say what
        E_CUT,       ///< the input ended before it was whole
        E_TIMED_OUT, ///< nothing moved for as long as was allowed
        E_DEADLINE,  ///< the time for the whole exchange was up
        E_RESET,     ///< the peer reset the connection
        E_CANCELLED, ///< the exchange was cancelled
        E_MALFORMED, ///< what was given or received is not well-formed
        E_LIMIT      ///< something is larger than allowed
    };

    /// @param message     copied
    /// @param systemError an `errno` value, 0 for none
    /// @param status      of the response, 0 for none
    ExchangeException(const char* file, int line, EPhase phase, ECause cause, const char* message, int systemError = 0,
                      int status = 0, const blocxx::Exception* otherException = nullptr) noexcept;
    ExchangeException(const ExchangeException&) = default;
    ExchangeException& operator=(const ExchangeException&) = default;
    ~ExchangeException() noexcept override;

    const char* type() const override;
    ExchangeException* clone() const override;
    void rethrow() const override;

    /// What was going on when it failed.
    EPhase phase() const { return m_phase; }
    /// What went wrong; getMessage() has the words.
    ECause cause() const { return m_cause; }

    /// The `errno` value that the system gave; 0 if it gave none.
    int systemError() const { return m_systemError; }

    /// The status of the response that was being read; 0 if none had been received.
    int status() const { return m_status; }

    /// Whether the server cannot have acted on the request: a connection that was kept from an earlier exchange ended
    /// before the first byte of a response (RFC 9112, section 9.3.1). The library itself sends nothing again.
    bool isSafeToRepeat() const { return m_isSafeToRepeat; }
    /// For the library itself, and for programs that pass such a failure on.
    void setSafeToRepeat() { m_isSafeToRepeat = true; }

private:
    EPhase m_phase;
    ECause m_cause;
    int m_systemError;
    int m_status;
    bool m_isSafeToRepeat = false;
};

} // namespace ZOLNS2::HTTP
