#pragma once

#include "blocxx/Array.hpp"
#include "blocxx/ErrnoKeeper.hpp"
#include "blocxx/Format.hpp"
#include "blocxx/Logger.hpp"
#include "blocxx/String.hpp"
#include "zol/Export.hpp"

#include <ostream>
#include <utility>

/// @file
/// Writing collections to a log, one record for each element.
///
/// @code
/// blocxx::Logger logger("my.component");
/// ZOLNS2::dump_to_log(headers.begin(), headers.end(), logger, "header: ", true);
/// // logs at debug-3 level: "header: [content-length,12]", "header: [content-type,text/plain]"
/// @endcode

namespace ZOLNS2
{

namespace TextOperationsDetail
{

/// A value of any type that has an output operator. Valid while the value is.
class Printable
{
public:
    template <class T, class = decltype(std::declval<std::ostream&>() << std::declval<const T&>())>
    Printable(const T& value) // NOLINT(google-explicit-constructor, bugprone-forwarding-reference-overload)
        : m_value(&value), m_print([](std::ostream& out, const void* it) { out << *static_cast<const T*>(it); })
    {
    }

    ZOL_API blocxx::String text() const;

private:
    const void* m_value;
    void (*m_print)(std::ostream&, const void*);
};

} // namespace TextOperationsDetail

/// What the value's output operator writes. Any other function `toString` that takes the value, also as an object of a base
/// class, is preferred, so that a using directive for this namespace changes the meaning of no call.
template <class = void>
blocxx::String toString(const TextOperationsDetail::Printable& value)
{
    return value.text();
}

/// "[first,second]"
template <class A, class B>
blocxx::String toString(const std::pair<A, B>& value)
{
    const blocxx::String second = toString(value.second);
    return "[" + toString(value.first) + "," + second + "]";
}

namespace TextOperationsDetail
{

/// Where the records of one dump go. Restores errno when it ends.
class Dump
{
public:
    /// Deliberate: the two ends of the scale. A dump that is not for debugging is logged as an error, and so shows up
    /// in any ordinary log.
    Dump(const blocxx::Logger& logger, bool debug, const char* function)
        : m_logger(logger), m_debug(debug), m_function(function)
    {
    }

    /// Whether the dump would be written to a log.
    bool isWanted() const
    {
        return m_logger.getLogLevel() >= (m_debug ? blocxx::E_DEBUG3_LEVEL : blocxx::E_ERROR_LEVEL);
    }

    /// Writes a line of the dump.
    void log(const blocxx::String& message, int line) const
    {
        m_logger.logMessage(m_debug ? blocxx::Logger::STR_DEBUG3_CATEGORY : blocxx::Logger::STR_ERROR_CATEGORY, message,
                            "TormudaTextOperations", line, m_function);
    }

private:
    const blocxx::ErrnoKeeper m_errnoKeeper;
    const blocxx::Logger& m_logger;
    bool m_debug;
    const char* m_function;
};

} // namespace TextOperationsDetail

/// Logs "<prefix> [<count> elements]:" and then a record "<prefix><element>" for each element. errno is restored after
/// each record, so that the next element is formatted with the errno of the caller.
/// @param debug true logs at debug-3 level, false at error level; nothing is formatted if the logger's level is below
/// @param function the signature that the records carry: that of the operation which dumps, where a helper of it calls;
/// null for that of this function
template <class T>
void dump_to_log(const blocxx::Array<T>& items, blocxx::Logger& logger, const blocxx::String& prefix, bool debug,
                 const char* function = nullptr)
{
    const TextOperationsDetail::Dump dump(logger, debug, function != nullptr ? function : __PRETTY_FUNCTION__);
    if (!dump.isWanted())
    {
        return;
    }
    {
        const blocxx::ErrnoKeeper errnoKeeper;
        dump.log(blocxx::Format("%1 [%2 elements]:", prefix, items.size()), __LINE__);
    }
    for (const T& item : items)
    {
        const blocxx::ErrnoKeeper errnoKeeper;
        dump.log(blocxx::Format("%1%2", prefix, item), __LINE__);
    }
}

/// Logs a record "<prefix><text of the element>" for each element from `first` to before `last`; an empty range logs
/// nothing. errno is restored after each record. `debug` and `function` are those of the other form.
template <class iterator_type>
void dump_to_log(iterator_type first, iterator_type last, blocxx::Logger& logger, const blocxx::String& prefix,
                 bool debug, const char* function = nullptr)
{
    const TextOperationsDetail::Dump dump(logger, debug, function != nullptr ? function : __PRETTY_FUNCTION__);
    if (!dump.isWanted())
    {
        return;
    }
    for (; first != last; ++first)
    {
        const blocxx::ErrnoKeeper errnoKeeper;
        dump.log(blocxx::Format("%1%2", prefix, toString(*first)), __LINE__);
    }
}

} // namespace ZOLNS2
