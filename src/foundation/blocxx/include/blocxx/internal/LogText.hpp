#pragma once

#include "blocxx/BLOCXX_config.h"
#include "blocxx/String.hpp"

#include <iosfwd>
#include <memory>

namespace blocxx::Internal
{

/// Internal to the libraries of this project; not an interface for programs.
///
/// What a logging statement writes its message to: a stream with the C locale.
class BLOCXX_COMMON_API LogText
{
public:
    LogText();
    ~LogText();
    LogText(const LogText&) = delete;
    LogText& operator=(const LogText&) = delete;

    std::ostream& stream();
    String text() const;

private:
    // Behind a pointer: <sstream> and <locale> are large, and every program with a logger would include them.
    const std::unique_ptr<std::ostringstream> m_stream;
};

} // namespace blocxx::Internal
