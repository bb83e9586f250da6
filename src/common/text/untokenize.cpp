#include "zol/text/untokenize.hpp"

namespace ZOLNS2
{

blocxx::String untokenize(const blocxx::Array<blocxx::String>& words, const blocxx::String& separator)
{
    blocxx::String joined;
    bool first = true;
    for (const blocxx::String& word : words)
    {
        if (!first)
        {
            joined += separator;
        }
        joined += word;
        first = false;
    }
    return joined;
}

} // namespace ZOLNS2
