#include "zol/mime/ContentEnd.hpp"

namespace ZOLNS2::MIME
{

ContentEnd::~ContentEnd() noexcept(false) = default;

bool endedBadly(const ContentRef& content, const ContentStreamStateRef& state)
{
    const auto* const end = dynamic_cast<const ContentEnd*>(&*content);
    return end != nullptr && end->endedBadly(state);
}

} // namespace ZOLNS2::MIME
