#include "zol/http/PayloadIStream.hpp"

namespace ZOLNS2::HTTP
{

PayloadIStream::~PayloadIStream() = default;

} // namespace ZOLNS2::HTTP
