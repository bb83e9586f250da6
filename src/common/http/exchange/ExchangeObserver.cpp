#include "zol/http/ExchangeObserver.hpp"

namespace ZOLNS2::HTTP
{

ExchangeObserver::ExchangeObserver() = default;
ExchangeObserver::ExchangeObserver(const ExchangeObserver&) = default;
ExchangeObserver& ExchangeObserver::operator=(const ExchangeObserver&) = default;
ExchangeObserver::~ExchangeObserver() = default;

void ExchangeObserver::connected(const ExchangeConnection&) {}

void ExchangeObserver::sending(const blocxx::String&) {}

void ExchangeObserver::received(const StatusLine&, const Headers&) {}

} // namespace ZOLNS2::HTTP
