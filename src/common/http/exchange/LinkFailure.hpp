#pragma once

#include "exchange/ExchangeLink.hpp"

#include "blocxx/String.hpp"
#include "blocxx/Timeout.hpp"
#include "zol/http/ExchangeException.hpp"

namespace ZOLNS2::HTTP
{

/// Why a transfer over a connection ended.
struct LinkFailure
{
    ExchangeException::ECause cause = ExchangeException::E_ERROR;
    int systemError = 0;
    blocxx::String text;

    /// Whether the peer ended the connection, in order or by a reset.
    bool endedConnection() const { return cause == ExchangeException::E_CUT || cause == ExchangeException::E_RESET; }
};

/// Why there is no more input: an orderly end is a cut here.
/// @param phaseTimeout what bounded the phase beside the time without progress, for the text
LinkFailure inputFailureOf(ExchangeLink& link, const ExchangeGuard& guard, const blocxx::Timeout& phaseTimeout);

/// Why a write failed, whose `errno` is given.
LinkFailure outputFailureOf(ExchangeLink& link, const ExchangeGuard& guard, int error);

} // namespace ZOLNS2::HTTP
