#include "zol/mime/ContentException.hpp"

namespace ZOLNS2::MIME
{

BLOCXX_DEFINE_EXCEPTION(Content)

} // namespace ZOLNS2::MIME
