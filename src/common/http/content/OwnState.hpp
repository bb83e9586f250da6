#pragma once

#include "blocxx/ReferenceHelpers.hpp"
#include "zol/mime/Content.hpp"

#include <typeinfo>

namespace ZOLNS2::MIME
{

/// The state as the kind that the calling content makes.
/// @throws blocxx::NULLReferenceException if it is null or of another kind
template <class State>
State& ownState(const ContentStreamStateRef& state)
{
    ContentStreamState* const given = state.getPtr();
    // It nearly always is of that very type, which costs a sixth of a cast to find out.
    if (given != nullptr && typeid(*given) == typeid(State))
    {
        return static_cast<State&>(*given);
    }
    auto* const own = dynamic_cast<State*>(given);
    blocxx::ReferenceHelpers::checkNull(own);
    return *own;
}

} // namespace ZOLNS2::MIME
