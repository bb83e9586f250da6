#include "zol/text/TormudaTextOperations.hpp"

#include <sstream>

namespace ZOLNS2::TextOperationsDetail
{

blocxx::String Printable::text() const
{
    std::ostringstream out;
    m_print(out, m_value);
    return out.str();
}

} // namespace ZOLNS2::TextOperationsDetail
