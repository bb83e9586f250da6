#pragma once

#include "blocxx/BLOCXX_config.h"

namespace blocxx
{

/// What select(2) and poll(2) wait for: a descriptor.
using Select_t = int;

/// Something whose readiness can be waited for.
class BLOCXX_COMMON_API SelectableIFC
{
public:
    virtual ~SelectableIFC();

    /// The descriptor to wait on, -1 if it is closed. The object owns it.
    virtual Select_t getSelectObj() const = 0;

protected:
    SelectableIFC() = default;
    SelectableIFC(const SelectableIFC&) = default;
    SelectableIFC& operator=(const SelectableIFC&) = default;
};

} // namespace blocxx
