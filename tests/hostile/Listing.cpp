#include "Listing.hpp"

#include "Row.hpp"

#include <ostream>

namespace hostile
{

void writeTable(std::ostream& out)
{
    for (const Row& row : table())
    {
        const Row::Client& client = row.client;
        out << row.name << '\t' << row.what << '\t' << describe(row.exchange) << '\t' << describe(row.page)
            << "\tscheme=" << (row.server.identity != nullptr ? "https" : "http") << "\thost=" << client.host
            << "\tmethod=" << client.method << "\tupload=" << client.upload << "\tlimit=" << client.limit
            << "\tconnect=" << client.connectLimit << "\tredirects=" << client.redirects
            << "\tdecompress=" << client.decompress << "\texpect=" << client.expect.has_value()
            << "\ttrust=" << client.trust;
        if (client.bodyLimit)
        {
            out << "\tbodyLimit=" << *client.bodyLimit;
        }
        if (client.deadline)
        {
            out << "\tdeadline=" << *client.deadline;
        }
        for (const auto& [name, value] : client.headers)
        {
            out << "\theader=" << name << ": " << value;
        }
        out << '\n';
    }
}

} // namespace hostile
