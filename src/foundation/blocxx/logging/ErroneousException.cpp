#include "logging/ErroneousException.hpp"

#include "blocxx/ErrnoKeeper.hpp"
#include "blocxx/Exception.hpp"
#include "blocxx/Format.hpp"
#include "blocxx/Logger.hpp"

namespace blocxx
{

namespace
{

String textOf(const char* description, const Exception* own, const std::exception* standard)
{
    if (own != nullptr)
    {
        return Format("Unable to handle exception: %1: %2", description, *own);
    }
    if (standard != nullptr)
    {
        return Format("Unable to handle std::exception: %1: %2", description, standard->what());
    }
    return Format("Unable to handle exception: %1", description);
}

} // namespace

void writeErroneousException(const char* description, const Exception* own, const std::exception* standard)
{
    const ErrnoKeeper errnoKeeper;
    // The component's name is made here: a global one may have been destroyed when this runs.
    const Logger logger(String("blocxx.Exception"));
    if (logger.levelIsEnabled(E_ERROR_LEVEL))
    {
        logger.logMessage("ERROR", textOf(description, own, standard), "ErroneousException", __LINE__, __func__);
    }
}

} // namespace blocxx
