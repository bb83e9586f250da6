#include "zol/http/ExchangeOptions.hpp"

namespace ZOLNS2::HTTP
{

ExchangeOptions::ExchangeOptions() = default;
ExchangeOptions::ExchangeOptions(const ExchangeOptions&) = default;
ExchangeOptions& ExchangeOptions::operator=(const ExchangeOptions&) = default;
ExchangeOptions::~ExchangeOptions() = default;

} // namespace ZOLNS2::HTTP
