#include "zol/search/boyer_moore_search.hpp"

namespace ZOLNS2
{

template class boyer_moore_search<char, unsigned long, int>;

} // namespace ZOLNS2
