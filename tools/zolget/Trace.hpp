#pragma once

#include "zol/http/ExchangeObserver.hpp"

#include <ostream>
#include <string_view>

namespace zolget
{

/// Shows exchanges to the user: address, TLS, and every head, safe for a terminal. Credentials and cookies are hidden.
class Trace : public ZOLNS2::HTTP::ExchangeObserver
{
public:
    explicit Trace(std::ostream& out) : m_out(out) {}

    void connected(const ZOLNS2::HTTP::ExchangeConnection& connection) override;
    void sending(const blocxx::String& head) override;
    void received(const ZOLNS2::HTTP::StatusLine& statusLine, const ZOLNS2::HTTP::Headers& headers) override;

private:
    void showLine(const char* mark, std::string_view text);
    void showField(const char* mark, std::string_view name, std::string_view value);

    std::ostream& m_out;
};

} // namespace zolget
