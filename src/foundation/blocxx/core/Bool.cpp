#include "blocxx/Bool.hpp"

#include <ostream>

namespace blocxx
{

std::ostream& operator<<(std::ostream& out, Bool value)
{
    return out << value.toString();
}

} // namespace blocxx
