#include "blocxx/IOIFC.hpp"

namespace blocxx
{

IOIFC::~IOIFC() = default;

String IOIFC::lastErrorText() const
{
    return String();
}

} // namespace blocxx
