#pragma once

#include <string>
#include <vector>

namespace zol_test
{

/// While it lives, the process's resolver returns what the test says for one name. One at a time.
class ScriptedResolver
{
public:
    /// The name has these addresses, in this order.
    ScriptedResolver(const std::string& name, const std::vector<std::string>& addresses);

    /// The look-up of the name fails with this code of getaddrinfo(3), and this `errno`.
    ScriptedResolver(const std::string& name, int code, int error = 0);

    ~ScriptedResolver();
    ScriptedResolver(const ScriptedResolver&) = delete;
    ScriptedResolver& operator=(const ScriptedResolver&) = delete;

    /// How often the process has called its resolver, for any name.
    static int lookUps();

    /// How many lists of addresses the program and its libraries have given back to the resolver.
    static int freedLists();
};

} // namespace zol_test
