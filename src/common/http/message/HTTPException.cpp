#include "zol/http/HTTPException.hpp"

namespace ZOLNS2::HTTP
{

// Without an id of its own: it reports the -1 that its throwers pass.
BLOCXX_DEFINE_EXCEPTION(HTTP)

} // namespace ZOLNS2::HTTP
