#pragma once

/// @file
/// Declaring, defining and throwing exceptions; included through Exception.hpp. `NAME` is the class's name
/// without its ending "Exception"; `BASE` is a whole class name.

#include "blocxx/ExceptionDetail.hpp" // IWYU pragma: export
#include "blocxx/ExceptionIds.hpp"    // IWYU pragma: export

#include <cerrno>
#include <new>

// NOLINTBEGIN(bugprone-macro-parentheses): names of classes cannot stand in parentheses.

/// Declares class NAMEException, a BASE, exported by LINKAGE.
#define BLOCXX_DECLARE_APIEXCEPTION2(NAME, BASE, LINKAGE)                                                              \
    class LINKAGE NAME##Exception : public BASE                                                                        \
    {                                                                                                                  \
    public:                                                                                                            \
        NAME##Exception(const char* file, int line, const char* msg,                                                   \
                        int errorCode = ::blocxx::Exception::UNKNOWN_ERROR_CODE,                                       \
                        const ::blocxx::Exception* otherException = nullptr,                                           \
                        int subClassId = ::blocxx::Exception::UNKNOWN_SUBCLASS_ID);                                    \
        NAME##Exception(const NAME##Exception&) = default;                                                             \
        NAME##Exception& operator=(const NAME##Exception&) = default;                                                  \
        ~NAME##Exception() noexcept override;                                                                          \
        const char* type() const override;                                                                             \
        NAME##Exception* clone() const override;                                                                       \
        void rethrow() const override;                                                                                 \
    };

/// Declares class NAMEException, an Exception, exported by LINKAGE.
#define BLOCXX_DECLARE_APIEXCEPTION(NAME, LINKAGE) BLOCXX_DECLARE_APIEXCEPTION2(NAME, ::blocxx::Exception, LINKAGE)
/// Declares class NAMEException, a BASE, for the program alone.
#define BLOCXX_DECLARE_EXCEPTION2(NAME, BASE) BLOCXX_DECLARE_APIEXCEPTION2(NAME, BASE, )
/// Declares class NAMEException, an Exception, for the program alone.
#define BLOCXX_DECLARE_EXCEPTION(NAME) BLOCXX_DECLARE_APIEXCEPTION2(NAME, ::blocxx::Exception, )

/// The members of NAMEException; ID is the expression that becomes its subclass id.
#define BLOCXX_DEFINE_EXCEPTION_MEMBERS(NAME, BASE, ID)                                                                \
    NAME##Exception::NAME##Exception(const char* file, int line, const char* msg, int errorCode,                       \
                                     const ::blocxx::Exception* otherException, int subClassId)                        \
        : BASE(file, line, msg, errorCode, otherException, ID)                                                         \
    {                                                                                                                  \
    }                                                                                                                  \
    NAME##Exception::~NAME##Exception() noexcept = default;                                                            \
    const char* NAME##Exception::type() const                                                                          \
    {                                                                                                                  \
        return #NAME "Exception";                                                                                      \
    }                                                                                                                  \
    NAME##Exception* NAME##Exception::clone() const                                                                    \
    {                                                                                                                  \
        return new (std::nothrow) NAME##Exception(*this);                                                              \
    }                                                                                                                  \
    void NAME##Exception::rethrow() const                                                                              \
    {                                                                                                                  \
        throw NAME##Exception(*this);                                                                                  \
    }

/// The subclass id stays what the thrower passed; BASE's own id, if it has one, takes the place of -1.
#define BLOCXX_DEFINE_EXCEPTION2(NAME, BASE) BLOCXX_DEFINE_EXCEPTION_MEMBERS(NAME, BASE, subClassId)
/// The same for a class that was declared without a base.
#define BLOCXX_DEFINE_EXCEPTION(NAME) BLOCXX_DEFINE_EXCEPTION2(NAME, ::blocxx::Exception)

/// A subclass id of -1 becomes ID; any other stays.
#define BLOCXX_DEFINE_EXCEPTION_WITH_BASE_AND_ID_AUX(NAME, BASE, ID)                                                   \
    BLOCXX_DEFINE_EXCEPTION_MEMBERS(NAME, BASE,                                                                        \
                                    subClassId == ::blocxx::Exception::UNKNOWN_SUBCLASS_ID ? (ID) : subClassId)

/// The id is that of the class's name in ExceptionIds.
#define BLOCXX_DEFINE_EXCEPTION_WITH_BASE_AND_ID(NAME, BASE)                                                           \
    BLOCXX_DEFINE_EXCEPTION_WITH_BASE_AND_ID_AUX(NAME, BASE, ::blocxx::ExceptionIds::NAME##ExceptionId)
/// The same for a class that was declared without a base.
#define BLOCXX_DEFINE_EXCEPTION_WITH_ID(NAME) BLOCXX_DEFINE_EXCEPTION_WITH_BASE_AND_ID(NAME, ::blocxx::Exception)

// NOLINTEND(bugprone-macro-parentheses)

/// @name Throwing
/// The file and line of the exception are those of the throw.
/// @{
#define BLOCXX_THROW(TYPE, msg) throw TYPE(__FILE__, __LINE__, (msg))
#define BLOCXX_THROW_ERR(TYPE, msg, err) throw TYPE(__FILE__, __LINE__, (msg), (err))
#define BLOCXX_THROW_SUBEX(TYPE, msg, subex)                                                                           \
    throw TYPE(__FILE__, __LINE__, (msg), ::blocxx::Exception::UNKNOWN_ERROR_CODE, &(subex))
#define BLOCXX_THROW_ERR_SUBEX(TYPE, msg, err, subex) throw TYPE(__FILE__, __LINE__, (msg), (err), &(subex))
#define BLOCXX_THROW_ERRNO1(TYPE, errnum)                                                                              \
    throw ::blocxx::ExceptionDetail::Errno<TYPE>::simple(__FILE__, __LINE__, (errnum))
#define BLOCXX_THROW_ERRNO(TYPE) BLOCXX_THROW_ERRNO1(TYPE, errno)
#define BLOCXX_THROW_ERRNO_MSG1(TYPE, msg, errnum)                                                                     \
    throw ::blocxx::ExceptionDetail::Errno<TYPE>::format(__FILE__, __LINE__, (msg), (errnum))
/// `errno` is read before the message is built, so that building it cannot change what is reported.
#define BLOCXX_THROW_ERRNO_MSG(TYPE, msg)                                                                              \
    do                                                                                                                 \
    {                                                                                                                  \
        const int blocxxErrnoAtThrow = errno;                                                                          \
        BLOCXX_THROW_ERRNO_MSG1(TYPE, msg, blocxxErrnoAtThrow);                                                        \
    } while (false)
/// @}
