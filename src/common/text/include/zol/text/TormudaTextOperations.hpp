#pragma once

#include "blocxx/Array.hpp"
#include "blocxx/Format.hpp"
#include "blocxx/Logger.hpp"
#include "blocxx/String.hpp"

#include <cerrno>
#include <ostream>
#include <sstream>
#include <utility>

/// @file Writing collections to a log, one record an element.

namespace ZOLNS2
{

/// What the value's output operator writes.
template <class T>
blocxx::String toString(const T& value);

/// "[first,second]"
template <class A, class B>
blocxx::String toString(const std::pair<A, B>& value);

template <class T>
blocxx::String toString(const T& value)
{
    std::ostringstream out;
    out << value;
    return out.str();
}

template <class A, class B>
blocxx::String toString(const std::pair<A, B>& value)
{
    const blocxx::String second = toString(value.second);
    return "[" + toString(value.first) + "," + second + "]";
}

namespace TextOperationsDetail
{

/// Where the records of one dump go. Leaves errno as it was, however many records are written.
class Dump
{
public:
    /// Deliberate: the two ends of the scale. A dump that is not for debugging is logged as an error, and so shows up
    /// in any ordinary log.
    Dump(const blocxx::Logger& logger, bool debug, const char* function)
        : m_logger(logger), m_debug(debug), m_function(function), m_errno(errno)
    {
    }
    ~Dump() { errno = m_errno; }
    Dump(const Dump&) = delete;
    Dump& operator=(const Dump&) = delete;

    bool isWanted() const
    {
        return m_logger.getLogLevel() >= (m_debug ? blocxx::E_DEBUG3_LEVEL : blocxx::E_ERROR_LEVEL);
    }

    void log(const blocxx::String& message, int line) const
    {
        m_logger.logMessage(m_debug ? blocxx::Logger::STR_DEBUG3_CATEGORY : blocxx::Logger::STR_ERROR_CATEGORY, message,
                            "TormudaTextOperations", line, m_function);
    }

private:
    const blocxx::Logger& m_logger;
    bool m_debug;
    const char* m_function;
    int m_errno;
};

} // namespace TextOperationsDetail

/// Logs "<prefix> [<count> elements]:" and then a record "<prefix><element>" for each element.
/// @param debug true logs at debug-3 level, false at error level; nothing is formatted if the logger's level is below
template <class T>
void dump_to_log(const blocxx::Array<T>& items, blocxx::Logger& logger, const blocxx::String& prefix, bool debug)
{
    const TextOperationsDetail::Dump dump(logger, debug, __PRETTY_FUNCTION__);
    if (!dump.isWanted())
    {
        return;
    }
    dump.log(blocxx::Format("%1 [%2 elements]:", prefix, items.size()), __LINE__);
    for (const T& item : items)
    {
        dump.log(blocxx::Format("%1%2", prefix, item), __LINE__);
    }
}

/// Logs a record "<prefix><text of the element>" for each element from `first` to before `last`; nothing for none.
/// @param debug as above
template <class iterator_type>
void dump_to_log(iterator_type first, iterator_type last, blocxx::Logger& logger, const blocxx::String& prefix,
                 bool debug)
{
    const TextOperationsDetail::Dump dump(logger, debug, __PRETTY_FUNCTION__);
    if (!dump.isWanted())
    {
        return;
    }
    for (; first != last; ++first)
    {
        dump.log(blocxx::Format("%1%2", prefix, toString(*first)), __LINE__);
    }
}

} // namespace ZOLNS2
