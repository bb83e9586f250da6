#pragma once

#include "blocxx/ReferenceHelpers.hpp"
#include "zol/mime/Content.hpp"

namespace ZOLNS2::MIME
{

/// The state as the kind that the calling content makes.
/// @throws blocxx::NULLReferenceException if it is null or of another kind
template <class State>
State& ownState(const ContentStreamStateRef& state)
{
    auto* const own = dynamic_cast<State*>(state.getPtr());
    blocxx::ReferenceHelpers::checkNull(own);
    return *own;
}

} // namespace ZOLNS2::MIME
